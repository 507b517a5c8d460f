#include "quarnet/core/Json.h"

#include "quarnet/core/Utf8.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <cstdio>
#include <vector>

namespace quarnet {
namespace {

constexpr std::string_view kByteOrderMark = "\xEF\xBB\xBF";

bool isBlank(char c) {
  return c == ' ' || c == '\t' || c == '\n' || c == '\r';
}

bool isMark(char c) {
  return c == ',' || c == ':' || c == '{' || c == '}' || c == '[' || c == ']';
}

// Each returns the size of the token that `text` starts with, or 0 when it is malformed. `text` is
// valid UTF-8.

std::size_t stringSize(std::string_view text) {
  for (std::size_t i = 1; i < text.size(); ++i) {
    const char c = text[i];
    if (c == '"') return i + 1;
    if (static_cast<unsigned char>(c) < 0x20) return 0;
    if (c != '\\') continue;
    if (++i == text.size()) return 0;
    if (text[i] == 'u') {
      const std::string_view hex = text.substr(i + 1, 4);
      if (hex.size() < 4 || hex.find_first_not_of("0123456789abcdefABCDEF") != hex.npos) return 0;
      i += 4;
    } else if (std::string_view("\"\\/bfnrt").find(text[i]) == std::string_view::npos) {
      return 0;
    }
  }
  return 0;
}

std::size_t numberSize(std::string_view text) {
  std::size_t size = text.starts_with('-') ? 1 : 0;
  // False without a digit.
  const auto passDigits = [&] {
    const std::size_t start = size;
    size = std::min(text.find_first_not_of("0123456789", start), text.size());
    return size > start;
  };
  const auto passAny = [&](std::string_view of) {
    if (size == text.size() || of.find(text[size]) == std::string_view::npos) return false;
    ++size;
    return true;
  };
  if (!passAny("0") && !passDigits()) return 0;
  if (passAny(".") && !passDigits()) return 0;
  if (!passAny("eE")) return size;
  passAny("+-");
  return passDigits() ? size : 0;
}

std::size_t tokenSize(std::string_view text) {
  const char c = text.front();
  if (c == '"') return stringSize(text);
  if (isMark(c)) return 1;
  for (const std::string_view literal : {"true", "false", "null"}) {
    if (text.starts_with(literal)) return literal.size();
  }
  return numberSize(text);
}

/// Reads a text token by token; blanks are skipped.
class Tokens {
public:
  explicit Tokens(std::string_view text) : rest_(text) {}

  /// Empty at the text's end and where it is malformed, for good.
  std::string_view next() {
    while (!rest_.empty() && isBlank(rest_.front()))
      rest_.remove_prefix(1);
    const std::string_view token = rest_.substr(0, rest_.empty() ? 0 : tokenSize(rest_));
    rest_.remove_prefix(token.size());
    return token;
  }

  /// The next value as a whole, containers included. For valid JSON.
  std::string_view nextValue() {
    const std::string_view first = next();
    std::size_t depth = 0;
    for (char c = first.front();; c = next().front()) {
      if (c == '{' || c == '[') ++depth;
      if (c == '}' || c == ']') --depth;
      if (depth == 0) {
        return {first.data(), static_cast<std::size_t>(rest_.data() - first.data())};
      }
    }
  }

  bool atEnd() const { return rest_.empty(); }

private:
  std::string_view rest_;
};

/// Whether a token that starts with `c` may come after `last` in `container`: '{', '[' or, for the
/// text as a whole, ' '. `last` is a mark, 'n' after a name and 'v' after a value.
bool mayFollow(char last, char c, char container) {
  switch (c) {
  case ':':
    return last == 'n';
  case ',':
    return last == 'v' && container != ' ';
  case '}':
    return container == '{' && (last == '{' || last == 'v');
  case ']':
    return container == '[' && (last == '[' || last == 'v');
  default:
    if (container == '{' && last != ':') return c == '"' && (last == '{' || last == ',');
    return last == ':' || last == '[' || last == ',';
  }
}

bool isValid(std::string_view text) {
  if (!isUtf8(text)) return false;
  Tokens tokens(text);
  std::vector<bool> isObject; // one bit for each container that is open
  char last = ':';            // a value may follow
  for (std::string_view token = tokens.next(); !token.empty(); token = tokens.next()) {
    const char c = token.front();
    const char container = isObject.empty() ? ' ' : isObject.back() ? '{' : '[';
    if (!mayFollow(last, c, container)) return false;
    const bool isName = c == '"' && container == '{' && last != ':';
    const bool isEnd = c == '}' || c == ']';
    if (c == '{' || c == '[') isObject.push_back(c == '{');
    if (isEnd) isObject.pop_back();
    last = isMark(c) && !isEnd ? c : isName ? 'n' : 'v';
  }
  return tokens.atEnd() && last == 'v' && isObject.empty();
}

void appendUtf8(std::string& out, unsigned code) {
  if (code < 0x80) {
    out += static_cast<char>(code);
    return;
  }
  constexpr unsigned kFirst[] = {0, 0xC0, 0xE0, 0xF0};
  unsigned more = code < 0x800 ? 1 : code < 0x10000 ? 2 : 3;
  out += static_cast<char>(kFirst[more] | code >> 6 * more);
  while (more-- > 0)
    out += static_cast<char>(0x80 | (code >> 6 * more & 0x3F));
}

/// The code unit of the "\uXXXX" that `text` starts with; 0 when it does not.
unsigned unitAt(std::string_view text) {
  unsigned unit = 0;
  if (text.starts_with("\\u")) std::from_chars(text.data() + 2, text.data() + 6, unit, 16);
  return unit;
}

/// Decodes the "\uXXXX" that `text` starts with, together with the other half of a pair, and
/// returns how many bytes of `text` that took.
std::size_t appendUnits(std::string& out, std::string_view text) {
  constexpr std::size_t kSize = 6;
  const unsigned first = unitAt(text);
  const unsigned second = unitAt(text.substr(kSize));
  const auto isHalf = [](unsigned unit, unsigned from) {
    return unit >= from && unit < from + 0x400;
  };
  if (isHalf(first, 0xD800) && isHalf(second, 0xDC00)) {
    appendUtf8(out, 0x10000 + ((first - 0xD800) << 10) + (second - 0xDC00));
    return 2 * kSize;
  }
  appendUtf8(out, isHalf(first, 0xD800) || isHalf(first, 0xDC00) ? 0xFFFD : first);
  return kSize;
}

/// The text between the quotes, escapes undone.
std::string unquoted(std::string_view token) {
  std::string text;
  text.reserve(token.size()); // so that it never grows: a secret would leave a copy behind
  token = token.substr(1, token.size() - 2);
  while (true) {
    const std::size_t escape = std::min(token.find('\\'), token.size());
    text += token.substr(0, escape);
    token.remove_prefix(escape);
    if (token.empty()) return text;
    constexpr std::string_view kLetters = "bfnrt";
    const std::size_t letter = kLetters.find(token[1]);
    if (token[1] == 'u') {
      token.remove_prefix(appendUnits(text, token));
    } else {
      text += letter == std::string_view::npos ? token[1] : "\b\f\n\r\t"[letter];
      token.remove_prefix(2);
    }
  }
}

/// Whether the token's text is `text`, which is copied only when it has escapes.
bool holds(std::string_view token, std::string_view text) {
  const std::string_view written = token.substr(1, token.size() - 2);
  return written.find('\\') == std::string_view::npos ? written == text : unquoted(token) == text;
}

void appendQuoted(std::string& out, std::string_view text) {
  out += '"';
  for (const char c : text) {
    if (c == '"' || c == '\\') {
      out += {'\\', c};
    } else if (static_cast<unsigned char>(c) < 0x20) {
      char escape[8];
      std::snprintf(escape, sizeof(escape), "\\u%04x", static_cast<unsigned>(c));
      out += escape;
    } else {
      out += c;
    }
  }
  out += '"';
}

std::string compact(std::string_view container) {
  std::string out;
  out.reserve(container.size());
  Tokens tokens(container);
  for (std::string_view token = tokens.next(); !token.empty(); token = tokens.next()) {
    if (token.front() == '"') {
      appendQuoted(out, unquoted(token));
    } else {
      out += token;
    }
  }
  return out;
}

/// Without an exponent unless the number is very large or small: 1e5 is "100000".
std::string decimalText(std::string_view token) {
  if (token.find_first_of(".eE") == std::string_view::npos) return std::string(token);
  double number = 0;
  const auto read = std::from_chars(token.data(), token.data() + token.size(), number);
  if (read.ec != std::errc()) return std::string(token);
  char text[64];
  const double size = std::fabs(number);
  const auto format = size == 0 || (size >= 1e-5 && size < 1e17) ? std::chars_format::fixed
                                                                 : std::chars_format::general;
  const auto end = std::to_chars(text, text + sizeof(text), number, format).ptr;
  return {text, end};
}

} // namespace

std::optional<Json> Json::parse(std::string_view text) {
  if (text.starts_with(kByteOrderMark)) text.remove_prefix(kByteOrderMark.size());
  if (!isValid(text)) return std::nullopt;
  const Json value(Tokens(text).nextValue());
  return value.value_.front() == '{' ? std::optional(value) : std::nullopt;
}

std::optional<Json> Json::member(std::string_view name) const {
  std::optional<Json> found;
  if (value_.front() != '{') return found;
  Tokens tokens(value_.substr(1));
  for (std::string_view token = tokens.next(); token.front() != '}'; token = tokens.next()) {
    if (token.front() == ',') continue;
    const bool isWanted = holds(token, name);
    tokens.next(); // the colon
    const Json value(tokens.nextValue());
    if (isWanted) found = value;
  }
  return found;
}

std::string Json::text() const {
  switch (value_.front()) {
  case '"':
    return unquoted(value_);
  case '{':
  case '[':
    return compact(value_);
  case 't':
    return "1";
  case 'f':
    return "0";
  case 'n':
    return "<null>";
  default:
    return decimalText(value_);
  }
}

Text memberText(const std::optional<Json>& object, std::string_view name) {
  const std::optional<Json> value = object ? object->member(name) : std::nullopt;
  return value ? Text(value->text()) : Text();
}

} // namespace quarnet
