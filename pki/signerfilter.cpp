// The signer filter of cPkcs12: which certificates may sign, by conditions on their subject and issuer names.
//
//   filter       "//" alternative "//" alternative ... "//"     one alternative suffices
//   alternative  item "," item ...                              all conditions must hold
//   item         S_C= S_O= S_OU= S_CN= (subject), I_C= I_O= I_OU= I_CN= (issuer); others are ignored
//
// O and OU may repeat; every value must be among the certificate's. An alternative is checked in two passes, first its
// subject conditions against the subject name, then its issuer conditions against the issuer name. There is no escape:
// a key is found by plain substring search and its value ends at the next "," in the filter, at the next "/" in the
// one-line name. So a value that holds "CN=" or "/" can be mistaken for another entry; callers depend on that reading.
#include <algorithm>
#include <set>
#include <string>
#include <vector>

#include "base/big5.h"
#include "base/clog.h"
#include "base/errors.h"
#include "pki/cpkcs12.h"
#include "pki/cx509.h"

namespace zepasign {

namespace {

using Values = std::set<std::string>;

constexpr std::string_view kMark = "//";

bool contains(const std::string& name, const std::string& wanted) { return name.find(wanted) != std::string::npos; }
bool equals(const std::string& name, const std::string& wanted) { return name == wanted; }

// FilterSide: what differs between the conditions on the subject and on the issuer. The subject's CN must contain the
// filter's, the issuer's must be equal to it.
struct FilterSide {
  const char* prefix;
  const char* endLabel;
  bool (*commonNameHolds)(const std::string& name, const std::string& wanted);
};
constexpr FilterSide kSubjectSide = {"S_", "end cPkcs12::checkFilterByCertSubject()", contains};
constexpr FilterSide kIssuerSide = {"I_", "end cPkcs12::checkFilterByCertIssuer()", equals};

std::vector<std::string> splitAlternatives(const std::string& filter) {
  std::vector<std::string> alternatives;
  std::size_t mark = filter.find(kMark);
  while (mark != std::string::npos) {
    const std::size_t start = mark + kMark.size();
    mark = filter.find(kMark, start);
    if (mark != std::string::npos) alternatives.push_back(filter.substr(start, mark - start));
  }
  return alternatives;
}

// nextValue: the value behind the first key at or after `from`, which moves behind the value's separator; false when
// there is no further key.
bool nextValue(const std::string& text, const std::string& key, char separator, std::size_t& from, std::string& value) {
  const std::size_t found = from <= text.size() ? text.find(key, from) : std::string::npos;
  if (found == std::string::npos) return false;
  const std::size_t start = found + key.size();
  const std::size_t end = std::min(text.find(separator, start), text.size());
  value = text.substr(start, end - start);
  from = end + 1;
  return true;
}

// ValueReader: reads values by key and logs each under the label "<operation>(<key>)".
struct ValueReader final {
  const char* operation;
  char separator;

  bool next(const std::string& text, const std::string& key, std::size_t& from, std::string& value) const {
    if (!nextValue(text, key, separator, from, value)) return false;
    if (logger.isEnabled(kDebug)) logDebugValue(std::string(operation) + "(" + key + ")", value);
    return true;
  }
  [[nodiscard]] std::string first(const std::string& text, const std::string& key) const {
    std::size_t from = 0;
    std::string value;
    next(text, key, from, value);
    return value;
  }
  [[nodiscard]] Values all(const std::string& text, const std::string& key) const {
    Values values;
    std::size_t from = 0;
    for (std::string value; next(text, key, from, value);) values.insert(value);
    return values;
  }
};

bool conditionMissing(const std::string& key, const std::string& value) {
  if (logger.isEnabled(kError)) logErrorValue("找不到憑證條件("_big5 + key + ")", value);
  return false;
}

// holdsAll: whether every wanted value is among the offered ones; the first missing one is logged.
bool holdsAll(const std::string& key, const Values& wanted, const Values& offered) {
  const auto missing =
      std::find_if(wanted.begin(), wanted.end(), [&](const auto& value) { return !offered.contains(value); });
  return missing == wanted.end() || conditionMissing(key, *missing);
}

constexpr ValueReader kFilterName{"cPkcs12::parseFilterName", ','};
constexpr ValueReader kFilterNames{"cPkcs12::parseFilterNames", ','};
constexpr ValueReader kCertName{"cPkcs12::parseCertDistingName", '/'};
constexpr ValueReader kCertNames{"cPkcs12::parseCertDistingNames", '/'};

bool checkSide(const FilterSide& side, const std::string& filter, const std::string& name) {
  logValue(kParam, "絛件 filter"_big5, filter);
  logValue(kParam, "憑證主旨 subject"_big5, name);  // also for the issuer's name; callers depend on the label
  const std::string prefix = side.prefix;
  const std::string wantedC = kFilterName.first(filter, prefix + "C=");
  const Values wantedO = kFilterNames.all(filter, prefix + "O=");
  const Values wantedOU = kFilterNames.all(filter, prefix + "OU=");
  const std::string wantedCN = kFilterName.first(filter, prefix + "CN=");
  const std::string nameC = kCertName.first(name, "C=");
  const Values nameO = kCertNames.all(name, "O=");
  const Values nameOU = kCertNames.all(name, "OU=");
  const std::string nameCN = kCertName.first(name, "CN=");

  const bool holds =
      (wantedC.empty() || wantedC == nameC || conditionMissing(prefix + "C", wantedC)) &&
      holdsAll(prefix + "O", wantedO, nameO) && holdsAll(prefix + "OU", wantedOU, nameOU) &&
      (wantedCN.empty() || side.commonNameHolds(nameCN, wantedCN) || conditionMissing(prefix + "CN", wantedCN));
  logBool(kDebug, side.endLabel, holds);
  return holds;
}

bool anyAlternativeHolds(const char* signerFilter, const cX509& certificate) {
  const std::vector<std::string> alternatives = splitAlternatives(signerFilter);
  logInt(kDebug, "絛件數量"_big5, static_cast<int>(alternatives.size()));  // callers depend on the odd first character
  const std::string subject = certificate.getSubjectOneLine();
  const std::string issuer = certificate.getIssuerOneLine();
  return std::any_of(alternatives.begin(), alternatives.end(), [&](const std::string& alternative) {
    return checkSide(kSubjectSide, alternative, subject) && checkSide(kIssuerSide, alternative, issuer);
  });
}

}  // namespace

int cPkcs12::checkSignerFilter(const char* signerFilter) const {
  int result = kCertificateNotFound;
  if (certificate() != nullptr) {
    if (signerFilter != nullptr) logValue(kParam, "signerFilter", signerFilter);
    const bool unrestricted = signerFilter == nullptr || *signerFilter == '\0';
    if (unrestricted || anyAlternativeHolds(signerFilter, cX509(certificate()))) result = kSuccess;
  }
  logInt(kDebug, "end cPkcs12::checkSignerFilter()", result);
  return result;
}

}  // namespace zepasign
