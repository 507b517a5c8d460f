#include "quarnet/platform/HeaderFields.h"

#include "quarnet/core/Text.h"

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <limits>
#include <new>

namespace quarnet::platform {
namespace {

/// What stands before the texts of a field.
struct Sizes {
  std::uint32_t name;
  std::uint32_t value;
};

constexpr std::size_t kLongest = std::numeric_limits<std::uint32_t>::max();
/// What the fields of an ordinary call take.
constexpr std::size_t kOrdinary = 320;

} // namespace

HeaderFields::Field HeaderFields::Iterator::operator*() const {
  Sizes sizes;
  std::memcpy(&sizes, field_, sizeof(sizes));
  const char* const name = field_ + sizeof(sizes);
  return {{name, sizes.name}, {name + sizes.name, sizes.value}};
}

HeaderFields::Iterator& HeaderFields::Iterator::operator++() {
  const std::string_view value = (**this).value;
  field_ = value.data() + value.size();
  return *this;
}

HeaderFields::HeaderFields(std::initializer_list<Field> fields) {
  for (const auto& [name, value] : fields)
    set(name, value);
}

void HeaderFields::set(std::string_view name, std::optional<std::string_view> value) {
  if (value) { // first, since it may throw
    if (name.size() > kLongest || value->size() > kLongest) throw std::bad_alloc();
    fields_.reserve(
        std::max(kOrdinary, fields_.size() + sizeof(Sizes) + name.size() + value->size()));
  }
  if (Iterator old = find(name); old != end()) {
    const auto start = static_cast<std::size_t>(old.field_ - fields_.data());
    fields_.erase(start, static_cast<std::size_t>((++old).field_ - fields_.data()) - start);
  }
  if (!value) return;
  const Sizes sizes{static_cast<std::uint32_t>(name.size()),
                    static_cast<std::uint32_t>(value->size())};
  fields_.append(reinterpret_cast<const char*>(&sizes), sizeof(sizes)).append(name).append(*value);
}

std::optional<std::string_view> HeaderFields::get(std::string_view name) const {
  const Iterator found = find(name);
  return found != end() ? std::optional<std::string_view>((*found).value) : std::nullopt;
}

HeaderFields::Iterator HeaderFields::find(std::string_view name) const {
  return std::find_if(begin(), end(),
                      [name](const Field& field) { return sameIgnoringCase(field.name, name); });
}

} // namespace quarnet::platform
