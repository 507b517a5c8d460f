#include "quarnet/platform/curl/Redirect.h"

#include "quarnet/platform/curl/Origin.h"
#include "quarnet/platform/curl/RequestCheck.h"

namespace quarnet::platform {
namespace {

// As browsers do it: POST alone becomes GET on 301 and 302, on 303 everything but HEAD does.
bool becomesGet(const std::string& method, long status) {
  if (status == 303) return method != "HEAD";
  return method == "POST" && (status == 301 || status == 302);
}

bool mayHaveBody(const std::string& method) {
  return method != "GET" && method != "HEAD";
}

} // namespace

bool isRedirect(long status) {
  return status == 301 || status == 302 || status == 303 || status == 307 || status == 308;
}

Hop redirected(const Hop& hop, long status, std::string url) {
  Hop next = hop;
  if (becomesGet(hop.method, status)) {
    next.method = "GET";
    next.withContent = false;
  }
  if (!sameOrigin(hop.url, url)) {
    // Once dropped, the fields stay dropped, even if a later hop returns to the first origin.
    next.withOwnFields = false;
    next.withContent = next.withContent && mayHaveBody(next.method);
  }
  next.url = std::move(url);
  return next;
}

Text redirectProblem(const Hop& hop, const std::string& url) {
  Text problem = addressProblem(url);
  if (!problem && isEncrypted(hop.url) && !isEncrypted(url)) {
    problem = "A redirect from https to http is not followed";
  }
  return problem;
}

} // namespace quarnet::platform
