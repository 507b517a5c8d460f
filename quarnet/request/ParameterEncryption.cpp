// The part of APIRequest that encrypts the parameters of GET and DELETE calls.

#include "quarnet/core/Constants.h"
#include "quarnet/core/Json.h"
#include "quarnet/core/NotEnoughMemory.h"
#include "quarnet/core/Numbers.h"
#include "quarnet/core/Wipe.h"
#include "quarnet/oauth/OAuthInfo.h"
#include "quarnet/platform/Platform.h"
#include "quarnet/request/APIRequest.h"
#include "quarnet/request/Cipher.h"

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

/// The member's text if it is a string; anything else counts as absent.
Text stringMember(const std::optional<Json>& object, std::string_view name) {
  const std::optional<Json> value = object ? object->member(name) : std::nullopt;
  return value && value->isString() ? Text(value->text()) : Text();
}

void logAnswer(const std::optional<Json>& json) {
  if (!platform::isLogOn()) return;
  std::string shown = json ? json->text() : "(null)";
  const WipeAtEnd wiped(shown);
  log("response : ", shown);
}

/// The text's bytes, cut to the buffer or filled up with zero bytes.
template <class Buffer>
Buffer copied(const Text& text) {
  Buffer buffer{};
  if (text) std::copy_n(text->begin(), std::min(text->size(), buffer.size()), buffer.begin());
  return buffer;
}

std::optional<Data> encrypted(const Text& key, const Text& iv, std::string_view plain) {
  auto keyBuffer = copied<CipherKey>(key);
  auto ivBuffer = copied<CipherVector>(iv);
  const WipeAtEnd wipedKey(keyBuffer);
  const WipeAtEnd wipedIv(ivBuffer);
  return encryptAes256Cbc(keyBuffer, ivBuffer, plain);
}

} // namespace

Text APIRequest::encryptParamSwapKeyError(const Text& parameters, Text* swapKey,
                                          std::optional<Error>* error) {
  return withinMemory([&] { return encrypt(parameters, swapKey, error); },
                      [&] {
                        storeError(error, notEnoughMemory());
                        return Text();
                      });
}

Text APIRequest::encrypt(const Text& parameters, Text* swapKey, std::optional<Error>* error) {
  const Text clientId = OAuthInfo::sharedInstance().clientId();
  if (!clientId) {
    storeError(error, makeError(5));
    return std::nullopt;
  }
  const std::string newKey = newSwapKey();
  if (swapKey != nullptr) *swapKey = newKey;

  std::string body = "swap_key=" + newKey + "&client_id=" + *clientId;
  log("payload : ", harmless(body));
  HttpResult answer =
      Platform::current().httpClient->sendSynchronously(keyRequest(std::move(body)));
  const WipeAtEnd wipedAnswer(answer.body);
  if (answer.error) {
    storeError(error, makeError(7));
    return std::nullopt;
  }

  // Neither the status nor the shape of the answer is checked: what is missing counts as zero bytes
  // and the server then refuses the call.
  const std::optional<Json> json = Json::parse(answer.body);
  logAnswer(json);
  const std::optional<Json> keyBody = json ? json->member("body") : std::nullopt;
  Text key = stringMember(keyBody, "key");
  Text iv = stringMember(keyBody, "iv");
  const WipeAtEnd wipedKey(key);
  const WipeAtEnd wipedIv(iv);
  const std::string text = hexEncode(
      encrypted(key, iv, parameters ? std::string_view(*parameters) : std::string_view()));
  // Under a key that is missing or cut off, the ciphertext is as good as the parameters themselves.
  const bool isHidden = key && key->size() >= CipherKey().size();
  log("encryptedString : ", platform::Log::Piece{.text = text, .isHarmless = isHidden});
  return text;
}

std::optional<Data> APIRequest::AES256EncryptWithKeyIvectorData(const Text& key, const Text& iv,
                                                                std::string_view data) {
  return withinMemory([&] { return encrypted(key, iv, data); },
                      [] { return std::optional<Data>(); });
}

} // namespace quarnet
