// The crypto library verifies a token only together with the path of its certificate. A callback lets every problem of
// the path pass except that the certificate is not made for time stamps; the path is judged afterwards, by the same
// rules as that of a signer.
#include "tools/files/timestamp_query.h"

#include <openssl/rand.h>
#include <openssl/ts.h>

#include <array>
#include <memory>
#include <nlohmann/json.hpp>
#include <stdexcept>

#include "tools/files/dercodec.h"
#include "tools/files/describe.h"
#include "tools/files/timestamp.h"
#include "tools/terminal/messages.h"

namespace zepasign::tools {
namespace {

using AlgorithmPtr = std::unique_ptr<X509_ALGOR, FreeWith<X509_ALGOR_free>>;
using ImprintPtr = std::unique_ptr<TS_MSG_IMPRINT, FreeWith<TS_MSG_IMPRINT_free>>;
using IntegerPtr = std::unique_ptr<ASN1_INTEGER, FreeWith<ASN1_INTEGER_free>>;
using TsReqPtr = std::unique_ptr<TS_REQ, FreeWith<TS_REQ_free>>;
using TsRespPtr = std::unique_ptr<TS_RESP, FreeWith<TS_RESP_free>>;
using TsVerifyPtr = std::unique_ptr<TS_VERIFY_CTX, FreeWith<TS_VERIFY_CTX_free>>;

constexpr std::size_t kNonceLength = 16;

void require(bool isDone) {
  if (!isDone) throw std::runtime_error(ErrorScope().firstText());
}

void setImprint(TS_REQ* query, std::string_view value) {
  std::array<unsigned char, EVP_MAX_MD_SIZE> digest{};
  unsigned length = 0;
  const AlgorithmPtr algorithm(X509_ALGOR_new());
  const ImprintPtr imprint(TS_MSG_IMPRINT_new());
  require(EVP_Digest(value.data(), value.size(), digest.data(), &length, EVP_sha256(), nullptr) == 1 && algorithm &&
          X509_ALGOR_set0(algorithm.get(), OBJ_nid2obj(NID_sha256), V_ASN1_NULL, nullptr) == 1 && imprint &&
          TS_MSG_IMPRINT_set_algo(imprint.get(), algorithm.get()) == 1 &&
          TS_MSG_IMPRINT_set_msg(imprint.get(), digest.data(), static_cast<int>(length)) == 1 &&
          TS_REQ_set_msg_imprint(query, imprint.get()) == 1);
}

void setNonce(TS_REQ* query) {
  std::array<unsigned char, kNonceLength> bytes{};
  require(RAND_bytes(bytes.data(), static_cast<int>(bytes.size())) == 1);
  const BigNumPtr number(BN_bin2bn(bytes.data(), static_cast<int>(bytes.size()), nullptr));
  const IntegerPtr nonce(BN_to_ASN1_INTEGER(number.get(), nullptr));
  require(nonce && TS_REQ_set_nonce(query, nonce.get()) == 1);
}

int passUnlessUnsuitable(int isGood, X509_STORE_CTX* context) {
  return isGood == 1 || X509_STORE_CTX_get_error(context) != X509_V_ERR_INVALID_PURPOSE ? 1 : 0;
}

// complete: adds to a verifier that the token's signature counts. The store is a new one, since it gets a callback.
bool complete(TS_VERIFY_CTX* verifier, const Trust& authorities) {
  X509StorePtr store(X509_STORE_new());
  if (verifier == nullptr || !store) return false;
  X509_STORE_set_verify_cb(store.get(), passUnlessUnsuitable);
  for (int i = 0; i < sk_X509_num(authorities.authorities()); ++i) {
    if (X509_STORE_add_cert(store.get(), sk_X509_value(authorities.authorities(), i)) != 1) return false;
  }
  TS_VERIFY_CTX_add_flags(verifier, TS_VFY_SIGNATURE);
  TS_VERIFY_CTX_set_store(verifier, store.release());
  return true;
}

// problemText: what the crypto library found. `details` are words of the authority or of the path.
std::string problemText() {
  const char* details = "";
  int flags = 0;
  unsigned long error = ERR_get_error_all(nullptr, nullptr, nullptr, &details, &flags);
  while (error != 0 && ERR_GET_LIB(error) != ERR_LIB_TS) {
    error = ERR_get_error_all(nullptr, nullptr, nullptr, &details, &flags);
  }
  switch (ERR_GET_REASON(error)) {
    case TS_R_NO_TIME_STAMP_TOKEN:
      return tr("the authority refuses: {0}"_m, {details});
    case TS_R_NONCE_MISMATCH:
    case TS_R_NONCE_NOT_RETURNED:
      return tr("the time stamp answers another query"_m);
    case TS_R_MESSAGE_IMPRINT_MISMATCH:
      return tr("the time stamp covers something else"_m);
    case TS_R_CERTIFICATE_VERIFY_ERROR:
      return tr("the authority's certificate is not made for time stamps"_m);
    default:
      return tr("the time stamp was changed, or is none"_m);
  }
}

// trustProblem: of the certificate of a valid token.
std::string trustProblem(PKCS7* token, const Trust& authorities) {
  X509* authority = authorityOf(token);
  if (X509_cmp_current_time(X509_get0_notAfter(authority)) < 0) return tr("the authority's certificate has expired"_m);
  Json report;
  const ChainQuestion::Purpose purpose = ChainQuestion::Purpose::kTimeStamping;
  const Finding finding = checkChain({authority, certificatesOf(token), authorities, {}, purpose}, report);
  return finding.reason.empty() ? "" : tr("the authority's certificate: {0}"_m, {finding.reason});
}

}  // namespace

std::string makeQuery(std::string_view value, Nonce nonce) {
  const ErrorScope errors;
  const TsReqPtr query(TS_REQ_new());
  require(query && TS_REQ_set_version(query.get(), 1) == 1 && TS_REQ_set_cert_req(query.get(), 1) == 1);
  setImprint(query.get(), value);
  if (nonce == Nonce::kRandom) setNonce(query.get());
  return toDer<i2d_TS_REQ>(query.get());
}

Reply readReply(const std::string& query, const std::string& reply, const Trust& authorities) {
  const ErrorScope errors;
  const auto asked = fromDer<d2i_TS_REQ, TsReqPtr>(query);
  const auto answer = fromDer<d2i_TS_RESP, TsRespPtr>(reply);
  if (!asked || !answer || toDer<i2d_TS_RESP>(answer.get()) != reply) {
    return {"", tr("the answer is no reply of a time-stamping authority"_m)};
  }
  const TsVerifyPtr verifier(TS_REQ_to_TS_VERIFY_CTX(asked.get(), nullptr));
  if (!complete(verifier.get(), authorities) || TS_RESP_verify_response(verifier.get(), answer.get()) != 1) {
    return {"", problemText()};
  }
  PKCS7* token = TS_RESP_get_token(answer.get());
  const std::string problem = trustProblem(token, authorities);
  return problem.empty() ? Reply{toDer<i2d_PKCS7>(token), ""} : Reply{"", problem};
}

std::string tokenProblem(PKCS7* token, std::string_view value, const Trust& authorities) {
  const ErrorScope errors;
  const TsVerifyPtr verifier(TS_VERIFY_CTX_new());
  BioPtr data(BIO_new_mem_buf(value.data(), static_cast<int>(value.size())));
  if (!complete(verifier.get(), authorities) || !data) return problemText();
  TS_VERIFY_CTX_add_flags(verifier.get(), TS_VFY_VERSION | TS_VFY_DATA | TS_VFY_SIGNER);
  TS_VERIFY_CTX_set_data(verifier.get(), data.release());
  return TS_RESP_verify_token(verifier.get(), token) == 1 ? "" : problemText();
}

}  // namespace zepasign::tools
