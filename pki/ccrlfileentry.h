// cCrlFileEntry: one CRL file of a chain (RFC 5280, section 5): loaded, logged, and its next update compared with the
// current time. The library does no more with it: it never rejects a chain or a signature because of a CRL. The
// configuration check reads what was found.
//
// Thread rule: one thread at a time; a CryptoScope must be open.
#ifndef ZEPASIGN_PKI_CCRLFILEENTRY_H_
#define ZEPASIGN_PKI_CCRLFILEENTRY_H_

#include <string>

#include "base/cfile.h"
#include "pki/openssl.h"

namespace zepasign {

class cCrlFileEntry {
 public:
  // cCrlFileEntry: `title` is crlFile0 to crlFile4; the file is `fileName` in `directory`, which may end in "/".
  // Nothing is read yet.
  cCrlFileEntry(std::string title, std::string directory, std::string fileName)
      : title_(std::move(title)), directory_(std::move(directory)), fileName_(std::move(fileName)) {}
  virtual ~cCrlFileEntry() = default;
  cCrlFileEntry(const cCrlFileEntry&) = delete;
  cCrlFileEntry& operator=(const cCrlFileEntry&) = delete;

  // loadCrl: reads the file and parses it. Throws std::bad_alloc.
  bool loadCrl();
  // parseCrl: decodes what was read, which must be one CRL in DER. True also for an expired one; isExpired tells.
  // Throws std::bad_alloc.
  bool parseCrl();

  // isExpired: whether the next update lay in the past when it was parsed; false without a next update.
  [[nodiscard]] bool isExpired() const noexcept { return expired_; }

  // path: of the file. get0: the decoded CRL, borrowed; null unless loadCrl succeeded.
  [[nodiscard]] std::string path() const;
  [[nodiscard]] X509_CRL* get0() const noexcept { return crl_.get(); }

 private:
  // checkNextUpdate: sets expired_ and logs it. The machine's local time is compared with the CRL's UTC+8 date, as for
  // certificates (see cPkcs12::checkCertValid).
  void checkNextUpdate();
  // logRevoked: logs the number of entries and the number of different serial numbers.
  void logRevoked() const;

  // title_ is only shown in the log.
  std::string title_;
  std::string directory_;
  std::string fileName_;
  // content_: the bytes of the file, kept as long as the entry.
  cFile content_;
  bool expired_ = false;
  X509CrlPtr crl_;
};

}  // namespace zepasign

#endif  // ZEPASIGN_PKI_CCRLFILEENTRY_H_
