#include "quarnet/oauth/TokenRequest.h"

#include "quarnet/core/Text.h"
#include "quarnet/platform/Platform.h"

namespace quarnet {

using platform::HttpRequest;

std::string addressPair(std::string_view name, const Text& value) {
  return std::string(name).append("=").append(formatted(addingPercentEscapes(value)));
}

void getAsynchronously(const std::string& url, platform::HttpClient::Completion completion) {
  auto request = std::make_shared<HttpRequest>();
  request->url = url;
  platform::Platform::current().httpClient->sendAsynchronously(std::move(request),
                                                               std::move(completion));
}

} // namespace quarnet
