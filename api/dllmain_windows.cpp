#include <openssl/crypto.h>
#include <windows.h>

// DllMain: frees what the crypto library keeps for a thread of the host, about 1 KiB, when the thread ends; the crypto
// library does so itself only as a DLL of its own. Nothing else happens here, since the system holds its loader lock.
extern "C" BOOL WINAPI DllMain(HINSTANCE /*library*/, DWORD reason, void* /*processEnds*/) {
  if (reason == DLL_THREAD_DETACH) OPENSSL_thread_stop();
  return TRUE;
}
