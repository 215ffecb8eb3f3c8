// format.h: the conversions in the formats of programs, which are those of the runtime's formatted printing.

#ifndef ZEBBASE_SRC_FORMAT_H
#define ZEBBASE_SRC_FORMAT_H

#include <cstring>
#include <string_view>

#include "digits.h"
#include "zebbase/types.h"

// A conversion such as %-8.3lf. Its parts are what stands there; only their order is known to be right.
struct CONVERSION {
  static constexpr ULONG ulMost = 0x7FFFFFFF; // of what the runtime takes for a width or precision

  bool fPosition = false; // it names the argument, as %1$s does
  std::string_view svFlags;
  ULONG ulWidth = 0;
  bool fPrecision = false;
  ULONG ulPrecision = ulMost;
  std::string_view svLength;
  char ch = '\0'; // what is converted: 's', 'd'; a zero where the format ends before

  bool IsLeft() const { return svFlags.find('-') != svFlags.npos; }

  // Whether it may be scanned as well.
  bool IsScanned() const { return !fPrecision && svFlags.empty(); }

  // Takes a conversion whose '%' has been taken, and moves psz behind it.
  [[gnu::noinline]] void Take(const char *&psz) {
    TakePosition(psz);
    svFlags = TakeRun(psz, "-+ #0'");
    ulWidth = ReadDigits(psz, ulMost);
    fPrecision = *psz == '.';
    if (fPrecision) ulPrecision = ReadDigits(++psz, ulMost);
    svLength = TakeRun(psz, "hlqjztL");
    ch = *psz;
    if (ch != '\0') psz++;
  }

 private:
  void TakePosition(const char *&psz) {
    const char *pszEnd = psz + std::strspn(psz, "0123456789");
    fPosition = pszEnd > psz && *pszEnd == '$';
    if (fPosition) psz = pszEnd + 1;
  }
  static std::string_view TakeRun(const char *&psz, const char *pszSet) {
    const std::string_view sv(psz, std::strspn(psz, pszSet));
    psz += sv.size();
    return sv;
  }
};

// Calls a function for each piece of a format in turn: OnText for characters that stand for themselves, OnConversion
// for a conversion.
template <typename OnText, typename OnConversion>
void ForPieces(const char *psz, OnText onText, OnConversion onConversion) {
  while (*psz != '\0') {
    if (*psz != '%') {
      const std::string_view sv(psz, std::strcspn(psz, "%"));
      onText(sv);
      psz += sv.size();
    } else if (psz[1] == '%') {
      onText(std::string_view("%"));
      psz += 2;
    } else {
      CONVERSION conversion;
      conversion.Take(++psz);
      onConversion(conversion);
    }
  }
}

#endif
