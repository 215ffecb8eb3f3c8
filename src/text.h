// text.h: characters and texts, without locale: the letters and digits here are those of ASCII.

#ifndef ZEBBASE_SRC_TEXT_H
#define ZEBBASE_SRC_TEXT_H

#include <algorithm>
#include <bit>
#include <cstdarg>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <string_view>

#include "zebbase/types.h"

constexpr bool IsDigit(char ch) { return ch >= '0' && ch <= '9'; }
constexpr char ToLower(char ch) { return ch >= 'A' && ch <= 'Z' ? static_cast<char>(ch + ('a' - 'A')) : ch; }
constexpr bool IsLetter(char ch) { return ToLower(ch) >= 'a' && ToLower(ch) <= 'z'; }
constexpr bool IsPrintable(char ch) { return ch >= ' ' && ch <= '~'; }
constexpr bool IsWhite(char ch) { return ch == ' ' || ch == '\t' || ch == '\r' || ch == '\n'; }

// Mostly the case is the same.
constexpr bool IsEqualNoCase(char ch1, char ch2) { return ch1 == ch2 || ToLower(ch1) == ToLower(ch2); }

// Whether two texts are equal without regard to case.
inline bool EqualNoCase(std::string_view sv1, std::string_view sv2) {
  return sv1.size() == sv2.size() && std::equal(sv1.begin(), sv1.end(), sv2.begin(), IsEqualNoCase);
}

// As strncasecmp: compares at most cb characters, up to a terminator, and gives the first difference.
inline int CompareNoCase(const char *psz1, const char *psz2, std::size_t cb) {
  for (; cb > 0; cb--, psz1++, psz2++) {
    const int iDifference = static_cast<unsigned char>(ToLower(*psz1)) - static_cast<unsigned char>(ToLower(*psz2));
    if (iDifference != 0 || *psz1 == '\0') return iDifference;
  }
  return 0;
}

// Copies characters of which there are hundreds at most, and mostly a few: a call of memcpy would take longer.
inline void CopyFew(char *pch, std::string_view sv) {
  const char *pchSource = sv.data();
  std::size_t cb = sv.size();
  for (; cb >= 4; cb -= 4, pch += 4, pchSource += 4) std::memcpy(pch, pchSource, 4);
  for (; cb > 0; cb--) *pch++ = *pchSource++;
}

// Copies any number of characters, mostly a few.
inline void CopyText(char *pch, std::string_view sv) {
  if (sv.size() > 32)
    std::memcpy(pch, sv.data(), sv.size());
  else
    CopyFew(pch, sv);
}

// What follows the last '/'.
inline const char *BaseName(const char *psz) {
  const char *pszSlash = std::strrchr(psz, '/');
  return pszSlash ? pszSlash + 1 : psz;
}

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

// Formats into a buffer, which is terminated either way. Result: whether all of it fitted.
template <std::size_t N>
[[gnu::format(printf, 2, 3)]] inline bool Format(char (&szDest)[N], const char *pszFormat, ...) {
  va_list args;
  va_start(args, pszFormat);
  const int iLength = std::vsnprintf(szDest, N, pszFormat, args);
  va_end(args);
  if (iLength < 0) szDest[0] = '\0';
  return iLength >= 0 && static_cast<std::size_t>(iLength) < N;
}

// Fills an array with the beginning of a text and zeros; a text that fills it is not terminated.
template <std::size_t N>
inline void CopyPadded(char (&achDest)[N], const char *psz) {
  const std::size_t cb = strnlen(psz, N);
  std::memcpy(achDest, psz, cb);
  std::memset(achDest + cb, 0, N - cb);
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

inline char *PutPair(char *pch, ULONG ul) { // below 100; gives the end of what it wrote, as the following do
  std::memcpy(pch, pairs.aach[ul], 2);
  return pch + 2;
}

inline ULONG CountDigits(ULONG ul) {
  static constexpr ULONG aulPower[] = {1, 10, 100, 1000, 10000, 100000, 1000000, 10000000, 100000000, 1000000000};
  const auto ulLog10 = static_cast<ULONG>(std::bit_width(ul)) * 1233 >> 12; // or one more than that
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

// A decimal number as text, for as long as this object lives.
class Decimal {
 public:
  explicit Decimal(ULONG ul, ULONG ulWidth = 1) : pchEnd_(PutDecimal(ach_, ul, ulWidth)) {}
  Decimal(const Decimal &) = delete;
  Decimal &operator=(const Decimal &) = delete;
  operator std::string_view() const { return {ach_, pchEnd_}; }

 private:
  char ach_[ulMostDigits];
  const char *const pchEnd_;
};

// A text of at most N - 1 characters that is built piece by piece; what does not fit is cut, and remembered.
template <std::size_t N>
class TextBuffer {
 public:
  TextBuffer &Put(std::string_view sv) {
    const std::size_t cb = std::min(sv.size(), N - 1 - cb_);
    fCut_ |= cb < sv.size();
    CopyFew(ach_ + cb_, sv.substr(0, cb));
    cb_ += cb;
    return *this;
  }
  TextBuffer &Put(char ch) {
    if (cb_ < N - 1)
      ach_[cb_++] = ch;
    else
      fCut_ = true;
    return *this;
  }
  TextBuffer &PutPadded(std::string_view sv, std::size_t cbWidth) { // blanks first
    for (std::size_t cb = sv.size(); cb < cbWidth; cb++) Put(' ');
    return Put(sv);
  }
  TextBuffer &PutNumber(ULONG ul, ULONG ulWidth = 1) {
    if (N - 1 - cb_ < ulMostDigits) return Put(Decimal(ul, ulWidth)); // which may be cut
    cb_ = static_cast<std::size_t>(PutDecimal(ach_ + cb_, ul, ulWidth) - ach_);
    return *this;
  }
  void Shorten(std::size_t cb) { // to a length that it had
    cb_ = cb;
    fCut_ = false;
  }
  const char *Text() { // terminated
    ach_[cb_] = '\0';
    return ach_;
  }
  std::string_view View() const { return {ach_, cb_}; }
  std::size_t Length() const { return cb_; }
  bool IsCut() const { return fCut_; }

 private:
  char ach_[N];
  std::size_t cb_ = 0;
  bool fCut_ = false;
};

#endif
