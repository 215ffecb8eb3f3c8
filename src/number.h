// number.h: numbers in text, with the results of the runtime's sscanf: the plain cases by hand, all others by the
// runtime.

#ifndef ZEBBASE_SRC_NUMBER_H
#define ZEBBASE_SRC_NUMBER_H

#include <cmath>
#include <concepts>
#include <cstdint>
#include <cstdio>
#include <iterator>

#include "guard.h"
#include "text.h"
#include "zebbase/types.h"

// What the runtime's scan skips before a number.
inline const char *SkipSpace(const char *psz) {
  while (*psz == ' ' || (*psz >= '\t' && *psz <= '\r')) psz++;
  return psz;
}

// A decimal number at the beginning of a text, as "%ld" reads it: a sign is allowed, what is beyond 32 bits is taken as
// the largest or smallest number. psz is moved past it. Result: whether there was one; if not, nothing has changed.
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
inline bool ScanULong(const char *psz, ULONG &ul) {
  constexpr ULONG ulMost = 0xFFFFFFFF;
  const bool fNegative = *psz == '-';
  if (*psz == '-' || *psz == '+') psz++;
  if (!IsDigit(*psz)) return false;
  const char *pszEnd = psz;
  const ULONG ulValue = ReadDigits(pszEnd, ulMost);
  const bool fTooLarge = ulValue == ulMost && IsTooLarge(psz);
  ul = fNegative && !fTooLarge ? 0 - ulValue : ulValue;
  return true;
}

constexpr ULONG ulNoHexDigit = 16;
constexpr ULONG HexDigit(char ch) {
  if (IsDigit(ch)) return static_cast<ULONG>(ch - '0');
  const char chLow = ToLower(ch);
  return chLow >= 'a' && chLow <= 'f' ? static_cast<ULONG>(chLow - 'a') + 10 : ulNoHexDigit;
}

// A hexadecimal number at the beginning of a text, as "%lx" reads it. Result: whether there was one; if not, ul is as
// it was.
inline bool ScanHex(const char *psz, ULONG &ul) {
  ULONG ulValue = 0;
  const char *pszEnd = psz;
  for (ULONG ulDigit; (ulDigit = HexDigit(*pszEnd)) != ulNoHexDigit; pszEnd++) ulValue = ulValue << 4 | ulDigit;
  const bool fPlain = pszEnd > psz && pszEnd - psz <= 8 && ToLower(*pszEnd) != 'x';
  if (fPlain) ul = ulValue;
  return fPlain || std::sscanf(psz, "%lx", &ul) == 1;
}

// A decimal fraction whose conversion takes one exact operation: an integer that the floating type holds exactly, and a
// power of ten that it holds exactly as well.
template <std::floating_point T>
struct EXACTLIMITS;
template <>
struct EXACTLIMITS<double> {
  static constexpr std::uint64_t ullMantissa = std::uint64_t{1} << 53;
  static constexpr double adPower[] = {1e0,  1e1,  1e2,  1e3,  1e4,  1e5,  1e6,  1e7,  1e8,  1e9,  1e10, 1e11,
                                       1e12, 1e13, 1e14, 1e15, 1e16, 1e17, 1e18, 1e19, 1e20, 1e21, 1e22};
  static constexpr char szFormat[] = "%lf";
};
template <>
struct EXACTLIMITS<float> {
  static constexpr std::uint64_t ullMantissa = std::uint64_t{1} << 24;
  static constexpr float adPower[] = {1e0F, 1e1F, 1e2F, 1e3F, 1e4F, 1e5F, 1e6F, 1e7F, 1e8F, 1e9F, 1e10F};
  static constexpr char szFormat[] = "%f";
};

// The parts of a decimal fraction, as far as they are plain.
struct DECIMAL {
  std::uint64_t ullMantissa = 0;
  LONG lExponent = 0; // of ten
  bool fNegative = false;

  // Result: whether the text begins with a fraction of at most 18 digits that ends clearly.
  bool Read(const char *psz) {
    fNegative = *psz == '-';
    if (*psz == '-' || *psz == '+') psz++;
    const char *pszDigits = psz;
    psz = ReadMantissa(psz);
    LONG lDigits = psz - pszDigits;
    if (*psz == '.') {
      const char *pszFraction = psz + 1;
      psz = ReadMantissa(pszFraction);
      lExponent = pszFraction - psz;
      lDigits -= lExponent;
    }
    if (lDigits < 1 || lDigits > 18) return false;
    if (ToLower(*psz) == 'e') return ReadExponent(psz + 1);
    return ToLower(*psz) != 'x'; // 0x begins a hexadecimal fraction
  }

 private:
  const char *ReadMantissa(const char *psz) { // beyond 19 digits it wraps, and is not used
    for (; IsDigit(*psz); psz++) ullMantissa = ullMantissa * 10 + static_cast<ULONG>(*psz - '0');
    return psz;
  }
  bool ReadExponent(const char *psz) {
    LONG l;
    if (!ScanLong(psz, l) || l > 99 || l < -99) return false;
    lExponent += l;
    return true;
  }
};

// A fraction at the beginning of a text, as "%lf" or "%f" reads it, with a decimal point in every locale. Result:
// whether there was one; if not, t is as it was.
template <std::floating_point T>
inline bool ScanReal(const char *psz, T &t) {
  using Limits = EXACTLIMITS<T>;
  constexpr LONG lPowers = std::size(Limits::adPower);
  DECIMAL dec;
  if (dec.Read(psz) && dec.ullMantissa <= Limits::ullMantissa && dec.lExponent > -lPowers && dec.lExponent < lPowers) {
    const T tMantissa = static_cast<T>(static_cast<std::int64_t>(dec.ullMantissa));
    t = dec.lExponent < 0 ? tMantissa / Limits::adPower[-dec.lExponent] : tMantissa * Limits::adPower[dec.lExponent];
    if (dec.fNegative) t = -t;
    return true;
  }
  const PlainLocale locale;
  return std::sscanf(psz, Limits::szFormat, &t) == 1;
}

// A fraction with six decimals, as "%f" prints it: rounded from its exact value, a half to the even digit.
struct SIXDECIMALS {
  ULONG ulWhole = 0;
  ULONG ulMillionths = 0;
  bool fNegative = false;

  // Result: whether d is in the plain range, where 64 bits hold the part behind the point exactly.
  bool Set(double d) {
    constexpr double dSmallest = 0x1p-11;     // its last bit is worth 2^-64
    constexpr double dLargest = 4294967295.0; // and one more, rounded up, still fits 32 bits
    constexpr double dTwoTo32 = 0x1p32;
    fNegative = std::signbit(d);
    if (fNegative) d = -d;
    if (!(d < dLargest) || (d < dSmallest && d != 0)) return false;
    ulWhole = static_cast<ULONG>(d);
    const double dHigh = (d - ulWhole) * dTwoTo32;
    const ULONG ulHigh = static_cast<ULONG>(dHigh);
    SetMillionths(ulHigh, static_cast<ULONG>((dHigh - ulHigh) * dTwoTo32));
    return true;
  }

 private:
  void SetMillionths(ULONG ulHigh, ULONG ulLow) { // of the fraction ulHigh:ulLow / 2^64
    constexpr ULONG ulMillion = 1000000;
    constexpr std::uint64_t ullHalf = std::uint64_t{1} << 63;
    const std::uint64_t ullLow = std::uint64_t{ulLow} * ulMillion;
    const std::uint64_t ullHigh = std::uint64_t{ulHigh} * ulMillion + (ullLow >> 32);
    const std::uint64_t ullRest = ullHigh << 32 | (ullLow & 0xFFFFFFFF);
    ulMillionths = static_cast<ULONG>(ullHigh >> 32);
    ulMillionths += ullRest > ullHalf || (ullRest == ullHalf && ulMillionths % 2 != 0);
    if (ulMillionths < ulMillion) return;
    ulMillionths = 0;
    ulWhole++;
  }
};

#endif
