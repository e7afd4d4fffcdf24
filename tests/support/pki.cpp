#include "tests/support/pki.h"

#include "demo/handles.h"

namespace zepasign::testing {

SignatureFacts factsOf(const std::string& der) {
  const Pkcs7Ptr pkcs7(decode<d2i_PKCS7>(der));
  must(PKCS7_type_is_signed(pkcs7.get()), "signed data");
  const PKCS7_SIGNED* body = pkcs7->d.sign;
  const PKCS7_SIGNER_INFO* signer = must(sk_PKCS7_SIGNER_INFO_value(body->signer_info, 0), "signer");
  SignatureFacts facts{.digest = OBJ_nid2sn(OBJ_obj2nid(signer->digest_alg->algorithm)),
                       .detached = PKCS7_get_detached(pkcs7.get()) != 0};
  for (int i = 0; i < sk_X509_num(body->cert); ++i) {
    facts.certificates.push_back(encode<i2d_X509>(sk_X509_value(body->cert, i)));
  }
  for (int i = 0; i < sk_X509_ATTRIBUTE_num(signer->auth_attr); ++i) {
    X509_ATTRIBUTE* attribute = sk_X509_ATTRIBUTE_value(signer->auth_attr, i);
    facts.attributes.emplace_back(OBJ_nid2sn(OBJ_obj2nid(X509_ATTRIBUTE_get0_object(attribute))));
  }
  return facts;
}

}  // namespace zepasign::testing
