// text.h: characters and texts, without locale: the letters and digits here are those of ASCII.

#ifndef ZEBBASE_SRC_TEXT_H
#define ZEBBASE_SRC_TEXT_H

#include <algorithm>
#include <cstddef>
#include <cstring>
#include <string_view>

constexpr bool IsDigit(char ch) { return ch >= '0' && ch <= '9'; }
constexpr char ToLower(char ch) { return ch >= 'A' && ch <= 'Z' ? static_cast<char>(ch + ('a' - 'A')) : ch; }
constexpr bool IsLetter(char ch) { return ToLower(ch) >= 'a' && ToLower(ch) <= 'z'; }
constexpr bool IsPrintable(char ch) { return ch >= ' ' && ch <= '~'; }
constexpr bool IsWhite(char ch) { return ch == ' ' || ch == '\t' || ch == '\r' || ch == '\n'; }

// What the runtime's scan skips before a number.
inline const char *SkipSpace(const char *psz) {
  while (*psz == ' ' || (*psz >= '\t' && *psz <= '\r')) psz++;
  return psz;
}

// The first cb characters of a text that has as many, and what follows them: without the check of the class's own
// substr, which would want another library.
constexpr std::string_view UpTo(std::string_view sv, std::size_t cb) { return {sv.data(), cb}; }
constexpr std::string_view From(std::string_view sv, std::size_t cb) { return {sv.data() + cb, sv.size() - cb}; }

constexpr bool StartsWith(std::string_view sv, std::string_view svStart) {
  return sv.size() >= svStart.size() && UpTo(sv, svStart.size()) == svStart;
}

// What follows the last '/' of a path name.
inline const char *BaseName(const char *psz) {
  const char *pszSlash = std::strrchr(psz, '/');
  return pszSlash ? pszSlash + 1 : psz;
}

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

// Fills an array with the beginning of a text and zeros; a text that fills it is not terminated.
template <std::size_t N>
inline void CopyPadded(char (&achDest)[N], const char *psz) {
  const std::size_t cb = strnlen(psz, N);
  std::memcpy(achDest, psz, cb);
  std::memset(achDest + cb, 0, N - cb);
}

#endif
