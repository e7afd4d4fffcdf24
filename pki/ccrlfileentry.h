// cCrlFileEntry: one CRL file of a chain: loaded, tested for currency and logged. Nothing asks it whether a certificate
// is revoked, and nothing about it ever rejects a chain or a signature.
#ifndef ZEPASIGN_PKI_CCRLFILEENTRY_H_
#define ZEPASIGN_PKI_CCRLFILEENTRY_H_

#include <string>

#include "base/cfile.h"
#include "pki/openssl.h"

namespace zepasign {

class cCrlFileEntry {
 public:
  // cCrlFileEntry: `title` is crlFile0 to crlFile4, `folder` and `fileName` say where the DER file lies.
  cCrlFileEntry(std::string title, std::string folder, std::string fileName)
      : title_(std::move(title)), folder_(std::move(folder)), fileName_(std::move(fileName)) {}
  virtual ~cCrlFileEntry() = default;
  cCrlFileEntry(const cCrlFileEntry&) = delete;
  cCrlFileEntry& operator=(const cCrlFileEntry&) = delete;

  // loadCrl: reads the file and parses it.
  bool loadCrl();
  // parseCrl: decodes what was read. True also for an expired CRL; isExpired tells.
  bool parseCrl();

  // isExpired: whether the next update lay in the past when it was parsed; false without a next update.
  [[nodiscard]] bool isExpired() const noexcept { return expired_; }

 private:
  void checkNextUpdate();
  void logRevoked() const;

  std::string title_;
  std::string folder_;
  std::string fileName_;
  cFile content_;
  bool expired_ = false;
  X509CrlPtr crl_;
};

// joinCrlPath: folder, "/" unless the folder ends in one, file name.
[[nodiscard]] std::string joinCrlPath(const std::string& folder, const std::string& fileName);

}  // namespace zepasign

#endif  // ZEPASIGN_PKI_CCRLFILEENTRY_H_
