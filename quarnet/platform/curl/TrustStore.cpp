#include "quarnet/platform/curl/TrustStore.h"

#include <cstdlib>
#include <filesystem>
#include <openssl/err.h>
#include <openssl/x509_vfy.h>

namespace quarnet::platform {
namespace {

CURLcode useStore(CURL*, void* context, void* store) {
  // Without a store every handshake fails: no connection is ever left unchecked.
  if (store == nullptr) return CURLE_SSL_CACERT_BADFILE;
  SSL_CTX_set1_cert_store(static_cast<SSL_CTX*>(context), static_cast<X509_STORE*>(store));
  return CURLE_OK;
}

/// Whether the system's folder names its roots by their hashes ("5ad8a5d6.0").
bool systemFolderIsHashed() {
  std::error_code error;
  std::filesystem::directory_iterator entry(X509_get_default_cert_dir(), error);
  for (; !error && entry != std::filesystem::directory_iterator(); entry.increment(error)) {
    if (entry->path().extension() == ".0") return true;
  }
  return false;
}

bool trustSystem(X509_STORE* store) {
  // OpenSSL reads a root from such a folder when it needs it. Its defaults would parse the bundle
  // beside the folder at once, which takes longer than all the rest of a first call.
  const bool chosen = std::getenv(X509_get_default_cert_file_env()) != nullptr ||
                      std::getenv(X509_get_default_cert_dir_env()) != nullptr;
  if (chosen || !systemFolderIsHashed()) return X509_STORE_set_default_paths(store) == 1;
  X509_LOOKUP* folder = X509_STORE_add_lookup(store, X509_LOOKUP_hash_dir());
  return folder != nullptr &&
         X509_LOOKUP_add_dir(folder, X509_get_default_cert_dir(), X509_FILETYPE_PEM) == 1;
}

} // namespace

TrustStore::TrustStore(const std::string& caFile) : store_(X509_STORE_new(), X509_STORE_free) {
  const bool made = store_ && trustSystem(store_.get());
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
  // Every certificate of the file is trusted by itself, even a server's own.
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
