// inidesc.cpp: checking descriptions that programs write by hand.
// Formats and names of values are not judged but tried: values at the ends of a type's range are converted as saving
// does it. A structure that a reference leads to is checked once, whoever refers to it; one that lies within another is
// checked in its place.

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <initializer_list>
#include <string_view>
#include <utility>

#include "bytes.h"
#include "convert.h"
#include "digits.h"
#include "inierror.h"
#include "readback.h"
#include "text.h"

namespace {
// --- Names ---

// The names of a field in a file: one, or one with each number from 1 up.
struct NAMERANGE {
  std::string_view svBase;
  ULONG ulMost; // the highest number; 0 for a name without one
};

NAMERANGE NamesOf(FieldView field) {
  constexpr ULONG ulEndless = INI_MAX_ENTRIES + 1; // of a list; this one is looked for, behind the last there can be
  const ULONG ulElements = field.Elements();
  if (field.Type() == FT_VALUELIST) return {FieldView(field.Desc()).Name(), ulEndless};
  return {field.Name(), field.Type() == FT_STRUCTLIST ? ulEndless : ulElements > 1 ? ulElements : 0};
}

// Whether two fields have a name in common: a number may stand in a name, too.
bool CanMeet(NAMERANGE names1, NAMERANGE names2) {
  if (names1.svBase.size() > names2.svBase.size()) std::swap(names1, names2);
  const std::size_t cb = names1.svBase.size();
  if (!EqualNoCase(names1.svBase, {names2.svBase.data(), cb})) return false;
  const char *psz = names2.svBase.data() + cb; // the rest, which is terminated
  if (*psz == '\0') return (names1.ulMost == 0) == (names2.ulMost == 0);
  if (*psz == '0') return false;
  std::uint64_t ullNumber = ReadDigits(psz, 0xFFFFFFFF);
  if (names2.ulMost != 0) ullNumber = ullNumber * 10 + 1;
  return *psz == '\0' && ullNumber <= names1.ulMost;
}

bool HasRoomForNumber(const NAMERANGE &names) {
  return names.svBase.size() + (names.ulMost == 0 ? 0 : CountDigits(names.ulMost)) <= INI_MAX_TEXT;
}

// --- Values ---

// Tries values of a field, up to the first that does not read back.
class Trial {
 public:
  explicit Trial(FieldView field) : field_(field), ulBits_(field.ElementSize() * 8) {}

  FAULT Run() {
    const ULONG ulType = field_.Type();
    if (ulType == FT_BOOL16 || ulType == FT_BOOL32) TryAll({0UL, 1UL});
    if (ulType >= FT_BYTE && ulType <= FT_ULONG) TryRange();
    if (ulType == FT_FLOAT) TryAll({1.5F, -0.25F, 1.5e8F});
    if (ulType == FT_DOUBLE) TryAll({1.5, -0.25, 1.5e8});
    if (ulType == FT_REALTIME) TryAll({0.0, 1.5e9});
    if (ulType == FT_ENUM16 || ulType == FT_ENUM32) TryNames(*static_cast<const EDSC *>(field_.Desc()));
    if (ulType == FT_STRING || ulType == FT_PSZ || ulType == FT_FIXEDSTRING) TryTexts();
    if (fault_.ulCode == INI_ERROR_VALUE && field_.Format())
      fault_.pszText = "its format gives texts that do not read back";
    return fault_;
  }

 private:
  template <typename T>
  void TryValue(T t) {
    std::memcpy(ab_, &t, sizeof t);
    TryBytes();
  }
  void TryBytes() {
    if (fault_.ulCode == 0) fault_ = CheckValue(field_, ab_);
  }

  void TryWhole(ULONG ul) {
    if (ulBits_ == 32) return TryValue(ul);
    if (ulBits_ == 16) return TryValue(static_cast<USHORT>(ul));
    TryValue(static_cast<BYTE>(ul));
  }
  void TryAll(std::initializer_list<ULONG> values) {
    for (const ULONG ul : values) TryWhole(ul);
  }
  template <typename T>
  void TryAll(std::initializer_list<T> values) {
    for (const T t : values) TryValue(t);
  }
  void TryRange() { // both ends, of numbers with a sign and without
    const ULONG ulHighest = 1UL << (ulBits_ - 1);
    TryAll({0UL, 1UL, ulHighest - 1, ulHighest, 0xFFFFFFFFUL});
  }
  void TryNames(const EDSC &edsc) {
    for (ULONG ul = 0; ul < edsc.ulCount; ul++) TryWhole(static_cast<ULONG>(edsc.alValue[ul]));
  }

  // The shortest text and a long one. Text of a fixed width has blanks behind it.
  void TryTexts() {
    const ULONG ulType = field_.Type();
    const ULONG ulRoom = ulType == FT_PSZ ? INI_MAX_TEXT : field_.Count() - (ulType == FT_STRING);
    const char chFill = ulType == FT_FIXEDSTRING ? ' ' : '\0';
    const ULONG ulMost = std::min<ULONG>(ulRoom, INI_MAX_TEXT + (ulType == FT_FIXEDSTRING));
    for (const ULONG ulLength : {0UL, ulMost}) {
      BYTE abText[INI_MAX_TEXT + 2];
      std::memset(abText, chFill, sizeof abText);
      std::memset(abText, 'x', ulLength);
      if (ulType == FT_PSZ) {
        TryValue(static_cast<const BYTE *>(abText));
      } else {
        std::memcpy(ab_, abText, sizeof abText);
        TryBytes();
      }
    }
  }

  const FieldView field_;
  const ULONG ulBits_;
  FAULT fault_;
  BYTE ab_[INI_MAX_TEXT + 2];
};

// --- Descriptions ---

NESTED NestedOf(FieldView field) { return anestedByType[field.Type()]; }

constexpr FAULT faultTooLarge = {INI_ERROR_DESC, "it takes more than 2147483647 bytes"};
static_assert(INI_MAX_EXTENT == 2147483647);

std::uint64_t WideExtent(FieldView field) { return std::uint64_t{field.Count()} * field.ElementSize(); }

// What is asked of every field, whether files have it or not.
FAULT CheckLayout(FieldView field) {
  if (IsReserved(field.Type())) return {INI_ERROR_DESC, "its type is reserved"};
  if (field.Count() == 0) return {INI_ERROR_DESC, "its ulCount is 0"};
  if (NestedOf(field) == NESTED::None && field.Desc()) return {INI_ERROR_DESC, "its type takes no pvDesc"};
  if (field.Type() == FT_STRUCT && !field.Desc()) return {INI_ERROR_DESC, "its pvDesc is missing"};
  return WideExtent(field) > INI_MAX_EXTENT ? faultTooLarge : FAULT();
}

FAULT CheckInFile(FieldView field) {
  const FAULT fault = CheckDescriptor(field);
  if (fault.ulCode != 0) return fault;
  if (!HasRoomForNumber(NamesOf(field)))
    return {INI_ERROR_LENGTH, "its name with a number is longer than 127 characters"};
  if (field.Type() == FT_FIXEDSTRING && field.Count() > INI_MAX_TEXT)
    return {INI_ERROR_LENGTH, "it is longer than 127 characters"};
  if (field.Elements() > INI_MAX_ENTRIES) return {INI_ERROR_ENTRIES, "it has more elements than a file"};
  return {};
}

FAULT CheckEnumeration(const EDSC &edsc) {
  if (edsc.ulCount == 0 || edsc.ulCount > INI_MAX_NAMES)
    return {INI_ERROR_DESC, "its enumeration has no names or too many"};
  for (ULONG ul = 0; ul < edsc.ulCount; ul++) {
    const char *pszName = edsc.apszName[ul];
    const auto IsSame = [pszName](const char *psz) { return EqualNoCase(psz, pszName); };
    if (!pszName) return {INI_ERROR_NAME, "its enumeration has a null name"};
    const FAULT fault = CheckText(pszName, false);
    if (fault.ulCode != 0) return {fault.ulCode, "its enumeration has a name that no file can have"};
    if (std::any_of(edsc.apszName, edsc.apszName + ul, IsSame))
      return {INI_ERROR_NAME, "its enumeration has a name twice"};
  }
  return {};
}

FAULT CheckDotted(FieldView field) {
  if (field.Structure().size() == 0) return {INI_ERROR_DESC, "it has no subfields"};
  std::uint64_t ullWidth = 0;
  for (const FieldView subfield : field.Structure()) {
    if (subfield.Count() == 0) return {INI_ERROR_DESC, "it has a subfield without characters"};
    ullWidth += subfield.Count();
  }
  return ullWidth == field.Count() ? FAULT() : FAULT{INI_ERROR_DESC, "its ulCount is not the sum of its subfields"};
}

// A place in a description: a field within that of a structure.
struct FIELDPLACE {
  const FIELDPLACE *const pplaceOuter;
  const FieldView field;
  const ULONG ulNumber; // counted from 1
  const ULONG ulDepth;
  const bool fInFile; // with all that is around it

  FIELDPLACE(const FIELDPLACE *pplace, FieldView fieldHere, ULONG ul)
      : pplaceOuter(pplace),
        field(fieldHere),
        ulNumber(ul),
        ulDepth(pplace ? pplace->ulDepth + 1 : 1),
        fInFile((!pplace || pplace->fInFile) && !(field.Flags() & FDSC_NOINI)) {}
};

class DescriptionCheck {
 public:
  explicit DescriptionCheck(INIERROR *perr) : error_(perr, nullptr) {}

  ULONG Check(FieldView field, ULONG ulSizeof) {
    const FIELDPLACE place(nullptr, field, 1);
    CheckField(place);
    if (ulCode_ == 0) CheckSize(place, "the data takes", ulSizeof, "its description", WideExtent(field));
    return ulCode_;
  }

 private:
  static constexpr ULONG ulMostFields = 65536;   // with those of a structure counted wherever it lies
  static constexpr ULONG ulMostStructures = 256; // that are noted; further ones are looked at whoever refers to them
  struct SEEN {
    const void *pvSdsc;
    bool fInFile;
  };

  void CheckField(const FIELDPLACE &place) {
    const FieldView field = place.field;
    if (++ulFields_ > ulMostFields) return Judge(place, {INI_ERROR_DESC, "the description is too large"});
    Judge(place, CheckLayout(field));
    if (place.fInFile && ulCode_ == 0) Judge(place, CheckInFile(field));
    if (field.Format() && ulCode_ == 0 && !IsFormatFor(field.Type(), field.Format()))
      Judge(place, {INI_ERROR_DESC, "its format does not fit its type"});
    if (ulCode_ == 0 && field.Desc()) CheckNested(place);
    if (place.fInFile && ulCode_ == 0) Judge(place, Trial(field).Run());
  }

  void CheckNested(const FIELDPLACE &place) {
    const FieldView field = place.field;
    if (NestedOf(field) == NESTED::Enumeration)
      return Judge(place, CheckEnumeration(*static_cast<const EDSC *>(field.Desc())));
    if (field.Type() == FT_DOTTED) return Judge(place, CheckDotted(field));
    if (place.ulDepth > INI_MAX_DEPTH)
      return Judge(place, {INI_ERROR_DESC, "structures nest more than 127 levels deep"});
    if (field.Type() == FT_VALUELIST) return CheckField(FIELDPLACE(&place, FieldView(field.Desc()), 1));
    if (field.Type() == FT_STRUCT ? !IsEndless(place) : IsNew(place)) CheckStructure(place);
  }

  // Whether a structure lies within itself, with no reference on the way; says so.
  bool IsEndless(const FIELDPLACE &place) {
    const void *pvSdsc = place.field.Desc();
    const FIELDPLACE *p = place.pplaceOuter;
    while (p && p->field.Desc() != pvSdsc && p->field.Type() == FT_STRUCT) p = p->pplaceOuter;
    if (!p || p->field.Desc() != pvSdsc) return false;
    Judge(place, {INI_ERROR_DESC, "the structure lies within itself"});
    return true;
  }

  // Notes a structure that a reference leads to. Result: whether it has to be looked at.
  bool IsNew(const FIELDPLACE &place) {
    const SEEN seen = {place.field.Desc(), place.fInFile};
    const auto Covers = [&](const SEEN &s) { return s.pvSdsc == seen.pvSdsc && s.fInFile >= seen.fInFile; };
    if (std::any_of(aseen_, aseen_ + ulSeen_, Covers)) return false;
    if (ulSeen_ < ulMostStructures) aseen_[ulSeen_++] = seen;
    return true;
  }

  void CheckStructure(const FIELDPLACE &place) {
    const SDSC &sdsc = *static_cast<const SDSC *>(place.field.Desc());
    const StructureView structure(&sdsc);
    if (sdsc.ulFields > INI_MAX_FIELDS) return Judge(place, {INI_ERROR_DESC, "its structure has more than 60 fields"});
    std::uint64_t ullSize = 0;
    ULONG ulNumber = 0;
    for (const FieldView field : structure) {
      const FIELDPLACE placeField(&place, field, ++ulNumber);
      CheckField(placeField);
      if (ulCode_ == 0) CheckNameAmong(placeField, structure);
      if (ulCode_ != 0) return;
      ullSize += WideExtent(field);
    }
    CheckSize(place, "the ulSize of its structure is", sdsc.ulSize, "its fields take", ullSize);
  }
  static_assert(INI_MAX_FIELDS == 60);

  // The fields before it have been checked.
  void CheckNameAmong(const FIELDPLACE &place, StructureView structure) {
    const auto IsKey = [](FieldView field) { return !IsSection(field.Type()) || field.Type() == FT_VALUELIST; };
    if (!place.fInFile) return;
    auto it = structure.begin();
    for (ULONG ul = 1; ul < place.ulNumber && ulCode_ == 0; ul++, ++it) {
      const FieldView field = *it;
      if ((field.Flags() & FDSC_NOINI) || IsKey(field) != IsKey(place.field)) continue;
      if (CanMeet(NamesOf(field), NamesOf(place.field)))
        Judge(place, {INI_ERROR_NAME, "a file would have its name twice"});
    }
  }

  void CheckSize(const FIELDPLACE &place, const char *pszIs, ULONG ulIs, const char *pszShall, std::uint64_t ullShall) {
    char szText[128];
    if (ulIs == ullShall) return;
    Format(szText, "%s %lu bytes, %s %llu", pszIs, ulIs, pszShall, static_cast<unsigned long long>(ullShall));
    Judge(place, {INI_ERROR_DESC, szText});
  }

  void Judge(const FIELDPLACE &place, const FAULT &fault) {
    if (fault.ulCode == 0 || ulCode_ != 0) return;
    ErrorText text;
    PutPlace(text, place);
    ulCode_ = error_.Set(fault.ulCode, 0, "%s: %s", text.Text(), fault.pszText);
  }

  static void PutPlace(Output &out, const FIELDPLACE &place) { // a field without a name by its number
    if (place.pplaceOuter) {
      PutPlace(out, *place.pplaceOuter);
      out.Put('.');
    }
    if (place.field.Name())
      out.Put(place.field.Name());
    else
      out.Put('#').PutNumber(place.ulNumber);
  }

  ErrorRecord error_;
  ULONG ulCode_ = 0;
  ULONG ulFields_ = 0;
  ULONG ulSeen_ = 0;
  SEEN aseen_[ulMostStructures];
};
} // namespace

ULONG IniCheckDescription(const FDSC *pfdsc, ULONG ulSizeof, INIERROR *perr) {
  if (!pfdsc) return ErrorRecord(perr, nullptr).Set(INI_ERROR_ARGUMENT, 0, "a null pointer");
  return DescriptionCheck(perr).Check(FieldView(pfdsc), ulSizeof);
}
