#pragma once

#include "quarnet/core/Error.h"
#include "quarnet/core/RequestBundle.h"
#include "quarnet/platform/HttpRequest.h"

namespace quarnet {

/// Turns a bundle into the request that is sent, with the tokens of the record and the time-out of
/// every request (platform::kRequestTimeout). GET and DELETE fetch their one-time key here,
/// blocking. Writes back into the bundle: the address gets the suffix of the response type, the
/// parameter values are escaped, both or none.
///
/// Absent with error 2 (no address) or 3 (wrong response type), and nothing has changed then. With
/// error 1 (no such method) or 5 (no client identifier) it gives what was assembled all the same.
/// Without an error slot the request gets no Accept header fields. Throws std::bad_alloc.
std::optional<platform::HttpRequest> assembleRequest(RequestBundle& bundle,
                                                     std::optional<Error>* error);

// The steps of it, for a call that fetches its key without blocking. They throw std::bad_alloc.

/// Whether calls of that method send their parameters, encrypted, and no body.
bool encryptsParameters(HttpMethod method);

/// Address, method and body of a bundle that was checked; writes back as assembleRequest() does.
/// Reads the file that is to be uploaded.
platform::HttpRequest requestWithoutTokens(RequestBundle& bundle);

/// "KEY=VALUE" pairs as they stand: the values escaped by then, the keys as the caller gave them.
/// Absent when a key is not valid UTF-8.
Text parameterText(const Parameters& parameters);

/// Adds what the answer may be, which ends the assembly, and logs the header fields.
void addAcceptFields(platform::HttpRequest& request, std::string_view contentType);

/// Adds the swap key, the client identifier and the tokens of the record, each unless it is absent;
/// an absent client identifier is error 5. Throws std::bad_alloc.
void addKeyAndTokens(platform::HttpRequest& request, const Text& swapKey,
                     std::optional<Error>* error);

} // namespace quarnet
