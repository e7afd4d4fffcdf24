#include "tools/files/timestamp.h"

#include <algorithm>
#include <nlohmann/json.hpp>

#include "pki/cx509.h"
#include "tools/files/dercodec.h"
#include "tools/files/describe.h"

namespace zepasign::tools {
namespace {

constexpr int kAttribute = NID_id_smime_aa_timeStampToken;

using AttributeStringPtr = std::unique_ptr<ASN1_STRING, FreeWith<ASN1_STRING_free>>;

// tokenIn: the first token of a signer; null when there is none.
Pkcs7Ptr tokenIn(const PKCS7_SIGNER_INFO* signer) {
  const ASN1_TYPE* value = PKCS7_get_attribute(signer, kAttribute);
  if (value == nullptr || value->type != V_ASN1_SEQUENCE) return nullptr;
  const auto* bytes = reinterpret_cast<const char*>(ASN1_STRING_get0_data(value->value.sequence));
  auto token = fromDer<d2i_PKCS7, Pkcs7Ptr>(
      std::string(bytes, static_cast<std::size_t>(ASN1_STRING_length(value->value.sequence))));
  return token && PKCS7_type_is_signed(token.get()) ? std::move(token) : nullptr;
}

// tokenCount: how many tokens, readable or not, stand side by side in a signer, in one attribute or in several.
int tokenCount(const PKCS7_SIGNER_INFO* signer) {
  int count = 0;
  int at = -1;
  while ((at = X509at_get_attr_by_NID(signer->unauth_attr, kAttribute, at)) >= 0) {
    count += X509_ATTRIBUTE_count(sk_X509_ATTRIBUTE_value(signer->unauth_attr, at));
  }
  return count;
}

// setToken: in place of the one that is there.
bool setToken(PKCS7_SIGNER_INFO* signer, const std::string& token) {
  AttributeStringPtr value(ASN1_STRING_type_new(V_ASN1_SEQUENCE));
  if (!value || ASN1_STRING_set(value.get(), token.data(), static_cast<int>(token.size())) != 1 ||
      PKCS7_add_attribute(signer, kAttribute, V_ASN1_SEQUENCE, value.get()) != 1) {
    return false;
  }
  static_cast<void>(value.release());  // the signer owns it
  return true;
}

std::string objectText(const ASN1_OBJECT* object) {
  char text[80] = "";
  OBJ_obj2txt(text, sizeof text, object, 0);
  return text;
}

}  // namespace

std::string_view signatureValueOf(const PKCS7_SIGNER_INFO* signer) {
  const ASN1_OCTET_STRING* value = signer->enc_digest;
  return {reinterpret_cast<const char*>(ASN1_STRING_get0_data(value)),
          static_cast<std::size_t>(ASN1_STRING_length(value))};
}

PKCS7_SIGNER_INFO* onlySigner(const PKCS7* signedData) {
  STACK_OF(PKCS7_SIGNER_INFO)* signers = signersOf(signedData);
  return sk_PKCS7_SIGNER_INFO_num(signers) == 1 ? sk_PKCS7_SIGNER_INFO_value(signers, 0) : nullptr;
}

std::vector<Pkcs7Ptr> tokensOf(const PKCS7_SIGNER_INFO* signer) {
  std::vector<Pkcs7Ptr> tokens;
  while (signer != nullptr && tokens.size() < kMaxTokens) {
    Pkcs7Ptr token = tokenIn(signer);
    if (!token) break;
    signer = onlySigner(token.get());
    tokens.push_back(std::move(token));
  }
  return tokens;
}

bool hasUnreadableToken(const PKCS7_SIGNER_INFO* signer) {
  const std::vector<Pkcs7Ptr> tokens = tokensOf(signer);
  const PKCS7_SIGNER_INFO* last = tokens.empty() ? signer : onlySigner(tokens.back().get());
  return last != nullptr && tokens.size() < kMaxTokens && tokenCount(last) > 0;
}

std::string valueToStamp(const PKCS7* signedData) {
  const PKCS7_SIGNER_INFO* signer = onlySigner(signedData);
  const std::vector<Pkcs7Ptr> tokens = signer == nullptr ? std::vector<Pkcs7Ptr>() : tokensOf(signer);
  if (!tokens.empty()) signer = onlySigner(tokens.back().get());
  return signer == nullptr ? "" : std::string(signatureValueOf(signer));
}

X509* authorityOf(PKCS7* token) {
  const X509StackPtr signers(PKCS7_get0_signers(token, nullptr, 0));
  return sk_X509_num(signers.get()) == 1 ? sk_X509_value(signers.get(), 0) : nullptr;
}

bool takesToken(const PKCS7* signedData) {
  const PKCS7_SIGNER_INFO* signer = onlySigner(signedData);
  const std::vector<Pkcs7Ptr> tokens = signer == nullptr ? std::vector<Pkcs7Ptr>() : tokensOf(signer);
  for (const Pkcs7Ptr& token : tokens) {
    if (tokenCount(signer) != 1) return false;
    signer = onlySigner(token.get());
    if (signer == nullptr) return false;
  }
  return signer != nullptr && tokens.size() < kMaxTokens && tokenCount(signer) == 0;
}

// From the last token outwards, since each one is part of the encoding of the one before.
bool addToken(PKCS7* signedData, std::string token) {
  if (!takesToken(signedData)) return false;
  PKCS7_SIGNER_INFO* signer = onlySigner(signedData);
  std::vector<Pkcs7Ptr> tokens = tokensOf(signer);
  std::reverse(tokens.begin(), tokens.end());
  for (const Pkcs7Ptr& each : tokens) {
    if (!setToken(onlySigner(each.get()), token)) return false;
    token = toDer<i2d_PKCS7>(each.get());
  }
  return setToken(signer, token);
}

Json describeToken(PKCS7* token) {
  const ErrorScope errors;
  const TstInfoPtr info(PKCS7_to_TS_TST_INFO(token));
  X509* authority = authorityOf(token);
  if (!info) return {{"time", nullptr}};
  const ASN1_OBJECT* digest = nullptr;
  X509_ALGOR_get0(&digest, nullptr, nullptr, TS_MSG_IMPRINT_get_algo(TS_TST_INFO_get_msg_imprint(info.get())));
  return {{"time", timeText(TS_TST_INFO_get_time(info.get()))},
          {"authority", authority == nullptr ? Json() : Json(nameText(X509_get_subject_name(authority)))},
          {"notAfter", authority == nullptr ? Json() : timeText(X509_get0_notAfter(authority))},
          {"policy", objectText(TS_TST_INFO_get_policy_id(info.get()))},
          {"digest", objectText(digest)},
          {"serial", serialToText(TS_TST_INFO_get_serial(info.get()))}};
}

}  // namespace zepasign::tools
