// memory.cpp: tracked memory.
// A block is a MEMBLOCK header, the caller's data, and one guard byte:
//
//   MEMBLOCK (24 bytes, ends with MEM_GUARD) | data | MEM_TRAILING_GUARD
//
// The chain pmbFirst..pmbLast holds exactly the live blocks, oldest first; the two counters are its length and the sum
// of its sizes. A header may be damaged: the registry alone knows which blocks are live and how long they are, and what
// a header says is held against it first.

#include "memory.h"

#include <algorithm>
#include <bit>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <limits>
#include <utility>

#include "output.h"
#include "registry.h"
#include "text.h"
#include "zebbase/base.h"
#include "zebbase/err.h"

static_assert(sizeof(MEMBLOCK) == 24 && sizeof(MEMBLOCK) + 1 == MEM_OVERHEAD);
static_assert(offsetof(MEMBLOCK, usLine) == 12 && offsetof(MEMBLOCK, achFile) == 14 &&
              offsetof(MEMBLOCK, ulGuard) == 20);

namespace {
constexpr char szUnit[] = "memory"; // the source name in reports

constinit ULONG ulAmountMemoryAllocated = 0;
constinit ULONG ulNumBlocksAllocated = 0;
constinit ULONG ulMaxAmountMemoryAllowed = 10000000;
constinit ULONG ulMaxNumBlocksAllowed = 10000;
constinit BOOL fLimitExceededIsFatal = 1;
constinit MEMBLOCK *pmbFirst = nullptr;
constinit MEMBLOCK *pmbLast = nullptr;
constinit Registry registry;
constinit MEMBLOCK *pmbBeforeLast = nullptr; // null where it is not known

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
  const auto Damaged = [&](ULONG ulLine, const char *pszFormat) {
    Report(ulLine, pszFormat, ulNoted ? pmb->achFile : "", ulNoted ? pmb->usLine : 0);
  };
  const bool fLarge = ulNoted == Registry::ulLargeSize; // or larger: the sum of all sizes is the bound
  const ULONG ulMost = fLarge ? ulAmountMemoryAllocated : ulNoted;
  const bool fSize = ulNoted && pmb->ulSize >= MEM_OVERHEAD && pmb->ulSize <= ulMost;
  if (!ulNoted || pmb->ulGuard != MEM_GUARD) Damaged(__LINE__, "Top guard corrupt. Allocated: %6.6s:%hu");
  if (fSize && *LastByteOf(pmb, pmb->ulSize) != MEM_TRAILING_GUARD)
    Damaged(__LINE__, "Bottom guard corrupt. Allocated: %6.6s:%hu");
  if (ulNoted && !fSize) Damaged(__LINE__, "Size invalid. Allocated: %6.6s:%hu");
  if (!fSize) return 0;
  return fLarge ? pmb->ulSize : ulNoted;
}

inline bool IsSound(const MEMBLOCK *pmb, ULONG ulNoted) {
  return ulNoted && pmb->ulSize == ulNoted && pmb->ulGuard == MEM_GUARD &&
         *LastByteOf(pmb, ulNoted) == MEM_TRAILING_GUARD;
}

inline ULONG Check(const MEMBLOCK *pmb, ULONG ulNoted) { // the same; nearly every block is sound
  return IsSound(pmb, ulNoted) ? ulNoted : ReportDamage(pmb, ulNoted);
}

// Whether a link of a live block can be followed: it leads to a live block that leads back, or it is the chain's end.
inline bool IsNextTrue(const MEMBLOCK *pmb) {
  const MEMBLOCK *pmbNext = pmb->pmbNext;
  return pmbNext ? registry.Has(pmbNext) && pmbNext->pmbPrev == pmb : pmb == pmbLast;
}

inline bool IsPrevTrue(const MEMBLOCK *pmb) {
  const MEMBLOCK *pmbPrev = pmb->pmbPrev;
  return pmbPrev ? registry.Has(pmbPrev) && pmbPrev->pmbNext == pmb : pmb == pmbFirst;
}

void LinkLast(MEMBLOCK *pmb) {
  pmb->pmbNext = nullptr;
  pmb->pmbPrev = pmbLast;
  (pmbLast ? pmbLast->pmbNext : pmbFirst) = pmb;
  pmbBeforeLast = pmbLast;
  pmbLast = pmb;
}

// Whether a link forward must be false: no block is there, or one that follows another.
bool IsNextFalse(const MEMBLOCK *pmb) {
  const MEMBLOCK *pmbNext = pmb->pmbNext;
  return !registry.Has(pmbNext) || (pmbNext->pmbPrev != pmb && IsPrevTrue(pmbNext));
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

inline MEMBLOCK *NextOf(const MEMBLOCK *pmb) {
  if (!IsNextTrue(pmb)) MendChain();
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
  ReportLimit(__LINE__, "Exceeded MaxAmountMemoryAllowed %lu > %lu", ulAmountMemoryAllocated + ullTotal,
              ulMaxAmountMemoryAllowed);
  ReportLimit(__LINE__, "Exceeded MaxNumBlocksAllowed %lu > %lu", std::uint64_t{ulNumBlocksAllocated} + 1,
              ulMaxNumBlocksAllowed);
  fReporting = false;
}

bool IsBeyondLimits(ULONG ulTotal) { // every allocation asks: in 32 bits, without overflow
  return ulTotal > ulMaxAmountMemoryAllowed || ulAmountMemoryAllocated > ulMaxAmountMemoryAllowed - ulTotal ||
         ulNumBlocksAllocated >= ulMaxNumBlocksAllowed;
}

// The characters of a name on their way into a header, in words: single stores would take twice the time.
struct NAME {
  std::uint32_t uFirst = 0;
  std::uint16_t usRest = 0;
  static_assert(sizeof uFirst + sizeof usRest == sizeof MEMBLOCK::achFile);

  void Put(ULONG ul, char ch) {
    const ULONG ulByte = static_cast<BYTE>(ch);
    if (ul < sizeof uFirst)
      uFirst |= ulByte << Shift(ul, sizeof uFirst);
    else
      usRest = static_cast<std::uint16_t>(usRest | ulByte << Shift(ul - sizeof uFirst, sizeof usRest));
  }
  void StoreIn(MEMBLOCK *pmb) const {
    std::memcpy(pmb->achFile, &uFirst, sizeof uFirst);
    std::memcpy(pmb->achFile + sizeof uFirst, &usRest, sizeof usRest);
  }

 private:
  static constexpr ULONG Shift(ULONG ul, ULONG ulBytes) {
    return 8 * (std::endian::native == std::endian::little ? ul : ulBytes - 1 - ul);
  }
};

void StoreBaseName(MEMBLOCK *pmb, const char *psz) {
  const char *pszSlash = std::strrchr(psz, '/');
  CopyPadded(pmb->achFile, pszSlash ? pszSlash + 1 : psz);
}

// Keeps the first characters of a file's base name, with zeros behind a shorter one. Most names are short and have no
// directory: for these, one pass over the characters costs less than the library calls for it.
[[gnu::always_inline]] inline void StoreSource(MEMBLOCK *pmb, const char *psz) {
  if (!psz) psz = "";
  NAME name;
#pragma GCC unroll 6
  for (ULONG ul = 0; ul < sizeof pmb->achFile; ul++) {
    if (psz[ul] == '\0') return name.StoreIn(pmb);
    if (psz[ul] == '/') break;
    name.Put(ul, psz[ul]);
  }
  StoreBaseName(pmb, psz);
}

void StoreSource(MEMBLOCK *pmb, const SOURCE &source) { std::memcpy(pmb->achFile, source.ach, sizeof source.ach); }

// Clears ulStep bytes or more. Most are few: for these, stores that overlap take half the time of a call. The barrier
// keeps the compiler from dropping the stores before a release as dead.
constexpr ULONG ulStep = 16;

inline void Clear(BYTE *pb, ULONG ulSize) {
  BYTE *pbEnd = pb + ulSize;
  if (ulSize > 4 * ulStep) {
    std::memset(pb, 0, ulSize);
  } else {
    if (ulSize > 2 * ulStep) {
      std::memset(pb + ulStep, 0, ulStep);
      std::memset(pbEnd - 2 * ulStep, 0, ulStep);
    }
    std::memset(pb, 0, ulStep);
    std::memset(pbEnd - ulStep, 0, ulStep);
  }
  asm volatile("" : : "r"(pb) : "memory");
}

// Takes a block whose links are true out of the chain.
inline void Unlink(MEMBLOCK *pmb) {
  MEMBLOCK *pmbNext = pmb->pmbNext;
  MEMBLOCK *pmbPrev = pmb->pmbPrev;
  (pmbNext ? pmbNext->pmbPrev : pmbLast) = pmbPrev;
  (pmbPrev ? pmbPrev->pmbNext : pmbFirst) = pmbNext;
  pmbBeforeLast = nullptr;
}

// The same for any block. Most are freed soon after they were allocated: for these no link is needed.
inline void UnlinkSafely(MEMBLOCK *pmb) {
  if (pmb == pmbLast && (pmbBeforeLast || pmb == pmbFirst)) {
    pmbLast = std::exchange(pmbBeforeLast, nullptr);
    (pmbLast ? pmbLast->pmbNext : pmbFirst) = nullptr;
    return;
  }
  if (!IsNextTrue(pmb) || !IsPrevTrue(pmb)) MendChain();
  Unlink(pmb);
}

// Gives back a block that is in the chain no longer.
[[gnu::always_inline]] inline void Release(MEMBLOCK *pmb, ULONG ulSize) {
  registry.Remove(pmb);
  ulAmountMemoryAllocated -= ulSize;
  ulNumBlocksAllocated--;
  Clear(reinterpret_cast<BYTE *>(pmb), ulSize);
  std::free(pmb);
}

// Clears the data of a block whose header is not filled yet: very little data is cleared together with its end. Of
// malloc and a clearing of all GCC makes a calloc, which is slower.
inline void ClearData(MEMBLOCK *pmb, ULONG ulBytes) {
  static_assert(sizeof(MEMBLOCK) >= ulStep);
  const ULONG ulClear = std::max(ulBytes, ulStep);
  Clear(DataOf(pmb) + ulBytes - ulClear, ulClear);
}

// A new block in the chain, or null without memory.
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
  if (fClear) ClearData(pmb, ulBytes);
  pmb->ulSize = ulTotal;
  pmb->usLine = static_cast<USHORT>(ulLine);
  StoreSource(pmb, source);
  pmb->ulGuard = MEM_GUARD;
  DataOf(pmb)[ulBytes] = MEM_TRAILING_GUARD;
  LinkLast(pmb);
  ulAmountMemoryAllocated += ulTotal;
  ulNumBlocksAllocated++;
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

template <typename Source>
[[gnu::always_inline]] inline char *AllocateCopy(std::string_view sv, ULONG ulLine, const Source &source) {
  BYTE *pb = Allocate<false>(sv.size() + 1, ulLine, source);
  if (!pb) return nullptr;
  auto *psz = reinterpret_cast<char *>(pb);
  std::memcpy(psz, sv.data(), sv.size());
  psz[sv.size()] = '\0';
  return psz;
}

bool PointsInto(const char *psz, char *pszBlock) {
  const auto uOffset = reinterpret_cast<std::uintptr_t>(psz) - reinterpret_cast<std::uintptr_t>(pszBlock);
  return uOffset < registry.SizeAt(BlockOf(pszBlock));
}

// One line of the dump: number, address of the header, file, line and size.
void PutDumpLine(Output &out, ULONG ulNumber, const MEMBLOCK *pmb) {
  const char *pchFileEnd = std::find(pmb->achFile, std::end(pmb->achFile), '\0');
  char achNumber[ulMostDigits];
  out.PutPadded({achNumber, PutDecimal(achNumber, ulNumber)}, 5).Put(". 0x");
  out.Took(PutHexadecimal(out.Room(ulMostDigits), reinterpret_cast<std::uintptr_t>(pmb))).Put(' ');
  out.PutPadded({pmb->achFile, pchFileEnd}, sizeof pmb->achFile).Put(" - ");
  out.PutNumber(pmb->usLine).Put(": ").PutNumber(pmb->ulSize).Put('\n');
}
} // namespace

void *MemAllocMem_(ULONG ulBytes, ULONG ulLine, const char *pszFile) {
  return Allocate<true>(ulBytes, ulLine, pszFile);
}

void *AllocateMem(ULONG ulBytes, const SOURCE &source, ULONG ulLine) { return Allocate<true>(ulBytes, ulLine, source); }

void *AllocateUncleared(ULONG ulBytes, const SOURCE &source, ULONG ulLine) {
  return Allocate<false>(ulBytes, ulLine, source);
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
  UnlinkSafely(pmb);
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

ULONG MemQueryStatus(ULONG *pulAmount, ULONG *pulBlocks) {
  if (pulAmount) *pulAmount = ulAmountMemoryAllocated;
  if (pulBlocks) *pulBlocks = ulNumBlocksAllocated;
  return 0;
}

ULONG MemSetLimits(ULONG ulMaxAmount, ULONG ulMaxBlocks, BOOL fFatal) {
  ulMaxAmountMemoryAllowed = ulMaxAmount;
  ulMaxNumBlocksAllowed = ulMaxBlocks;
  fLimitExceededIsFatal = fFatal;
  return 0;
}

ULONG MemQueryMemoryAllocated(void) { return ulAmountMemoryAllocated; }

BOOL MemCheckMemory(void) {
  const MemoryLock lock;
  for (const MEMBLOCK *pmb = pmbFirst; pmb; pmb = NextOf(pmb)) Check(pmb, registry.SizeAt(pmb));
  return 1;
}

BOOL MemDumpMemory(FILE *pf) {
  if (!pf) return 1;
  const MemoryLock lock;
  ULONG ulNumber = 0;
  char achBuffer[8192];
  Output out(pf, achBuffer, sizeof achBuffer);
  for (const MEMBLOCK *pmb = pmbFirst; pmb; pmb = NextOf(pmb)) PutDumpLine(out, ++ulNumber, pmb);
  out.Flush();
  return 1;
}

char *MemAllocString_(const char *psz, ULONG ulLine, const char *pszFile) {
  return psz ? AllocateCopy(psz, ulLine, pszFile) : nullptr;
}

char *AllocateText(std::string_view sv, const SOURCE &source, ULONG ulLine) { return AllocateCopy(sv, ulLine, source); }

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
