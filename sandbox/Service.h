#pragma once

#include "sandbox/ApiEndpoint.h"
#include "sandbox/Faults.h"
#include "sandbox/Journal.h"
#include "sandbox/Options.h"
#include "sandbox/ReceivedRequest.h"
#include "sandbox/Reply.h"
#include "sandbox/SignIn.h"
#include "sandbox/TokenEndpoint.h"
#include "sandbox/TokenStore.h"

#include <memory>
#include <mutex>
#include <vector>

namespace quarnet::sandbox {

/// Everything that the server knows and does, connections aside. Safe from any thread.
class Service {
public:
  explicit Service(Options options);

  /// Records and logs the request and says what to send back, misbehaviour included.
  Reply answer(const std::shared_ptr<const ReceivedRequest>& request);

  TokenStore& tokens() { return tokens_; }
  Faults& faults() { return faults_; }
  Journal& journal() { return journal_; }

private:
  Reply route(const ReceivedRequest& request, const std::vector<Misbehaviour>& faults);
  Reply control(const ReceivedRequest& request);
  void log(const ReceivedRequest& request, const Reply& reply);

  const Options options_;
  TokenStore tokens_;
  TokenEndpoint tokenEndpoint_;
  ApiEndpoint api_;
  SignIn signIn_;
  Faults faults_;
  Journal journal_;
  std::mutex logMutex_;
};

} // namespace quarnet::sandbox
