// links_test.cpp: lists, against vectors of the same elements.

#include "zebbase/lst.h"

#include <cmath>

#include "support.h"

namespace {
using Elements = std::vector<void *>;

ULONG ulComparisons;
std::mt19937 randomAnswers;

int KeyOf(void *pv) { return *static_cast<int *>(pv); }
bool IsLess(void *pv1, void *pv2) { return KeyOf(pv1) < KeyOf(pv2); }

BOOL LessOrEqual(void *pv1, void *pv2) {
  ulComparisons++;
  return KeyOf(pv1) <= KeyOf(pv2) ? 0x100 : 0; // any value but 0 is a yes
}
BOOL Less(void *pv1, void *pv2) { return IsLess(pv1, pv2); }
BOOL AnyAnswer(void *, void *) { return randomAnswers() % 2; }

// A comparison that changes its list now and then, as often as is left, and a vector with it.
struct {
  LIST *plst;
  Elements apv;
  std::vector<LISTITEM *> apliFree;
  unsigned uLeft;
} changing;
BOOL LessOrEqualButChanging(void *pv1, void *pv2) {
  const BOOL fLessOrEqual = LessOrEqual(pv1, pv2);
  if (changing.uLeft == 0 || randomAnswers() % 30) return fLessOrEqual;
  changing.uLeft--;
  const auto it =
      changing.apv.begin() + static_cast<std::ptrdiff_t>(randomAnswers() % changing.apv.size());
  LISTITEM *pli = LstGetItem(changing.plst, *it);
  const unsigned uChange = randomAnswers() % 3;
  if (uChange < 2) changing.apv.erase(it);
  if (uChange == 0) return LstDelete(pli) && fLessOrEqual;
  if (uChange == 1) LstRemoveItem(pli); // to be put back elsewhere
  if (uChange == 2) pli = std::exchange(changing.apliFree[changing.uLeft], nullptr);
  const bool fEnd = randomAnswers() % 2;
  LstInsertItem(changing.plst, pli, fEnd ? LST_END : 0);
  changing.apv.insert(fEnd ? changing.apv.end() : changing.apv.begin(), pli->pvData);
  return fLessOrEqual;
}

// The elements of a list, whose links, positions and count must be true.
Elements ElementsOf(const LIST *plst) {
  Elements apv;
  const LISTITEM *pliPrev = nullptr, *pli = plst->pliFirst;
  for (; pli && apv.size() < plst->ulCount; pliPrev = pli, pli = pli->pliNext) {
    EXPECT_TRUE(pli->pliPrev == pliPrev && pli->plst == plst && pli->fInList == 1)
        << "at " << apv.size();
    EXPECT_EQ(pli->ulIndex, plst->fIndexed ? apv.size() : 0);
    apv.push_back(pli->pvData);
  }
  EXPECT_TRUE(!pli && plst->pliLast == pliPrev && plst->ulCount == apv.size());
  return apv;
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

class ListTest : public NoLeak {
 protected:
  void SetUp() override {
    NoLeak::SetUp();
    LiftLimits();
    plst_ = LstNewList(LST_INDEXED);
  }
  void TearDown() override {
    EXPECT_EQ(LstFreeList_(plst_), 1u);
    NoLeak::TearDown();
  }
  Elements Fill(std::size_t cElements, unsigned uKeys) { // with random keys below uKeys
    LstDeleteAll(plst_);
    aiKeys_.resize(cElements);
    for (int &i : aiKeys_) LstInsert(plst_, &(i = static_cast<int>(random_() % uKeys)), LST_END);
    return ElementsOf(plst_);
  }
  Elements Sort(PFNLSTCOMPARE pfnCompare, bool fWithoutMemory = false) {
    ulComparisons = 0;
    EXPECT_EQ((FailMalloc(fWithoutMemory), LstSort(plst_, pfnCompare)), 1u);
    return ElementsOf(plst_);
  }

  LIST *plst_ = nullptr;
  std::vector<int> aiKeys_;
  std::mt19937 random_{1};
};

TEST_F(ListTest, KeepsEveryLinkAndPositionThroughRandomChanges) {
  LIST *plstPlain = LstNewList(~1UL);
  EXPECT_EQ(plst_->fIndexed - plstPlain->fIndexed, 1u);
  Elements aapv[2];
  for (std::uintptr_t u = 1; u <= 10000 && !HasFailure(); u++) {
    LIST *plst = u % 2 ? plst_ : plstPlain;
    Elements &apv = aapv[u % 2];
    void *pv = reinterpret_cast<void *>(u);
    const auto it = apv.begin() + static_cast<std::ptrdiff_t>(random_() % (apv.size() + 1));
    LISTITEM *pliRef = it < apv.end() ? LstGetItem(plst, *it) : nullptr;
    const bool fEnd = random_() % 2;
    switch (random_() % (apv.size() < 40 ? 5 : 9)) {
      case 0:
        EXPECT_EQ(LstInsert(plst, pv, fEnd ? LST_END : ~4UL),
                  fEnd ? plst->pliLast : plst->pliFirst);
        apv.insert(fEnd ? apv.end() : apv.begin(), pv);
        break;
      case 1:
        EXPECT_EQ(LstInsertBefore(plst, LstNew(pv), pliRef), 1u);
        apv.insert(it, pv);
        break;
      case 2:
        EXPECT_EQ(LstInsertAfter(plst, LstNew(pv), pliRef), 1u);
        apv.insert(pliRef ? it + 1 : apv.begin(), pv);
        break;
      case 3: // refused: linked already, or null
        EXPECT_EQ(LstInsertItem(plst_, pliRef, 0) + LstInsertBefore(plstPlain, pliRef, pliRef), 0u);
        break;
      case 4: // moved to an end
        if (!pliRef) break;
        EXPECT_EQ(LstRemoveItem(pliRef), 1u);
        EXPECT_TRUE(!pliRef->fInList && !pliRef->pliPrev && !pliRef->pliNext && !pliRef->ulIndex &&
                    pliRef->plst == plst);
        EXPECT_EQ(LstRemoveItem(pliRef) + LstDelete(pliRef), 0u);
        EXPECT_EQ(LstInsertItem(plst, pliRef, fEnd ? LST_END : 0), 1u);
        fEnd ? std::rotate(it, it + 1, apv.end()) : std::rotate(apv.begin(), it, it + 1);
        break;
      default:
        EXPECT_EQ(LstDelete(pliRef), 1u); // also of none
        if (pliRef) apv.erase(it);
    }
    EXPECT_EQ(ElementsOf(plst_), aapv[1]);
    EXPECT_EQ(ElementsOf(plstPlain), aapv[0]);
  }
  LstFreeList_(plstPlain);
}

TEST_F(ListTest, InsertSortedPutsTheNewestOfEqualsFirst) {
  Elements apv;
  for (void *pv : Fill(300, 20)) {
    if (apv.empty()) LstDeleteAll(plst_);
    EXPECT_EQ(LstInsertSorted(plst_, pv, LessOrEqual)->pvData, pv);
    apv.insert(std::lower_bound(apv.begin(), apv.end(), pv, IsLess), pv);
    EXPECT_EQ(ElementsOf(plst_), apv);
  }
}

TEST_F(ListTest, SortGivesTheOrderOfTheCombWithAndWithoutMemory) {
  for (unsigned u = 0; u < 400; u++) {
    const Elements apv = Fill(u < 200 ? u : random_() % 2000, u % 3 ? 10 : 100000);
    ASSERT_EQ(Sort(LessOrEqual, u % 2), CombSort(apv)) << apv.size();
  }
  for (const unsigned u : {0U, 1U, 2U, 20000U}) {
    Fill(u, 1000000);
    Sort(LessOrEqual);
    EXPECT_LE(ulComparisons, 3 * u * std::log2(u + 1));
    Sort(LessOrEqual);
    EXPECT_EQ(ulComparisons, u == 0 ? 0 : u - 1) << "of a list in order";
  }
}

TEST_F(ListTest, SortEndsWhateverTheComparisonAnswers) {
  for (unsigned u = 0; u < 240; u++) {
    for (const PFNLSTCOMPARE pfnCompare : {Less, AnyAnswer}) {
      const Elements apv = Fill(u / 2, u / 4 + 1), apvSorted = Sort(pfnCompare, u % 2);
      EXPECT_TRUE(std::is_permutation(apv.begin(), apv.end(), apvSorted.begin(), apvSorted.end()));
      EXPECT_TRUE(pfnCompare != Less || std::is_sorted(apvSorted.begin(), apvSorted.end(), IsLess));
    }
  }
}

TEST_F(ListTest, SortLosesNothingWhileItsComparisonChangesTheList) {
  std::vector<int> aiFree(4, 7);
  unsigned cUnsorted = 0;
  for (unsigned u = 0; u < 3000; u++) {
    changing = {plst_, Fill(random_() % 60, 50), {}, u % 5};
    for (int &i : aiFree) changing.apliFree.push_back(LstNew(&i));
    changing.apv.reserve(70); // so that the list alone calls malloc

    const bool fSorted = (FailMalloc(u % 2), LstSort(plst_, LessOrEqualButChanging));
    const Elements apv = ElementsOf(plst_);

    ASSERT_TRUE(
        std::is_permutation(apv.begin(), apv.end(), changing.apv.begin(), changing.apv.end()))
        << u;
    ASSERT_TRUE(fSorted ? std::is_sorted(apv.begin(), apv.end(), IsLess) : u % 5 > 2) << u;
    ASSERT_TRUE(fSorted || u % 2 || apv == changing.apv) << u << ": it stays in its order";
    cUnsorted += !fSorted;
    for (LISTITEM *pli : changing.apliFree) LstFree(pli);
  }
  EXPECT_GT(cUnsorted, 100u);
}

TEST_F(ListTest, DeletesDataOnlyWhenAsked) {
  char *pszKept = MemAllocString_("kept", 1, "test");
  for (int iRound = 0; iRound < 2; iRound++) {
    LstInsert(plst_, pszKept, 0);
    EXPECT_EQ(LstDeleteAll(plst_), 1u);
    EXPECT_EQ(ElementsOf(plst_), Elements{});
    for (int i = 0; i < 5; i++)
      LstInsert(plst_, i == 3 ? nullptr : MemAllocString_("text", 1, "test"), LST_END);
    EXPECT_EQ(LstDeleteAllBoth(plst_), 1u);
    EXPECT_EQ(ElementsOf(plst_), Elements{});
  }
  LstInsert(plst_, pszKept, 0); // left to LstFreeList_, which frees the node alone
  EXPECT_STREQ(pszKept, "kept");
  MemFreeMem_(pszKept);
}
} // namespace
