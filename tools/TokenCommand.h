#pragma once

#include "tools/Command.h"
#include "tools/Settings.h"

#include <string>
#include <string_view>
#include <vector>

namespace quarnet::tools {

/// `quarnet token`: shows the stored token record; `quarnet token import` stores a token endpoint's
/// answer.
class TokenCommand final : public Command {
public:
  TokenCommand(CLI::App& program, Settings& settings);
  int run() override;

private:
  struct Row {
    std::string_view key;
    bool isSecret;
    Text value; ///< blanked unless it may be seen
  };

  int show();
  static void showLines(const std::vector<Row>& rows);
  static void showJson(const std::vector<Row>& rows);
  int import();

  Settings& settings_;
  CLI::App* import_;
  bool reveal_ = false;
  bool json_ = false;
  std::string file_;
};

} // namespace quarnet::tools
