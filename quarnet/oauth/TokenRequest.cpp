#include "quarnet/oauth/TokenRequest.h"

#include "quarnet/core/Constants.h"
#include "quarnet/core/Text.h"
#include "quarnet/core/PercentEscapes.h"
#include "quarnet/platform/LogPieces.h"
#include "quarnet/platform/Platform.h"

#include <algorithm>
#include <vector>

namespace quarnet {

using platform::harmless;
using platform::HttpRequest;
using platform::Log;

namespace {

/// Whether the parameter is one of the client's configuration that nobody keeps secret.
bool isOpen(const AddressParameter& parameter) {
  const std::string_view open[] = {VORNEL_OAUTH_CLIENT_ID, VORNEL_OAUTH_RESPONSE_TYPE,
                                   VORNEL_OAUTH_REDIRECT_URI, VORNEL_OAUTH_GRANT_TYPE,
                                   VORNEL_OAUTH_SCOPE};
  return std::ranges::find(open, parameter.name) != std::end(open) &&
         platform::plainPiece(formatted(parameter.value)).isHarmless;
}

} // namespace

std::string loggedAddress(std::string_view title, std::string_view endpoint,
                          std::initializer_list<AddressParameter> parameters) {
  std::vector<Text> values;
  for (const AddressParameter& parameter : parameters)
    values.push_back(addingPercentEscapes(parameter.value));
  std::vector<Log::Piece> line = {harmless(title), harmless(endpoint)};
  for (std::size_t i = 0; i < values.size(); ++i) {
    const AddressParameter& parameter = parameters.begin()[i];
    line.insert(line.end(),
                {harmless(i == 0 ? "?" : "&"), harmless(parameter.name), harmless("="),
                 Log::Piece{.text = formatted(values[i]), .isHarmless = isOpen(parameter)}});
  }
  platform::writeLine(line);
  return Log::text(std::span(line).subspan(1));
}

void getAsynchronously(const std::string& url, platform::HttpClient::Completion completion) {
  auto request = std::make_shared<HttpRequest>();
  request->url = url;
  platform::Platform::current().httpClient->sendAsynchronously(std::move(request),
                                                               std::move(completion));
}

} // namespace quarnet
