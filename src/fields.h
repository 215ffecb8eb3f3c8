// fields.h: what every operation on described data knows of a field: its type's storage, its extent, what it nests.

#ifndef ZEBBASE_SRC_FIELDS_H
#define ZEBBASE_SRC_FIELDS_H

#include <algorithm>
#include <initializer_list>
#include <span>

#include "zebbase/ini.h"

// The type table. Reserved types have neither storage nor text; the storage of a structure is what its SDSC says.
inline constexpr TYPEDEFAULT atydTypeDefaults[FT_TYPES] = {
    {"%s", 2}, {"%s", 4}, {"%hd", 1}, {"%hd", 2}, {"%hu", 2}, {"%ld", 4}, {"%lu", 4}, {"%f", 4},  {"%lf", 8}, {"%s", 1},
    {"%s", 4}, {"%s", 2}, {"%s", 4},  {"%s", 8},  {"%s", 1},  {"%s", 1},  {"%lu", 4}, {"%lu", 4}, {"", 0},    {"", 0},
    {"", 0},   {"", 0},   {"", 0},    {"", 0},    {"", 0},    {"", 0},    {"", 4},    {"", 4},    {"", 4},
};

// A field that is one block of characters, whatever its ulCount.
constexpr bool IsCharacters(ULONG ulType) {
  return ulType == FT_STRING || ulType == FT_FIXEDSTRING || ulType == FT_DOTTED;
}

// A field that holds a machine reference.
constexpr bool IsPointer(ULONG ulType) {
  return ulType == FT_PSZ || ulType == FT_STRUCTLIST || ulType == FT_VALUELIST || ulType == FT_STRUCTPTR;
}

// A field that is a section, or sections, in an INI file; all others are keys.
constexpr bool IsSection(ULONG ulType) { return ulType >= FT_STRUCT; }

inline const SDSC *StructureOf(const FDSC &fdsc) { return static_cast<const SDSC *>(fdsc.pvDesc); }

// The bytes that one element takes; types beyond the table take none.
inline ULONG ElementSize(const FDSC &fdsc) {
  if (fdsc.ulType == FT_STRUCT) return fdsc.pvDesc ? StructureOf(fdsc)->ulSize : 0;
  return fdsc.ulType < FT_TYPES ? atydTypeDefaults[fdsc.ulType].ulSize : 0;
}

// The bytes that the whole field takes.
inline ULONG Extent(const FDSC &fdsc) { return fdsc.ulCount * ElementSize(fdsc); }

// The fields used of a structure.
inline std::span<const FDSC> FieldsOf(const SDSC &sdsc) {
  return {sdsc.afdsc, std::min<std::size_t>(sdsc.ulFields, INI_MAX_FIELDS)};
}

// Calls a function for each field of a structure at pb, in the order of an INI file: first the keys of the structure's
// own section, then the sections within.
template <typename OnField>
void ForFieldsInFileOrder(const SDSC &sdsc, BYTE *pb, OnField onField) {
  for (const bool fSections : {false, true}) {
    BYTE *pbField = pb;
    for (const FDSC &fdsc : FieldsOf(sdsc)) {
      if (IsSection(fdsc.ulType) == fSections) onField(fdsc, pbField);
      pbField += Extent(fdsc);
    }
  }
}

constexpr ULONG ulMaxNesting = 127; // levels of structures within structures in an INI file

#endif
