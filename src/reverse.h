// reverse.h: values of the other byte order, moved as raw bytes from and to any byte offset.

#ifndef ZEBBASE_SRC_REVERSE_H
#define ZEBBASE_SRC_REVERSE_H

#include <cstdint>
#include <cstring>

#include "bytes.h"
#include "zebbase/types.h"

template <typename T>
inline T Reversed(T t) {
  static_assert(sizeof t == 2 || sizeof t == 4 || sizeof t == 8);
  if constexpr (sizeof t == 2)
    return __builtin_bswap16(t);
  else if constexpr (sizeof t == 4)
    return __builtin_bswap32(t);
  else
    return __builtin_bswap64(t);
}

// In all of these, source and destination are the same place or do not overlap.
template <typename T>
inline void CopyReversed(BYTE *pbTo, const BYTE *pbFrom) {
  Store(pbTo, Reversed(Load<T>(pbFrom)));
}

template <typename T>
inline void Reverse(void *pv) {
  CopyReversed<T>(static_cast<BYTE *>(pv), static_cast<const BYTE *>(pv));
}

// ulCount values of ulWidth bytes: 2, 4 or 8; or 1, of which nothing is reversed.
void CopyArrayReversed(BYTE *pbTo, const BYTE *pbFrom, ULONG ulCount, ULONG ulWidth);

// The same. A single value, the most frequent field, takes no call.
inline void CopyElementsReversed(BYTE *pbTo, const BYTE *pbFrom, ULONG ulCount, ULONG ulWidth) {
  if (ulCount != 1 || ulWidth == 1) {
    CopyArrayReversed(pbTo, pbFrom, ulCount, ulWidth);
  } else if (ulWidth == 4) {
    CopyReversed<std::uint32_t>(pbTo, pbFrom);
  } else if (ulWidth == 2) {
    CopyReversed<std::uint16_t>(pbTo, pbFrom);
  } else {
    CopyReversed<std::uint64_t>(pbTo, pbFrom);
  }
}

#endif
