#include "tests/platform/secretservice/Desktop.h"

#include "tests/support/LibraryTest.h"

#include <array>
#include <csignal>
#include <cstdio>
#include <fstream>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>

namespace {

pid_t start(const std::string& command) {
  const pid_t child = fork();
  if (child == 0) {
    execl("/bin/sh", "sh", "-c", ("exec 2>/dev/null; exec " + command).c_str(), nullptr);
    _exit(127);
  }
  return child;
}

/// Waits for up to ten seconds until the shell command succeeds.
bool comes(const std::string& command) {
  for (int i = 0; i < 1'000; ++i) {
    if (std::system((command + " >/dev/null 2>&1").c_str()) == 0) return true;
    std::this_thread::sleep_for(std::chrono::milliseconds(10));
  }
  return false;
}

} // namespace

Desktop::Desktop() : home_(quarnet::test::makeFolder()) {
  for (const char* variable : {"HOME", "XDG_DATA_HOME", "XDG_CONFIG_HOME", "XDG_CACHE_HOME"})
    setenv(variable, home_.c_str(), 1);
  setenv("XDG_RUNTIME_DIR", home_.c_str(), 1);
  setenv("DBUS_SESSION_BUS_ADDRESS", ("unix:path=" + (home_ / "bus").string()).c_str(), 1);
  for (const char* program : {"dbus-daemon", "gnome-keyring-daemon", "secret-tool", "gdbus"}) {
    if (run(std::string("command -v ") + program).empty())
      trouble_ = std::string(program) + " is not installed";
  }
  if (!trouble_.empty()) return;
  startBus();
  startKeyring();
}

Desktop::~Desktop() {
  endKeyring();
  endBus();
  std::filesystem::remove_all(home_);
}

void Desktop::startBus() {
  std::ofstream(home_ / "bus.conf")
      << "<busconfig><type>session</type><listen>unix:path=" << (home_ / "bus").string()
      << "</listen><policy context='default'><allow send_destination='*' eavesdrop='true'/>"
         "<allow eavesdrop='true'/><allow own='*'/></policy></busconfig>";
  std::filesystem::remove(home_ / "bus");
  bus_ = start("dbus-daemon --nofork --config-file=" + (home_ / "bus.conf").string());
  if (!comes("test -S " + (home_ / "bus").string())) trouble_ = "dbus-daemon does not start";
}

void Desktop::startKeyring(const char* password) {
  const std::string daemon = "gnome-keyring-daemon --foreground --components=secrets";
  keyring_ =
      start(password == nullptr ? daemon + " </dev/null >/dev/null"
                                : daemon + " --unlock >/dev/null <<'END'\n" + password + "\nEND\n");
  if (!comes("gdbus introspect --session -d org.freedesktop.secrets -o /org/freedesktop/secrets"))
    trouble_ = "gnome-keyring-daemon does not run here";
}

std::string Desktop::run(const std::string& command) {
  std::string printed;
  FILE* const pipe = popen((command + " 2>/dev/null").c_str(), "r");
  std::array<char, 4096> part;
  while (const std::size_t size = fread(part.data(), 1, part.size(), pipe))
    printed.append(part.data(), size);
  pclose(pipe);
  return printed;
}

void Desktop::lock() {
  run("gdbus call --session -d org.freedesktop.secrets -o /org/freedesktop/secrets -m "
      "org.freedesktop.Secret.Service.Lock \"['/org/freedesktop/secrets/collection/login']\"");
}

void Desktop::end(pid_t& process) {
  if (process == 0) return;
  kill(process, SIGKILL);
  waitpid(process, nullptr, 0);
  process = 0;
}
