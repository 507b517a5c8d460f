#include "sandbox/ReplyHead.h"

#include <array>
#include <boost/beast/http/status.hpp>
#include <ctime>

namespace quarnet::sandbox {
namespace {

bool hasBody(unsigned status) {
  return status >= 200 && status != 204 && status != 304;
}

std::string date() {
  const std::time_t now = std::time(nullptr);
  std::tm utc{};
  gmtime_r(&now, &utc);
  std::array<char, 40> text;
  const std::size_t length =
      std::strftime(text.data(), text.size(), "%a, %d %b %Y %H:%M:%S GMT", &utc);
  return std::string(text.data(), length);
}

} // namespace

std::uint64_t bodyLength(const Reply& reply, bool isHead) {
  return isHead || !hasBody(reply.status) ? 0 : reply.body.size() + reply.generated;
}

std::string replyHead(const Reply& reply, bool keepAlive, bool isHead) {
  namespace http = boost::beast::http;
  std::string head = "HTTP/1.1 " + std::to_string(reply.status) + " ";
  head += http::obsolete_reason(http::int_to_status(reply.status));
  head += "\r\nServer: quarnet-sandbox\r\nDate: " + date();
  head += keepAlive ? "\r\nConnection: keep-alive" : "\r\nConnection: close";
  for (const auto& [name, value] : reply.headers)
    head.append("\r\n").append(name).append(": ").append(value);
  if (hasBody(reply.status)) {
    head += "\r\nContent-Type: " + reply.contentType;
    if (reply.delivery == Reply::Delivery::endless)
      head += "\r\nTransfer-Encoding: chunked";
    else
      head += "\r\nContent-Length: " + std::to_string(bodyLength(reply, isHead));
  }
  return head + "\r\n\r\n";
}

} // namespace quarnet::sandbox
