#include "quarnet/request/ParameterKey.h"

#include "quarnet/core/Constants.h"
#include "quarnet/core/Json.h"
#include "quarnet/core/Numbers.h"
#include "quarnet/core/Text.h"
#include "quarnet/core/Wipe.h"
#include "quarnet/oauth/OAuthInfo.h"
#include "quarnet/platform/Platform.h"
#include "quarnet/request/Cipher.h"
#include "quarnet/request/Hex.h"

#include <algorithm>
#include <atomic>
#include <limits>

namespace quarnet {

using platform::harmless;
using platform::HttpRequest;
using platform::HttpResult;
using platform::log;
using platform::Platform;

namespace {

/// Milliseconds since 1970-01-01 00:00:00 UTC.
std::int64_t milliseconds() {
  return truncated(Platform::current().clock->secondsSince1970() * 1000.0);
}

HttpRequest keyRequest(const std::string& swapKey, const std::string& clientId) {
  std::string body = "swap_key=" + swapKey + "&client_id=" + clientId;
  log("payload : ", harmless(body));
  HttpRequest request{.url = std::string(VORNEL_URL_OAUTH_PARAM_ENC_KEY), .method = "POST"};
  request.headerFields.set("Content-Type", "application/x-www-form-urlencoded");
  request.headerFields.set("Content-Length", std::to_string(body.size()));
  request.body = std::make_shared<const Data>(std::move(body));
  return request;
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

/// What the key endpoint gave; overwritten at its end.
struct Key {
  explicit Key(const Data& answer) {
    const std::optional<Json> json = Json::parse(answer);
    logAnswer(json);
    const std::optional<Json> body = json ? json->member("body") : std::nullopt;
    key = stringMember(body, "key");
    iv = stringMember(body, "iv");
  }

  Text key;
  Text iv;
  const WipeAtEnd<Text> wipedKey{key};
  const WipeAtEnd<Text> wipedIv{iv};
};

/// The hexadecimal text of the parameters under the key.
std::string encryptedText(const Key& key, std::string_view parameters) {
  const std::optional<Data> encrypted = encryptUnder(key.key, key.iv, parameters);
  std::string text = encrypted ? hexEncoded(*encrypted) : std::string();
  // Under a key that is missing or cut off, the ciphertext is as good as the parameters themselves.
  const bool isHidden = key.key && key.key->size() >= CipherKey().size();
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
  const std::string newKey = std::to_string(milliseconds());
  if (swapKey != nullptr) *swapKey = newKey;
  HttpResult answer =
      Platform::current().httpClient->sendSynchronously(keyRequest(newKey, *clientId));
  const WipeAtEnd wiped(answer.body);
  if (answer.error) {
    storeError(error, makeError(7));
    return std::nullopt;
  }
  // Neither the status nor the shape of the answer is checked: what is missing counts as zero bytes
  // and the server then refuses the call.
  return encryptedText(Key(answer.body), parameters ? std::string_view(*parameters) : "");
}

KeyRequest newKeyRequest(const std::string& clientId) {
  static constinit std::atomic<std::int64_t> last = 0;
  std::int64_t before = last;
  std::int64_t name = 0;
  do {
    name = std::max(milliseconds(),
                    before == std::numeric_limits<std::int64_t>::max() ? before : before + 1);
  } while (!last.compare_exchange_weak(before, name));
  const std::string swapKey = std::to_string(name);
  return {.swapKey = swapKey, .request = keyRequest(swapKey, clientId)};
}

Text encryptUnderAnswer(const Data& answer, std::string_view parameters) {
  const Key key(answer);
  const bool isWhole = key.key && key.key->size() >= CipherKey().size() && key.iv &&
                       key.iv->size() >= CipherVector().size();
  if (!isWhole) return std::nullopt;
  std::string text = encryptedText(key, parameters);
  return text.empty() ? std::nullopt : Text(std::move(text));
}

std::optional<Data> encryptUnder(const Text& key, const Text& iv, std::string_view plain) {
  auto keyBuffer = copied<CipherKey>(key);
  auto ivBuffer = copied<CipherVector>(iv);
  const WipeAtEnd wipedKey(keyBuffer);
  const WipeAtEnd wipedIv(ivBuffer);
  return encryptAes256Cbc(keyBuffer, ivBuffer, plain);
}

} // namespace quarnet
