#include <openssl/crypto.h>
#include <windows.h>

// DllMain: a host's thread that ends gives back what the crypto library kept for it, about 1 KiB; the crypto library
// does so by itself only where it is a DLL of its own. Nothing else happens here: the system holds its loader lock.
extern "C" BOOL WINAPI DllMain(HINSTANCE /*library*/, DWORD reason, void* /*processEnds*/) {
  if (reason == DLL_THREAD_DETACH) OPENSSL_thread_stop();
  return TRUE;
}
