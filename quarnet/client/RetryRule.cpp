#include "quarnet/client/RetryRule.h"

#include <algorithm>
#include <array>

namespace quarnet {
namespace {

using std::chrono::milliseconds;

bool mayBeRepeated(HttpMethod method) {
  return method == HttpMethod::GET || method == HttpMethod::PUT || method == HttpMethod::DELETE;
}

/// Whether the same call may succeed a little later.
bool mayPass(const ApiError& error) {
  constexpr std::array kPassing = {429L, 502L, 503L, 504L};
  if (error.kind == ApiErrorKind::NoConnection || error.kind == ApiErrorKind::KeyNotHad) {
    return true;
  }
  return error.kind == ApiErrorKind::Refused &&
         std::ranges::find(kPassing, error.status) != kPassing.end();
}

/// No pause is longer, whatever a caller or a server asks for.
constexpr std::chrono::seconds kLongestPause = std::chrono::hours(24 * 24);

/// The first limit, doubled each time, up to the longest.
milliseconds limitAfter(const Retry& retry, unsigned retries) {
  const auto longest = std::clamp<milliseconds>(retry.longest, milliseconds(0), kLongestPause);
  milliseconds limit = std::clamp(retry.first, milliseconds(0), longest);
  for (unsigned i = 0; i < retries && limit.count() > 0 && limit < longest; ++i)
    limit = std::min(2 * limit, longest);
  return limit;
}

} // namespace

std::optional<milliseconds> pauseBeforeRetry(HttpMethod method, const Retry& retry,
                                             const ApiError& error, unsigned retries,
                                             std::chrono::seconds retryAfter, double random) {
  if (retries >= retry.attempts || !mayBeRepeated(method) || !mayPass(error)) {
    return std::nullopt;
  }
  const double limit = static_cast<double>(limitAfter(retry, retries).count());
  const milliseconds pause(static_cast<milliseconds::rep>(limit * random));
  return std::max(pause, milliseconds(std::min(retryAfter, kLongestPause)));
}

} // namespace quarnet
