#include "quarnet/platform/curl/HeaderList.h"

#include "quarnet/core/Text.h"

#include <algorithm>
#include <array>

namespace quarnet::platform {
namespace {

// Fields that describe the body (RFC 9110, section 8).
bool describesContent(std::string_view name) {
  return name.size() > 8 && sameIgnoringCase(name.substr(0, 8), "Content-");
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

bool isOneOf(const Bytes& bytes, char c) {
  return bytes[static_cast<unsigned char>(c)];
}

// A token of RFC 9110, section 5.6.2.
bool isToken(std::string_view text) {
  return !text.empty() &&
         std::all_of(text.begin(), text.end(), [](char c) { return isOneOf(kTokenBytes, c); });
}

bool breaksTheLine(std::string_view text) {
  return text.find_first_of({"\r\n\0", 3}) != std::string_view::npos;
}

// The field's name up to what must not be in it.
std::string shown(std::string_view name) {
  const auto isShown = [](char c) { return c > ' ' && c < '\x7f'; };
  return {name.begin(), std::find_if_not(name.begin(), name.end(), isShown)};
}

// All fields in one go, which is fast: each line must end where it should and nowhere before.
bool fieldsAreSound(const HeaderFields& fields) {
  const std::string_view lines = fields.lines();
  const auto ends = static_cast<std::size_t>(std::count(lines.begin(), lines.end(), '\0'));
  bool sound = ends == fields.size() && lines.find('\r') == std::string_view::npos &&
               lines.find('\n') == std::string_view::npos;
  for (std::size_t i = 0; i < fields.size(); ++i)
    sound = sound && isToken(fields[i].name);
  return sound;
}

// Whether libcurl might ask the server for its consent before it sends the body.
bool mayExpect(const HttpRequest& request) {
  constexpr std::size_t kSmallestExpecting = std::size_t{1} << 20;
  return request.body != nullptr && request.body->size() >= kSmallestExpecting;
}

} // namespace

Text headProblem(const HttpRequest& request) {
  if (!isToken(request.method)) return "The HTTP method holds a character that it must not hold";
  const HeaderFields& fields = request.headerFields;
  if (fieldsAreSound(fields)) return std::nullopt;
  std::size_t i = 0;
  while (isToken(fields[i].name) && !breaksTheLine(fields[i].value))
    ++i;
  if (isToken(fields[i].name)) {
    return "The header field \"" + shown(fields[i].name) + "\" holds a line break or a zero byte";
  }
  return "A header field's name is empty or holds a character that it must not hold: " +
         shown(fields[i].name);
}

void HeaderList::assign(const HttpRequest& request, const Hop& hop) {
  nodes_.clear();
  ownLines_.clear();
  size_ = 0;
  bool hasAccept = false;
  bool hasContentType = false;
  bool hasExpect = false;
  for (std::size_t i = 0; i < request.headerFields.size(); ++i) {
    const HeaderFields::Field field = request.headerFields[i];
    // libcurl sends the body's true size, whatever the caller counted, and sends it once.
    if (sameIgnoringCase(field.name, "Content-Length")) continue;
    if (!(describesContent(field.name) ? hop.withContent : hop.withOwnFields)) continue;
    add(field);
    hasAccept = hasAccept || sameIgnoringCase(field.name, "Accept");
    hasContentType = hasContentType || sameIgnoringCase(field.name, "Content-Type");
    hasExpect = hasExpect || sameIgnoringCase(field.name, "Expect");
  }
  // A name with nothing behind the colon keeps libcurl from adding a field of its own.
  if (!hasAccept) addLine("Accept:");
  if (!hasContentType) addLine("Content-Type:");
  if (!hasExpect && mayExpect(request)) addLine("Expect:");
  link();
}

void HeaderList::add(const HeaderFields::Field& field) {
  if (field.value.find_first_not_of(" \t\v\f") != std::string_view::npos) {
    return addLine(field.line);
  }
  // libcurl's form for a field without a value.
  ownLines_.push_back(std::string(field.name) + ';');
  addLine(ownLines_.back());
}

void HeaderList::addLine(std::string_view line) {
  size_ += line.size() + 2; // the line break
  // libcurl only reads it.
  nodes_.push_back({.data = const_cast<char*>(line.data()), .next = nullptr});
}

void HeaderList::link() {
  for (std::size_t i = 1; i < nodes_.size(); ++i)
    nodes_[i - 1].next = &nodes_[i];
}

} // namespace quarnet::platform
