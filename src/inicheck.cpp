// inicheck.cpp: comparing an open INI file with the description by which it will be read.
// A first pass goes along the description, as the reader will: it looks up the same names in the same order, stops where
// the reader stops, and marks what it finds. A second pass goes over the entries that have no mark. Nothing is stored.

#include <cmath>
#include <cstdarg>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <string_view>

#include "bytes.h"
#include "convert.h"
#include "entries.h"
#include "fields.h"
#include "fraction.h"
#include "inifile.h"
#include "output.h"
#include "text.h"
#include "zebbase/ini.h"
#include "zebbase/tme.h"

namespace {
// --- Names that are near ---

// The number of characters that one name has to lose, gain, change or exchange with their neighbour to become another,
// without regard to case. Line i of the table has the distances of the first i characters to all beginnings of the
// other name, and only the last three lines are kept.
ULONG Distance(std::string_view sv1, std::string_view sv2) {
  USHORT aaus[3][INI_MAX_TEXT + 1];
  for (std::size_t n2 = 0; n2 <= sv2.size(); n2++) aaus[0][n2] = static_cast<USHORT>(n2);
  for (std::size_t n1 = 1; n1 <= sv1.size(); n1++) {
    USHORT *paus = aaus[n1 % 3];
    const USHORT *pausBefore = aaus[(n1 - 1) % 3], *pausTwoBefore = aaus[(n1 - 2) % 3];
    paus[0] = static_cast<USHORT>(n1);
    for (std::size_t n2 = 1; n2 <= sv2.size(); n2++) {
      const bool fSame = IsEqualNoCase(sv1[n1 - 1], sv2[n2 - 1]);
      const bool fExchanged =
          n1 > 1 && n2 > 1 && IsEqualNoCase(sv1[n1 - 1], sv2[n2 - 2]) && IsEqualNoCase(sv1[n1 - 2], sv2[n2 - 1]);
      int iBest = std::min(std::min(pausBefore[n2], paus[n2 - 1]) + 1, pausBefore[n2 - 1] + !fSame);
      if (fExchanged) iBest = std::min(iBest, pausTwoBefore[n2 - 2] + 1);
      paus[n2] = static_cast<USHORT>(iBest);
    }
  }
  return aaus[sv1.size() % 3][sv2.size()];
}

std::string_view WithoutDigits(std::string_view sv) { // at its end
  while (!sv.empty() && IsDigit(sv.back())) sv.remove_suffix(1);
  return sv;
}

bool IsNumber(std::string_view sv) { return !sv.empty() && WithoutDigits(sv).empty(); }

bool StartsWithNoCase(std::string_view sv, std::string_view svStart) {
  return sv.size() >= svStart.size() && EqualNoCase(UpTo(sv, svStart.size()), svStart);
}

// Looks among names that are offered for one that is sought.
class Nearest {
 public:
  explicit Nearest(std::string_view svSought) : svSought_(svSought) {}

  // A name that stands behind the first characters of the one sought. A numbered one is any with a number behind it.
  void Offer(std::size_t cbBefore, std::string_view svName, bool fNumbered) {
    const std::string_view sv = From(svSought_, cbBefore);
    const bool fEqual =
        fNumbered ? StartsWithNoCase(sv, svName) && IsNumber(From(sv, svName.size())) : EqualNoCase(sv, svName);
    fDescribed_ |= fEqual;
    const std::string_view svStem = fNumbered ? WithoutDigits(sv) : sv;
    const ULONG ulLimit = std::min<ULONG>((svStem.size() + 1) / 3, 3);
    if (fEqual || svName.size() > INI_MAX_TEXT || svSought_.size() > INI_MAX_TEXT) return;
    const ULONG ulDistance = Distance(svStem, svName);
    if (ulDistance > ulLimit || ulDistance >= ulDistance_) return;
    ulDistance_ = ulDistance;
    near_.Shorten(0);
    near_.Put(UpTo(svSought_, cbBefore)).Put(svName).Put(From(sv, svStem.size()));
    if (fNumbered && svStem.size() == sv.size()) near_.Put('1');
  }

  bool IsDescribed() const { return fDescribed_; } // one of those offered was it
  const char *Text() { return near_.Text(); }      // empty for none

 private:
  const std::string_view svSought_;
  Name near_;
  ULONG ulDistance_ = 0xFFFFFFFF;
  bool fDescribed_ = false;
};

// What a finding says behind its place.
struct WHY {
  char szText[400] = "";

  [[gnu::format(printf, 3, 4)]] ULONG Say(ULONG ulClass, const char *pszFormat, ...) { // gives the class
    va_list args;
    va_start(args, pszFormat);
    std::vsnprintf(szText, sizeof szText, pszFormat, args);
    va_end(args);
    return ulClass;
  }
  ULONG SayUnknown(ULONG ulClass, const char *pszWhat, Nearest &nearest) {
    return Say(ulClass, "%s%s%s", pszWhat, *nearest.Text() ? ", perhaps " : "", nearest.Text());
  }
};

// --- Values. Each check gives the class of a finding and says what is wrong; or 0. ---

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
  if (CompareNoCase(psz, "TRUE", 4) == 0 || EqualNoCase(psz, "YES")) return 0;
  for (const char *pszFalse : {"FALSE", "NO"})
    if (StartsWithNoCase(psz, pszFalse) && IsBlank(psz + std::strlen(pszFalse))) return 0;
  return why.Say(INI_FINDING_TRUTH, "is neither TRUE nor FALSE");
}

ULONG CheckName(FieldView field, const char *psz, WHY &why) {
  const auto *pedsc = static_cast<const EDSC *>(field.Desc());
  const ULONG ulNames = pedsc ? std::min<ULONG>(pedsc->ulCount, INI_MAX_NAMES) : 0;
  Nearest nearest(psz);
  for (ULONG ul = 0; ul < ulNames; ul++)
    if (pedsc->apszName[ul]) nearest.Offer(0, pedsc->apszName[ul], false);
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
    const ULONG ulUnit = *psz == 'd' ? 86400 : *psz == 'h' ? 3600 : *psz == 'm' ? 60 : 1;
    ullTotal = std::min(ullTotal + ull * ulUnit, std::uint64_t{1} << 40);
    fUnit = ulUnit > 1 || *psz == 's';
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
    {FT_STRING, CheckString}, {FT_PSZ, CheckNothing},         {FT_ENUM16, CheckName},
    {FT_ENUM32, CheckName},   {FT_REALTIME, CheckRealTime},   {FT_FIXEDSTRING, CheckFixedString},
    {FT_DOTTED, CheckDotted}, {FT_VERBOSITY, CheckVerbosity}, {FT_INTERVAL, CheckInterval},
};
static_assert([] {
  ULONG ulType = 0;
  for (const VALUECHECK &check : aCheck)
    if (check.ulType != ulType++) return false;
  return ulType == FT_INTERVAL + 1;
}());

// --- The file ---

class Checker {
 public:
  Checker(INIFILE &ini, PFNINIREPORT pfnReport, void *pvUser)
      : ini_(ini),
        pchk_(CheckedFile(&ini)),
        pfnReport_(pfnReport),
        pvUser_(pvUser),
        titles_(ini, true),
        keys_(ini, false) {}

  // Result: that of IniReadChecked.
  ULONG Check(FieldView field) {
    CheckField(field, 0);
    CheckRest(field);
    return fRefused_ ? INI_REFUSED : ulMistakes_;
  }

 private:
  // --- Reporting ---

  ULONG IndexOf(const INIENTRY &entry) const { return static_cast<ULONG>(&entry - ini_.aentry); }
  ULONG LineOf(const INIENTRY *pentry) const { return pchk_ && pentry ? pchk_->aulLine[IndexOf(*pentry)] : 0; }

  // server.ini:4: [Server] Port: why
  void SetText(INIFINDING &finding, const char *pszValue, const char *pszWhy) const {
    char szPlace[ulShownName + 16] = "";
    if (pchk_ && finding.ulLine != 0) Format(szPlace, "%s:%lu: ", pchk_->szFile, finding.ulLine);
    if (pchk_ && finding.ulLine == 0) Format(szPlace, "%s: ", pchk_->szFile);
    const bool fSection = *finding.pszSection || !finding.pszKey;
    const char *pszKey = finding.pszKey ? finding.pszKey : "";
    Format(finding.szText, "%s%s%s%s%s: %s%s%s%s", szPlace, fSection ? "[" : "", finding.pszSection,
           !fSection ? ""
           : *pszKey ? "] "
                     : "]",
           pszKey, pszValue ? "'" : "", pszValue ? pszValue : "", pszValue ? "' " : "", pszWhy);
    MakeOneLine(finding.szText);
  }

  // A null entry is one that the file does not have, a null key stands for the section itself. The text begins with
  // the value where it is about that.
  void Report(ULONG ulClass, const INIENTRY *pentry, const char *pszSection, const char *pszKey, const char *pszWhy,
              bool fValue = false) {
    const bool fMistake = ulClass != INI_FINDING_MISSING;
    ulMistakes_ += fMistake;
    if (!pfnReport_) return;
    const char *pszValue = pentry ? pentry->pszValue : nullptr;
    INIFINDING finding = {ulClass, fMistake, LineOf(pentry), pszSection, pszKey, pszValue, ""};
    SetText(finding, fValue ? pszValue : nullptr, pszWhy);
    fRefused_ |= pfnReport_(&finding, pvUser_) != 0;
  }

  void ReportMissingKey(FieldView field, ULONG ulNumber) {
    Name name;
    AddName(name, field, ulNumber);
    Report(INI_FINDING_MISSING, nullptr, path_.Text(), name.Text(), "not in the file");
  }

  void ReportNotRead(const INIENTRY &entry) { // a section whose structure is given up
    Report(INI_FINDING_NOT_READ, &entry, entry.pszName, nullptr, "not read, because its last field is missing");
  }

  // --- Along the description, as the reader goes ---

  ULONG CheckField(FieldView field, ULONG ulStart) { // results are those of IniRead
    if (field.Flags() & FDSC_NOINI) return 0;
    if (!IsSection(field.Type())) return CheckValues(field, ulStart, ulNoNumber);
    if (field.Count() == 0 || !field.Desc()) return 0;
    switch (field.Type()) {
      case FT_STRUCT:
        return CheckStructs(field);
      case FT_STRUCTLIST:
        return CheckStructList(field);
      case FT_VALUELIST:
        return CheckValueList(FieldView(field.Desc()), ulStart);
      case FT_STRUCTPTR:
        return CheckStructPtr(field);
      default:
        return 0;
    }
  }

  const INIENTRY *FindKey(FieldView field, ULONG ulNumber, ULONG ulStart) {
    Name name;
    const INIENTRY *pentry = AddName(name, field, ulNumber) ? keys_.Find(name.View(), ulStart) : nullptr;
    if (pentry) apvMark_[IndexOf(*pentry)] = pentry;
    return pentry;
  }

  ULONG CheckValues(FieldView field, ULONG ulStart, ULONG ulListNumber) {
    const ULONG ulElements = field.Elements();
    for (ULONG ul = 0; ul < ulElements; ul++) {
      const ULONG ulNumber = ulElements > 1 ? ul + 1 : ulListNumber;
      const INIENTRY *pentry = FindKey(field, ulNumber, ulStart);
      if (pentry) CheckValue(field, *pentry);
      if (pentry) continue;
      if (ulListNumber <= 1) ReportMissingKey(field, ulNumber); // a list just ends
      return 1;
    }
    return 0;
  }

  void CheckValue(FieldView field, const INIENTRY &entry) {
    if (field.Type() > FT_INTERVAL) return;
    WHY why;
    const ULONG ulClass = aCheck[field.Type()].pfnCheck(field, entry.pszValue, why);
    if (ulClass != 0) Report(ulClass, &entry, path_.Text(), entry.pszName, why.szText, true);
  }

  struct SECTION {
    const INIENTRY *pentry; // its title; null when it is missing
    ULONG ulResult;
  };

  SECTION CheckStruct(FieldView field, ULONG ulNumber) {
    const std::size_t cbOuter = path_.Length();
    ulDepth_++;
    SECTION section = {nullptr, 1};
    if (AddName(path_, field, ulNumber) && ulDepth_ <= ulMaxNesting) section = CheckSection(field);
    const bool fListGoesOn = field.Type() == FT_STRUCTLIST && ulNumber > 1; // or just ends
    if (!section.pentry && !fListGoesOn) Report(INI_FINDING_MISSING, nullptr, path_.Text(), nullptr, "not in the file");
    ulDepth_--;
    path_.Shorten(cbOuter);
    return section;
  }

  SECTION CheckSection(FieldView field) {
    SECTION section = {titles_.Find(path_.View(), 0), 1};
    if (!section.pentry) return section;
    const ULONG ulStart = IndexOf(*section.pentry) + 1;
    const void *&pvMark = apvMark_[ulStart - 1];
    section.ulResult = 0;
    if (pvMark == field.Desc()) return section; // a description that holds itself need not be gone through twice
    if (!pvMark) pvMark = field.Desc();
    ForFieldsInFileOrder(field.Structure(), nullptr,
                         [&](FieldView fieldWithin, BYTE *) { section.ulResult = CheckField(fieldWithin, ulStart); });
    return section;
  }

  ULONG CheckStructs(FieldView field) {
    for (ULONG ul = 0; ul < field.Count(); ul++) {
      const SECTION section = CheckStruct(field, field.Count() > 1 ? ul + 1 : ulNoNumber);
      if (section.ulResult != 0) return section.ulResult;
    }
    return 0;
  }

  ULONG CheckStructList(FieldView field) {
    for (ULONG ulNumber = 1;; ulNumber++) {
      const SECTION section = CheckStruct(field, ulNumber);
      if (section.pentry && section.ulResult == 0) continue;
      if (section.pentry) ReportNotRead(*section.pentry);
      return 0;
    }
  }

  ULONG CheckStructPtr(FieldView field) {
    const SECTION section = CheckStruct(field, ulNoNumber);
    if (section.pentry && section.ulResult != 0) ReportNotRead(*section.pentry);
    return 0;
  }

  ULONG CheckValueList(FieldView field, ULONG ulStart) {
    if (!IsListable(field)) return 0;
    ULONG ulNumber = 1;
    while (CheckValues(field, ulStart, ulNumber) == 0 && field.Elements() == 1) ulNumber++;
    return 0;
  }

  // --- What is left ---

  // Offers the keys that a field describes.
  static void OfferKeys(Nearest &nearest, FieldView field) {
    const bool fList = field.Type() == FT_VALUELIST && field.Desc() && !(field.Flags() & FDSC_NOINI);
    const FieldView value = fList ? FieldView(field.Desc()) : field;
    if (value.Type() > FT_INTERVAL || (value.Flags() & FDSC_NOINI) || !value.Name() || value.Count() == 0) return;
    nearest.Offer(0, value.Name(), fList || value.Elements() > 1);
  }

  // Offers the sections that a field describes, at every depth at which the name sought agrees up to there.
  void OfferSections(Nearest &nearest, FieldView field, std::string_view svSought, std::size_t cbBefore) {
    const bool fSection = IsSection(field.Type()) && field.Type() != FT_VALUELIST && field.Desc() && field.Name();
    if (!fSection || (field.Flags() & FDSC_NOINI) || ulSteps_ == 0) return;
    const bool fNumbered = field.Type() == FT_STRUCTLIST || (field.Type() == FT_STRUCT && field.Count() > 1);
    ulSteps_--;
    nearest.Offer(cbBefore, field.Name(), fNumbered);
    std::string_view svRest = From(svSought, cbBefore);
    if (!StartsWithNoCase(svRest, field.Name())) return;
    svRest.remove_prefix(std::strlen(field.Name()));
    while (fNumbered && !svRest.empty() && IsDigit(svRest.front())) svRest.remove_prefix(1);
    const std::size_t cbWithin = svSought.size() - svRest.size();
    if (svRest.empty() || cbWithin == cbBefore) return;
    for (const FieldView fieldWithin : field.Structure()) OfferSections(nearest, fieldWithin, svSought, cbWithin);
  }

  // Why the first pass has not found an entry, of whose name pentryFirst is the first. Result: the class.
  ULONG WhyNotFound(const INIENTRY &entry, const INIENTRY *pentryFirst, Nearest &nearest, WHY &why) const {
    if (pentryFirst != &entry && !pchk_) return why.Say(INI_FINDING_TWICE, "a second one, which is not read");
    if (pentryFirst != &entry)
      return why.Say(INI_FINDING_TWICE, "a second one, which is not read; the first is in line %lu",
                     LineOf(pentryFirst));
    if (!nearest.IsDescribed())
      return why.SayUnknown(INI_FINDING_UNKNOWN, entry.flTitle ? "unknown section" : "unknown key", nearest);
    return why.Say(INI_FINDING_NOT_READ, "not read, because %s",
                   entry.flTitle ? "one before it or around it is not" : "its number does not follow");
  }

  void CheckRestTitle(const INIENTRY &entry, FieldView field) {
    Nearest nearest(entry.pszName);
    ulSteps_ = ulMostSteps;
    if (pfnReport_) OfferSections(nearest, field, entry.pszName, 0);
    WHY why;
    const ULONG ulClass = WhyNotFound(entry, titles_.Find(entry.pszName, 0), nearest, why);
    Report(ulClass, &entry, entry.pszName, nullptr, why.szText);
  }

  // pentryTitle is null for the keys before the first title.
  void CheckRestKey(const INIENTRY &entry, const INIENTRY *pentryTitle, FieldView field) {
    const bool fComment = pchk_ && pchk_->fLenient && *entry.pszName == ';'; // which has a '='
    if (fComment) return;
    const ULONG ulStart = pentryTitle ? IndexOf(*pentryTitle) + 1 : 0;
    Nearest nearest(entry.pszName);
    if (!pentryTitle) OfferKeys(nearest, field);
    if (pentryTitle)
      for (const FieldView fieldWithin : StructureView(apvMark_[ulStart - 1])) OfferKeys(nearest, fieldWithin);
    WHY why;
    const ULONG ulClass = WhyNotFound(entry, keys_.Find(entry.pszName, ulStart), nearest, why);
    Report(ulClass, &entry, pentryTitle ? pentryTitle->pszName : "", entry.pszName, why.szText);
  }

  // Of a section that is not read, the title stands for its keys, too.
  void CheckRest(FieldView field) {
    const INIENTRY *pentryTitle = nullptr;
    for (ULONG ul = 0; ul < ini_.ulEntries; ul++) {
      const INIENTRY &entry = ini_.aentry[ul];
      if (entry.flTitle) pentryTitle = &entry;
      const bool fRead = !pentryTitle || apvMark_[IndexOf(*pentryTitle)];
      if (apvMark_[ul]) continue;
      if (entry.flTitle)
        CheckRestTitle(entry, field);
      else if (fRead)
        CheckRestKey(entry, pentryTitle, field);
    }
  }

  static constexpr ULONG ulMostSteps = 1000; // fields to look at for a name that is near

  const INIFILE &ini_;
  const CHECKEDFILE *const pchk_;
  const PFNINIREPORT pfnReport_;
  void *const pvUser_;
  Lookup titles_;
  Lookup keys_;
  Name path_;
  ULONG ulDepth_ = 0;
  ULONG ulMistakes_ = 0;
  ULONG ulSteps_ = 0;
  bool fRefused_ = false;
  const void *apvMark_[INI_MAX_ENTRIES] = {}; // of what was found: for a title its structure; null for the rest
};

// Out of line: the check gives its stack back before the reader takes as much.
[[gnu::noinline]] ULONG Check(INIFILE &ini, FieldView field, PFNINIREPORT pfnReport, void *pvUser) {
  return Checker(ini, pfnReport, pvUser).Check(field);
}
} // namespace

ULONG IniReadChecked(INIFILE *pini, void *pvData, const FDSC *pfdsc, PFNINIREPORT pfnReport, void *pvUser) {
  if (!pini || !pvData || !pfdsc) return INI_REFUSED;
  const ULONG ulResult = Check(*pini, FieldView(pfdsc), pfnReport, pvUser);
  if (ulResult != INI_REFUSED) IniRead(pini, pvData, pfdsc);
  return ulResult;
}
