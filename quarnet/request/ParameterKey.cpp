#include "quarnet/request/ParameterKey.h"

#include "quarnet/core/Constants.h"
#include "quarnet/core/Json.h"
#include "quarnet/core/Numbers.h"
#include "quarnet/core/Wipe.h"
#include "quarnet/oauth/OAuthInfo.h"
#include "quarnet/platform/Platform.h"
#include "quarnet/request/Cipher.h"
#include "quarnet/request/Hex.h"

#include <algorithm>

namespace quarnet {

using platform::harmless;
using platform::HttpRequest;
using platform::HttpResult;
using platform::log;
using platform::Platform;

namespace {

/// Milliseconds since 1970-01-01 00:00:00 UTC, in decimal.
std::string newSwapKey() {
  return std::to_string(truncated(Platform::current().clock->secondsSince1970() * 1000.0));
}

HttpRequest keyRequest(std::string body) {
  HttpRequest request{.url = std::string(VORNEL_URL_OAUTH_PARAM_ENC_KEY), .method = "POST"};
  request.headerFields.set("Content-Type", "application/x-www-form-urlencoded");
  request.headerFields.set("Content-Length", std::to_string(body.size()));
  request.body = std::make_shared<const Data>(std::move(body));
  return request;
}

/// The answer of the key endpoint; its body is to be wiped.
HttpResult fetchKey(const std::string& swapKey, const std::string& clientId) {
  std::string body = "swap_key=" + swapKey + "&client_id=" + clientId;
  log("payload : ", harmless(body));
  return Platform::current().httpClient->sendSynchronously(keyRequest(std::move(body)));
}

void logAnswer(const std::optional<Json>& json) {
  if (!platform::isLogOn()) return;
  std::string shown = json ? json->text() : "(null)";
  const WipeAtEnd wiped(shown);
  log("response : ", shown);
}

/// The member's text if it is a string; anything else counts as absent.
Text stringMember(const std::optional<Json>& object, std::string_view name) {
  const std::optional<Json> value = object ? object->member(name) : std::nullopt;
  return value && value->isString() ? Text(value->text()) : Text();
}

/// The text's bytes, cut to the buffer or filled up with zero bytes.
template <class Buffer>
Buffer copied(const Text& text) {
  Buffer buffer{};
  if (text) std::copy_n(text->begin(), std::min(text->size(), buffer.size()), buffer.begin());
  return buffer;
}

/// The hexadecimal text of the parameters under the key that the answer holds. Neither the status
/// nor the shape of the answer is checked: what is missing counts as zero bytes and the server then
/// refuses the call.
std::string encryptAsAnswered(const Data& answer, std::string_view parameters) {
  const std::optional<Json> json = Json::parse(answer);
  logAnswer(json);
  const std::optional<Json> body = json ? json->member("body") : std::nullopt;
  Text key = stringMember(body, "key");
  Text iv = stringMember(body, "iv");
  const WipeAtEnd wipedKey(key);
  const WipeAtEnd wipedIv(iv);
  const std::optional<Data> encrypted = encryptUnder(key, iv, parameters);
  std::string text = encrypted ? hexEncoded(*encrypted) : std::string();
  // Under a key that is missing or cut off, the ciphertext is as good as the parameters themselves.
  const bool isHidden = key && key->size() >= CipherKey().size();
  log("encryptedString : ", platform::Log::Piece{.text = text, .isHarmless = isHidden});
  return text;
}

} // namespace

Text encryptParameters(const Text& parameters, Text* swapKey, std::optional<Error>* error) {
  const Text clientId = OAuthInfo::sharedInstance().clientId();
  if (!clientId) {
    storeError(error, makeError(5));
    return std::nullopt;
  }
  const std::string newKey = newSwapKey();
  if (swapKey != nullptr) *swapKey = newKey;
  HttpResult answer = fetchKey(newKey, *clientId);
  const WipeAtEnd wiped(answer.body);
  if (answer.error) {
    storeError(error, makeError(7));
    return std::nullopt;
  }
  return encryptAsAnswered(answer.body, parameters ? std::string_view(*parameters) : "");
}

std::optional<Data> encryptUnder(const Text& key, const Text& iv, std::string_view plain) {
  auto keyBuffer = copied<CipherKey>(key);
  auto ivBuffer = copied<CipherVector>(iv);
  const WipeAtEnd wipedKey(keyBuffer);
  const WipeAtEnd wipedIv(ivBuffer);
  return encryptAes256Cbc(keyBuffer, ivBuffer, plain);
}

} // namespace quarnet
