// A large answer as one text.

#include "bench/support/Failure.h"
#include "bench/support/RawCurl.h"
#include "bench/support/Setting.h"
#include "bench/transfers/Transfers.h"

#include "quarnet/quarnet.h"

namespace quarnet::bench {
namespace {

constexpr std::size_t kSize = std::size_t{256} << 20;

std::string url() {
  return "https://" + Setting::current().sandbox + "/bytes/" + std::to_string(kSize);
}

} // namespace

void measureLargeAnswer() {
  compareTransfers("answer of 256 MB", "large-answer", "large-answer-raw", kSize, atMost(1.1));
}

void largeAnswerOurs() {
  setUpLibrary();
  timeTransfer([] {
    RequestBundle bundle;
    bundle.setUrl(url());
    bundle.setPayload("{}");
    std::optional<Error> error;
    const auto answer = APIRequest().requestHTTPMethodError(bundle, HttpMethod::POST, &error);
    check(answer && answer->resultMessage() && answer->resultMessage()->size() == kSize,
          "our call gets the whole answer");
  });
}

void largeAnswerRaw() {
  RawCurl raw;
  timeTransfer([&raw] {
    const std::string payload = "{}";
    raw.setPost(url() + ".json", payload, raw.callFields());
    raw.perform();
    check(raw.answer.size() == kSize, "the yardstick gets the whole answer");
  });
}

} // namespace quarnet::bench
