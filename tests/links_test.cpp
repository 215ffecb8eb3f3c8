// links_test.cpp: lists, against vectors of the same elements.

#include "zebbase/lst.h"

#include <array>
#include <cmath>

#include "support.h"

namespace {
using Elements = std::vector<void *>;

ULONG ulComparisons;
std::mt19937 randomAnswers;

int KeyOf(void *pv) { return *static_cast<int *>(pv); }

BOOL LessOrEqual(void *pv1, void *pv2) {
  ulComparisons++;
  return KeyOf(pv1) <= KeyOf(pv2) ? 0x100 : 0; // any value but 0 is a yes
}
BOOL Less(void *pv1, void *pv2) { return KeyOf(pv1) < KeyOf(pv2); }
BOOL AnyAnswer(void *, void *) { return randomAnswers() % 2; }

// The elements of a list, whose links, positions and count must be true.
Elements ElementsOf(const LIST *plst) {
  Elements apv;
  const LISTITEM *pliPrev = nullptr, *pli = plst->pliFirst;
  for (; pli && apv.size() < plst->ulCount; pliPrev = pli, pli = pli->pliNext) {
    EXPECT_TRUE(pli->pliPrev == pliPrev && pli->plst == plst && pli->fInList == 1) << apv.size();
    EXPECT_EQ(pli->ulIndex, plst->fIndexed ? apv.size() : 0);
    apv.push_back(pli->pvData);
  }
  EXPECT_TRUE(!pli && plst->pliLast == pliPrev && plst->ulCount == apv.size());
  return apv;
}

class Lst : public NoLeak {
 protected:
  void SetUp() override {
    NoLeak::SetUp();
    randomAnswers.seed(Random(~0UL));
    plst_ = LstNewList(LST_INDEXED);
  }
  void TearDown() override {
    EXPECT_EQ(LstFreeList_(plst_), 1u);
    NoLeak::TearDown();
  }
  Elements Fill(ULONG ulCount, ULONG ulKeys) { // with random keys below ulKeys
    LstDeleteAll(plst_);
    aiKeys_.resize(ulCount);
    for (int &i : aiKeys_) {
      i = static_cast<int>(Random(ulKeys));
      LstInsert(plst_, &i, LST_END);
    }
    return ElementsOf(plst_);
  }
  BOOL Sort(PFNLSTCOMPARE pfnCompare, bool fWithoutMemory = false) {
    const FailMalloc fail(fWithoutMemory);
    ulComparisons = 0;
    return LstSort(plst_, pfnCompare);
  }
  LIST *plst_ = nullptr;
  std::vector<int> aiKeys_;
};

TEST_F(Lst, KeepsEveryLinkAndPositionThroughRandomChanges) {
  for (const BOOL fIndexed : {0UL, 1UL}) {
    LIST *plst = LstNewList(fIndexed ? LST_INDEXED : ~ULONG{LST_INDEXED});
    EXPECT_EQ(plst->fIndexed, fIndexed);
    LISTITEM *pliFree = nullptr; // was taken out, and goes in again
    Elements apv;
    for (std::uintptr_t u = 1; u <= 5000 && !HasFailure(); u++) {
      const auto it = apv.begin() + static_cast<int>(Random(apv.size() + 1));
      LISTITEM *pliRef = it < apv.end() ? LstGetItem(plst, *it) : nullptr;
      const ULONG ulWay = Random(8); // as many get out of the list as into it
      if (ulWay < 4) {
        LISTITEM *pli = pliFree ? pliFree : LstNew(reinterpret_cast<void *>(u));
        pliFree = nullptr;
        const auto itAfter = pliRef ? it + 1 : apv.begin();
        apv.insert(std::array{apv.begin(), apv.end(), it, itAfter}[ulWay], pli->pvData);
        BOOL fPut = 0;
        if (ulWay == 0) fPut = LstInsertItem(plst, pli, ~ULONG{LST_END});
        if (ulWay == 1) fPut = LstInsertItem(plst, pli, LST_END);
        if (ulWay == 2) fPut = LstInsertBefore(plst, pli, pliRef);
        if (ulWay == 3) fPut = LstInsertAfter(plst, pli, pliRef);
        EXPECT_EQ(fPut, 1u);
      } else if (pliRef) {
        LstFree(pliFree);
        pliFree = pliRef;
        EXPECT_EQ(LstRemoveItem(pliFree), 1u);
        const LISTITEM li = {0, *it, plst, nullptr, nullptr, 0};
        EXPECT_EQ(BytesOf(*pliFree), BytesOf(li));
        EXPECT_EQ(LstRemoveItem(pliFree) + LstDelete(pliFree), 0u);
        apv.erase(it);
      }
      EXPECT_EQ(ElementsOf(plst), apv);
    }
    LstFree(pliFree);
    LstFreeList_(plst);
  }
}

TEST_F(Lst, InsertSortedPutsTheNewestOfEqualsFirst) {
  Elements apv = Fill(300, 20);
  LstDeleteAll(plst_);

  for (void *pv : apv) EXPECT_EQ(LstInsertSorted(plst_, pv, LessOrEqual)->pvData, pv);

  std::reverse(apv.begin(), apv.end());
  std::stable_sort(apv.begin(), apv.end(), Less);
  EXPECT_EQ(ElementsOf(plst_), apv);
}

// The comb sort, step by step.
Elements CombSort(Elements apv) {
  std::size_t cGap = apv.size();
  for (bool fExchanged = cGap > 1; fExchanged || cGap > 1;) {
    fExchanged = false;
    cGap = std::max<std::size_t>(cGap * 3 / 4, 1);
    if (cGap == 9 || cGap == 10) cGap = 11;
    for (std::size_t i = 0; i + cGap < apv.size(); i++) {
      if (KeyOf(apv[i]) <= KeyOf(apv[i + cGap])) continue;
      std::swap(apv[i], apv[i + cGap]);
      fExchanged = true;
    }
  }
  return apv;
}

TEST_F(Lst, SortGivesTheOrderOfTheCombWithAndWithoutMemory) {
  for (ULONG ul = 0; ul < 400; ul++) {
    const Elements apv = Fill(ul < 200 ? ul : Random(3000), ul % 3 ? 10 : 100000);
    EXPECT_EQ(Sort(LessOrEqual, ul % 2), 1u);
    ASSERT_EQ(ElementsOf(plst_), CombSort(apv)) << apv.size();
    EXPECT_LE(ulComparisons, 10.0 * apv.size() * std::log2(apv.size() + 1));
    Sort(LessOrEqual);
    EXPECT_EQ(ulComparisons, apv.empty() ? 0 : apv.size() - 1) << "of a list in order";
  }
  Fill(9000, 1000000);
  Sort(LessOrEqual);
  EXPECT_LE(ulComparisons, 3 * 9000 * std::log2(9000));
}

// A list that its comparison changes now and then, and what it has to hold.
struct {
  LIST *plst;
  Elements apv;
  ULONG ulChangesLeft;
  PFNLSTCOMPARE pfnCompare;
} changing;

BOOL CompareAndChange(void *pv1, void *pv2) {
  const BOOL fAnswer = changing.pfnCompare(pv1, pv2), fEnd = randomAnswers() % 2;
  if (changing.ulChangesLeft == 0 || randomAnswers() % 30) return fAnswer;
  changing.ulChangesLeft--;
  Elements &apv = changing.apv;
  void *pv = apv[randomAnswers() % apv.size()];
  if (randomAnswers() % 2) {
    EXPECT_EQ(LstDelete(LstGetItem(changing.plst, pv)), 1u);
    apv.erase(std::find(apv.begin(), apv.end(), pv));
  } else if (LstInsert(changing.plst, pv, fEnd ? LST_END : 0)) { // it may get no memory
    apv.insert(fEnd ? apv.end() : apv.begin(), pv);
  }
  return fAnswer;
}

TEST_F(Lst, SortEndsAndLosesNothingWhateverItsComparisonDoes) {
  unsigned cUnsorted = 0;
  const Reports reports;
  for (unsigned u = 0; u < 6000; u++) {
    const auto pfnCompare = OneOf(std::array{LessOrEqual, Less, AnyAnswer});
    changing = {plst_, Fill(Random(100), 1 + Random(50)), u % 5, pfnCompare};
    changing.apv.reserve(110); // so that the list alone calls malloc

    const bool fDone = Sort(CompareAndChange, u % 2);

    const Elements apv = ElementsOf(plst_), &apvLeft = changing.apv;
    ASSERT_TRUE(std::is_permutation(apv.begin(), apv.end(), apvLeft.begin(), apvLeft.end())) << u;
    ASSERT_TRUE(fDone || u % 5 > 2) << u << ": it gives up at the third change";
    ASSERT_TRUE(fDone || u % 2 || apv == apvLeft) << u << ": it stays in its order";
    ASSERT_TRUE(!fDone || pfnCompare == AnyAnswer || std::is_sorted(apv.begin(), apv.end(), Less));
    cUnsorted += !fDone;
  }
  EXPECT_GT(cUnsorted, 100u);
}

TEST_F(Lst, DeletesDataOnlyWhenAsked) {
  char *pszKept = MemAllocString_("kept", 1, "test");
  for (const bool fBoth : {false, true, false}) {
    LstInsert(plst_, fBoth ? MemAllocString_("text", 1, "test") : pszKept, 0);
    LstInsert(plst_, nullptr, LST_END);
    EXPECT_EQ(fBoth ? LstDeleteAllBoth(plst_) : LstDeleteAll(plst_), 1u);
    EXPECT_EQ(ElementsOf(plst_), Elements{});
  }
  LstInsert(plst_, pszKept, 0); // left to LstFreeList_, which frees the node alone
  EXPECT_STREQ(pszKept, "kept");
  MemFreeMem_(pszKept);
}

TEST_F(Lst, RefusesWhatIsNullOrLinkedAndHasNothingToDoForNull) {
  LISTITEM *pliLinked = LstInsert(plst_, &aiKeys_, 0), *pli = LstNew(nullptr);
  LIST *plstOther = LstNewList(0);

  for (const auto &[plst, pliRefused] :
       {std::pair(plst_, pliLinked), {plstOther, pliLinked}, {plst_, nullptr}, {nullptr, pli}}) {
    EXPECT_EQ(LstInsertItem(plst, pliRefused, 0), 0u);
    for (const auto pfn : {LstInsertBefore, LstInsertAfter})
      EXPECT_EQ(pfn(plst, pliRefused, nullptr), 0u);
  }
  EXPECT_TRUE(!LstInsert(nullptr, pli, 0) && !LstGetItem(nullptr, nullptr));
  EXPECT_TRUE(!LstInsertSorted(nullptr, pli, Less) && !LstInsertSorted(plst_, pli, nullptr));
  EXPECT_EQ(LstSort(nullptr, LessOrEqual) + LstSort(plst_, nullptr), 0u);
  for (const auto pfn : {LstFreeList_, LstDeleteAll, LstDeleteAllBoth}) EXPECT_EQ(pfn(nullptr), 1u);
  for (const auto pfn : {LstFree, LstRemoveItem, LstDelete}) EXPECT_EQ(pfn(nullptr), 1u);
  for (const auto pfn : {LstLock, LstUnlock}) EXPECT_TRUE(pfn(nullptr) == 0 && pfn(plst_) == 1);

  EXPECT_EQ(ElementsOf(plst_), Elements{&aiKeys_});
  EXPECT_EQ(ElementsOf(plstOther), Elements{});
  LstFreeList_(plstOther);
  LstFree(pli);
}
} // namespace
