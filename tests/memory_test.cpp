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

namespace {
using Messages = std::vector<std::string>;
const Messages astrNone;

struct BLOCK {
  char *pch;
  ULONG ulSize;
  ULONG ulLine;
  const char *pszShown; // of the file name
};

std::string DumpOf(const std::vector<BLOCK> &ablock) {
  std::string str;
  for (const BLOCK &block : ablock) {
    char sz[100];
    std::snprintf(sz, sizeof sz, "%5td. %p %6s - %lu: %lu\n", &block - ablock.data() + 1,
                  static_cast<void *>(block.pch - 24), block.pszShown, block.ulLine & 0xFFFF,
                  block.ulSize);
    str += sz;
  }
  return str;
}

class MemoryTest : public NoLeak {
 protected:
  static char *Alloc(ULONG ulBytes) { // whose size the compiler forgets: here it is overrun
    auto *pch = static_cast<char *>(MemAllocMem_(ulBytes, 70000, "src/links"));
    asm volatile("" : "+r"(pch));
    return pch;
  }
  static std::string Dump() {
    char sz[8192] = "";
    FILE *pf = fmemopen(sz, sizeof sz, "w");
    EXPECT_EQ(MemDumpMemory(pf), 1u);
    std::fclose(pf);
    return sz;
  }
};

TEST_F(MemoryTest, CountsMeasuresAndListsItsBlocks) {
  const char *const aapszNames[][2] = {
      {"lists", "lists"}, {"/folder/memory", "memory"}, {"error_test.c", "error_"}, {}};
  std::mt19937 random(1);
  std::vector<BLOCK> ablock;
  ULONG ulAmount = 0;
  for (int i = 0; i < 4000; i++) {
    ASSERT_EQ(Blocks(), ablock.size());
    ASSERT_EQ(Amount(), ulAmount);
    ASSERT_TRUE(i % 50 != 0 || Dump() == DumpOf(ablock)) << Dump();
    if (random() % 40 >= ablock.size()) {
      const auto &[pszFile, pszShown] = aapszNames[random() % 4];
      const ULONG ulBytes = random() % 20 ? random() % 300 : random() % 100000,
                  ulLine = random() % 200000;
      auto *pch = static_cast<char *>(MemAllocMem_(ulBytes, ulLine, pszFile));
      ASSERT_EQ(std::count(pch, pch + ulBytes, '\0'), static_cast<long>(ulBytes));
      std::memset(pch, 0xFF, ulBytes);
      ablock.push_back({pch, ulBytes + 25, ulLine, pszShown ? pszShown : ""});
      ulAmount += ulBytes + 25;
    } else {
      const auto it = ablock.begin() + static_cast<std::ptrdiff_t>(random() % ablock.size());
      ASSERT_EQ(MemQueryBlockSize(it->pch), it->ulSize);
      MemFreeMem_(it->pch);
      ulAmount -= it->ulSize;
      ablock.erase(it);
    }
  }
  for (const BLOCK &block : ablock) MemFreeMem_(block.pch);
  EXPECT_EQ(MemQueryBlockSize(nullptr) + MemQueryStatus(nullptr, nullptr), 0u);
  EXPECT_EQ(MemCheckMemory() & MemDumpMemory(nullptr), 1u);
}

// Blocks whose headers, and guards behind the data, are overwritten in any way; and what is to be said of each.
class Damaged {
 public:
  explicit Damaged(ULONG ulBlocks) {
    while (ablock_.size() < ulBlocks) {
      const ULONG ulBytes = random_() % 300;
      auto *pch = static_cast<char *>(MemAllocMem_(ulBytes, 70000, "src/links"));
      std::memset(pch, MEM_TRAILING_GUARD,
                  ulBytes); // a wrong size finds a guard, in this block and behind it
      ablock_.push_back({pch, ulBytes + 25, 0, ""});
    }
  }
  std::vector<BLOCK> &Blocks() { return ablock_; }
  static MEMBLOCK &Header(const BLOCK &block) {
    return reinterpret_cast<MEMBLOCK *>(block.pch)[-1];
  }
  void Damage(const BLOCK &block) {
    MEMBLOCK &mb = Header(block);
    const auto Other = [&] { return &Header(ablock_[random_() % ablock_.size()]); };
    const ULONG ulFrom = random_() % 24, ulTo = ulFrom + 1 + random_() % (24 - ulFrom);
    const BYTE bFill = static_cast<BYTE>(random_());
    for (ULONG ul = ulFrom; random_() % 4 && ul < ulTo; ul++)
      reinterpret_cast<BYTE *>(&mb)[ul] = random_() % 2 ? bFill : static_cast<BYTE>(random_());
    if (random_() % 4 == 0) mb.ulSize = random_() % 1000;
    if (random_() % 4 == 0) mb.pmbNext = Other(); // links to blocks, which are the wrong ones
    if (random_() % 4 == 0) mb.pmbPrev = Other();
    if (random_() % 4 == 0) block.pch[block.ulSize - 25] = 0;
  }
  static Messages Expected(const BLOCK &block) {
    const MEMBLOCK &mb = Header(block);
    const bool fSize = mb.ulSize >= 25 && mb.ulSize <= block.ulSize;
    char sz[100];
    std::snprintf(sz, sizeof sz, ". Allocated: %6.6s:%hu", mb.achFile, mb.usLine);
    Messages astr;
    if (mb.ulGuard != MEM_GUARD) astr.push_back(std::string("Top guard corrupt") + sz);
    if (fSize && block.pch[mb.ulSize - 25] != MEM_TRAILING_GUARD)
      astr.push_back(std::string("Bottom guard corrupt") + sz);
    if (!fSize) astr.push_back(std::string("Size invalid") + sz);
    return astr;
  }
  Messages Expected() const {
    Messages astr;
    for (const BLOCK &block : ablock_)
      for (const std::string &str : Expected(block)) astr.push_back(str);
    return astr;
  }

 private:
  static inline std::mt19937 random_{1};
  std::vector<BLOCK> ablock_;
};

TEST_F(MemoryTest, ReportsWhateverIsDamagedAndFreesWhatHasASizeThatCanBeTrue) {
  Reports reports;
  std::mt19937 random(2);
  for (int i = 0; i < 1000; i++) {
    Damaged damaged(1 + random() % 20);
    auto &ablock = damaged.Blocks();
    for (const BLOCK &block : ablock)
      if (random() % 3 == 0) damaged.Damage(block);
    if (random() % 4) {
      const auto Sorted = [](Messages astr) { return std::sort(astr.begin(), astr.end()), astr; };
      EXPECT_EQ(MemCheckMemory(), 1u);
      ASSERT_EQ(Sorted(reports.Take()), Sorted(damaged.Expected()));
      const std::string strDump = Dump();
      EXPECT_EQ(strDump.find(std::to_string(ablock.size() + 1) + ". 0x"), std::string::npos);
      for (const BLOCK &block : ablock) {
        std::ostringstream address;
        address << ". " << static_cast<void *>(block.pch - 24) << ' ';
        ASSERT_NE(strDump.find(address.str()), std::string::npos);
      }
    }
    for (std::shuffle(ablock.begin(), ablock.end(), random); !ablock.empty(); ablock.pop_back()) {
      const BLOCK &block = ablock.back();
      const Messages astrExpected = Damaged::Expected(block);
      const bool fLeftAlone = !astrExpected.empty() && astrExpected.back().find("Size") == 0;
      MemFreeMem_(block.pch);
      ASSERT_EQ(reports.Take(), astrExpected);
      ASSERT_EQ(Blocks(), ablock.size() - !fLeftAlone);
      if (!fLeftAlone) continue;
      Damaged::Header(block).ulSize = block.ulSize;
      MemFreeMem_(block.pch);
      reports.Take();
    }
    ASSERT_EQ(Amount(), 0u);
  }
}

TEST_F(MemoryTest, KeepsItsOrderBetweenDamagedBlocksAndChecksThousandsOfThem) {
  Reports reports;
  std::vector<BLOCK> ablock;
  for (ULONG ul = 0; ul < 5000; ul++) {
    ablock.push_back({Alloc(10), 35, 70000, "links"});
    if (ul % 2 == 0) continue;
    BLOCK &block = ablock.back();
    std::memset(block.pch - 24, 0x11, 24);
    block = {block.pch, 0x11111111, 0x1111, "\x11\x11\x11\x11\x11\x11"};
    ASSERT_TRUE(ul >= 100 || Dump() == DumpOf(ablock));
  }
  for (const BLOCK &block : ablock) std::memset(block.pch - 20, 0x11, 20);
  MemCheckMemory();
  EXPECT_EQ(reports.Take().size(), 5000u + 2500u)
      << "all guards, and the sizes of every second block";
  for (const BLOCK &block : ablock) {
    Damaged::Header(block).ulSize = 35;
    MemFreeMem_(block.pch);
  }
  EXPECT_EQ(reports.Take().size(), 5000u);
}

TEST_F(MemoryTest, LeavesAloneWhatCannotBeALiveBlock) {
  Reports reports;
  char *pch = Alloc(100);
  auto *pmb = reinterpret_cast<MEMBLOCK *>(pch) - 1;
  for (const ULONG ulSize : {126UL, 0x7FFFFFFFUL, 0xFFFFFFFFUL, 24UL, 0UL}) {
    pmb->ulSize = ulSize;
    MemFreeMem_(pch);
    EXPECT_EQ(reports.Take(), Messages{"Size invalid. Allocated:  links:4464"}) << ulSize;
  }
  pmb->ulSize = 125;
  MEMBLOCK ambForeign[2] = {};
  ambForeign[0].ulSize = sizeof ambForeign;
  MemFreeMem_(&ambForeign[1]);
  EXPECT_EQ(reports.Take(), Messages{"Top guard corrupt. Allocated:       :0"});
  EXPECT_EQ(Amount(), 125u);
  BaseSetVerbosity(~VERB_ERROR);
  pch[-1] = pch[100] = 0;
  MemFreeMem_(pch);
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
  for (ULONG ul = 10; ul < 200;
       ul++) { // bytes; the allocator keeps its own notes in the first ones
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
  const auto Exhaust = [](ULONG ulBytes, int iBlocks, ULONG ulLast = 1) {
    for (int i = 0; i < iBlocks; i++) Alloc(ulBytes);
    std::fputs("within. ", stderr);
    std::atexit([] { std::fputs(Alloc(1) ? " End." : " No memory.", stderr); });
    Alloc(ulLast);
  };
  const auto ends = testing::ExitedWithCode(1);
  EXPECT_EXIT(Exhaust(1, 10000), ends, "^within. Exceeded MaxNumBlocksAllowed 10001 > 10000 End.$");
  EXPECT_EXIT(Exhaust(10000000 - 25, 1), ends,
              "^within. Exceeded MaxAmountMemoryAllowed 10000026 > 10000000 End.$");
  EXPECT_EXIT(Exhaust(1, 1, 0xFFFFFFFF), ends,
              "^within. Exceeded MaxAmountMemoryAllowed 4294967295 > 10000000 End.$");
  BaseSetVerbosity(~VERB_ERROR);
  EXPECT_EXIT(Exhaust(1, 10000), ends, "^within.  End.$");
}

TEST_F(MemoryTest, GivesNullWithoutMemory) {
  Reports reports;
  LiftLimits();
  BaseSetVerbosity(0); // this report is made all the same
  char *psz = MemAllocString_("old", 1, "test");
  const auto Fails = [&](auto call) {
    return !call() && reports.Take() == Messages{"A NULL pointer was detected."};
  };
  for (ULONG ul = 0xFFFFFFE7; ul != 0; ul++)
    EXPECT_TRUE(Fails([ul] { return Alloc(ul); })) << "wraps around: " << ul;
  if (FailMalloc::Works()) {
    EXPECT_TRUE(Fails([] { return FailMalloc(), Alloc(10); }));
    EXPECT_TRUE(Fails([] { return FailMalloc(), MemAllocString_("text", 1, "test"); }));
    EXPECT_EQ(Amount(), 29u);
    EXPECT_TRUE(Fails([&] { return FailMalloc(), MemFreeStringAlloc_(&psz, "new", 1, "test"); }));
    EXPECT_EQ(psz, nullptr);
  }
  MemFreeString_(psz);
}

TEST_F(MemoryTest, TextVariablesHoldWhatWasStored) {
  std::mt19937 random(2);
  char *psz = nullptr;
  std::optional<std::string> strModel;
  for (int i = 0; i < 2000; i++) {
    const std::string str(random() % 50, static_cast<char>('a' + i % 26));
    const char *pszResult = psz;
    if (const auto uChoice = random() % 5; uChoice == 0) {
      pszResult = MemFreeStringAlloc_(&psz, (strModel = str)->c_str(), 1, "test");
    } else if (uChoice == 1) {
      pszResult = MemFreeStringSet(&psz, MemAllocString_((strModel = str)->c_str(), 1, "test"));
    } else if (uChoice == 2) {
      pszResult =
          i % 2 ? MemFreeStringAlloc_(&psz, nullptr, 1, "test") : MemFreeStringSet(&psz, nullptr);
      strModel.reset();
    } else if (uChoice == 3) {
      EXPECT_EQ(MemFreeStringSet(&psz, psz), pszResult) << "is kept";
    } else if (psz) { // the end of the very text that is freed
      strModel = strModel->substr(random() % (strModel->size() + 1));
      pszResult = MemFreeStringAlloc_(&psz, psz + std::strlen(psz) - strModel->size(), 1, "test");
    }
    ASSERT_EQ(pszResult, psz);
    ASSERT_EQ(psz ? std::optional<std::string>(psz) : std::nullopt, strModel);
    ASSERT_EQ(Amount(), psz ? std::strlen(psz) + 1 + 25 : 0);
  }
  MemFreeString_(psz);
}
} // namespace
