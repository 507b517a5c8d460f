// The smallest program that makes one call with the library.

#include "quarnet/quarnet.h"

#include <cstdio>
#include <cstdlib>

int main() {
  using namespace quarnet;
  platform::Platform::install(
      {.httpClient = std::make_shared<platform::CurlHttpClient>(
           platform::CurlHttpClientOptions{.caFile = std::getenv("QUARNET_BENCH_CA")}),
       .log = std::make_shared<platform::NullLog>()});
  OAuthInfoManager::sharedInstance().setClientId("demo-client");
  RequestBundle bundle;
  bundle.setUrl(std::string("https://") + std::getenv("QUARNET_BENCH_NGINX") + "/v1/people");
  bundle.setPayload("{}");
  std::optional<Error> error;
  const auto answer = APIRequest().requestHTTPMethodError(bundle, HttpMethod::POST, &error);
  if (!answer || error) return 1;
  std::puts(answer->resultMessage()->c_str());
  return 0;
}
