#include "quarnet/platform/curl/Transfer.h"

#include "quarnet/platform/curl/HttpError.h"
#include "quarnet/platform/curl/Origin.h"

#include <algorithm>
#include <charconv>
#include <exception>
#include <new>
#include <utility>

namespace quarnet::platform {
namespace {

constexpr int kMaximumRedirects = 20;

// The number behind these words in a line that begins as given: what a line says otherwise may come
// from anybody.
std::optional<unsigned> numberIn(std::string_view line, std::string_view beginning,
                                 std::string_view words) {
  const std::size_t at = line.starts_with(beginning) ? line.find(words) : std::string_view::npos;
  if (at == std::string_view::npos) return std::nullopt;
  unsigned number = 0;
  const char* digits = line.data() + at + words.size();
  if (std::from_chars(digits, line.data() + line.size(), number).ec != std::errc()) {
    return std::nullopt;
  }
  return number;
}

} // namespace

Transfer::Transfer(TrustStore& trust, std::size_t maximumBodySize, CURLSH* share, Goaways* goaways)
    : trust_(trust), maximumBodySize_(maximumBodySize), goaways_(goaways), handle_(trust, share) {}

void Transfer::renewHandle() {
  handle_.renew();
  curl_easy_setopt(easy(), CURLOPT_HEADERFUNCTION, onHeader);
  curl_easy_setopt(easy(), CURLOPT_HEADERDATA, this);
  curl_easy_setopt(easy(), CURLOPT_WRITEFUNCTION, onBody);
  curl_easy_setopt(easy(), CURLOPT_WRITEDATA, this);
  curl_easy_setopt(easy(), CURLOPT_PREREQFUNCTION, onStart);
  curl_easy_setopt(easy(), CURLOPT_PREREQDATA, this);
  curl_easy_setopt(easy(), CURLOPT_DEBUGFUNCTION, onDebug);
  curl_easy_setopt(easy(), CURLOPT_DEBUGDATA, this);
  // libcurl sends whatever was on a reused connection that died again, a POST too, and up to five
  // times. This keeps it from that, over HTTP as well; what the server refused is not concerned.
  curl_easy_setopt(easy(), CURLOPT_RTSP_REQUEST, long{CURL_RTSPREQ_RECEIVE});
}

bool Transfer::begin(const HttpRequest& request) noexcept {
  try {
    using namespace std::chrono_literals;
    request_ = &request;
    deadline_ =
        Clock::now() + std::clamp<std::chrono::milliseconds>(request.timeout, 0ms, 24h * 24);
    redirects_ = 0;
    resends_ = 0;
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
    if (code != CURLE_OK) {
      return maySendAgain(failedAttempt(code)) ? sendAgain() : fail(code, describe(code));
    }
    const char* next = nullptr;
    if (isRedirect(result_.response->statusCode)) {
      // The Location field made absolute, since libcurl was told not to follow it itself.
      curl_easy_getinfo(easy(), CURLINFO_REDIRECT_URL, &next);
    }
    return next != nullptr && follow(next);
  } catch (const std::bad_alloc&) {
    return fail(CURLE_OUT_OF_MEMORY, "Not enough memory for the call");
  }
}

HttpResult Transfer::takeResult() {
  // A length that was announced and not kept to must not hold on to memory.
  if (result_.body.size() < result_.body.capacity() / 2) result_.body.shrink_to_fit();
  return std::exchange(result_, {});
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
  renewHandle();
  refusal_ = CURLE_OK;
  starts_ = 0;
  stream_ = 0;
  wasRefused_ = false;
  // Some servers end an HTTP/2 connection after a few requests and refuse the others on it.
  const bool mayUseHttp2 = goaways_ != nullptr && !wantsHttp1_ && resends_ <= kMaximumResends / 2;
  if (Text problem = handle_.prepare(*request_, hop_, left, mayUseHttp2)) {
    return fail(CURLE_BAD_FUNCTION_ARGUMENT, std::move(*problem));
  }
  return true;
}

FailedAttempt Transfer::failedAttempt(CURLcode code) const {
  long answerSize = 0;
  long requestSize = 0;
  curl_off_t sendingBegan = 0;
  curl_easy_getinfo(easy(), CURLINFO_HEADER_SIZE, &answerSize);
  curl_easy_getinfo(easy(), CURLINFO_REQUEST_SIZE, &requestSize);
  curl_easy_getinfo(easy(), CURLINFO_PRETRANSFER_TIME_T, &sendingBegan);
  const bool wasStartedOver = starts_ > 1;
  const bool wasReused = starts_ > 0 && !isOnNewConnection();
  const bool nothingWasWritten = requestSize == 0 && sendingBegan == 0 && !handle_.writesInParts();
  return {
      .method = hop_.method,
      .wasAnswered = answerSize > 0,
      .connectionDied = wasStartedOver || code == CURLE_SEND_ERROR || code == CURLE_RECV_ERROR ||
                        code == CURLE_GOT_NOTHING || code == CURLE_PARTIAL_FILE ||
                        code == CURLE_HTTP2,
      .wasReused = wasStartedOver || wasReused,
      .wasUntouched =
          wasRefused_ || (goaways_ != nullptr && goaways_->refused(connection_, stream_)) ||
          (wasReused && nothingWasWritten && (code == CURLE_SEND_ERROR || code == CURLE_HTTP2)),
      .resends = resends_,
  };
}

bool Transfer::isOnNewConnection() const {
  long newConnections = 0;
  curl_easy_getinfo(easy(), CURLINFO_NUM_CONNECTS, &newConnections);
  return newConnections > 0;
}

bool Transfer::fail(CURLcode code, std::string description) {
  result_.error = httpError(code, std::move(description));
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

// Called before each time that a request is sent.
int Transfer::onStart(void* transfer, char* farAddress, char*, int farPort, int nearPort) {
  auto& self = *static_cast<Transfer*>(transfer);
  // Whether it is sent again is not libcurl's to decide.
  if (++self.starts_ > 1) return CURL_PREREQFUNC_ABORT;
  if (self.goaways_ != nullptr && isEncrypted(self.hop_.url)) {
    self.connection_ = {farAddress, farPort, nearPort};
    if (self.isOnNewConnection()) self.goaways_->begin(self.connection_);
    // Not earlier, since libcurl writes a lot.
    curl_easy_setopt(self.easy(), CURLOPT_VERBOSE, long{self.handle_.offersHttp2()});
  }
  return CURL_PREREQFUNC_OK;
}

// What the server said about an HTTP/2 connection is to be had from here alone. Where libcurl words
// it in another way, nothing counts as refused.
int Transfer::onDebug(CURL*, curl_infotype type, char* text, std::size_t size, void* transfer) {
  auto& self = *static_cast<Transfer*>(transfer);
  if (type != CURLINFO_TEXT) return 0;
  const std::string_view line(text, size);
  if (const auto stream = numberIn(line, "Using", "Stream ID: ")) self.stream_ = *stream;
  if (line.starts_with("REFUSED_STREAM")) self.wasRefused_ = true;
  if (line.starts_with("Downgrades to HTTP/1.1")) self.wantsHttp1_ = true;
  // libcurl starts over: what it reads while it looks for a connection may be about any of them.
  if (self.wasRefused_ || self.wantsHttp1_) self.connection_ = {};
  // Said to whichever transfer reads from the connection, and spelt like this.
  if (const auto last = numberIn(line, "recveived GOAWAY", "last_stream=")) {
    self.goaways_->end(self.connection_, *last);
  }
  return 0;
}

std::size_t Transfer::onHeader(char* line, std::size_t, std::size_t size, void* transfer) {
  static_cast<Transfer*>(transfer)->receiveHeaderLine({line, size});
  return size;
}

std::size_t Transfer::onBody(char* data, std::size_t, std::size_t size, void* transfer) {
  return static_cast<Transfer*>(transfer)->receiveBody({data, size}) ? size : 0;
}

void Transfer::receiveHeaderLine(std::string_view line) {
  if (line != "\r\n" && line != "\n") return;
  // The head is whole; that of an interim answer (1xx) does not count.
  long status = 0;
  curl_easy_getinfo(easy(), CURLINFO_RESPONSE_CODE, &status);
  if (status >= 200) result_.response = HttpResponse{.statusCode = status};
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
    // Once, since growing step by step needs the body's size twice over. An announced length is no
    // more than address space until the bytes arrive.
    if (announced > 0) body.reserve(static_cast<std::size_t>(announced));
    body += piece;
    return true;
  } catch (const std::exception&) {
    // Larger than the memory, or than a text can be.
    refusal_ = CURLE_OUT_OF_MEMORY;
    return false;
  }
}

} // namespace quarnet::platform
