// The examples of docs/client.md, the README and the headers, each run once.

#include "quarnet/platform/headless/HeadlessLibrary.h"
#include "quarnet/quarnet.h"

#include <fstream>
#include <gmock/gmock.h>
#include <iostream>

using namespace quarnet;
#include "recipes.h"
#define main readmeExample
#include "readme.h"
#undef main

namespace {

using namespace std::chrono_literals;
using ::testing::ElementsAre;
using ::testing::HasSubstr;

class Recipes : public ::testing::Test {
protected:
  Recipes() { library_.signIn(); }
  platform::ScriptedAnswers on(const std::string& path) {
    return library_.http->on("", "https://api.quarnet.example/v1/" + path);
  }
  std::size_t received(const std::string& path) const {
    return library_.http->received("", "https://api.quarnet.example/v1/" + path).size();
  }

  platform::HeadlessLibrary library_;
};

TEST_F(Recipes, Readme) {
  on("places").answer("[]").fail("cut");
  EXPECT_EQ(readmeExample(), 0);
  EXPECT_EQ(library_.http->received("GET").back().parameters.at("keyword"), "서울역");
  EXPECT_EQ(readmeExample(), 1);
}

TEST_F(Recipes, Calls) {
  on("places").answer([](const platform::ReceivedRequest& request) {
    const auto keyword = request.parameters.find("keyword");
    return platform::HttpResult{
        .response = platform::HttpResponse{200},
        .body = keyword == request.parameters.end() ? "all" : keyword->second.value_or("")};
  });
  on("events").fail("cut");
  on("me").answer("{}");
  auto window = std::make_unique<PlacesWindow>();
  window->find("a");
  window->find("b");
  library_.run();
  EXPECT_EQ(window->shown, "b");
  window->find("c");
  window.reset();
  report("started");
  std::string shown;
  changeName("길동", [&](const std::string& text) { shown = text; });
  library_.runUntil([&] { return !shown.empty(); });
  EXPECT_EQ(shown, "Hello 길동");
  EXPECT_EQ(received("events"), 1U);
  const std::string address = "https://api.quarnet.example/v1/";
  EXPECT_THAT(fetchAll({address + "me", address + "places"}), ElementsAre("{}", "all"));
}

TEST_F(Recipes, Session) {
  Account account;
  StatusBar bar;
  account.signIn();
  library_.runUntil([&] { return account.shown == "Welcome back" && bar.session == "signed in"; });
  bar.signOut();
  library_.runUntil([&] { return !bar.lastSignOut.empty(); });
  EXPECT_EQ(bar.lastSignOut + ", " + bar.session, "done, signed out");

  const auto load = [this](const std::string& page) {
    library_.screen->webView()->finish("https://api.quarnet.example/" + page);
    library_.run();
  };
  const std::pair<std::string, std::function<void()>> endings[] = {
      {"Sign in to see your places", [&] { library_.screen->titleBar()->pressRightButton(); }},
      {"Not allowed: no",
       [&] {
         load("?error=access_denied&error_description=no");
         library_.screen->pressAlert();
       }},
      {"Signed in", [&] { load("oauth/access_complete_mobile?code=1"); }}};
  for (const auto& [shown, act] : endings) {
    account.signIn();
    library_.runUntil([this] { return library_.screen->webView() != nullptr; });
    library_.advance(500ms); // the screen has opened
    act();
    library_.advance(500ms); // and closed
    EXPECT_EQ(account.shown, shown);
  }
}

TEST_F(Recipes, Stop) {
  std::stop_source stop;
  on("places").answer("[]").answer("[1]").answer([&](const auto&) {
    stop.request_stop();
    return platform::HttpResult{.response = platform::HttpResponse{200}, .body = "[1]"};
  });
  EXPECT_EQ(countPlaces({"a", "b", "c", "d"}, stop.get_token()), 1U);
  EXPECT_EQ(received("places"), 3U);
}

TEST_F(Recipes, UploadAndRetry) {
  on("photos")
      .answer([](const platform::ReceivedRequest& request) {
        EXPECT_THAT(*request.body, HasSubstr("name=\"photo\""));
        request.progress({.sent = 1, .toSend = 4});
        return platform::HttpResult{.response = platform::HttpResponse{200}};
      })
      .hang();
  PhotoUpload upload;
  upload.start("/etc/hostname");
  library_.run();
  EXPECT_EQ(upload.bar, 0.25); // told before the outcome
  EXPECT_EQ(upload.shown, "Sent");
  upload.start("/etc/hostname");
  upload.cancel();
  library_.run();
  EXPECT_THAT(upload.shown, HasSubstr("cancelled"));

  on("weather").fail("cut").answer("busy", 503).answer("rain");
  EXPECT_EQ(weather(), "rain");
}

// What the comments of the headers show, with the names that they take from an application.
using namespace quarnet::platform;

struct App {
  void show(const Result<Answer>& answer) { shown = answer ? answer->body : ""; }
  void signedIn(const ResultDictionary&) { isSignedIn = true; }

  Handle pending_;
  std::string shown;
  bool isSignedIn = false;
  void showPlaces() {
#include "client-header.h"
  }
  // It would ask a server, so that it is compiled only.
  static void signIn(App& app) {
#include "HeadlessToolkit-header.h"
  }
};

TEST(Headers, ExamplesDoWhatTheySay) {
  App app;
#include "HeadlessLibrary-header.h"
  ScriptedHttpClient http;
#include "ScriptedHttpClient-header.h"
  const auto sent = [&](const std::string& method, const std::string& url) {
    return http.sendSynchronously({.url = url, .method = method}).body;
  };
  EXPECT_EQ(sent("POST", "https://api.example/v1/photos"), "busy");
  EXPECT_EQ(sent("PUT", "https://slow.example/"), "at last");
}

} // namespace
