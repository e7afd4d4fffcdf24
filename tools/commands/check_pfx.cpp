// The doctor's look at the signer: the password in its three forms, the PFX, the certificate and the filter.
#include <algorithm>
#include <regex>

#include "base/cleanse.h"
#include "base/errors.h"
#include "base/propertykeys.h"
#include "pki/cpkcs12.h"
#include "pki/cx509.h"
#include "pki/pfxpassword.h"
#include "tools/commands/check.h"
#include "tools/files/describe.h"
#include "tools/terminal/system.h"

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

// whyClosed: what to say of a PFX that openPfx refused.
Message whyClosed(PKCS12* pfx, const std::string& password) {
  const ErrorQueueMark mark;
  if (macIterations(pfx) > kMaxMacIterations) {
    return "checking the password of {0} would take too long (5208): export the PFX again"_m;
  }
  return PKCS12_verify_mac(pfx, password.c_str(), -1) == 1
             ? "the password of {0} is right, but it is damaged or needs OpenSSL's legacy provider (5208)"_m
             : "the password does not open {0}, or it is damaged (5208)"_m;
}

}  // namespace

// findPassword: false when there is none to go on with.
bool ConfigCheck::findPassword(std::string& password) {
  const std::string license = properties_.value(keys::kLicense);
  if (license.empty()) {
    error(keys::kLicense, "missing, so initialisation fails (5005), even with PFX.pswd: write 64 hexadecimal digits"_m);
    return false;
  }
  std::string value;
  const CleanseOnExit wipe(value);
  switch (findPasswordForm(settings_, value)) {
    case PasswordForm::kCallers:
      if (!properties_.value(keys::kPfxPassword).empty() || !properties_.value(keys::kPfxPasswordB64).empty()) {
        warn(keys::kAuthKey, "PFX.pswd and PFX.pswdB64 are ignored beside it"_m);
      }
      if (!enced_.empty()) return decryptPassword(keys::kAuthKey, license, password);
      error(keys::kAuthKey, "the property file has PSWD.authKey: give the encrypted password with --enced-file"_m);
      return false;
    case PasswordForm::kPlain:
      warn(keys::kPfxPassword, "the password stands here in plain: use PFX.pswdB64 (zepasign passwd --stored)"_m);
      password.assign(value);
      return true;
    case PasswordForm::kStored:
      return decryptPassword(keys::kPfxPasswordB64, license, password);
    default:
      error(keys::kPfxPasswordB64, "no password: set PFX.pswdB64 (zepasign passwd --stored) or PSWD.authKey (5005)"_m);
      return false;
  }
}

bool ConfigCheck::decryptPassword(const std::string& key, const std::string& license, std::string& password) {
  const int code = resolvePfxPassword(settings_, enced_.c_str(), password);
  if (code == kSuccess && !password.empty()) return true;
  if (!isPasswordKey(license)) {
    error(keys::kLicense, "is no key: write 64 hexadecimal digits (5005, 5208)"_m);
  } else {
    error(key, "the encrypted password was not made with these keys (5005): make it anew (zepasign passwd)"_m);
  }
  return false;
}

void ConfigCheck::examinePfx() {
  std::string password;
  const CleanseOnExit wipe(password);
  const bool hasPassword = findPassword(password);
  for (const char* key : {keys::kPfxPath, keys::kPfxFile}) {
    if (properties_.value(key).empty()) return error(key, "missing, so initialisation fails (5005)"_m);
  }
  const std::string path = properties_.value(keys::kPfxPath) + "/" + properties_.value(keys::kPfxFile);
  CryptoFile file;
  if (!readNamedFile(path, file))
    return error(keys::kPfxFile, "{0} cannot be read (1102): check folder, name and rights"_m, {toUtf8(path)});
  if (!file.pfx || !file.isDer) return error(keys::kPfxFile, "{0} is no PFX in DER form (1102)"_m, {toUtf8(path)});
  if (!hasPassword) return;
  PfxContent content;
  if (!openPfx(file.pfx.get(), password, content)) {
    return error(keys::kPfxFile, whyClosed(file.pfx.get(), password), {toUtf8(path)});
  }
  if (!content.key || !content.certificate) {
    return error(keys::kPfxFile, "{0} holds no private key or no certificate to it (5208)"_m, {toUtf8(path)});
  }
  pfxOpened_ = true;
  pfxHasChain_ = sk_X509_num(content.others.get()) > 0;
  signerIssuerKeyId_ = cX509(content.certificate.get()).getAuthorityKeyId();
  examineSigner(content.certificate.get());
  examineFilter(content.certificate.get(), password);
}

void ConfigCheck::examineSigner(X509* certificate) {
  constexpr int kSoon = 30;
  const std::string name = nameText(X509_get_subject_name(certificate));
  const int days = daysUntil(X509_get0_notAfter(certificate));
  const std::string count = std::to_string(days);
  if (X509_cmp_current_time(X509_get0_notBefore(certificate)) > 0) {
    error(keys::kPfxFile, "the signer {0} is not yet valid"_m, {name});
  } else if (days < 0) {
    error(keys::kPfxFile, "the signer {0} has expired: signatures are made but receivers refuse them"_m, {name});
  } else if (days <= kSoon) {
    warn(keys::kPfxFile, "the signer {0} expires in {1} days: order a new certificate"_m, {name, count});
  } else {
    good(keys::kPfxFile, "the signer is {0}, {1} days until it expires"_m, {name, count});
  }
  unsigned usage = 0;
  cX509(certificate).getKeyUsage(usage);
  if ((usage & (kDigitalSignature | kNonRepudiation)) == 0) {
    warn(keys::kPfxFile, "the certificate's key usage does not name signatures"_m);
  }
}

// examineConditions: what the library does not know as a condition it takes for one that holds.
void ConfigCheck::examineConditions(const std::string& alternative) {
  static const std::regex known("[SI]_(CN?=.|OU?=)");
  for (const std::string& item : split(alternative, ",")) {
    if (std::regex_search(item, known)) continue;
    warn(keys::kSignerFilter,
         R"("{0}" is no condition, so it holds for every signer: write S_ or I_, C, O, OU or CN, and =)"_m,
         {toUtf8(item)});
  }
}

void ConfigCheck::examineFilter(X509* certificate, const std::string& password) {
  const std::string filter = properties_.value(keys::kSignerFilter);
  if (filter.empty()) return;
  const std::vector<std::string> parts = split(filter, "//");  // the first and the last stand outside the marks
  if (parts.size() < 3) {
    return error(keys::kSignerFilter, R"(no condition between two "//" marks, so nobody may sign (5010))"_m);
  }
  std::for_each(parts.begin() + 1, parts.end() - 1, [this](const std::string& each) { examineConditions(each); });
  cPkcs12 credential;
  const int loaded = credential.loadPfxFile(properties_.value(keys::kPfxPath).c_str(),
                                            properties_.value(keys::kPfxFile).c_str(), password.c_str());
  if (loaded == kSuccess && credential.checkSignerFilter(filter.c_str()) == kSuccess) {
    return good(keys::kSignerFilter, "the signer satisfies it"_m);
  }
  const cX509 fields(certificate);
  error(keys::kSignerFilter, "the signer does not satisfy it (5010); subject {0}, issuer {1}"_m,
        {toUtf8(fields.getSubjectOneLine()), toUtf8(fields.getIssuerOneLine())});
}

}  // namespace zepasign::tools
