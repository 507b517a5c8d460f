#include "quarnet/platform/Platform.h"

#include "quarnet/core/Registration.h"
#include "quarnet/platform/Toolkit.h"
#include "quarnet/platform/curl/CurlHttpClient.h"
#include "quarnet/platform/glib/GlibMainThread.h"
#include "quarnet/platform/sqlite/SqliteUserDefaults.h"

#include <atomic>
#include <cstdio>
#include <mutex>

namespace quarnet::platform {
namespace {

constinit std::atomic<const Platform*> installed = nullptr;
constinit std::mutex installing;

const Platform* completed(Platform services) {
  if (!services.httpClient) services.httpClient = std::make_shared<CurlHttpClient>();
  if (!services.userDefaults) services.userDefaults = std::make_shared<SqliteUserDefaults>();
  if (!services.clock) services.clock = std::make_shared<SystemClock>();
  if (!services.mainThread) services.mainThread = std::make_shared<GlibMainThread>();
  if (!services.log) services.log = std::make_shared<StandardErrorLog>();
  return new Platform(std::move(services));
}

/// Once for the process, and without the exception's text, which may quote the line.
void tellOfBrokenLog() noexcept {
  static constinit std::atomic<bool> told = false;
  if (!told.exchange(true)) std::fputs("quarnet: the log threw an exception\n", stderr);
}

} // namespace

void Platform::install(Platform replacements) {
  const std::lock_guard lock(installing);
  delete installed.exchange(completed(std::move(replacements)));
}

void Platform::uninstall() {
  // Without the lock: a service may log its own end, which makes the defaults.
  delete installed.exchange(nullptr);
}

const Platform& Platform::current() {
  if (const Platform* services = installed.load(std::memory_order_acquire)) return *services;
  const std::lock_guard lock(installing);
  if (installed.load() == nullptr) installed.store(completed({}));
  return *installed.load();
}

void writeLine(Log::Line line) noexcept {
  try {
    Platform::current().log->write(line);
  } catch (...) {
    tellOfBrokenLog();
  }
}

bool isLogOn() noexcept {
  try {
    return Platform::current().log->isOn();
  } catch (...) {
    tellOfBrokenLog();
    return false;
  }
}

void deliver(std::shared_ptr<const Registration> registration, Operation CallbackTriple::*operation,
             ResultDictionary result) {
  const std::size_t changes = registration->targetChanges();
  const CallbackTriple told = registration->current();
  if (told.target == nullptr || !(told.*operation)) return;
  Platform::current().mainThread->post(
      [registration = std::move(registration), operation, changes, result = std::move(result)] {
        const CallbackTriple now = registration->current();
        if (registration->targetChanges() != changes) return;
        if (now.*operation) (now.*operation)(now.target, result);
      });
}

} // namespace quarnet::platform
