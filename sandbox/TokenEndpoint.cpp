#include "sandbox/TokenEndpoint.h"

#include "sandbox/Form.h"
#include "sandbox/Json.h"

namespace quarnet::sandbox {
namespace {

Form formOf(const ReceivedRequest& request) {
  return Form(request.method == "POST" ? std::string_view(request.body)
                                       : request.query().value_or(""));
}

Reply uncached(Reply reply) {
  reply.headers.emplace_back("Cache-Control", "no-store");
  reply.headers.emplace_back("Pragma", "no-cache");
  return reply;
}

Reply missing(std::string_view name) {
  return errorReply(400, "invalid_request",
                    "The parameter " + std::string(name) + " is missing or empty.");
}

// A client looks for "access_token" in a refusal and would take it for tokens: no text here has it.
Reply answered(const std::optional<Tokens>& tokens, std::string_view refusal) {
  if (!tokens) return errorReply(400, "invalid_grant", refusal);
  return {.contentType = "application/json", .body = tokens->json()};
}

} // namespace

std::string Tokens::json() const {
  return jsonReply(200, {{"access_token", accessToken},
                         {"token_type", "bearer"},
                         {"expires_in", expiresIn.count()},
                         {"refresh_token", refreshToken},
                         {"scope", scope}})
      .body;
}

Reply TokenEndpoint::token(const ReceivedRequest& request) {
  const Form form = formOf(request);
  if (const auto name = form.repeatedName())
    return uncached(errorReply(400, "invalid_request", "The parameter " + *name + " is repeated."));
  for (const char* const name : {"grant_type", "client_id", "client_secret"})
    if (form.text(name).empty()) return uncached(missing(name));
  if (form.text("client_id") != options_.clientId ||
      form.text("client_secret") != options_.clientSecret)
    return uncached(errorReply(401, "invalid_client", "The client or its secret is wrong."));

  const std::string grantType = form.text("grant_type");
  if (grantType == "authorization_code") {
    for (const char* const name : {"code", "redirect_uri"})
      if (form.text(name).empty()) return uncached(missing(name));
    return uncached(answered(tokens_.exchangeCode(form.text("code"), form.text("redirect_uri")),
                             "The code is unknown, used, expired or for another redirect_uri."));
  }
  if (grantType == "refresh_token") {
    if (form.text("refresh_token").empty()) return uncached(missing("refresh_token"));
    return uncached(answered(tokens_.refresh(form.text("refresh_token")),
                             "The refresh token is unknown, used or expired."));
  }
  return uncached(errorReply(400, "unsupported_grant_type",
                             "The grant types are authorization_code and refresh_token."));
}

Reply TokenEndpoint::expire(const ReceivedRequest& request) {
  const Form form = formOf(request);
  // A client takes the word for done wherever it stands: no refusal has it.
  if (form.text("client_id") != options_.clientId)
    return uncached(errorReply(401, "invalid_client", "The client is unknown."));
  if (!tokens_.revoke(form.text("token")))
    return uncached(errorReply(400, "invalid_token", "The token is unknown, revoked or expired."));
  return uncached(jsonReply(200, {{"result", "success"}}));
}

} // namespace quarnet::sandbox
