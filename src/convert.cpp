// convert.cpp: single described values as text and back.
// One table holds both directions of every type code that has a text.

#include "convert.h"

#include <cstdint>
#include <cstdio>
#include <cstring>
#include <iterator>
#include <limits>
#include <string_view>

#include "bytes.h"
#include "digits.h"
#include "fields.h"
#include "format.h"
#include "fraction.h"
#include "guard.h"
#include "memory.h"
#include "severity.h"
#include "text.h"
#include "zebbase/base.h"
#include "zebbase/tme.h"

namespace {
constexpr SOURCE source = "ini"; // in allocations: conversion is a part of the INI module

// --- Enumerations ---

struct NAME {
  const char *pszName;
  LONG lValue;
};

// The entries of a field's enumeration that have a name; it may be missing altogether.
class Names {
 public:
  explicit Names(const FDSC &fdsc) : pedsc_(static_cast<const EDSC *>(fdsc.pvDesc)) {}

  template <typename Is> // the first entry that fits, or one without a name
  NAME Find(Is is) const {
    const ULONG ulCount = pedsc_ ? std::min<ULONG>(pedsc_->ulCount, INI_MAX_NAMES) : 0;
    for (ULONG ul = 0; ul < ulCount; ul++) {
      const NAME name = {pedsc_->apszName[ul], pedsc_->alValue[ul]};
      if (name.pszName && is(name)) return name;
    }
    return {nullptr, 0};
  }

 private:
  const EDSC *const pedsc_;
};

// --- To text ---

void PutText(Output &out, const FDSC &fdsc, const char *psz) {
  if (fdsc.pszFormat)
    out.Print(fdsc.pszFormat, psz);
  else
    out.Put(psz);
}

// Characters that need not be terminated: from a format of the program's they are printed with a precision, so that the
// runtime looks for no terminator.
void PutCharacters(Output &out, const FDSC &fdsc, std::string_view sv) {
  if (!fdsc.pszFormat) return static_cast<void>(out.Put(sv));
  ForPieces(
      fdsc.pszFormat, [&](std::string_view svText) { out.Put(svText); },
      [&](const CONVERSION &conversion) {
        const int iWidth = static_cast<int>(conversion.ulWidth);
        const auto iLength = static_cast<int>(std::min<std::size_t>(conversion.ulPrecision, sv.size()));
        if (conversion.ch) out.Print("%*.*s", conversion.IsLeft() ? -iWidth : iWidth, iLength, sv.data());
      });
}

std::string_view CharactersOf(const FDSC &fdsc, const BYTE *pb) { // up to a terminator
  const auto *psz = reinterpret_cast<const char *>(pb);
  return {psz, strnlen(psz, fdsc.ulCount)};
}

template <typename T>
void PutBool(Output &out, const FDSC &fdsc, const BYTE *pb) {
  PutText(out, fdsc, Load<T>(pb) == 1 ? "TRUE" : "FALSE");
}

template <typename T>
void PutInteger(Output &out, const FDSC &fdsc, const BYTE *pb) {
  const T t = Load<T>(pb);
  if (fdsc.pszFormat) return out.Print(fdsc.pszFormat, t);
  if (t < 0) out.Put('-');
  out.PutNumber(t < 0 ? 0 - static_cast<ULONG>(t) : static_cast<ULONG>(t));
}

template <typename T>
void PutReal(Output &out, const FDSC &fdsc, const BYTE *pb) {
  T t;
  std::memcpy(&t, pb, sizeof t);
  SIXDECIMALS sd;
  if (fdsc.pszFormat || !sd.Set(t))
    return out.Print(fdsc.pszFormat ? fdsc.pszFormat : atydTypeDefaults[fdsc.ulType].pszFormat, static_cast<double>(t));
  if (sd.fNegative) out.Put('-');
  out.PutNumber(sd.ulWhole);
  out.Put('.');
  out.PutNumber(sd.ulMillionths, 6);
}

void PutString(Output &out, const FDSC &fdsc, const BYTE *pb) { PutCharacters(out, fdsc, CharactersOf(fdsc, pb)); }

void PutPsz(Output &out, const FDSC &fdsc, const BYTE *pb) {
  const char *psz = Load<const char *>(pb);
  PutText(out, fdsc, psz ? psz : "");
}

template <typename T>
void PutEnum(Output &out, const FDSC &fdsc, const BYTE *pb) {
  const T t = Load<T>(pb);
  const NAME name = Names(fdsc).Find([t](const NAME &nm) { return static_cast<T>(nm.lValue) == t; });
  PutText(out, fdsc, name.pszName ? name.pszName : "Unknown");
}

void PutRealTime(Output &out, const FDSC &fdsc, const BYTE *pb) {
  REALTIME rt;
  std::memcpy(&rt, pb, sizeof rt);
  char szTime[TME_STRING_SIZE];
  PutText(out, fdsc, TmeRealTimeToString(rt, szTime));
}

void PutFixedString(Output &out, const FDSC &fdsc, const BYTE *pb) { // as wide as the field, whatever it holds
  const auto sv = CharactersOf(fdsc, pb);
  if (!fdsc.pszFormat)
    for (std::size_t cb = sv.size(); cb < fdsc.ulCount; cb++) out.Put(' ');
  PutCharacters(out, fdsc, sv);
}

// Calls a function for each subfield of a dotted field: the characters of it that the field has room for.
template <typename OnSubfield>
void ForSubfields(const FDSC &fdsc, OnSubfield onSubfield) {
  ULONG ulOffset = 0;
  if (!fdsc.pvDesc) return;
  for (const FDSC &fdscSub : FieldsOf(*StructureOf(fdsc))) {
    const ULONG ulWidth = std::min(fdscSub.ulCount, fdsc.ulCount - ulOffset);
    onSubfield(ulOffset, ulWidth);
    ulOffset += ulWidth;
  }
}

void PutDotted(Output &out, const FDSC &fdsc, const BYTE *pb) {
  const auto *pch = reinterpret_cast<const char *>(pb);
  bool fFirst = true;
  ForSubfields(fdsc, [&](ULONG ulOffset, ULONG ulWidth) {
    const char *pchPart = pch + ulOffset;
    const char *pchEnd = std::find_if(pchPart, pchPart + ulWidth, [](char ch) { return ch == ' ' || ch == '\0'; });
    if (!fFirst) out.Put('.');
    out.Put({pchPart, pchEnd});
    fFirst = false;
  });
}

void PutVerbosity(Output &out, const FDSC &, const BYTE *pb) {
  char szText[100];
  VerbosityToString(Load<ULONG>(pb), szText);
  out.Put(szText);
}

void PutInterval(Output &out, const FDSC &, const BYTE *pb) {
  char szText[32];
  IntervalToString(Load<ULONG>(pb), szText);
  out.Put(szText);
}

// --- From text. Each gives whether the stored value has changed. ---

// Scans through a format of the program's. There is room for more than the type, should the format ask for it.
template <typename T>
bool ScanThrough(const char *pszFormat, const char *psz, T &t) {
  union {
    T t;
    double ad[2];
  } value = {t};
  const PlainLocale locale;
  if (std::sscanf(psz, pszFormat, &value) < 1) return false;
  t = value.t;
  return true;
}

// The text as a number, or the old value when it is none. T is what is scanned.
template <typename T>
T ScanInteger(const FDSC &fdsc, const char *psz, T tOld) {
  T t = tOld;
  ULONG ul = 0;
  LONG l = 0;
  if (fdsc.pszFormat) return ScanThrough(fdsc.pszFormat, psz, t) ? t : tOld;
  psz = SkipSpace(psz);
  if constexpr (std::numeric_limits<T>::is_signed) return ScanLong(psz, l) ? static_cast<T>(l) : tOld;
  return ScanULong(psz, ul) ? static_cast<T>(ul) : tOld;
}

SHORT ScanByte(const FDSC &fdsc, const char *psz, SHORT sOld) { return ScanInteger(fdsc, psz, sOld); }

ULONG ReadBool(const FDSC &, const char *psz, ULONG) {
  return CompareNoCase(psz, "TRUE", 4) == 0 || EqualNoCase(psz, "YES");
}

ULONG ReadEnum(const FDSC &fdsc, const char *psz, ULONG) { // 0 for a name that there is not
  return static_cast<ULONG>(Names(fdsc).Find([psz](const NAME &nm) { return EqualNoCase(nm.pszName, psz); }).lValue);
}

ULONG ReadVerbosity(const FDSC &, const char *psz, ULONG) { return ParseVerbosity(psz); }

// Digits with a unit letter, added up; what exceeds 32 bits is the largest number.
ULONG ParseTimeInterval(const char *psz) {
  constexpr ULONG ulMost = std::numeric_limits<ULONG>::max();
  std::uint64_t ullTotal = 0;
  for (;;) {
    const std::uint64_t ull = ReadDigits(psz, ulMost);
    const ULONG ulUnit = *psz == 'd' ? 86400 : *psz == 'h' ? 3600 : *psz == 'm' ? 60 : 1;
    ullTotal = std::min<std::uint64_t>(ullTotal + ull * ulUnit, ulMost);
    if (*psz == '\0') return static_cast<ULONG>(ullTotal);
    psz++;
  }
}

ULONG ReadInterval(const FDSC &, const char *psz, ULONG) { return ParseTimeInterval(psz); }

// Stores what a reader makes of the text, as a T.
template <typename T, auto pfnRead>
ULONG SetInteger(const FDSC &fdsc, BYTE *pb, const char *psz) {
  const T tOld = Load<T>(pb);
  const T t = static_cast<T>(pfnRead(fdsc, psz, tOld));
  Store(pb, t);
  return t != tOld;
}

// The same for floating values, which are compared as numbers.
template <typename T, auto pfnRead>
ULONG SetReal(const FDSC &fdsc, BYTE *pb, const char *psz) {
  T tOld, t;
  std::memcpy(&tOld, pb, sizeof tOld);
  std::memcpy(&t, pb, sizeof t);
  if (!pfnRead(fdsc, psz, t)) return 0;
  std::memcpy(pb, &t, sizeof t);
  return t != tOld;
}

template <typename T>
bool ReadReal(const FDSC &fdsc, const char *psz, T &t) {
  if (fdsc.pszFormat) return ScanThrough(fdsc.pszFormat, psz, t);
  psz = SkipSpace(psz);
  return ScanReal(psz, t);
}

bool ReadRealTime(const FDSC &, const char *psz, REALTIME &rt) {
  rt = TmeStringToRealTime(psz);
  return true;
}

ULONG SetString(const FDSC &fdsc, BYTE *pb, const char *psz) { // the field's last byte is not touched
  if (fdsc.ulCount == 0) return 0;
  auto *pch = reinterpret_cast<char *>(pb);
  const int iDifference = CompareNoCase(pch, psz, fdsc.ulCount);
  const std::size_t cb = strnlen(psz, fdsc.ulCount - 1);
  std::memcpy(pch, psz, cb);
  std::memset(pch + cb, 0, fdsc.ulCount - 1 - cb);
  return static_cast<ULONG>(iDifference);
}

ULONG SetPsz(const FDSC &, BYTE *pb, const char *psz) {
  char *pszCopy = AllocateText(psz, source);
  if (!pszCopy) return 0;
  Store(pb, pszCopy);
  return 1;
}

// Stores a character, and notes whether it differs from the old one without regard to case.
void SetCharacter(BYTE *pb, char ch, ULONG &fChanged) {
  fChanged |= ToLower(static_cast<char>(*pb)) != ToLower(ch);
  *pb = static_cast<BYTE>(ch);
}

ULONG SetFixedString(const FDSC &fdsc, BYTE *pb, const char *psz) {
  ULONG fChanged = 0;
  for (ULONG ul = 0; ul < fdsc.ulCount; ul++) {
    SetCharacter(pb + ul, IsPrintable(*psz) ? *psz : ' ', fChanged);
    if (*psz) psz++;
  }
  return fChanged;
}

// Distributes the parts of a text, cut at its dots, over the subfields.
ULONG SetDotted(const FDSC &fdsc, BYTE *pb, const char *psz) {
  ULONG fChanged = 0;
  ULONG ulDone = 0;
  ForSubfields(fdsc, [&](ULONG ulOffset, ULONG ulWidth) {
    const std::size_t cbPart = std::strcspn(psz, ".");
    for (ULONG ul = 0; ul < ulWidth; ul++) SetCharacter(pb + ulOffset + ul, ul < cbPart ? psz[ul] : ' ', fChanged);
    psz += cbPart;
    if (*psz) psz++;
    ulDone = ulOffset + ulWidth;
  });
  for (; ulDone < fdsc.ulCount; ulDone++) SetCharacter(pb + ulDone, ' ', fChanged);
  return fChanged;
}

// --- Both directions ---

// What the conversion in a format may be so that it takes just the value, printed and scanned.
struct RULE {
  const char *pszConversions;
  const char *pszLength;
  const char *pszOther;      // another length
  bool fOnlyPrinted = false; // which is right only for printing, so there must be a precision: no scan takes one

  bool Allows(const CONVERSION &conversion) const {
    const bool fOther = conversion.svLength == pszOther && (conversion.fPrecision || !fOnlyPrinted);
    return conversion.ch && std::strchr(pszConversions, conversion.ch) && !conversion.fPosition &&
           (conversion.svLength == pszLength || fOther) && conversion.ulWidth <= INI_MAX_TEXT &&
           (conversion.ulPrecision <= INI_MAX_TEXT || !conversion.fPrecision);
  }
};
constexpr char szWhole[] = "diouxX";
constexpr char szReal[] = "aAeEfFgG";
constexpr RULE ruleText = {"s", "", ""};
constexpr RULE ruleByte = {szWhole, "h", "hh"};
constexpr RULE ruleShort = {szWhole, "h", "h"};
constexpr RULE ruleLong = {szWhole, "l", ""};
constexpr RULE ruleFloat = {szReal, "", "l", true};
constexpr RULE ruleDouble = {szReal, "l", "", true};

struct CONVERTER {
  void (*pfnPut)(Output &out, const FDSC &fdsc, const BYTE *pb);
  ULONG (*pfnSet)(const FDSC &fdsc, BYTE *pb, const char *psz);
  const RULE *prule; // null where the field's format is not used
};
constexpr CONVERTER aConverter[] = {
    {PutBool<USHORT>, SetInteger<USHORT, ReadBool>, &ruleText},
    {PutBool<ULONG>, SetInteger<ULONG, ReadBool>, &ruleText},
    {PutInteger<BYTE>, SetInteger<BYTE, ScanByte>, &ruleByte},
    {PutInteger<SHORT>, SetInteger<SHORT, ScanInteger<SHORT>>, &ruleShort},
    {PutInteger<USHORT>, SetInteger<USHORT, ScanInteger<USHORT>>, &ruleShort},
    {PutInteger<LONG>, SetInteger<LONG, ScanInteger<LONG>>, &ruleLong},
    {PutInteger<ULONG>, SetInteger<ULONG, ScanInteger<ULONG>>, &ruleLong},
    {PutReal<float>, SetReal<float, ReadReal<float>>, &ruleFloat},
    {PutReal<double>, SetReal<double, ReadReal<double>>, &ruleDouble},
    {PutString, SetString, &ruleText},
    {PutPsz, SetPsz, &ruleText},
    {PutEnum<USHORT>, SetInteger<USHORT, ReadEnum>, &ruleText},
    {PutEnum<ULONG>, SetInteger<ULONG, ReadEnum>, &ruleText},
    {PutRealTime, SetReal<REALTIME, ReadRealTime>, &ruleText},
    {PutFixedString, SetFixedString, &ruleText},
    {PutDotted, SetDotted, nullptr},
    {PutVerbosity, SetInteger<ULONG, ReadVerbosity>, nullptr},
    {PutInterval, SetInteger<ULONG, ReadInterval>, nullptr},
};
static_assert(std::size(aConverter) == FT_INTERVAL + 1);

// --- Verbosity words ---

constexpr char szArea[] = "Area";
constexpr ULONG ulAreas = 12;
constexpr ULONG flAllLevels = VERB_ERROR | VERB_WARNING | VERB_INFO | VERB_DEBUG;

// The bits of one word of a verbosity text, and psz moved past it. Result: whether it is a known word.
bool ReadVerbosityWord(const char *&psz, ULONG &fl) {
  const char *pszWord = psz;
  while (IsLetter(*psz)) psz++;
  const std::string_view sv(pszWord, psz);
  for (const SEVERITY &severity : aSeverity) {
    if (!EqualNoCase(severity.pszName, sv)) continue;
    fl |= severity.fl;
    return true;
  }
  if (!EqualNoCase(szArea, sv)) return false;
  const ULONG ulArea = ReadDigits(psz, std::numeric_limits<ULONG>::max());
  if (ulArea >= 1 && ulArea <= ulAreas) fl |= VERB_AREA1 << (ulArea - 1);
  return true;
}
} // namespace

bool PutValue(Output &out, const FDSC &fdsc, const BYTE *pbData) {
  if (fdsc.ulType >= std::size(aConverter)) return false;
  aConverter[fdsc.ulType].pfnPut(out, fdsc, pbData);
  return true;
}

bool IsFormatFor(ULONG ulType, const char *pszFormat) {
  const RULE *prule = ulType < std::size(aConverter) ? aConverter[ulType].prule : nullptr;
  if (!prule) return true;
  ULONG ulConversions = 0;
  bool fAllowed = true;
  ForPieces(
      pszFormat, [](std::string_view) {},
      [&](const CONVERSION &conversion) {
        ulConversions++;
        fAllowed = fAllowed && prule->Allows(conversion);
      });
  return fAllowed && ulConversions == 1;
}

BOOL IniConvertToString(BYTE **ppbData, char *pszText, const FDSC *pfdsc) {
  Output out(pszText, Output::cbUnknown);
  if (!PutValue(out, *pfdsc, *ppbData)) return 0;
  out.Text();
  return 1;
}

BOOL IniConvertFromString(BYTE **ppbData, const char *pszText, const FDSC *pfdsc, ULONG *pfChanged) {
  const bool fHasText = pfdsc->ulType < std::size(aConverter);
  const ULONG fChanged = fHasText ? aConverter[pfdsc->ulType].pfnSet(*pfdsc, *ppbData, pszText) : 0;
  if (pfChanged) *pfChanged = fChanged;
  return fHasText;
}

void VerbosityToString(ULONG fl, char *pszText) {
  Output out(pszText, Output::cbUnknown);
  for (const SEVERITY &severity : aSeverity) {
    if (!(fl & severity.fl)) continue;
    if (severity.fl != VERB_ERROR) out.Put('|');
    out.Put(severity.pszName);
  }
  for (ULONG ulArea = 1; ulArea <= ulAreas; ulArea++) {
    if (!(fl & VERB_AREA1 << (ulArea - 1))) continue;
    out.Put('|');
    out.Put(szArea);
    out.PutNumber(ulArea);
  }
  out.Text();
  if (*pszText == '|') *pszText = ' ';
}

ULONG ParseVerbosity(const char *psz) {
  ULONG fl = 0;
  do {
    if (!ReadVerbosityWord(psz, fl)) return flAllLevels;
    while (*psz == ' ' || *psz == '|') psz++;
  } while (*psz != '\0');
  return fl;
}

void IntervalToString(ULONG ulSeconds, char *pszText) {
  struct UNIT {
    ULONG ulSeconds;
    char ch;
  };
  static constexpr UNIT aUnit[] = {{86400, 'd'}, {3600, 'h'}, {60, 'm'}, {1, 's'}};
  Output out(pszText, Output::cbUnknown);
  for (const UNIT &unit : aUnit) {
    const ULONG ulUnits = ulSeconds / unit.ulSeconds;
    ulSeconds %= unit.ulSeconds;
    if (ulUnits == 0) continue;
    out.PutNumber(ulUnits);
    out.Put(unit.ch);
  }
  out.Text();
}
