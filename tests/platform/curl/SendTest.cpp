#include "Loopback.h"
#include "Nginx.h"
#include "WireServer.h"
#include "sandbox/Server.h"

#include "quarnet/platform/curl/CurlHttpClient.h"

#include <chrono>
#include <fstream>
#include <future>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace quarnet::test {
namespace {

using namespace std::chrono_literals;
using platform::CurlHttpClient;
using platform::HttpRequest;
using platform::HttpResult;
using sandbox::Misbehaviour;
using testing::HasSubstr;
using testing::Not;

HttpRequest get(std::string url) {
  HttpRequest request;
  request.url = std::move(url);
  request.timeout = 10s;
  return request;
}

HttpRequest sending(std::string method, std::string url, std::string body) {
  HttpRequest request = get(std::move(url));
  request.method = std::move(method);
  request.body = std::make_shared<Data>(std::move(body));
  return request;
}

std::string problemOf(const HttpResult& result) {
  return result.error ? result.error->description.value_or("no description") : "no error";
}

TEST(SendTest, WhatIsSentIsWhatWasAskedForAndNothingElse) {
  WireServer server([](const std::string&) { return answer("fine"); });
  CurlHttpClient client;
  HttpRequest put = sending("PUT", server.url("/a?b=c"), std::string("x\0y", 3));
  put.headerFields = {
      {"Content-Type", "text/x"}, {"swap_key", "1"}, {"access_token", ""}, {"Content-Length", "3"}};
  HttpRequest bare = get(server.url("/"));
  bare.method = "POST";

  EXPECT_EQ(client.sendSynchronously(put).body, "fine");
  EXPECT_EQ(client.sendSynchronously(bare).body, "fine");
  bare.method = "DELETE";
  EXPECT_EQ(client.sendSynchronously(bare).body, "fine");
  bare.method = "GET";
  EXPECT_EQ(client.sendSynchronously(bare).body, "fine");

  const std::string host = "Host: 127.0.0.1:" + std::to_string(server.port()) + "\r\n";
  EXPECT_THAT(server.requests(),
              testing::ElementsAre("PUT /a?b=c HTTP/1.1\r\n" + host +
                                       "Content-Type: text/x\r\nswap_key: 1\r\naccess_token:\r\n" +
                                       "Content-Length: 3\r\n\r\n" + std::string("x\0y", 3),
                                   "POST / HTTP/1.1\r\n" + host + "Content-Length: 0\r\n\r\n",
                                   "DELETE / HTTP/1.1\r\n" + host + "\r\n",
                                   "GET / HTTP/1.1\r\n" + host + "\r\n"));
  EXPECT_EQ(server.connections(), 1U);
}

TEST(SendTest, AProxyIsAskedForTheWholeAddress) {
  WireServer proxy([](const std::string&) { return answer("through"); });
  setenv("http_proxy", proxy.url().c_str(), 1);
  CurlHttpClient client;
  EXPECT_EQ(client.sendSynchronously(get("http://elsewhere.invalid/a?b=c")).body, "through");
  unsetenv("http_proxy");
  EXPECT_THAT(proxy.requests().at(0),
              testing::StartsWith("GET http://elsewhere.invalid/a?b=c HTTP"));
}

TEST(SendTest, AFieldIsSetOnceAndRemovedWhole) {
  platform::HeaderFields fields = {{"A", "1"}, {"Bb", "2"}, {"C", "3"}};
  fields.set("bB", "two");
  fields.set("a", std::nullopt);
  EXPECT_EQ(fields.lines(), std::string("C: 3\0bB: two\0", 13));
  EXPECT_EQ(fields.get("BB"), "two");
  EXPECT_EQ(fields.get("A"), std::nullopt);
}

TEST(SendTest, WhatCannotBeSentFailsWithAReasonAndStaysOffTheWire) {
  WireServer server([](const std::string&) { return answer("fine"); });
  CurlHttpClient client;
  struct {
    std::string url, method, name, value, problem;
  } const cases[] = {
      {server.url(), "GET", "X", "a\r\nEvil: 1", "\"X\" holds a line break"},
      {server.url(), "GET", "X", "a\nb", "\"X\" holds a line break"},
      {server.url(), "GET", "X", std::string("a\0b", 3), "zero byte"},
      {server.url(), "GET", "X\r\nEvil", "1", "name is empty or holds"},
      {server.url(), "GET", "", "1", "name is empty or holds"},
      {server.url(), "GET / HTTP/1.1\r\nEvil: 1", "X", "1", "method"},
      {"", "GET", "X", "1", "empty"},
      {server.url() + std::string("\0", 1), "GET", "X", "1", "zero byte"},
      {"file:///etc/passwd", "GET", "X", "1", "neither an http nor an https"},
      {"127.0.0.1/x", "GET", "X", "1", "neither an http nor an https"},
      {"http://127.0.0.1:99999/", "GET", "X", "1", "URL"},
      {"http://no such host/", "GET", "X", "1", "URL"},
      {server.url(std::string(2'000'000, 'a')), "GET", "X", "1", "1040000 can be sent"},
  };
  for (const auto& tried : cases) {
    HttpRequest request = get(tried.url);
    request.method = tried.method;
    request.headerFields = {{tried.name, tried.value}};
    const HttpResult result = client.sendSynchronously(request);
    EXPECT_FALSE(result.response);
    EXPECT_THAT(problemOf(result), HasSubstr(tried.problem)) << tried.url.substr(0, 50);
  }
  EXPECT_EQ(server.connections(), 0U);
  // A head that is just small enough goes through whole.
  EXPECT_EQ(problemOf(client.sendSynchronously(get(server.url("/" + std::string(1'039'000, 'a'))))),
            "no error");
  EXPECT_GT(server.requests().at(0).size(), 1'039'000U);
}

TEST(SendTest, AFailureSaysWhyAndKeepsWhatHadArrived) {
  const std::string full = std::string(200'000, 'x');
  struct {
    std::string wire, problem;
    long status;
    std::string body;
  } const cases[] = {
      {"HTTP/1.1 200 OK\r\nConnection: close\r\nContent-Length: 9\r\n\r\nhalf", "close", 200,
       "half"},
      {"HTTP/1.1 200 OK\r\nConnection: close\r\nTransfer-Encoding: chunked\r\n\r\n4\r\nhalf\r\n",
       "", 200, "half"},
      {"HTTP/1.1 404 No\r\nConnection: close\r\nContent-Le", "answer's head", 0, ""},
      {"HTTP/1.1 100 Go on\r\n\r\nConnection: close", "", 0, ""},
      {"rubbish, Connection: close\r\n\r\n", "HTTP/0.9", 0, ""},
      {"HTTP/1.1 200 OK\r\nContent-Length: 99999999999999\r\n\r\nx", "larger than 100000 bytes",
       200, ""},
      {"HTTP/1.1 200 OK\r\nConnection: close\r\n\r\n" + full, "larger than 100000 bytes", 200, "*"},
      {"", "Empty reply", 0, ""},
      {WireServer::kSilence, "timed out", 0, ""},
      {"HTTP/1.1 200 OK\r\nContent-Length: 9\r\n\r\nhalf", "timed out", 200, "half"},
  };
  CurlHttpClient client({.maximumBodySize = 100'000});
  for (const auto& tried : cases) {
    WireServer server([&](const std::string&) { return tried.wire; });
    HttpRequest request = get(server.url());
    request.timeout = 300ms;
    const HttpResult result = client.sendSynchronously(request);
    ASSERT_TRUE(result.error) << tried.wire.substr(0, 100);
    EXPECT_THAT(problemOf(result), HasSubstr(tried.problem));
    EXPECT_FALSE(problemOf(result).empty());
    EXPECT_EQ(result.response ? result.response->statusCode : 0, tried.status) << problemOf(result);
    if (tried.body != "*") {
      EXPECT_EQ(result.body, tried.body) << problemOf(result);
    }
  }
  EXPECT_THAT(problemOf(client.sendSynchronously(get("http://127.0.0.1:1/"))),
              HasSubstr("Failed to connect to 127.0.0.1 port 1"));
}

HttpResult sendEither(CurlHttpClient& client, const HttpRequest& request, bool isAsynchronous) {
  if (!isAsynchronous) return client.sendSynchronously(request);
  std::promise<HttpResult> promise;
  client.sendAsynchronously(std::make_shared<HttpRequest>(request),
                            [&](HttpResult result) { promise.set_value(std::move(result)); });
  return promise.get_future().get();
}

TEST(SendTest, WhatTheServerMayHaveSeenGoesAgainOnceAndAPostNever) {
  struct {
    std::string method;
    bool isAsynchronous;
    std::string problem;
    std::size_t arrivals;
  } const cases[] = {
      {"GET", false, "no error", 3}, {"PUT", true, "no error", 3}, {"DELETE", false, "no error", 3},
      {"HEAD", true, "no error", 3}, {"POST", false, "reply", 2},  {"POST", true, "reply", 2},
      {"PATCH", false, "reply", 2},
  };
  for (const auto& tried : cases) {
    SCOPED_TRACE(tried.method);
    // Says that the connection stays open, and closes it on the second request.
    int count = 0;
    WireServer server([&](const std::string&) { return ++count % 2 == 0 ? "" : answer(""); });
    CurlHttpClient client;
    const HttpRequest request = sending(tried.method, server.url(), "body");
    EXPECT_EQ(problemOf(sendEither(client, request, tried.isAsynchronous)), "no error");
    EXPECT_THAT(problemOf(sendEither(client, request, tried.isAsynchronous)),
                HasSubstr(tried.problem));
    EXPECT_EQ(server.requests().size(), tried.arrivals);
  }
  // On a new connection, and the second time, not even what does no harm.
  WireServer closer([](const std::string&) { return ""; });
  EXPECT_TRUE(CurlHttpClient().sendSynchronously(get(closer.url())).error);
  EXPECT_EQ(closer.requests().size(), 1U);
}

TEST(SendTest, AnIdleConnectionThatTheServerClosedIsNoErrorForAPost) {
  sandbox::Server server;
  server.misbehave("*", Misbehaviour::drop());
  CurlHttpClient client({.caFile = sandbox::Server::caFile()});
  for (const std::string scheme : {"http://", "https://"}) {
    const HttpRequest request = sending("POST", scheme + server.host() + "/x", "body");
    for (int i = 0; i < 6; ++i) {
      EXPECT_EQ(problemOf(sendEither(client, request, i % 2 == 0)), "no error");
      std::this_thread::sleep_for(20ms);
    }
  }
  EXPECT_EQ(server.requestCount(), 12U);
}

// What is sent must not depend on how libcurl is handed the address.
TEST(SendTest, AnAddressIsEscapedTheSameWithAndWithoutAQuery) {
  sandbox::Server server;
  CurlHttpClient client({.caFile = sandbox::Server::caFile()});
  for (const std::string scheme : {"http://", "https://"}) {
    for (const std::string rest : {"/서/./x", "/서/./x?y=서%20z#part", "/서/./x?"})
      client.sendSynchronously(get(scheme + server.host() + rest));
  }
  std::vector<std::string> targets;
  for (const auto& request : server.received())
    targets.push_back(request.target);
  EXPECT_THAT(targets,
              testing::ElementsAre("/%ec%84%9c/x", "/%ec%84%9c/x?y=서%20z", "/%ec%84%9c/x?",
                                   "/%ec%84%9c/x", "/%ec%84%9c/x?y=서%20z", "/%ec%84%9c/x?"));
}

TEST(SendTest, OnlyServersWithATrustedCertificateGetTheRequest) {
  const std::string otherName = "127.0.0.2:" + std::to_string(freeLoopbackPort());
  Nginx server("listen " + otherName + " ssl;");
  const std::string broken = testing::TempDir() + "/broken.pem";
  std::ofstream(broken) << "no certificate";
  struct {
    std::string caFile, url, problem;
  } const cases[] = {
      {"", server.httpsUrl(), "certificate"},
      {broken, server.httpsUrl(), "The CA file cannot be read or holds no certificate: " + broken},
      {"/nowhere.pem", server.httpsUrl(), "The CA file cannot be read"},
      {server.caFile(), "https://" + otherName, "127.0.0.2"},
      {server.caFile(), server.httpsUrl() + "/trusted", "no error"}};
  for (const auto& tried : cases) {
    CurlHttpClient client({.caFile = tried.caFile});
    EXPECT_THAT(problemOf(client.sendSynchronously(get(tried.url))), HasSubstr(tried.problem));
  }
  ASSERT_EQ(server.arrivals().size(), 1U);
}

TEST(SendTest, RedirectsKeepWhatBelongsToTheOrigin) {
  enum Way { within, elsewhere, andBack };
  struct {
    std::string status, method;
    Way way;
    std::string expectedMethod;
    bool token, content;
  } const cases[] = {
      {"301 Moved", "GET", within, "GET", true, true},
      {"302 Found", "POST", within, "GET", true, false},
      {"302 Found", "PUT", within, "PUT", true, true},
      {"303 See", "DELETE", within, "GET", true, false},
      {"307 Again", "POST", within, "POST", true, true},
      {"307 Again", "POST", elsewhere, "POST", false, true},
      {"308 Again", "PUT", elsewhere, "PUT", false, true},
      {"308 Again", "POST", andBack, "POST", false, true},
      {"301 Moved", "GET", elsewhere, "GET", false, false},
      {"303 See", "PUT", andBack, "GET", false, false},
  };
  for (const auto& tried : cases) {
    SCOPED_TRACE(tried.status + " " + tried.method);
    std::string backTo;
    const auto moved = [&](const std::string& location) {
      return answer("moved", "Location: " + location + "\r\n", tried.status);
    };
    WireServer other(
        [&](const std::string&) { return tried.way == andBack ? moved(backTo) : answer("there"); });
    WireServer server([&](const std::string& request) {
      if (request.find(" /a ") == std::string::npos) return answer("there");
      return moved(tried.way == within ? "/b" : other.url("/b"));
    });
    backTo = server.url("/b");
    HttpRequest request = sending(tried.method, server.url("/a"), "the body");
    request.headerFields = {{"Content-Type", "text/x"}, {"access_token", "secret"}};
    CurlHttpClient client;
    EXPECT_EQ(client.sendSynchronously(request).body, "there");

    const std::string last = (tried.way == elsewhere ? other : server).requests().back();
    EXPECT_TRUE(last.starts_with(tried.expectedMethod + " /b HTTP/1.1")) << last;
    EXPECT_EQ(last.find("secret") != std::string::npos, tried.token) << last;
    EXPECT_EQ(last.find("Content-Type: text/x") != std::string::npos, tried.content) << last;
    EXPECT_EQ(last.ends_with("the body"), tried.content && tried.method != "GET") << last;
  }
}

TEST(SendTest, TheSchemeBelongsToTheOriginAndNothingGoesOnInClear) {
  const std::string port = std::to_string(freeLoopbackPort());
  // One port for both: nginx answers plain requests there as the directive says.
  Nginx server("listen 127.0.0.1:" + port + " ssl; error_page 497 =307 https://127.0.0.1:" + port +
               "/told; location /told { return 200 \"token: $http_token\"; }"
               "location /down { return 307 http://127.0.0.1:" +
               port + "/told; }");
  CurlHttpClient client({.caFile = server.caFile()});
  HttpRequest request = sending("POST", "http://127.0.0.1:" + port + "/up", "body");
  request.headerFields = {{"token", "secret"}};
  EXPECT_EQ(client.sendSynchronously(request).body, "token: ");
  request.url = "https://127.0.0.1:" + port + "/down";
  EXPECT_EQ(problemOf(client.sendSynchronously(request)),
            "A redirect from https to http is not followed");
}

TEST(SendTest, RedirectsComeToAnEnd) {
  struct {
    std::string fields, problem;
    std::size_t requests;
  } const cases[] = {
      {"Location: /on\r\n", "More than 20 redirects", 21},
      {"Location: file:///etc/passwd\r\n", "neither an http nor an https", 1},
      {"", "no error", 1},
  };
  for (const auto& tried : cases) {
    WireServer server([&](const std::string&) { return answer("moved", tried.fields, "302 Go"); });
    CurlHttpClient client;
    EXPECT_THAT(problemOf(client.sendSynchronously(get(server.url()))), HasSubstr(tried.problem));
    EXPECT_EQ(server.requests().size(), tried.requests);
  }
  // One time-out for the whole way.
  WireServer slow([&](const std::string&) {
    std::this_thread::sleep_for(100ms);
    return answer("moved", "Location: /on\r\n", "307 Go");
  });
  HttpRequest request = get(slow.url());
  request.timeout = 350ms;
  const auto start = std::chrono::steady_clock::now();
  EXPECT_TRUE(CurlHttpClient().sendSynchronously(request).error);
  EXPECT_LT(std::chrono::steady_clock::now() - start, 1500ms);
}

} // namespace
} // namespace quarnet::test
