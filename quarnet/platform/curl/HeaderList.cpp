#include "quarnet/platform/curl/HeaderList.h"

#include "quarnet/core/Text.h"

#include <cstring>

namespace quarnet::platform {
namespace {

// Fields that describe the body (RFC 9110, section 8).
bool describesContent(std::string_view name) {
  return name.size() > 8 && sameIgnoringCase(name.substr(0, 8), "Content-");
}

// Whether libcurl might ask the server for its consent before it sends the body.
bool mayExpect(const HttpRequest& request) {
  constexpr std::size_t kSmallestExpecting = std::size_t{1} << 20;
  return request.body != nullptr && request.body->size() >= kSmallestExpecting;
}

} // namespace

void HeaderList::assign(const HttpRequest& request, const Hop& hop) {
  lines_.clear();
  bool hasAccept = false;
  bool hasContentType = false;
  bool hasExpect = false;
  for (const auto& [name, value] : request.headerFields) {
    // libcurl sends the body's true size, whatever the caller counted, and sends it once.
    if (sameIgnoringCase(name, "Content-Length")) continue;
    if (!(describesContent(name) ? hop.withContent : hop.withOwnFields)) continue;
    add(name, value);
    hasAccept = hasAccept || sameIgnoringCase(name, "Accept");
    hasContentType = hasContentType || sameIgnoringCase(name, "Content-Type");
    hasExpect = hasExpect || sameIgnoringCase(name, "Expect");
  }
  if (!hasAccept) suppress("Accept");
  if (!hasContentType) suppress("Content-Type");
  if (!hasExpect && mayExpect(request)) suppress("Expect");
  link();
}

void HeaderList::add(std::string_view name, std::string_view value) {
  const bool isBlank = value.find_first_not_of(" \t\v\f") == std::string_view::npos;
  lines_ += name;
  // The first one is libcurl's form for a field without a value.
  if (isBlank) {
    lines_ += ';';
  } else {
    lines_.append(": ").append(value);
  }
  lines_ += '\0';
}

// A name with nothing after the colon keeps libcurl from adding a field of its own.
void HeaderList::suppress(std::string_view name) {
  lines_.append(name).append(":").push_back('\0');
}

void HeaderList::link() {
  nodes_.clear();
  char* const end = lines_.data() + lines_.size();
  for (char* line = lines_.data(); line != end; line += std::strlen(line) + 1)
    nodes_.push_back({.data = line, .next = nullptr});
  for (std::size_t i = 1; i < nodes_.size(); ++i)
    nodes_[i - 1].next = &nodes_[i];
}

} // namespace quarnet::platform
