#include "quarnet/core/Json.h"

#include "quarnet/core/OfThread.h"

#include <charconv>
#include <cmath>
#include <simdjson.h>

namespace quarnet {

namespace ondemand = simdjson::ondemand;

namespace {

constexpr int kMaxDepth = 500;
constexpr std::size_t kMaxSize = std::size_t{1} << 20;
constexpr std::size_t kShortSize = std::size_t{4} << 10;
constexpr std::string_view kByteOrderMark = "\xEF\xBB\xBF";

std::string decimalText(double number) {
  char text[64];
  const double size = std::fabs(number);
  // Written out in full where a person would: 1e5 seconds are "100000".
  const auto format = size == 0 || (size >= 1e-5 && size < 1e17) ? std::chars_format::fixed
                                                                 : std::chars_format::general;
  const auto end = std::to_chars(text, text + sizeof(text), number, format).ptr;
  return {text, end};
}

bool isInteger(std::string_view token) {
  if (token.starts_with('-')) token.remove_prefix(1);
  if (token.empty() || (token.size() > 1 && token.front() == '0')) return false;
  return token.find_first_not_of("0123456789") == std::string_view::npos;
}

void appendQuoted(std::string& out, std::string_view text) {
  constexpr std::string_view kHex = "0123456789abcdef";
  out += '"';
  for (const char c : text) {
    if (c == '"' || c == '\\') {
      out += '\\';
      out += c;
    } else if (static_cast<unsigned char>(c) < 0x20) {
      out += "\\u00";
      out += kHex[static_cast<std::size_t>(c) >> 4];
      out += kHex[static_cast<std::size_t>(c) & 15];
    } else {
      out += c;
    }
  }
  out += '"';
}

} // namespace

/// Reads values depth first; false as soon as anything is not valid JSON.
struct JsonReader {
  static bool readObject(ondemand::object object, Json& out, int depth) {
    out.kind_ = Json::Kind::object;
    for (auto field : object) {
      std::string_view name;
      ondemand::value value;
      if (field.unescaped_key().get(name) != simdjson::SUCCESS) return false;
      Json& member = out.members_.emplace_back(name, Json()).second;
      if (field.value().get(value) != simdjson::SUCCESS) return false;
      if (!read(value, member, depth)) return false;
    }
    return true;
  }

  static bool readArray(ondemand::array array, Json& out, int depth) {
    out.kind_ = Json::Kind::array;
    for (auto element : array) {
      ondemand::value value;
      Json& item = out.members_.emplace_back().second;
      if (element.get(value) != simdjson::SUCCESS || !read(value, item, depth)) return false;
    }
    return true;
  }

  static bool readNumber(ondemand::value value, Json& out) {
    std::string_view token = value.raw_json_token();
    token = token.substr(0, token.find_last_not_of(" \t\r\n") + 1);
    out.token_ = token;
    ondemand::number number;
    if (value.get_number().get(number) != simdjson::SUCCESS) {
      // An integer beyond 64 bits is still a number: its digits are its text.
      if (!isInteger(token)) return false;
      out.text_ = token;
    } else {
      out.text_ = number.is_double() ? decimalText(number.get_double()) : std::string(token);
    }
    return true;
  }

  static bool readString(ondemand::value value, Json& out) {
    out.kind_ = Json::Kind::string;
    std::string_view text;
    if (value.get_string().get(text) != simdjson::SUCCESS) return false;
    out.text_ = text;
    return true;
  }

  static bool readBoolean(ondemand::value value, Json& out) {
    bool truth = false;
    if (value.get_bool().get(truth) != simdjson::SUCCESS) return false;
    out.text_ = truth ? "1" : "0";
    out.token_ = truth ? "true" : "false";
    return true;
  }

  static bool readNull(ondemand::value value, Json& out) {
    if (!value.is_null()) return false;
    out.text_ = "<null>";
    out.token_ = "null";
    return true;
  }

  static bool read(ondemand::value value, Json& out, int depth) {
    ondemand::json_type type;
    if (depth >= kMaxDepth || value.type().get(type) != simdjson::SUCCESS) return false;
    switch (type) {
    case ondemand::json_type::object: {
      ondemand::object object;
      return value.get_object().get(object) == simdjson::SUCCESS &&
             readObject(object, out, depth + 1);
    }
    case ondemand::json_type::array: {
      ondemand::array array;
      return value.get_array().get(array) == simdjson::SUCCESS && readArray(array, out, depth + 1);
    }
    case ondemand::json_type::number:
      return readNumber(value, out);
    case ondemand::json_type::string:
      return readString(value, out);
    case ondemand::json_type::boolean:
      return readBoolean(value, out);
    case ondemand::json_type::null:
      return readNull(value, out);
    }
    return false;
  }
};

std::optional<Json> Json::parse(std::string_view bytes) {
  if (bytes.size() > kMaxSize) return std::nullopt;
  if (bytes.starts_with(kByteOrderMark)) bytes.remove_prefix(kByteOrderMark.size());
  const simdjson::padded_string padded(bytes);
  // Making a parser's buffers costs more than reading a short document; a long one's are not kept.
  ondemand::parser own;
  ondemand::parser* const kept = ofThread<ondemand::parser>();
  ondemand::parser& parser = kept != nullptr && bytes.size() <= kShortSize ? *kept : own;
  ondemand::document document;
  ondemand::object object;
  if (parser.iterate(padded).get(document) != simdjson::SUCCESS) return std::nullopt;
  if (document.get_object().get(object) != simdjson::SUCCESS) return std::nullopt;
  Json json;
  if (!JsonReader::readObject(object, json, 0)) return std::nullopt;
  // Nothing may follow the object.
  if (document.current_location().error() != simdjson::OUT_OF_BOUNDS) return std::nullopt;
  return json;
}

const Json* Json::member(std::string_view name) const {
  if (kind_ != Kind::object) return nullptr;
  for (auto entry = members_.rbegin(); entry != members_.rend(); ++entry) {
    if (entry->first == name) return &entry->second;
  }
  return nullptr;
}

std::string Json::text() const {
  if (kind_ == Kind::string || kind_ == Kind::scalar) return text_;
  std::string out;
  appendCompact(out);
  return out;
}

void Json::appendCompact(std::string& out) const {
  if (kind_ == Kind::string) return appendQuoted(out, text_);
  if (kind_ == Kind::scalar) {
    out += token_;
    return;
  }
  const bool isObject = kind_ == Kind::object;
  out += isObject ? '{' : '[';
  bool first = true;
  for (const auto& [name, value] : members_) {
    if (!std::exchange(first, false)) out += ',';
    if (isObject) {
      appendQuoted(out, name);
      out += ':';
    }
    value.appendCompact(out);
  }
  out += isObject ? '}' : ']';
}

Text memberText(const Json* object, std::string_view name) {
  const Json* value = object == nullptr ? nullptr : object->member(name);
  return value == nullptr ? Text() : Text(value->text());
}

} // namespace quarnet
