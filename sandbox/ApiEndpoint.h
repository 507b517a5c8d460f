#pragma once

#include "sandbox/Options.h"
#include "sandbox/ParameterKeys.h"
#include "sandbox/ReceivedRequest.h"
#include "sandbox/Reply.h"
#include "sandbox/TokenStore.h"

#include <cstddef>

namespace quarnet::sandbox {

/// The API itself: hands out parameter keys, and answers every call with what it understood of it.
class ApiEndpoint {
public:
  ApiEndpoint(const Options& options, TokenStore& tokens) : options_(options), tokens_(tokens) {}

  Reply parameterKey(const ReceivedRequest& request, std::size_t keyLength = 32,
                     std::size_t ivLength = 16);
  Reply call(const ReceivedRequest& request);

private:
  const Options& options_;
  TokenStore& tokens_;
  ParameterKeys keys_;
};

} // namespace quarnet::sandbox
