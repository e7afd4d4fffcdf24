// Signs a file, and a text when one is given:  sign PROPERTY-FILE FILE [TEXT]
//
// sign --encrypt PROPERTY-FILE FILE reads the PFX password from the standard input and writes its encrypted form to
// FILE.
#include <exception>
#include <fstream>
#include <iostream>
#include <stdexcept>
#include <string>
#include <vector>

#include "signer.h"

static void encrypt(const std::string& propertyFile, const std::string& file) {
  std::string password;
  std::getline(std::cin, password);
  std::ofstream out(file);
  out << signer::encryptPassword(propertyFile, password);
  if (!out.flush()) throw std::runtime_error("cannot write " + file);
}

static void sign(const std::string& propertyFile, const std::string& file, const std::string* text) {
  signer::initialize(propertyFile);
  const auto [base64, certificate] = signer::signFile(file);
  std::cout << base64 << '\n';
  if (text != nullptr) std::cout << signer::signText(*text).base64 << '\n';
  if (text != nullptr) std::cout << signer::signText(*text, "UTF-16LE").base64 << '\n';
  std::cout << "subject=" << certificate.subject << "\nissuer=" << certificate.issuer
            << "\nserial=" << certificate.serial << "\nnot_before=" << certificate.notBefore
            << "\nnot_after=" << certificate.notAfter << "\nfingerprint=" << certificate.fingerprint
            << "\nname=" << certificate.commonName() << "\nversion=" << signer::version() << '\n';
}

int main(int argc, char** argv) try {
  const std::vector<std::string> args(argv + 1, argv + argc);
  if (args.size() < 2) throw std::invalid_argument("usage: sign PROPERTY-FILE FILE [TEXT]");
  if (args[0] == "--encrypt") {
    encrypt(args.at(1), args.at(2));
  } else {
    sign(args[0], args[1], args.size() > 2 ? &args[2] : nullptr);
  }
  return 0;
} catch (const std::exception& failure) {
  std::cerr << failure.what() << '\n';
  return 1;
}
