// What is read and written in memory alone, each against another reading: the sandbox's, a plain
// search, another JSON reader.

#include "fuzz/support/Fuzz.h"
#include "sandbox/Form.h"
#include "sandbox/RequestParser.h"
#include "sandbox/Text.h"

#include "quarnet/core/Json.h"
#include "quarnet/core/Numbers.h"
#include "quarnet/core/PercentEscapes.h"
#include "quarnet/core/StringUtil.h"
#include "quarnet/core/Text.h"
#include "quarnet/core/Utf8.h"
#include "quarnet/platform/curl/Redirect.h"
#include "quarnet/platform/curl/RequestCheck.h"
#include "quarnet/request/APIRequest.h"

#include <boost/asio/buffer.hpp>
#include <regex>
#include <simdjson.h>

namespace quarnet::fuzz {

using namespace platform;

namespace {

using simdjson::dom::element;

bool isSame(const std::string& text, element value) {
  static simdjson::dom::parser parser;
  if (value.is_string()) return text == value.get_string().value();
  if (value.is_bool()) return text == (value.get_bool() ? "1" : "0");
  if (value.is_null()) return text == "<null>";
  if (value.is_number()) return std::strtod(text.c_str(), nullptr) == value.get_double().value();
  return simdjson::to_string(parser.parse(text).value()) == simdjson::to_string(value);
}

bool isToken(const std::string& text) {
  static const std::string odd = "\"(),/:;<=>?@[\\]{}";
  const auto isOdd = [](char c) { return c <= ' ' || c == '\x7f' || odd.find(c) != odd.npos; };
  return !text.empty() && std::ranges::none_of(text, isOdd);
}

} // namespace

void texts(std::string text) {
  const std::string key = piece(text);
  const std::string escaped = StringUtil::escapedString(text);
  expect(escaped == sandbox::percentEncoded(text));
  expect(replacingPercentEscapes(escaped) == utf8Text(text));
  expect(sandbox::percentDecoded(*addingPercentEscapes(text)) == text);
  bool isEscaped = true;
  for (std::size_t at = text.find('%'); at != text.npos; at = text.find('%', at + 1))
    isEscaped &= at + 2 < text.size() && sandbox::percentDecoded(text.substr(at, 3)).size() == 1;
  expect(replacingPercentEscapes(text) ==
         (isEscaped ? utf8Text(sandbox::percentDecoded(text)) : Text()));

  const std::size_t at = text.find(key + '=');
  std::string found = at == text.npos ? "" : text.substr(at + key.size() + 1);
  found.resize(std::min(found.find('&'), found.size()));
  expect(StringUtil::getValueFromQueryStringKey(text, key) ==
         (at == text.npos ? Text() : Text(found)));
  const Parameters parameters{{key, text}, {key + '&', key}};
  const sandbox::Form form(*StringUtil::getQueryStringFromDictionary(parameters));
  expect(form.get(key) == text && form.get(key + '&') == key);
  expect(integerValue(text) == std::strtoll(text.c_str(), nullptr, 10));
  expect(APIRequest().hexEncode(text) == sandbox::hexEncoded(text));
  expect(sameIgnoringCase(key, text) == sandbox::equalIgnoringCase(key, text));
}

void json(std::string text) {
  static simdjson::dom::parser parser;
  // What the other reader may refuse though it is sound: halves of pairs and large numbers.
  static const std::regex odd(R"(\\u[dD]|\d[eE][-+]?\d|\d{19})");
  const std::optional<Json> json = Json::parse(text);
  const std::string plain = text.substr(text.starts_with("\xEF\xBB\xBF") ? 3 : 0);
  simdjson::dom::object object;
  const bool isTaken = parser.parse(plain).get(object) == simdjson::SUCCESS;
  expect(json.has_value() == isTaken || (json && std::regex_search(text, odd)));
  if (!isTaken) return;
  std::map<std::string_view, element> members; // the last one of each name
  for (const auto [name, value] : object)
    members[name] = value;
  for (const auto& [name, value] : members)
    expect(isSame(memberText(json, name).value(), value));
}

void headers(std::string input) {
  HttpRequest request;
  request.method = piece(input);
  HeaderFields& fields = request.headerFields;
  struct Field {
    std::string name, value;
  };
  std::vector<Field> expected;
  while (!input.empty()) {
    const bool isSet = flag(input);
    const std::string name = piece(input);
    const Text value = isSet ? Text(piece(input)) : Text();
    fields.set(name, value);
    std::erase_if(expected,
                  [&](auto& field) { return sandbox::equalIgnoringCase(field.name, name); });
    if (value) expected.push_back({name, *value});
    expect(fields.get(name) == value);
  }
  const auto isSame = [](const auto& a, const auto& b) {
    return a.name == b.name && a.value == b.value;
  };
  expect(std::equal(fields.begin(), fields.end(), expected.begin(), expected.end(), isSame));
  bool isSound = isToken(request.method);
  for (const auto& [name, value] : expected)
    isSound = isSound && isToken(name) && value.find_first_of({"\r\n\0", 3}) == value.npos;
  expect(headProblem(request).has_value() != isSound);
}

void redirects(std::string input) {
  static const std::regex plain("https?://[a-z.]+(:[0-9]+)?/.*", std::regex::icase);
  static const std::regex own("https://api\\.example(:0*443)?/.*", std::regex::icase);
  Hop hop;
  hop.url = "https://api.example/v1";
  hop.method = piece(input);
  while (!input.empty()) {
    const long status = std::atol(piece(input).c_str());
    const std::string url = piece(input);
    if (!isRedirect(status) || addressProblem(url)) continue;
    const Hop next = redirected(hop, status, url);
    // What libcurl makes of an address that is not plain cannot be said so closely.
    const bool isOwn =
        std::regex_match(url, plain)
            ? std::regex_match(url, own)
            : strcasestr(sandbox::percentDecoded(url).c_str(), "api.example") != nullptr;
    expect(!next.withOwnFields || (hop.withOwnFields && isOwn));
    expect(next.method == hop.method || (next.method == "GET" && status < 307));
    hop = next;
  }
}

/// The sandbox's own readers; a request reads the same in whatever pieces it arrives.
void sandbox(std::string input) {
  const std::size_t step = piece(input).size() + 1;
  expect(sandbox::hexDecoded(sandbox::hexEncoded(input)) == input);
  expect(sandbox::isUtf8(sandbox::presentable(input)));
  sandbox::base64UrlDecoded(input);
  sandbox::hexDecoded(input);
  sandbox::aes256Decrypted(input, input, input);
  sandbox::Form(input).repeatedName();

  const auto read = [&](std::size_t size) {
    sandbox::RequestParser parser;
    parser.eager(true);
    boost::beast::error_code error = boost::beast::http::error::need_more;
    std::size_t used = 0;
    for (std::size_t end = 0;
         end < input.size() && error == boost::beast::http::error::need_more;) {
      end = std::min(end + size, input.size());
      used += parser.put(boost::asio::buffer(input.data() + used, end - used), error);
      if (!error && !parser.is_done()) error = boost::beast::http::error::need_more;
    }
    return parser.is_done() ? parser.take() : std::make_shared<sandbox::ReceivedRequest>();
  };
  const auto whole = read(input.size());
  const auto pieces = read(step);
  expect(whole->headers == pieces->headers && whole->target == pieces->target);
  expect(whole->bodySha256 == pieces->bodySha256);
  expect(whole->uploadComplete == pieces->uploadComplete);
  expect(std::ranges::equal(whole->uploads, pieces->uploads, {}, &sandbox::Upload::sha256,
                            &sandbox::Upload::sha256));
}

} // namespace quarnet::fuzz
