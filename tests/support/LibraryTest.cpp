#include "tests/support/LibraryTest.h"

#include <cstdlib>
#include <fcntl.h>
#include <fstream>
#include <stdexcept>
#include <sys/stat.h>

namespace quarnet::test {

std::filesystem::path makeFolder(const std::filesystem::path& parent) {
  std::string name = parent / "quarnet-test-XXXXXX";
  if (mkdtemp(name.data()) == nullptr) throw std::runtime_error("no folder can be made: " + name);
  return name;
}

void dateIn2040(const std::filesystem::path& file) {
  const timespec date{.tv_sec = 2'208'988'800, .tv_nsec = 0};
  const timespec dates[] = {date, date};
  if (utimensat(AT_FDCWD, file.c_str(), dates, 0) != 0) throw std::runtime_error("no date is set");
}

sandbox::Server& server() {
  static sandbox::Server* const instance = [] {
    auto* started = new sandbox::Server;
    configureHosts({.api = started->host(), .mobile = started->host(), .portal = started->host()});
    return started;
  }();
  return *instance;
}

void LibraryTest::SetUp() {
  folder_ = makeFolder();
  server().behave();
  server().clearReceived();
  restart();
}

void LibraryTest::TearDown() {
  platform::HeadlessLibrary::reset();
  std::filesystem::remove_all(folder_);
}

void LibraryTest::restart() {
  platform::HeadlessLibrary::reset();
  log_ = std::make_shared<RecordingLog>();
  clock_ = std::make_shared<platform::ManualClock>();
  clock_->now = 1'700'000'000.2506; // to be cut to 250 milliseconds, not rounded to 251
  platform::Platform::install(
      {.httpClient = std::make_shared<platform::CurlHttpClient>(
           platform::CurlHttpClientOptions{.caFile = sandbox::Server::caFile()}),
       .userDefaults = std::make_shared<platform::SqliteUserDefaults>(storeFile()),
       .clock = clock_,
       .log = log_});
  manager_.setClientSecret("demo-secret");
  manager_.setScope("profile");
  manager_.setClientId("demo-client");
}

void LibraryTest::signIn() {
  manager_.setOAuthInfoWithJSON(server().issueTokens("profile").json());
  log_->clear();
}

std::string LibraryTest::apiUrl(std::string_view path) {
  return "https://" + server().host() + std::string(path);
}

RequestBundle LibraryTest::bundleOf(HttpMethod method, std::string_view path) {
  RequestBundle bundle;
  bundle.setUrl(apiUrl(path));
  bundle.setHttpMethod(method);
  return bundle;
}

Text LibraryTest::stored(std::string_view key) const {
  return platform::SqliteUserDefaults(storeFile()).value(key);
}

std::vector<Text> LibraryTest::fields() const {
  return {record_.accessToken(), record_.refreshToken(), record_.expiresIn(), record_.scope(),
          record_.expiresSystime()};
}

std::vector<Text> LibraryTest::storedFields() const {
  return {stored("access_token"), stored("refresh_token"), stored("expires_in"), stored("scope"),
          stored("expires_systime")};
}

std::string LibraryTest::makeFile(std::string_view name, std::string_view content) const {
  const std::string path = folder_ / name;
  std::ofstream(path, std::ios::binary) << content;
  return path;
}

} // namespace quarnet::test
