/* list.c: lists of records. */
#include "list.h"

#include <string.h>

BOOL ListAppend(LIST *plst, const void *pvRecord, ULONG ulSize) {
  void *pv = MemAllocMem(ulSize);
  if (!pv) return 0;
  memcpy(pv, pvRecord, ulSize);
  if (LstInsert(plst, pv, LST_END)) return 1;
  MemFreeMem(pv);
  return 0;
}

void ListFree(LIST *plst) {
  LstDeleteAllBoth(plst);
  LstFreeList(plst);
}
