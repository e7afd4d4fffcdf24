// ZEPASignDLL for Node.js (koffi): signs texts, bytes and files.
//
//   const signer = require('./signer');
//   signer.initialize('app.properties');
//   console.log(signer.signFile('document.pdf').base64);
//
// The library holds one signer for the whole process and has no lock. Here every call signs and reads the result without
// giving way to other code, so the main thread needs none; worker threads would share the signer and are refused.
'use strict';
const {X509Certificate} = require('node:crypto');
const fs = require('node:fs');
const path = require('node:path');
const {isMainThread} = require('node:worker_threads');
const koffi = require('koffi');

if (!isMainThread) throw new Error('ZEPASignDLL has one signer per process: load it in the main thread only');

const MAX_LENGTH = 2 ** 31 - 1; // the library's lengths have 32 bits
const PROPERTY_FILE_UNREADABLE = 1202;
const QUERIES = {
  base64: 'GetSignerCertB64',
  subjectCN: 'GetSignerCertSubjectCN', // always empty with OpenSSL 3; commonName has the name
  subject: 'GetSignerCertSubject', // bytes beyond ASCII read \xE9, as in issuer
  issuer: 'GetSignerCertIssuer',
  notBefore: 'GetSignerCertNotBefore', // YYYYMMDDhhmmss in UTC+8
  notAfter: 'GetSignerCertNotAfter',
  serial: 'GetSignerCertSerial',
  fingerprint: 'GetSignerCertFinger',
};

const windows = process.platform === 'win32';
const library = koffi.load(windows ? 'ZEPASignDLL.dll' : 'libZEPASignDLL.so.2');
// Texts go to the library and come back as bytes, since their encoding is Big5.
const texts = Object.fromEntries(
  ['GetPkiVersion', 'GetErrorMsg', 'GetSignedPkcs7', ...Object.values(QUERIES)].map(
    (name) => [name, library.func(`uint8_t* ${name}()`)]));
const functions = {
  GetErrorCode: library.func('int GetErrorCode()'),
  MakeZEPASignPasswd: library.func(
    'int MakeZEPASignPasswd(uint8_t* outBuf, _Inout_ int* outLen, const uint8_t* propertyFile, const uint8_t* passwd)'),
  ZEPASignInitial: library.func('bool ZEPASignInitial(const uint8_t* propertyFile, const uint8_t* encedPfxPasswd)'),
  SignPkcs7: library.func('int SignPkcs7(const uint8_t* text, const uint8_t* encoding)'),
  SignPkcs7Bin: library.func('int SignPkcs7Bin(const uint8_t* data, int dataLen)'),
  SignPkcs7File: library.func('int SignPkcs7File(const uint8_t* fileName)'),
};
const big5 = new TextDecoder('big5');

// A call that failed: its function, and the library's code and message. The log tells the cause.
class SignerError extends Error {
  constructor(functionName, code, reason) {
    super(`${functionName} failed with ${code}: ${reason}`);
    this.name = 'SignerError';
    Object.assign(this, {functionName, code, reason});
  }
}

// The signer's certificate, with the fields of QUERIES.
class Certificate {
  // The signer's name with its Chinese characters.
  get commonName() {
    return new X509Certificate(Buffer.from(this.base64, 'base64')).toLegacyObject().subject.CN ?? '';
  }
}

function version() {
  return readText('GetPkiVersion');
}

// Loads the settings and the PFX. With PSWD.authKey in the property file, the encrypted password comes from encedFile
// or, without one, from the service manager's credential "enced".
function initialize(propertyFile, encedFile = credentialFile()) {
  const enced = encedFile === null ? null : terminated(fs.readFileSync(encedFile, 'latin1').trim());
  check(functions.ZEPASignInitial(nativePath(propertyFile), enced), 'ZEPASignInitial');
}

// Signs a text in `encoding`, "BIG5" or "UTF-16LE". Throws a RangeError for a character that Big5 lacks; such a text can
// be signed as bytes: signBytes(Buffer.from(text, 'utf16le')).
function signText(text, encoding = 'BIG5') {
  return sign('SignPkcs7', terminated(toBig5(text)), terminated(encoding));
}

// Signs a Buffer or Uint8Array.
function signBytes(data) {
  if (data.length > MAX_LENGTH) throw new RangeError('more than 2147483647 bytes');
  return sign('SignPkcs7Bin', data, data.length);
}

function signFile(fileName) {
  return sign('SignPkcs7File', nativePath(fileName));
}

// The encrypted form of the PFX password, for the file that initialize() reads. In a process that never initializes,
// the library's log lines go to the standard output when the process ends.
function encryptPassword(propertyFile, password) {
  const length = [0];
  const make = (out) =>
    functions.MakeZEPASignPasswd(out, length, nativePath(propertyFile), terminated(password));
  let code = make(null); // asks for the length
  if (code === 0 && length[0] === 0) code = PROPERTY_FILE_UNREADABLE; // the library returns 0 here
  const enced = Buffer.alloc(length[0]);
  code ||= make(enced);
  if (code !== 0) throw new SignerError('MakeZEPASignPasswd', code, 'see the log');
  return enced.toString('latin1');
}

function sign(name, ...args) {
  check(functions[name](...args) === 0, name);
  const certificate = new Certificate();
  for (const [field, query] of Object.entries(QUERIES)) certificate[field] = readText(query);
  return {base64: readText('GetSignedPkcs7'), certificate};
}

function check(succeeded, name) {
  if (!succeeded) throw new SignerError(name, functions.GetErrorCode(), readText('GetErrorMsg'));
}

function readText(name) {
  return big5.decode(Uint8Array.from(koffi.decode(texts[name](), 'uint8_t', -1))); // -1: up to the NUL
}

// Node.js decodes Big5 but does not encode it, so the encoder is the decoder's table turned round.
let codes = null;
function toBig5(text) {
  codes ??= big5Codes();
  return Buffer.concat(Array.from(text, (character) => {
    if (character < '\x80') return Buffer.from(character);
    const code = codes.get(character);
    if (code === undefined) throw new RangeError(`Big5 lacks the character ${character} of the text`);
    return code;
  }));
}

function big5Codes() {
  const found = new Map();
  for (let lead = 0xa1; lead <= 0xf9; ++lead) {
    for (let trail = 0x40; trail <= 0xfe; ++trail) {
      const code = Buffer.from([lead, trail]);
      const character = big5.decode(code);
      const isOne = character.length === 1 && character !== '\ufffd';
      if (isOne && !found.has(character)) found.set(character, code);
    }
  }
  return found;
}

function nativePath(name) {
  return terminated(windows ? toBig5(name) : name); // on Windows the process's code page, here 950
}

function terminated(value) {
  const bytes = Buffer.from(value);
  if (bytes.includes(0)) throw new TypeError('a text for the library holds a NUL');
  return Buffer.concat([bytes, Buffer.of(0)]);
}

function credentialFile() {
  const file = path.join(process.env.CREDENTIALS_DIRECTORY ?? '', 'enced');
  return process.env.CREDENTIALS_DIRECTORY !== undefined && fs.existsSync(file) ? file : null;
}

module.exports = {
  Certificate, SignerError, encryptPassword, initialize, signBytes, signFile, signText, version,
};
