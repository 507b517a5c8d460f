#include "sandbox/Connection.h"

#include "sandbox/Json.h"
#include "sandbox/ReplyHead.h"

#include <algorithm>
#include <array>
#include <boost/asio/as_tuple.hpp>
#include <boost/asio/buffer.hpp>
#include <boost/asio/ssl/stream.hpp>
#include <boost/asio/steady_timer.hpp>
#include <boost/asio/this_coro.hpp>
#include <boost/asio/use_awaitable.hpp>
#include <boost/asio/write.hpp>
#include <boost/beast/core/detect_ssl.hpp>
#include <boost/beast/http/error.hpp>
#include <boost/beast/http/read.hpp>
#include <chrono>

namespace quarnet::sandbox {
namespace {

namespace asio = boost::asio;
namespace beast = boost::beast;
namespace http = boost::beast::http;
using asio::use_awaitable;

constexpr std::size_t kBufferOfAHead = 4ul * 1024;
constexpr std::size_t kBufferOfABody = 64ul * 1024;
constexpr std::size_t kEndlessPiece = 16ul * 1024;
constexpr auto kEndlessPause = std::chrono::milliseconds(10);
constexpr auto kFarewell = std::chrono::seconds(1);

/// Text to fill bodies with, as long as one piece that is sent at a time.
const std::string& filling() {
  static const std::string text = [] {
    std::string filled;
    while (filled.size() < kBufferOfABody)
      filled += "0123456789abcdefghijklmnopqrstuvwxyzABCDEFGHIJKLMNOPQRSTUVWXYZ-\n";
    return filled;
  }();
  return text;
}

Reply refusalOf(beast::error_code error) {
  if (error == http::error::header_limit)
    return errorReply(431, "invalid_request", "The request's head is too long.");
  if (error == http::error::body_limit)
    return errorReply(413, "invalid_request", "The request's body is too long.");
  return errorReply(400, "invalid_request", error.message());
}

bool isClientsFault(beast::error_code error) {
  return error.category() == beast::error_code(http::error::bad_method).category() &&
         error != http::error::end_of_stream && error != http::error::partial_message;
}

asio::awaitable<void> wait(std::chrono::milliseconds time) {
  asio::steady_timer timer(co_await asio::this_coro::executor, time);
  co_await timer.async_wait(use_awaitable);
}

} // namespace

Connection::Connection(asio::ip::tcp::socket socket, asio::ssl::context& tls, Service& service)
    : socket_(std::move(socket)), tls_(tls), service_(service) {
  buffer_.reserve(kBufferOfAHead);
}

void Connection::stop() {
  stop_.emit(asio::cancellation_type::terminal);
  beast::error_code ignored;
  socket_.close(ignored);
}

asio::awaitable<void> Connection::run() {
  try {
    socket_.set_option(asio::ip::tcp::no_delay(true));
    if (co_await beast::async_detect_ssl(socket_, buffer_, use_awaitable))
      co_await runSecure();
    else
      co_await answerAll(socket_, false);
  } catch (const std::exception&) {
    // The other side went away, or the server is stopping: that ends this connection, no more.
  }
  beast::error_code ignored;
  socket_.close(ignored);
}

asio::awaitable<void> Connection::runSecure() {
  asio::ssl::stream<asio::ip::tcp::socket&> stream(socket_, tls_);
  const std::size_t used = co_await stream.async_handshake(asio::ssl::stream_base::server,
                                                           buffer_.data(), use_awaitable);
  buffer_.consume(used);
  co_await answerAll(stream, true);
  if (!socket_.is_open()) co_return;

  // A client that does not answer the farewell is not waited for.
  asio::steady_timer timer(socket_.get_executor(), kFarewell);
  timer.async_wait([this](beast::error_code error) {
    if (!error) socket_.close(error);
  });
  co_await stream.async_shutdown(asio::as_tuple(use_awaitable));
}

template <class Stream>
asio::awaitable<void> Connection::answerAll(Stream& stream, bool secure) {
  for (bool goOn = true; goOn;) {
    RequestParser parser;
    if (!co_await read(stream, parser)) co_return;
    const auto request = parser.take();
    request->secure = secure;
    const Reply reply = service_.answer(request);
    if (reply.delay.count() > 0) co_await wait(reply.delay);
    goOn = co_await deliver(stream, *request, reply);
  }
}

template <class Stream>
asio::awaitable<bool> Connection::read(Stream& stream, RequestParser& parser) {
  auto [error, bytes] =
      co_await http::async_read_header(stream, buffer_, parser, asio::as_tuple(use_awaitable));
  if (!error && !parser.is_done()) {
    if (parser.expectsContinue())
      co_await asio::async_write(stream, asio::buffer("HTTP/1.1 100 Continue\r\n\r\n", 25),
                                 use_awaitable);
    buffer_.reserve(kBufferOfABody);
    std::tie(error, bytes) =
        co_await http::async_read(stream, buffer_, parser, asio::as_tuple(use_awaitable));
  }
  if (buffer_.capacity() > kBufferOfABody) buffer_.shrink_to_fit();
  if (!error) co_return true;
  if (isClientsFault(error)) {
    const Reply reply = refusalOf(error);
    co_await send(stream, replyHead(reply, false, false), reply, reply.body.size());
  }
  co_return false;
}

/// Whether the connection goes on.
template <class Stream>
asio::awaitable<bool> Connection::deliver(Stream& stream, const ReceivedRequest& request,
                                          const Reply& reply) {
  using Delivery = Reply::Delivery;
  const bool isHead = request.method == "HEAD";
  const std::uint64_t length = bodyLength(reply, isHead);
  const std::string head = replyHead(reply, request.keepAlive, isHead);
  switch (reply.delivery) {
  case Delivery::whole:
    co_await send(stream, head, reply, length);
    co_return request.keepAlive;
  case Delivery::silent:
    co_await waitUntilGone(stream);
    break;
  case Delivery::reset:
    reset();
    break;
  case Delivery::resetBody:
    co_await send(stream, head, reply, length / 2);
    reset();
    break;
  case Delivery::cut:
    co_await send(stream, head, reply, std::min(length, reply.cutAt));
    break;
  case Delivery::drop:
    co_await send(stream, head, reply, length);
    break;
  case Delivery::endless:
    co_await sendEndless(stream, head);
    break;
  }
  beast::error_code ignored;
  socket_.close(ignored);
  co_return false;
}

/// Sends the head and that many bytes of the body.
template <class Stream>
asio::awaitable<void> Connection::send(Stream& stream, std::string_view head, const Reply& reply,
                                       std::uint64_t length) {
  const auto kept = static_cast<std::size_t>(std::min<std::uint64_t>(length, reply.body.size()));
  const std::string_view body = std::string_view(reply.body).substr(0, kept);
  const std::array<asio::const_buffer, 2> start{asio::buffer(head), asio::buffer(body)};
  co_await asio::async_write(stream, start, use_awaitable);
  for (std::uint64_t left = length - body.size(); left > 0;) {
    const auto piece = static_cast<std::size_t>(std::min<std::uint64_t>(left, filling().size()));
    co_await asio::async_write(stream, asio::buffer(filling(), piece), use_awaitable);
    left -= piece;
  }
}

template <class Stream>
asio::awaitable<void> Connection::sendEndless(Stream& stream, std::string_view head) {
  co_await asio::async_write(stream, asio::buffer(head), use_awaitable);
  const std::string piece = "4000\r\n" + filling().substr(0, kEndlessPiece) + "\r\n";
  for (;;) {
    co_await asio::async_write(stream, asio::buffer(piece), use_awaitable);
    co_await wait(kEndlessPause);
  }
}

template <class Stream>
asio::awaitable<void> Connection::waitUntilGone(Stream& stream) {
  std::array<char, 512> ignored;
  for (;;)
    co_await stream.async_read_some(asio::buffer(ignored), use_awaitable);
}

void Connection::reset() {
  beast::error_code ignored;
  socket_.set_option(asio::socket_base::linger(true, 0), ignored);
  socket_.close(ignored);
}

} // namespace quarnet::sandbox
