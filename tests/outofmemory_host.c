/* A host in C: it loads the library, initialises and signs, and signs once more while no memory can be had. It brings
   no C++ run-time of its own, so that the library's has to prepare itself. Prints the two codes.

     outofmemory_host LIBRARY PROPERTY-FILE */
#include <dlfcn.h>
#include <stddef.h>
#include <stdio.h>

#include "ZEPASignDLL.h"

void* __libc_malloc(size_t size);
void* __libc_calloc(size_t count, size_t size);
void* __libc_realloc(void* block, size_t size);

static int isOutOfMemory = 0;

/* The process's own malloc, for all libraries too. */
void* malloc(size_t size) { return isOutOfMemory ? NULL : __libc_malloc(size); }
void* calloc(size_t count, size_t size) { return isOutOfMemory ? NULL : __libc_calloc(count, size); }
void* realloc(void* block, size_t size) { return isOutOfMemory ? NULL : __libc_realloc(block, size); }

int main(int argc, char** argv) {
  unsigned char content[] = "content";
  void* library = argc == 3 ? dlopen(argv[1], RTLD_NOW) : NULL;
  if (library == NULL) return 2;
  bool (*initialise)(const char*, const char*) = (bool (*)(const char*, const char*))dlsym(library, "ZEPASignInitial");
  int (*sign)(unsigned char*, int) = (int (*)(unsigned char*, int))dlsym(library, "SignPkcs7Bin");
  if (!initialise(argv[2], NULL)) return 3;
  int before = sign(content, 7);
  isOutOfMemory = 1;
  int during = sign(content, 7);
  isOutOfMemory = 0;
  printf("%d %d\n", before, during);
  return 0;
}
