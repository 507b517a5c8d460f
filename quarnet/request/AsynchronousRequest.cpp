// The part of APIRequest that sends a call and reports its outcome on the main thread.

#include "quarnet/core/Constants.h"
#include "quarnet/core/Utf8.h"
#include "quarnet/platform/Platform.h"
#include "quarnet/request/APIRequestState.h"

namespace quarnet {

using platform::deliver;
using platform::harmless;
using platform::HttpResult;
using platform::log;
using platform::Platform;

namespace {

constexpr char kDataReceived[] = "APIRequest async data received";

} // namespace

/// Runs on a background thread.
void APIRequest::State::answered(HttpResult answer) {
  withinMemory([&] { report(std::move(answer)); }, [&] { failForMemory(); });
}

void APIRequest::State::failForMemory() {
  deliver(registration, &CallbackTriple::failed, resultDictionary("0", kNotEnoughMemory, ""));
}

void APIRequest::State::report(HttpResult answer) {
  const long status = answer.response ? answer.response->statusCode : 0;
  const std::string statusText = std::to_string(status);
  log(harmless(statusText));
  const bool isEmpty = answer.body.empty();
  Text text = utf8Text(std::move(answer.body));
  {
    const std::lock_guard lock(mutex);
    result = text;
  }
  const auto fail = [this](Text code, Text message) {
    deliver(registration, &CallbackTriple::failed,
            resultDictionary(std::move(code), std::move(message), ""));
  };

  if (answer.error) return fail(statusText, std::move(text));
  if (isEmpty) return fail("7", std::string(VornelError007));
  log(kDataReceived);
  if (status != 200) return fail(statusText, std::move(text));
  // A success writes the line twice, which is how the two are told apart in a log.
  log(kDataReceived);
  deliver(registration, &CallbackTriple::finished,
          resultDictionary(statusText, "", std::move(text)));
}

void APIRequest::aSyncRequest(RequestBundle& bundle) {
  withinMemory([&] { start(bundle); }, [&] { state_->failForMemory(); });
}

void APIRequest::start(RequestBundle& bundle) {
  std::optional<Error> failure;
  prepare(bundle, &failure);
  if (failure) {
    return deliver(state_->registration, &CallbackTriple::failed,
                   resultDictionary("", failure->description, ""));
  }
  setReceivedData(Data());
  Platform::current().httpClient->sendAsynchronously(
      urlRequest(), [state = state_](HttpResult answer) { state->answered(std::move(answer)); });
}

void APIRequest::aSyncRequestHTTPMethod(RequestBundle& bundle, HttpMethod method) {
  bundle.setHttpMethod(method);
  aSyncRequest(bundle);
}

void APIRequest::aSyncRequestURLHTTPMethod(RequestBundle& bundle, Text url, HttpMethod method) {
  bundle.setHttpMethod(method);
  bundle.setUrl(std::move(url));
  aSyncRequest(bundle);
}

} // namespace quarnet
