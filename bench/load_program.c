/* load_program.c: a program that starts and ends, with the library or without it. */

#ifdef WITH_LIBRARY
#include <zebbase/base.h>
int main(void) {
  BaseInit();
  return 0;
}
#else
int main(void) { return 0; }
#endif
