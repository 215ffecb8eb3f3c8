// memory.cpp: the tracked allocator against malloc with what the allocator promises: clear data, cleared on release.

#include <algorithm>
#include <bit>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <random>
#include <string_view>

#include "bench.h"
#include "floor.h"
#include "peers.h"
#include "zebbase/mem.h"

namespace {
constexpr char szUnit[] = "bench";

void *FloorAlloc(ULONG ulBytes) {
  void *pv = std::malloc(ulBytes);
  Touch(pv);
  return std::memset(pv, 0, ulBytes);
}

void FloorFree(void *pv, ULONG ulBytes) {
  std::memset(pv, 0, ulBytes);
  Touch(pv);
  std::free(pv);
}

void *LibraryAlloc(ULONG ulBytes) { return MemAllocMem_(ulBytes, __LINE__, szUnit); }

struct BLOCK {
  void *pv;
  ULONG ulBytes;
};

// Live blocks of one allocator, of 1 to 256 bytes; the same sizes for every seed.
template <typename Alloc, typename Free>
class Heap {
 public:
  Heap(ULONG ulBlocks, Alloc alloc, Free free) : alloc_(alloc), free_(free) {
    for (ULONG ul = 0; ul < ulBlocks; ul++) {
      const ULONG ulBytes = random_() % 256 + 1;
      ablk_.push_back({alloc_(ulBytes), ulBytes});
    }
  }
  Heap(const Heap &) = delete;
  Heap &operator=(const Heap &) = delete;
  ~Heap() {
    for (const BLOCK &blk : ablk_) free_(blk.pv, blk.ulBytes);
  }
  void Churn(ULONG ulPairs) { // replaces blocks at random
    for (ULONG ul = 0; ul < ulPairs; ul++) {
      const auto uRandom = random_();
      BLOCK &blk = ablk_[(uRandom >> 8) % ablk_.size()];
      free_(blk.pv, blk.ulBytes);
      blk.ulBytes = uRandom % 256 + 1;
      blk.pv = alloc_(blk.ulBytes);
    }
  }
  const BLOCK &operator[](ULONG ul) const { return ablk_[ul]; }

 private:
  Alloc alloc_;
  Free free_;
  std::mt19937 random_{1};
  std::vector<BLOCK> ablk_;
};

auto LibraryHeap(ULONG ulBlocks) {
  return Heap(ulBlocks, LibraryAlloc, [](void *pv, ULONG) { MemFreeMem_(pv); });
}

auto FloorHeap(ULONG ulBlocks) { return Heap(ulBlocks, FloorAlloc, FloorFree); }
auto PeerHeap(ULONG ulBlocks) {
  return Heap(ulBlocks, std::malloc, [](void *pv, ULONG) { std::free(pv); });
}
} // namespace

namespace {
constexpr ULONG ulPairs = 100; // a run

bool IsClear(const void *pv, ULONG ulBytes) {
  const auto *pb = static_cast<const BYTE *>(pv);
  return std::all_of(pb, pb + ulBytes, [](BYTE b) { return b == 0; });
}

void MeasurePair(ULONG ulSize, double dGoal, const std::string &strLive) {
  const ULONG ulBytes = Opaque(ulSize);
  void *pv = LibraryAlloc(ulBytes);
  REQUIRE(IsClear(pv, ulBytes));
  MemFreeMem_(pv);
  const auto Library = [=] {
    for (ULONG ul = 0; ul < ulPairs; ul++) MemFreeMem_(LibraryAlloc(ulBytes));
  };
  const auto Floor = [=] {
    for (ULONG ul = 0; ul < ulPairs; ul++) FloorFree(FloorAlloc(ulBytes), ulBytes);
  };
  const auto Peer = [=] {
    for (ULONG ul = 0; ul < ulPairs; ul++) {
      void *pvBlock = std::malloc(ulBytes);
      Touch(pvBlock);
      std::free(pvBlock);
    }
  };
  Measure({"memory: pair, " + std::to_string(ulSize) + " bytes, " + strLive + " live blocks", dGoal}, {Library},
          {Floor}, {{Peer, {}, "malloc, free"}});
}

void MeasurePairs(const std::string &strLive) {
  MeasurePair(16, 1.5, strLive);
  MeasurePair(64, 1.7, strLive);
  MeasurePair(256, 1.7, strLive);
  MeasurePair(4096, 1.2, strLive);
}
} // namespace

TEST_CASE("memory: pair") { MeasurePairs("no"); }

TEST_CASE("memory: pair among live blocks") {
  const auto library = LibraryHeap(5000);
  const auto floor = FloorHeap(5000);
  MeasurePairs("5,000");
}

TEST_CASE("memory: churn") {
  auto library = LibraryHeap(5000);
  auto floor = FloorHeap(5000);
  auto peer = PeerHeap(5000);
  Measure({"memory: churn over 5,000 live blocks", 1.45}, {[&] { library.Churn(ulPairs); }},
          {[&] { floor.Churn(ulPairs); }}, {{[&] { peer.Churn(ulPairs); }, {}, "malloc, free"}});
}

namespace {
constexpr ULONG ulManyBlocks = 9000;

const MEMBLOCK *HeaderOf(const BLOCK &blk) { return static_cast<const MEMBLOCK *>(blk.pv) - 1; }

// Walks the chain of live blocks and compares what makes a block a good one.
[[gnu::noinline]] bool FloorCheck(const MEMBLOCK *pmb) {
  bool fGood = true;
  for (; pmb; pmb = pmb->pmbNext)
    fGood &= pmb->ulGuard == MEM_GUARD && reinterpret_cast<const BYTE *>(pmb)[pmb->ulSize - 1] == MEM_TRAILING_GUARD;
  return fGood;
}

// A dump, with the digits by hand, into a buffer that has room for all of it.
char *PutHexadecimal(char *pch, std::uintptr_t u) {
  for (int iShift = 28 - std::countl_zero(u) / 4 * 4; iShift >= 0; iShift -= 4)
    *pch++ = "0123456789abcdef"[u >> iShift & 15];
  return pch;
}

char *PutDumpLine(char *pch, ULONG ulNumber, const MEMBLOCK *pmb) {
  for (ULONG ul = 10000; ul > ulNumber; ul /= 10) *pch++ = ' ';
  pch = PutText(PutDecimal(pch, ulNumber), ". 0x");
  pch = PutHexadecimal(pch, reinterpret_cast<std::uintptr_t>(pmb));
  *pch++ = ' ';
  for (const char ch : pmb->achFile)
    if (!ch) *pch++ = ' ';
  for (const char ch : pmb->achFile)
    if (ch) *pch++ = ch;
  pch = PutText(PutDecimal(PutText(pch, " - "), pmb->usLine), ": ");
  pch = PutDecimal(pch, pmb->ulSize);
  *pch++ = '\n';
  return pch;
}

void FloorDump(FILE *pf, const MEMBLOCK *pmb) {
  static char ach[ulManyBlocks * 64];
  char *pch = ach;
  for (ULONG ulNumber = 1; pmb; pmb = pmb->pmbNext) pch = PutDumpLine(pch, ulNumber++, pmb);
  std::fwrite(ach, 1, static_cast<std::size_t>(pch - ach), pf);
}

void PeerDump(FILE *pf, const MEMBLOCK *pmb) {
  for (ULONG ulNumber = 1; pmb; pmb = pmb->pmbNext, ulNumber++)
    std::fprintf(pf, "%5lu. %p %6.6s - %hu: %lu\n", ulNumber, static_cast<const void *>(pmb), pmb->achFile, pmb->usLine,
                 pmb->ulSize);
}

template <typename Dump>
std::string DumpText(Dump dump) {
  const std::string strFile = ScratchFile("dump");
  FILE *pf = std::fopen(strFile.c_str(), "w");
  dump(pf);
  std::fclose(pf);
  return ReadFile(strFile);
}
} // namespace

TEST_CASE("memory: check") {
  const auto heap = LibraryHeap(ulManyBlocks);
  const MEMBLOCK *pmbFirst = HeaderOf(heap[0]);
  REQUIRE(FloorCheck(pmbFirst));
  Measure({"memory: check of 9,000 blocks", 1.15}, {[] { MemCheckMemory(); }},
          {[&] { Opaque(FloorCheck(Opaque(pmbFirst))); }});
}

TEST_CASE("memory: dump") {
  const auto heap = LibraryHeap(ulManyBlocks);
  const MEMBLOCK *pmbFirst = HeaderOf(heap[0]);
  const auto strDump = DumpText(MemDumpMemory);
  REQUIRE(strDump == DumpText([&](FILE *pf) { FloorDump(pf, pmbFirst); }));
  REQUIRE(strDump == DumpText([&](FILE *pf) { PeerDump(pf, pmbFirst); }));
  const std::unique_ptr<FILE, int (*)(FILE *)> file(std::fopen("/dev/null", "w"), std::fclose);
  FILE *pf = file.get();
  Measure({"memory: dump of 9,000 blocks", 2, 0.12}, {[=] { MemDumpMemory(pf); }}, {[=] { FloorDump(pf, pmbFirst); }},
          {{[=] { PeerDump(pf, pmbFirst); }, {}, "fprintf"}});
}

namespace {
// The length is known; a reader of the floor's would see no more.
void FloorCopyAndFree(const char *psz, ULONG ulBytes) {
  void *pv = std::malloc(ulBytes);
  std::memcpy(pv, psz, ulBytes);
  Touch(pv);
  FloorFree(pv, ulBytes);
}

void PeerCopyAndFree(const char *psz) {
  char *pszCopy = strdup(psz);
  Touch(pszCopy);
  std::free(pszCopy);
}
} // namespace

TEST_CASE("memory: string copy") {
  const char *psz = Opaque("abcdefghijklmnopqrstuvwx");
  const ULONG ulBytes = std::strlen(psz) + 1;
  char *pszCopy = MemAllocString_(psz, __LINE__, szUnit);
  REQUIRE(std::strcmp(pszCopy, psz) == 0);
  MemFreeString_(pszCopy);
  const auto Repeat = [](auto copyAndFree) {
    return [=] {
      for (ULONG ul = 0; ul < ulPairs; ul++) copyAndFree();
    };
  };
  Measure({"memory: string copy, 24 characters", 2.8, 1.35},
          {Repeat([=] { MemFreeString_(MemAllocString_(psz, __LINE__, szUnit)); })},
          {Repeat([=] { FloorCopyAndFree(psz, ulBytes); })},
          Together({{Repeat([=] { PeerCopyAndFree(psz); }), {}, "strdup, free"}}, StringCopyPeers(psz, ulPairs)));
}
