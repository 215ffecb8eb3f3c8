// memory_test.cpp: tracked memory, against a model of its blocks.

#include "zebbase/mem.h"

#include "support.h"

#ifndef __clang__ // what a program must not do with blocks is done here
#pragma GCC diagnostic ignored "-Wuse-after-free"
#pragma GCC diagnostic ignored "-Wfree-nonheap-object"
#pragma GCC diagnostic ignored "-Walloc-size-larger-than="
#endif
extern "C" __attribute__((weak)) void __asan_unpoison_memory_region(const volatile void *, size_t);

namespace {
using Messages = std::vector<std::string>;

struct BLOCK {
  char *pch;
  ULONG ulSize;
  ULONG ulLine = 70000;
  std::string strShown = "links"; // of the file name
  MEMBLOCK &Header() const { return reinterpret_cast<MEMBLOCK *>(pch)[-1]; }
};
using Heap = std::vector<BLOCK>;

std::string DumpOf(const Heap &heap) {
  std::string str;
  for (const BLOCK &block : heap) {
    char sz[100];
    std::snprintf(sz, sizeof sz, "%5td. %p %6s - %lu: %lu\n", &block - heap.data() + 1,
                  static_cast<void *>(&block.Header()), block.strShown.c_str(),
                  block.ulLine & 0xFFFF, block.ulSize);
    str += sz;
  }
  return str;
}

// A block that may be damaged: no sanitizer protects it, and the compiler forgets its size.
char *Alloc(ULONG ulBytes) {
  auto *pch = static_cast<char *>(MemAllocMem_(ulBytes, 70000, "src/links"));
  if (pch && __asan_unpoison_memory_region) __asan_unpoison_memory_region(pch - 24, ulBytes + 25);
  asm volatile("" : "+r"(pch));
  return pch;
}

// What is to be said of a block whose header, and guard behind the data, may be overwritten.
Messages ReportsOn(const BLOCK &block) {
  const MEMBLOCK &mb = block.Header();
  const bool fSize = mb.ulSize >= 25 && mb.ulSize <= block.ulSize;
  const bool fBottom = !fSize || block.pch[mb.ulSize - 25] == MEM_TRAILING_GUARD;
  char sz[100];
  std::snprintf(sz, sizeof sz, ". Allocated: %6.6s:%hu", mb.achFile, mb.usLine);
  Messages astr;
  if (mb.ulGuard != MEM_GUARD) astr.push_back(std::string("Top guard corrupt") + sz);
  if (!fBottom) astr.push_back(std::string("Bottom guard corrupt") + sz);
  if (!fSize) astr.push_back(std::string("Size invalid") + sz);
  return astr;
}

class MemoryTest : public NoLeak {
 protected:
  static std::string Dump() {
    Capture capture(stdout);
    EXPECT_EQ(MemDumpMemory(stdout), 1u);
    return capture.Take();
  }
  void Damage(const BLOCK &block, const Heap &heap) { // in any way
    MEMBLOCK &mb = block.Header();
    const ULONG ulFrom = Random(25);
    std::memset(reinterpret_cast<BYTE *>(&mb) + ulFrom, static_cast<BYTE>(Random(256)),
                Random(25 - ulFrom));
    if (Random(4) == 0) mb.ulSize = Random(2) ? 23 + Random(3) : block.ulSize + Random(3);
    MEMBLOCK &mbOther = OneOf(heap).Header(); // both: a link that leads back, but to the wrong one
    if (Random(4) == 0) mb.pmbNext = &mbOther;
    if (Random(4) == 0) mbOther.pmbPrev = &mb;
    if (Random(4) == 0) block.pch[block.ulSize - 25] = 0;
  }
};

TEST_F(MemoryTest, CountsMeasuresAndListsItsBlocks) {
  const char *const aapszNames[][2] = {
      {"lists", "lists"}, {"/folder/memory", "memory"}, {"error_test.c", "error_"}, {nullptr, ""}};
  Heap heap;
  ULONG ulAmount = 0, ulPeakAmount, ulPeakBlocks;
  MemQueryPeak(&ulPeakAmount, &ulPeakBlocks);
  for (int i = 0; i < 4000; i++) {
    ASSERT_EQ(Blocks(), heap.size());
    ASSERT_EQ(Amount(), ulAmount);
    ASSERT_TRUE(i % 50 != 0 || Dump() == DumpOf(heap)) << Dump();
    ULONG ulNowAmount, ulNowBlocks, ulMostAmount, ulMostBlocks;
    MemQueryStatus(&ulNowAmount, &ulNowBlocks);
    EXPECT_EQ(MemQueryPeak(&ulMostAmount, nullptr) + MemQueryPeak(nullptr, &ulMostBlocks), 0u);
    ASSERT_EQ(ulMostAmount, ulPeakAmount = std::max(ulPeakAmount, ulNowAmount));
    ASSERT_EQ(ulMostBlocks, ulPeakBlocks = std::max(ulPeakBlocks, ulNowBlocks));

    if (Random(40) >= heap.size()) {
      const auto &[pszFile, pszShown] = aapszNames[Random(4)];
      const ULONG ulBytes = Random(20) ? Random(300) : Random(100000), ulLine = Random(200000);
      auto *pch = static_cast<char *>(MemAllocMem_(ulBytes, ulLine, pszFile));
      ASSERT_EQ(std::count(pch, pch + ulBytes, '\0'), static_cast<long>(ulBytes));
      std::memset(pch, 0xFF, ulBytes);
      heap.push_back({pch, ulBytes + 25, ulLine, pszShown});
      ulAmount += ulBytes + 25;
    } else {
      const auto it = heap.begin() + static_cast<std::ptrdiff_t>(Random(heap.size()));
      ASSERT_EQ(MemQueryBlockSize(it->pch), it->ulSize);
      MemFreeMem_(it->pch);
      ulAmount -= it->ulSize;
      heap.erase(it);
    }
  }
  for (const BLOCK &block : heap) MemFreeMem_(block.pch);
  EXPECT_EQ(MemQueryBlockSize(nullptr) + MemQueryStatus(nullptr, nullptr), 0u);
  EXPECT_EQ(MemCheckMemory() & MemDumpMemory(nullptr), 1u);
}

TEST_F(MemoryTest, ReportsWhateverIsDamagedAndFreesWhatHasASizeThatCanBeTrue) {
  Reports reports;
  const auto Sorted = [](Messages astr) { return std::sort(astr.begin(), astr.end()), astr; };
  for (int i = 0; i < 1000; i++) {
    Heap heap(i % 500 ? 1 + Random(20) : 5000);
    for (BLOCK &block : heap) {
      const ULONG ulBytes = Random(300);
      block = {Alloc(ulBytes), ulBytes + 25};
      std::memset(block.pch, MEM_TRAILING_GUARD, ulBytes); // a wrong size finds a guard
    }
    const bool fEverySecond = i % 10 == 0; // so that the order of the blocks is not lost
    const ULONG ulOneIn = 1 + Random(5);
    for (std::size_t u = 0; u < heap.size(); u++) {
      if (fEverySecond && u % 2) std::memset(&heap[u].Header(), 0x11, sizeof(MEMBLOCK));
      if (!fEverySecond && Random(ulOneIn) == 0) Damage(heap[u], heap);
    }
    Messages astrExpected;
    for (const BLOCK &block : heap)
      for (const std::string &str : ReportsOn(block)) astrExpected.push_back(str);

    if (Random(4)) {
      EXPECT_EQ(MemCheckMemory(), 1u);
      ASSERT_EQ(Sorted(reports.Take()), Sorted(astrExpected));
      const std::string strDump = Dump();
      EXPECT_EQ(strDump.find(std::to_string(heap.size() + 1) + ". 0x"), strDump.npos);
      std::size_t cb = 0;
      for (const BLOCK &block : heap) {
        const auto strAddress = testing::PrintToString(static_cast<void *>(&block.Header()));
        cb = strDump.find(". " + strAddress + " ", fEverySecond ? cb : 0);
        ASSERT_NE(cb, strDump.npos);
      }
    }
    for (; !heap.empty(); heap.pop_back()) {
      std::swap(heap[Random(heap.size())], heap.back());
      const BLOCK &block = heap.back();
      astrExpected = ReportsOn(block);
      const bool fLeftAlone = !astrExpected.empty() && astrExpected.back().find("Size") == 0;
      MemFreeMem_(block.pch);
      ASSERT_EQ(reports.Take(), astrExpected);
      ASSERT_EQ(Blocks(), heap.size() - !fLeftAlone);
      if (!fLeftAlone) continue;
      block.Header().ulSize = block.ulSize;
      MemFreeMem_(block.pch);
      reports.Take();
    }
    ASSERT_EQ(Amount(), 0u);
  }
}

TEST_F(MemoryTest, ClearsWhatItFreesAndLeavesAloneWhatIsNoBlock) {
  Reports reports;
  const bool fLook = FailMalloc::Works(); // otherwise freed memory is not to be looked at
  MEMBLOCK ambForeign[2] = {};
  ambForeign[0].ulSize = sizeof ambForeign;
  char *pchLive = Alloc(1000);
  for (ULONG ul = 10; ul < 200; ul++) { // in the first bytes the allocator keeps its own notes
    char *pch = Alloc(ul);
    std::memset(pch, 0xFF, ul);
    MemFreeMem_(pch);
    EXPECT_TRUE(!fLook || std::all_of(pch, pch + ul + 1, [](char ch) { return ch == 0; }));
    for (void *pv : {static_cast<void *>(pch), static_cast<void *>(&ambForeign[1])}) {
      MemFreeMem_(pv);
      EXPECT_EQ(reports.Take(), Messages{"Top guard corrupt. Allocated:       :0"});
    }
    EXPECT_EQ(Amount(), 1025u);
  }
  BaseSetVerbosity(~VERB_ERROR);
  pchLive[-1] = pchLive[1000] = 0;
  MemFreeMem_(pchLive);
  EXPECT_EQ(reports.Take(), Messages{}) << "while errors are not wanted";
  Capture capture(stderr);
  MemFreeMem_(nullptr);
  MemFreeString_(nullptr);
  EXPECT_EQ(capture.Take(), "Warning! Tried to free NULL pointer.\n");
}

#ifdef __SANITIZE_ADDRESS__
TEST_F(MemoryTest, LetsTheSanitizerStopWhatLeavesABlock) {
  volatile char *pch = static_cast<char *>(MemAllocMem_(10, 1, "a"));
  asm volatile("" : "+r"(pch)); // the compiler forgets its size
  for (int i : {-24, -1, 10}) EXPECT_DEATH(pch[i] = 1, "AddressSanitizer") << i;

  MemFreeMem_(const_cast<char *>(pch));
  EXPECT_DEATH(pch[0] = 1, "use-after-free");
}
#endif

TEST_F(MemoryTest, WarnsOfALimitThatIsNotFatal) {
  Reports reports;
  EXPECT_EQ(MemSetLimits(275, 2, 0), 0u);
  for (char *pch : {Alloc(100), Alloc(0), Alloc(100)}) MemFreeMem_(pch); // the amount is reached
  EXPECT_EQ(Alloc(0xFFFFFFFF), nullptr);
  EXPECT_EQ(reports.Take(), (Messages{"Exceeded MaxNumBlocksAllowed 3 > 2",
                                      "Exceeded MaxAmountMemoryAllowed 4294967295 > 275",
                                      "A NULL pointer was detected."}));
}

TEST_F(MemoryTest, EndsTheProcessAtAFatalLimit) {
  const auto ReportToStderr = [](ULONG, const char *pszMessage) -> ULONG { // and go on allocating
    return Alloc(1) && std::fputs(pszMessage, stderr) < 0;
  };
  ErrInitialize(ERR_TYPE_CALLBACK, nullptr, static_cast<PFNERRREPORT>(ReportToStderr));
  const auto ExpectEnd = [](ULONG ulBytes, int iBlocks, ULONG ulLast, const std::string &strSaid) {
    const auto Exhaust = [=] {
      for (int i = 0; i < iBlocks; i++) Alloc(ulBytes);
      std::fputs("within. ", stderr);
      std::atexit([] { std::fputs(Alloc(1) ? " End." : " No memory.", stderr); });
      Alloc(ulLast);
    };
    EXPECT_EXIT(Exhaust(), testing::ExitedWithCode(1), "^within. " + strSaid + " End.$");
  };
  ExpectEnd(1, 10000, 1, "Exceeded MaxNumBlocksAllowed 10001 > 10000");
  ExpectEnd(10000000 - 25, 1, 1, "Exceeded MaxAmountMemoryAllowed 10000026 > 10000000");
  ExpectEnd(1, 1, 0xFFFFFFFF, "Exceeded MaxAmountMemoryAllowed 4294967295 > 10000000");
  BaseSetVerbosity(~VERB_ERROR);
  ExpectEnd(1, 10000, 1, "");
}

TEST_F(MemoryTest, GivesNullWithoutMemory) {
  Reports reports;
  LiftLimits();
  BaseSetVerbosity(0); // this report is made all the same
  char *psz = MemAllocString_("old", 1, "test");
  for (ULONG ul = 0xFFFFFFE7; ul != 0; ul++) EXPECT_EQ(Alloc(ul), nullptr) << "wraps: " << ul;
  EXPECT_EQ(reports.Take(), Messages(25, "A NULL pointer was detected."));
  if (FailMalloc::Works()) { // in the next call alone
    const FailMalloc fail1;
    EXPECT_EQ(Alloc(10), nullptr);
    const FailMalloc fail2;
    EXPECT_EQ(MemAllocString_("text", 1, "test"), nullptr);
    EXPECT_EQ(Amount(), 29u);
    const FailMalloc fail3;
    EXPECT_EQ(MemFreeStringAlloc_(&psz, "new", 1, "test"), nullptr);
    EXPECT_EQ(psz, nullptr);
    EXPECT_EQ(reports.Take(), Messages(3, "A NULL pointer was detected."));
  }
  MemFreeString_(psz);
}

TEST_F(MemoryTest, TextVariablesHoldWhatWasStored) {
  char *psz = nullptr;
  for (int i = 0; i < 2000; i++) {
    const std::string str = SomeChars("ab", 50);
    const char *pszNew = Random(3) ? str.c_str() : nullptr;
    if (psz && Random(2)) pszNew = psz + Random(std::strlen(psz) + 1); // of the text that is freed
    const std::string strModel = pszNew ? pszNew : "null";

    const char *pszResult = Random(2) ? MemFreeStringAlloc_(&psz, pszNew, 1, "test")
                                      : MemFreeStringSet(&psz, MemAllocString_(pszNew, 1, "test"));

    ASSERT_EQ(pszResult, psz);
    ASSERT_EQ(MemFreeStringSet(&psz, psz), pszResult) << "the same text stays";
    ASSERT_EQ(psz ? psz : "null", strModel);
    ASSERT_EQ(Amount(), psz ? strModel.size() + 1 + 25 : 0);
  }
  MemFreeString_(psz);
}
} // namespace
