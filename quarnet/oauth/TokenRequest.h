#pragma once

#include "quarnet/core/Data.h"
#include "quarnet/platform/HttpClient.h"

#include <string>
#include <string_view>

namespace quarnet {

/// "NAME=VALUE" for the query of an authorization, token or revocation address, with the value
/// escaped by addingPercentEscapes(), or "(null)" when it is absent.
std::string addressPair(std::string_view name, const Text& value);

/// Sends a plain GET for `url` without waiting for its answer.
void getAsynchronously(const std::string& url, platform::HttpClient::Completion completion);

} // namespace quarnet
