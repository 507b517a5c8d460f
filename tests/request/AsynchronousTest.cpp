#include "tests/support/Callbacks.h"
#include "tests/support/LibraryTest.h"

#include <algorithm>
#include <filesystem>
#include <gmock/gmock.h>
#include <iterator>

namespace quarnet::test {
namespace {

using sandbox::Misbehaviour;
using ::testing::HasSubstr;

constexpr std::string_view kDataReceived = "APIRequest async data received";

class Asynchronous : public LibraryTest {
protected:
  void SetUp() override {
    LibraryTest::SetUp();
    signIn();
    request_.setDelegateFinishedFailed(&app_, &Callbacks::finished, &Callbacks::failed);
  }

  static RequestBundle post(const std::string& url) {
    RequestBundle bundle;
    bundle.setUrl(url);
    bundle.setHttpMethod(HttpMethod::POST);
    bundle.setPayload("{}");
    return bundle;
  }

  /// Sends one POST and gives what came of it.
  Callbacks::Heard outcomeOf(const std::string& url) {
    RequestBundle bundle = post(url);
    app_.heard.clear();
    log_->clear();
    request_.aSyncRequest(bundle);
    EXPECT_TRUE(app_.heard.empty()); // never inside the call
    EXPECT_TRUE(app_.waitFor(1));
    return app_.heard.empty() ? Callbacks::Heard{} : app_.heard.front();
  }

  static long threads() {
    const std::filesystem::directory_iterator tasks("/proc/self/task");
    return std::distance(begin(tasks), end(tasks));
  }

  Callbacks app_;
  APIRequest request_;
};

TEST_F(Asynchronous, EveryOutcomeHasItsRow) {
  server().misbehave("/created.json", Misbehaviour::status(201));
  server().misbehave("/none.json", Misbehaviour::status(204));
  server().misbehave("/empty.json", Misbehaviour::empty());
  server().misbehave("/text.json", Misbehaviour::body("안녕"));
  server().misbehave("/utf8.json", Misbehaviour::utf8());
  server().misbehave("/cut.json", Misbehaviour::cut(5));
  server().misbehave("/reset.json", Misbehaviour::reset());
  server().misbehave("/page.json", Misbehaviour::page());
  server().misbehave("/page.json", Misbehaviour::status(500));

  const auto text = outcomeOf(apiUrl("/text"));
  EXPECT_TRUE(text.finished);
  EXPECT_EQ(text.result, outcome("200", "", "안녕"));
  EXPECT_EQ(log_->count(kDataReceived), 2U);
  EXPECT_EQ(log_->count("200"), 1U);
  EXPECT_EQ(request_.result(), "안녕");
  EXPECT_EQ(request_.receivedData(), "");

  const auto notText = outcomeOf(apiUrl("/utf8"));
  EXPECT_TRUE(notText.finished);
  EXPECT_EQ(notText.result, (ResultDictionary{{"RC", "200"}, {"RM", ""}}));
  EXPECT_EQ(request_.result(), std::nullopt);

  const auto created = outcomeOf(apiUrl("/created"));
  EXPECT_FALSE(created.finished);
  EXPECT_EQ(created.result.at("RC"), "201");
  EXPECT_NE(created.result.at("RM"), "");
  EXPECT_EQ(created.result.at("RD"), "");
  EXPECT_EQ(log_->count(kDataReceived), 1U);

  const auto page = outcomeOf(apiUrl("/page"));
  EXPECT_EQ(page.result.at("RC"), "500");
  EXPECT_THAT(page.result.at("RM"), HasSubstr("<html"));

  for (const std::string_view path : {"/none", "/empty"}) {
    const auto empty = outcomeOf(apiUrl(path));
    EXPECT_FALSE(empty.finished);
    EXPECT_EQ(empty.result, outcome("7", "Received data is empty", ""));
    EXPECT_EQ(log_->count(kDataReceived), 0U);
  }

  const auto cut = outcomeOf(apiUrl("/cut"));
  EXPECT_FALSE(cut.finished);
  EXPECT_EQ(cut.result.at("RC"), "200");
  EXPECT_EQ(cut.result.at("RM").size(), 5U);

  for (const std::string& url : {apiUrl("/reset"), std::string("https://127.0.0.1:1/x")}) {
    EXPECT_EQ(outcomeOf(url).result, outcome("0", "", ""));
    EXPECT_EQ(log_->lines().back(), "0");
  }

  const auto noUrl = outcomeOf("");
  EXPECT_FALSE(noUrl.finished);
  EXPECT_EQ(noUrl.result, outcome("", "Url is null or empty", ""));
  EXPECT_EQ(app_.onWrongThread, 0);
}

TEST_F(Asynchronous, WhatIsMissingOfTheRegistrationIsDropped) {
  const auto waitForLines = [this](std::size_t count) {
    EXPECT_TRUE(platform::GlibMainThread::runUntil(
        [&] { return log_->count(kDataReceived) >= count; }, std::chrono::seconds(10)));
    Callbacks::letPass();
  };
  request_.set_finishedSelector(nullptr);
  RequestBundle bundle = post(apiUrl("/v1/a"));
  request_.aSyncRequest(bundle);
  waitForLines(2);

  request_.setDelegateFinishedFailed(&app_, &Callbacks::finished, nullptr);
  RequestBundle broken;
  request_.aSyncRequest(broken);

  request_.setDelegateFinishedFailed(nullptr, &Callbacks::finished, &Callbacks::failed);
  request_.aSyncRequestURLHTTPMethod(bundle, apiUrl("/v1/b"), HttpMethod::PUT);
  EXPECT_EQ(bundle.url(), apiUrl("/v1/b.json"));
  EXPECT_EQ(bundle.httpMethod(), HttpMethod::PUT);
  waitForLines(4);
  EXPECT_TRUE(app_.heard.empty());
}

TEST_F(Asynchronous, ADroppedRequestDeliversToWhoIsRegisteredLast) {
  Callbacks other;
  server().misbehave("/slow.json", Misbehaviour::delay(std::chrono::milliseconds(200)));
  {
    APIRequest shortLived;
    shortLived.setDelegateFinishedFailed(&app_, &Callbacks::finished, &Callbacks::failed);
    RequestBundle bundle = post(apiUrl("/slow"));
    shortLived.aSyncRequest(bundle);
    shortLived.setDelegateFinishedFailed(&other, &Callbacks::finished, &Callbacks::failed);
  }
  EXPECT_TRUE(other.waitFor(1));
  EXPECT_TRUE(other.heard[0].finished);
  EXPECT_TRUE(app_.heard.empty());
}

TEST_F(Asynchronous, GetCallsCarryTheirParametersEncrypted) {
  RequestBundle bundle = post(apiUrl("/v1/search"));
  bundle.setParameters(Parameters{{"q", "검색 어"}});
  request_.aSyncRequestHTTPMethod(bundle, HttpMethod::GET);
  ASSERT_TRUE(app_.waitFor(1));
  EXPECT_TRUE(app_.heard[0].finished);
  EXPECT_THAT(app_.heard[0].result.at("RD"), HasSubstr("검색 어"));
}

TEST_F(Asynchronous, TenThousandCallsComeBackOnceEachOnFewThreadsAndConnections) {
  constexpr std::size_t kCalls = 10'000;
  const long before = threads();
  // Nothing is answered before all are in flight.
  server().misbehave("*", Misbehaviour::delay(std::chrono::seconds(2)));
  for (std::size_t i = 0; i < kCalls; ++i) {
    RequestBundle bundle = post(apiUrl("/v1/many"));
    request_.aSyncRequest(bundle);
  }
  EXPECT_TRUE(app_.heard.empty());
  server().behave();
  ASSERT_TRUE(app_.waitFor(kCalls / 2));
  EXPECT_LE(threads() - before, 4);
  ASSERT_TRUE(app_.waitFor(kCalls, std::chrono::minutes(4)));
  Callbacks::letPass();
  EXPECT_EQ(app_.heard.size(), kCalls);
  EXPECT_TRUE(std::all_of(app_.heard.begin(), app_.heard.end(),
                          [](const auto& heard) { return heard.finished; }));
  EXPECT_EQ(app_.onWrongThread, 0);
  EXPECT_LE(server().peakConnections(), 64U + 2);
}

} // namespace
} // namespace quarnet::test
