#include "tools/TokenCommand.h"

#include "tools/InputFile.h"
#include "tools/Terminal.h"
#include "tools/TokenAnswers.h"

#include <array>
#include <charconv>
#include <ctime>

namespace quarnet::tools {
namespace {

/// The start of a long secret, enough to see whether it changed; nothing of a short one.
std::string masked(const std::string& secret) {
  constexpr std::size_t kLong = 20;
  return (secret.size() < kLong ? "" : secret.substr(0, 4)) + "********";
}

std::string printed(const Text& value, bool isSecret) {
  if (!value) return "(none)";
  if (value->empty()) return "(empty)";
  return isSecret && value != "(null)" ? masked(*value) : *value;
}

/// " (2026-01-31 12:00:00 UTC)" for an expiry instant; empty when the text is none.
std::string calendarTime(const std::string& milliseconds) {
  std::int64_t value = 0;
  const char* const end = milliseconds.data() + milliseconds.size();
  if (std::from_chars(milliseconds.data(), end, value).ptr != end) return {};
  const auto seconds =
      static_cast<std::time_t>(value / 1000 + static_cast<std::int64_t>(platform::kReferenceDate));
  std::tm calendar{};
  char text[64];
  if (gmtime_r(&seconds, &calendar) == nullptr) return {};
  return {text, std::strftime(text, sizeof(text), " (%Y-%m-%d %H:%M:%S UTC)", &calendar)};
}

/// Why the bytes are no token answer (RFC 6749, section 5.1) by the library's own reading; empty
/// when they are one.
std::string refusal(const Data& answer) {
  if (const Text report = errorReport(answer)) return "it reports the error " + *report;
  if (isPresent(tokenAnswerMember(answer, VORNEL_OAUTH_END_ACCESS_TOKEN))) return {};
  return "no access_token can be read from it";
}

} // namespace

TokenCommand::TokenCommand(CLI::App& program, Settings& settings)
    : Command(*program.add_subcommand("token", "Show the stored token record")),
      settings_(settings) {
  options().add_flag("--reveal", reveal_, "Show the tokens as they are");
  import_ = options().add_subcommand("import", "Store a token endpoint's JSON answer");
  import_->add_option("FILE", file_, "The answer; - for standard input")->required();
}

int TokenCommand::run() {
  return import_->parsed() ? import() : show();
}

int TokenCommand::show() {
  struct Row {
    std::string_view key;
    bool isSecret;
  };
  const std::array rows = {
      Row{VORNEL_HEADER_ACCESS_TOKEN, true}, Row{VORNEL_HEADER_REFRESH_TOKEN, true},
      Row{VORNEL_OAUTH_END_EXPIRES_IN, false}, Row{VORNEL_OAUTH_END_SCOPE, false},
      Row{VORNEL_OAUTH_EXPIRES_SYSTIME, false}};
  settings_.install();
  std::vector<std::string_view> keys;
  keys.reserve(rows.size());
  for (const Row& row : rows)
    keys.push_back(row.key);
  const auto values = platform::Platform::current().userDefaults->values(keys);
  for (std::size_t i = 0; values && i < rows.size(); ++i) {
    const auto& [key, isSecret] = rows[i];
    const Text& value = (*values)[i];
    std::string line(key);
    line.resize(17, ' ');
    line += printed(value, isSecret && !reveal_);
    if (value && key == VORNEL_OAUTH_EXPIRES_SYSTIME) line += calendarTime(*value);
    printLine(std::move(line));
  }
  return settings_.storeIsSound() ? kDone : kFailed;
}

int TokenCommand::import() {
  const std::optional<Data> answer = readInput(file_);
  if (!answer) return kFailed;
  if (const std::string reason = refusal(*answer); !reason.empty()) {
    tell("nothing was imported: " + file_ + " is no token answer: " + reason);
    return kFailed;
  }
  settings_.install();
  OAuthInfoManager::sharedInstance().setOAuthInfoWithJSON(*answer);
  if (!settings_.storeIsSound()) return kFailed;
  if (!isPresent(OAuthInfo::sharedInstance().refreshToken()))
    tell("the answer has no refresh_token: the access token cannot be reissued");
  printLine("The token record is stored.");
  return kDone;
}

} // namespace quarnet::tools
