#include "quarnet/platform/gtk/ServerTrust.h"

#include "quarnet/platform/Platform.h"
#include "quarnet/platform/gtk/Ref.h"

#include <algorithm>
#include <memory>
#include <utility>

namespace quarnet::platform {
namespace {

constexpr int kHttpsPort = 443;

struct UnrefUri {
  void operator()(GUri* uri) const { g_uri_unref(uri); }
};

std::unique_ptr<GUri, UnrefUri> parsed(const std::string& url) {
  return std::unique_ptr<GUri, UnrefUri>(g_uri_parse(url.c_str(), G_URI_FLAGS_NONE, nullptr));
}

} // namespace

ServerTrust::ServerTrust(const std::string& certificateFile, std::vector<std::string> hosts)
    : hosts_(std::move(hosts)) {
  if (certificateFile.empty()) return;
  GError* error = nullptr;
  authorities_ = g_tls_certificate_list_new_from_file(certificateFile.c_str(), &error);
  if (error == nullptr) return;
  log("Cannot read the certificate file ", harmless(certificateFile), ": ",
      harmless(ErrorRef(error)->message));
}

ServerTrust::~ServerTrust() {
  g_list_free_full(authorities_, g_object_unref);
}

bool ServerTrust::vouchesFor(const std::string& url, GTlsCertificate* certificate) const {
  const auto uri = parsed(url);
  if (!uri || g_uri_get_host(uri.get()) == nullptr) return false;
  const std::string name = g_uri_get_host(uri.get());
  const int port = g_uri_get_port(uri.get()) < 0 ? kHttpsPort : g_uri_get_port(uri.get());
  const std::string host = port == kHttpsPort ? name : name + ":" + std::to_string(port);
  if (std::find(hosts_.begin(), hosts_.end(), host) == hosts_.end()) return false;

  const auto identity =
      adopt(g_network_address_new(name.c_str(), static_cast<std::uint16_t>(port)));
  for (const GList* item = authorities_; item != nullptr; item = item->next)
    if (g_tls_certificate_verify(certificate, identity.get(), G_TLS_CERTIFICATE(item->data)) == 0)
      return true;
  return false;
}

std::string hostOf(const std::string& url) {
  const auto uri = parsed(url);
  const char* host = uri ? g_uri_get_host(uri.get()) : nullptr;
  return host == nullptr ? std::string() : std::string(host);
}

} // namespace quarnet::platform
