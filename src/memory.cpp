// memory.cpp: tracked memory.
// A block is a MEMBLOCK header, the caller's data, and one guard byte:
//
//   MEMBLOCK (24 bytes, ends with MEM_GUARD) | data | MEM_TRAILING_GUARD
//
// The chain pmbFirst..pmbLast holds exactly the live blocks, oldest first; the two counters are its length and the sum
// of its ulSize words. A header is believed only after Check.

#include "memory.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <limits>

#include "output.h"
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

MEMBLOCK *BlockOf(void *pv) { return static_cast<MEMBLOCK *>(pv) - 1; }
BYTE *DataOf(MEMBLOCK *pmb) { return reinterpret_cast<BYTE *>(pmb + 1); }
BYTE *TrailingGuardOf(MEMBLOCK *pmb) { return reinterpret_cast<BYTE *>(pmb) + pmb->ulSize - 1; }

// The neighbours of a block. With a damaged guard its own links may be damaged as well: then the other blocks say who
// they are, which takes a walk. Null at the ends, and for a pointer that is no block.
[[gnu::cold]] MEMBLOCK *FindNext(const MEMBLOCK *pmb) {
  MEMBLOCK *pmbNext = nullptr;
  MEMBLOCK *pmbHere = pmbLast;
  for (; pmbHere && pmbHere != pmb; pmbHere = pmbHere->pmbPrev) pmbNext = pmbHere;
  return pmbHere ? pmbNext : nullptr;
}

inline MEMBLOCK *NextOf(const MEMBLOCK *pmb) { return pmb->ulGuard == MEM_GUARD ? pmb->pmbNext : FindNext(pmb); }

[[gnu::cold]] MEMBLOCK *FindPrevious(const MEMBLOCK *pmb) {
  MEMBLOCK *pmbPrevious = nullptr;
  for (MEMBLOCK *pmbHere = pmbFirst; pmbHere && pmbHere != pmb; pmbHere = NextOf(pmbHere)) pmbPrevious = pmbHere;
  return pmbPrevious;
}

inline MEMBLOCK *PreviousOf(const MEMBLOCK *pmb) {
  return pmb->ulGuard == MEM_GUARD ? pmb->pmbPrev : FindPrevious(pmb);
}

bool IsInChain(const MEMBLOCK *pmbSought) { // only damage is worth this walk
  const MEMBLOCK *pmb = pmbFirst;
  while (pmb && pmb != pmbSought) pmb = NextOf(pmb);
  return pmb != nullptr;
}

bool IsSizePossible(const MEMBLOCK *pmb) {
  return pmb->ulSize >= MEM_OVERHEAD && pmb->ulSize <= ulAmountMemoryAllocated;
}

// Reports what is wrong with a block. Result: whether it can be taken for a live block whose ulSize bytes are its own.
// The trailing guard is looked for only where the size can be true.
[[gnu::cold]] bool ReportDamage(MEMBLOCK *pmb) {
  const auto Damaged = [pmb](ULONG ulLine, const char *pszFormat) {
    Report(ulLine, pszFormat, pmb->achFile, pmb->usLine);
  };
  const bool fGuard = pmb->ulGuard == MEM_GUARD;
  const bool fSize = IsSizePossible(pmb);
  const bool fBlock = fSize && (fGuard || IsInChain(pmb));
  if (!fGuard) Damaged(__LINE__, "Top guard corrupt. Allocated: %6.6s:%hu");
  if (fBlock && *TrailingGuardOf(pmb) != MEM_TRAILING_GUARD)
    Damaged(__LINE__, "Bottom guard corrupt. Allocated: %6.6s:%hu");
  if (!fSize) Damaged(__LINE__, "Size invalid. Allocated: %6.6s:%hu");
  return fBlock;
}

inline bool Check(MEMBLOCK *pmb) { // the same; nearly every block is sound
  const bool fSound = pmb->ulGuard == MEM_GUARD && IsSizePossible(pmb) && *TrailingGuardOf(pmb) == MEM_TRAILING_GUARD;
  return fSound || ReportDamage(pmb);
}

// Reports a request that is beyond one limit. A fatal limit ends the process, with the lock given back first.
void ReportLimit(ULONG ulLine, const char *pszFormat, std::uint64_t ullWanted, ULONG ulLimit) {
  if (ullWanted <= ulLimit) return;
  if (fLimitExceededIsFatal) MemoryLock::Release();
  Report(ulLine, pszFormat, static_cast<ULONG>(std::min<std::uint64_t>(ullWanted, std::numeric_limits<ULONG>::max())),
         ulLimit);
  if (fLimitExceededIsFatal) std::exit(1);
}

[[gnu::cold]] void ReportLimits(ULONG ulTotal) {
  ReportLimit(__LINE__, "Exceeded MaxAmountMemoryAllowed %lu > %lu", std::uint64_t{ulAmountMemoryAllocated} + ulTotal,
              ulMaxAmountMemoryAllowed);
  ReportLimit(__LINE__, "Exceeded MaxNumBlocksAllowed %lu > %lu", std::uint64_t{ulNumBlocksAllocated} + 1,
              ulMaxNumBlocksAllowed);
}

bool IsBeyondLimits(ULONG ulTotal) { // every allocation asks: in 32 bits, without overflow
  return ulTotal > ulMaxAmountMemoryAllowed || ulAmountMemoryAllocated > ulMaxAmountMemoryAllowed - ulTotal ||
         ulNumBlocksAllocated >= ulMaxNumBlocksAllowed;
}

void Append(MEMBLOCK *pmb) {
  pmb->pmbNext = nullptr;
  pmb->pmbPrev = pmbLast;
  (pmbLast ? pmbLast->pmbNext : pmbFirst) = pmb;
  pmbLast = pmb;
  ulAmountMemoryAllocated += pmb->ulSize;
  ulNumBlocksAllocated++;
}

void Unlink(MEMBLOCK *pmb) {
  MEMBLOCK *pmbPrevious = PreviousOf(pmb);
  MEMBLOCK *pmbNext = NextOf(pmb);
  (pmbNext ? pmbNext->pmbPrev : pmbLast) = pmbPrevious;
  (pmbPrevious ? pmbPrevious->pmbNext : pmbFirst) = pmbNext;
  ulAmountMemoryAllocated -= pmb->ulSize;
  ulNumBlocksAllocated--;
}

// Keeps the first characters of a file's base name, with zeros behind a shorter one. One pass over a name that is
// nearly always short costs less than the library calls for it.
void StoreSource(MEMBLOCK *pmb, const char *psz) {
  constexpr ULONG ulMost = sizeof pmb->achFile;
  ULONG ul = 0;
  for (; psz && *psz; psz++) {
    if (*psz == '/')
      ul = 0;
    else if (ul < ulMost)
      pmb->achFile[ul++] = *psz;
  }
  while (ul < ulMost) pmb->achFile[ul++] = '\0';
}

void StoreSource(MEMBLOCK *pmb, const SOURCE &source) { std::memcpy(pmb->achFile, source.ach, sizeof source.ach); }

// Clears a block that is about to be freed. Most are small: for these, stores that overlap take half the time of a call.
// The barrier keeps the compiler from dropping the stores as dead.
void ClearForGood(MEMBLOCK *pmb) {
  constexpr ULONG ulStep = 16;
  static_assert(ulStep <= MEM_OVERHEAD);
  BYTE *pb = reinterpret_cast<BYTE *>(pmb);
  BYTE *pbEnd = pb + pmb->ulSize;
  if (pmb->ulSize > 4 * ulStep) {
    std::memset(pb, 0, pmb->ulSize);
  } else {
    if (pmb->ulSize > 2 * ulStep) {
      std::memset(pb + ulStep, 0, ulStep);
      std::memset(pbEnd - 2 * ulStep, 0, ulStep);
    }
    std::memset(pb, 0, ulStep);
    std::memset(pbEnd - ulStep, 0, ulStep);
  }
  asm volatile("" : : "r"(pmb) : "memory");
}

// A new block in the chain, its data not yet cleared, or null without memory.
template <typename Source>
[[gnu::always_inline]] inline MEMBLOCK *NewBlock(ULONG ulTotal, ULONG ulLine, const Source &source) {
  const MemoryLock lock;
  if (IsBeyondLimits(ulTotal)) ReportLimits(ulTotal);
  auto *pmb = static_cast<MEMBLOCK *>(std::malloc(ulTotal));
  if (!pmb) return nullptr;
  pmb->ulSize = ulTotal;
  pmb->usLine = static_cast<USHORT>(ulLine);
  StoreSource(pmb, source);
  pmb->ulGuard = MEM_GUARD;
  *TrailingGuardOf(pmb) = MEM_TRAILING_GUARD;
  Append(pmb);
  return pmb;
}

// The data of a new block, or null.
template <typename Source>
[[gnu::always_inline]] inline BYTE *Allocate(ULONG ulBytes, ULONG ulLine, const Source &source) {
  const ULONG ulTotal = ulBytes + MEM_OVERHEAD; // wraps for a request that does not fit 32 bits
  MEMBLOCK *pmb = ulTotal > ulBytes ? NewBlock(ulTotal, ulLine, source) : nullptr;
  if (pmb) return DataOf(pmb);
  ErrNullError(szUnit, __LINE__, nullptr);
  return nullptr;
}

// The data alone is cleared: of malloc and a clearing of all GCC makes a calloc, which is slower.
template <typename Source>
[[gnu::always_inline]] inline void *AllocateClear(ULONG ulBytes, ULONG ulLine, const Source &source) {
  BYTE *pb = Allocate(ulBytes, ulLine, source);
  return pb ? std::memset(pb, 0, ulBytes) : nullptr;
}

template <typename Source>
[[gnu::always_inline]] inline char *AllocateCopy(std::string_view sv, ULONG ulLine, const Source &source) {
  BYTE *pb = Allocate(sv.size() + 1, ulLine, source);
  if (!pb) return nullptr;
  auto *psz = reinterpret_cast<char *>(pb);
  std::memcpy(psz, sv.data(), sv.size());
  psz[sv.size()] = '\0';
  return psz;
}

bool PointsInto(const char *psz, char *pszBlock) {
  const auto uOffset = reinterpret_cast<std::uintptr_t>(psz) - reinterpret_cast<std::uintptr_t>(pszBlock);
  return uOffset < BlockOf(pszBlock)->ulSize;
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

void *MemAllocMem_(ULONG ulBytes, ULONG ulLine, const char *pszFile) { return AllocateClear(ulBytes, ulLine, pszFile); }

void *AllocateMem(ULONG ulBytes, const SOURCE &source, ULONG ulLine) { return AllocateClear(ulBytes, ulLine, source); }

void *AllocateUncleared(ULONG ulBytes, const SOURCE &source, ULONG ulLine) { return Allocate(ulBytes, ulLine, source); }

void MemFreeMem_(void *pv) {
  if (!pv) {
    std::fputs("Warning! Tried to free NULL pointer.\n", stderr);
    return;
  }
  const MemoryLock lock;
  MEMBLOCK *pmb = BlockOf(pv);
  if (!Check(pmb)) return;
  Unlink(pmb);
  ClearForGood(pmb);
  std::free(pmb);
}

ULONG MemQueryBlockSize(void *pv) {
  if (!pv) return 0;
  const MemoryLock lock;
  Check(BlockOf(pv));
  return BlockOf(pv)->ulSize;
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
  for (MEMBLOCK *pmb = pmbFirst; pmb; pmb = NextOf(pmb)) Check(pmb);
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
