/*
 * What Microsoft's toolchain links into every program in front of the Universal C Runtime, as far as examples/c needs
 * it: the start, and printf and fprintf, which the runtime has in a common form only. windows-compare.sh links it.
 */
#include <stdarg.h>

void* __acrt_iob_func(unsigned);
int __stdio_common_vfprintf(unsigned long long, void*, const char*, void*, va_list);
int _configure_narrow_argv(int);
int* __p___argc(void);
char*** __p___argv(void);
void exit(int);
int main(int, char**);

int fprintf(void* stream, const char* format, ...) {
  va_list values;
  va_start(values, format);
  int count = __stdio_common_vfprintf(0, stream, format, 0, values);
  va_end(values);
  return count;
}

int printf(const char* format, ...) {
  va_list values;
  va_start(values, format);
  int count = __stdio_common_vfprintf(0, __acrt_iob_func(1), format, 0, values);
  va_end(values);
  return count;
}

/* Clang calls it at the start of main for this target; there are no constructors to run. */
void __main(void) {}

void mainCRTStartup(void) {
  _configure_narrow_argv(1);
  exit(main(*__p___argc(), *__p___argv()));
}
