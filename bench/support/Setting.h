#pragma once

#include <string>
#include <string_view>

namespace quarnet::bench {

/// What scripts/bench has started and put into the environment for the measurements.
struct Setting {
  /// The sandbox, "127.0.0.1:40123".
  std::string sandbox;
  /// An nginx that answers every call with the same short text, over TLS and HTTP/2.
  std::string nginx;
  /// The PEM file that names the certificates of both.
  std::string caFile;
  /// A token answer of the sandbox, as JSON.
  std::string tokenAnswer;
  /// A folder on disk for files that are measured with; removed at the end.
  std::string folder;

  static const Setting& current();
};

/// Points the library at `host`, signs it in and takes the log out of the measurement.
void setUpLibrary(const std::string& host = Setting::current().sandbox);

/// The member of a flat JSON object, which must hold it as a string.
std::string memberOf(std::string_view json, std::string_view name);

} // namespace quarnet::bench
