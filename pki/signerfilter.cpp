// The signer filter of cPkcs12: which certificates may sign, by conditions on their subject and issuer names.
//
//   filter       "//" alternative "//" alternative ... "//"     one alternative suffices
//   alternative  item "," item ...                              all conditions must hold
//   item         S_C= S_O= S_OU= S_CN= (subject), I_C= I_O= I_OU= I_CN= (issuer); others are ignored
//
// O and OU may repeat, every value must be among the certificate's. Values are found by plain substring search, in the
// filter up to the next "," and in the one-line name up to the next "/".
#include <algorithm>
#include <vector>

#include "base/big5.h"
#include "base/clog.h"
#include "base/errors.h"
#include "pki/cpkcs12.h"
#include "pki/cx509.h"

namespace zepasign {

// FilterSide: what tells the subject's conditions from the issuer's. The subject's CN needs only to contain the
// filter's, the issuer's must equal it, on purpose.
struct FilterSide {
  const char* prefix;
  const char* endLabel;
  bool (*commonNameHolds)(const std::string& name, const std::string& wanted);
};

namespace {

constexpr std::string_view kMark = "//";

bool contains(const std::string& name, const std::string& wanted) { return name.find(wanted) != std::string::npos; }
bool equals(const std::string& name, const std::string& wanted) { return name == wanted; }

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
struct ValueReader {
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
  [[nodiscard]] std::set<std::string> all(const std::string& text, const std::string& key) const {
    std::set<std::string> values;
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
bool holdsAll(const std::string& key, const std::set<std::string>& wanted, const std::set<std::string>& offered) {
  const auto missing =
      std::find_if(wanted.begin(), wanted.end(), [&](const auto& value) { return !offered.contains(value); });
  return missing == wanted.end() || conditionMissing(key, *missing);
}

}  // namespace

int cPkcs12::checkSignerFilter(const char* signerFilter) const {
  int result = kCertificateNotFound;
  if (certificate_) {
    if (signerFilter != nullptr) logValue(kParam, "signerFilter", signerFilter);
    const bool unrestricted = signerFilter == nullptr || *signerFilter == '\0';
    if (unrestricted || anyAlternativeHolds(signerFilter)) result = kSuccess;
  }
  logInt(kDebug, "end cPkcs12::checkSignerFilter()", result);
  return result;
}

bool cPkcs12::anyAlternativeHolds(const char* signerFilter) const {
  const std::vector<std::string> alternatives = splitAlternatives(signerFilter);
  logInt(kDebug, "絛件數量"_big5, static_cast<int>(alternatives.size()));  // the odd first character is the known one
  const cX509 certificate(certificate_.get());
  const std::string subject = certificate.getSubjectOneLine();
  const std::string issuer = certificate.getIssuerOneLine();
  return std::any_of(alternatives.begin(), alternatives.end(), [&](const std::string& alternative) {
    return checkFilterByCertSubject(alternative, subject) && checkFilterByCertIssuer(alternative, issuer);
  });
}

bool cPkcs12::checkFilterByCertSubject(const std::string& filter, const std::string& subject) {
  return checkFilter(kSubjectSide, filter, subject);
}

bool cPkcs12::checkFilterByCertIssuer(const std::string& filter, const std::string& issuer) {
  return checkFilter(kIssuerSide, filter, issuer);
}

bool cPkcs12::checkFilter(const FilterSide& side, const std::string& filter, const std::string& name) {
  logValue(kParam, "絛件 filter"_big5, filter);
  logValue(kParam, "憑證主旨 subject"_big5, name);  // the issuer's name stands under this label too, on purpose
  const std::string prefix = side.prefix;
  const std::string wantedC = parseFilterName(filter, prefix + "C=");
  const Names wantedO = parseFilterNames(filter, prefix + "O=");
  const Names wantedOU = parseFilterNames(filter, prefix + "OU=");
  const std::string wantedCN = parseFilterName(filter, prefix + "CN=");
  const std::string nameC = parseCertDistingName(name, "C=");
  const Names nameO = parseCertDistingNames(name, "O=");
  const Names nameOU = parseCertDistingNames(name, "OU=");
  const std::string nameCN = parseCertDistingName(name, "CN=");

  const bool holds =
      (wantedC.empty() || wantedC == nameC || conditionMissing(prefix + "C", wantedC)) &&
      holdsAll(prefix + "O", wantedO, nameO) && holdsAll(prefix + "OU", wantedOU, nameOU) &&
      (wantedCN.empty() || side.commonNameHolds(nameCN, wantedCN) || conditionMissing(prefix + "CN", wantedCN));
  logBool(kDebug, side.endLabel, holds);
  return holds;
}

std::string cPkcs12::parseFilterName(const std::string& filter, const std::string& key) {
  return ValueReader{"cPkcs12::parseFilterName", ','}.first(filter, key);
}

cPkcs12::Names cPkcs12::parseFilterNames(const std::string& filter, const std::string& key) {
  return ValueReader{"cPkcs12::parseFilterNames", ','}.all(filter, key);
}

std::string cPkcs12::parseCertDistingName(const std::string& name, const std::string& key) {
  return ValueReader{"cPkcs12::parseCertDistingName", '/'}.first(name, key);
}

cPkcs12::Names cPkcs12::parseCertDistingNames(const std::string& name, const std::string& key) {
  return ValueReader{"cPkcs12::parseCertDistingNames", '/'}.all(name, key);
}

}  // namespace zepasign
