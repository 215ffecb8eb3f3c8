// fraction.h: decimal fractions, both ways, with the results of the runtime: the plain cases by hand, all others by the
// runtime.

#ifndef ZEBBASE_SRC_FRACTION_H
#define ZEBBASE_SRC_FRACTION_H

#include <cmath>
#include <concepts>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <iterator>

#include "digits.h"
#include "guard.h"

// A decimal fraction whose conversion takes one exact operation: an integer that the floating type holds exactly, and a
// power of ten that it holds exactly as well.
template <std::floating_point T>
struct EXACTLIMITS;
template <>
struct EXACTLIMITS<double> {
  static constexpr std::uint64_t ullMantissa = std::uint64_t{1} << 53;
  static constexpr double adPower[] = {1e0,  1e1,  1e2,  1e3,  1e4,  1e5,  1e6,  1e7,  1e8,  1e9,  1e10, 1e11,
                                       1e12, 1e13, 1e14, 1e15, 1e16, 1e17, 1e18, 1e19, 1e20, 1e21, 1e22};
  static constexpr char szFormat[] = "%lf%n";
};
template <>
struct EXACTLIMITS<float> {
  static constexpr std::uint64_t ullMantissa = std::uint64_t{1} << 24;
  static constexpr float adPower[] = {1e0F, 1e1F, 1e2F, 1e3F, 1e4F, 1e5F, 1e6F, 1e7F, 1e8F, 1e9F, 1e10F};
  static constexpr char szFormat[] = "%f%n";
};

// The parts of a decimal fraction, as far as they are plain.
struct FRACTION {
  std::uint64_t ullMantissa = 0;
  LONG lExponent = 0; // of ten
  bool fNegative = false;

  // Result: whether the text begins with a fraction of at most 18 digits that ends clearly, behind which psz then is.
  bool Read(const char *&psz) {
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
    if (ToLower(*psz) == 'e') return ReadExponent(++psz);
    return ToLower(*psz) != 'x'; // 0x begins a hexadecimal fraction
  }

 private:
  const char *ReadMantissa(const char *psz) { // beyond 19 digits it wraps, and is not used
    for (; IsDigit(*psz); psz++) ullMantissa = ullMantissa * 10 + static_cast<ULONG>(*psz - '0');
    return psz;
  }
  bool ReadExponent(const char *&psz) {
    LONG l;
    if (!ScanLong(psz, l) || l > 99 || l < -99) return false;
    lExponent += l;
    return true;
  }
};

// Scans a fraction, as "%lf" or "%f" reads it, with a decimal point in every locale. Result: whether there was one,
// past which psz is moved; if not, nothing has changed.
template <std::floating_point T>
inline bool ScanReal(const char *&psz, T &t) {
  using Limits = EXACTLIMITS<T>;
  constexpr LONG lPowers = std::size(Limits::adPower);
  FRACTION frac;
  const char *pszEnd = psz;
  if (frac.Read(pszEnd) && frac.ullMantissa <= Limits::ullMantissa && std::labs(frac.lExponent) < lPowers) {
    const T tMantissa = static_cast<T>(static_cast<std::int64_t>(frac.ullMantissa));
    t = frac.lExponent < 0 ? tMantissa / Limits::adPower[-frac.lExponent] : tMantissa * Limits::adPower[frac.lExponent];
    if (frac.fNegative) t = -t;
    psz = pszEnd;
    return true;
  }
  const PlainLocale locale;
  int iLength;
  if (std::sscanf(psz, Limits::szFormat, &t, &iLength) != 1) return false;
  psz += iLength;
  return true;
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
