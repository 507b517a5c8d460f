#pragma once

#include "sandbox/Server.h"

#include "quarnet/platform/headless/HeadlessLibrary.h"
#include "quarnet/quarnet.h"

#include <algorithm>
#include <filesystem>
#include <gtest/gtest.h>
#include <mutex>
#include <string>
#include <type_traits>
#include <vector>

namespace quarnet::test {

/// Keeps every line.
class RecordingLog final : public platform::Log {
public:
  void write(Line line) override {
    const std::lock_guard lock(mutex_);
    lines_.push_back(text(line));
  }
  std::vector<std::string> lines() const {
    const std::lock_guard lock(mutex_);
    return lines_;
  }
  /// The lines so far, which are forgotten then.
  std::vector<std::string> take() {
    const std::lock_guard lock(mutex_);
    return std::exchange(lines_, {});
  }
  /// How often exactly this line was written.
  std::size_t count(std::string_view line) const {
    const std::lock_guard lock(mutex_);
    return static_cast<std::size_t>(std::count(lines_.begin(), lines_.end(), line));
  }
  void clear() { take(); }

private:
  mutable std::mutex mutex_;
  std::vector<std::string> lines_;
};

/// Makes a folder for one test, which is to remove it.
std::filesystem::path
makeFolder(const std::filesystem::path& parent = std::filesystem::temp_directory_path());

/// Gives the file the date 2040-01-01.
void dateIn2040(const std::filesystem::path& file);

/// The API server of this test program; the endpoint addresses point at it.
sandbox::Server& server();

/// Every test gets a library as after start-up: libcurl that trusts the sandbox, an empty SQLite
/// store in a folder of its own, a fixed clock, a recording log, the GLib main thread, and no
/// session. The sandbox behaves and has forgotten what it received.
class LibraryTest : public ::testing::Test {
protected:
  void SetUp() override;
  void TearDown() override;

  /// Installs the services anew, as after a restart of the process on the same store.
  void restart();
  /// Puts another service in the place of one.
  template <class Service>
  static void use(Service platform::Platform::*place, std::type_identity_t<Service> service) {
    platform::Platform services = platform::Platform::current();
    services.*place = std::move(service);
    platform::Platform::install(std::move(services));
  }
  /// Puts live tokens into the record and saves them.
  void signIn();
  /// An address of the sandbox without its suffix.
  static std::string apiUrl(std::string_view path);
  /// A call to that address of the sandbox.
  static RequestBundle bundleOf(HttpMethod method, std::string_view path = "/v1/a");
  std::string storeFile() const { return folder_ / "store.sqlite"; }
  /// What the store holds under the key, read by another connection.
  Text stored(std::string_view key) const;
  /// accessToken, refreshToken, expiresIn, scope, expiresSystime of the record.
  std::vector<Text> fields() const;
  /// The same, read from the store by another connection.
  std::vector<Text> storedFields() const;
  /// Makes a file in the test's folder.
  std::string makeFile(std::string_view name, std::string_view content) const;

  std::shared_ptr<RecordingLog> log_;
  std::shared_ptr<platform::ManualClock> clock_;
  std::filesystem::path folder_;
  OAuthInfo& record_ = OAuthInfo::sharedInstance();
  OAuthInfoManager& manager_ = OAuthInfoManager::sharedInstance();
};

} // namespace quarnet::test
