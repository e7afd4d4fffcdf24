// Files with signatures as "zepasign sign" writes them: their names, and whether one is complete.
#ifndef ZEPASIGN_TOOLS_FILES_SIGNATUREFILE_H_
#define ZEPASIGN_TOOLS_FILES_SIGNATUREFILE_H_

#include <string>

namespace zepasign::tools {

// SignatureForm: how a signature is written: the Base64 text that the library gives and a line end, the DER structure,
// or PEM (RFC 7468).
enum class SignatureForm { kBase64, kDer, kPem };

// signatureExtension: what follows the name of the signed file in the name of its signature.
[[nodiscard]] const char* signatureExtension(SignatureForm form);
// hasSignatureName: whether the name is one of a signature in any form, or of a temporary file of one.
[[nodiscard]] bool hasSignatureName(const std::string& path);
// isSignatureName: the same for complete signatures alone.
[[nodiscard]] bool isSignatureName(const std::string& path);

// encodeSignature: the bytes of the file, from the text that the library gives.
[[nodiscard]] std::string encodeSignature(const std::string& base64Text, SignatureForm form);

// withDer: the bytes of a signature file with another DER encoding in the place of its own, in the same form: DER,
// Base64 with lines of the same length and the same white space around it, or PEM, of which everything outside the
// boundaries stays. Of a file that is none of these, something that cannot be read as a signature.
[[nodiscard]] std::string withDer(const std::string& file, const std::string& der);

// isSignatureFile: whether the file has the beginning of a PKCS#7 signature in this form and exactly the size that the
// beginning tells. It reads no more than that, so it neither finds a byte that was changed nor verifies anything.
[[nodiscard]] bool isSignatureFile(const std::string& path, SignatureForm form);

}  // namespace zepasign::tools

#endif  // ZEPASIGN_TOOLS_FILES_SIGNATUREFILE_H_
