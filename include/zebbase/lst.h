/* lst.h: doubly linked lists of untyped pointers.
   A list is a head (LIST) and one node (LISTITEM) per element. A node carries one pointer of the caller's: the list
   never looks behind it, and frees it only in LstDeleteAllBoth. Heads and nodes come from the tracked allocator
   (mem.h). A null list or node harms nothing: what would use it is refused by result, what would free, empty or remove
   it has nothing to do and succeeds. Nothing is reported (but by the allocator, when it fails). No call takes the
   list's lock: who shares a list brackets its use with LstLock and LstUnlock.

   A list made with LST_INDEXED keeps each node's position in its ulIndex; that costs a walk over the list at every
   change but an append. In other lists every ulIndex is 0. */
#ifndef ZEBBASE_LST_H
#define ZEBBASE_LST_H

#include <stddef.h>
#include <zebbase/types.h>

#ifdef __cplusplus
extern "C" {
#endif

#define LST_INDEXED 1 /* LstNewList: keep positions in the nodes */
#define LST_END 4     /* LstInsert, LstInsertItem: at the end; without it, at the front */

typedef struct LISTITEM {
  BOOL fInList;      /* 1 while the node is linked into a list */
  void *pvData;      /* the caller's */
  struct LIST *plst; /* the list that the node was last put into */
  struct LISTITEM *pliPrev;
  struct LISTITEM *pliNext;
  ULONG ulIndex; /* position from 0 in an indexed list, else 0 */
} LISTITEM;

typedef struct LIST {
  LISTITEM *pliFirst;
  LISTITEM *pliLast;
  ULONG ulCount;
  BOOL fIndexed; /* 1 in an indexed list, else 0; a sort adds 0x80000000 while it runs */
  MTXSEM mtxsem; /* for LstLock and LstUnlock */
} LIST;

/* A comparison of two elements' data. Non-zero when the first may stand before the second, also when they are equal in
   the ordering (less-or-equal); 0 when the second must come first. It returns (no exception may leave it), and leaves
   the list as it is; what LstSort makes of one that does not is said there. */
typedef BOOL (*PFNLSTCOMPARE)(void *pvFirst, void *pvSecond);

/* A new, empty list; flOptions is 0 or LST_INDEXED. Null without memory. */
ZEB_API LIST *LstNewList(ULONG flOptions) ZEB_RESULT;

/* Frees every node (not the data), releases and closes the lock, and frees the head. Result 1, also for null. */
ZEB_API BOOL LstFreeList_(LIST *plst);

/* A node outside any list, which carries pvData; null without memory. */
ZEB_API LISTITEM *LstNew(void *pvData);

/* Frees a node that is in no list (which is not checked), not its data. Result 1, also for null. */
ZEB_API BOOL LstFree(LISTITEM *pli);

/* Puts a new node with pvData into a list, at the end (LST_END) or at the front (0).
   Result   the node; null, with the list unchanged, for a null list or without memory. */
ZEB_API LISTITEM *LstInsert(LIST *plst, void *pvData, ULONG flFlags);

/* Links a free node into a list.
   pli      a node of LstNew or LstRemoveItem; from now on the list's.
   flFlags  0 or LST_END.
   Result   1; 0, with nothing changed, for a null list or node and for a node that is already in a list.
   Cost     constant; linear at the front of an indexed list, whose positions all move. */
ZEB_API BOOL LstInsertItem(LIST *plst, LISTITEM *pli, ULONG flFlags);

/* Links a free node before, or after, the node pliRef of the same list (which is not checked). A null pliRef stands for
   the list's end in LstInsertBefore, and for its front in LstInsertAfter. Result as LstInsertItem. */
ZEB_API BOOL LstInsertBefore(LIST *plst, LISTITEM *pli, LISTITEM *pliRef);
ZEB_API BOOL LstInsertAfter(LIST *plst, LISTITEM *pli, LISTITEM *pliRef);

/* Puts a new node at its place in a sorted list: before the first element that pvData may stand before, so the newest
   of equal elements comes first.
   Result   the node; null, with the list unchanged, for a null list or function or without memory.
   Cost     linear. */
ZEB_API LISTITEM *LstInsertSorted(LIST *plst, void *pvData, PFNLSTCOMPARE pfnCompare);

/* Sorts a list by a comb sort that moves nodes, not data. It is not stable, but always gives the same order of equal
   elements for the same list; a list that is already in order is left as it is after one walk.
   pfnCompare  sees data pointers only. One that answers 0 for equal elements sorts as well, one that contradicts itself
               leaves some order; the sort always ends. When it inserts, removes or deletes nodes of the list, the sort
               starts over with the list as it is then; the third time it gives up. It must not free the list.
   Result      1; 0 for a null list or function, and when it gave up: the list has all that was left in it, in the order
               it had (in some order, where the sort works in place).
   Cost        about n log n comparisons. For its duration it takes 8 bytes per element from malloc, outside the tracked
               limits; without them it works in place, more slowly. */
ZEB_API BOOL LstSort(LIST *plst, PFNLSTCOMPARE pfnCompare);

/* Unlinks a node and keeps it, or frees it (not its data). Result 1, also for null; 0 for a node that is in no list. */
ZEB_API BOOL LstRemoveItem(LISTITEM *pli);
ZEB_API BOOL LstDelete(LISTITEM *pli);

/* The first node that carries this very pointer, or null. Linear. */
ZEB_API LISTITEM *LstGetItem(LIST *plst, void *pvData);

/* Frees all nodes and empties the list. LstDeleteAllBoth first frees each node's data, unless null, with MemFreeMem_.
   Result 1, also for null. */
ZEB_API BOOL LstDeleteAll(LIST *plst);
ZEB_API BOOL LstDeleteAllBoth(LIST *plst);

/* Takes and gives back the list's lock. Result 1; 0 for null or when the lock operation fails. */
ZEB_API BOOL LstLock(LIST *plst);
ZEB_API BOOL LstUnlock(LIST *plst);

/* What frees what, for the compiler's checks. */
LIST *LstNewList(ULONG flOptions) ZEB_FREED_BY(LstFreeList_);

/* Additions of version 1.1. */

/* The first node; null for an empty or a null list. */
static inline LISTITEM *LstFirst(const LIST *plst) { return plst ? plst->pliFirst : NULL; }

#ifndef ZEBBASE_NO_MACROS
/* Left out where a program defines ZEBBASE_NO_MACROS.
   LstFreeList             leaves null in its argument, which is a variable.
   LstForEach(pli, plst)   begins a loop over the nodes of a list, which may be null; pli is declared by it, as a
                           LISTITEM *. The node at hand stays in its list.
   LstForEachDeleting      the same, where the node at hand may be removed or deleted (and no other one). */
#define LstFreeList(plst) (LstFreeList_(plst), (void)((plst) = NULL))
#define LstForEach(pli, plst) for (LISTITEM *pli = LstFirst(plst); pli; pli = pli->pliNext)
#define LstForEachDeleting(pli, plst)                                               \
  for (LISTITEM *pli = LstFirst(plst), *pli##Next = pli ? pli->pliNext : NULL; pli; \
       pli = pli##Next, pli##Next = pli ? pli->pliNext : NULL)
#endif

#ifdef __cplusplus
}
#endif
#endif
