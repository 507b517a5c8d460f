#include "quarnet/platform/curl/TrustStore.h"

#include <openssl/err.h>
#include <openssl/x509_vfy.h>

namespace quarnet::platform {
namespace {

CURLcode useStore(CURL*, void* context, void* store) {
  // Without a store every handshake fails: never a connection that was not checked.
  if (store == nullptr) return CURLE_SSL_CACERT_BADFILE;
  SSL_CTX_set1_cert_store(static_cast<SSL_CTX*>(context), static_cast<X509_STORE*>(store));
  return CURLE_OK;
}

} // namespace

TrustStore::TrustStore(const std::string& caFile) : store_(X509_STORE_new(), X509_STORE_free) {
  // OpenSSL looks a root up in the system's folder when it needs it: nothing is parsed here.
  const bool made = store_ && X509_STORE_set_default_paths(store_.get()) == 1;
  if (!made) {
    problem_ = "The system's certificates cannot be read";
  } else if (!caFile.empty() && X509_STORE_load_file(store_.get(), caFile.c_str()) != 1) {
    problem_ = "The CA file cannot be read or holds no certificate: " + caFile;
  }
  ERR_clear_error();
  if (problem_) {
    store_.reset();
    return;
  }
  // Whatever the file holds is trusted as it stands, a server's own certificate, too.
  X509_STORE_set_flags(store_.get(), X509_V_FLAG_TRUSTED_FIRST | X509_V_FLAG_PARTIAL_CHAIN);
}

void TrustStore::applyTo(CURL* easy) {
  // libcurl would read its bundle for every new connection, only to have it replaced.
  curl_easy_setopt(easy, CURLOPT_CAINFO, nullptr);
  curl_easy_setopt(easy, CURLOPT_CAPATH, nullptr);
  curl_easy_setopt(easy, CURLOPT_SSL_CTX_FUNCTION, useStore);
  curl_easy_setopt(easy, CURLOPT_SSL_CTX_DATA, store_.get());
}

} // namespace quarnet::platform
