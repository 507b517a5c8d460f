#pragma once

#include "quarnet/platform/curl/Sockets.h"

#include <curl/curl.h>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

namespace quarnet::platform {

/// Opens TCP connections ahead of their requests, so that the first of these need not wait for the
/// look-up of the name and the handshake. Nothing is sent over them. For the loop's thread alone.
class ConnectionOpener {
public:
  /// Both must outlive the opener.
  ConnectionOpener(CURLM* multi, Sockets& sockets) : multi_(multi), sockets_(sockets) {}

  /// Begins to open a connection to the origin; not when there is one, when one is being opened or
  /// when a proxy may be asked for.
  void open(const std::string& origin);

  /// Takes the end of a transfer that open() began, and what came of it.
  void finish(CURL* easy, CURLcode code);

private:
  struct Opening {
    std::string origin;
    std::unique_ptr<CURL, decltype(&curl_easy_cleanup)> easy;
  };

  CURLM* const multi_;
  Sockets& sockets_;
  std::vector<Opening> openings_;
};

} // namespace quarnet::platform
