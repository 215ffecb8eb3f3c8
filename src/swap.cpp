// swap.cpp: reversal of byte order, of values, arrays and described data.

#include "zebbase/swp.h"

#ifdef __i386__
#include <cpuid.h>
#endif

#include <cstdint>
#include <cstring>

#include "reverse.h"
#include "walk.h"
#include "zebbase/ini.h"

namespace {
template <typename T>
[[gnu::always_inline]] inline void CopyValuesReversed(BYTE *pbTo, const BYTE *pbFrom, ULONG ulCount) {
  for (ULONG ul = 0; ul < ulCount; ul++) CopyReversed<T>(pbTo + ul * sizeof(T), pbFrom + ul * sizeof(T));
}

[[gnu::always_inline]] inline void CopyReversedByWidth(BYTE *pbTo, const BYTE *pbFrom, ULONG ulCount, ULONG ulWidth) {
  if (ulWidth == 2)
    CopyValuesReversed<std::uint16_t>(pbTo, pbFrom, ulCount);
  else if (ulWidth == 4)
    CopyValuesReversed<std::uint32_t>(pbTo, pbFrom, ulCount);
  else
    CopyValuesReversed<std::uint64_t>(pbTo, pbFrom, ulCount);
}

// The same loops, compiled once for each kind of processor: one that shuffles bytes in a register does 16 or 32 of them
// at a time.
using PFNCOPYREVERSED = void (*)(BYTE *pbTo, const BYTE *pbFrom, ULONG ulCount, ULONG ulWidth);

void CopyPlain(BYTE *pbTo, const BYTE *pbFrom, ULONG ulCount, ULONG ulWidth) {
  CopyReversedByWidth(pbTo, pbFrom, ulCount, ulWidth);
}

#ifdef __i386__
[[gnu::target("ssse3")]] void CopyBySsse3(BYTE *pbTo, const BYTE *pbFrom, ULONG ulCount, ULONG ulWidth) {
  CopyReversedByWidth(pbTo, pbFrom, ulCount, ulWidth);
}

[[gnu::target("avx2")]] void CopyByAvx2(BYTE *pbTo, const BYTE *pbFrom, ULONG ulCount, ULONG ulWidth) {
  CopyReversedByWidth(pbTo, pbFrom, ulCount, ulWidth);
}

// What the processor has, asked of itself: the compiler's own question would bring 5 KB that know every model.
struct CPUID {
  unsigned uEax, uEbx, uEcx, uEdx;
};

CPUID Ask(unsigned uLeaf) { // all zero for a leaf that the processor does not know
  CPUID cpuid = {};
  __get_cpuid_count(uLeaf, 0, &cpuid.uEax, &cpuid.uEbx, &cpuid.uEcx, &cpuid.uEdx);
  return cpuid;
}

bool HasSsse3() { return Ask(1).uEcx & bit_SSSE3; }

[[gnu::target("xsave")]] bool HasAvx2() { // its registers serve where the system saves them, both halves
  return (Ask(1).uEcx & bit_OSXSAVE) && (__builtin_ia32_xgetbv(0) & 6) == 6 && (Ask(7).uEbx & bit_AVX2);
}
#endif

PFNCOPYREVERSED FindCopyReversed() {
#ifdef __i386__
  if (HasAvx2()) return CopyByAvx2;
  if (HasSsse3()) return CopyBySsse3;
#endif
  return CopyPlain;
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
    ulOffset_ += field.Extent();
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
  static constinit PFNCOPYREVERSED pfnCopyReversed = nullptr; // asking the processor takes longer than a kilobyte
  if (ulWidth == 1) {
    if (pbTo != pbFrom && ulCount > 0) std::memcpy(pbTo, pbFrom, ulCount);
    return;
  }
  if (!pfnCopyReversed) pfnCopyReversed = FindCopyReversed();
  pfnCopyReversed(pbTo, pbFrom, ulCount, ulWidth);
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
