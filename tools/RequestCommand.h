#pragma once

#include "tools/Command.h"
#include "tools/Settings.h"

#include <string>
#include <vector>

namespace quarnet::tools {

/// `quarnet request`: sends one API call, or many asynchronous ones, and shows what came back.
class RequestCommand final : public Command {
public:
  RequestCommand(CLI::App& program, Settings& settings);
  int run() override;

private:
  void addCallOptions();
  void addSendingOptions();

  /// Reads what the options name and checks what they say; false, and told, when they do not fit.
  bool prepare();
  int sendOnce();

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
  bool json_ = false;
  bool asynchronous_ = false;
  std::size_t repeat_ = 1;
  std::size_t inFlight_ = 16;

  /// Sending writes into a bundle, so a copy of this one is sent.
  RequestBundle described_;
};

} // namespace quarnet::tools
