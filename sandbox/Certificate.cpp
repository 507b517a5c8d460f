#include "sandbox/Certificate.h"

#include <array>
#include <filesystem>
#include <fstream>
#include <memory>
#include <openssl/evp.h>
#include <openssl/pem.h>
#include <openssl/rand.h>
#include <openssl/x509v3.h>
#include <stdexcept>
#include <stdlib.h>
#include <utility>
#include <vector>

namespace quarnet::sandbox {
namespace {

using Key = std::unique_ptr<EVP_PKEY, decltype(&EVP_PKEY_free)>;
using X509Ptr = std::unique_ptr<X509, decltype(&X509_free)>;
using Extensions = std::vector<std::pair<int, const char*>>;

constexpr long kLifetime = 365L * 24 * 3600;
constexpr long kClockSlack = 24L * 3600;

void require(bool ok) {
  if (!ok) throw std::runtime_error("the certificate cannot be made");
}

Key makeKey() {
  Key key(EVP_EC_gen("P-256"), EVP_PKEY_free);
  require(key != nullptr);
  return key;
}

/// A certificate for the key; an absent issuer makes it sign itself.
X509Ptr makeCertificate(const char* name, const Key& key, X509* issuer, const Key& issuerKey,
                        const Extensions& extensions) {
  X509Ptr certificate(X509_new(), X509_free);
  require(certificate != nullptr);
  X509* const x = certificate.get();
  std::uint64_t serial = 0;
  require(RAND_bytes(reinterpret_cast<unsigned char*>(&serial), sizeof serial) == 1 &&
          X509_set_version(x, X509_VERSION_3) == 1 &&
          ASN1_INTEGER_set_uint64(X509_get_serialNumber(x), serial >> 1) == 1 &&
          X509_gmtime_adj(X509_getm_notBefore(x), -kClockSlack) != nullptr &&
          X509_gmtime_adj(X509_getm_notAfter(x), kLifetime) != nullptr &&
          X509_set_pubkey(x, key.get()) == 1);
  require(X509_NAME_add_entry_by_txt(X509_get_subject_name(x), "CN", MBSTRING_UTF8,
                                     reinterpret_cast<const unsigned char*>(name), -1, -1, 0) == 1);
  X509* const signer = issuer != nullptr ? issuer : x;
  require(X509_set_issuer_name(x, X509_get_subject_name(signer)) == 1);

  X509V3_CTX context;
  X509V3_set_ctx_nodb(&context);
  X509V3_set_ctx(&context, signer, x, nullptr, nullptr, 0);
  for (const auto& [id, value] : extensions) {
    const std::unique_ptr<X509_EXTENSION, decltype(&X509_EXTENSION_free)> extension(
        X509V3_EXT_conf_nid(nullptr, &context, id, value), X509_EXTENSION_free);
    require(extension != nullptr && X509_add_ext(x, extension.get(), -1) == 1);
  }
  require(X509_sign(x, issuerKey.get(), EVP_sha256()) > 0);
  return certificate;
}

template <class Write>
std::string pemOf(Write write) {
  const std::unique_ptr<BIO, decltype(&BIO_free)> memory(BIO_new(BIO_s_mem()), BIO_free);
  require(memory != nullptr && write(memory.get()) == 1);
  char* text = nullptr;
  const long length = BIO_get_mem_data(memory.get(), &text);
  return std::string(text, static_cast<std::size_t>(length));
}

std::string pemOf(const X509Ptr& certificate) {
  return pemOf([&](BIO* out) { return PEM_write_bio_X509(out, certificate.get()); });
}

std::string pemOf(const Key& key) {
  return pemOf([&](BIO* out) {
    return PEM_write_bio_PrivateKey(out, key.get(), nullptr, nullptr, 0, nullptr, nullptr);
  });
}

std::string makePrivateFolder() {
  std::string folder = (std::filesystem::temp_directory_path() / "quarnet-sandbox-XXXXXX").string();
  if (mkdtemp(folder.data()) == nullptr)
    throw std::runtime_error("no temporary folder can be made at " + folder);
  return folder;
}

} // namespace

const Certificate& Certificate::ofThisProcess() {
  static const Certificate certificate;
  return certificate;
}

Certificate::Certificate() : folder_(makePrivateFolder()), caFile_(folder_ + "/ca.pem") {
  const Key caKey = makeKey();
  const X509Ptr ca = makeCertificate("Quarnet sandbox CA", caKey, nullptr, caKey,
                                     {{NID_basic_constraints, "critical,CA:TRUE,pathlen:0"},
                                      {NID_key_usage, "critical,keyCertSign,cRLSign"},
                                      {NID_subject_key_identifier, "hash"}});
  const Key key = makeKey();
  const X509Ptr leaf = makeCertificate("localhost", key, ca.get(), caKey,
                                       {{NID_basic_constraints, "critical,CA:FALSE"},
                                        {NID_key_usage, "critical,digitalSignature"},
                                        {NID_ext_key_usage, "serverAuth"},
                                        {NID_subject_alt_name, "IP:127.0.0.1,IP:::1,DNS:localhost"},
                                        {NID_subject_key_identifier, "hash"},
                                        {NID_authority_key_identifier, "keyid:always"}});
  chainPem_ = pemOf(leaf) + pemOf(ca);
  keyPem_ = pemOf(key);
  std::ofstream file(caFile_, std::ios::binary);
  file << pemOf(ca);
  file.close();
  if (!file) throw std::runtime_error("the certificate cannot be written to " + caFile_);
}

Certificate::~Certificate() {
  std::error_code ignored;
  std::filesystem::remove_all(folder_, ignored);
}

} // namespace quarnet::sandbox
