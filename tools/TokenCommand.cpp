#include "tools/TokenCommand.h"

#include "tools/InputFile.h"
#include "tools/JsonText.h"
#include "tools/Terminal.h"
#include "tools/TokenAnswers.h"

#include <charconv>
#include <ctime>

namespace quarnet::tools {
namespace {

/// The start of a long secret, enough to see whether it changed; nothing of a short one.
std::string masked(const std::string& secret) {
  constexpr std::size_t kLong = 20;
  return (secret.size() < kLong ? "" : secret.substr(0, 4)) + "********";
}

/// An expiry instant as `format` of strftime says, in UTC; absent when the text is none.
Text calendarTime(const Text& milliseconds, const char* format) {
  std::int64_t value = 0;
  const std::string digits = milliseconds.value_or("-");
  const char* const end = digits.data() + digits.size();
  if (std::from_chars(digits.data(), end, value).ptr != end) return std::nullopt;
  const auto seconds =
      static_cast<std::time_t>(value / 1000 + static_cast<std::int64_t>(platform::kReferenceDate));
  std::tm calendar{};
  char text[64];
  if (gmtime_r(&seconds, &calendar) == nullptr) return std::nullopt;
  return std::string(text, std::strftime(text, sizeof(text), format, &calendar));
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
  auto* reveal = options().add_flag("--reveal", reveal_, "Show the tokens as they are");
  auto* json = options().add_flag("--json", json_, "Show the record as JSON");
  import_ = options().add_subcommand("import", "Store a token endpoint's answer");
  import_->add_option("FILE", file_, "The answer, of JSON; - for standard input")
      ->type_name("FILE")
      ->required();
  import_->excludes(reveal)->excludes(json);
  import_->footer("Exit status:\n"
                  "  0  The token record is stored.\n"
                  "  1  Failed: it is no token answer, the store cannot be written.\n"
                  "  2  Wrong usage.\n");
  options().footer("Exit status:\n"
                   "  0  Somebody is signed in.\n"
                   "  1  The store cannot be read.\n"
                   "  2  Wrong usage.\n"
                   "  6  Nobody is signed in: no access token is stored.\n");
}

int TokenCommand::run() {
  return import_->parsed() ? import() : show();
}

int TokenCommand::show() {
  std::vector<Row> rows = {
      {VORNEL_HEADER_ACCESS_TOKEN, true, {}},    {VORNEL_HEADER_REFRESH_TOKEN, true, {}},
      {VORNEL_OAUTH_END_EXPIRES_IN, false, {}},  {VORNEL_OAUTH_END_SCOPE, false, {}},
      {VORNEL_OAUTH_EXPIRES_SYSTIME, false, {}},
  };
  if (!settings_.install()) return kFailed;
  std::vector<std::string_view> keys;
  keys.reserve(rows.size());
  for (const Row& row : rows)
    keys.push_back(row.key);
  const auto values = platform::Platform::current().userDefaults->values(keys);
  if (!values) return settings_.storeIsSound() ? kSignedOut : kFailed;
  const bool isSignedIn = isPresent(values->front());
  for (std::size_t i = 0; i < rows.size(); ++i) {
    Row& row = rows[i];
    row.value = (*values)[i];
    if (row.isSecret && !reveal_ && isPresent(row.value)) row.value = masked(*row.value);
  }
  json_ ? showJson(rows) : showLines(rows);
  if (!settings_.storeIsSound()) return kFailed;
  return isSignedIn ? kDone : kSignedOut;
}

void TokenCommand::showLines(const std::vector<Row>& rows) {
  for (const auto& [key, isSecret, value] : rows) {
    std::string line(key);
    line.resize(17, ' ');
    line += !value ? "(none)" : value->empty() ? "(empty)" : *value;
    if (key == VORNEL_OAUTH_EXPIRES_SYSTIME)
      line += calendarTime(value, " (%Y-%m-%d %H:%M:%S UTC)").value_or("");
    printLine(line);
  }
}

void TokenCommand::showJson(const std::vector<Row>& rows) {
  std::string json =
      std::string(R"({"signed_in":)") + (isPresent(rows.front().value) ? "true" : "false");
  for (const auto& [key, isSecret, value] : rows)
    json += "," + jsonText(key) + ":" + jsonText(value);
  json += R"(,"expires":)" + jsonText(calendarTime(rows.back().value, "%Y-%m-%dT%H:%M:%SZ"));
  printText(json + "}\n");
}

int TokenCommand::import() {
  const std::optional<Data> answer = readInput(file_);
  if (!answer) return kFailed;
  if (const std::string reason = refusal(*answer); !reason.empty()) {
    tell("nothing was imported: " + file_ + " is no token answer: " + reason);
    return kFailed;
  }
  if (!settings_.install()) return kFailed;
  OAuthInfoManager::sharedInstance().setOAuthInfoWithJSON(*answer);
  if (!settings_.storeIsSound()) return kFailed;
  if (!isPresent(OAuthInfo::sharedInstance().refreshToken()))
    tell("the answer has no refresh_token: the access token cannot be reissued");
  printLine("The token record is stored.");
  return kDone;
}

} // namespace quarnet::tools
