// quarnet-bench [ROLE [NUMBER]]: measures everything but the small operations and the screen and
// prints the rows of the table. A role is that of a child process of its own or one measurement.
// Run by scripts/bench, which starts the servers.

#include "bench/calls/Calls.h"
#include "bench/client/Client.h"
#include "bench/start/Start.h"
#include "bench/support/Failure.h"
#include "bench/support/Setting.h"
#include "bench/transfers/Transfers.h"

#include <cstdlib>
#include <filesystem>
#include <map>

namespace {

using namespace quarnet::bench;

std::string ownFolder() {
  return std::filesystem::read_symlink("/proc/self/exe").parent_path();
}

void measureCalls(void (*measure)()) {
  setUpLibrary();
  measure();
}

void measureAll(const std::string& libraryFile) {
  // Before anything that makes this process large, since a child starts with its parent's peak.
  measureSize(libraryFile);
  measureStart(ownFolder());
  measureUpload();
  measureLargeAnswer();
  measureMemoryGrowth();
  measureClientMemory();
  measureFirstGet();

  setUpLibrary();
  measureSynchronousGet();
  measureSynchronousPost();
  measureAsynchronousPost();
  measureCpuGrowth();
  measureManyCalls();
  measureTwentyGets();
  measureUnauthorized();
}

} // namespace

int main(int argc, char** argv) {
  const std::string role = argc > 1 ? argv[1] : "";
  const int number = argc > 2 ? std::atoi(argv[2]) : 0;
  const std::map<std::string, std::function<void()>> roles = {
      {"upload", uploadOurs},
      {"upload-raw", uploadRaw},
      {"large-answer", largeAnswerOurs},
      {"large-answer-raw", largeAnswerRaw},
      {"in-flight", [number] { holdInFlight(number); }},
      {"in-flight-raw", [number] { holdInFlightRaw(number); }},
      {"client-in-flight", [number] { holdClientCalls(number); }},
      {"first-get", firstGetOurs},
      {"first-get-raw", firstGetRaw},
      {"start", [] { measureStart(ownFolder()); }},
      {"get", [] { measureCalls(measureSynchronousGet); }},
      {"post", [] { measureCalls(measureSynchronousPost); }},
      {"async", [] { measureCalls(measureAsynchronousPost); }},
      {"client-memory", measureClientMemory},
      {"client-first", measureFirstGet},
      {"client-twenty", [] { measureCalls(measureTwentyGets); }},
      {"client-many", [] { measureCalls(measureManyCalls); }},
      {"client-401", [] { measureCalls(measureUnauthorized); }}};
  if (const auto known = roles.find(role); known != roles.end()) {
    known->second();
  } else {
    check(argc == 2, "scripts/bench names the stripped library");
    measureAll(role);
  }
  return 0;
}
