#include "quarnet/platform/curl/Transfer.h"

#include "quarnet/core/Utf8.h"
#include "quarnet/platform/Guarded.h"
#include "quarnet/platform/curl/Origin.h"
#include "quarnet/platform/curl/RequestCheck.h"

#include <algorithm>
#include <charconv>
#include <climits>
#include <exception>
#include <new>
#include <utility>

namespace quarnet::platform {
namespace {

constexpr int kMaximumRedirects = 20;
constexpr std::chrono::milliseconds kBetweenReports{100};
// The largest number of seconds that is of any use (RFC 9111, section 1.2.2).
constexpr curl_off_t kLongestDelay = INT_MAX;

// The last stream that the server took, from libcurl's line about a GOAWAY frame (which it spells
// like this). Other lines may quote texts of anybody.
std::optional<unsigned> lastTakenIn(std::string_view line) {
  constexpr std::string_view kLast = "last_stream=";
  const std::size_t at =
      line.starts_with("recveived GOAWAY") ? line.find(kLast) : std::string_view::npos;
  if (at == std::string_view::npos) return std::nullopt;
  unsigned stream = 0;
  const char* digits = line.data() + at + kLast.size();
  const bool isNumber = std::from_chars(digits, line.end(), stream).ec == std::errc();
  return isNumber ? std::optional(stream) : std::nullopt;
}

std::string_view trimmed(std::string_view text) {
  constexpr std::string_view kBlanks = " \t\r\n";
  const std::size_t start = std::min(text.find_first_not_of(kBlanks), text.size());
  return text.substr(start, text.find_last_not_of(kBlanks) + 1 - start);
}

// The first line of a head, without the reason phrase, which HTTP/2 does not have.
std::string statusLine(CURL* easy, long status) {
  long version = CURL_HTTP_VERSION_NONE;
  curl_easy_getinfo(easy, CURLINFO_HTTP_VERSION, &version);
  const char* const protocol = version == CURL_HTTP_VERSION_1_0   ? "HTTP/1.0 "
                               : version == CURL_HTTP_VERSION_2_0 ? "HTTP/2 "
                                                                  : "HTTP/1.1 ";
  return protocol + std::to_string(status) + "\n";
}

} // namespace

Transfer::Transfer(TrustStore& trust, std::size_t maximumBodySize, CURLSH* share, Goaways* goaways,
                   Sockets* sockets)
    : trust_(trust), maximumBodySize_(maximumBodySize), goaways_(goaways), sockets_(sockets),
      handle_(trust, share) {}

void Transfer::renewHandle() {
  handle_.renew();
  curl_easy_setopt(easy(), CURLOPT_HEADERFUNCTION, onHeader);
  curl_easy_setopt(easy(), CURLOPT_HEADERDATA, this);
  curl_easy_setopt(easy(), CURLOPT_WRITEFUNCTION, onBody);
  curl_easy_setopt(easy(), CURLOPT_WRITEDATA, this);
  curl_easy_setopt(easy(), CURLOPT_PREREQFUNCTION, onStart);
  curl_easy_setopt(easy(), CURLOPT_PREREQDATA, this);
  curl_easy_setopt(easy(), CURLOPT_XFERINFOFUNCTION, onProgress);
  curl_easy_setopt(easy(), CURLOPT_XFERINFODATA, this);
  curl_easy_setopt(easy(), CURLOPT_DEBUGFUNCTION, onDebug);
  curl_easy_setopt(easy(), CURLOPT_DEBUGDATA, this);
  if (sockets_ != nullptr) {
    curl_easy_setopt(easy(), CURLOPT_OPENSOCKETFUNCTION, onSocket);
    curl_easy_setopt(easy(), CURLOPT_OPENSOCKETDATA, this);
    curl_easy_setopt(easy(), CURLOPT_SOCKOPTFUNCTION, onSocketMade);
    curl_easy_setopt(easy(), CURLOPT_SOCKOPTDATA, this);
    curl_easy_setopt(easy(), CURLOPT_CLOSESOCKETFUNCTION, Sockets::close);
    curl_easy_setopt(easy(), CURLOPT_CLOSESOCKETDATA, sockets_);
  }
  // libcurl sends whatever was on a reused connection that died again, a POST too, and up to five
  // times. This keeps it from that, over HTTP as well; what the server refused is not concerned.
  curl_easy_setopt(easy(), CURLOPT_RTSP_REQUEST, long{CURL_RTSPREQ_RECEIVE});
}

bool Transfer::begin(const HttpRequest& request) noexcept {
  try {
    using namespace std::chrono_literals;
    request_ = &request;
    lastReport_ = Clock::now();
    deadline_ = lastReport_ + std::clamp<std::chrono::milliseconds>(request.timeout, 0ms, 24h * 24);
    redirects_ = 0;
    resends_ = 0;
    starts_ = 0;
    wantsHttp1_ = false;
    result_ = {};
    if (Text problem = headProblem(request)) {
      return fail(CURLE_BAD_FUNCTION_ARGUMENT, std::move(*problem));
    }
    if (Text problem = addressProblem(request.url)) {
      return fail(CURLE_URL_MALFORMAT, std::move(*problem));
    }
    hop_.url = request.url;
    hop_.method = request.method;
    hop_.withContent = true;
    hop_.withOwnFields = true;
    return prepareHop();
  } catch (const std::bad_alloc&) {
    return fail(CURLE_OUT_OF_MEMORY, "Not enough memory for the call");
  }
}

bool Transfer::advance(CURLcode code) noexcept {
  try {
    // libcurl lets an answer pass whose head was cut off or never came.
    if (code == CURLE_OK && !result_.response) code = CURLE_PARTIAL_FILE;
    // The handle that was kept found a connection that is none of HTTP/2.
    if (code == CURLE_ABORTED_BY_CALLBACK && starts_ == 0) return prepareHop();
    if (code != CURLE_OK) {
      return maySendAgain(failedAttempt(code))
                 ? sendAgain()
                 : fail(code, describe(code), failureOf(refusal_ != CURLE_OK ? refusal_ : code));
    }
    handle_.finish(hop_);
    const char* next = nullptr;
    if (isRedirect(result_.response->statusCode)) {
      // The Location field made absolute, since libcurl was told not to follow it itself.
      curl_easy_getinfo(easy(), CURLINFO_REDIRECT_URL, &next);
    }
    if (next != nullptr) return follow(next);
    if (request_->progress) report();
    return false;
  } catch (const std::bad_alloc&) {
    return fail(CURLE_OUT_OF_MEMORY, "Not enough memory for the call");
  }
}

HttpResult Transfer::takeResult() {
  // A length that was announced and not kept to must not hold on to memory.
  if (result_.body.size() < result_.body.capacity() / 2) result_.body.shrink_to_fit();
  return std::exchange(result_, {});
}

HttpResult Transfer::abandon(const char* reason) {
  if (stream_ != 0 && !hasBegunToSend()) goaways_->lose(connection_);
  fail(CURLE_ABORTED_BY_CALLBACK, reason);
  return takeResult();
}

bool Transfer::follow(std::string url) {
  if (++redirects_ > kMaximumRedirects) {
    return fail(CURLE_TOO_MANY_REDIRECTS,
                "More than " + std::to_string(kMaximumRedirects) + " redirects");
  }
  if (Text problem = redirectProblem(hop_, url)) {
    return fail(CURLE_URL_MALFORMAT, std::move(*problem));
  }
  hop_ = redirected(hop_, result_.response->statusCode, std::move(url));
  resends_ = 0;
  wantsHttp1_ = false;
  result_ = {};
  return prepareHop();
}

bool Transfer::sendAgain() {
  ++resends_;
  return prepareHop();
}

bool Transfer::prepareHop() {
  const auto left = std::chrono::ceil<std::chrono::milliseconds>(deadline_ - Clock::now());
  if ((redirects_ > 0 || resends_ > 0) && left.count() <= 0) {
    return fail(CURLE_OPERATION_TIMEDOUT, "The time was up before the request could be sent again");
  }
  // Some servers end an HTTP/2 connection after a few requests and refuse the others on it.
  const bool mayUseHttp2 = goaways_ != nullptr && !wantsHttp1_ && resends_ <= kMaximumResends / 2;
  if (Text problem = handle_.plan(*request_, hop_, mayUseHttp2)) {
    return fail(CURLE_BAD_FUNCTION_ARGUMENT, std::move(*problem), HttpFailure::TooLarge);
  }
  if (!handle_.isKept()) renewHandle();
  handle_.prepare(hop_, left);
  refusal_ = CURLE_OK;
  progress_ = {};
  fields_.clear();
  wasConnectedAhead_ = false;
  starts_ = 0;
  stream_ = 0;
  wasRefused_ = false;
  if (handle_.offersHttp2()) listen(false);
  if (request_->progress) curl_easy_setopt(easy(), CURLOPT_NOPROGRESS, 0L);
  return true;
}

FailedAttempt Transfer::failedAttempt(CURLcode code) const {
  long answerSize = 0;
  long requestSize = 0;
  curl_easy_getinfo(easy(), CURLINFO_HEADER_SIZE, &answerSize);
  curl_easy_getinfo(easy(), CURLINFO_REQUEST_SIZE, &requestSize);
  const bool wasStartedOver = starts_ > 1;
  const bool wasReused = starts_ > 0 && (!isOnNewConnection() || wasConnectedAhead_);
  const bool endedInHandshake =
      starts_ == 0 &&
      (code == CURLE_SSL_CONNECT_ERROR || code == CURLE_SEND_ERROR || code == CURLE_RECV_ERROR);
  const bool nothingWasWritten = requestSize == 0 && !hasBegunToSend() && !handle_.writesInParts();
  if (stream_ != 0 && !hasBegunToSend()) goaways_->lose(connection_);
  return {
      .method = hop_.method,
      .isForOnce = request_->isForOnce,
      .wasAnswered = answerSize > 0,
      .connectionDied = wasStartedOver || code == CURLE_SEND_ERROR || code == CURLE_RECV_ERROR ||
                        code == CURLE_GOT_NOTHING || code == CURLE_PARTIAL_FILE ||
                        code == CURLE_HTTP2,
      .wasReused = wasStartedOver || wasReused,
      .wasUntouched =
          wasRefused_ || (goaways_ != nullptr && goaways_->refused(connection_, stream_)) ||
          (wasConnectedAhead_ && endedInHandshake) ||
          (wasReused && nothingWasWritten && (code == CURLE_SEND_ERROR || code == CURLE_HTTP2)),
      .resends = resends_,
  };
}

bool Transfer::hasBegunToSend() const {
  curl_off_t began = 0;
  curl_easy_getinfo(easy(), CURLINFO_PRETRANSFER_TIME_T, &began);
  return began != 0;
}

bool Transfer::isOnNewConnection() const {
  long newConnections = 0;
  curl_easy_getinfo(easy(), CURLINFO_NUM_CONNECTS, &newConnections);
  return newConnections > 0;
}

bool Transfer::fail(CURLcode code, std::string description, HttpFailure failure) {
  result_.error = httpError(code, std::move(description));
  // What is wrong with the address of a redirect, or with an answer, is the server's fault.
  const bool isServersFault =
      (redirects_ > 0 || starts_ > 0) && failure == HttpFailure::InvalidRequest;
  result_.failure = isServersFault ? HttpFailure::NoConnection : failure;
  return false;
}

std::string Transfer::describe(CURLcode code) const {
  if (refusal_ == CURLE_FILESIZE_EXCEEDED) {
    return "The answer is larger than " + std::to_string(maximumBodySize_) + " bytes";
  }
  if (refusal_ == CURLE_OUT_OF_MEMORY) return "Not enough memory for the answer";
  if (code == CURLE_SSL_CACERT_BADFILE && trust_.problem()) return *trust_.problem();
  if (starts_ > 1) return "The connection ended before an answer came";
  const char* text = handle_.errorText();
  if (*text != '\0') return text;
  if (code != CURLE_PARTIAL_FILE || result_.response) return curl_easy_strerror(code);
  return "The connection was closed in the middle of the answer's head";
}

curl_socket_t Transfer::onSocket(void* transfer, curlsocktype, curl_sockaddr* address) {
  auto& self = *static_cast<Transfer*>(transfer);
  const Sockets::Opened opened = self.sockets_->open(originIn(self.hop_.url), *address);
  self.isConnected_ = opened.isConnected;
  if (opened.isConnected) self.wasConnectedAhead_ = true;
  return opened.socket;
}

int Transfer::onSocketMade(void* transfer, curl_socket_t, curlsocktype) {
  const auto& self = *static_cast<Transfer*>(transfer);
  return self.isConnected_ ? CURL_SOCKOPT_ALREADY_CONNECTED : CURL_SOCKOPT_OK;
}

// Called before each time that a request is sent.
int Transfer::onStart(void* transfer, char* farAddress, char*, int farPort, int nearPort) {
  auto& self = *static_cast<Transfer*>(transfer);
  // Where libcurl starts over, the request was sent before, which what follows takes note of.
  if (self.starts_ == 0 && !self.handle_.mayStart()) return CURL_PREREQFUNC_ABORT;
  const bool isFirst = ++self.starts_ == 1;
  if (self.goaways_ != nullptr && isEncrypted(self.hop_.url)) {
    const Goaways::Connection connection{farAddress, farPort, nearPort};
    if (self.isOnNewConnection()) self.goaways_->open(connection);
    if (isFirst) {
      self.connection_ = connection;
      self.stream_ = self.goaways_->begin(connection);
    }
  }
  // libcurl must not decide whether the request is sent again.
  return isFirst ? CURL_PREREQFUNC_OK : CURL_PREREQFUNC_ABORT;
}

// libcurl reports what the server says about an HTTP/2 connection in its debugging output alone,
// and to whichever transfer reads from the connection. The output before and while a request is
// sent is off, since formatting it would take longer than sending the request.
void Transfer::listen(bool isSent) {
  isListening_ = isSent;
  curl_easy_setopt(easy(), CURLOPT_NOPROGRESS, long{isSent && !request_->progress});
  curl_easy_setopt(easy(), CURLOPT_VERBOSE, long{isSent});
}

// Called after each step of libcurl's; unless the progress is of interest, until listen(true).
int Transfer::onProgress(void* transfer, curl_off_t toReceive, curl_off_t received,
                         curl_off_t toSend, curl_off_t sent) {
  auto& self = *static_cast<Transfer*>(transfer);
  const bool mayListen = self.handle_.offersHttp2() && !self.isListening_;
  if (mayListen && self.hasBegunToSend()) self.listen(true);
  if (!self.request_->progress) return 0;
  const auto count = [](curl_off_t bytes) { return static_cast<std::uint64_t>(bytes); };
  self.progress_ = {count(sent), count(toSend), count(received), count(toReceive)};
  if (Clock::now() - self.lastReport_ >= kBetweenReports) self.report();
  return 0;
}

void Transfer::report() {
  lastReport_ = Clock::now();
  runGuarded([this] { request_->progress(progress_); });
}

// If another libcurl words these lines differently, nothing counts as refused.
int Transfer::onDebug(CURL*, curl_infotype type, char* text, std::size_t size, void* transfer) {
  auto& self = *static_cast<Transfer*>(transfer);
  if (type != CURLINFO_TEXT) return 0;
  const std::string_view line(text, size);
  if (line.starts_with("REFUSED_STREAM")) self.wasRefused_ = true;
  if (line.starts_with("Downgrades to HTTP/1.1")) self.wantsHttp1_ = true;
  // libcurl starts over: what it reads while it searches for a connection may be about any of them.
  if (self.wasRefused_ || self.wantsHttp1_) self.connection_ = {};
  if (const auto lastTaken = lastTakenIn(line)) self.goaways_->end(self.connection_, *lastTaken);
  return 0;
}

std::size_t Transfer::onHeader(char* line, std::size_t, std::size_t size, void* transfer) {
  return static_cast<Transfer*>(transfer)->receiveHeaderLine({line, size}) ? size : 0;
}

std::size_t Transfer::onBody(char* data, std::size_t, std::size_t size, void* transfer) {
  return static_cast<Transfer*>(transfer)->receiveBody({data, size}) ? size : 0;
}

bool Transfer::receiveHeaderLine(std::string_view line) noexcept {
  try {
    const bool isEnd = line == "\r\n" || line == "\n";
    if (isEnd) endHead();
    if (!isEnd && request_->wantsHead) addToHead(line);
    return true;
  } catch (const std::exception&) {
    refusal_ = CURLE_OUT_OF_MEMORY;
    return false;
  }
}

// Line by line, since libcurl's own list of fields is searched from its start for each of them.
void Transfer::addToHead(std::string_view line) {
  // The status is known without its line, and what follows the body is no part of the head.
  if (line.starts_with("HTTP/") || result_.response) return;
  const std::size_t colon = line.find(':');
  const bool isFolded = line.front() == ' ' || line.front() == '\t'; // RFC 9112, section 5.2
  if (isFolded && !fields_.empty()) {
    fields_.back() = ' ';
    fields_.append(trimmed(line)).append("\n");
  } else if (colon != std::string_view::npos) {
    fields_.append(trimmed(line.substr(0, colon))).append(": ");
    fields_.append(trimmed(line.substr(colon + 1))).append("\n");
  }
}

void Transfer::endHead() {
  const std::string fields = std::exchange(fields_, {});
  // That of an interim answer (1xx) does not count.
  long status = 0;
  curl_off_t delay = 0;
  curl_easy_getinfo(easy(), CURLINFO_RESPONSE_CODE, &status);
  curl_easy_getinfo(easy(), CURLINFO_RETRY_AFTER, &delay);
  if (status < 200) return;
  const auto retryAfter = std::clamp<curl_off_t>(delay, 0, kLongestDelay);
  result_.response =
      HttpResponse{.statusCode = status, .retryAfter = std::chrono::seconds(retryAfter)};
  if (request_->wantsHead) result_.response->head = statusLine(easy(), status) + fields;
}

bool Transfer::receiveBody(std::string_view piece) noexcept {
  Data& body = result_.body;
  curl_off_t announced = -1;
  if (body.empty()) curl_easy_getinfo(easy(), CURLINFO_CONTENT_LENGTH_DOWNLOAD_T, &announced);
  if (piece.size() > maximumBodySize_ - body.size() ||
      std::cmp_greater(announced, maximumBodySize_)) {
    refusal_ = CURLE_FILESIZE_EXCEEDED;
    return false;
  }
  try {
    // Once, since growing step by step needs twice the body's size. The reserved memory is not used
    // before the bytes arrive.
    if (announced > 0) body.reserve(static_cast<std::size_t>(announced));
    body += piece;
    // While the piece is in the processor's cache; once more for all of a large body would be slow.
    result_.utf8Size = utf8Size(body, result_.utf8Size);
    return true;
  } catch (const std::exception&) {
    // Larger than the memory, or than a text can be.
    refusal_ = CURLE_OUT_OF_MEMORY;
    return false;
  }
}

} // namespace quarnet::platform
