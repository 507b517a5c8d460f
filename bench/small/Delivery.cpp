#include "bench/small/Pairs.h"

#include "quarnet/core/Registration.h"
#include "quarnet/platform/Platform.h"

#include <glib.h>
#include <string>

namespace quarnet::bench {
namespace {

struct Application {
  void finished(const ResultDictionary& result) { heard += result.size(); }
  std::size_t heard = 0;
};

ResultDictionary someResult() {
  return resultDictionary("200", "", R"({"result":"ok","name":"김하늘"})");
}

/// What a user writes to get a result to the main thread with GLib alone.
struct IdleCall {
  Application* target;
  ResultDictionary result;

  static void post(Application& target) {
    g_idle_add_full(
        G_PRIORITY_DEFAULT,
        [](gpointer data) -> gboolean {
          const auto* call = static_cast<IdleCall*>(data);
          call->target->finished(call->result);
          return G_SOURCE_REMOVE;
        },
        new IdleCall{&target, someResult()},
        [](gpointer data) { delete static_cast<IdleCall*>(data); });
  }
};

void runUntilHeard(const Application& application, std::size_t results) {
  while (application.heard < results * someResult().size())
    g_main_context_iteration(nullptr, TRUE);
}

void addBurst(std::size_t posts) {
  add({.what = "delivery of callbacks on the main thread",
       .measure = "speed, " + std::to_string(posts) + " at a time, against g_idle_add",
       .figure = Figure::speed,
       .bound = atLeast(0.8),
       .ours = repeat([posts] {
         Application application;
         const auto registration = std::make_shared<Registration>();
         registration->set(makeCallback(&application, &Application::finished, nullptr));
         for (std::size_t i = 0; i < posts; ++i)
           platform::deliver(registration, &CallbackTriple::finished, someResult());
         runUntilHeard(application, posts);
         return application.heard;
       }),
       .yardstick = repeat([posts] {
         Application application;
         for (std::size_t i = 0; i < posts; ++i)
           IdleCall::post(application);
         runUntilHeard(application, posts);
         return application.heard;
       })});
}

} // namespace

void addDelivery() {
  addBurst(1);
  addBurst(1000);
}

} // namespace quarnet::bench
