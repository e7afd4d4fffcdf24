// Signs one file from C++:  sign PROPERTY-FILE FILE
//
//   c++ -std=c++17 sign.cpp -o sign $(pkg-config --cflags --libs ZEPASignDLL)
//
// Prints the signature in Base64 and the signer's certificate, or the function that failed, its code and its message.
#include <iostream>
#include <stdexcept>
#include <string>

#include "ZEPASignDLL.h"

// readable: a text of the library, which is Big5, for this terminal; in memory of our own.
#ifdef _WIN32
static std::string readable(const char* text) { return text; }  // code page 950 is Big5
#else
#include <iconv.h>
static std::string readable(std::string big5) {
  std::string utf8(2 * big5.size(), '\0');  // two bytes of Big5 become at most four
  char *in = big5.data(), *out = utf8.data();
  std::size_t inLeft = big5.size(), outLeft = utf8.size();
  iconv_t converter = iconv_open("UTF-8", "BIG5");
  if (converter == reinterpret_cast<iconv_t>(-1)) return big5;
  iconv(converter, &in, &inLeft, &out, &outLeft);
  iconv_close(converter);
  return utf8.substr(0, utf8.size() - outLeft);
}
#endif

// check: turns a failed call into an exception of this host.
static void check(bool good, const std::string& function) {
  if (good) return;
  throw std::runtime_error(function + " failed with " + std::to_string(GetErrorCode()) + ": " +
                           readable(GetErrorMsg()));
}

int main(int argc, char** argv) try {
  if (argc != 3) {
    std::cerr << "usage: " << argv[0] << " PROPERTY-FILE FILE\n";
    return 2;
  }
  // The second argument is needed only when the property file has a PSWD.authKey.
  check(ZEPASignInitial(argv[1], nullptr), "ZEPASignInitial");
  check(SignPkcs7File(argv[2]) == 0, "SignPkcs7File");

  std::cout << GetSignedPkcs7() << "\nsubject=" << readable(GetSignerCertSubject())
            << "\nissuer=" << readable(GetSignerCertIssuer()) << "\nserial=" << readable(GetSignerCertSerial())
            << "\nnotBefore=" << readable(GetSignerCertNotBefore())
            << "\nnotAfter=" << readable(GetSignerCertNotAfter()) << "\nfingerprint=" << readable(GetSignerCertFinger())
            << '\n';
  return 0;
} catch (const std::exception& failure) {
  std::cerr << failure.what() << '\n';
  return 1;
}
