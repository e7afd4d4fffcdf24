// ConfigCheck on the signer: the password in its forms, the PFX, its certificate and the filter. cPkcs12 decides
// whether they are right; the content of the file then tells why not.
#include <algorithm>
#include <regex>

#include "base/cleanse.h"
#include "base/errors.h"
#include "base/propertykeys.h"
#include "pki/cx509.h"
#include "pki/pfxpassword.h"
#include "tools/commands/check.h"
#include "tools/files/describe.h"
#include "tools/files/paths.h"
#include "tools/terminal/access.h"
#include "tools/terminal/encoding.h"

namespace zepasign::tools {
namespace {

std::vector<std::string> split(const std::string& text, const std::string& mark) {
  std::vector<std::string> parts;
  for (std::size_t at = 0, end = 0; end != std::string::npos; at = end + mark.size()) {
    end = text.find(mark, at);
    parts.push_back(text.substr(at, end - at));
  }
  return parts;
}

// whyPfxUnreadable: what to say of a PFX for which the library gives 1102.
const FindingKind& whyPfxUnreadable(const std::string& path) {
  switch (fileAccess(path)) {
    case FileAccess::kMissing:
      return "pfx-missing"_finding;
    case FileAccess::kForbidden:
      return "pfx-forbidden"_finding;
    case FileAccess::kIrregular:
      return "pfx-irregular"_finding;
    case FileAccess::kReadable:
      break;
  }
  const FoundFile found(path);
  if (found.file.pfx) return "pfx-is-base64"_finding;
  return found.isPem ? "pfx-is-pem"_finding : "pfx-is-other"_finding;
}

// whyClosed: what to say of a PFX for which the library gives 5208.
const FindingKind& whyClosed(const std::string& path, const std::string& password) {
  const ErrorScope errors;
  const FoundFile found(path);
  if (!found.file.pfx) return "pfx-damaged"_finding;
  PKCS12* pfx = found.file.pfx.get();
  if (PKCS12_mac_present(pfx) == 0) return "pfx-without-mac"_finding;
  if (macIterations(pfx) > kMaxMacIterations) return "pfx-iterations"_finding;
  PfxContent content;
  if (openPfx(pfx, password, content)) return "pfx-without-key"_finding;
  return PKCS12_verify_mac(pfx, password.c_str(), -1) == 1 ? "pfx-damaged"_finding : "pfx-password-wrong"_finding;
}

}  // namespace

void ConfigCheck::examineFiles() {
  std::string password;
  const CleanseOnExit wipe(password);
  const bool hasPassword = findPassword(password);
  for (const char* key : {keys::kPfxPath, keys::kPfxFile}) {
    if (!has(key)) add("pfx-setting-missing"_finding, key);
  }
  examinePfx(password, hasPassword);
  if (credential_.certificate() != nullptr) {
    examineSigner();
    examineFilter();
  }
  examineChains();
}

// findPassword: false when there is none to go on with.
bool ConfigCheck::findPassword(std::string& password) {
  if (!examineLicense()) return false;
  const std::string file = fromTerminal(input_.propertyFile);
  std::string secret;
  const CleanseOnExit wipe(secret);
  switch (findPasswordForm(input_.settings, secret)) {
    case PasswordForm::kCallers:
      if (has(keys::kPfxPassword) || has(keys::kPfxPasswordB64)) add("password-ignored"_finding, keys::kAuthKey);
      if (!input_.enced.empty()) return decryptPassword("password-given-wrong"_finding, keys::kAuthKey, password);
      add("password-not-given"_finding, keys::kAuthKey, {file});
      return false;
    case PasswordForm::kPlain:
      add("password-plain"_finding, keys::kPfxPassword, {file});
      password.assign(secret);
      return true;
    case PasswordForm::kStored:
      return decryptPassword("password-stored-wrong"_finding, keys::kPfxPasswordB64, password);
    case PasswordForm::kFile:
      if (resolvePfxPassword(input_.settings, nullptr, password) == kSuccess) return true;
      add("password-file-wrong"_finding, keys::kPfxPasswordFile);
      return false;
    default:
      add("password-missing"_finding, keys::kPfxPasswordB64, {file});
      return false;
  }
}

bool ConfigCheck::decryptPassword(const FindingKind& whenWrong, const std::string& key, std::string& password) {
  const int code = resolvePfxPassword(input_.settings, input_.enced.c_str(), password);
  if (code == kSuccess && !password.empty()) return true;
  std::string license = value(keys::kLicense);
  const CleanseOnExit wipe(license);
  if (isPasswordKey(license)) add(whenWrong, key, {fromTerminal(input_.propertyFile)});
  return false;
}

// examineLicense: false when it is missing. The plain form of the password needs any value, not a valid key.
bool ConfigCheck::examineLicense() {
  constexpr std::size_t kDigits = 64;
  std::string license = value(keys::kLicense);
  const CleanseOnExit wipe(license);
  if (license.empty()) {
    add("license-missing"_finding, keys::kLicense);
    return false;
  }
  if (!isPasswordKey(license)) add("license-short"_finding, keys::kLicense);
  if (license.find_first_not_of("0123456789ABCDEFabcdef") != std::string::npos)
    add("license-not-hex"_finding, keys::kLicense);
  if (license.size() > kDigits) add("license-long"_finding, keys::kLicense, {std::to_string(license.size())});
  return true;
}

void ConfigCheck::examinePfx(const std::string& password, bool hasPassword) {
  if (!has(keys::kPfxPath) || !has(keys::kPfxFile)) return;
  const std::string path = cPkcs12::pathOf(value(keys::kPfxPath), value(keys::kPfxFile));
  if (isOpenToOthers(path)) add("permissions-open"_finding, keys::kPfxFile, {toUtf8(path)});
  // Without a password the library's class still tells a file that cannot be read from one that can.
  const int code = credential_.loadPfxFile(value(keys::kPfxPath).c_str(), value(keys::kPfxFile).c_str(),
                                           hasPassword ? password.c_str() : "?");
  if (code == kPfxFileUnreadable) {
    const FindingKind& kind = whyPfxUnreadable(path);
    const std::vector<std::string> missing = missingParts(path);
    add(kind, keys::kPfxFile, {toUtf8(missing.empty() ? path : missing.front())});
  } else if (code != kSuccess && hasPassword) {
    add(whyClosed(path, password), keys::kPfxFile, {toUtf8(path)});
  }
}

void ConfigCheck::examineSigner() {
  const X509* certificate = credential_.certificate();
  const std::string name = nameText(X509_get_subject_name(certificate));
  const int days = daysUntil(X509_get0_notAfter(certificate));
  if (X509_cmp_current_time(X509_get0_notBefore(certificate)) > 0) {
    add("signer-not-yet-valid"_finding, keys::kPfxFile, {name}, {.days = daysUntil(X509_get0_notBefore(certificate))});
  } else if (days < 0) {
    add("signer-expired"_finding, keys::kPfxFile, {name}, {.days = days});
  } else if (days <= input_.warnDays) {
    add("signer-expires-soon"_finding, keys::kPfxFile, {name, std::to_string(days)}, {.days = days});
  } else {
    add("signer-good"_finding, keys::kPfxFile, {name, std::to_string(days)}, {.days = days});
  }
  if (credential_.checkKeyUsageForSign() != kSuccess) add("signer-key-usage"_finding, keys::kPfxFile);
  constexpr int kSafeBits = 112;  // of security, which RSA keys have from 2048 bits on
  const EVP_PKEY* key = credential_.privateKey();
  if (EVP_PKEY_get_security_bits(key) < kSafeBits) add("key-weak"_finding, keys::kPfxFile, {keyText(key)});
}

// explainUnsigned: the digest has a finding of its own; if it is right, the key is of a kind that does not sign.
void ConfigCheck::explainUnsigned(int code) {
  const bool isDigestRight = cryptoContext.digest(value(keys::kDigest)) != nullptr;
  const EVP_PKEY* key = credential_.privateKey();
  if (code != kSigningFailed || key == nullptr || !isDigestRight) return;
  add("key-unsupported"_finding, keys::kPfxFile, {keyText(key)});
}

void ConfigCheck::examineFilter() {
  const std::string filter = value(keys::kSignerFilter);
  if (filter.empty()) return;
  const std::vector<std::string> parts = split(filter, "//");  // the first and the last are outside the marks
  if (parts.size() < 3) return add("filter-without-conditions"_finding, keys::kSignerFilter);
  for (const std::string& outside : {parts.front(), parts.back()}) {
    if (!outside.empty()) add("filter-unclosed"_finding, keys::kSignerFilter, {toUtf8(outside)});
  }
  std::for_each(parts.begin() + 1, parts.end() - 1, [this](const std::string& each) { examineConditions(each); });
  if (credential_.checkSignerFilter(filter.c_str()) == kSuccess) return add("filter-good"_finding, keys::kSignerFilter);
  const cX509 fields(credential_.certificate());
  add("filter-refuses"_finding, keys::kSignerFilter,
      {toUtf8(fields.getSubjectOneLine()), toUtf8(fields.getIssuerOneLine())});
}

// examineConditions: the library ignores what it does not know as a condition, so every signer satisfies it.
void ConfigCheck::examineConditions(const std::string& alternative) {
  static const std::regex known("[SI]_(CN?=.|OU?=)");
  for (const std::string& item : split(alternative, ",")) {
    if (!std::regex_search(item, known)) add("filter-unknown-condition"_finding, keys::kSignerFilter, {toUtf8(item)});
  }
}

}  // namespace zepasign::tools
