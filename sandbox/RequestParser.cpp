#include "sandbox/RequestParser.h"

#include "sandbox/Text.h"

namespace quarnet::sandbox {
namespace {

constexpr std::uint32_t kLongestHead = 32 * 1024 * 1024;
constexpr std::uint64_t kLongestBody = 1024ull * 1024 * 1024;

/// Path and query of an address in any of the forms of RFC 9112 section 3.2.
std::string_view originForm(std::string_view target) {
  const std::size_t scheme = target.find("://");
  if (target.starts_with('/') || scheme == std::string_view::npos) return target;
  const std::size_t path = target.find('/', scheme + 3);
  return path == std::string_view::npos ? "/" : target.substr(path);
}

} // namespace

RequestParser::RequestParser() {
  header_limit(kLongestHead);
  body_limit(kLongestBody);
}

bool RequestParser::expectsContinue() const {
  return equalIgnoringCase(request_->header("expect").value_or(""), "100-continue");
}

std::shared_ptr<ReceivedRequest> RequestParser::take() {
  request_->keepAlive = keep_alive();
  return std::move(request_);
}

void RequestParser::on_request_impl(boost::beast::http::verb, Text method, Text target, int,
                                    Error&) {
  request_->method = method;
  request_->target = originForm(target);
}

void RequestParser::on_field_impl(boost::beast::http::field, Text name, Text value, Error&) {
  request_->headers.emplace_back(name, value);
}

std::size_t RequestParser::on_body_impl(Text bytes, Error&) {
  if (!body_) body_.emplace(*request_);
  body_->feed(bytes);
  return bytes.size();
}

std::size_t RequestParser::on_chunk_body_impl(std::uint64_t, Text bytes, Error& error) {
  return on_body_impl(bytes, error);
}

void RequestParser::on_finish_impl(Error&) {
  if (body_) body_->finish();
}

} // namespace quarnet::sandbox
