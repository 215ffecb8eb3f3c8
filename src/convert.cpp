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
#include "enumeration.h"
#include "fields.h"
#include "format.h"
#include "fraction.h"
#include "guard.h"
#include "memory.h"
#include "rows.h"
#include "severity.h"
#include "text.h"
#include "zebbase/base.h"
#include "zebbase/tme.h"

namespace {
constexpr SOURCE source = "ini"; // in allocations: conversion is a part of the INI module

// --- To text ---

void PutText(Output &out, FieldView field, const char *psz) {
  if (field.Format())
    out.Print(field.Format(), psz);
  else
    out.Put(psz);
}

// Characters that need not be terminated: from a format of the program's they are printed with a precision, so that the
// runtime looks for no terminator.
void PutCharacters(Output &out, FieldView field, std::string_view sv) {
  if (!field.Format()) return static_cast<void>(out.Put(sv));
  ForPieces(
      field.Format(), [&](std::string_view svText) { out.Put(svText); },
      [&](const CONVERSION &conversion) {
        const int iWidth = static_cast<int>(conversion.ulWidth);
        const auto iLength = static_cast<int>(std::min<std::size_t>(conversion.ulPrecision, sv.size()));
        if (conversion.ch) out.Print("%*.*s", conversion.IsLeft() ? -iWidth : iWidth, iLength, sv.data());
      });
}

std::string_view CharactersOf(FieldView field, const BYTE *pb) { // up to a terminator
  const auto *psz = reinterpret_cast<const char *>(pb);
  return {psz, strnlen(psz, field.Count())};
}

template <typename T>
void PutBool(Output &out, FieldView field, const BYTE *pb) {
  PutText(out, field, Load<T>(pb) == 1 ? "TRUE" : "FALSE");
}

template <typename T>
void PutInteger(Output &out, FieldView field, const BYTE *pb) {
  const T t = Load<T>(pb);
  if (field.Format()) return out.Print(field.Format(), t);
  if (t < 0) out.Put('-');
  out.PutNumber(t < 0 ? 0 - static_cast<ULONG>(t) : static_cast<ULONG>(t));
}

template <typename T>
void PutReal(Output &out, FieldView field, const BYTE *pb) {
  T t;
  std::memcpy(&t, pb, sizeof t);
  SIXDECIMALS sd;
  if (field.Format() || !sd.Set(t))
    return out.Print(field.Format() ? field.Format() : atydTypeDefaults[field.Type()].pszFormat,
                     static_cast<double>(t));
  if (sd.fNegative) out.Put('-');
  out.PutNumber(sd.ulWhole);
  out.Put('.');
  out.PutNumber(sd.ulMillionths, 6);
}

void PutString(Output &out, FieldView field, const BYTE *pb) { PutCharacters(out, field, CharactersOf(field, pb)); }

void PutPsz(Output &out, FieldView field, const BYTE *pb) {
  const char *psz = Load<const char *>(pb);
  PutText(out, field, psz ? psz : "");
}

void PutEnum(Output &out, FieldView field, const BYTE *pb) {
  const char *pszName = NameOfValue(field, pb);
  PutText(out, field, pszName ? pszName : "Unknown");
}

void PutRealTime(Output &out, FieldView field, const BYTE *pb) {
  REALTIME rt;
  std::memcpy(&rt, pb, sizeof rt);
  char szTime[TME_STRING_SIZE];
  PutText(out, field, TmeRealTimeToString(rt, szTime));
}

void PutFixedString(Output &out, FieldView field, const BYTE *pb) { // as wide as the field, whatever it holds
  const auto sv = CharactersOf(field, pb);
  if (!field.Format())
    for (std::size_t cb = sv.size(); cb < field.Count(); cb++) out.Put(' ');
  PutCharacters(out, field, sv);
}

// Calls a function for each subfield of a dotted field: the characters of it that the field has room for.
template <typename OnSubfield>
void ForSubfields(FieldView field, OnSubfield onSubfield) {
  ULONG ulOffset = 0;
  for (const FieldView subfield : field.Structure()) {
    const ULONG ulWidth = std::min(subfield.Count(), field.Count() - ulOffset);
    onSubfield(ulOffset, ulWidth);
    ulOffset += ulWidth;
  }
}

void PutDotted(Output &out, FieldView field, const BYTE *pb) {
  const auto *pch = reinterpret_cast<const char *>(pb);
  bool fFirst = true;
  ForSubfields(field, [&](ULONG ulOffset, ULONG ulWidth) {
    const char *pchPart = pch + ulOffset;
    const char *pchEnd = std::find_if(pchPart, pchPart + ulWidth, [](char ch) { return ch == ' ' || ch == '\0'; });
    if (!fFirst) out.Put('.');
    out.Put({pchPart, pchEnd});
    fFirst = false;
  });
}

void PutVerbosity(Output &out, FieldView, const BYTE *pb) {
  char szText[100];
  VerbosityToString(Load<ULONG>(pb), szText);
  out.Put(szText);
}

void PutInterval(Output &out, FieldView, const BYTE *pb) {
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
T ScanInteger(FieldView field, const char *psz, T tOld) {
  T t = tOld;
  ULONG ul = 0;
  LONG l = 0;
  if (field.Format()) return ScanThrough(field.Format(), psz, t) ? t : tOld;
  psz = SkipSpace(psz);
  if constexpr (std::numeric_limits<T>::is_signed) return ScanLong(psz, l) ? static_cast<T>(l) : tOld;
  return ScanULong(psz, ul) ? static_cast<T>(ul) : tOld;
}

bool IsOfBytes(const char *pszFormat) { // whether its conversion is one of a byte: %hhu
  bool fBytes = false;
  ForPieces(
      pszFormat, [](std::string_view) {}, [&](const CONVERSION &conversion) { fBytes |= conversion.svLength == "hh"; });
  return fBytes;
}

// Bytes are scanned as 16 bits, of which the lower ones are stored; but where a format says what it is about.
SHORT ScanByte(FieldView field, const char *psz, SHORT sOld) {
  if (!field.Format() || !IsOfBytes(field.Format())) return ScanInteger(field, psz, sOld);
  return ScanInteger(field, psz, static_cast<BYTE>(sOld));
}

ULONG ReadBool(FieldView, const char *psz, ULONG) { return IsTrue(psz); }

ULONG ReadEnum(FieldView field, const char *psz, ULONG) { // 0 for a name that there is not
  const auto IsIt = [psz](const ENUMNAME &name) { return EqualNoCase(name.pszName, psz); };
  return static_cast<ULONG>(FindEnumName(field, IsIt).lValue);
}

ULONG ReadVerbosity(FieldView, const char *psz, ULONG) { return ParseVerbosity(psz); }

// --- Intervals ---

struct UNIT {
  ULONG ulSeconds;
  char ch;
};
constexpr UNIT aUnit[] = {{86400, 'd'}, {3600, 'h'}, {60, 'm'}, {1, 's'}};

// Digits with a unit letter, added up; what exceeds 32 bits is the largest number.
ULONG ParseTimeInterval(const char *psz) {
  constexpr ULONG ulMost = std::numeric_limits<ULONG>::max();
  std::uint64_t ullTotal = 0;
  for (;;) {
    const std::uint64_t ull = ReadDigits(psz, ulMost);
    ullTotal = std::min<std::uint64_t>(ullTotal + ull * std::max(SecondsOf(*psz), 1UL), ulMost);
    if (*psz == '\0') return static_cast<ULONG>(ullTotal);
    psz++;
  }
}

ULONG ReadInterval(FieldView, const char *psz, ULONG) { return ParseTimeInterval(psz); }

// Stores what a reader makes of the text, as a T.
template <typename T, auto pfnRead>
ULONG SetInteger(FieldView field, BYTE *pb, const char *psz) {
  const T tOld = Load<T>(pb);
  const T t = static_cast<T>(pfnRead(field, psz, tOld));
  Store(pb, t);
  return t != tOld;
}

// The same for floating values, which are compared as numbers.
template <typename T, auto pfnRead>
ULONG SetReal(FieldView field, BYTE *pb, const char *psz) {
  T tOld, t;
  std::memcpy(&tOld, pb, sizeof tOld);
  std::memcpy(&t, pb, sizeof t);
  if (!pfnRead(field, psz, t)) return 0;
  std::memcpy(pb, &t, sizeof t);
  return t != tOld;
}

template <typename T>
bool ReadReal(FieldView field, const char *psz, T &t) {
  if (field.Format()) return ScanThrough(field.Format(), psz, t);
  psz = SkipSpace(psz);
  return ScanReal(psz, t);
}

bool ReadRealTime(FieldView, const char *psz, REALTIME &rt) {
  rt = TmeStringToRealTime(psz);
  return true;
}

ULONG SetString(FieldView field, BYTE *pb, const char *psz) { // the field's last byte is not touched
  if (field.Count() == 0) return 0;
  auto *pch = reinterpret_cast<char *>(pb);
  const int iDifference = CompareNoCase(pch, psz, field.Count());
  const std::size_t cb = strnlen(psz, field.Count() - 1);
  std::memcpy(pch, psz, cb);
  std::memset(pch + cb, 0, field.Count() - 1 - cb);
  return static_cast<ULONG>(iDifference);
}

ULONG SetPsz(FieldView, BYTE *pb, const char *psz) {
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

ULONG SetFixedString(FieldView field, BYTE *pb, const char *psz) {
  ULONG fChanged = 0;
  for (ULONG ul = 0; ul < field.Count(); ul++) {
    SetCharacter(pb + ul, IsPrintable(*psz) ? *psz : ' ', fChanged);
    if (*psz) psz++;
  }
  return fChanged;
}

// Distributes the parts of a text, cut at its dots, over the subfields.
ULONG SetDotted(FieldView field, BYTE *pb, const char *psz) {
  ULONG fChanged = 0;
  ULONG ulDone = 0;
  ForSubfields(field, [&](ULONG ulOffset, ULONG ulWidth) {
    const std::size_t cbPart = std::strcspn(psz, ".");
    for (ULONG ul = 0; ul < ulWidth; ul++) SetCharacter(pb + ulOffset + ul, ul < cbPart ? psz[ul] : ' ', fChanged);
    psz += cbPart;
    if (*psz) psz++;
    ulDone = ulOffset + ulWidth;
  });
  for (; ulDone < field.Count(); ulDone++) SetCharacter(pb + ulDone, ' ', fChanged);
  return fChanged;
}

// --- Both directions ---

// What the conversion in a format may be so that it takes just the value, printed and scanned.
struct RULE {
  char szConversions[9];
  char szLength[3];
  char szOther[3];           // another length
  bool fOnlyPrinted = false; // which is right only for printing, so there must be a precision: no scan takes one

  bool Allows(const CONVERSION &conversion) const {
    const bool fOther = conversion.svLength == szOther && (conversion.fPrecision || !fOnlyPrinted);
    return conversion.ch && std::strchr(szConversions, conversion.ch) && !conversion.fPosition &&
           (conversion.svLength == szLength || fOther) && conversion.ulWidth <= INI_MAX_TEXT &&
           (conversion.ulPrecision <= INI_MAX_TEXT || !conversion.fPrecision);
  }
};
constexpr RULE ruleText = {"s", "", ""};
constexpr RULE ruleByte = {"diouxX", "h", "hh"};
constexpr RULE ruleShort = {"diouxX", "h", "h"};
constexpr RULE ruleLong = {"diouxX", "l", ""};
constexpr RULE ruleFloat = {"aAeEfFgG", "", "l", true};
constexpr RULE ruleDouble = {"aAeEfFgG", "l", "", true};

struct CONVERTER {
  ULONG ulType;
  void (*pfnPut)(Output &out, FieldView field, const BYTE *pb);
  ULONG (*pfnSet)(FieldView field, BYTE *pb, const char *psz);
  const RULE *prule; // null where the field's format is not used
};
constexpr CONVERTER aConverter[] = {
    {FT_BOOL16, PutBool<USHORT>, SetInteger<USHORT, ReadBool>, &ruleText},
    {FT_BOOL32, PutBool<ULONG>, SetInteger<ULONG, ReadBool>, &ruleText},
    {FT_BYTE, PutInteger<BYTE>, SetInteger<BYTE, ScanByte>, &ruleByte},
    {FT_SHORT, PutInteger<SHORT>, SetInteger<SHORT, ScanInteger<SHORT>>, &ruleShort},
    {FT_USHORT, PutInteger<USHORT>, SetInteger<USHORT, ScanInteger<USHORT>>, &ruleShort},
    {FT_LONG, PutInteger<LONG>, SetInteger<LONG, ScanInteger<LONG>>, &ruleLong},
    {FT_ULONG, PutInteger<ULONG>, SetInteger<ULONG, ScanInteger<ULONG>>, &ruleLong},
    {FT_FLOAT, PutReal<float>, SetReal<float, ReadReal<float>>, &ruleFloat},
    {FT_DOUBLE, PutReal<double>, SetReal<double, ReadReal<double>>, &ruleDouble},
    {FT_STRING, PutString, SetString, &ruleText},
    {FT_PSZ, PutPsz, SetPsz, &ruleText},
    {FT_ENUM16, PutEnum, SetInteger<USHORT, ReadEnum>, &ruleText},
    {FT_ENUM32, PutEnum, SetInteger<ULONG, ReadEnum>, &ruleText},
    {FT_REALTIME, PutRealTime, SetReal<REALTIME, ReadRealTime>, &ruleText},
    {FT_FIXEDSTRING, PutFixedString, SetFixedString, &ruleText},
    {FT_DOTTED, PutDotted, SetDotted, nullptr},
    {FT_VERBOSITY, PutVerbosity, SetInteger<ULONG, ReadVerbosity>, nullptr},
    {FT_INTERVAL, PutInterval, SetInteger<ULONG, ReadInterval>, nullptr},
};
static_assert(AreRowsOf(aConverter, 0, FT_INTERVAL));

bool HasOneConversion(ULONG ulType, const char *pszFormat, bool fOnlyScanned) {
  const RULE *prule = ulType < std::size(aConverter) ? aConverter[ulType].prule : nullptr;
  if (!prule) return true;
  ULONG ulConversions = 0;
  bool fAllowed = true;
  ForPieces(
      pszFormat, [](std::string_view) {},
      [&](const CONVERSION &conversion) {
        ulConversions++;
        fAllowed = fAllowed && prule->Allows(conversion) && (!fOnlyScanned || conversion.IsScanned());
      });
  return fAllowed && ulConversions == 1;
}

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
    fl = severity.fl;
    return true;
  }
  if (!EqualNoCase(szArea, sv)) return false;
  const ULONG ulArea = ReadDigits(psz, std::numeric_limits<ULONG>::max());
  if (ulArea >= 1 && ulArea <= ulAreas) fl = VERB_AREA1 << (ulArea - 1);
  return true;
}

struct VERBOSITY {
  ULONG fl = 0;
  bool fAllWords = true; // are known; behind one that is not, nothing is read
  bool fAllAreas = true; // there are
};

VERBOSITY ReadVerbosityWords(const char *psz) {
  VERBOSITY verbosity;
  do {
    ULONG flWord = 0;
    verbosity.fAllWords = ReadVerbosityWord(psz, flWord);
    verbosity.fAllAreas &= flWord != 0;
    verbosity.fl |= flWord;
    while (*psz == ' ' || *psz == '|') psz++;
  } while (verbosity.fAllWords && *psz != '\0');
  return verbosity;
}
} // namespace

bool PutValue(Output &out, FieldView field, const BYTE *pbData) {
  if (field.Type() >= std::size(aConverter)) return false;
  aConverter[field.Type()].pfnPut(out, field, pbData);
  return true;
}

ULONG SetValue(FieldView field, BYTE *pbData, const char *pszText) {
  const ULONG ulType = field.Type();
  return ulType < std::size(aConverter) ? aConverter[ulType].pfnSet(field, pbData, pszText) : 0;
}

bool IsFormatFor(ULONG ulType, const char *pszFormat) { return HasOneConversion(ulType, pszFormat, false); }

bool IsScanFor(ULONG ulType, const char *pszFormat) { return HasOneConversion(ulType, pszFormat, true); }

bool IsTrue(const char *psz) { return CompareNoCase(psz, "TRUE", 4) == 0 || EqualNoCase(psz, "YES"); }

ULONG SecondsOf(char ch) {
  for (const UNIT &unit : aUnit)
    if (unit.ch == ch) return unit.ulSeconds;
  return 0;
}

bool IsVerbosity(const char *psz) {
  const VERBOSITY verbosity = ReadVerbosityWords(psz);
  return verbosity.fAllWords && verbosity.fAllAreas;
}

BOOL IniConvertToString(BYTE **ppbData, char *pszText, const FDSC *pfdsc) {
  Output out(pszText, Output::cbUnknown);
  if (!PutValue(out, FieldView(pfdsc), *ppbData)) return 0;
  out.Text();
  return 1;
}

BOOL IniConvertFromString(BYTE **ppbData, const char *pszText, const FDSC *pfdsc, ULONG *pfChanged) {
  const ULONG fChanged = SetValue(FieldView(pfdsc), *ppbData, pszText);
  if (pfChanged) *pfChanged = fChanged;
  return FieldView(pfdsc).Type() < std::size(aConverter);
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
  const VERBOSITY verbosity = ReadVerbosityWords(psz);
  return verbosity.fAllWords ? verbosity.fl : flAllLevels;
}

void IntervalToString(ULONG ulSeconds, char *pszText) {
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
