#include "quarnet/platform/Redactor.h"

#include <algorithm>

namespace quarnet::platform {
namespace {

constexpr std::string_view kMask = "***";
constexpr std::string_view kBlanks = " \t";
constexpr std::string_view kWhiteSpace = " \t\r\n";
constexpr std::size_t kUnlimited = std::string_view::npos;

/// Lines whose whole rest is the user's own data.
constexpr std::string_view kPrivateLines[] = {
    "paramString : ", "ENCODED URL : ", "POST payload : ", "Response data is going to be ==> "};

constexpr std::string_view kSecretNames[] = {
    "accesstoken", "refreshtoken", "clientsecret", "token", "code", "key", "iv", "password"};

/// Names that follow a secret in the lines of the library: a separator inside a value is told from
/// one behind it by these, since secrets stand unescaped in some addresses.
constexpr std::string_view kHarmlessNames[] = {"client_id",
                                               "redirect_uri",
                                               "grant_type",
                                               "response_type",
                                               "scope",
                                               "state",
                                               "error",
                                               "swap_key",
                                               "expires_in",
                                               "expiresin",
                                               "token_type",
                                               "expiressystime",
                                               "content-type",
                                               "content-length",
                                               "accept",
                                               "accept-encoding",
                                               "error_description"};

bool contains(const auto& names, std::string_view name) {
  return std::find(std::begin(names), std::end(names), name) != std::end(names);
}

bool isSecret(std::string_view name) {
  return name.ends_with("_token") || name.ends_with("_secret") || contains(kSecretNames, name);
}

int hexDigit(char c) {
  if (c >= '0' && c <= '9') return c - '0';
  if (c >= 'a' && c <= 'f') return c - 'a' + 10;
  if (c >= 'A' && c <= 'F') return c - 'A' + 10;
  return -1;
}

/// The number that `digits` are in hexadecimal, -1 when they are not `count` of them.
int hexNumber(std::string_view digits, std::size_t count) {
  if (digits.size() != count) return -1;
  int number = 0;
  for (const char digit : digits) {
    if (hexDigit(digit) < 0) return -1;
    number = number * 16 + hexDigit(digit);
  }
  return number;
}

char lowerCase(char c) {
  return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c;
}

bool isNamePart(char c) {
  return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9') || c == '_';
}

bool isOneOf(char c, std::string_view characters) {
  return c != '\0' && characters.find(c) != std::string_view::npos;
}

} // namespace

std::string Redactor::redacted() const {
  for (const std::string_view start : kPrivateLines) {
    if (!text_.starts_with(start)) continue;
    const std::string_view rest = text_.substr(start.size());
    return std::string(start).append(rest.empty() || rest == "(null)" ? rest : kMask);
  }
  std::string out;
  std::size_t copied = 0;
  std::size_t at = 0;
  while (at < text_.size()) {
    const bool escaped = at > 0 && text_[at - 1] == '\\';
    std::size_t end = at;
    const std::string name = nameAt(end, "", kUnlimited);
    const std::optional<Value> value = valueAfter(name, escaped, end);
    if (!value) {
      at = end > at ? end : at + unitAt(at).length;
      continue;
    }
    out.append(text_, copied, value->begin - copied);
    const std::string_view shown = text_.substr(value->begin, value->end - value->begin);
    out += shown.empty() || shown == "(null)" ? shown : kMask;
    at = copied = value->end;
  }
  return out.append(text_, copied);
}

Redactor::Unit Redactor::unitAt(std::size_t at) const {
  if (at >= text_.size()) return {'\0', 0};
  int code = static_cast<unsigned char>(text_[at]);
  std::size_t length = 1;
  if (code == '%' && hexNumber(text_.substr(at + 1, 2), 2) >= 0) {
    std::size_t digits = at + 1;
    while (text_.substr(digits, 2) == "25" && hexNumber(text_.substr(digits + 2, 2), 2) >= 0)
      digits += 2;
    code = hexNumber(text_.substr(digits, 2), 2);
    length = digits + 2 - at;
  } else if (text_.substr(at, 2) == "\\u" && hexNumber(text_.substr(at + 2, 4), 4) >= 0) {
    code = hexNumber(text_.substr(at + 2, 4), 4);
    length = 6;
  }
  return {code < 0x80 ? static_cast<char>(code) : '\0', length};
}

/// The name that begins at `at`, in lower case, and moves `at` behind it. `more` are characters
/// that count as well.
std::string Redactor::nameAt(std::size_t& at, std::string_view more, std::size_t limit) const {
  std::string name;
  while (name.size() < limit) {
    const Unit unit = unitAt(at);
    if (!isNamePart(unit.character) && !isOneOf(unit.character, more)) break;
    name += lowerCase(unit.character);
    at += unit.length;
  }
  return name;
}

std::size_t Redactor::afterBlanks(std::size_t at, std::string_view blanks) const {
  for (Unit unit = unitAt(at); isOneOf(unit.character, blanks); unit = unitAt(at))
    at += unit.length;
  return at;
}

std::optional<Redactor::Quote> Redactor::quoteAt(std::size_t at) const {
  std::size_t backslashes = 0;
  Unit unit = unitAt(at);
  for (; unit.character == '\\'; unit = unitAt(at)) {
    ++backslashes;
    at += unit.length;
  }
  if (!isOneOf(unit.character, "\"'")) return std::nullopt;
  return Quote{unit, backslashes, at + unit.length};
}

/// The value of the secret of that name, which ends at `at`. Absent when the name is no secret's or
/// no value follows. An `escaped` name may begin with the letter of an escape such as \n.
std::optional<Redactor::Value> Redactor::valueAfter(std::string_view name, bool escaped,
                                                    std::size_t at) const {
  // "code=" is looked for anywhere by the library itself, so that "authcode=" can carry the code.
  const bool isCode = name.ends_with("code");
  const bool secret =
      isSecret(name) || (escaped && isSecret(name.substr(std::min<std::size_t>(1, name.size()))));
  if (!secret && !isCode) return std::nullopt;

  const std::optional<Quote> quote = quoteAt(at);
  const std::string_view blanks = quote ? kWhiteSpace : kBlanks;
  at = afterBlanks(quote ? quote->end : at, blanks);
  const Unit delimiter = unitAt(at);
  if (delimiter.character != '=' && (delimiter.character != ':' || !secret)) return std::nullopt;
  at = afterBlanks(at + delimiter.length, blanks);

  const bool bareField = !quote && delimiter.character == ':';
  if (const std::optional<Quote> open = quoteAt(at); open && !bareField) {
    return Value{open->end, endOfQuoted(*open)};
  }
  if (bareField) return Value{at, endOfField(at)};
  if (!quote) return Value{at, endOfPair(at, delimiter.length)};
  if (isOneOf(unitAt(at).character, "{[")) return Value{at, endOfContainer(at)};
  return Value{at, endOfScalar(at)};
}

/// Where the closing quote and its backslashes begin. Inside JSON inside a JSON text every quote is
/// written with backslashes; the closing one has as many as the opening one, after any number of
/// whole escaped backslashes.
std::size_t Redactor::endOfQuoted(const Quote& open) const {
  std::size_t at = open.end;
  std::size_t backslashes = 0;
  while (at < text_.size()) {
    const Unit unit = unitAt(at);
    const bool sameWriting = unit.length == open.unit.length;
    if (sameWriting && unit.character == open.unit.character &&
        backslashes % (2 * (open.backslashes + 1)) == open.backslashes) {
      return at - open.backslashes * unit.length;
    }
    backslashes = sameWriting && unit.character == '\\' ? backslashes + 1 : 0;
    at += unit.length;
  }
  return at;
}

std::size_t Redactor::endOfContainer(std::size_t at) const {
  std::size_t depth = 0;
  std::size_t backslashes = 0;
  while (at < text_.size()) {
    const Unit unit = unitAt(at);
    at += unit.length;
    if (isOneOf(unit.character, "\"'")) {
      const std::size_t closing = (backslashes + 1) * unit.length;
      at = std::min(endOfQuoted({unit, backslashes, at}) + closing, text_.size());
    }
    backslashes = unit.character == '\\' ? backslashes + 1 : 0;
    if (isOneOf(unit.character, "{[")) ++depth;
    if (isOneOf(unit.character, "}]") && --depth == 0) break;
  }
  return at;
}

/// The end of a number, a word or a text without quotes in JSON.
std::size_t Redactor::endOfScalar(std::size_t at) const {
  for (Unit unit = unitAt(at); unit.length != 0 && !isOneOf(unit.character, ",}]\"\r\n");
       unit = unitAt(at)) {
    at += unit.length;
  }
  return at;
}

/// The end of a value in an address or a form whose delimiters are `escapeLength` bytes long: 1 as
/// they are, 3 where the whole is the escaped value of an outer pair.
std::size_t Redactor::endOfPair(std::size_t at, std::size_t escapeLength) const {
  while (at < text_.size()) {
    const Unit unit = unitAt(at);
    if (unit.length == 1 && isOneOf(unit.character, " \t\r\n\"<>")) break;
    if (unit.length <= escapeLength && isOneOf(unit.character, "&#?") &&
        knownNameAt(at + unit.length)) {
      break;
    }
    at += unit.length;
  }
  return at;
}

/// The end of a value in "{name: value, name: value}" or of lines "name:value".
std::size_t Redactor::endOfField(std::size_t at) const {
  while (at < text_.size()) {
    const std::size_t next = at + 1;
    if (text_[at] == '}' && next == text_.size()) break;
    if (isOneOf(text_[at], ",&\n") &&
        knownNameAt(next < text_.size() && text_[next] == ' ' ? next + 1 : next)) {
      break;
    }
    at = next;
  }
  return at;
}

/// Whether a name of a pair or a field is at `at`, with its delimiter.
bool Redactor::knownNameAt(std::size_t at) const {
  const std::string name = nameAt(at, "-", 32);
  return isOneOf(unitAt(at).character, ":=") && (isSecret(name) || contains(kHarmlessNames, name));
}

} // namespace quarnet::platform
