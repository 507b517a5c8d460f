#include "tools/ObservedHttpClient.h"

#include "tools/Terminal.h"
#include "tools/TokenAnswers.h"

#include "quarnet/platform/Platform.h"

namespace quarnet::tools {

using platform::HttpRequest;
using platform::HttpResult;

HttpResult ObservedHttpClient::sendSynchronously(const HttpRequest& request) {
  HttpResult result = client_->sendSynchronously(request);
  note(result);
  return result;
}

void ObservedHttpClient::sendAsynchronously(std::shared_ptr<const HttpRequest> request,
                                            Completion completion) {
  client_->sendAsynchronously(std::move(request), [this, completion](HttpResult result) {
    note(result);
    completion(std::move(result));
    // Posts of one thread keep their order: this one runs behind those of the completion.
    platform::Platform::current().mainThread->post([this] { delivered_ = true; });
  });
}

std::string ObservedHttpClient::outcome() const {
  const std::lock_guard lock(mutex_);
  return outcome_;
}

void ObservedHttpClient::note(const HttpResult& result) {
  std::string text;
  if (result.error) {
    text = "no answer: " + excerpt(result.error->description.value_or("the connection failed"));
  } else {
    text =
        "the server answered " + std::to_string(result.response ? result.response->statusCode : 0);
    if (result.body.empty()) text += " with nothing";
    if (const Text report = errorReport(result.body)) text += ": " + *report;
  }
  const std::lock_guard lock(mutex_);
  outcome_ = std::move(text);
}

} // namespace quarnet::tools
