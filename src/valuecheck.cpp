// valuecheck.cpp: whether the text of a value is one that its field takes as it stands.
// The reader takes something of every text; each check here says what it would lose.

#include "valuecheck.h"

#include <algorithm>
#include <cmath>
#include <cstdarg>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <iterator>
#include <string_view>

#include "convert.h"
#include "enumeration.h"
#include "fraction.h"
#include "rows.h"
#include "text.h"
#include "zebbase/tme.h"

namespace {
bool IsBlank(const char *psz) { return *SkipSpace(psz) == '\0'; } // to its end

// A run of digits; what is far beyond 32 bits stays there.
std::uint64_t ReadLongDigits(const char *&psz) {
  std::uint64_t ull = 0;
  for (; IsDigit(*psz); psz++)
    ull = std::min<std::uint64_t>(ull * 10 + static_cast<ULONG>(*psz - '0'), std::uint64_t{1} << 40);
  return ull;
}

// Two values of all different bytes: what leaves both of them as they were is not read.
ULONG CheckThroughFormat(FieldView field, const char *psz, WHY &why) {
  bool fRead = false;
  for (const int iByte : {0x00, 0xFF}) {
    BYTE ab[sizeof(double)], abBefore[sizeof ab];
    std::memset(ab, iByte, sizeof ab);
    std::memcpy(abBefore, ab, sizeof ab);
    SetValue(field, ab, psz);
    fRead |= std::memcmp(ab, abBefore, sizeof ab) != 0;
  }
  return fRead ? 0 : why.Say(INI_FINDING_NUMBER, "is not read through the format %s", field.Format());
}

struct INTEGERRANGE {
  ULONG ulType;
  std::int64_t llLeast, llMost;
};
constexpr INTEGERRANGE aRange[] = {{FT_BYTE, 0, 255},
                                   {FT_SHORT, -32768, 32767},
                                   {FT_USHORT, 0, 65535},
                                   {FT_LONG, -2147483648LL, 2147483647},
                                   {FT_ULONG, 0, 4294967295LL}};

ULONG CheckInteger(FieldView field, const char *psz, WHY &why) {
  if (field.Format()) return CheckThroughFormat(field, psz, why);
  const INTEGERRANGE &range = aRange[field.Type() - FT_BYTE];
  psz = SkipSpace(psz);
  const bool fNegative = *psz == '-';
  if (*psz == '-' || *psz == '+') psz++;
  const bool fNumber = IsDigit(*psz);
  const auto llSize = static_cast<std::int64_t>(ReadLongDigits(psz));
  const std::int64_t ll = fNegative ? -llSize : llSize;
  if (!fNumber || !IsBlank(psz)) return why.Say(INI_FINDING_NUMBER, "is no whole number");
  if (ll >= range.llLeast && ll <= range.llMost) return 0;
  return why.Say(INI_FINDING_RANGE, "is beyond %lld to %lld", range.llLeast, range.llMost);
}

bool HasValue(const char *psz) { // a decimal fraction that is not zero
  while (*psz == '-' || *psz == '+' || *psz == '0' || *psz == '.') psz++;
  return IsDigit(*psz);
}

template <typename T>
ULONG CheckReal(FieldView field, const char *psz, WHY &why) {
  if (field.Format()) return CheckThroughFormat(field, psz, why);
  psz = SkipSpace(psz);
  const char *pszEnd = psz;
  T t;
  if (!ScanReal(pszEnd, t) || !IsBlank(pszEnd)) return why.Say(INI_FINDING_NUMBER, "is no number");
  if (!HasValue(psz) || (!std::isinf(t) && t != 0)) return 0;
  return why.Say(INI_FINDING_RANGE, "is beyond the range of its field");
}

ULONG CheckTruth(FieldView, const char *psz, WHY &why) {
  if (IsTrue(psz)) return 0;
  for (const char *pszFalse : {"FALSE", "NO"})
    if (StartsWithNoCase(psz, pszFalse) && IsBlank(psz + std::strlen(pszFalse))) return 0;
  return why.Say(INI_FINDING_TRUTH, "is neither TRUE nor FALSE");
}

ULONG CheckEnum(FieldView field, const char *psz, WHY &why) {
  Nearest nearest(psz);
  FindEnumName(field, [&](const ENUMNAME &name) {
    nearest.Offer(0, name.pszName, false);
    return nearest.IsDescribed();
  });
  if (nearest.IsDescribed()) return 0;
  return why.SayUnknown(INI_FINDING_NAME, "is none of its names", nearest);
}

ULONG CheckRealTime(FieldView, const char *psz, WHY &why) {
  REALTIME rt;
  if (TmeTextToRealTime(psz, &rt) != 0) return why.Say(INI_FINDING_TIME, "is no time such as 2026-11-23_04:05:06");
  const REALTIME rtRead = TmeStringToRealTime(psz);
  if (std::fabs(rtRead - rt) < 0.00011) return 0; // its step, and a little
  char szRead[TME_STRING_SIZE];
  return why.Say(INI_FINDING_TIME, "is read as %s", TmeRealTimeToString(rtRead, szRead));
}

// Whether a field takes all of a text but blanks at its end.
bool Fits(std::string_view sv, ULONG ulRoom) {
  while (sv.size() > ulRoom && sv.back() == ' ') sv.remove_suffix(1);
  return sv.size() <= ulRoom;
}

ULONG CutAt(ULONG ulRoom, WHY &why) { return why.Say(INI_FINDING_TEXT, "is cut after %lu characters", ulRoom); }

ULONG CheckString(FieldView field, const char *psz, WHY &why) {
  const ULONG ulRoom = field.Count() > 0 ? field.Count() - 1 : 0;
  return std::strlen(psz) <= ulRoom ? 0 : CutAt(ulRoom, why);
}

ULONG CheckFixedString(FieldView field, const char *psz, WHY &why) {
  if (!Fits(psz, field.Count())) return CutAt(field.Count(), why);
  while (IsPrintable(*psz)) psz++;
  if (*psz == '\0') return 0;
  return why.Say(INI_FINDING_TEXT, "has characters that become blanks");
}

ULONG CheckDotted(FieldView field, const char *psz, WHY &why) {
  ULONG ulLeft = field.Count();
  bool fFits = true;
  for (const FieldView subfield : field.Structure()) {
    const ULONG ulWidth = std::min(subfield.Count(), ulLeft);
    const std::size_t cbPart = std::strcspn(psz, ".");
    fFits &= Fits({psz, cbPart}, ulWidth);
    psz += cbPart + (psz[cbPart] != '\0');
    ulLeft -= ulWidth;
  }
  if (fFits && *psz == '\0') return 0;
  return why.Say(INI_FINDING_TEXT, "is cut: a part is too long, or one too many");
}

ULONG CheckVerbosity(FieldView, const char *psz, WHY &why) {
  if (IsVerbosity(psz)) return 0;
  return why.Say(INI_FINDING_VERBOSITY, "has an unknown word: a verbosity is such as Error|Warning|Area3");
}

// Whether a text is an interval: numbers with their units, the last perhaps without one.
bool ReadInterval(const char *psz, std::uint64_t &ullTotal) {
  bool fUnit = true;
  for (psz = SkipSpace(psz); fUnit && IsDigit(*psz); psz = SkipSpace(psz)) {
    const std::uint64_t ull = ReadLongDigits(psz);
    const ULONG ulUnit = SecondsOf(*psz);
    ullTotal = std::min(ullTotal + ull * std::max(ulUnit, 1UL), std::uint64_t{1} << 40);
    fUnit = ulUnit != 0;
    if (fUnit) psz++;
  }
  return *psz == '\0';
}

ULONG CheckInterval(FieldView, const char *psz, WHY &why) {
  std::uint64_t ullTotal = 0;
  if (IsBlank(psz) || !ReadInterval(psz, ullTotal))
    return why.Say(INI_FINDING_INTERVAL, "is no interval such as 1d2h3m4s");
  if (ullTotal <= 0xFFFFFFFF) return 0;
  return why.Say(INI_FINDING_RANGE, "is beyond 49710d6h28m15s");
}

ULONG CheckNothing(FieldView, const char *, WHY &) { return 0; }

struct VALUECHECK {
  ULONG ulType;
  ULONG (*pfnCheck)(FieldView field, const char *psz, WHY &why);
};
constexpr VALUECHECK aCheck[] = {
    {FT_BOOL16, CheckTruth},  {FT_BOOL32, CheckTruth},        {FT_BYTE, CheckInteger},
    {FT_SHORT, CheckInteger}, {FT_USHORT, CheckInteger},      {FT_LONG, CheckInteger},
    {FT_ULONG, CheckInteger}, {FT_FLOAT, CheckReal<float>},   {FT_DOUBLE, CheckReal<double>},
    {FT_STRING, CheckString}, {FT_PSZ, CheckNothing},         {FT_ENUM16, CheckEnum},
    {FT_ENUM32, CheckEnum},   {FT_REALTIME, CheckRealTime},   {FT_FIXEDSTRING, CheckFixedString},
    {FT_DOTTED, CheckDotted}, {FT_VERBOSITY, CheckVerbosity}, {FT_INTERVAL, CheckInterval},
};
static_assert(AreRowsOf(aCheck, 0, FT_INTERVAL));
} // namespace

ULONG WHY::Say(ULONG ulClass, const char *pszFormat, ...) {
  va_list args;
  va_start(args, pszFormat);
  std::vsnprintf(szText, sizeof szText, pszFormat, args);
  va_end(args);
  return ulClass;
}

ULONG WHY::SayUnknown(ULONG ulClass, const char *pszWhat, Nearest &nearest) {
  return Say(ulClass, "%s%s%s", pszWhat, *nearest.Text() ? ", perhaps " : "", nearest.Text());
}

ULONG JudgeText(FieldView field, const char *psz, WHY &why) {
  return field.Type() < std::size(aCheck) ? aCheck[field.Type()].pfnCheck(field, psz, why) : 0;
}
