#include "Nginx.h"

#include "WireServer.h"

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <signal.h>
#include <sstream>
#include <stdexcept>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>
#include <utility>

namespace quarnet::test {
Nginx::Nginx(const std::string& directives)
    : folder_(std::filesystem::temp_directory_path() / "nginx-XXXXXX"),
      httpPort_(freeLoopbackPort()), httpsPort_(freeLoopbackPort()) {
  if (mkdtemp(folder_.data()) == nullptr) throw std::runtime_error("no folder for nginx");
  const std::string certify =
      "cd " + folder_ +
      " && openssl req -x509 -newkey ec -pkeyopt ec_paramgen_curve:prime256v1 -nodes -days 2"
      " -keyout server.key -out server.pem -subj /CN=127.0.0.1"
      " -addext subjectAltName=IP:127.0.0.1 2>openssl.log";
  if (system(certify.c_str()) != 0) throw std::runtime_error("no certificate for nginx");
  std::ofstream(folder_ + "/large") << std::string(kLarge, 'x');
  std::ofstream(folder_ + "/nginx.conf")
      << "user root;\n" // for root alone, whose namespace may have no other user
      << "daemon off; master_process off; pid nginx.pid; error_log error.log;\n"
      << "events { worker_connections 1024; }\n"
      << "http {\n"
      << "log_format arrival '$request_method $request_uri $server_protocol $connection';\n"
      << "access_log access.log arrival; large_client_header_buffers 4 200k;\n"
      << "client_body_temp_path body; proxy_temp_path proxy; fastcgi_temp_path fastcgi;\n"
      << "uwsgi_temp_path uwsgi; scgi_temp_path scgi;\n"
      // Behind it, so that it reads a request's body before it answers.
      << "upstream behind { server unix:" << folder_ << "/behind; keepalive 64; }\n"
      << "server { listen unix:" << folder_ << "/behind; access_log off;\n"
      << "keepalive_requests 1000000; location / { return 200 $request_uri; } }\n"
      << "server {\n"
      << "listen 127.0.0.1:" << httpPort_ << ";\n"
      << "listen 127.0.0.1:" << httpsPort_ << " ssl http2;\n"
      << "ssl_certificate server.pem; ssl_certificate_key server.key;\n"
      << "proxy_http_version 1.1; proxy_set_header Connection '';\n"
      << "location / { proxy_pass http://behind; }\n"
      << "location = /large { root .; }\n"
      << directives << "}}\n";
  process_ = fork();
  if (process_ == 0) {
    prctl(PR_SET_PDEATHSIG, SIGTERM);
    setenv("PATH", "/usr/sbin:/usr/bin:/sbin:/bin", 1);
    execlp("nginx", "nginx", "-p", folder_.c_str(), "-c", "nginx.conf", "-e", "error.log", nullptr);
    _exit(127);
  }
  int probe = -1;
  for (int i = 0; (probe = connectToLoopback(httpPort_)) < 0; ++i) {
    if (i == 1000) throw std::runtime_error("nginx does not listen: see " + folder_);
    std::this_thread::sleep_for(std::chrono::milliseconds(10));
  }
  close(probe);
}

Nginx::~Nginx() {
  stop(SIGTERM);
  std::filesystem::remove_all(folder_);
}

std::vector<Nginx::Arrival> Nginx::arrivals() {
  stop(SIGQUIT);
  std::vector<Arrival> arrivals;
  std::ifstream log(folder_ + "/access.log");
  for (std::string line; std::getline(log, line);) {
    if (line.front() == ' ') continue; // not even the first line of a head
    Arrival one;
    std::istringstream(line) >> one.method >> one.target >> one.protocol >> one.connection;
    arrivals.push_back(one);
  }
  return arrivals;
}

void Nginx::stop(int signal) {
  if (process_ < 0) return;
  kill(process_, signal);
  waitpid(std::exchange(process_, -1), nullptr, 0);
}

} // namespace quarnet::test
