/* errors.c: reports by severity, to the console and to the table of errors, where one can be linked to its cause. */
#include <string.h>
#include <zebbase/zebbase.h>

#define KIND_DISK 200 /* of the program's own; err.h has those with a meaning */

/* Says what went wrong, and why: back along the links. */
static void ShowChain(ULONG ulEntry) {
  while (ulEntry > 1) {
    const ERRORBLOCK *perb = ErrGetError(ulEntry);
    const ULONG ulCause = perb->ulLink;
    printf("%s (kind %lu)\n", perb->szMessage, perb->ulType);
    ErrClearError(ulEntry);
    ulEntry = ulCause;
  }
}

/* A window, say. Its answer is the program's business. */
static ULONG ShowCritical(const char *pszText) {
  printf("%s\n", pszText);
  return 0;
}

int main(void) {
  BaseInit(); /* errors, warnings and infos are wanted */
  ErrInitialize(ERR_TYPE_POPUP, "errors", 0UL, ShowCritical);
  ULONG ulEntry = 0;
  ErrPutError(NULL, 0, VERB_WARNING, KIND_DISK, __FILE__, __LINE__, &ulEntry, "disk %s is %d %% full", "/var", 99);
  ErrPutError(NULL, 0, VERB_WARNING, KIND_DISK, __FILE__, __LINE__, &ulEntry, "the log was not written");
  ShowChain(ulEntry);
  ErrReport(VERB_ERROR, ERR_KIND_CRITICAL, "no disk is left"); /* shown, and not kept */

  ErrInitialize(ERR_TYPE_CONSOLE, "errors"); /* or ERR_TYPE_CONSOLE_LOG: a daily log as well */
  ErrReport(VERB_INFO, KIND_DISK, "shown with the time before it");
  ErrReport(VERB_DEBUG, KIND_DISK, "not wanted, and not even formatted");
  BaseSetVerbosity(flVerbosity | VERB_DEBUG | VERB_AREA(3));
  ErrReport(VERB_AREA(3), KIND_DISK, "of an area of the program's own");
  return ErrNull(strchr("key=value", '=')) ? 0 : 1; /* would report a null pointer; hands on what it is given */
}

/* prints
the log was not written (kind 200)
disk /var is 99 % full (kind 200)
errors.c:31 Critical Error
no disk is left
Press OK to continue or CANCEL to abort
HHMMSS(errors.c:0034)I0200 shown with the time before it
HHMMSS(errors.c:0037)c0200 of an area of the program's own
*/
