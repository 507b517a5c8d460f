#include "ApiCalls.h"

namespace demo {
namespace {

std::string address(const char* path) {
  return std::string(quarnet::VORNEL_URL_OAUTH_SERVER) + path;
}

} // namespace

quarnet::Call whoAmI() {
  return {.url = address("/v1/me")};
}

quarnet::Call search(const std::string& keyword) {
  // They travel encrypted under a key that is fetched for this one call.
  return {.url = address("/v1/people"), .parameters = {{"keyword", keyword}}};
}

quarnet::Call upload(const std::string& file) {
  return {.method = quarnet::HttpMethod::POST,
          .url = address("/v1/pictures"),
          .upload = quarnet::Upload{.path = file}};
}

} // namespace demo
