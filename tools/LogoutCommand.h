#pragma once

#include "tools/Command.h"
#include "tools/ObservedHttpClient.h"
#include "tools/Settings.h"

namespace quarnet::tools {

/// `quarnet logout`: revokes the access token and drops the stored tokens.
class LogoutCommand final : public Command {
public:
  LogoutCommand(CLI::App& program, Settings& settings);
  int run() override;

private:
  int logoutBlocking(const ObservedHttpClient& http);
  int logoutAsynchronously(const ObservedHttpClient& http);
  void finished(const ResultDictionary& result);

  Settings& settings_;
  bool asynchronous_ = false;
  bool confirmed_ = false;
};

} // namespace quarnet::tools
