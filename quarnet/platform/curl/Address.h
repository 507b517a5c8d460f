#pragma once

#include <curl/curl.h>
#include <memory>
#include <string>

namespace quarnet::platform {

/// Gives addresses to libcurl in parts, which is cheaper: one in a single piece it parses, puts
/// together again and copies with its printf, at some sixty instructions a character. Used for one
/// address after the other; an address that comes again is not parsed again.
class Address {
public:
  Address();

  /// Sets the address of `easy`, which must end before this object does, and its transfer before
  /// the next call with another address. Throws std::bad_alloc.
  void applyTo(CURL* easy, const std::string& url);

private:
  void parse(const std::string& url);

  std::unique_ptr<CURLU, decltype(&curl_url_cleanup)> parts_;
  std::string url_;
  /// "/path?query"; empty where libcurl takes it from the address itself.
  std::string target_;
  bool isParsed_ = false;
};

} // namespace quarnet::platform
