// What goes to a server, where it is sent on to, and what comes back.

#include "fuzz/support/Fuzz.h"
#include "sandbox/Text.h"

#include "quarnet/platform/curl/CurlHttpClient.h"

#include <future>
#include <mutex>
#include <netinet/in.h>
#include <regex>
#include <sys/socket.h>
#include <thread>
#include <unistd.h>

namespace quarnet::fuzz {

using namespace platform;

namespace {

std::mutex answering;
std::string& answersToCome = *new std::string; // the server never ends

/// Sends one of the answers over each connection. It is the proxy for all hosts, so that nothing
/// leaves this machine.
void startServer() {
  const int listener = socket(AF_INET, SOCK_STREAM, 0);
  sockaddr_in address{AF_INET, 0, {htonl(INADDR_LOOPBACK)}, {}};
  socklen_t size = sizeof(address);
  auto* const generic = reinterpret_cast<sockaddr*>(&address);
  expect(bind(listener, generic, size) == 0 && listen(listener, 64) == 0);
  expect(getsockname(listener, generic, &size) == 0);
  const std::string url = "http://127.0.0.1:" + std::to_string(ntohs(address.sin_port));
  setenv("http_proxy", url.c_str(), 1);
  setenv("https_proxy", url.c_str(), 1);
  setenv("no_proxy", "none", 1);
  std::thread([listener] {
    for (char head[4096];;) {
      const int connection = accept(listener, nullptr, nullptr);
      if (recv(connection, head, sizeof(head), 0) > 0) {
        const std::lock_guard lock(answering);
        const std::string answer = piece(answersToCome);
        send(connection, answer.data(), answer.size(), MSG_NOSIGNAL);
      }
      close(connection);
    }
  }).detach();
}

} // namespace

void heads(std::string input) {
  static std::once_flag started;
  std::call_once(started, startServer);
  static auto& client = *new CurlHttpClient({.maximumBodySize = 1000});
  const auto request = std::make_shared<HttpRequest>();
  request->url = "http://api.example/v1";
  const bool isSynchronous = flag(input);
  {
    const std::lock_guard lock(answering);
    answersToCome = input;
  }
  std::promise<HttpResult> result;
  const auto done = [&](HttpResult got) { result.set_value(std::move(got)); };
  isSynchronous ? done(client.sendSynchronously(*request))
                : client.sendAsynchronously(request, done);
  const HttpResult got = result.get_future().get();
  expect(got.error ? got.error->description.has_value() : got.response->statusCode >= 200);
  expect(got.body.size() <= 1000);
}

} // namespace quarnet::fuzz
