// floor.h: text by hand, as the floors write it.

#ifndef ZEBBASE_BENCH_FLOOR_H
#define ZEBBASE_BENCH_FLOOR_H

#include <cstring>
#include <string_view>

#include "zebbase/types.h"

struct DIGITPAIRS {
  char aach[100][2] = {};
  constexpr DIGITPAIRS() {
    for (int i = 0; i < 100; i++) {
      aach[i][0] = static_cast<char>('0' + i / 10);
      aach[i][1] = static_cast<char>('0' + i % 10);
    }
  }
};
inline constexpr DIGITPAIRS digitpairs;

// Each writes at a pointer and gives the end.
inline char *PutText(char *pch, std::string_view sv) {
  std::memcpy(pch, sv.data(), sv.size());
  return pch + sv.size();
}

inline char *PutChar(char *pch, char ch) {
  *pch = ch;
  return pch + 1;
}

inline char *PutTwo(char *pch, ULONG ul) { return PutText(pch, {digitpairs.aach[ul], 2}); }
inline char *PutFour(char *pch, ULONG ul) { return PutTwo(PutTwo(pch, ul / 100), ul % 100); }

inline char *PutDecimal(char *pch, ULONG ul) {
  ULONG ulDigits = 1;
  for (ULONG ulPower = 10; ulDigits < 10 && ul >= ulPower; ulPower *= 10) ulDigits++;
  char *pchDigit = pch + ulDigits;
  for (; ul >= 100; ul /= 100) PutTwo(pchDigit -= 2, ul % 100);
  if (ul >= 10)
    PutTwo(pch, ul);
  else
    PutChar(pch, static_cast<char>('0' + ul));
  return pch + ulDigits;
}

inline char *PutSigned(char *pch, LONG l) {
  return l < 0 ? PutDecimal(PutChar(pch, '-'), 0 - static_cast<ULONG>(l)) : PutDecimal(pch, static_cast<ULONG>(l));
}

// The digit run at psz, which is moved past it.
inline ULONG TakeDigits(const char *&psz) {
  ULONG ul = 0;
  for (ULONG ulDigit; (ulDigit = static_cast<ULONG>(*psz - '0')) < 10; psz++) ul = ul * 10 + ulDigit;
  return ul;
}

inline LONG TakeSigned(const char *&psz) {
  const bool fNegative = *psz == '-';
  psz += fNegative;
  const ULONG ul = TakeDigits(psz);
  return static_cast<LONG>(fNegative ? 0 - ul : ul);
}

#endif
