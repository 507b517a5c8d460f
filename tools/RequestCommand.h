#pragma once

#include "tools/Command.h"
#include "tools/Settings.h"

#include <string>
#include <vector>

namespace quarnet::tools {

/// `quarnet request`: sends one API call, or the same one many times, and shows what came back.
class RequestCommand final : public Command {
public:
  RequestCommand(CLI::App& program, Settings& settings);
  int run() override;

private:
  void addCallOptions();
  void addAnswerOptions();
  void addSendingOptions();

  /// Reads what the options name and checks what they say; false, and told, when they do not fit.
  bool prepare();
  bool addParameters();
  void addBody();
  bool sendsBody() const;

  Settings& settings_;
  std::string method_;
  std::string url_;
  std::vector<std::string> pairs_;
  Text payload_;
  Text payloadFile_;
  Text upload_;
  std::string uploadKey_ = "image";
  std::string requestType_ = "json";
  std::string responseType_ = "json";
  std::string timeout_ = "60";
  unsigned retries_ = 0;
  bool json_ = false;
  Text output_;
  bool wantsHead_ = false;
  std::vector<std::string> headerFields_;
  bool asynchronous_ = false;
  std::size_t repeat_ = 1;
  std::size_t inFlight_ = 16;

  Call call_;
};

} // namespace quarnet::tools
