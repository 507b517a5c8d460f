#include "quarnet/request/APIRequest.h"

#include "quarnet/request/APIRequestState.h"

#include <utility>

namespace quarnet {

APIRequest::APIRequest() : state_(std::make_shared<State>()) {}
APIRequest::~APIRequest() = default;
APIRequest::APIRequest(APIRequest&& other) noexcept : APIRequest() {
  state_.swap(other.state_);
}
APIRequest& APIRequest::operator=(APIRequest&& other) noexcept {
  state_ = std::exchange(other.state_, std::make_shared<State>());
  return *this;
}

template <class Use>
auto APIRequest::guarded(Use use) const {
  const std::lock_guard lock(state_->mutex);
  return use(*state_);
}

void APIRequest::setCallback(CallbackTriple callback) {
  state_->registration->set(callback);
}

std::optional<Data> APIRequest::receivedData() const {
  return guarded([](State& state) { return state.receivedData; });
}
void APIRequest::setReceivedData(std::optional<Data> receivedData) {
  guarded([&](State& state) { state.receivedData.swap(receivedData); });
}

std::optional<platform::HttpResponse> APIRequest::response() const {
  return guarded([](State& state) { return state.response; });
}
void APIRequest::setResponse(std::optional<platform::HttpResponse> response) {
  guarded([&](State& state) { state.response = response; });
}

Text APIRequest::result() const {
  return guarded([](State& state) { return state.result; });
}
void APIRequest::setResult(Text result) {
  guarded([&](State& state) { state.result.swap(result); });
}

std::optional<HttpHeader> APIRequest::httpHeader() const {
  return guarded([](State& state) { return state.httpHeader; });
}
void APIRequest::setHttpHeader(std::optional<HttpHeader> httpHeader) {
  guarded([&](State& state) { state.httpHeader.swap(httpHeader); });
}

void* APIRequest::_target() const {
  return state_->registration->current().target;
}
void APIRequest::set_target(void* target) {
  state_->registration->set(&CallbackTriple::target, target);
}

Operation APIRequest::_finishedSelector() const {
  return state_->registration->current().finished;
}
void APIRequest::set_finishedSelector(Operation finished) {
  state_->registration->set(&CallbackTriple::finished, finished);
}

Operation APIRequest::_failedSelector() const {
  return state_->registration->current().failed;
}
void APIRequest::set_failedSelector(Operation failed) {
  state_->registration->set(&CallbackTriple::failed, failed);
}

} // namespace quarnet
