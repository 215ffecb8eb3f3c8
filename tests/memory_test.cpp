// memory_test.cpp: tracked memory, against a model of its blocks.

#include "zebbase/mem.h"

#include <optional>
#include <sstream>

#include "support.h"

#ifndef __clang__ // what a program must not do with blocks is done here
#pragma GCC diagnostic ignored "-Wuse-after-free"
#pragma GCC diagnostic ignored "-Wfree-nonheap-object"
#pragma GCC diagnostic ignored "-Walloc-size-larger-than="
#endif
extern "C" __attribute__((weak)) void __asan_unpoison_memory_region(const volatile void *, size_t);

namespace {
using Messages = std::vector<std::string>;
const Messages astrNone;

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
    char sz[8192] = "";
    FILE *pf = fmemopen(sz, sizeof sz, "w");
    EXPECT_EQ(MemDumpMemory(pf), 1u);
    std::fclose(pf);
    return sz;
  }
  Heap SomeBlocks(ULONG ulBlocks) {
    Heap heap;
    while (heap.size() < ulBlocks) {
      const ULONG ulBytes = Random(300);
      heap.push_back({Alloc(ulBytes), ulBytes + 25});
      std::memset(heap.back().pch, MEM_TRAILING_GUARD, ulBytes); // a wrong size finds a guard
    }
    return heap;
  }
  void Damage(const BLOCK &block, const Heap &heap) { // in any way
    MEMBLOCK &mb = block.Header();
    const ULONG ulFrom = Random(24), ulTo = ulFrom + 1 + Random(24 - ulFrom);
    const auto bFill = static_cast<BYTE>(Random(256));
    for (ULONG ul = ulFrom; Random(4) && ul < ulTo; ul++)
      reinterpret_cast<BYTE *>(&mb)[ul] = Random(2) ? bFill : static_cast<BYTE>(Random(256));
    if (Random(4) == 0) mb.ulSize = Random(1000);
    if (Random(4) == 0) mb.pmbNext = &OneOf(heap).Header(); // a block, but the wrong one
    if (Random(4) == 0) mb.pmbPrev = &OneOf(heap).Header();
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
    Heap heap = SomeBlocks(1 + Random(20));
    Messages astrExpected;
    for (const BLOCK &block : heap) {
      if (Random(3) == 0) Damage(block, heap);
    }
    for (const BLOCK &block : heap)
      for (const std::string &str : ReportsOn(block)) astrExpected.push_back(str);

    if (Random(4)) {
      EXPECT_EQ(MemCheckMemory(), 1u);
      ASSERT_EQ(Sorted(reports.Take()), Sorted(astrExpected));
      const std::string strDump = Dump();
      EXPECT_EQ(strDump.find(std::to_string(heap.size() + 1) + ". 0x"), std::string::npos);
      for (const BLOCK &block : heap) {
        std::ostringstream address;
        address << ". " << static_cast<void *>(&block.Header()) << ' ';
        ASSERT_NE(strDump.find(address.str()), std::string::npos);
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

TEST_F(MemoryTest, KeepsItsOrderBetweenDamagedBlocksAndChecksThousandsOfThem) {
  Reports reports;
  Heap heap;
  for (ULONG ul = 0; ul < 5000; ul++) {
    heap.push_back({Alloc(10), 35});
    if (ul % 2 == 0) continue;
    std::memset(&heap[ul].Header(), 0x11, 24);
    heap[ul] = {heap[ul].pch, 0x11111111, 0x1111, std::string(6, 0x11)};
    ASSERT_TRUE(ul >= 100 || Dump() == DumpOf(heap));
  }
  for (const BLOCK &block : heap) std::memset(&block.Header().pmbNext, 0x11, 20);
  MemCheckMemory();
  EXPECT_EQ(reports.Take().size(), 5000u + 2500u) << "all guards, every second block's size";
  for (const BLOCK &block : heap) {
    block.Header().ulSize = 35;
    MemFreeMem_(block.pch);
  }
  EXPECT_EQ(reports.Take().size(), 5000u);
}

TEST_F(MemoryTest, LeavesAloneWhatCannotBeALiveBlock) {
  Reports reports;
  const BLOCK block = {Alloc(100), 125};
  for (const ULONG ulSize : {126UL, 0x7FFFFFFFUL, 0xFFFFFFFFUL, 24UL, 0UL}) {
    block.Header().ulSize = ulSize;
    MemFreeMem_(block.pch);
    EXPECT_EQ(reports.Take(), Messages{"Size invalid. Allocated:  links:4464"}) << ulSize;
  }
  block.Header().ulSize = 125;
  MEMBLOCK ambForeign[2] = {};
  ambForeign[0].ulSize = sizeof ambForeign;
  MemFreeMem_(&ambForeign[1]);
  EXPECT_EQ(reports.Take(), Messages{"Top guard corrupt. Allocated:       :0"});
  EXPECT_EQ(Amount(), 125u);
  BaseSetVerbosity(~VERB_ERROR);
  block.pch[-1] = block.pch[100] = 0;
  MemFreeMem_(block.pch);
  EXPECT_EQ(reports.Take(), astrNone) << "while errors are not wanted";
  Capture capture(stderr);
  MemFreeMem_(nullptr);
  MemFreeString_(nullptr);
  EXPECT_EQ(capture.Take(), "Warning! Tried to free NULL pointer.\n");
}

TEST_F(MemoryTest, ClearsWhatItFreesAndRefusesToFreeItAgain) {
  if (!FailMalloc::Works()) GTEST_SKIP() << "freed memory is not to be looked at here";
  Reports reports;
  char *pchLive = Alloc(1000);
  for (ULONG ul = 10; ul < 200; ul++) { // in the first bytes the allocator keeps its own notes
    char *pch = Alloc(ul);
    std::memset(pch, 0xFF, ul);
    MemFreeMem_(pch);
    EXPECT_EQ(std::count(pch, pch + ul + 1, '\0'), static_cast<long>(ul + 1)) << "guard included";
    MemFreeMem_(pch);
    EXPECT_GE(reports.Take().size(), 1u);
    EXPECT_EQ(Amount(), 1025u);
  }
  MemFreeMem_(pchLive);
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
  EXPECT_EQ(MemSetLimits(150, 2, 0), 0u);
  char *const apchWithin[] = {Alloc(100), Alloc(0)};
  EXPECT_EQ(reports.Take(), astrNone) << "at both limits";
  char *const pchBeyond = Alloc(100);
  EXPECT_EQ(reports.Take(), (Messages{"Exceeded MaxAmountMemoryAllowed 275 > 150",
                                      "Exceeded MaxNumBlocksAllowed 3 > 2"}));
  EXPECT_EQ(Alloc(0xFFFFFFFF), nullptr);
  EXPECT_EQ(reports.Take(),
            (Messages{"Exceeded MaxAmountMemoryAllowed 4294967295 > 150",
                      "Exceeded MaxNumBlocksAllowed 4 > 2", "A NULL pointer was detected."}));
  for (char *pch : {apchWithin[0], apchWithin[1], pchBeyond}) MemFreeMem_(pch);
}

TEST_F(MemoryTest, EndsTheProcessAtAFatalLimit) {
  const auto ReportToStderr = [](ULONG, const char *pszMessage) -> ULONG { // and go on allocating
    return Alloc(1) && std::fputs(pszMessage, stderr) < 0;
  };
  ErrInitialize(ERR_TYPE_CALLBACK, nullptr, static_cast<PFNERRREPORT>(ReportToStderr));
  const auto ExpectEnd = [](ULONG ulBytes, int iBlocks, ULONG ulLast, const char *pszSaid) {
    const auto Exhaust = [=] {
      for (int i = 0; i < iBlocks; i++) Alloc(ulBytes);
      std::fputs("within. ", stderr);
      std::atexit([] { std::fputs(Alloc(1) ? " End." : " No memory.", stderr); });
      Alloc(ulLast);
    };
    EXPECT_EXIT(Exhaust(), testing::ExitedWithCode(1), pszSaid);
  };
  const auto pszAmount = "^within. Exceeded MaxAmountMemoryAllowed 10000026 > 10000000 End.$";
  const auto pszHuge = "^within. Exceeded MaxAmountMemoryAllowed 4294967295 > 10000000 End.$";
  ExpectEnd(1, 10000, 1, "^within. Exceeded MaxNumBlocksAllowed 10001 > 10000 End.$");
  ExpectEnd(10000000 - 25, 1, 1, pszAmount);
  ExpectEnd(1, 1, 0xFFFFFFFF, pszHuge);
  BaseSetVerbosity(~VERB_ERROR);
  ExpectEnd(1, 10000, 1, "^within.  End.$");
}

TEST_F(MemoryTest, GivesNullWithoutMemory) {
  Reports reports;
  LiftLimits();
  BaseSetVerbosity(0); // this report is made all the same
  char *psz = MemAllocString_("old", 1, "test");
  const auto Fails = [&](bool fMalloc, auto call) {
    const FailMalloc fail(fMalloc);
    return !call() && reports.Take() == Messages{"A NULL pointer was detected."};
  };
  for (ULONG ul = 0xFFFFFFE7; ul != 0; ul++)
    EXPECT_TRUE(Fails(false, [ul] { return Alloc(ul); })) << "wraps around: " << ul;
  if (FailMalloc::Works()) {
    EXPECT_TRUE(Fails(true, [] { return Alloc(10); }));
    EXPECT_TRUE(Fails(true, [] { return MemAllocString_("text", 1, "test"); }));
    EXPECT_EQ(Amount(), 29u);
    EXPECT_TRUE(Fails(true, [&] { return MemFreeStringAlloc_(&psz, "new", 1, "test"); }));
    EXPECT_EQ(psz, nullptr);
  }
  MemFreeString_(psz);
}

TEST_F(MemoryTest, TextVariablesHoldWhatWasStored) {
  char *psz = nullptr;
  std::optional<std::string> strModel;
  for (int i = 0; i < 2000; i++) {
    const std::string str(Random(50), static_cast<char>('a' + i % 26));
    const char *pszResult = psz;
    const ULONG ulChoice = Random(5);
    if (ulChoice == 0) pszResult = MemFreeStringAlloc_(&psz, str.c_str(), 1, "test");
    if (ulChoice == 1) pszResult = MemFreeStringSet(&psz, MemAllocString_(str.c_str(), 1, "test"));
    if (ulChoice < 2) strModel = str;
    if (ulChoice == 2) {
      pszResult =
          i % 2 ? MemFreeStringAlloc_(&psz, nullptr, 1, "test") : MemFreeStringSet(&psz, nullptr);
      strModel.reset();
    }
    const bool fKept = ulChoice != 3 || MemFreeStringSet(&psz, psz) == pszResult;
    if (ulChoice == 4 && psz) { // the end of the very text that is freed
      strModel = strModel->substr(Random(strModel->size() + 1));
      pszResult = MemFreeStringAlloc_(&psz, psz + std::strlen(psz) - strModel->size(), 1, "test");
    }
    ASSERT_TRUE(pszResult == psz && fKept);
    ASSERT_EQ(psz ? std::optional<std::string>(psz) : std::nullopt, strModel);
    ASSERT_EQ(Amount(), psz ? std::strlen(psz) + 1 + 25 : 0);
  }
  MemFreeString_(psz);
}
} // namespace
