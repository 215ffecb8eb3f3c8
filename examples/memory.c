/* memory.c: tracked blocks: what they are for, what is held, and what damage looks like. */
#include <string.h>
#include <zebbase/zebbase.h>

typedef struct POINT {
  int iX, iY;
} POINT;

/* Reports come here. By default they go to the console, with their time. */
static ULONG ShowReport(ULONG ulSeverity, const char *pszMessage) {
  printf("%s: %s\n", ulSeverity == VERB_ERROR ? "error" : "note", pszMessage);
  return 0;
}

int main(void) {
  ULONG ulBytes, ulBlocks;
  BaseInit();
  ErrInitialize(ERR_TYPE_CALLBACK, "memory", ShowReport);

  POINT *ppoint = MemNew(POINT); /* cleared; the place of this line goes with it */
  char *psz = MemAllocString("a text");
  if (!ppoint || !psz) return 1;
  ppoint->iX = 7;
  MemFreeStringAlloc(psz, "another one"); /* the old text is freed */
  MemQueryStatus(&ulBytes, &ulBlocks);
  printf("%d %d, \"%s\": %lu bytes in %lu blocks\n", ppoint->iX, ppoint->iY, psz, ulBytes, ulBlocks);

  volatile ULONG ulEnd = strlen(psz) + 1;
  psz[ulEnd] = '!'; /* one too far */
  MemCheckMemory();
  MemFreeString(psz); /* tells it again; psz is null now */
  MemFreeMem(ppoint);
  MemDumpMemory(stdout); /* lists what is held: nothing */
  MemQueryPeak(&ulBytes, &ulBlocks);
  printf("at most %lu bytes and %lu blocks at once\n", ulBytes, ulBlocks);
  return 0;
}

/* prints
7 0, "another one": 70 bytes in 2 blocks
error: Bottom guard corrupt. Allocated: memory:24
error: Bottom guard corrupt. Allocated: memory:24
at most 70 bytes and 2 blocks at once
*/
