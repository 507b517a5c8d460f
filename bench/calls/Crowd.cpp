#include "bench/calls/Crowd.h"

#include "bench/support/Failure.h"
#include "bench/support/Setting.h"

namespace quarnet::bench {

const std::string kCrowdPayload = R"({"name":"김하늘","place":"연희동","floor":3})";

void Crowd::run(int total, int inFlight) {
  unsent_ = total;
  unanswered_ = total;
  for (int i = 0; i < inFlight; ++i)
    send();
  const bool done = platform::GlibMainThread::runUntil([this] { return unanswered_ == 0; },
                                                       std::chrono::minutes(2));
  check(done, "all asynchronous calls are answered");
}

void Crowd::send() {
  if (unsent_ == 0) return;
  --unsent_;
  RequestBundle bundle;
  bundle.setUrl("https://" + Setting::current().nginx + "/v1/people");
  bundle.setPayload(kCrowdPayload);
  APIRequest request;
  request.setDelegateFinishedFailed(this, &Crowd::finished, &Crowd::failed);
  request.aSyncRequestHTTPMethod(bundle, HttpMethod::POST);
}

void Crowd::finished(const ResultDictionary&) {
  --unanswered_;
  send();
}

void Crowd::failed(const ResultDictionary& result) {
  for (const auto& [key, text] : result)
    std::fprintf(stderr, "%s: %s\n", key.c_str(), text.c_str());
  check(false, "our asynchronous call succeeds");
}

} // namespace quarnet::bench
