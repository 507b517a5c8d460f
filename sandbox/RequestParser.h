#pragma once

#include "sandbox/BodyReader.h"
#include "sandbox/ReceivedRequest.h"

#include <boost/beast/http/basic_parser.hpp>
#include <memory>
#include <optional>

namespace quarnet::sandbox {

/// Turns the bytes of one request into a ReceivedRequest; the body is taken in as it comes.
class RequestParser : public boost::beast::http::basic_parser<true> {
public:
  RequestParser();

  /// Whether the client waits for permission to send the body (RFC 9110 section 10.1.1).
  bool expectsContinue() const;
  /// The request, once the parser is done.
  std::shared_ptr<ReceivedRequest> take();

private:
  using Error = boost::beast::error_code;
  using Text = boost::beast::string_view;

  void on_request_impl(boost::beast::http::verb, Text method, Text target, int version,
                       Error&) override;
  void on_response_impl(int, Text, int, Error&) override {}
  void on_field_impl(boost::beast::http::field, Text name, Text value, Error&) override;
  void on_header_impl(Error&) override {}
  void on_body_init_impl(const boost::optional<std::uint64_t>&, Error&) override {}
  std::size_t on_body_impl(Text bytes, Error&) override;
  void on_chunk_header_impl(std::uint64_t, Text, Error&) override {}
  std::size_t on_chunk_body_impl(std::uint64_t, Text bytes, Error&) override;
  void on_finish_impl(Error&) override;

  std::shared_ptr<ReceivedRequest> request_ = std::make_shared<ReceivedRequest>();
  std::optional<BodyReader> body_; ///< from the first byte of a body on
};

} // namespace quarnet::sandbox
