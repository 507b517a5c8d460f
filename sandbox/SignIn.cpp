#include "sandbox/SignIn.h"

#include "sandbox/Crypto.h"
#include "sandbox/Form.h"
#include "sandbox/Pages.h"
#include "sandbox/Text.h"

namespace quarnet::sandbox {
namespace {

constexpr std::size_t kMostTransactions = 10'000;
constexpr auto kLifetime = std::chrono::minutes(10);
constexpr std::size_t kTransactionLength = 32;

bool isWebAddress(std::string_view address) {
  return address.starts_with("https://") || address.starts_with("http://");
}

/// Pairs added to an address that may have a query; a fragment is dropped.
std::string withQuery(std::string_view address, const std::string& pairs) {
  const std::string base(address.substr(0, address.find('#')));
  return base + (base.find('?') == std::string::npos ? "?" : "&") + pairs;
}

std::string stateOf(const std::string& state) {
  return state.empty() ? "" : "&state=" + percentEncoded(state);
}

Reply errorAt(std::string_view address, std::string_view error, std::string_view description,
              const std::string& state = {}) {
  return redirectReply(302,
                       withQuery(address, "error=" + percentEncoded(error) + "&error_description=" +
                                              percentEncoded(description) + stateOf(state)));
}

/// Where a sign-in reports an error: at its redirect address, or on the sandbox's own page when
/// that is no address to go to.
std::string_view errorAddress(std::string_view redirectUri) {
  return isWebAddress(redirectUri) ? redirectUri : "/oauth/error";
}

Reply expired() {
  return errorAt("/oauth/error", "invalid_request",
                 "This sign-in is over or took too long. Begin again in the application.");
}

} // namespace

Reply SignIn::authorize(const ReceivedRequest& request) {
  return request.method == "POST" ? takePassword(request) : begin(request);
}

Reply SignIn::begin(const ReceivedRequest& request) {
  const Form form(request.query().value_or(""));
  const std::string redirectUri = form.get("redirect_uri").value_or("about:blank");
  // An unknown client is never sent to an address that it named itself (RFC 6749 section 4.1.2.1).
  if (form.text("client_id") != options_.clientId)
    return errorAt("/oauth/error", "unauthorized_client", "The client_id is unknown.");
  if (redirectUri != "about:blank" && !isWebAddress(redirectUri))
    return errorAt("/oauth/error", "invalid_request",
                   "The redirect_uri is about:blank or an http or https address.");
  if (form.text("response_type") != "code")
    return errorAt(errorAddress(redirectUri), "unsupported_response_type",
                   "The response_type is code.", form.text("state"));

  const std::string id = randomText(kTransactionLength);
  const auto now = std::chrono::steady_clock::now();
  {
    const std::lock_guard lock(mutex_);
    forgetOld(now);
    transactions_[id] = {redirectUri, form.text("scope"), form.text("state")};
    begun_.push_back({now, id});
  }
  return pages::signIn(options_.clientId, id, "", false);
}

Reply SignIn::takePassword(const ReceivedRequest& request) {
  const Form form(request.body);
  const std::string id = form.text("transaction");
  if (form.text("action") == "cancel") return deny(id);
  if (!find(id)) return expired();
  const bool right =
      form.text("username") == options_.userName && form.text("password") == options_.password;
  if (!right) return pages::signIn(options_.clientId, id, form.text("username"), true);

  const std::lock_guard lock(mutex_);
  const auto found = transactions_.find(id);
  if (found == transactions_.end()) return expired();
  found->second.signedIn = true;
  return redirectReply(303, "/oauth/consent?transaction=" + id);
}

Reply SignIn::consent(const ReceivedRequest& request) {
  if (request.method == "POST") return takeDecision(request);
  const std::string id = Form(request.query().value_or("")).text("transaction");
  const auto transaction = find(id);
  if (!transaction || !transaction->signedIn) return expired();
  return pages::consent(options_.clientId, transaction->scope, id);
}

Reply SignIn::takeDecision(const ReceivedRequest& request) {
  const Form form(request.body);
  const std::string id = form.text("transaction");
  if (form.text("action") != "allow") return deny(id);
  const auto transaction = take(id);
  if (!transaction || !transaction->signedIn) return expired();

  const std::string code = tokens_.issueCode(transaction->redirectUri, transaction->scope);
  const std::string pairs = "code=" + code + stateOf(transaction->state);
  if (isWebAddress(transaction->redirectUri))
    return redirectReply(303,
                         withQuery(transaction->redirectUri, "access_complete_mobile=1&" + pairs));
  return redirectReply(303, "/oauth/access_complete_mobile?" + pairs);
}

Reply SignIn::deny(const std::string& id) {
  const auto transaction = take(id);
  if (!transaction) return expired();
  return errorAt(errorAddress(transaction->redirectUri), "access_denied",
                 "User denied the request.", transaction->state);
}

Reply SignIn::complete() const {
  return pages::complete();
}

Reply SignIn::error(const ReceivedRequest& request) const {
  const Form form(request.query().value_or(""));
  return pages::error(form.text("error"), form.text("error_description"));
}

std::optional<SignIn::Transaction> SignIn::find(const std::string& id) {
  const std::lock_guard lock(mutex_);
  forgetOld(std::chrono::steady_clock::now());
  const auto found = transactions_.find(id);
  return found == transactions_.end() ? std::nullopt : std::optional(found->second);
}

std::optional<SignIn::Transaction> SignIn::take(const std::string& id) {
  const std::lock_guard lock(mutex_);
  forgetOld(std::chrono::steady_clock::now());
  const auto node = transactions_.extract(id);
  return node ? std::optional(std::move(node.mapped())) : std::nullopt;
}

void SignIn::forgetOld(std::chrono::steady_clock::time_point now) {
  while (!begun_.empty() &&
         (begun_.size() > kMostTransactions || begun_.front().when + kLifetime < now)) {
    transactions_.erase(begun_.front().id);
    begun_.pop_front();
  }
}

} // namespace quarnet::sandbox
