#include "bench/calls/Crowd.h"
#include "bench/support/Failure.h"
#include "bench/support/RawCurl.h"
#include "bench/support/Setting.h"

#include <memory>
#include <vector>

namespace quarnet::bench {
namespace {

constexpr long kMostConnections = 64; // as the library

} // namespace

struct RawCrowd::Impl {
  CURLM* multi = curl_multi_init();
  std::vector<std::unique_ptr<RawCurl>> handles;
  const std::string url = "https://" + Setting::current().nginx + "/v1/people.json";

  void start(RawCurl& handle) {
    handle.answer.clear();
    handle.setPost(url, kCrowdPayload, handle.callFields());
    curl_multi_add_handle(multi, handle.get());
  }
};

RawCrowd::RawCrowd(int handles) : impl_(new Impl) {
  curl_multi_setopt(impl_->multi, CURLMOPT_MAX_TOTAL_CONNECTIONS, kMostConnections);
  curl_multi_setopt(impl_->multi, CURLMOPT_MAXCONNECTS, kMostConnections);
  for (int i = 0; i < handles; ++i) {
    impl_->handles.push_back(std::make_unique<RawCurl>());
    curl_easy_setopt(impl_->handles.back()->get(), CURLOPT_PRIVATE, impl_->handles.back().get());
  }
}

RawCrowd::~RawCrowd() {
  impl_->handles.clear();
  curl_multi_cleanup(impl_->multi);
  delete impl_;
}

void RawCrowd::run(int total) {
  int unsent = total;
  int unanswered = total;
  for (const auto& handle : impl_->handles) {
    if (unsent-- == 0) break;
    impl_->start(*handle);
  }
  unsent = std::max(unsent, 0);
  while (unanswered > 0) {
    int running = 0;
    curl_multi_perform(impl_->multi, &running);
    int left = 0;
    bool started = false;
    while (const CURLMsg* message = curl_multi_info_read(impl_->multi, &left)) {
      check(message->data.result == CURLE_OK, curl_easy_strerror(message->data.result));
      CURL* easy = message->easy_handle;
      RawCurl* handle = nullptr;
      long status = 0;
      curl_easy_getinfo(easy, CURLINFO_PRIVATE, &handle);
      curl_easy_getinfo(easy, CURLINFO_RESPONSE_CODE, &status);
      check(status == 200 && !handle->answer.empty(), "the yardstick's call is answered");
      curl_multi_remove_handle(impl_->multi, easy);
      --unanswered;
      if (unsent == 0) continue;
      --unsent;
      impl_->start(*handle);
      started = true;
    }
    if (!started && unanswered > 0) curl_multi_poll(impl_->multi, nullptr, 0, 10'000, nullptr);
  }
}

} // namespace quarnet::bench
