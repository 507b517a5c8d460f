#pragma once

#include <curl/curl.h>
#include <string>

namespace quarnet::bench {

/// The yardstick's side of a call: one libcurl handle, set up once and used again and again, the
/// way a careful user writes it.
class RawCurl {
public:
  RawCurl();
  ~RawCurl();
  RawCurl(const RawCurl&) = delete;
  RawCurl& operator=(const RawCurl&) = delete;

  CURL* get() const { return easy_; }

  /// The header fields of an API call, as the library sends them, swap key aside.
  curl_slist* callFields() const { return fields_; }

  void setPost(const std::string& url, const std::string& body, curl_slist* fields);
  void setGet(const std::string& url, curl_slist* fields);

  /// Sends what is set up; ends the program when the answer is not 200.
  void perform();

  /// The body of the last answer.
  std::string answer;

private:
  static std::size_t receive(char* data, std::size_t, std::size_t size, void* self);

  CURL* easy_ = nullptr;
  curl_slist* fields_ = nullptr;
};

} // namespace quarnet::bench
