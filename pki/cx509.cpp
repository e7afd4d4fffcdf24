#include "pki/cx509.h"

#include <algorithm>
#include <chrono>
#include <memory>
#include <new>

#include "base/cchars.h"
#include "base/text.h"

namespace zepasign {
namespace {

std::string hexText(const unsigned char* data, int length) {
  cChars text;
  return text.setHex(data, length) ? text.data() : "";
}

std::string oneLine(const X509_NAME* name) {
  char line[512];
  return X509_NAME_oneline(name, line, sizeof line) != nullptr ? line : "";
}

// firstCommonName: borrowed; null when the name has none.
const ASN1_STRING* firstCommonName(const X509_NAME* name) {
  const int index = X509_NAME_get_index_by_NID(name, NID_commonName, -1);
  return index < 0 ? nullptr : X509_NAME_ENTRY_get_data(X509_NAME_get_entry(name, index));
}

// extension: the decoded value of an extension, null when there is none that can be read. With `isFirst` the first one
// of its kind is used; otherwise a repeated extension counts as absent.
template <class Pointer>
Pointer extension(const X509* x509, int nid, bool isFirst = false) {
  int index = -1;
  return Pointer(static_cast<typename Pointer::pointer>(
      attempt([&] { return X509_get_ext_d2i(x509, nid, nullptr, isFirst ? &index : nullptr); })));
}

std::string bytesOf(const ASN1_STRING* text, int length) {
  return {reinterpret_cast<const char*>(ASN1_STRING_get0_data(text)), static_cast<std::size_t>(length)};
}

std::string bytesOf(const ASN1_STRING* text) { return bytesOf(text, ASN1_STRING_length(text)); }

std::string generalNameText(const GENERAL_NAME* name) {
  switch (name->type) {
    case GEN_EMAIL:
    case GEN_DNS:
    case GEN_URI:
      return bytesOf(name->d.ia5);
    case GEN_IPADD:
      return bytesOf(name->d.iPAddress);
    default:
      return {};
  }
}

void appendNames(const DIST_POINT_NAME* point, std::vector<std::string>& names) {
  constexpr int kFullName = 0;
  if (point->type == kFullName) {
    for (int i = 0; i < sk_GENERAL_NAME_num(point->name.fullname); ++i) {
      names.push_back(generalNameText(sk_GENERAL_NAME_value(point->name.fullname, i)));
    }
    return;
  }
  for (int i = 0; i < sk_X509_NAME_ENTRY_num(point->name.relativename); ++i) {
    names.push_back(bytesOf(X509_NAME_ENTRY_get_data(sk_X509_NAME_ENTRY_value(point->name.relativename, i))));
  }
}

// TimeDigits: reads two digits at a time without asking whether they are digits; beyond the end they count as zeros.
class TimeDigits final {
 public:
  explicit TimeDigits(const ASN1_TIME* time)
      : text_(reinterpret_cast<const char*>(ASN1_STRING_get0_data(time)),
              static_cast<std::size_t>(ASN1_STRING_length(time))) {}

  int next() { return 10 * digit() + digit(); }

 private:
  int digit() { return at_ < text_.size() ? text_[at_++] - '0' : 0; }

  std::string_view text_;
  std::size_t at_ = 0;
};

int readYear(const ASN1_TIME* time, TimeDigits& digits) {
  switch (ASN1_STRING_type(time)) {
    case V_ASN1_UTCTIME: {
      const int year = digits.next();
      return year < 70 ? 2000 + year : 1900 + year;
    }
    case V_ASN1_GENERALIZEDTIME: {
      const int century = digits.next();
      return 100 * century + digits.next();
    }
    default:
      return 0;
  }
}

}  // namespace

std::string cX509::getIssuerOneLine() const { return oneLine(X509_get_issuer_name(x509_.get())); }
std::string cX509::getSubjectOneLine() const { return oneLine(X509_get_subject_name(x509_.get())); }
bool cX509::isSelfIssued() const { return getIssuerOneLine() == getSubjectOneLine(); }

// getSubjectCN: the count of bytes is the string's `flags`, not its length; callers depend on the empty text. The
// crypto library keeps a bookkeeping bit of its own in `flags`, which is no count.
std::string cX509::getSubjectCN() const {
  const ASN1_STRING* name = firstCommonName(X509_get_subject_name(x509_.get()));
  if (name == nullptr) return {};
  const long count = name->flags & ~static_cast<long>(ASN1_STRING_FLAG_MSTRING);
  return bytesOf(name, static_cast<int>(std::clamp<long>(count, 0, ASN1_STRING_length(name))));
}

std::string cX509::getIssuerCN() const {
  const ASN1_STRING* name = firstCommonName(X509_get_issuer_name(x509_.get()));
  return name == nullptr ? "" : bytesOf(name);
}

std::string cX509::getSerial() const { return serialToText(X509_get0_serialNumber(x509_.get())); }

std::string cX509::getSubjectKeyId() const {
  const auto id = extension<OctetStringPtr>(x509_.get(), NID_subject_key_identifier, true);
  return id ? hexText(ASN1_STRING_get0_data(id.get()), ASN1_STRING_length(id.get())) : "";
}

std::string cX509::getAuthorityKeyId() const {
  const auto id = extension<AuthorityKeyIdPtr>(x509_.get(), NID_authority_key_identifier, true);
  if (!id || id->keyid == nullptr) return {};
  return hexText(ASN1_STRING_get0_data(id->keyid), ASN1_STRING_length(id->keyid));
}

std::vector<std::string> cX509::getCrlDistPoints() const {
  std::vector<std::string> names;
  const auto points = extension<CrlDistPointsPtr>(x509_.get(), NID_crl_distribution_points);
  for (int i = 0; i < sk_DIST_POINT_num(points.get()); ++i) {
    const DIST_POINT* point = sk_DIST_POINT_value(points.get(), i);
    if (point->distpoint != nullptr) appendNames(point->distpoint, names);
  }
  return names;
}

std::string cX509::getFingerprint() const {
  unsigned char digest[EVP_MAX_MD_SIZE];
  unsigned length = 0;
  if (X509_digest(x509_.get(), EVP_sha1(), digest, &length) != 1) return {};
  return hexText(digest, static_cast<int>(length));
}

std::string cX509::getNotBefore() const { return asn1TimeToText(X509_get0_notBefore(x509_.get())); }
std::string cX509::getNotAfter() const { return asn1TimeToText(X509_get0_notAfter(x509_.get())); }

bool cX509::getKeyUsage(unsigned& usage) const {
  usage = 0;
  const auto bits = extension<BitStringPtr>(x509_.get(), NID_key_usage);
  if (!bits) return false;
  const unsigned char* data = ASN1_STRING_get0_data(bits.get());
  const int length = ASN1_STRING_length(bits.get());
  if (length > 0) usage = data[0];
  if (length > 1) usage |= static_cast<unsigned>(data[1]) << 8U;
  return true;
}

std::string asn1TimeToText(const ASN1_TIME* time) {
  using namespace std::chrono;
  if (time == nullptr) return {};
  TimeDigits digits(time);
  // The calendar repeats every 400 years, so years that std::chrono::year cannot hold are counted in their cycle.
  constexpr int kCycle = 400;
  const int fullYear = readYear(time, digits);
  const int yearInCycle = (fullYear % kCycle + kCycle) % kCycle;
  const int monthsFromJanuary = digits.next() - 1;
  const int day = digits.next();
  const int hour = digits.next();
  const int minute = digits.next();
  const int second = digits.next();

  const year_month first = year(yearInCycle) / January + months(monthsFromJanuary);
  const auto moment = sys_days(first / 1) + days(day - 1) + hours(hour + 8) + minutes(minute) + seconds(second);
  const auto midnight = floor<days>(moment);
  const year_month_day date(midnight);
  const hh_mm_ss clock(moment - midnight);
  return dateText(fullYear - yearInCycle + static_cast<int>(date.year()),
                  static_cast<int>(static_cast<unsigned>(date.month())),
                  static_cast<int>(static_cast<unsigned>(date.day())), static_cast<int>(clock.hours().count()),
                  static_cast<int>(clock.minutes().count()), static_cast<int>(clock.seconds().count()));
}

std::string serialToText(const ASN1_INTEGER* serial) {
  const BigNumPtr number(ASN1_INTEGER_to_BN(serial, nullptr));
  if (!number) return {};
  const OpenSslTextPtr text(BN_bn2hex(number.get()));
  return text ? text.get() : "";
}

}  // namespace zepasign
