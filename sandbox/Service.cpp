#include "sandbox/Service.h"

#include "sandbox/Form.h"
#include "sandbox/Json.h"
#include "sandbox/Pages.h"
#include "sandbox/Text.h"

#include <array>
#include <charconv>
#include <stdexcept>

namespace quarnet::sandbox {
namespace {

using Kind = Misbehaviour::Kind;

constexpr std::string_view kControlPath = "/sandbox/misbehave";

const Misbehaviour* find(const std::vector<Misbehaviour>& faults, Kind kind) {
  for (const Misbehaviour& fault : faults)
    if (fault.kind == kind) return &fault;
  return nullptr;
}

void apply(const Misbehaviour& fault, Reply& reply) {
  const auto replaceBody = [&](std::string body) {
    reply.body = std::move(body);
    reply.generated = 0;
  };
  switch (fault.kind) {
  case Kind::delay:
    reply.delay = std::chrono::milliseconds(fault.number);
    break;
  case Kind::silent:
    reply.delivery = Reply::Delivery::silent;
    break;
  case Kind::reset:
    reply.delivery = Reply::Delivery::reset;
    break;
  case Kind::resetBody:
    reply.delivery = Reply::Delivery::resetBody;
    break;
  case Kind::cut:
    reply.delivery = Reply::Delivery::cut;
    reply.cutAt = fault.number;
    break;
  case Kind::drop:
    reply.delivery = Reply::Delivery::drop;
    break;
  case Kind::endless:
    reply.delivery = Reply::Delivery::endless;
    break;
  case Kind::status:
    reply.status = static_cast<unsigned>(fault.number);
    break;
  case Kind::empty:
    replaceBody("");
    break;
  case Kind::utf8:
    replaceBody("{\"result\":\"\xC3\x28 \xFF\xFE\"}");
    break;
  case Kind::page:
    replaceBody(pages::unexpected().body);
    reply.contentType = "text/html; charset=utf-8";
    break;
  case Kind::body:
    replaceBody(fault.text);
    break;
  case Kind::keyTexts:
    break; // the key endpoint's own business
  }
}

/// "/redirect/STATUS/TARGET", with or without a suffix; TARGET is percent-escaped or base64url.
std::optional<Reply> redirectOf(std::string_view path) {
  constexpr std::string_view kStart = "/redirect/";
  if (!path.starts_with(kStart)) return std::nullopt;
  path.remove_prefix(kStart.size());
  for (const std::string_view suffix : {".json", ".xml"})
    if (path.ends_with(suffix)) path.remove_suffix(suffix.size());

  unsigned status = 0;
  const auto [end, error] = std::from_chars(path.data(), path.data() + path.size(), status);
  const bool ok = error == std::errc() && status >= 300 && status <= 399 &&
                  end != path.data() + path.size() && *end == '/';
  if (!ok) return errorReply(400, "invalid_request", "The address is /redirect/STATUS/TARGET.");
  path.remove_prefix(static_cast<std::size_t>(end + 1 - path.data()));
  const std::string plain = percentDecoded(path);
  const bool isAddress = plain.starts_with('/') || plain.find(':') != std::string::npos;
  return redirectReply(status, isAddress ? plain : base64UrlDecoded(path).value_or(plain));
}

Reply echoHeaders(const ReceivedRequest& request) {
  boost::json::object headers;
  for (const auto& [name, value] : request.headers)
    headers[name] = presentable(value);
  return jsonReply(200, headers);
}

} // namespace

Service::Service(Options options)
    : options_(std::move(options)), tokens_(options_), tokenEndpoint_(options_, tokens_),
      api_(options_, tokens_), signIn_(options_, tokens_) {}

Reply Service::answer(const std::shared_ptr<const ReceivedRequest>& request) {
  journal_.add(request);
  // The control address always works: it is the way out of a misbehaviour of every path.
  const bool isControl = request->path() == kControlPath;
  const auto faults = isControl ? std::vector<Misbehaviour>() : faults_.take(request->path());
  Reply reply = isControl ? control(*request) : route(*request, faults);
  for (const Misbehaviour& fault : faults)
    apply(fault, reply);
  log(*request, reply);
  return reply;
}

Reply Service::route(const ReceivedRequest& request, const std::vector<Misbehaviour>& faults) {
  const std::string_view path = request.path();
  if (path == "/oauth/get_param_enc_key") {
    const Misbehaviour* const lengths = find(faults, Kind::keyTexts);
    if (lengths == nullptr) return api_.parameterKey(request);
    return api_.parameterKey(request, static_cast<std::size_t>(lengths->number),
                             static_cast<std::size_t>(lengths->second));
  }
  if (path == "/oauth/authorize") return signIn_.authorize(request);
  if (path == "/oauth/consent") return signIn_.consent(request);
  if (path == "/oauth/access_complete_mobile") return signIn_.complete();
  if (path == "/oauth/error") return signIn_.error(request);
  if (path == "/oauth/token") return tokenEndpoint_.token(request);
  if (path == "/oauth/expireToken") return tokenEndpoint_.expire(request);
  if (path == "/sso/openPage.do") return pages::portal();
  if (path == "/") return pages::home();
  if (path == "/echo-headers") return echoHeaders(request);
  if (auto redirect = redirectOf(path)) return *std::move(redirect);
  return api_.call(request);
}

Reply Service::control(const ReceivedRequest& request) {
  if (request.method == "DELETE") {
    faults_.clear();
    return jsonReply(200, {{"result", "ok"}});
  }
  if (request.method != "POST")
    return errorReply(405, "method_not_allowed", "POST path, kind and arg, or DELETE.");
  const Form form(request.body);
  if (form.text("path").empty())
    return errorReply(400, "invalid_request", "The parameter path is missing or empty.");
  try {
    auto misbehaviour = Misbehaviour::parse(form.text("kind"), form.text("arg"));
    const std::string times = form.get("times").value_or("0");
    const auto [end, error] =
        std::from_chars(times.data(), times.data() + times.size(), misbehaviour.times);
    if (error != std::errc() || end != times.data() + times.size())
      throw std::invalid_argument("times is a number, not \"" + times + "\"");
    faults_.add(form.text("path"), std::move(misbehaviour));
  } catch (const std::invalid_argument& problem) {
    return errorReply(400, "invalid_request", problem.what());
  }
  return jsonReply(200, {{"result", "ok"}});
}

void Service::log(const ReceivedRequest& request, const Reply& reply) {
  if (!options_.log) return;
  constexpr std::size_t kLongestPath = 200;
  constexpr std::array kDeliveries = {"",     " silent",  " reset",  " reset in the body",
                                      " cut", " dropped", " endless"};
  std::string line = request.method;
  line.append(" ").append(request.path().substr(0, kLongestPath));
  if (request.path().size() > kLongestPath) line += "...";
  line.append(" ").append(std::to_string(reply.status));
  line += kDeliveries[static_cast<std::size_t>(reply.delivery)];
  const std::lock_guard lock(logMutex_);
  options_.log(line);
}

} // namespace quarnet::sandbox
