/* c_user.h: what C programs do with the library, one function per family, called by that family's tests.
   Each answers null, or the text of the first check that failed. */
#ifndef ZEBBASE_TESTS_C_USER_H
#define ZEBBASE_TESTS_C_USER_H

#ifdef __cplusplus
extern "C" {
#endif

const char *UseBaseFromC(void);

#ifdef __cplusplus
}
#endif
#endif
