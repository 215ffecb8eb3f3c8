// links.cpp: doubly linked lists.
// Every change of a chain goes through Join and Part, which keep its two ends true; Link and Unlink add the count, the
// positions and the state of the node, which a sort leaves as they are until it is done.
// A sort marks its list, and every other change takes the mark away: the sort looks for it after each comparison,
// before it believes that a node is still there.

#include "zebbase/lst.h"

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <memory>
#include <utility>

#include "bytes.h"
#include "memory.h"
#include "zebbase/base.h"

static_assert(sizeof(LIST) == 20 && offsetof(LIST, mtxsem) == 16);
static_assert(sizeof(LISTITEM) == 24 && offsetof(LISTITEM, ulIndex) == 20);

namespace {
constexpr SOURCE source = "links"; // in allocations

constexpr BOOL flSorting = 0x80000000; // the mark, in fIndexed
constexpr ULONG ulMostAttempts = 3;    // of a sort whose comparison changes the list

bool IsMarked(const LIST *plst) { return (plst->fIndexed & flSorting) != 0; }
void Unmark(LIST *plst) { plst->fIndexed &= ~flSorting; }

// After a change of the chain.
void Renumber(LIST *plst) {
  Unmark(plst);
  if (!plst->fIndexed) return;
  ULONG ulIndex = 0;
  for (LISTITEM *pli = plst->pliFirst; pli; pli = pli->pliNext) pli->ulIndex = ulIndex++;
}

// Puts a node between two neighbours; a null neighbour stands for that end of the list.
void Join(LIST *plst, LISTITEM *pli, LISTITEM *pliPrev, LISTITEM *pliNext) {
  pli->pliPrev = pliPrev;
  pli->pliNext = pliNext;
  (pliPrev ? pliPrev->pliNext : plst->pliFirst) = pli;
  (pliNext ? pliNext->pliPrev : plst->pliLast) = pli;
}

// Closes the gap that a node leaves behind.
void Part(LIST *plst, LISTITEM *pli) {
  (pli->pliPrev ? pli->pliPrev->pliNext : plst->pliFirst) = pli->pliNext;
  (pli->pliNext ? pli->pliNext->pliPrev : plst->pliLast) = pli->pliPrev;
}

bool IsLinkable(const LIST *plst, const LISTITEM *pli) { return plst && pli && !pli->fInList; }

void Link(LIST *plst, LISTITEM *pli, LISTITEM *pliPrev, LISTITEM *pliNext) {
  Join(plst, pli, pliPrev, pliNext);
  pli->fInList = 1;
  pli->plst = plst;
  plst->ulCount++;
  if (pliNext) return Renumber(plst);
  if (!plst->fIndexed) return; // a free node has no position
  Unmark(plst);
  if (plst->fIndexed) pli->ulIndex = plst->ulCount - 1; // an append moves no other node
}

void LinkAtEnd(LIST *plst, LISTITEM *pli, ULONG flFlags) { // at the one that the flags name
  const bool fLast = (flFlags & LST_END) != 0;
  Link(plst, pli, fLast ? plst->pliLast : nullptr, fLast ? nullptr : plst->pliFirst);
}

void Unlink(LISTITEM *pli) {
  LIST *plst = pli->plst;
  Part(plst, pli);
  pli->fInList = 0;
  pli->pliPrev = pli->pliNext = nullptr;
  pli->ulIndex = 0;
  plst->ulCount--;
  Renumber(plst);
}

template <typename OnData>
BOOL DeleteAll(LIST *plst, OnData onData) {
  if (!plst) return 1;
  for (LISTITEM *pli = std::exchange(plst->pliFirst, nullptr); pli;) {
    LISTITEM *pliNext = pli->pliNext;
    onData(pli->pvData);
    FreeMem(pli);
    pli = pliNext;
  }
  plst->pliLast = nullptr;
  plst->ulCount = 0;
  Unmark(plst);
  return 1;
}

// Whether the second of two elements must come first, and whether the sort goes on after that was asked.
struct Order {
  const LIST *plst;
  PFNLSTCOMPARE pfnCompare;
  bool IsWrong(void *pvFirst, void *pvSecond) const { return !pfnCompare(pvFirst, pvSecond); }
  bool GoesOn() const { return IsMarked(plst); }
};

// The same for a comparison that answers 0 for equal elements: asked the other way round as well, these stay as they
// are.
struct StrictOrder : Order {
  bool IsWrong(void *pvFirst, void *pvSecond) const {
    return !pfnCompare(pvFirst, pvSecond) && GoesOn() && pfnCompare(pvSecond, pvFirst);
  }
};

constexpr ULONG ulNoExchange = 0; // a pass with a gap of 1 gives 1 + the position of its last exchange, or this

ULONG NextGap(ULONG ulGap) {
  ulGap = ulGap / 4 * 3 + ulGap % 4 * 3 / 4; // three quarters, without overflow
  if (ulGap == 0) return 1;
  return ulGap == 9 || ulGap == 10 ? 11 : ulGap;
}

// The passes of a comb sort over n elements; pass(order, gap) makes one, and breaks off when the list has changed. With
// a gap of 1 a pass leaves everything behind its last exchange in its final place, so the next pass exchanges earlier
// and earlier, and the passes end. One that does not shows a comparison that is strict for equal elements, or, when
// that has been allowed for, one that contradicts itself.
template <typename Pass>
void Comb(ULONG ulCount, Order order, Pass pass) {
  ULONG ulGap = ulCount;
  ULONG ulLast = ulCount;
  bool fStrict = false;
  do {
    const ULONG ulPrevious = ulGap == 1 ? ulLast : ulCount;
    ulGap = NextGap(ulGap);
    ulLast = fStrict ? pass(StrictOrder{order}, ulGap) : pass(order, ulGap);
    if (ulGap > 1 || ulLast < ulPrevious) continue;
    if (fStrict) return;
    fStrict = true;
    ulLast = ulCount;
  } while (order.GoesOn() && (ulLast != ulNoExchange || ulGap > 1));
}

// The comb over an array of the nodes: the data stands beside each node, so that a comparison touches no node.
struct ELEMENT {
  void *pvData;
  LISTITEM *pli;
};
static_assert(sizeof(ELEMENT) == sizeof(std::uint64_t));

// All ones when two elements are in the wrong order, else 0: an exchange by branch is a coin toss for the processor's
// prediction, and costs twice as much as one by mask.
template <typename O>
ULONG WrongMask(O order, const ELEMENT &elt1, const ELEMENT &elt2) {
  return 0 - ULONG{order.IsWrong(elt1.pvData, elt2.pvData)};
}

// Exchanges two elements of the array where the mask is set, through one wide register each.
void ExchangeInArray(ULONG ulMask, ELEMENT &elt1, ELEMENT &elt2) {
  const auto ull1 = Load<std::uint64_t>(&elt1);
  const auto ull2 = Load<std::uint64_t>(&elt2);
  const std::uint64_t ull = (ull1 ^ ull2) & (std::uint64_t{ulMask} << 32 | ulMask);
  Store(&elt1, ull1 ^ ull);
  Store(&elt2, ull2 ^ ull);
}

// One pass, which ends early when the list has changed. Result: for a gap of 1, 1 + the position of the last exchange.
template <typename O>
ULONG ArrayPass(O order, ULONG ulGap, ELEMENT *pelt, ULONG ulCount) {
  const LIST *const plst = order.plst; // which a register holds, and order does not
  const ELEMENT *const peltEnd = pelt + (ulCount - ulGap);
  ULONG ulLast = ulNoExchange;
  for (ULONG ul = 1; pelt < peltEnd && IsMarked(plst); pelt++, ul++) {
    const ULONG ulMask = WrongMask(order, pelt[0], pelt[ulGap]);
    ExchangeInArray(ulMask, pelt[0], pelt[ulGap]);
    ulLast ^= (ulLast ^ ul) & ulMask;
  }
  return ulLast;
}

// The comb over the nodes themselves, where there is no memory for the array.
void ExchangeNodes(LIST *plst, LISTITEM *pli1, LISTITEM *pli2) { // pli1 stands before pli2
  LISTITEM *pliBefore1 = pli1->pliPrev;
  LISTITEM *pliBefore2 = pli2->pliPrev;
  Part(plst, pli2);
  if (pliBefore2 != pli1) {
    Part(plst, pli1);
    Join(plst, pli1, pliBefore2, pliBefore2->pliNext);
    Join(plst, pli2, pliBefore1, pliBefore1 ? pliBefore1->pliNext : plst->pliFirst);
  } else {
    Join(plst, pli2, pliBefore1, pli1);
  }
}

LISTITEM *NodeAt(LISTITEM *pli, ULONG ulDistance) {
  for (; ulDistance > 0; ulDistance--) pli = pli->pliNext;
  return pli;
}

template <typename O>
ULONG ChainPass(O order, ULONG ulGap, LIST *plst) {
  ULONG ulLast = ulNoExchange;
  LISTITEM *pli1 = plst->pliFirst;
  LISTITEM *pli2 = NodeAt(pli1, ulGap);
  for (ULONG i = 0; pli2; i++) {
    const bool fWrong = order.IsWrong(pli1->pvData, pli2->pvData);
    if (!order.GoesOn()) return ulNoExchange;
    if (fWrong) {
      ExchangeNodes(plst, pli1, pli2);
      std::swap(pli1, pli2);
      ulLast = i + 1;
    }
    pli1 = pli1->pliNext;
    pli2 = pli2->pliNext;
  }
  return ulLast;
}

struct FreeArray {
  void operator()(ELEMENT *pelt) const { std::free(pelt); }
};
using Array = std::unique_ptr<ELEMENT, FreeArray>;

// An array of the nodes in list order, or null. It comes from malloc: the limits of tracked memory may be fatal.
Array ToArray(const LIST *plst) {
  const std::size_t cb = sizeof(ELEMENT) * plst->ulCount;
  Array array(static_cast<ELEMENT *>(std::malloc(cb)));
  if (ELEMENT *pelt = array.get())
    for (LISTITEM *pli = plst->pliFirst; pli; pli = pli->pliNext) *pelt++ = {pli->pvData, pli};
  return array;
}

void FromArray(LIST *plst, const ELEMENT *pelt) {
  const ULONG ulCount = plst->ulCount;
  plst->pliFirst = plst->pliLast = nullptr;
  for (ULONG i = 0; i < ulCount; i++) Join(plst, pelt[i].pli, plst->pliLast, nullptr);
}

bool IsSorted(const LIST *plst, Order order) {
  const LISTITEM *pli = plst->pliFirst;
  while (const LISTITEM *pliNext = pli->pliNext) {
    if (order.IsWrong(pli->pvData, pliNext->pvData) || !order.GoesOn()) return false;
    pli = pliNext;
  }
  return true;
}

// Sorts a list that is marked. When the comparison takes the mark away, a list in an array is left as it is then, one
// without in some order.
void Sort(LIST *plst, Order order) {
  if (plst->ulCount < 2 || IsSorted(plst, order) || !order.GoesOn()) return;
  const ULONG ulCount = plst->ulCount;
  if (const Array array = ToArray(plst)) {
    Comb(ulCount, order, [&](auto o, ULONG ulGap) { return ArrayPass(o, ulGap, array.get(), ulCount); });
    if (order.GoesOn()) FromArray(plst, array.get());
  } else {
    Comb(ulCount, order, [&](auto o, ULONG ulGap) { return ChainPass(o, ulGap, plst); });
  }
}
} // namespace

LIST *LstNewList(ULONG flOptions) {
  auto *plst = New<LIST>(source);
  if (!plst) return nullptr;
  plst->fIndexed = (flOptions & LST_INDEXED) != 0;
  SemCreateMutex(&plst->mtxsem, 0, 0, 0);
  return plst;
}

BOOL LstFreeList_(LIST *plst) {
  if (!plst) return 1;
  LstDeleteAll(plst);
  SemReleaseMutex(&plst->mtxsem);
  SemCloseMutex(&plst->mtxsem);
  MemFreeMem_(plst);
  return 1;
}

LISTITEM *LstNew(void *pvData) {
  auto *pli = NewUncleared<LISTITEM>(source);
  if (pli) *pli = {0, pvData, nullptr, nullptr, nullptr, 0};
  return pli;
}

BOOL LstFree(LISTITEM *pli) {
  if (pli) MemFreeMem_(pli);
  return 1;
}

// Lists are built by very many calls: those within are put in line, which saves a tenth of the time.
[[gnu::flatten]] LISTITEM *LstInsert(LIST *plst, void *pvData, ULONG flFlags) {
  if (!plst) return nullptr;
  LISTITEM *pli = LstNew(pvData);
  if (!pli) return nullptr;
  LinkAtEnd(plst, pli, flFlags);
  return pli;
}

BOOL LstInsertItem(LIST *plst, LISTITEM *pli, ULONG flFlags) {
  if (!IsLinkable(plst, pli)) return 0;
  LinkAtEnd(plst, pli, flFlags);
  return 1;
}

BOOL LstInsertBefore(LIST *plst, LISTITEM *pli, LISTITEM *pliRef) {
  if (!IsLinkable(plst, pli)) return 0;
  Link(plst, pli, pliRef ? pliRef->pliPrev : plst->pliLast, pliRef);
  return 1;
}

BOOL LstInsertAfter(LIST *plst, LISTITEM *pli, LISTITEM *pliRef) {
  if (!IsLinkable(plst, pli)) return 0;
  Link(plst, pli, pliRef, pliRef ? pliRef->pliNext : plst->pliFirst);
  return 1;
}

LISTITEM *LstInsertSorted(LIST *plst, void *pvData, PFNLSTCOMPARE pfnCompare) {
  if (!plst || !pfnCompare) return nullptr;
  LISTITEM *pli = LstNew(pvData);
  if (!pli) return nullptr;
  LISTITEM *pliRef = plst->pliFirst;
  while (pliRef && !pfnCompare(pvData, pliRef->pvData)) pliRef = pliRef->pliNext;
  LstInsertBefore(plst, pli, pliRef);
  return pli;
}

BOOL LstSort(LIST *plst, PFNLSTCOMPARE pfnCompare) {
  if (!plst || !pfnCompare) return 0;
  bool fSorted = false;
  for (ULONG ulAttempt = 0; ulAttempt < ulMostAttempts && !fSorted; ulAttempt++) {
    plst->fIndexed |= flSorting;
    Sort(plst, {plst, pfnCompare});
    fSorted = IsMarked(plst);
  }
  Renumber(plst);
  return fSorted;
}

BOOL LstRemoveItem(LISTITEM *pli) {
  if (!pli) return 1;
  if (!pli->fInList) return 0;
  Unlink(pli);
  return 1;
}

BOOL LstDelete(LISTITEM *pli) {
  if (!LstRemoveItem(pli)) return 0;
  return LstFree(pli);
}

LISTITEM *LstGetItem(LIST *plst, void *pvData) {
  LISTITEM *pli = plst ? plst->pliFirst : nullptr;
  while (pli && pli->pvData != pvData) pli = pli->pliNext;
  return pli;
}

BOOL LstDeleteAll(LIST *plst) {
  return DeleteAll(plst, [](void *) {});
}

BOOL LstDeleteAllBoth(LIST *plst) {
  return DeleteAll(plst, [](void *pvData) {
    if (pvData) MemFreeMem_(pvData);
  });
}

BOOL LstLock(LIST *plst) { return plst && SemRequestMutex(&plst->mtxsem, SEM_WAIT_FOREVER) == 0; }

BOOL LstUnlock(LIST *plst) { return plst && SemReleaseMutex(&plst->mtxsem) == 0; }
