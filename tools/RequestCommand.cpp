#include "tools/RequestCommand.h"

#include "tools/Calls.h"
#include "tools/InputFile.h"
#include "tools/OutputFile.h"
#include "tools/Terminal.h"

#include <CLI/Validators.hpp>
#include <charconv>
#include <strings.h>

namespace quarnet::tools {
namespace {

/// A method by its name in any case, or by its number: numbers without a name are the library's to
/// refuse.
std::optional<HttpMethod> parseMethod(const std::string& text) {
  constexpr const char* kNames[] = {"PUT", "POST", "GET", "DELETE"};
  for (std::uint64_t number = 0; number < std::size(kNames); ++number) {
    if (strcasecmp(text.c_str(), kNames[number]) == 0) return HttpMethod{number};
  }
  std::uint64_t number = 0;
  const char* const end = text.data() + text.size();
  const auto [rest, failure] = std::from_chars(text.data(), end, number);
  if (failure != std::errc() || rest != end) return std::nullopt;
  return HttpMethod{number};
}

std::string checkMethod(const std::string& text) {
  if (parseMethod(text)) return {};
  return "PUT, POST, GET, DELETE or a number is wanted, not " + text;
}

/// Whole milliseconds, at least one, for as many seconds; absent when the text is no time.
std::optional<std::chrono::milliseconds> parseSeconds(const std::string& text) {
  constexpr double kMost = 1e6;
  double seconds = 0;
  const char* const end = text.data() + text.size();
  const auto [rest, failure] = std::from_chars(text.data(), end, seconds);
  const bool isTime = failure == std::errc() && rest == end && seconds > 0 && seconds <= kMost;
  if (!isTime) return std::nullopt;
  return std::chrono::ceil<std::chrono::milliseconds>(std::chrono::duration<double>(seconds));
}

std::string checkSeconds(const std::string& text) {
  if (parseSeconds(text)) return {};
  return "a number of seconds above 0 and up to 1000000 is wanted (30, 0.5), not " + text;
}

ContentFormat parseFormat(const std::string& text) {
  return text == "xml" ? ContentFormat::XML : ContentFormat::JSON;
}

constexpr char kFooter[] =
    "On a terminal, an answer of JSON is indented and coloured, and control characters are left "
    "out; elsewhere it is written as it came. Header fields cannot be added to a call.\n"
    "Examples:\n"
    "  quarnet request GET https://api.quarnet.example/v1/places -p keyword=서울역\n"
    "  quarnet request PUT https://api.quarnet.example/v1/me --payload '{\"name\":\"김하늘\"}'\n"
    "  quarnet request POST https://api.quarnet.example/v1/photos --upload photo.jpg\n"
    "  quarnet request GET https://api.quarnet.example/v1/places -o places.json\n"
    "Exit status:\n"
    "  0  Answered.\n"
    "  1  Refused, not answered or not sent.\n"
    "  2  Wrong usage.\n"
    "  6  Nobody is signed in, or the server does not take the tokens any more.\n"
    "  130  Interrupted by Ctrl-C, which cancels the call.\n";

} // namespace

RequestCommand::RequestCommand(CLI::App& program, Settings& settings)
    : Command(*program.add_subcommand("request", "Send an API call")), settings_(settings) {
  addCallOptions();
  addAnswerOptions();
  addSendingOptions();
  options().footer(kFooter);
}

void RequestCommand::addCallOptions() {
  CLI::App& call = options();
  call.add_option("METHOD", method_, "GET, POST, PUT or DELETE, or its number")
      ->required()
      ->check(CLI::Validator(checkMethod, "{GET,POST,PUT,DELETE}"));
  call.add_option("URL", url_, "Address without its .json or .xml suffix and without a query")
      ->required();
  call.add_option("-p,--parameter", pairs_, "What GET and DELETE send encrypted; repeatable")
      ->type_name("KEY[=VALUE]")
      ->allow_extra_args(false);
  auto* payload = call.add_option("--payload", payload_, "Body of PUT and POST");
  payload->type_name("TEXT");
  auto* file = call.add_option("--payload-file", payloadFile_,
                               "The same from a file, or standard input for -");
  file->type_name("FILE");
  auto* upload = call.add_option("--upload", upload_, "A file that PUT and POST send as a form");
  call.add_option("--upload-key", uploadKey_, "Name of the form field")
      ->type_name("NAME")
      ->capture_default_str();
  payload->excludes(file)->excludes(upload);
  file->excludes(upload);
  upload->check(CLI::ExistingFile);
  const CLI::IsMember format({"xml", "json"}, CLI::ignore_case);
  call.add_option("--request-type", requestType_, "Format of the payload")
      ->transform(format)
      ->capture_default_str();
  call.add_option("--response-type", responseType_, "Format of the answer")
      ->transform(format)
      ->capture_default_str();
}

void RequestCommand::addAnswerOptions() {
  CLI::App& call = options();
  auto* json = call.add_flag("--json", json_, "Show the outcome as one line of JSON a call");
  auto* output = call.add_option("-o,--output", output_,
                                 "Write the answer to a file as it came, text or not; after a "
                                 "failed call the file is as it was");
  output->type_name("FILE")->excludes(json);
  call.add_flag("-i,--include", wantsHead_,
                "Show the head of the answer, too: status and header fields")
      ->excludes(json);
  // What other clients have: it is known in order to be refused with the reason.
  call.add_option("-H,--header", headerFields_)->group("");
}

void RequestCommand::addSendingOptions() {
  CLI::App& call = options();
  call.add_option("--timeout", timeout_,
                  "How long the call may take, whatever the time is spent on")
      ->type_name("SECONDS")
      ->check(CLI::Validator(checkSeconds, ""))
      ->capture_default_str();
  call.add_option(
          "--retry", retries_,
          "How often a GET, PUT or DELETE is sent again, after no answer, 429, 502, 503 or 504")
      ->type_name("TIMES")
      ->check(CLI::Range(0, 1000))
      ->capture_default_str();
  auto* asynchronous = call.add_flag("--async", asynchronous_, "Send several calls at a time");
  asynchronous->excludes("--output")->excludes("--include");
  call.add_option("--repeat", repeat_, "How many calls to send")
      ->needs(asynchronous)
      ->type_name("COUNT")
      ->check(CLI::Range(1, 10'000'000))
      ->capture_default_str();
  call.add_option("--in-flight", inFlight_, "How many calls to have under way at a time")
      ->needs(asynchronous)
      ->type_name("COUNT")
      ->check(CLI::Range(1, 100'000))
      ->capture_default_str();
}

int RequestCommand::run() {
  if (!prepare()) return kWrongUsage;
  if (!settings_.hasClientId()) return kFailed;
  if (payloadFile_) {
    std::optional<Data> payload = readInput(*payloadFile_);
    if (!payload) return kFailed;
    if (sendsBody()) call_.payload = std::move(*payload);
  }
  if (output_ && !isWritable(*output_)) return kFailed;
  if (!settings_.install() || !settings_.storeIsSound()) return kFailed;
  return Calls(std::move(call_),
               {.json = json_, .repeat = repeat_, .inFlight = inFlight_, .output = output_})
      .run();
}

bool RequestCommand::sendsBody() const {
  return call_.method == HttpMethod::PUT || call_.method == HttpMethod::POST;
}

bool RequestCommand::prepare() {
  if (!headerFields_.empty()) {
    tell("-H is not there: the header fields of a call are the library's own (client identifier, "
         "tokens, and the formats that --request-type and --response-type name)");
    return false;
  }
  call_.method = *parseMethod(method_);
  call_.url = url_;
  call_.requestType = parseFormat(requestType_);
  call_.responseType = parseFormat(responseType_);
  call_.timeout = *parseSeconds(timeout_);
  call_.retry.attempts = retries_;
  call_.wantsHead = wantsHead_;
  if (retries_ > 0 && call_.method == HttpMethod::POST) {
    tell("--retry is for GET, PUT and DELETE: a POST that is sent again may be carried out twice");
    return false;
  }
  if (!addParameters()) return false;
  addBody();
  return true;
}

bool RequestCommand::addParameters() {
  Parameters parameters;
  for (const std::string& pair : pairs_) {
    const std::size_t equals = pair.find('=');
    const std::string key = pair.substr(0, equals);
    const Text value = equals == std::string::npos ? Text() : Text(pair.substr(equals + 1));
    if (!parameters.emplace(key, value).second) {
      tell("the parameter " + excerpt(key) + " is given twice");
      return false;
    }
  }
  if (!sendsBody()) {
    call_.parameters = std::move(parameters);
  } else if (!parameters.empty()) {
    tell("note: PUT and POST do not send parameters");
  }
  return true;
}

void RequestCommand::addBody() {
  if (sendsBody()) {
    call_.payload = payload_.value_or("");
    if (upload_) call_.upload = Upload{.path = *upload_, .key = uploadKey_};
  } else if (payload_ || payloadFile_ || upload_) {
    tell("note: GET and DELETE do not send a payload or an upload");
  }
}

} // namespace quarnet::tools
