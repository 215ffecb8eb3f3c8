/* c_user.c: the library as a C99 program sees it. */

#include "c_user.h"

#include <string.h>
#include <zebbase/base.h>

#define CHECK(condition)                 \
  do {                                   \
    if (!(condition)) return #condition; \
  } while (0)

const char *UseBaseFromC(void) {
  BaseInit();
  CHECK(strcmp(pszTaskName, "ZEBBASE") == 0);
  CHECK(flVerbosity == VERB_DEFAULT);
  flVerbosity = VERB_DEBUG | VERB_AREA12;
  BaseInit();
  CHECK(flVerbosity == 0xE000UL);
  CHECK(SemRequestMutex(&mtxsemMemory, SEM_WAIT_FOREVER) == 0);
  return NULL;
}
