#include "sandbox/ApiEndpoint.h"

#include "sandbox/Form.h"
#include "sandbox/Json.h"
#include "sandbox/Text.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <optional>

namespace quarnet::sandbox {
namespace {

namespace json = boost::json;

constexpr std::size_t kLongestEchoedBody = 64ul * 1024;
constexpr std::uint64_t kMostGeneratedBytes = 4ull * 1024 * 1024 * 1024;
constexpr std::array kMethods = {"GET", "POST", "PUT", "DELETE"};
constexpr std::array kShownHeaders = {"content-type",    "content-length", "accept",
                                      "accept-encoding", "swap_key",       "client_id"};
constexpr std::array kMaskedHeaders = {"access_token", "refresh_token"};

Reply shaped(bool xml, std::string_view root, unsigned status, const json::value& value) {
  return xml ? xmlReply(status, root, value) : jsonReply(status, value);
}

Reply refusal(bool xml, unsigned status, std::string_view error, std::string_view description) {
  return shaped(xml, "error", status, {{"error", error}, {"error_description", description}});
}

Reply with(std::string_view name, std::string_view value, Reply reply) {
  reply.headers.emplace_back(name, value);
  return reply;
}

/// The pairs of a decrypted query text. Names stand there as the caller gave them, values escaped
/// once, so only values are decoded.
json::object parametersOf(std::string_view text) {
  json::object parameters;
  while (!text.empty()) {
    const std::string_view pair = text.substr(0, text.find('&'));
    text.remove_prefix(std::min(text.size(), pair.size() + 1));
    const std::size_t equals = pair.find('=');
    if (equals == std::string_view::npos)
      parameters[pair] = nullptr;
    else
      parameters[pair.substr(0, equals)] = presentable(percentDecoded(pair.substr(equals + 1)));
  }
  return parameters;
}

json::object headersOf(const ReceivedRequest& request) {
  json::object headers;
  for (const char* const name : kShownHeaders)
    if (const auto value = request.header(name)) headers[name] = presentable(*value);
  for (const char* const name : kMaskedHeaders)
    headers[name] = request.header(name).has_value();
  return headers;
}

json::object bodyOf(const ReceivedRequest& request) {
  json::object body{{"size", request.bodySize}, {"sha256", request.bodySha256}};
  const bool kept = request.body.size() == request.bodySize;
  if (kept && request.bodySize <= kLongestEchoedBody && isUtf8(request.body))
    body["text"] = request.body;
  return body;
}

json::array uploadsOf(const ReceivedRequest& request) {
  json::array uploads;
  for (const Upload& upload : request.uploads)
    uploads.push_back({{"field", presentable(upload.field)},
                       {"filename", presentable(upload.fileName)},
                       {"size", upload.size},
                       {"sha256", upload.sha256}});
  return uploads;
}

/// N of a path "/bytes/N.json".
std::optional<std::uint64_t> wantedBytes(std::string_view path) {
  constexpr std::string_view kStart = "/bytes/";
  if (!path.starts_with(kStart)) return std::nullopt;
  const std::string_view digits = path.substr(kStart.size(), path.rfind('.') - kStart.size());
  std::uint64_t number = 0;
  const auto [end, error] = std::from_chars(digits.data(), digits.data() + digits.size(), number);
  if (error != std::errc() || end != digits.data() + digits.size()) return std::nullopt;
  return std::min(number, kMostGeneratedBytes);
}

} // namespace

Reply ApiEndpoint::parameterKey(const ReceivedRequest& request, std::size_t keyLength,
                                std::size_t ivLength) {
  if (request.method != "POST")
    return errorReply(405, "invalid_request", "Parameter keys are asked for with POST.");
  // The values are not escaped in this body, so the client identifier is what stands at its end.
  constexpr std::string_view kSwapKey = "swap_key=";
  constexpr std::string_view kClientId = "&client_id=";
  const std::string_view body = request.body;
  const std::size_t middle = body.find(kClientId);
  if (!body.starts_with(kSwapKey) || middle == std::string_view::npos || middle == kSwapKey.size())
    return errorReply(400, "invalid_request", "The body is swap_key=...&client_id=...");
  const std::string_view clientId = body.substr(middle + kClientId.size());
  if (clientId != options_.clientId && percentDecoded(clientId, Plus::blank) != options_.clientId)
    return errorReply(401, "invalid_client", "The client is unknown.");

  const std::string swapKey(body.substr(kSwapKey.size(), middle - kSwapKey.size()));
  const ParameterKey key = keys_.issue(swapKey, keyLength, ivLength);
  return jsonReply(200, {{"header", {{"result_code", "200"}, {"result_message", "OK"}}},
                         {"body", {{"key", key.key}, {"iv", key.iv}}}});
}

Reply ApiEndpoint::call(const ReceivedRequest& request) {
  const std::string_view path = request.path();
  const bool xml = path.ends_with(".xml");
  if ((!xml && !path.ends_with(".json")) || path.starts_with("/missing"))
    return refusal(xml, 404, "not_found", "There is nothing at this address.");
  if (std::ranges::find(kMethods, request.method) == kMethods.end())
    return with("Allow", "GET, POST, PUT, DELETE",
                refusal(xml, 405, "method_not_allowed", "This method is not known."));
  if (request.header("client_id") != options_.clientId)
    return refusal(xml, 401, "invalid_client", "The header client_id names no known client.");
  if (!tokens_.isLive(std::string(request.header("access_token").value_or(""))))
    return with(
        "WWW-Authenticate", "Bearer error=\"invalid_token\"",
        refusal(xml, 401, "invalid_token", "The access token is absent, unknown or expired."));

  const Form query(request.query().value_or(""));
  json::object answer{{"result", "ok"},
                      {"method", request.method},
                      {"path", presentable(path)},
                      {"headers", headersOf(request)}};
  if (const auto enc = query.get("enc")) {
    const auto ciphertext = hexDecoded(*enc);
    if (!ciphertext)
      return refusal(xml, 400, "invalid_parameters", "The value of enc is not hexadecimal.");
    const std::string swapKey(request.header("swap_key").value_or(""));
    const auto [outcome, text] = keys_.open(swapKey, *ciphertext);
    if (outcome == ParameterKeys::Outcome::noKey)
      return refusal(xml, 400, "invalid_parameters",
                     "No parameter key is waiting for this swap_key; a key serves one call.");
    if (outcome == ParameterKeys::Outcome::doesNotOpen)
      return refusal(xml, 400, "invalid_parameters",
                     "The parameters do not decrypt under the key of this swap_key.");
    answer["decrypted"] = text;
    answer["parameters"] = parametersOf(text);
  } else if (!query.pairs().empty()) {
    json::object plain;
    for (const auto& [name, value] : query.pairs())
      plain[presentable(name)] = presentable(value);
    answer["query"] = std::move(plain);
  }

  if (const auto bytes = wantedBytes(path)) return {.generated = *bytes};
  if (request.bodySize > 0) answer["body"] = bodyOf(request);
  if (!request.uploads.empty()) {
    answer["uploads"] = uploadsOf(request);
    answer["upload_complete"] = request.uploadComplete;
  }
  return shaped(xml, "response", 200, answer);
}

} // namespace quarnet::sandbox
