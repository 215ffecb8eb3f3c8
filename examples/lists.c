/* lists.c: a list of a program's own records: filled in order, walked, thinned out, sorted, freed. */
#include <string.h>
#include <zebbase/zebbase.h>

typedef struct TOWN {
  char szName[16];
  ULONG ulPeople; /* in thousands */
} TOWN;

static BOOL IsNameInOrder(void *pvFirst, void *pvSecond) {
  return strcmp(((TOWN *)pvFirst)->szName, ((TOWN *)pvSecond)->szName) <= 0;
}
static BOOL IsSizeInOrder(void *pvFirst, void *pvSecond) {
  return ((TOWN *)pvFirst)->ulPeople >= ((TOWN *)pvSecond)->ulPeople;
}

static void Show(const LIST *plst) {
  LstForEach(pli, plst) {
    const TOWN *ptown = pli->pvData;
    printf("%lu %s %lu\n", pli->ulIndex, ptown->szName, ptown->ulPeople);
  }
}

int main(void) {
  static const TOWN atown[] = {{"Oslo", 710}, {"Bergen", 290}, {"Moss", 50}, {"Bodo", 53}};
  BaseInit();
  LIST *plst = LstNewList(LST_INDEXED); /* nodes know their position */
  for (ULONG ul = 0; ul < sizeof atown / sizeof *atown; ul++) {
    TOWN *ptown = MemNew(TOWN);
    if (!ptown) return 1;
    *ptown = atown[ul];
    if (!LstInsertSorted(plst, ptown, IsNameInOrder)) return 1;
  }
  Show(plst);
  LstForEachDeleting(pli, plst) {
    TOWN *ptown = pli->pvData;
    if (ptown->ulPeople > 50) continue;
    LstDelete(pli); /* the node; the record is the program's */
    MemFreeMem(ptown);
  }
  LstSort(plst, IsSizeInOrder);
  Show(plst);
  LstDeleteAllBoth(plst); /* nodes and records */
  LstFreeList(plst);
  MemDumpMemory(stdout);
  return 0;
}

/* prints
0 Bergen 290
1 Bodo 53
2 Moss 50
3 Oslo 710
0 Oslo 710
1 Bergen 290
2 Bodo 53
*/
