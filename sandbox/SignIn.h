#pragma once

#include "sandbox/Options.h"
#include "sandbox/ReceivedRequest.h"
#include "sandbox/Reply.h"
#include "sandbox/TokenStore.h"

#include <chrono>
#include <deque>
#include <mutex>
#include <optional>
#include <string>
#include <string_view>
#include <unordered_map>

namespace quarnet::sandbox {

/// The authorization endpoint (RFC 6749 section 4.1.1): the sign-in page, the consent page, and the
/// address that ends them.
///
/// A sign-in is known by an opaque transaction that travels in the pages' forms; everything about
/// it stays here, for ten minutes at most.
class SignIn {
public:
  SignIn(const Options& options, TokenStore& tokens) : options_(options), tokens_(tokens) {}

  /// GET begins a sign-in, POST takes the name and the password.
  Reply authorize(const ReceivedRequest& request);
  /// GET asks for consent, POST takes the decision.
  Reply consent(const ReceivedRequest& request);
  /// The page on which a sign-in without an address of its own ends.
  Reply complete() const;
  Reply error(const ReceivedRequest& request) const;

private:
  struct Transaction {
    std::string redirectUri;
    std::string scope;
    std::string state;
    bool signedIn = false;
  };
  struct Begun {
    std::chrono::steady_clock::time_point when;
    std::string id;
  };

  Reply begin(const ReceivedRequest& request);
  Reply takePassword(const ReceivedRequest& request);
  Reply takeDecision(const ReceivedRequest& request);
  Reply deny(const std::string& id);
  std::optional<Transaction> find(const std::string& id);
  std::optional<Transaction> take(const std::string& id);
  void forgetOld(std::chrono::steady_clock::time_point now);

  const Options& options_;
  TokenStore& tokens_;
  std::mutex mutex_;
  std::unordered_map<std::string, Transaction> transactions_;
  std::deque<Begun> begun_; ///< oldest first; may name transactions that ended
};

} // namespace quarnet::sandbox
