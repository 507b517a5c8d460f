#pragma once

#include <string>

namespace quarnet::sandbox {

/// A certificate authority of this process alone, and a certificate signed by it for 127.0.0.1, ::1
/// and localhost, both made on first use. The folder of the file is removed when the process exits.
class Certificate {
public:
  static const Certificate& ofThisProcess();
  ~Certificate();
  Certificate(const Certificate&) = delete;
  Certificate& operator=(const Certificate&) = delete;

  /// The file with the authority's certificate: what a client is to trust.
  const std::string& caFile() const { return caFile_; }
  const std::string& chainPem() const { return chainPem_; }
  const std::string& keyPem() const { return keyPem_; }

private:
  Certificate();

  std::string folder_;
  std::string caFile_;
  std::string chainPem_;
  std::string keyPem_;
};

} // namespace quarnet::sandbox
