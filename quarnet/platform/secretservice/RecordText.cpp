#include "quarnet/platform/secretservice/RecordText.h"

#include "quarnet/core/Wipe.h"

#include <gio/gio.h>
#include <memory>

namespace quarnet::platform {
namespace {

struct WipeAndFree {
  void operator()(char* text) const {
    explicit_bzero(text, strlen(text));
    g_free(text);
  }
};

void append(std::string& text, std::string_view part, char end) {
  const auto* bytes = reinterpret_cast<const guint8*>(part.data());
  const std::unique_ptr<char, WipeAndFree> escaped(g_uri_escape_bytes(bytes, part.size(), nullptr));
  (text += escaped.get()) += end;
}

std::optional<std::string> unescaped(std::string_view part) {
  GBytes* bytes =
      g_uri_unescape_bytes(part.data(), static_cast<gssize>(part.size()), nullptr, nullptr);
  if (bytes == nullptr) return std::nullopt;
  gsize size = 0;
  const auto* start = static_cast<const char*>(g_bytes_get_data(bytes, &size));
  std::string text(start != nullptr ? start : "", size);
  g_bytes_unref(bytes);
  return text;
}

} // namespace

std::size_t Record::size() const {
  std::size_t size = 0;
  for (const auto& [key, value] : texts)
    size += key.size() + value.size();
  return size;
}

void wipe(Record& record) noexcept {
  for (auto& [key, value] : record.texts)
    quarnet::wipe(value);
  record.texts.clear();
}

std::string recordText(const Record& record) {
  std::string text;
  // Enough, so that no part of it is left where it grew.
  text.reserve(3 * record.size() + 2 * record.texts.size());
  for (const auto& [key, value] : record.texts) {
    append(text, key, '=');
    append(text, value, '\n');
  }
  return text;
}

std::optional<Record> parseRecord(std::string_view text) {
  Record record;
  std::string_view rest = text;
  while (!rest.empty()) {
    const std::size_t end = rest.find('\n');
    const std::size_t middle = rest.substr(0, end).find('=');
    if (end == std::string_view::npos || middle == std::string_view::npos) return std::nullopt;
    const auto key = unescaped(rest.substr(0, middle));
    const auto value = unescaped(rest.substr(middle + 1, end - middle - 1));
    if (!key || !value) return std::nullopt;
    record.texts[*key] = *value;
    rest.remove_prefix(end + 1);
  }
  std::string again = recordText(record);
  const WipeAtEnd wipeAgain(again);
  return again == text ? std::optional(record) : std::nullopt;
}

} // namespace quarnet::platform
