/* list.c: lists of records. */
#include "list.h"

#include <string.h>

BOOL ListAppend(LIST *plst, const void *pvRecord, ULONG ulSize) {
  void *pv = MemAllocMem_(ulSize, __LINE__, __FILE__);
  if (!pv) return 0;
  memcpy(pv, pvRecord, ulSize);
  if (LstInsert(plst, pv, LST_END)) return 1;
  MemFreeMem_(pv);
  return 0;
}

LISTITEM *ListFirst(const LIST *plst) { return plst ? plst->pliFirst : NULL; }

void ListFree(LIST *plst) {
  LstDeleteAllBoth(plst);
  LstFreeList_(plst);
}
