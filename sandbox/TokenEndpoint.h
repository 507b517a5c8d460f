#pragma once

#include "sandbox/Options.h"
#include "sandbox/ReceivedRequest.h"
#include "sandbox/Reply.h"
#include "sandbox/TokenStore.h"

namespace quarnet::sandbox {

/// The token endpoint (RFC 6749 section 3.2) and the revocation endpoint. The parameters travel in
/// the query of a GET or in the form body of a POST.
class TokenEndpoint {
public:
  TokenEndpoint(const Options& options, TokenStore& tokens) : options_(options), tokens_(tokens) {}

  Reply token(const ReceivedRequest& request);
  Reply expire(const ReceivedRequest& request);

private:
  const Options& options_;
  TokenStore& tokens_;
};

} // namespace quarnet::sandbox
