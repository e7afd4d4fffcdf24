// zepasign_start libcrypto PFX PASSWORD
// zepasign_start default PFX PASSWORD         the same, its context being the process's default one
// zepasign_start library LIBRARY PROPERTY-FILE
// Loads one PFX with libcrypto's own calls, or loads the library and initialises it, and prints the processor seconds.
// A program of its own, so that nothing has used libcrypto before, as when a host starts.
#include <dlfcn.h>
#include <openssl/pkcs12.h>
#include <openssl/provider.h>

#include <cstdio>
#include <ctime>
#include <string>

#include "api/ZEPASignDLL.h"

namespace {

// loadWithLibcrypto: a context of its own with both providers, and the PFX parsed in it. Nothing is freed, as the
// library keeps it all.
bool loadWithLibcrypto(const char* pfxFile, const char* password, bool isDefault) {
  OSSL_LIB_CTX* context = OSSL_LIB_CTX_new();
  if (isDefault) OSSL_LIB_CTX_set0_default(context);
  if (OSSL_PROVIDER_load(context, "default") == nullptr || OSSL_PROVIDER_load(context, "legacy") == nullptr)
    return false;
  PKCS12* pfx = PKCS12_init_ex(NID_pkcs7_data, context, nullptr);
  EVP_PKEY* key = nullptr;
  X509* certificate = nullptr;
  BIO* file = BIO_new_file(pfxFile, "rb");
  return d2i_PKCS12_bio(file, &pfx) != nullptr && PKCS12_parse(pfx, password, &key, &certificate, nullptr) == 1;
}

// loadAndInitialise: as a host does that loads the library itself, and keeps it.
bool loadAndInitialise(const char* library, const char* propertyFile) {
  static void* const loaded = dlopen(library, RTLD_NOW);
  if (loaded == nullptr) return false;
  const auto initial = reinterpret_cast<decltype(&ZEPASignInitial)>(dlsym(loaded, "ZEPASignInitial"));
  return initial(propertyFile, nullptr);
}

}  // namespace

int main(int argc, char** argv) {
  if (argc != 4) return 2;
  const std::clock_t start = std::clock();
  const std::string who = argv[1];
  const bool isDone =
      who == "library" ? loadAndInitialise(argv[2], argv[3]) : loadWithLibcrypto(argv[2], argv[3], who == "default");
  if (!isDone) return 1;
  std::printf("%.6f\n", static_cast<double>(std::clock() - start) / CLOCKS_PER_SEC);
}
