// links.cpp: lists. The floor of an append is a node of the same size, linked by hand; that of a sort is the same comb
// over an array of the data pointers, so that it exchanges two words and takes no branch on a comparison.

#include "zebbase/lst.h"

#include <cstdlib>
#include <cstring>
#include <list>
#include <memory>
#include <random>
#include <utility>

#include "bench.h"
#include "peers.h"
#include "zebbase/mem.h"

namespace {
constexpr ULONG ulAppends = 9000;

void LibraryAppend(ULONG flOptions) {
  LIST *plst = LstNewList(flOptions);
  for (ULONG ul = 0; ul < ulAppends; ul++) LstInsert(plst, &ul, LST_END);
  LstFreeList_(plst);
}

void FloorAppend() {
  constexpr std::size_t cbNode = sizeof(LISTITEM) + MEM_OVERHEAD;
  LIST lst = {};
  for (ULONG ul = 0; ul < ulAppends; ul++) {
    auto *pli = static_cast<LISTITEM *>(std::malloc(cbNode));
    Touch(pli);
    std::memset(static_cast<void *>(pli), 0, cbNode);
    pli->pvData = &ul;
    pli->pliPrev = lst.pliLast;
    pli->ulIndex = ul;
    (lst.pliLast ? lst.pliLast->pliNext : lst.pliFirst) = pli;
    lst.pliLast = pli;
  }
  for (LISTITEM *pli = lst.pliFirst; pli;) {
    LISTITEM *pliNext = pli->pliNext;
    std::memset(static_cast<void *>(pli), 0, cbNode);
    Touch(pli);
    std::free(std::exchange(pli, pliNext));
  }
}

void PeerAppend() {
  std::list<void *> list;
  for (ULONG ul = 0; ul < ulAppends; ul++) list.push_back(&ul);
  Touch(&list);
}
} // namespace

TEST_CASE("links: append") {
  const auto MeasureAppend = [](const char *pszName, ULONG flOptions) {
    Measure({pszName, 1.65}, {[=] { LibraryAppend(flOptions); }}, {FloorAppend}, {{PeerAppend, {}, "std::list"}});
  };
  MeasureAppend("links: append and free, 9,000", 0);
  MeasureAppend("links: append and free, indexed, 9,000", LST_INDEXED);
}

namespace {
BOOL IsNotAfter(void *pvFirst, void *pvSecond) {
  return *static_cast<ULONG *>(pvFirst) <= *static_cast<ULONG *>(pvSecond);
}

// A list of numbers that can be put back into its first order. Its nodes then stand in the order of their addresses.
class LibraryList {
 public:
  explicit LibraryList(const std::vector<ULONG *> &apul) : apul_(apul) {
    for (ULONG *pul : apul_) apli_.push_back(LstInsert(plst_, pul, LST_END));
  }
  LibraryList(const LibraryList &) = delete;
  LibraryList &operator=(const LibraryList &) = delete;
  ~LibraryList() { LstFreeList_(plst_); }
  void Reset() {
    plst_->pliFirst = plst_->pliLast = nullptr;
    for (std::size_t u = 0; u < apli_.size(); u++) {
      LISTITEM *pli = apli_[u];
      pli->pliPrev = plst_->pliLast;
      pli->pliNext = nullptr;
      (plst_->pliLast ? plst_->pliLast->pliNext : plst_->pliFirst) = pli;
      plst_->pliLast = pli;
    }
  }
  void Sort() { LstSort(plst_, IsNotAfter); }
  std::vector<ULONG *> Order() const {
    std::vector<ULONG *> apul;
    for (LISTITEM *pli = plst_->pliFirst; pli; pli = pli->pliNext) apul.push_back(static_cast<ULONG *>(pli->pvData));
    return apul;
  }

 private:
  LIST *plst_ = LstNewList(0);
  std::vector<ULONG *> apul_;
  std::vector<LISTITEM *> apli_;
};

void FloorSort(std::vector<ULONG *> &apul, PFNLSTCOMPARE pfnCompare) {
  ULONG ulGap = apul.size();
  bool fExchanged = false;
  do {
    ulGap = std::max(ulGap * 3 / 4, 1UL);
    if (ulGap == 9 || ulGap == 10) ulGap = 11;
    fExchanged = false;
    ULONG **ppul1 = apul.data();
    for (ULONG **ppul2 = ppul1 + ulGap; ppul2 < apul.data() + apul.size(); ppul1++, ppul2++) {
      const auto u1 = reinterpret_cast<std::uintptr_t>(*ppul1);
      const auto u2 = reinterpret_cast<std::uintptr_t>(*ppul2);
      const bool fExchange = !pfnCompare(*ppul1, *ppul2);
      const std::uintptr_t uDifference = (u1 ^ u2) & -std::uintptr_t{fExchange}; // a branch would be guessed wrong
      *ppul1 = reinterpret_cast<ULONG *>(u1 ^ uDifference);
      *ppul2 = reinterpret_cast<ULONG *>(u2 ^ uDifference);
      fExchanged |= fExchange;
    }
  } while (fExchanged || ulGap > 1);
}

class PeerList { // the same with the C++ library's list
 public:
  explicit PeerList(const std::vector<ULONG *> &apul) : list_(apul.begin(), apul.end()) {
    for (auto it = list_.begin(); it != list_.end(); ++it) aNode_.push_back(it);
  }
  void Reset() {
    for (const auto &it : aNode_) list_.splice(list_.end(), list_, it);
  }
  void Sort(PFNLSTCOMPARE pfnCompare) {
    list_.sort([=](ULONG *pul1, ULONG *pul2) { return !pfnCompare(pul2, pul1); });
  }

 private:
  std::list<ULONG *> list_;
  std::vector<std::list<ULONG *>::iterator> aNode_;
};

void MeasureSort(const ITEM &item, std::vector<ULONG> &aul) {
  std::vector<ULONG *> apul;
  for (ULONG &ul : aul) apul.push_back(&ul);
  LibraryList library(apul);
  PeerList peer(apul);
  std::vector<ULONG *> apulFloor = apul;
  const auto pfnCompare = Opaque(IsNotAfter);
  library.Sort();
  FloorSort(apulFloor, pfnCompare);
  REQUIRE(library.Order() == apulFloor); // ties too
  Measure(item, {[&] { library.Sort(); }, [&] { library.Reset(); }},
          {[&] { FloorSort(apulFloor, pfnCompare); }, [&] { apulFloor = apul; }},
          Together({{[&] { peer.Sort(pfnCompare); }, [&] { peer.Reset(); }, "std::list::sort"}}, SortPeers(apul)));
}

std::vector<ULONG> Numbers(ULONG ulCount, bool fShuffled) { // each twice
  std::vector<ULONG> aul;
  for (ULONG ul = 0; ul < ulCount; ul++) aul.push_back(ul / 2);
  if (fShuffled) std::shuffle(aul.begin(), aul.end(), std::mt19937(1));
  return aul;
}
} // namespace

TEST_CASE("links: sort of shuffled data") {
  auto aul = Numbers(9000, true);
  MeasureSort({"links: sort, 9,000 shuffled with ties", 1.35, 0.8}, aul);
}

TEST_CASE("links: sort of sorted data") {
  auto aul = Numbers(9000, false);
  MeasureSort({"links: sort, 9,000 already sorted", 0.15, 0.5}, aul);
}

TEST_CASE("links: sort of a long list") {
  auto aul = Numbers(200000, true);
  MeasureSort({"links: sort, 200,000 shuffled", 1.65, 0.9}, aul);
}
