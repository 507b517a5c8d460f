#pragma once

#include "sandbox/Server.h"

#include <curl/curl.h>
#include <string>
#include <vector>

namespace quarnet::sandbox {

struct Answer {
  CURLcode result = CURLE_OK;
  long status = 0;
  std::string body;
  std::string location; ///< of a redirect, made absolute
};

/// A client that trusts the sandbox and keeps its connection between calls.
class TestClient {
public:
  explicit TestClient(const Server& server);
  ~TestClient();
  TestClient(const TestClient&) = delete;
  TestClient& operator=(const TestClient&) = delete;

  Answer get(const std::string& pathAndQuery, const std::vector<std::string>& headers = {});
  Answer post(const std::string& path, const std::string& body,
              const std::vector<std::string>& headers = {});
  /// Submits a form to an address as a browser would; pairs are escaped already.
  Answer submit(const std::string& path, const std::string& pairs) { return post(path, pairs); }

  std::string scheme = "https://";
  bool trusting = true;
  long timeout = 5000; ///< milliseconds

private:
  Answer perform(const std::string& path, const std::vector<std::string>& headers);

  std::string host_;
  CURL* curl_;
};

} // namespace quarnet::sandbox
