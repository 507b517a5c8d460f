#pragma once

#include <libsoup/soup.h>
#include <map>
#include <string>

namespace quarnet::platform {

/// A web server on the loopback interface that serves fixed pages from the main loop.
class PageServer {
public:
  struct Page {
    std::string body;
    std::string type = "text/html; charset=utf-8";
    unsigned status = 200;
    std::string location = {};
  };

  /// With a certificate and its key in `certificateFile` the server speaks https.
  explicit PageServer(std::map<std::string, Page> pages, const std::string& certificateFile = {});
  ~PageServer();
  PageServer(const PageServer&) = delete;
  PageServer& operator=(const PageServer&) = delete;

  /// "127.0.0.1:40123"
  std::string host() const;
  std::string url(const std::string& path) const { return scheme_ + "://" + host() + path; }
  int requests(const std::string& path) const;
  /// The Cookie header of the last request.
  const std::string& cookie() const { return cookie_; }

private:
  void answer(SoupServerMessage* message, const std::string& path);

  std::map<std::string, Page> pages_;
  std::map<std::string, int> requests_;
  std::string cookie_;
  std::string scheme_ = "http";
  SoupServer* server_;
};

/// A self-made certificate for 127.0.0.1 and its key in one PEM file of the folder.
std::string makeCertificate(const std::string& folder, const std::string& name);

} // namespace quarnet::platform
