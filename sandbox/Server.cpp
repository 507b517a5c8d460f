#include "sandbox/Server.h"

#include "sandbox/Certificate.h"
#include "sandbox/Connection.h"
#include "sandbox/Service.h"

#include <algorithm>
#include <atomic>
#include <boost/asio/as_tuple.hpp>
#include <boost/asio/bind_cancellation_slot.hpp>
#include <boost/asio/co_spawn.hpp>
#include <boost/asio/detached.hpp>
#include <boost/asio/executor_work_guard.hpp>
#include <boost/asio/io_context.hpp>
#include <boost/asio/post.hpp>
#include <boost/asio/steady_timer.hpp>
#include <boost/asio/use_awaitable.hpp>
#include <mutex>
#include <openssl/ssl.h>
#include <stdexcept>
#include <thread>
#include <unordered_set>

namespace quarnet::sandbox {
namespace {

namespace asio = boost::asio;
using asio::ip::tcp;

/// A loop of its own for one thread; each connection stays on the one that it was given to.
struct Worker {
  asio::io_context context{1};
  asio::executor_work_guard<asio::io_context::executor_type> guard{context.get_executor()};
  std::unordered_set<Connection*> connections;
  bool stopping = false;
  std::thread thread;
};

int chooseHttp11(SSL*, const unsigned char** chosen, unsigned char* length,
                 const unsigned char* offered, unsigned int offeredLength, void*) {
  static constexpr unsigned char kHttp11[] = "\x08http/1.1";
  unsigned char* match = nullptr;
  if (SSL_select_next_proto(&match, length, kHttp11, sizeof kHttp11 - 1, offered, offeredLength) !=
      OPENSSL_NPN_NEGOTIATED)
    return SSL_TLSEXT_ERR_NOACK;
  *chosen = match;
  return SSL_TLSEXT_ERR_OK;
}

asio::ssl::context makeTls() {
  const Certificate& certificate = Certificate::ofThisProcess();
  asio::ssl::context tls(asio::ssl::context::tls_server);
  tls.set_options(asio::ssl::context::default_workarounds | asio::ssl::context::no_tlsv1 |
                  asio::ssl::context::no_tlsv1_1);
  tls.use_certificate_chain(asio::buffer(certificate.chainPem()));
  tls.use_private_key(asio::buffer(certificate.keyPem()), asio::ssl::context::pem);
  SSL_CTX_set_mode(tls.native_handle(), SSL_MODE_RELEASE_BUFFERS);
  SSL_CTX_set_alpn_select_cb(tls.native_handle(), chooseHttp11, nullptr);
  return tls;
}

std::string hostText(const tcp::endpoint& endpoint) {
  const std::string address = endpoint.address().to_string();
  const bool v6 = endpoint.address().is_v6();
  return (v6 ? "[" + address + "]" : address) + ":" + std::to_string(endpoint.port());
}

tcp::endpoint endpointOf(const Options& options) {
  boost::system::error_code error;
  const auto address = asio::ip::make_address(options.address, error);
  if (error) throw std::invalid_argument("\"" + options.address + "\" is not an IP address");
  return {address, options.port};
}

} // namespace

class Server::Impl {
public:
  explicit Impl(Options options)
      : endpoint_(endpointOf(options)), tls_(makeTls()), workers_(std::max(1u, options.threads)),
        acceptor_(workers_.front().context), service_(std::move(options)) {
    listen();
    asio::co_spawn(workers_.front().context, accept(), asio::detached);
    for (Worker& worker : workers_)
      worker.thread = std::thread([&] { worker.context.run(); });
  }

  ~Impl() { stop(); }

  void stop() {
    const std::lock_guard lock(stopMutex_);
    asio::post(workers_.front().context, [this] {
      boost::system::error_code ignored;
      acceptor_.close(ignored);
    });
    for (Worker& worker : workers_) {
      asio::post(worker.context, [&worker] {
        worker.stopping = true;
        for (Connection* const connection : worker.connections)
          connection->stop();
        worker.guard.reset();
      });
    }
    for (Worker& worker : workers_)
      if (worker.thread.joinable()) worker.thread.join();
  }

  Service& service() { return service_; }
  const tcp::endpoint& endpoint() const { return endpoint_; }
  std::size_t open() const { return open_; }
  std::uint64_t accepted() const { return accepted_; }

private:
  void listen() {
    try {
      acceptor_.open(endpoint_.protocol());
      acceptor_.set_option(tcp::acceptor::reuse_address(true));
      acceptor_.bind(endpoint_);
      acceptor_.listen();
    } catch (const boost::system::system_error& problem) {
      throw std::runtime_error("cannot listen on " + hostText(endpoint_) + ": " +
                               problem.code().message());
    }
    endpoint_ = acceptor_.local_endpoint();
  }

  asio::awaitable<void> accept() {
    asio::steady_timer pause(workers_.front().context);
    for (std::size_t next = 0;; next = (next + 1) % workers_.size()) {
      Worker& worker = workers_[next];
      auto [error, socket] =
          co_await acceptor_.async_accept(worker.context, asio::as_tuple(asio::use_awaitable));
      if (!acceptor_.is_open()) co_return;
      if (error) { // out of file descriptors, or the client is gone again
        pause.expires_after(std::chrono::milliseconds(20));
        co_await pause.async_wait(asio::use_awaitable);
        continue;
      }
      ++accepted_;
      ++open_;
      asio::post(worker.context, [this, &worker, socket = std::move(socket)]() mutable {
        start(worker, std::move(socket));
      });
    }
  }

  void start(Worker& worker, tcp::socket socket) {
    if (worker.stopping) return;
    const auto connection = std::make_shared<Connection>(std::move(socket), tls_, service_);
    worker.connections.insert(connection.get());
    const auto ended = [this, &worker, connection](const std::exception_ptr&) {
      worker.connections.erase(connection.get());
      --open_;
    };
    asio::co_spawn(worker.context, connection->run(),
                   asio::bind_cancellation_slot(connection->stopSlot(), ended));
  }

  tcp::endpoint endpoint_;
  asio::ssl::context tls_;
  std::vector<Worker> workers_;
  tcp::acceptor acceptor_;
  Service service_;
  std::atomic<std::size_t> open_{0};
  std::atomic<std::uint64_t> accepted_{0};
  std::mutex stopMutex_;
};

Server::Server(Options options) : impl_(std::make_unique<Impl>(std::move(options))) {}
Server::~Server() = default;

void Server::stop() {
  impl_->stop();
}
std::string Server::host() const {
  return hostText(impl_->endpoint());
}
std::uint16_t Server::port() const {
  return impl_->endpoint().port();
}
std::string Server::caFile() {
  return Certificate::ofThisProcess().caFile();
}

Tokens Server::issueTokens(std::string scope, std::optional<std::chrono::seconds> lifetime) {
  return impl_->service().tokens().issue(std::move(scope), lifetime);
}

std::string Server::issueCode(std::string redirectUri, std::string scope) {
  return impl_->service().tokens().issueCode(std::move(redirectUri), std::move(scope));
}

bool Server::tokenIsLive(const std::string& accessToken) const {
  return impl_->service().tokens().isLive(accessToken);
}

void Server::misbehave(std::string path, Misbehaviour misbehaviour) {
  impl_->service().faults().add(std::move(path), std::move(misbehaviour));
}

void Server::behave() {
  impl_->service().faults().clear();
}

std::vector<ReceivedRequest> Server::received() const {
  return impl_->service().journal().all();
}
void Server::clearReceived() {
  impl_->service().journal().clear();
}
std::uint64_t Server::requestCount() const {
  return impl_->service().journal().count();
}

std::size_t Server::openConnections() const {
  return impl_->open();
}
std::uint64_t Server::acceptedConnections() const {
  return impl_->accepted();
}

} // namespace quarnet::sandbox
