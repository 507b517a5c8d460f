#pragma once

#include "sandbox/Reply.h"
#include "sandbox/RequestParser.h"
#include "sandbox/Service.h"

#include <boost/asio/awaitable.hpp>
#include <boost/asio/cancellation_signal.hpp>
#include <boost/asio/ip/tcp.hpp>
#include <boost/asio/ssl/context.hpp>
#include <boost/beast/core/flat_buffer.hpp>
#include <string>
#include <string_view>

namespace quarnet::sandbox {

/// One client's connection: finds out whether it speaks TLS, then answers one request after the
/// other until either side has enough. Lives on one thread.
class Connection {
public:
  Connection(boost::asio::ip::tcp::socket socket, boost::asio::ssl::context& tls, Service& service);

  /// Ends when the connection does; never throws.
  boost::asio::awaitable<void> run();

  /// To be given to the spawning of run(), so that stop() ends it at any point.
  boost::asio::cancellation_slot stopSlot() { return stop_.slot(); }
  void stop();

private:
  template <class T>
  using Awaitable = boost::asio::awaitable<T>;

  Awaitable<void> runSecure();
  template <class Stream>
  Awaitable<void> answerAll(Stream& stream, bool secure);
  template <class Stream>
  Awaitable<bool> read(Stream& stream, RequestParser& parser);
  template <class Stream>
  Awaitable<bool> deliver(Stream& stream, const ReceivedRequest& request, const Reply& reply);
  template <class Stream>
  Awaitable<void> send(Stream& stream, std::string_view head, const Reply& reply,
                       std::uint64_t length);
  template <class Stream>
  Awaitable<void> sendEndless(Stream& stream, std::string_view head);
  template <class Stream>
  Awaitable<void> waitUntilGone(Stream& stream);
  void reset();

  boost::asio::ip::tcp::socket socket_;
  boost::asio::ssl::context& tls_;
  Service& service_;
  boost::beast::flat_buffer buffer_;
  boost::asio::cancellation_signal stop_;
};

} // namespace quarnet::sandbox
