#include "Calls.h"
#include "Nginx.h"
#include "WireServer.h"
#include "sandbox/Server.h"

#include <fstream>
#include <future>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace quarnet::test {
namespace {

using namespace std::chrono_literals;
using platform::CurlHttpClient;
using platform::HttpFailure;
using platform::HttpRequest;
using platform::HttpResult;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::StartsWith;

const std::string kNoError = "no error";

std::string problemOf(const HttpResult& result) {
  return result.error ? result.error->description.value_or("no description") : kNoError;
}

HttpResult send(const std::shared_ptr<HttpRequest>& request) {
  return CurlHttpClient().sendSynchronously(*request);
}

HttpResult sendEither(CurlHttpClient& client, const std::shared_ptr<HttpRequest>& request,
                      bool isAsynchronous) {
  if (!isAsynchronous) return client.sendSynchronously(*request);
  std::promise<HttpResult> promise;
  client.sendAsynchronously(request,
                            [&](HttpResult result) { promise.set_value(std::move(result)); });
  return promise.get_future().get();
}

std::string moved(const std::string& location, const std::string& status = "302 Found") {
  return answer("moved", "Location: " + location + "\r\n", status);
}

TEST(SendTest, WhatIsSentIsWhatWasAskedForAndNothingElse) {
  WireServer server([](const std::string&) { return answer("fine"); });
  CurlHttpClient client;
  const auto put = requestFor("PUT", server.url("/a?b=c"), std::string("x\0y", 3));
  put->headerFields = {
      {"Content-Type", "text/x"}, {"swap_key", "1"}, {"access_token", ""}, {"Content-Length", "3"}};
  EXPECT_EQ(client.sendSynchronously(*put).body, "fine");
  for (const std::string method : {"POST", "DELETE", "GET"})
    EXPECT_EQ(client.sendSynchronously(*requestFor(method, server.url())).body, "fine");

  const std::string host = "Host: 127.0.0.1:" + std::to_string(server.port()) + "\r\n";
  EXPECT_THAT(server.requests(),
              ElementsAre("PUT /a?b=c HTTP/1.1\r\n" + host +
                              "Content-Type: text/x\r\nswap_key: 1\r\naccess_token:\r\n" +
                              "Content-Length: 3\r\n\r\n" + *put->body,
                          "POST / HTTP/1.1\r\n" + host + "Content-Length: 0\r\n\r\n",
                          "DELETE / HTTP/1.1\r\n" + host + "\r\n",
                          "GET / HTTP/1.1\r\n" + host + "\r\n"));
  EXPECT_EQ(server.connections(), 1U);

  setenv("http_proxy", server.url().c_str(), 1);
  EXPECT_EQ(send(requestFor("GET", "http://elsewhere.invalid/a?b=c")).body, "fine");
  unsetenv("http_proxy");
  EXPECT_THAT(server.requests().back(), StartsWith("GET http://elsewhere.invalid/a?b=c HTTP"));
}

TEST(SendTest, WhatCannotBeSentFailsWithAReasonAndStaysOffTheWire) {
  WireServer server([](const std::string&) { return answer("fine"); });
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
      {"http://127.0.0.1:1/", "GET", "X", "1", "Failed to connect to 127.0.0.1 port 1"},
      {server.url(std::string(2'000'000, 'a')), "GET", "X", "1", "1040000 can be sent"},
  };
  for (const auto& tried : cases) {
    const auto request = requestFor(tried.method, tried.url);
    request->headerFields = {{tried.name, tried.value}};
    const HttpResult result = send(request);
    EXPECT_FALSE(result.response);
    EXPECT_THAT(problemOf(result), HasSubstr(tried.problem)) << tried.url.substr(0, 50);
    EXPECT_EQ(result.failure, tried.problem.starts_with("Failed") ? HttpFailure::NoConnection
                              : tried.url.size() > 1'000'000      ? HttpFailure::TooLarge
                                                                  : HttpFailure::InvalidRequest);
  }
  EXPECT_EQ(server.connections(), 0U);
  // A head that is just small enough goes through whole.
  EXPECT_EQ(problemOf(send(requestFor("GET", server.url("/" + std::string(1'039'000, 'a'))))),
            kNoError);
  EXPECT_GT(server.requests().at(0).size(), 1'039'000U);
}

TEST(SendTest, AFailureSaysWhyAndKeepsWhatHadArrived) {
  const std::string ok = "HTTP/1.1 200 OK\r\n";
  const std::string closing = ok + "Connection: close\r\n";
  struct {
    std::string wire, problem;
    long status;
    std::string body;
  } const cases[] = {
      {closing + "Content-Length: 9\r\n\r\nhalf", "close", 200, "half"},
      {closing + "Transfer-Encoding: chunked\r\n\r\n4\r\nhalf\r\n", "", 200, "half"},
      {"HTTP/1.1 404 No\r\nConnection: close\r\nContent-Le", "answer's head", 0, ""},
      {"HTTP/1.1 100 Go on\r\n\r\nConnection: close", "", 0, ""},
      {"rubbish, Connection: close\r\n\r\n", "HTTP/0.9", 0, ""},
      {ok + "Content-Length: 99999999999999\r\n\r\nx", "larger than 100000 bytes", 200, ""},
      {closing + "\r\n" + std::string(200'000, 'x'), "larger than 100000 bytes", 200, "*"},
      {"", "Empty reply", 0, ""},
      {WireServer::kSilence, "timed out", 0, ""},
      {ok + "Content-Length: 9\r\n\r\nhalf", "timed out", 200, "half"},
  };
  CurlHttpClient client({.maximumBodySize = 100'000});
  for (const auto& tried : cases) {
    SCOPED_TRACE(tried.wire.substr(0, 100));
    WireServer server([&](const std::string&) { return tried.wire; });
    const auto result = client.sendSynchronously(*requestFor("GET", server.url(), {}, 300ms));
    ASSERT_TRUE(result.error);
    EXPECT_THAT(problemOf(result), HasSubstr(tried.problem));
    EXPECT_FALSE(problemOf(result).empty());
    EXPECT_EQ(result.failure, tried.problem == "timed out" ? HttpFailure::TimedOut
                              : tried.problem.starts_with("larger than")
                                  ? HttpFailure::TooLarge
                                  : HttpFailure::NoConnection);
    EXPECT_EQ(result.response ? result.response->statusCode : 0, tried.status);
    EXPECT_TRUE(tried.body == "*" || result.body == tried.body) << result.body;
  }
}

TEST(SendTest, AnAnswerLargerThanATextCanBeFailsItsCall) {
  WireServer server([](const std::string&) {
    return "HTTP/1.1 200 OK\r\nContent-Length: " + std::to_string(PTRDIFF_MAX) + "\r\n\r\nx";
  });
  CurlHttpClient client({.maximumBodySize = SIZE_MAX});
  for (const bool isAsynchronous : {false, true})
    EXPECT_EQ(problemOf(sendEither(client, requestFor("GET", server.url()), isAsynchronous)),
              "Not enough memory for the answer");
}

TEST(SendTest, ThreadsShareAClientAndMakeOnesOfTheirOwnAtTheSameTime) {
  WireServer server([](const std::string& request) { return answer(request.substr(4, 2)); });
  CurlHttpClient shared;
  const auto until = std::chrono::steady_clock::now() + 300ms;
  std::vector<std::jthread> threads;
  for (const std::string name : {"/1", "/2", "/3", "/4"}) {
    threads.emplace_back([&, request = requestFor("GET", server.url(name)), name] {
      while (std::chrono::steady_clock::now() < until)
        EXPECT_EQ(shared.sendSynchronously(*request).body, name);
    });
    threads.emplace_back([&] {
      while (std::chrono::steady_clock::now() < until) {
        CurlHttpClient own;
        EXPECT_NE(problemOf(sendEither(own, requestFor("GET", ""), true)), kNoError);
      }
    });
  }
}

TEST(SendTest, WhatTheServerMayHaveSeenGoesAgainOnceAndAPostNever) {
  struct {
    std::string method;
    bool isAsynchronous;
    std::string problem;
    std::size_t arrivals;
  } const cases[] = {
      {"GET", false, kNoError, 3},  {"PUT", true, kNoError, 3},  {"DELETE", false, kNoError, 3},
      {"HEAD", true, kNoError, 3},  {"POST", false, "reply", 2}, {"POST", true, "reply", 2},
      {"PATCH", false, "reply", 2},
  };
  for (const auto& tried : cases) {
    SCOPED_TRACE(tried.method);
    // Says that the connection stays open, and closes it on the second request.
    int count = 0;
    WireServer server([&](const std::string&) { return ++count % 2 == 0 ? "" : answer(""); });
    CurlHttpClient client;
    const auto request = requestFor(tried.method, server.url(), "body");
    EXPECT_EQ(problemOf(sendEither(client, request, tried.isAsynchronous)), kNoError);
    EXPECT_THAT(problemOf(sendEither(client, request, tried.isAsynchronous)),
                HasSubstr(tried.problem));
    EXPECT_EQ(server.requests().size(), tried.arrivals);
  }
  // On a new connection, and the second time, not even what does no harm.
  WireServer closer([](const std::string&) { return ""; });
  EXPECT_TRUE(send(requestFor("GET", closer.url())).error);
  EXPECT_EQ(closer.requests().size(), 1U);
}

TEST(SendTest, AnIdleConnectionThatTheServerClosedIsNoErrorForAPost) {
  sandbox::Server server;
  server.misbehave("*", sandbox::Misbehaviour::drop());
  CurlHttpClient client({.caFile = sandbox::Server::caFile()});
  for (const std::string scheme : {"http://", "https://"}) {
    const auto request = requestFor("POST", scheme + server.host() + "/x", "body");
    for (int i = 0; i < 6; ++i) {
      EXPECT_EQ(problemOf(sendEither(client, request, i % 2 == 0)), kNoError);
      std::this_thread::sleep_for(20ms);
    }
  }
  EXPECT_EQ(server.requestCount(), 12U);
}

// What is sent must not depend on how libcurl is handed the address.
TEST(SendTest, AnAddressIsEscapedTheSameWithAndWithoutAQuery) {
  sandbox::Server server;
  CurlHttpClient client({.caFile = sandbox::Server::caFile()});
  const std::pair<std::string, std::string> cases[] = {
      {"/서/./x", "/%ec%84%9c/x"},
      {"/서/./x?y=서%20z#part", "/%ec%84%9c/x?y=서%20z"},
      {"/서/./x?", "/%ec%84%9c/x?"}};
  for (const std::string scheme : {"http://", "https://"}) {
    for (const auto& [asked, target] : cases) {
      client.sendSynchronously(*requestFor("GET", scheme + server.host() + asked));
      EXPECT_EQ(server.received().back().target, target);
    }
  }
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
      {server.caFile(), server.httpsUrl() + "/trusted", kNoError}};
  for (const auto& tried : cases) {
    CurlHttpClient client({.caFile = tried.caFile});
    EXPECT_THAT(problemOf(client.sendSynchronously(*requestFor("GET", tried.url))),
                HasSubstr(tried.problem));
  }
  ASSERT_EQ(server.arrivals().size(), 1U);
}

TEST(SendTest, AnAnswerSaysHowLongToWait) {
  const std::pair<std::string, std::chrono::seconds> cases[] = {
      {"", 0s},
      {"Retry-After: 120\r\n", 120s},
      {"Retry-After: 99999999999999\r\n", std::chrono::seconds(INT_MAX)},
      {"Retry-After: Fri, 31 Dec 1999 23:59:59 GMT\r\n", 0s}};
  for (const auto& [fields, delay] : cases) {
    WireServer server([fields = fields](auto&) { return answer("", fields, "503 Busy"); });
    EXPECT_EQ(send(requestFor("GET", server.url())).response->retryAfter, delay) << fields;
  }
}

TEST(SendTest, TheHeadIsThatOfTheLastAnswerAlone) {
  WireServer server([](const std::string& request) -> std::string {
    if (request.find(" /a ") != std::string::npos) return moved("/b", "302 Found");
    return "HTTP/1.1 103 Early\r\nEarly: 1\r\n\r\nHTTP/1.1 404 a: b\r\nEmpty:\r\nFolded: 1\r\n"
           " 2\r\nTransfer-Encoding: chunked\r\n\r\n0\r\nTrailer: 1\r\n\r\n";
  });
  const auto request = requestFor("GET", server.url("/a"));
  request->wantsHead = true;
  EXPECT_EQ(send(request).response->head,
            "HTTP/1.1 404\nEmpty: \nFolded: 1 2\nTransfer-Encoding: chunked\n");
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
    std::string next;
    const auto script = [&](const std::string& request) {
      return request.find(" /a ") == std::string::npos ? answer("there")
                                                       : moved(next, tried.status);
    };
    WireServer server(script);
    WireServer other([&](const std::string&) {
      return tried.way == andBack ? moved(server.url("/b"), tried.status) : answer("there");
    });
    next = tried.way == within ? "/b" : other.url("/b");
    const auto request = requestFor(tried.method, server.url("/a"), "the body");
    request->headerFields = {{"Content-Type", "text/x"}, {"access_token", "secret"}};
    EXPECT_EQ(send(request).body, "there");

    const std::string last = (tried.way == elsewhere ? other : server).requests().back();
    EXPECT_THAT(last, StartsWith(tried.expectedMethod + " /b HTTP/1.1"));
    EXPECT_EQ(last.find("secret") != std::string::npos, tried.token) << last;
    EXPECT_EQ(last.find("Content-Type: text/x") != std::string::npos, tried.content) << last;
    EXPECT_EQ(last.ends_with("the body"), tried.content && tried.method != "GET") << last;
  }
}

TEST(SendTest, TheSchemeBelongsToTheOriginAndNothingGoesOnInClear) {
  const std::string host = "127.0.0.1:" + std::to_string(freeLoopbackPort());
  // One port for both: nginx answers plain requests there as the directive says.
  Nginx server("listen " + host + " ssl; error_page 497 =307 https://" + host +
               "/told; location /told { return 200 \"token: $http_token\"; }"
               "location /down { return 307 http://" +
               host + "/told; }");
  CurlHttpClient client({.caFile = server.caFile()});
  const auto request = requestFor("POST", "http://" + host + "/up", "body");
  request->headerFields = {{"token", "secret"}};
  EXPECT_EQ(client.sendSynchronously(*request).body, "token: ");
  EXPECT_EQ(problemOf(client.sendSynchronously(*requestFor("POST", "https://" + host + "/down"))),
            "A redirect from https to http is not followed");
}

TEST(SendTest, RedirectsComeToAnEnd) {
  const std::tuple<std::string, std::string, std::size_t> cases[] = {
      {moved("/on"), "More than 20 redirects", 21},
      {moved("file:///etc/passwd"), "neither an http nor an https", 1},
      {answer("moved", "", "302 Found"), kNoError, 1},
  };
  for (const auto& [wire, problem, arrivals] : cases) {
    WireServer server([wire = wire](const std::string&) { return wire; });
    const HttpResult result = send(requestFor("GET", server.url()));
    EXPECT_THAT(problemOf(result), HasSubstr(problem));
    EXPECT_EQ(result.failure, HttpFailure::NoConnection);
    EXPECT_EQ(server.requests().size(), arrivals);
  }
  // One time-out for the whole way.
  WireServer slow([](const std::string&) {
    std::this_thread::sleep_for(100ms);
    return moved("/on", "307 Go");
  });
  EXPECT_TRUE(send(requestFor("GET", slow.url(), {}, 350ms)).error);
  EXPECT_LT(slow.requests().size(), 5U);
}

} // namespace
} // namespace quarnet::test
