// underway.h: the structures that a walk over data with references is in, so that it does not enter one again.

#ifndef ZEBBASE_SRC_UNDERWAY_H
#define ZEBBASE_SRC_UNDERWAY_H

#include <cassert>
#include <cstdint>

#include "zebbase/ini.h"

// Described data that is under way for one scope: a link of a chain on the stack, whose innermost link the walk keeps.
class [[nodiscard]] UnderWay {
 public:
  // The data of a structure; or with a null description any data, which must only not be freed.
  UnderWay(const UnderWay *&pInnermost, const BYTE *pb, ULONG ulBytes, const void *pvSdsc)
      : pInnermost_(pInnermost), pOuter_(pInnermost), pb_(pb), ulBytes_(ulBytes), pvSdsc_(pvSdsc) {
    pInnermost = this;
  }
  ~UnderWay() {
    assert(pInnermost_ == this);
    pInnermost_ = pOuter_;
  }
  UnderWay(const UnderWay &) = delete;
  UnderWay &operator=(const UnderWay &) = delete;

  // Whether a structure is one of the chain. The address alone does not tell: it may be that of a first member.
  static bool Has(const UnderWay *p, const BYTE *pb, const void *pvSdsc) {
    while (p && (p->pb_ != pb || p->pvSdsc_ != pvSdsc)) p = p->pOuter_;
    return p != nullptr;
  }

  // Whether a block has bytes in common with data of the chain. What is empty counts as its first byte.
  static bool Overlaps(const UnderWay *p, const BYTE *pb, ULONG ulBytes) {
    while (p && (End(pb, ulBytes) <= Number(p->pb_) || End(p->pb_, p->ulBytes_) <= Number(pb))) p = p->pOuter_;
    return p != nullptr;
  }

 private:
  static std::uint64_t Number(const BYTE *pb) { return reinterpret_cast<std::uintptr_t>(pb); }
  static std::uint64_t End(const BYTE *pb, ULONG ulBytes) { return Number(pb) + (ulBytes > 0 ? ulBytes : 1); }

  const UnderWay *&pInnermost_;
  const UnderWay *const pOuter_;
  const BYTE *const pb_;
  const ULONG ulBytes_;
  const void *const pvSdsc_;
};

#endif
