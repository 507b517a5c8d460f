// What goes to a server, where it is sent on to, and what comes back.

#include "fuzz/support/Fuzz.h"
#include "sandbox/Text.h"

#include "quarnet/platform/curl/CurlHttpClient.h"
#include "quarnet/platform/curl/HeaderList.h"

#include <cstring>
#include <future>
#include <mutex>
#include <netinet/in.h>
#include <sys/socket.h>
#include <thread>
#include <unistd.h>

namespace quarnet::fuzz {

using namespace platform;

namespace {

bool isToken(const std::string& text) {
  static const std::string odd = "\"(),/:;<=>?@[\\]{}";
  return !text.empty() && std::ranges::all_of(text, [](char c) {
    return c > ' ' && c < '\x7f' && odd.find(c) == odd.npos;
  });
}

std::mutex answering;
Input answersToCome("");

/// Sends one of the answers over each connection and closes it.
[[noreturn]] void serve(int listener) {
  for (;;) {
    const int connection = accept(listener, nullptr, nullptr);
    char head[4096];
    std::string answer;
    if (recv(connection, head, sizeof(head), 0) > 0) {
      const std::lock_guard lock(answering);
      answer = answersToCome.piece();
    }
    send(connection, answer.data(), answer.size(), MSG_NOSIGNAL);
    close(connection);
  }
}

/// The server is the proxy for all hosts, so that nothing leaves this machine.
void startServer() {
  const int listener = socket(AF_INET, SOCK_STREAM, 0);
  sockaddr_in address{};
  address.sin_family = AF_INET;
  address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
  socklen_t size = sizeof(address);
  auto* const generic = reinterpret_cast<sockaddr*>(&address);
  expect(bind(listener, generic, size) == 0 && listen(listener, 64) == 0);
  expect(getsockname(listener, generic, &size) == 0);
  const std::string url = "http://127.0.0.1:" + std::to_string(ntohs(address.sin_port));
  for (const char* name : {"http_proxy", "https_proxy"})
    setenv(name, url.c_str(), 1);
  for (const char* name : {"no_proxy", "NO_PROXY"})
    unsetenv(name);
  std::thread(serve, listener).detach();
}

} // namespace

void headers(Input input) {
  HttpRequest request{.method = input.piece()};
  HeaderFields& fields = request.headerFields;
  std::vector<std::pair<std::string, std::string>> expected;
  while (!input.isEmpty()) {
    const bool isSet = input.flag();
    const std::string name = input.piece();
    const Text value = isSet ? Text(input.piece()) : Text();
    fields.set(name, value);
    std::erase_if(expected,
                  [&](auto& field) { return sandbox::equalIgnoringCase(field.first, name); });
    if (value) expected.emplace_back(name, *value);
    expect(fields.get(name) == value && fields.size() == expected.size());
  }
  bool isSound = isToken(request.method);
  for (std::size_t i = 0; i < expected.size(); ++i) {
    const auto& [name, value] = expected[i];
    expect(fields[i].line == name + ": " + value && *fields[i].line.end() == 0);
    isSound = isSound && isToken(name) && value.find_first_of({"\r\n\0", 3}) == value.npos;
  }
  expect(headProblem(request).has_value() != isSound);
  if (!isSound) return;
  HeaderList list;
  list.assign(request, {});
  for (const curl_slist* line = list.get(); line != nullptr; line = line->next)
    expect(std::string_view(line->data).find_first_of("\r\n") == std::string_view::npos);
}

void redirects(Input input) {
  Hop hop{.url = "https://api.example/v1", .method = input.piece()};
  while (!input.isEmpty()) {
    const long status = std::atol(input.piece().c_str());
    const std::string url = input.piece();
    if (!isRedirect(status) || addressProblem(url)) continue;
    const Hop next = redirected(hop, status, url);
    expect(!next.withOwnFields || hop.withOwnFields);
    // libcurl undoes escapes and more in a host, so that this cannot be looked at closely.
    const std::string plain = sandbox::percentDecoded(url);
    expect(!next.withOwnFields || strcasestr(plain.c_str(), "api.example") != nullptr);
    expect(!next.withOwnFields || strncasecmp(plain.c_str(), "https:", 6) == 0);
    expect(next.method == hop.method ||
           (next.method == "GET" && !next.withContent && status < 307));
    expect(!hop.withOwnFields || redirected(hop, status, "https://API.example:443/").withOwnFields);
    hop = next;
  }
}

void heads(Input input) {
  static std::once_flag started;
  std::call_once(started, startServer);
  static auto& client = *new CurlHttpClient({.maximumBodySize = 1000});
  const bool isSynchronous = input.flag();
  const std::string answers = input.rest();
  const auto setAnswers = [](std::string_view bytes) {
    const std::lock_guard lock(answering);
    answersToCome = Input(bytes);
  };
  setAnswers(answers);
  const auto request = std::make_shared<HttpRequest>(HttpRequest{.url = "http://api.example/v1"});
  std::promise<HttpResult> result;
  if (isSynchronous)
    result.set_value(client.sendSynchronously(*request));
  else
    client.sendAsynchronously(request, [&](HttpResult got) { result.set_value(std::move(got)); });
  const HttpResult got = result.get_future().get();
  setAnswers("");
  expect(got.error ? got.error->description.has_value()
                   : got.response && got.response->statusCode >= 200);
  expect(got.body.size() <= 1000);
}

} // namespace quarnet::fuzz
