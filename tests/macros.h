/* macros.h: a program that uses every macro of the headers, for both languages. Each function gives
   1 when all went well. */
#ifndef MACROS_H
#define MACROS_H

#include "zebbase/zebbase.h"

static inline BOOL MacrosOfMemory(void) {
  ULONG *pul = MemNew(ULONG);
  char *psz = MemAllocString("text");
  void *pv = MemAllocMem(3);
  const ULONG ulBytes = MemQueryBlockSize(pul);
  MemFreeStringAlloc(psz, psz + 1);
  const BOOL fCopied = psz[0] == 'e';
  MemFreeMem(pul);
  MemFreeString(psz);
  MemFreeMem(pv);
  return ulBytes == sizeof *pul + MEM_OVERHEAD && fCopied && !pul && !psz && !pv;
}

static inline BOOL MacrosOfLists(void) {
  static int ai[] = {1, 2, 3, 4};
  LIST *plst = LstNewList(LST_INDEXED);
  int iSum = 0;
  for (int i = 0; i < 4; i++) LstInsert(plst, &ai[i], LST_END);
  LstForEachDeleting(pli, plst) if (*(int *)pli->pvData % 2 == 0) LstDelete(pli);
  LstForEach(pli, plst) iSum = 10 * iSum + *(int *)pli->pvData;
  LstFreeList(plst);
  LstForEach(pli, plst) iSum = 0;
  return iSum == 13 && !plst && !LstFirst(plst);
}

static inline BOOL MacrosOfReports(void) {
  static int iEvaluated;
  int *pi = &iEvaluated, *piNull = NULL;
  const char *pszConst = "const";
  flVerbosity = VERB_AREA(2);
  ErrReport(VERB_AREA(1), 5, "%d", ++iEvaluated);
  ErrReport(VERB_AREA(2), 5, "%d", 7 + iEvaluated);
  const BOOL fSame = ErrNull(pi) == pi && ErrNull(pszConst) == pszConst && ErrNull(piNull) == NULL;
  return fSame && iEvaluated == 0 && ErrBool(1) && ErrRc(0) == 0 && ErrDos(0) == 0 &&
         ErrAssert(iEvaluated == 0) && !ErrAssert(iEvaluated != 0) && ZEBBASE_VERSION >= 10100;
}
#endif
