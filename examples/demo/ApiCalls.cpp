#include "ApiCalls.h"

#include <utility>

namespace demo {
namespace {

std::string textOf(const quarnet::ResultDictionary& result, std::string_view key) {
  const auto entry = result.find(std::string(key));
  return entry == result.end() ? std::string() : entry->second;
}

} // namespace

ApiCalls::ApiCalls() {
  request_.setDelegateFinishedFailed(this, &ApiCalls::finished, &ApiCalls::failed);
}

ApiCalls::~ApiCalls() {
  // A call that is under way ends all the same, and must not call back who is gone.
  request_.setDelegateFinishedFailed(nullptr, nullptr, nullptr);
}

void ApiCalls::whoAmI(Done done) {
  quarnet::RequestBundle bundle;
  send(bundle, "/v1/me", quarnet::HttpMethod::GET, std::move(done));
}

void ApiCalls::search(const std::string& keyword, Done done) {
  quarnet::RequestBundle bundle;
  // They travel encrypted under a key that is fetched for this one call.
  bundle.setParameters(quarnet::Parameters{{"keyword", keyword}});
  send(bundle, "/v1/people", quarnet::HttpMethod::GET, std::move(done));
}

void ApiCalls::upload(const std::string& file, Done done) {
  quarnet::RequestBundle bundle;
  bundle.setUploadFilePath(file);
  send(bundle, "/v1/pictures", quarnet::HttpMethod::POST, std::move(done));
}

void ApiCalls::send(quarnet::RequestBundle& bundle, const std::string& path,
                    quarnet::HttpMethod method, Done done) {
  done_ = std::move(done);
  request_.aSyncRequestURLHTTPMethod(bundle, std::string(quarnet::VORNEL_URL_OAUTH_SERVER) + path,
                                     method);
}

void ApiCalls::finished(const quarnet::ResultDictionary& result) {
  answer({.ok = true, .text = textOf(result, quarnet::VornelAsyncResultData)});
}

void ApiCalls::failed(const quarnet::ResultDictionary& result) {
  const std::string code = textOf(result, quarnet::VornelAsyncResultCode);
  std::string text = textOf(result, quarnet::VornelAsyncResultMessage);
  if (text.empty()) text = "서버가 " + code + "(으)로 답했습니다.";
  answer({.signedOut = code == "401", .text = text});
}

void ApiCalls::answer(const Answer& answer) {
  // Taken first: what is called may send the next call.
  if (const Done done = std::exchange(done_, nullptr)) done(answer);
}

} // namespace demo
