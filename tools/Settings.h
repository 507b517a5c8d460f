#pragma once

#include "tools/StoreTroubleLog.h"

#include "quarnet/quarnet.h"

#include <CLI/App.hpp>
#include <memory>
#include <string>
#include <vector>

namespace quarnet::tools {

/// The options that every command shares, and the library set up by them.
class Settings {
public:
  /// Adds the options to the program's parser, each with its environment variable.
  void addOptions(CLI::App& program);

  /// Sets up the library; to be called once, before anything else of it. The token record is
  /// restored from the store. Without a toolkit there is no screen. A keyring that is locked is
  /// waited for, until the user has answered its prompt. False, with nothing set up and the reason
  /// told on standard error, when the client secret cannot be read.
  bool install(std::shared_ptr<platform::Toolkit> toolkit = nullptr);

  /// The file of certificates to trust beside the system's; empty for none.
  const std::string& caFile() const { return caFile_; }
  /// The hosts that they are to be trusted for.
  std::vector<std::string> hosts() const;

  /// Tells whether everything that was saved since install() has reached the store; what went wrong
  /// is told on standard error.
  bool storeIsSound() const;

  /// Whether the option is given; a missing one is told on standard error.
  bool hasClientId() const;
  bool hasClientSecret() const;

private:
  Hosts hosts_;
  std::string caFile_;
  Text clientId_;
  Text clientSecret_;
  Text clientSecretFile_;
  Text scope_;
  Text redirectUri_;
  std::string store_;
  bool usesKeyring_ = false;
  std::string log_ = "none";
  std::shared_ptr<StoreTroubleLog> watch_;
};

} // namespace quarnet::tools
