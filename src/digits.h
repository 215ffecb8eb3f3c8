// digits.h: whole numbers as digits, both ways.
// A scanner reads the number at the beginning of a text as the runtime's sscanf does, and moves past it; where there is
// none, it moves nothing and changes nothing. A writer puts a number at a pointer, and gives the end of what it wrote.

#ifndef ZEBBASE_SRC_DIGITS_H
#define ZEBBASE_SRC_DIGITS_H

#include <algorithm>
#include <bit>
#include <cassert>
#include <cstdint>
#include <cstring>
#include <limits>

#include "text.h"
#include "zebbase/types.h"

// The number of a run of more than nine digits.
[[gnu::noinline]] inline ULONG ReadManyDigits(const char *psz, ULONG ulLimit) {
  const char *pszWide = psz + 9;
  ULONG ul = 0;
  for (; psz < pszWide; psz++) ul = ul * 10 + static_cast<ULONG>(*psz - '0');
  for (; IsDigit(*psz); psz++)
    ul = static_cast<ULONG>(std::min<std::uint64_t>(ul * std::uint64_t{10} + static_cast<ULONG>(*psz - '0'), ulLimit));
  return ul;
}

// The digit run at psz as a number that stops at ulLimit, which has at least ten digits, and psz moved past it.
inline ULONG ReadDigits(const char *&psz, ULONG ulLimit) {
  const char *pszFirst = psz;
  ULONG ul = 0;
  for (; IsDigit(*psz); psz++) ul = ul * 10 + static_cast<ULONG>(*psz - '0'); // up to nine digits are below the limit
  return psz - pszFirst <= 9 ? ul : ReadManyDigits(pszFirst, ulLimit);
}

// A signed number, as "%ld" reads it: what is beyond 32 bits is the largest or the smallest. Result: whether there was
// one.
inline bool ScanLong(const char *&psz, LONG &l) {
  const char *pszNumber = psz + (*psz == '-' || *psz == '+');
  if (!IsDigit(*pszNumber)) return false;
  const bool fNegative = *psz == '-';
  const ULONG ul = ReadDigits(pszNumber, fNegative ? 0x80000000UL : 0x7FFFFFFFUL);
  l = static_cast<LONG>(fNegative ? 0 - ul : ul);
  psz = pszNumber;
  return true;
}

// Whether a digit run is beyond 32 bits.
[[gnu::noinline]] inline bool IsTooLarge(const char *psz) {
  std::uint64_t ull = 0;
  for (; IsDigit(*psz) && ull >> 32 == 0; psz++) ull = ull * 10 + static_cast<ULONG>(*psz - '0');
  return ull >> 32 != 0;
}

// The same as "%lu" reads it: what is too large is the largest number, and a minus is taken modulo 2^32.
inline bool ScanULong(const char *&psz, ULONG &ul) {
  constexpr ULONG ulMost = std::numeric_limits<ULONG>::max();
  const bool fNegative = *psz == '-';
  const char *pszNumber = psz + (*psz == '-' || *psz == '+');
  if (!IsDigit(*pszNumber)) return false;
  const char *pszEnd = pszNumber;
  const ULONG ulValue = ReadDigits(pszEnd, ulMost);
  const bool fTooLarge = ulValue == ulMost && IsTooLarge(pszNumber);
  ul = fNegative && !fTooLarge ? 0 - ulValue : ulValue;
  psz = pszEnd;
  return true;
}

constexpr ULONG ulNoHexDigit = 16;
constexpr ULONG HexDigit(char ch) {
  if (IsDigit(ch)) return static_cast<ULONG>(ch - '0');
  const char chLow = ToLower(ch);
  return chLow >= 'a' && chLow <= 'f' ? static_cast<ULONG>(chLow - 'a') + 10 : ulNoHexDigit;
}

// The same in hexadecimal, as "%lx" reads it: with a sign and a 0x, if they are there.
inline bool ScanHex(const char *&psz, ULONG &ul) {
  const bool fNegative = *psz == '-';
  const char *pszFirst = psz + (*psz == '-' || *psz == '+');
  if (HexDigit(*pszFirst) == ulNoHexDigit) return false;
  const char *pszEnd = pszFirst[0] == '0' && ToLower(pszFirst[1]) == 'x' ? pszFirst + 2 : pszFirst;
  ULONG ulValue = 0;
  bool fTooLarge = false;
  for (ULONG ulDigit; (ulDigit = HexDigit(*pszEnd)) != ulNoHexDigit; pszEnd++) {
    fTooLarge |= ulValue >> 28 != 0;
    ulValue = ulValue << 4 | ulDigit;
  }
  ul = fTooLarge ? std::numeric_limits<ULONG>::max() : fNegative ? 0 - ulValue : ulValue;
  psz = pszEnd;
  return true;
}

// All pairs of decimal digits. Numbers are put together from pairs, which halves the divisions.
struct PAIRS {
  char aach[100][2];
};
inline constexpr PAIRS pairs = [] {
  PAIRS p = {};
  for (int i = 0; i < 100; i++) {
    p.aach[i][0] = static_cast<char>('0' + i / 10);
    p.aach[i][1] = static_cast<char>('0' + i % 10);
  }
  return p;
}();

inline char *PutPair(char *pch, ULONG ul) { // below 100
  assert(ul < 100);
  std::memcpy(pch, pairs.aach[ul], 2);
  return pch + 2;
}

inline ULONG CountDigits(ULONG ul) {
  static constexpr ULONG aulPower[] = {1, 10, 100, 1000, 10000, 100000, 1000000, 10000000, 100000000, 1000000000};
  // A number of n bits lies from 2^(n-1) to below 2^n, and n * 1233 / 4096 is the logarithm of 2^n to base 10, rounded
  // down, for all n up to 32. So the number's own logarithm is this, or one less.
  const ULONG ulLog10 = static_cast<ULONG>(std::bit_width(ul)) * 1233 >> 12;
  return ulLog10 + (ul >= aulPower[ulLog10]);
}

constexpr ULONG ulMostDigits = 10; // of 32 bits in decimal

// A decimal number with at least ulWidth digits.
inline char *PutDecimal(char *pch, ULONG ul, ULONG ulWidth = 1) {
  char *pchEnd = pch + std::max(CountDigits(ul), ulWidth);
  char *pchDigit = pchEnd;
  for (; ul >= 100; ul /= 100) PutPair(pchDigit -= 2, ul % 100);
  if (ul >= 10)
    PutPair(pchDigit -= 2, ul);
  else if (ul > 0)
    *--pchDigit = static_cast<char>('0' + ul);
  while (pchDigit > pch) *--pchDigit = '0';
  return pchEnd;
}

inline char *PutHexadecimal(char *pch, ULONG ul) {
  ULONG ulShift = ul == 0 ? 0 : static_cast<ULONG>(std::bit_width(ul) - 1) / 4 * 4;
  for (;; ulShift -= 4) {
    *pch++ = "0123456789abcdef"[ul >> ulShift & 15];
    if (ulShift == 0) return pch;
  }
}

#endif
