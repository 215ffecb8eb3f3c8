// inicheck.cpp: comparing an open INI file with the description by which it will be read.
// A first pass goes along the description, as the reader will: it looks up the same names in the same order, stops
// where the reader stops, and marks what it finds. A second pass goes over the entries that have no mark. Nothing is
// stored.

#include <cstring>
#include <string_view>

#include "entries.h"
#include "fields.h"
#include "inifile.h"
#include "output.h"
#include "text.h"
#include "valuecheck.h"
#include "zebbase/ini.h"

namespace {
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

  // server.ini:4: [Server] Port:
  void PutPlace(Output &out, const INIFINDING &finding) const {
    const bool fSection = *finding.pszSection || !finding.pszKey;
    const char *pszKey = finding.pszKey ? finding.pszKey : "";
    if (pchk_) out.Put(pchk_->szFile);
    if (pchk_ && finding.ulLine != 0) out.Put(':').PutNumber(finding.ulLine);
    if (pchk_) out.Put(": ");
    if (fSection) out.Put('[').Put(finding.pszSection).Put(*pszKey ? "] " : "]");
    out.Put(pszKey).Put(": ");
  }

  void SetText(INIFINDING &finding, const char *pszValue, const char *pszWhy) const {
    Output text(finding.szText, sizeof finding.szText - 1);
    PutPlace(text, finding);
    if (pszValue) text.Put('\'').Put(pszValue).Put("' ");
    text.Put(pszWhy).Text();
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
    WHY why;
    const ULONG ulClass = JudgeText(field, entry.pszValue, why);
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
