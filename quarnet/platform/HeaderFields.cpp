#include "quarnet/platform/HeaderFields.h"

#include "quarnet/core/Text.h"

#include <algorithm>
#include <bit>

namespace quarnet::platform {
namespace {

// Room for an ordinary call.
constexpr std::size_t kUsualFields = 8;
constexpr std::size_t kUsualSize = 384;

} // namespace

HeaderFields::HeaderFields(
    std::initializer_list<std::pair<std::string_view, std::string_view>> fields) {
  for (const auto& [name, value] : fields)
    set(name, value);
}

void HeaderFields::set(std::string_view name, std::optional<std::string_view> value) {
  if (value) {
    places_.reserve(std::max(std::bit_ceil(places_.size() + 1), kUsualFields));
    const std::size_t lineSize = name.size() + kSeparator.size() + value->size() + 1;
    lines_.reserve(std::max(lines_.size() + lineSize, kUsualSize));
  }
  if (const std::size_t old = find(name); old < size()) remove(old);
  if (!value) return;
  const std::size_t start = lines_.size();
  lines_.append(name).append(kSeparator).append(*value);
  places_.push_back({.start = start, .nameSize = name.size(), .lineSize = lines_.size() - start});
  lines_ += '\0';
}

std::optional<std::string_view> HeaderFields::get(std::string_view name) const {
  const std::size_t index = find(name);
  return index < size() ? std::optional((*this)[index].value) : std::nullopt;
}

std::size_t HeaderFields::find(std::string_view name) const {
  std::size_t index = 0;
  while (index < size() && !sameIgnoringCase((*this)[index].name, name))
    ++index;
  return index;
}

void HeaderFields::remove(std::size_t index) {
  const std::size_t size = places_[index].lineSize + 1;
  lines_.erase(places_[index].start, size);
  places_.erase(places_.begin() + static_cast<std::ptrdiff_t>(index));
  for (; index < places_.size(); ++index)
    places_[index].start -= size;
}

} // namespace quarnet::platform
