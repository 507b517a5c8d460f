#pragma once

#include <gio/gio.h>
#include <string>
#include <vector>

namespace quarnet::platform {

/// Which servers a certificate file vouches for beside the system's own authorities.
class ServerTrust {
public:
  /// A file that cannot be read vouches for nobody and leaves one line in the log.
  ServerTrust(const std::string& certificateFile, std::vector<std::string> hosts);
  ~ServerTrust();
  ServerTrust(const ServerTrust&) = delete;
  ServerTrust& operator=(const ServerTrust&) = delete;

  /// Whether the server of `url` is one of the hosts and `certificate` is valid for its name under
  /// the file.
  bool vouchesFor(const std::string& url, GTlsCertificate* certificate) const;

private:
  GList* authorities_ = nullptr;
  std::vector<std::string> hosts_;
};

/// The host name of an address; empty when it has none.
std::string hostOf(const std::string& url);

} // namespace quarnet::platform
