#include "tools/RequestCommand.h"

#include "tools/AsyncCalls.h"
#include "tools/CallNotes.h"
#include "tools/InputFile.h"
#include "tools/JsonText.h"
#include "tools/Terminal.h"

#include <CLI/Validators.hpp>
#include <cerrno>
#include <charconv>
#include <cstring>
#include <strings.h>
#include <sys/stat.h>
#include <unistd.h>

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

/// The library sends a file that it cannot read as an empty one; here it is told beforehand.
std::string checkUpload(const std::string& path) {
  struct stat status {};
  if (stat(path.c_str(), &status) != 0 || access(path.c_str(), R_OK) != 0) {
    return "cannot read " + path + ": " + std::strerror(errno);
  }
  return S_ISREG(status.st_mode) ? "" : path + " is no file";
}

ContentFormat parseFormat(const std::string& text) {
  return text == "xml" ? ContentFormat::XML : ContentFormat::JSON;
}

std::string describe(const Error& error, const std::optional<ResponseMessage>& message) {
  if (error.code == 5)
    return "Client ID is null or empty: give --client-id or set QUARNET_CLIENT_ID";
  if (!message) return excerpt(error.description.value_or(error.domain));
  if (error.description) return "no answer: " + excerpt(*error.description);
  return "the server answered " + message->statusCode().value_or("0");
}

std::string jsonLine(const std::optional<ResponseMessage>& message,
                     const std::optional<Error>& error) {
  std::string line = "{\"statusCode\":" + jsonText(message ? message->statusCode() : Text());
  line += ",\"resultMessage\":" + jsonText(message ? message->resultMessage() : Text());
  line += ",\"error\":";
  if (!error) return line + "null}";
  line += "{\"domain\":" + jsonText(std::string_view(error->domain));
  line += ",\"code\":" + std::to_string(error->code);
  return line + ",\"description\":" + jsonText(error->description) + "}}";
}

} // namespace

RequestCommand::RequestCommand(CLI::App& program, Settings& settings)
    : Command(*program.add_subcommand("request", "Send an API call")), settings_(settings) {
  addCallOptions();
  addSendingOptions();
}

void RequestCommand::addCallOptions() {
  CLI::App& call = options();
  call.add_option("METHOD", method_, "PUT, POST, GET, DELETE or a number")
      ->required()
      ->check(CLI::Validator(checkMethod, ""));
  call.add_option("URL", url_, "Address without its .json or .xml suffix and without a query")
      ->required();
  call.add_option("-p,--parameter", pairs_, "What GET and DELETE send encrypted; repeatable")
      ->type_name("KEY[=VALUE]")
      ->allow_extra_args(false);
  auto* payload = call.add_option("--payload", payload_, "Body of PUT and POST");
  auto* file = call.add_option("--payload-file", payloadFile_, "The same from a file, - for stdin");
  auto* upload = call.add_option("--upload", upload_, "A file that PUT and POST send as a form");
  call.add_option("--upload-key", uploadKey_, "Name of the form field")->capture_default_str();
  payload->excludes(file)->excludes(upload);
  file->excludes(upload);
  upload->check(CLI::Validator(checkUpload, "FILE"));
  const CLI::IsMember format({"xml", "json"}, CLI::ignore_case);
  call.add_option("--request-type", requestType_, "Format of the payload")
      ->transform(format)
      ->capture_default_str();
  call.add_option("--response-type", responseType_, "Format of the answer")
      ->transform(format)
      ->capture_default_str();
}

void RequestCommand::addSendingOptions() {
  CLI::App& call = options();
  call.add_flag("--json", json_, "Show the outcome as one line of JSON a call");
  auto* asynchronous = call.add_flag("--async", asynchronous_, "Send without blocking");
  call.add_option("--repeat", repeat_, "How many calls to send")
      ->needs(asynchronous)
      ->check(CLI::Range(1, 10'000'000))
      ->capture_default_str();
  call.add_option("--in-flight", inFlight_, "How many calls to have under way at a time")
      ->needs(asynchronous)
      ->check(CLI::Range(1, 100'000))
      ->capture_default_str();
}

int RequestCommand::run() {
  if (!prepare()) return kWrongUsage;
  if (payloadFile_) {
    described_.setPayload(readInput(*payloadFile_));
    if (!described_.payload()) return kFailed;
  }
  settings_.install();
  if (!settings_.storeIsSound()) return kFailed;
  if (!asynchronous_) return sendOnce();
  AsyncCalls calls([this] { return described_; },
                   {.json = json_, .repeat = repeat_, .inFlight = inFlight_});
  return calls.run() ? kDone : kFailed;
}

bool RequestCommand::prepare() {
  const HttpMethod method = *parseMethod(method_);
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
  const bool hasBody = payload_ || payloadFile_ || upload_;
  if (method == HttpMethod::PUT || method == HttpMethod::POST) {
    if (!pairs_.empty()) tell("note: PUT and POST do not send parameters");
  } else if (hasBody && (method == HttpMethod::GET || method == HttpMethod::DELETE)) {
    tell("note: GET and DELETE do not send a payload or an upload");
  }

  described_.setHttpMethod(method);
  described_.setUrl(url_);
  if (!parameters.empty()) described_.setParameters(std::move(parameters));
  described_.setPayload(payload_);
  described_.setUploadFilePath(upload_);
  described_.setUploadFileKey(uploadKey_);
  described_.setRequestType(parseFormat(requestType_));
  described_.setResponseType(parseFormat(responseType_));
  return true;
}

int RequestCommand::sendOnce() {
  APIRequest request;
  RequestBundle bundle = described_;
  std::optional<Error> error;
  const std::optional<ResponseMessage> message = request.requestError(bundle, &error);
  if (json_) {
    printLine(jsonLine(message, error));
  } else if (message && message->resultMessage()) {
    printText(*message->resultMessage());
  }
  if (message && parametersWereDropped(bundle)) tellDroppedParameters();
  if (!error && message->resultMessage()) return kDone;
  if (error) {
    tell(describe(*error, message));
  } else {
    tellMissingText();
  }
  return kFailed;
}

} // namespace quarnet::tools
