// Signs a file, and a text when one is given:  node main.js PROPERTY-FILE FILE [TEXT]
//
// node main.js --encrypt PROPERTY-FILE FILE reads the PFX password from the standard input and writes its encrypted form
// to FILE.
'use strict';
const fs = require('node:fs');
const signer = require('./signer');

function encrypt(propertyFile, file) {
  const [password] = fs.readFileSync(0, 'utf8').split(/\r?\n/);
  fs.writeFileSync(file, signer.encryptPassword(propertyFile, password));
}

function sign(propertyFile, file, text) {
  signer.initialize(propertyFile);
  const {base64, certificate} = signer.signFile(file);
  console.log(base64);
  if (text !== undefined) {
    console.log(signer.signText(text).base64);
    console.log(signer.signBytes(Buffer.from(text, 'utf16le')).base64);
  }
  console.log(`subject=${certificate.subject}\nissuer=${certificate.issuer}\nserial=${certificate.serial}`);
  console.log(`not_before=${certificate.notBefore}\nnot_after=${certificate.notAfter}`);
  console.log(`fingerprint=${certificate.fingerprint}\nname=${certificate.commonName}\nversion=${signer.version()}`);
}

const args = process.argv.slice(2);
try {
  if (args.length < 2) throw new Error('usage: node main.js PROPERTY-FILE FILE [TEXT]');
  if (args[0] === '--encrypt') encrypt(...args.slice(1));
  else sign(...args);
} catch (failure) {
  console.error(failure.message);
  process.exitCode = 1;
}
