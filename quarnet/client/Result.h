#pragma once

#include "quarnet/client/ApiError.h"

#include <utility>
#include <variant>

namespace quarnet {

/// A value, or the reason why there is none, in the manner of C++23's std::expected. Whoever reads
/// the value of an error, or the error of a value, ends the program.
template <class T>
class [[nodiscard]] Result {
public:
  /// What it brings.
  using value_type = T;
  /// Why it does not.
  using error_type = ApiError;

  /// Implicit, so that a function may return either.
  Result(T value) : content_(std::in_place_index<0>, std::move(value)) {}
  Result(ApiError error) : content_(std::in_place_index<1>, std::move(error)) {}

  /// Whether there is a value, and not an error.
  bool has_value() const noexcept { return content_.index() == 0; }
  /// The same, as in `if (result)`.
  explicit operator bool() const noexcept { return has_value(); }

  /// The value.
  T& operator*() & noexcept { return std::get<0>(content_); }
  const T& operator*() const& noexcept { return std::get<0>(content_); }
  T&& operator*() && noexcept { return std::get<0>(std::move(content_)); }
  /// A member of the value.
  T* operator->() noexcept { return &**this; }
  const T* operator->() const noexcept { return &**this; }

  /// The reason why there is no value.
  ApiError& error() & noexcept { return std::get<1>(content_); }
  const ApiError& error() const& noexcept { return std::get<1>(content_); }
  ApiError&& error() && noexcept { return std::get<1>(std::move(content_)); }

  /// The value, or `other` in its place.
  template <class U>
  T value_or(U&& other) const& {
    return has_value() ? **this : static_cast<T>(std::forward<U>(other));
  }
  template <class U>
  T value_or(U&& other) && {
    return has_value() ? *std::move(*this) : static_cast<T>(std::forward<U>(other));
  }

private:
  std::variant<T, ApiError> content_;
};

} // namespace quarnet
