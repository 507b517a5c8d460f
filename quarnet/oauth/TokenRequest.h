#pragma once

#include "quarnet/core/Types.h"
#include "quarnet/platform/HttpClient.h"

#include <initializer_list>
#include <string>
#include <string_view>

namespace quarnet {

struct AddressParameter {
  std::string_view name;
  Text value;
};

/// The authorization, token or revocation address with these parameters, each as "NAME=VALUE" with
/// the value escaped by addingPercentEscapes(), or "(null)" when it is absent. Written to the log
/// behind `title`.
std::string loggedAddress(std::string_view title, std::string_view endpoint,
                          std::initializer_list<AddressParameter> parameters);

/// Sends a plain GET for `url` without waiting for its answer.
void getAsynchronously(const std::string& url, platform::HttpClient::Completion completion);

} // namespace quarnet
