// swap.cpp: reversal of byte order, of values, arrays and described data.

#include "zebbase/swp.h"

#include <cstdint>
#include <cstring>

#include "reverse.h"
#include "walk.h"
#include "zebbase/ini.h"

#ifdef __i386__
#include <cpuid.h>
#include <immintrin.h>
#endif

namespace {
constexpr ULONG ulBlockBytes = 64;

// Reverses what whole blocks there are. Result: the bytes done.
using PFNCOPYBLOCKS = ULONG (*)(BYTE *pbTo, const BYTE *pbFrom, ULONG ulBytes, ULONG ulWidth);

#ifdef __i386__
// The order of the bytes in a vector of 16.
[[gnu::target("ssse3")]] inline __m128i ReversedOrder(ULONG ulWidth) {
  const __m128i vIdentity = _mm_setr_epi8(0, 1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13, 14, 15);
  return _mm_xor_si128(vIdentity, _mm_set1_epi8(static_cast<char>(ulWidth - 1)));
}

// The four vectors are loaded into registers of their own: in a single one, each would wait for the one before while
// AVX code has left the upper halves in use.
[[gnu::target("ssse3")]] ULONG CopyBlocksBySsse3(BYTE *pbTo, const BYTE *pbFrom, ULONG ulBytes, ULONG ulWidth) {
  const __m128i vOrder = ReversedOrder(ulWidth);
  const ULONG ulBlocks = ulBytes & ~(ulBlockBytes - 1);
  for (ULONG ul = 0; ul < ulBlocks; ul += ulBlockBytes) {
    const auto *pvFrom = reinterpret_cast<const __m128i *>(pbFrom + ul);
    auto *pvTo = reinterpret_cast<__m128i *>(pbTo + ul);
    const __m128i v0 = _mm_loadu_si128(pvFrom), v1 = _mm_loadu_si128(pvFrom + 1);
    const __m128i v2 = _mm_loadu_si128(pvFrom + 2), v3 = _mm_loadu_si128(pvFrom + 3);
    _mm_storeu_si128(pvTo, _mm_shuffle_epi8(v0, vOrder));
    _mm_storeu_si128(pvTo + 1, _mm_shuffle_epi8(v1, vOrder));
    _mm_storeu_si128(pvTo + 2, _mm_shuffle_epi8(v2, vOrder));
    _mm_storeu_si128(pvTo + 3, _mm_shuffle_epi8(v3, vOrder));
  }
  return ulBlocks;
}

[[gnu::target("avx2")]] ULONG CopyBlocksByAvx2(BYTE *pbTo, const BYTE *pbFrom, ULONG ulBytes, ULONG ulWidth) {
  const __m256i vOrder = _mm256_broadcastsi128_si256(ReversedOrder(ulWidth));
  const ULONG ulBlocks = ulBytes & ~(ulBlockBytes - 1);
  for (ULONG ul = 0; ul < ulBlocks; ul += ulBlockBytes) {
    const auto *pvFrom = reinterpret_cast<const __m256i *>(pbFrom + ul);
    auto *pvTo = reinterpret_cast<__m256i *>(pbTo + ul);
    const __m256i v0 = _mm256_loadu_si256(pvFrom), v1 = _mm256_loadu_si256(pvFrom + 1);
    _mm256_storeu_si256(pvTo, _mm256_shuffle_epi8(v0, vOrder));
    _mm256_storeu_si256(pvTo + 1, _mm256_shuffle_epi8(v1, vOrder));
  }
  return ulBlocks;
}

// Whether the processor has AVX2, and the system keeps its registers.
bool HasAvx2() {
  unsigned uA, uB, uC, uD;
  if (!__get_cpuid(1, &uA, &uB, &uC, &uD) || !(uC & bit_OSXSAVE)) return false;
  constexpr unsigned uVectors = 6; // in the mask of what the system keeps: both halves of the registers
  unsigned uKept;
  asm("xgetbv" : "=a"(uKept), "=d"(uD) : "c"(0));
  return (uKept & uVectors) == uVectors && __get_cpuid_count(7, 0, &uA, &uB, &uC, &uD) && (uB & bit_AVX2);
}

bool HasSsse3() {
  unsigned uA, uB, uC, uD;
  return __get_cpuid(1, &uA, &uB, &uC, &uD) && (uC & bit_SSSE3);
}
#endif

ULONG CopyNoBlocks(BYTE *, const BYTE *, ULONG, ULONG) { return 0; }

// The fastest that the processor has: a shuffle of bytes takes half the time of what SSE2 can do, but is not part of
// every i386, and one of AVX2 three quarters of that.
PFNCOPYBLOCKS FindCopyBlocks() {
#ifdef __i386__
  if (HasAvx2()) return CopyBlocksByAvx2;
  if (HasSsse3()) return CopyBlocksBySsse3;
#endif
  return CopyNoBlocks;
}

ULONG CopyBlocksReversed(BYTE *pbTo, const BYTE *pbFrom, ULONG ulBytes, ULONG ulWidth) {
  static constinit PFNCOPYBLOCKS pfnCopyBlocks = nullptr; // asking the processor takes longer than a kilobyte
  if (!pfnCopyBlocks) pfnCopyBlocks = FindCopyBlocks();
  return pfnCopyBlocks(pbTo, pbFrom, ulBytes, ulWidth);
}

template <typename T>
void CopyValuesReversed(BYTE *pbTo, const BYTE *pbFrom, ULONG ulBytes) {
  for (ULONG ul = 0; ul < ulBytes; ul += sizeof(T)) CopyReversed<T>(pbTo + ul, pbFrom + ul);
}

// Reverses described data where it lies.
class Reverser {
 public:
  Reverser(BYTE *pb, bool fFollow, const Reverser *pOuter = nullptr)
      : pbStart_(pb), fFollow_(fFollow), pOuter_(pOuter) {}

  ULONG OnField(FieldView field) {
    const ULONG ulWidth = ElementBytes(field.Type());
    if (ulWidth == 0) return PassOver(field);
    BYTE *pb = pbStart_ + ulOffset_;
    ulOffset_ += field.Count() * ulWidth;
    CopyElementsReversed(pb, pb, field.Count(), ulWidth);
    return 0;
  }

  ULONG Position() const { return ulOffset_; }
  bool Repeat(ULONG, ULONG) const { return false; }

 private:
  [[gnu::noinline]] ULONG PassOver(FieldView field) { // inline, it slows the numbers down
    if (field.Type() == FT_STRUCTPTR && fFollow_ && field.Count() > 0)
      Follow(Load<BYTE *>(pbStart_ + ulOffset_), field.Desc());
    ulOffset_ += Extent(field.Copy());
    return 0;
  }

  void Follow(BYTE *pb, const void *pvSdsc) const {
    if (!pb || IsUnderWay(pb)) return;
    Reverser reverser(pb, fFollow_, this);
    WalkStructure(pvSdsc, reverser);
  }

  bool IsUnderWay(const BYTE *pb) const {
    const Reverser *p = this;
    while (p && p->pbStart_ != pb) p = p->pOuter_;
    return p != nullptr;
  }

  BYTE *const pbStart_;
  ULONG ulOffset_ = 0;
  const bool fFollow_;
  const Reverser *const pOuter_; // the one that met the reference to pbStart_
};
} // namespace

void CopyArrayReversed(BYTE *pbTo, const BYTE *pbFrom, ULONG ulCount, ULONG ulWidth) {
  const ULONG ulBytes = ulCount * ulWidth;
  if (ulWidth == 1) {
    if (pbTo != pbFrom && ulBytes > 0) std::memcpy(pbTo, pbFrom, ulBytes);
    return;
  }
  const ULONG ulDone = ulBytes >= ulBlockBytes ? CopyBlocksReversed(pbTo, pbFrom, ulBytes, ulWidth) : 0;
  const auto CopyRest = ulWidth == 2   ? CopyValuesReversed<std::uint16_t>
                        : ulWidth == 4 ? CopyValuesReversed<std::uint32_t>
                                       : CopyValuesReversed<std::uint64_t>;
  CopyRest(pbTo + ulDone, pbFrom + ulDone, ulBytes - ulDone);
}

void SwpSwapShort(SHORT *ps) { Reverse<std::uint16_t>(ps); }
void SwpSwapUShort(USHORT *pus) { Reverse<std::uint16_t>(pus); }
void SwpSwapLong(LONG *pl) { Reverse<std::uint32_t>(pl); }
void SwpSwapULong(ULONG *pul) { Reverse<std::uint32_t>(pul); }
void SwpSwapFloat(float *pf) { Reverse<std::uint32_t>(pf); }
void SwpSwapDouble(double *pd) { Reverse<std::uint64_t>(pd); }

void SwpSwapLongArray(ULONG *pul, ULONG ulCount) {
  BYTE *pb = reinterpret_cast<BYTE *>(pul);
  CopyArrayReversed(pb, pb, ulCount, sizeof *pul);
}

void SwpSwapField(BYTE **ppbData, const FDSC *pfdsc, ULONG fFollow) {
  Reverser reverser(*ppbData, fFollow != 0);
  WalkField(FieldView(pfdsc), reverser);
  *ppbData += reverser.Position();
}

void SwpSwapStructure(BYTE **ppbData, const SDSC *psdsc, ULONG fFollow) {
  Reverser reverser(*ppbData, fFollow != 0);
  WalkStructure(psdsc, reverser);
  *ppbData += reverser.Position();
}
