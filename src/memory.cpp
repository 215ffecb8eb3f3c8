// memory.cpp: tracked memory.
// A block is a MEMBLOCK header, the caller's data, and one guard byte:
//
//   MEMBLOCK (24 bytes, ends with MEM_GUARD) | data | MEM_TRAILING_GUARD
//
// The chain pmbFirst..pmbLast holds exactly the live blocks, oldest first; its length and the sum of its sizes are what
// is held. A header may be damaged: the registry alone knows which blocks are live and how long they are, and what a
// header says is held against it first. In a program with the address sanitizer (poison.h), this unit alone may look at
// headers and guards: what it calls is given copies.

#include "memory.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <limits>
#include <utility>

#include "output.h"
#include "poison.h"
#include "registry.h"
#include "text.h"
#include "zebbase/base.h"
#include "zebbase/err.h"

static_assert(sizeof(MEMBLOCK) == 24 && sizeof(MEMBLOCK) + 1 == MEM_OVERHEAD);
static_assert(offsetof(MEMBLOCK, usLine) == 12 && offsetof(MEMBLOCK, achFile) == 14 &&
              offsetof(MEMBLOCK, ulGuard) == 20);

namespace {
constexpr char szUnit[] = "memory"; // the source name in reports

struct TOTALS {
  ULONG ulAmount; // bytes, with the overhead
  ULONG ulBlocks;
};
constinit TOTALS held = {0, 0};
constinit TOTALS peak = {0, 0}; // the most that has been held of either
constinit TOTALS limit = {10000000, 10000};
constinit BOOL fLimitExceededIsFatal = 1;
constinit MEMBLOCK *pmbFirst = nullptr;
constinit MEMBLOCK *pmbLast = nullptr;
constinit Registry registry;

// Holds the memory lock for one scope. A lock that cannot be got or released is reported, and the work goes on.
class [[nodiscard]] MemoryLock {
 public:
  MemoryLock() { ErrRcError(szUnit, __LINE__, SemRequestMutex(&mtxsemMemory, SEM_WAIT_FOREVER)); }
  ~MemoryLock() { Release(); }
  MemoryLock(const MemoryLock &) = delete;
  MemoryLock &operator=(const MemoryLock &) = delete;
  static void Release() { ErrRcError(szUnit, __LINE__, SemReleaseMutex(&mtxsemMemory)); }
};

template <typename... Args>
void Report(ULONG ulLine, const char *pszFormat, Args... args) {
  if (flVerbosity & VERB_ERROR)
    ErrPutError(nullptr, 0, VERB_ERROR, ERR_KIND_MEMORY, szUnit, ulLine, nullptr, pszFormat, args...);
}

MEMBLOCK *BlockOf(void *pv) { return reinterpret_cast<MEMBLOCK *>(static_cast<BYTE *>(pv) - sizeof(MEMBLOCK)); }
BYTE *DataOf(MEMBLOCK *pmb) { return reinterpret_cast<BYTE *>(pmb + 1); }
const BYTE *LastByteOf(const MEMBLOCK *pmb, ULONG ulSize) { return reinterpret_cast<const BYTE *>(pmb) + ulSize - 1; }

// Reports what is wrong with a block, of which ulNoted is the registry's size. Result: the size with which it can be
// released; 0 for no block, and for one whose size word cannot be true. No byte outside of the block is read, and none
// where no block is.
[[gnu::cold]] ULONG ReportDamage(const MEMBLOCK *pmb, ULONG ulNoted) {
  const MEMBLOCK mb = ulNoted ? *pmb : MEMBLOCK();
  const auto Damaged = [&](ULONG ulLine, const char *pszFormat) { Report(ulLine, pszFormat, mb.achFile, mb.usLine); };
  const bool fLarge = ulNoted == Registry::ulLargeSize; // or larger: the sum of all sizes is the bound
  const bool fSize = mb.ulSize >= MEM_OVERHEAD && mb.ulSize <= (fLarge ? held.ulAmount : ulNoted);
  if (mb.ulGuard != MEM_GUARD) Damaged(__LINE__, "Top guard corrupt. Allocated: %6.6s:%hu");
  if (fSize && *LastByteOf(pmb, mb.ulSize) != MEM_TRAILING_GUARD)
    Damaged(__LINE__, "Bottom guard corrupt. Allocated: %6.6s:%hu");
  if (ulNoted && !fSize) Damaged(__LINE__, "Size invalid. Allocated: %6.6s:%hu");
  if (!fSize) return 0;
  return fLarge ? mb.ulSize : ulNoted;
}

inline bool IsSound(const MEMBLOCK *pmb, ULONG ulNoted) {
  return ulNoted && pmb->ulSize == ulNoted && pmb->ulGuard == MEM_GUARD &&
         *LastByteOf(pmb, ulNoted) == MEM_TRAILING_GUARD;
}

// Reports what is wrong with a block, if anything is. Result: as that of ReportDamage.
inline ULONG Check(const MEMBLOCK *pmb, ULONG ulNoted) {
  return IsSound(pmb, ulNoted) ? ulNoted : ReportDamage(pmb, ulNoted);
}

// Whether a link of a live block can be followed: it leads to a live block that leads back, or it is the chain's end.
// Nothing leads beyond the two ends: else damaged links that make a ring of some blocks would pass for true.
inline bool IsNextTrue(const MEMBLOCK *pmb) {
  const MEMBLOCK *pmbNext = pmb->pmbNext;
  if (pmb == pmbLast) return !pmbNext;
  return pmbNext != pmbFirst && registry.Has(pmbNext) && pmbNext->pmbPrev == pmb;
}

inline bool IsPrevTrue(const MEMBLOCK *pmb) {
  const MEMBLOCK *pmbPrev = pmb->pmbPrev;
  if (pmb == pmbFirst) return !pmbPrev;
  return pmbPrev != pmbLast && registry.Has(pmbPrev) && pmbPrev->pmbNext == pmb;
}

void LinkLast(MEMBLOCK *pmb) {
  pmb->pmbNext = nullptr;
  pmb->pmbPrev = pmbLast;
  (pmbLast ? pmbLast->pmbNext : pmbFirst) = pmb;
  pmbLast = pmb;
}

// Whether a link forward must be false: no block is there, or one that follows another or none.
bool IsNextFalse(const MEMBLOCK *pmb) {
  const MEMBLOCK *pmbNext = pmb->pmbNext;
  return pmbNext == pmbFirst || !registry.Has(pmbNext) || (pmbNext->pmbPrev != pmb && IsPrevTrue(pmbNext));
}

// Links anew, behind the last block, those to which links lead from here, and hides them.
void LinkRun(MEMBLOCK *pmb) {
  while (registry.Has(pmb)) {
    registry.Hide(pmb);
    LinkLast(std::exchange(pmb, pmb->pmbNext));
  }
}

MEMBLOCK *StartOfRun(MEMBLOCK *pmb) {
  MEMBLOCK *pmbStart = pmb;
  for (;;) {
    MEMBLOCK *pmbPrev = pmbStart->pmbPrev;
    if (!registry.Has(pmbPrev) || pmbPrev->pmbNext != pmbStart || pmbPrev == pmb) return pmbStart; // or in a ring
    pmbStart = pmbPrev;
  }
}

// Makes all links true, in time linear in the blocks. First, a block whose link forward is lost gets it back from the
// block that leads back to it. Where two neighbours have lost their links, the chain is in runs: these are put one
// behind the other, that of the oldest block in front. What has been linked is hidden, so that nothing is linked twice.
[[gnu::cold]] void MendChain() {
  registry.ForEach([](MEMBLOCK *pmb) {
    MEMBLOCK *pmbPrev = pmb->pmbPrev;
    if (registry.Has(pmbPrev) && IsNextFalse(pmbPrev)) pmbPrev->pmbNext = pmb;
  });
  MEMBLOCK *pmbOldest = std::exchange(pmbFirst, nullptr);
  pmbLast = nullptr;
  LinkRun(pmbOldest);
  registry.ForEach([](MEMBLOCK *pmb) {
    if (registry.Has(pmb)) LinkRun(StartOfRun(pmb));
  });
  registry.ForEach([](MEMBLOCK *pmb) { registry.Show(pmb); });
}

// The one behind a block that has been reached from the oldest as that number. The links may pass blocks by, or end
// early; those that have been passed by come behind the last one when the chain is mended.
inline MEMBLOCK *NextOf(const MEMBLOCK *pmb, ULONG ulNumber) {
  if (!IsNextTrue(pmb) || (pmb == pmbLast && ulNumber < held.ulBlocks)) MendChain();
  return pmb->pmbNext;
}

// Reports a number that is beyond a limit. A fatal limit ends the process, with the lock given back first. The largest
// limit is none: a number that does not fit 32 bits is shown as the largest, and never as beyond itself.
void ReportLimit(ULONG ulLine, const char *pszFormat, std::uint64_t ullWanted, ULONG ulLimit) {
  const auto ulWanted = static_cast<ULONG>(std::min<std::uint64_t>(ullWanted, std::numeric_limits<ULONG>::max()));
  if (ulWanted <= ulLimit) return;
  if (fLimitExceededIsFatal) MemoryLock::Release();
  Report(ulLine, pszFormat, ulWanted, ulLimit);
  if (fLimitExceededIsFatal) std::exit(1);
}

// What the program does with a report, and at its end, may allocate as well: this is granted without a further report.
[[gnu::cold]] void ReportLimits(std::uint64_t ullTotal) {
  static constinit bool fReporting = false;
  if (std::exchange(fReporting, true)) return;
  ReportLimit(__LINE__, "Exceeded MaxAmountMemoryAllowed %lu > %lu", held.ulAmount + ullTotal, limit.ulAmount);
  ReportLimit(__LINE__, "Exceeded MaxNumBlocksAllowed %lu > %lu", std::uint64_t{held.ulBlocks} + 1, limit.ulBlocks);
  fReporting = false;
}

bool IsBeyondLimits(ULONG ulTotal) { // every allocation asks: in 32 bits, without overflow
  return ulTotal > limit.ulAmount || held.ulAmount > limit.ulAmount - ulTotal || held.ulBlocks >= limit.ulBlocks;
}

inline void Count(ULONG ulTotal) {
  held.ulAmount += ulTotal;
  held.ulBlocks++;
  if (held.ulAmount > peak.ulAmount) peak.ulAmount = held.ulAmount;
  if (held.ulBlocks > peak.ulBlocks) peak.ulBlocks = held.ulBlocks;
}

// Keeps the first characters of a file's base name in a header that is clear. Most names are short and have no
// directory: for these, one pass over the characters saves a sixth of the time of a pair of allocation and release that
// library calls would take, and unrolled up to a tenth more.
inline void StoreSource(MEMBLOCK *pmb, const char *psz) {
  if (!psz) return;
#pragma GCC unroll 6
  for (ULONG ul = 0; ul < sizeof pmb->achFile; ul++) {
    if (psz[ul] == '\0') return;
    if (psz[ul] == '/') break;
    pmb->achFile[ul] = psz[ul];
  }
  CopyPadded(pmb->achFile, BaseName(psz));
}

void StoreSource(MEMBLOCK *pmb, const SOURCE &source) { std::memcpy(pmb->achFile, source.ach, sizeof source.ach); }

// Makes the compiler believe that a block is read and written here.
inline void Touch(MEMBLOCK *pmb) { asm volatile("" : : "r"(pmb) : "memory"); }

// Clears a block. Most are small: for these, stores that overlap save a tenth of a pair's time, and more for larger
// ones of them, beside a call. Without Touch, a clearing right after malloc would become a calloc, which is slower, and
// one before free would be dropped as dead.
inline void Clear(MEMBLOCK *pmb, ULONG ulSize) {
  constexpr ULONG ulStep = 16;
  static_assert(ulStep <= MEM_OVERHEAD);
  auto *pb = reinterpret_cast<BYTE *>(pmb);
  BYTE *pbEnd = pb + ulSize;
  Touch(pmb);
  if (ulSize > 8 * ulStep) {
    std::memset(pb, 0, ulSize);
  } else {
    if (ulSize > 4 * ulStep) {
      std::memset(pb + 2 * ulStep, 0, 2 * ulStep);
      std::memset(pbEnd - 4 * ulStep, 0, 2 * ulStep);
    }
    if (ulSize > 2 * ulStep) {
      std::memset(pb + ulStep, 0, ulStep);
      std::memset(pbEnd - 2 * ulStep, 0, ulStep);
    }
    std::memset(pb, 0, ulStep);
    std::memset(pbEnd - ulStep, 0, ulStep);
  }
  Touch(pmb);
}

// Takes a block whose links are true out of the chain.
inline void Unlink(MEMBLOCK *pmb) {
  MEMBLOCK *pmbNext = pmb->pmbNext;
  MEMBLOCK *pmbPrev = pmb->pmbPrev;
  (pmbNext ? pmbNext->pmbPrev : pmbLast) = pmbPrev;
  (pmbPrev ? pmbPrev->pmbNext : pmbFirst) = pmbNext;
}

// Gives back a block that is in the chain no longer.
[[gnu::always_inline]] inline void Release(MEMBLOCK *pmb, ULONG ulSize) {
  registry.Remove(pmb);
  held.ulAmount -= ulSize;
  held.ulBlocks--;
  LayOpen(pmb, ulSize);
  Clear(pmb, ulSize);
  std::free(pmb);
}

// A new block in the chain, or null without memory. Put in line, as what calls it is: the calls would cost a twentieth.
template <bool fClear, typename Source>
[[gnu::always_inline]] inline MEMBLOCK *NewBlock(ULONG ulBytes, ULONG ulLine, const Source &source) {
  const ULONG ulTotal = ulBytes + MEM_OVERHEAD;
  const MemoryLock lock;
  if (IsBeyondLimits(ulTotal)) ReportLimits(ulTotal);
  auto *pmb = static_cast<MEMBLOCK *>(std::malloc(ulTotal));
  if (!pmb || !registry.Add(pmb, ulTotal)) {
    std::free(pmb);
    return nullptr;
  }
  if (fClear) Clear(pmb, ulTotal);
  pmb->ulSize = ulTotal;
  pmb->usLine = static_cast<USHORT>(ulLine);
  StoreSource(pmb, source);
  pmb->ulGuard = MEM_GUARD;
  DataOf(pmb)[ulBytes] = MEM_TRAILING_GUARD;
  LinkLast(pmb);
  Count(ulTotal);
  Protect(pmb, ulBytes);
  return pmb;
}

// A request that does not fit 32 bits together with the overhead.
[[gnu::cold]] MEMBLOCK *RefuseTooLarge(ULONG ulBytes) {
  const MemoryLock lock;
  ReportLimits(std::uint64_t{ulBytes} + MEM_OVERHEAD);
  return nullptr;
}

// Without memory, the program may allocate again where it gets the report: this is not reported as well.
[[gnu::cold]] void ReportNoMemory() {
  static constinit bool fReporting = false;
  if (std::exchange(fReporting, true)) return;
  ErrNullError(szUnit, __LINE__, nullptr);
  fReporting = false;
}

// The data of a new block, or null.
template <bool fClear, typename Source>
[[gnu::always_inline]] inline BYTE *Allocate(ULONG ulBytes, ULONG ulLine, const Source &source) {
  const bool fFits = ulBytes <= std::numeric_limits<ULONG>::max() - MEM_OVERHEAD;
  MEMBLOCK *pmb = fFits ? NewBlock<fClear>(ulBytes, ulLine, source) : RefuseTooLarge(ulBytes);
  if (pmb) return DataOf(pmb);
  ReportNoMemory();
  return nullptr;
}

char *CopyTo(void *pv, std::string_view sv) { // with room for the text, or null
  if (!pv) return nullptr;
  auto *psz = static_cast<char *>(std::memcpy(pv, sv.data(), sv.size()));
  psz[sv.size()] = '\0';
  return psz;
}

bool PointsInto(const char *psz, char *pszBlock) {
  const auto uOffset = reinterpret_cast<std::uintptr_t>(psz) - reinterpret_cast<std::uintptr_t>(pszBlock);
  return uOffset < registry.SizeAt(BlockOf(pszBlock));
}

// One line of the dump: number, address of the header, file, line and size.
void PutDumpLine(Output &out, ULONG ulNumber, const MEMBLOCK *pmb) {
  const MEMBLOCK mb = *pmb;
  const char *pchFileEnd = std::find(mb.achFile, std::end(mb.achFile), '\0');
  char achNumber[ulMostDigits];
  out.PutPadded({achNumber, PutDecimal(achNumber, ulNumber)}, 5).Put(". 0x");
  out.Took(PutHexadecimal(out.Room(ulMostDigits), reinterpret_cast<std::uintptr_t>(pmb))).Put(' ');
  out.PutPadded({mb.achFile, pchFileEnd}, sizeof mb.achFile).Put(" - ");
  out.PutNumber(mb.usLine).Put(": ").PutNumber(mb.ulSize).Put('\n');
}

ULONG Tell(const TOTALS &totals, ULONG *pulAmount, ULONG *pulBlocks) {
  if (pulAmount) *pulAmount = totals.ulAmount;
  if (pulBlocks) *pulBlocks = totals.ulBlocks;
  return 0;
}
} // namespace

void *MemAllocMem_(ULONG ulBytes, ULONG ulLine, const char *pszFile) {
  return Allocate<true>(ulBytes, ulLine, pszFile);
}

void *AllocateUncleared(ULONG ulBytes, const SOURCE &source, ULONG ulLine) {
  return Allocate<false>(ulBytes, ulLine, source);
}

void *AllocateMem(ULONG ulBytes, const SOURCE &source, ULONG ulLine) {
  void *pv = AllocateUncleared(ulBytes, source, ulLine);
  return pv ? std::memset(pv, 0, ulBytes) : nullptr;
}

void MemFreeMem_(void *pv) {
  if (!pv) {
    std::fputs("Warning! Tried to free NULL pointer.\n", stderr);
    return;
  }
  const MemoryLock lock;
  MEMBLOCK *pmb = BlockOf(pv);
  const ULONG ulSize = Check(pmb, registry.SizeAt(pmb));
  if (ulSize == 0) return;
  if (!IsNextTrue(pmb) || !IsPrevTrue(pmb)) MendChain();
  Unlink(pmb);
  Release(pmb, ulSize);
}

void FreeMem(void *pv) {
  MEMBLOCK *pmb = BlockOf(pv);
  const ULONG ulNoted = registry.SizeAt(pmb);
  if (!IsSound(pmb, ulNoted)) return MemFreeMem_(pv);
  const MemoryLock lock;
  Unlink(pmb);
  Release(pmb, ulNoted);
}

ULONG MemQueryBlockSize(void *pv) {
  if (!pv) return 0;
  const MemoryLock lock;
  const MEMBLOCK *pmb = BlockOf(pv);
  const ULONG ulNoted = registry.SizeAt(pmb);
  Check(pmb, ulNoted);
  return ulNoted ? pmb->ulSize : 0;
}

ULONG MemQueryStatus(ULONG *pulAmount, ULONG *pulBlocks) { return Tell(held, pulAmount, pulBlocks); }

ULONG MemQueryPeak(ULONG *pulAmount, ULONG *pulBlocks) { return Tell(peak, pulAmount, pulBlocks); }

ULONG MemSetLimits(ULONG ulMaxAmount, ULONG ulMaxBlocks, BOOL fFatal) {
  limit = {ulMaxAmount, ulMaxBlocks};
  fLimitExceededIsFatal = fFatal;
  return 0;
}

ULONG MemQueryMemoryAllocated(void) { return held.ulAmount; }

BOOL MemCheckMemory(void) {
  const MemoryLock lock;
  ULONG ulNumber = 0;
  for (const MEMBLOCK *pmb = pmbFirst; pmb; pmb = NextOf(pmb, ulNumber)) {
    Check(pmb, registry.SizeAt(pmb));
    ulNumber++;
  }
  return 1;
}

BOOL MemDumpMemory(FILE *pf) {
  if (!pf) return 1;
  const MemoryLock lock;
  ULONG ulNumber = 0;
  char achBuffer[8192];
  Output out(pf, achBuffer, sizeof achBuffer);
  for (const MEMBLOCK *pmb = pmbFirst; pmb; pmb = NextOf(pmb, ulNumber)) PutDumpLine(out, ++ulNumber, pmb);
  out.Flush();
  return 1;
}

char *MemAllocString_(const char *psz, ULONG ulLine, const char *pszFile) {
  if (!psz) return nullptr;
  const std::size_t cb = std::strlen(psz);
  return CopyTo(MemAllocMem_(cb + 1, ulLine, pszFile), {psz, cb});
}

char *AllocateText(std::string_view sv, const SOURCE &source, ULONG ulLine) {
  return CopyTo(AllocateUncleared(sv.size() + 1, source, ulLine), sv);
}

char *MemFreeStringAlloc_(char **ppsz, const char *psz, ULONG ulLine, const char *pszFile) {
  char *pszOld = *ppsz;
  if (pszOld && psz && PointsInto(psz, pszOld)) { // the very text that is to be freed: copy it first
    *ppsz = MemAllocString_(psz, ulLine, pszFile);
    MemFreeMem_(pszOld);
  } else {
    MemFreeString_(pszOld); // first, so that the old text does not count against the limits of the new one
    *ppsz = MemAllocString_(psz, ulLine, pszFile);
  }
  return *ppsz;
}

char *MemFreeStringSet(char **ppsz, char *psz) {
  if (*ppsz != psz) MemFreeString_(*ppsz);
  return *ppsz = psz;
}

void MemFreeString_(char *psz) {
  if (psz) MemFreeMem_(psz);
}
