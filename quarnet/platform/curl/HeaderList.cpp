#include "quarnet/platform/curl/HeaderList.h"

#include <algorithm>
#include <array>
#include <strings.h>

namespace quarnet::platform {
namespace {

bool sameName(std::string_view a, std::string_view b) {
  return a.size() == b.size() && strncasecmp(a.data(), b.data(), a.size()) == 0;
}

// Fields that describe the body (RFC 9110, section 8).
bool describesContent(std::string_view name) {
  return name.size() > 8 && sameName(name.substr(0, 8), "Content-");
}

using Bytes = std::array<bool, 256>;

constexpr Bytes bytesOf(std::string_view text) {
  Bytes bytes{};
  for (const char c : text)
    bytes[static_cast<unsigned char>(c)] = true;
  return bytes;
}
constexpr Bytes kTokenBytes =
    bytesOf("ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789"
            "!#$%&'*+-.^_`|~");
constexpr Bytes kLineBreaks = bytesOf({"\r\n\0", 3});

bool isOneOf(const Bytes& bytes, char c) {
  return bytes[static_cast<unsigned char>(c)];
}

// A token of RFC 9110, section 5.6.2.
bool isToken(std::string_view text) {
  return !text.empty() &&
         std::all_of(text.begin(), text.end(), [](char c) { return isOneOf(kTokenBytes, c); });
}

bool breaksTheLine(std::string_view text) {
  return std::any_of(text.begin(), text.end(), [](char c) { return isOneOf(kLineBreaks, c); });
}

} // namespace

Text headProblem(const HttpRequest& request) {
  if (!isToken(request.method)) return "The HTTP method holds a character that it must not hold";
  for (const auto& [name, value] : request.headerFields) {
    if (!isToken(name)) {
      return "A header field's name is empty or holds a character that it must not hold: " +
             std::string(name.begin(), std::find_if_not(name.begin(), name.end(), [](char c) {
                           return c > ' ' && c < '\x7f';
                         }));
    }
    if (breaksTheLine(value)) {
      return "The header field \"" + name + "\" holds a line break or a zero byte";
    }
  }
  return std::nullopt;
}

void HeaderList::assign(const HttpRequest& request, const Hop& hop) {
  lines_.clear();
  starts_.clear();
  bool hasAccept = false;
  bool hasContentType = false;
  bool hasExpect = false;
  if (hop.withOwnFields) {
    for (const auto& [name, value] : request.headerFields) {
      // libcurl sends the body's true size, whatever the caller counted, and sends it once.
      if (sameName(name, "Content-Length")) continue;
      if (!hop.withContent && describesContent(name)) continue;
      add(name, value);
      hasAccept = hasAccept || sameName(name, "Accept");
      hasContentType = hasContentType || sameName(name, "Content-Type");
      hasExpect = hasExpect || sameName(name, "Expect");
    }
  }
  if (!hasAccept) suppress("Accept");
  if (!hasContentType) suppress("Content-Type");
  if (!hasExpect) suppress("Expect");
  link();
}

void HeaderList::add(std::string_view name, std::string_view value) {
  starts_.push_back(lines_.size());
  lines_ += name;
  // "Name:" with nothing but blanks behind it would keep the field from being sent; libcurl's form
  // for an empty field is "Name;".
  if (value.find_first_not_of(" \t\v\f") == std::string_view::npos) {
    lines_ += ';';
  } else {
    lines_ += ": ";
    lines_ += value;
  }
  lines_ += '\0';
}

void HeaderList::suppress(std::string_view name) {
  starts_.push_back(lines_.size());
  lines_ += name;
  lines_ += ':';
  lines_ += '\0';
}

void HeaderList::link() {
  nodes_.resize(starts_.size());
  for (std::size_t i = 0; i < nodes_.size(); ++i) {
    nodes_[i] = {.data = lines_.data() + starts_[i],
                 .next = i + 1 < nodes_.size() ? &nodes_[i + 1] : nullptr};
  }
}

} // namespace quarnet::platform
