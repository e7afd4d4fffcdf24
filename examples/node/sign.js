// Signs one file from Node.js (koffi):
//
//   npm install && node sign.js PROPERTY-FILE FILE
//
// Prints the signature in Base64 and the signer's certificate, or the function that failed, its code and its message.
'use strict';
const koffi = require('koffi');

const library = koffi.load(process.platform === 'win32' ? 'ZEPASignDLL.dll' : 'libZEPASignDLL.so.2');
const ZEPASignInitial = library.func('bool ZEPASignInitial(const char* propertyFile, const char* encedPfxPasswd)');
const SignPkcs7File = library.func('int SignPkcs7File(const char* fileName)');
const GetErrorCode = library.func('int GetErrorCode()');

// text: a text of the library. Its bytes are Big5, so it is taken as bytes up to the NUL, not as a string.
const big5 = new TextDecoder('big5');
function text(name) {
  const bytes = library.func(`uint8_t* ${name}()`)();
  return big5.decode(Uint8Array.from(koffi.decode(bytes, 'uint8_t', -1)));
}

function check(good, name) {
  if (good) return;
  console.error(`${name} failed with ${GetErrorCode()}: ${text('GetErrorMsg')}`);
  process.exit(1);
}

const [properties, file] = process.argv.slice(2);
if (file === undefined) {
  console.error('usage: node sign.js PROPERTY-FILE FILE');
  process.exit(2);
}
// The second argument is needed only when the property file has a PSWD.authKey.
check(ZEPASignInitial(properties, null), 'ZEPASignInitial');
check(SignPkcs7File(file) === 0, 'SignPkcs7File');

console.log(text('GetSignedPkcs7'));
console.log(`subject=${text('GetSignerCertSubject')}`);
console.log(`issuer=${text('GetSignerCertIssuer')}`);
console.log(`serial=${text('GetSignerCertSerial')}`);
console.log(`notBefore=${text('GetSignerCertNotBefore')}`);
console.log(`notAfter=${text('GetSignerCertNotAfter')}`);
console.log(`fingerprint=${text('GetSignerCertFinger')}`);
