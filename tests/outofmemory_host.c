/* A host in C: it loads the library, initialises and signs, and signs once more while no memory can be had, also in a
   thread that has not called before. It brings no C++ run-time of its own, so that the library's has to prepare itself.
   Prints the three codes and the length of the last message.

     outofmemory_host LIBRARY PROPERTY-FILE */
#include <dlfcn.h>
#include <pthread.h>
#include <stddef.h>
#include <stdio.h>
#include <string.h>

#include "ZEPASignDLL.h"

void* __libc_malloc(size_t size);
void* __libc_calloc(size_t count, size_t size);
void* __libc_realloc(void* block, size_t size);

static int isOutOfMemory = 0;

/* The process's own malloc, for all libraries too. */
void* malloc(size_t size) { return isOutOfMemory ? NULL : __libc_malloc(size); }
void* calloc(size_t count, size_t size) { return isOutOfMemory ? NULL : __libc_calloc(count, size); }
void* realloc(void* block, size_t size) { return isOutOfMemory ? NULL : __libc_realloc(block, size); }

struct Exports {
  int (*sign)(unsigned char*, int);
  char* (*message)(void);
};
static pthread_barrier_t memoryEnds;

static void* callFirst(void* argument) {
  const struct Exports* exports = argument;
  unsigned char content[] = "content";
  pthread_barrier_wait(&memoryEnds);
  size_t length = strlen(exports->message());
  int code = exports->sign(content, 7);
  isOutOfMemory = 0;
  printf(" %d %zu\n", code, length);
  return NULL;
}

int main(int argc, char** argv) {
  unsigned char content[] = "content";
  void* library = argc == 3 ? dlopen(argv[1], RTLD_NOW) : NULL;
  if (library == NULL) return 2;
  bool (*initialise)(const char*, const char*) = (bool (*)(const char*, const char*))dlsym(library, "ZEPASignInitial");
  struct Exports exports = {(int (*)(unsigned char*, int))dlsym(library, "SignPkcs7Bin"),
                            (char* (*)(void))dlsym(library, "GetErrorMsg")};
  if (!initialise(argv[2], NULL)) return 3;
  pthread_t thread;
  pthread_barrier_init(&memoryEnds, NULL, 2);
  pthread_create(&thread, NULL, callFirst, &exports);
  int before = exports.sign(content, 7);
  isOutOfMemory = 1;
  int during = exports.sign(content, 7);
  isOutOfMemory = 0;
  printf("%d %d", before, during);
  isOutOfMemory = 1;
  pthread_barrier_wait(&memoryEnds);
  pthread_join(thread, NULL);
  return 0;
}
