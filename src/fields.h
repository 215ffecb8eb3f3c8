// fields.h: what every operation on described data knows of a field: its type, its extent, what it nests.
// Descriptors may lie in a packed buffer, at any byte offset, so they are only looked at through views.

#ifndef ZEBBASE_SRC_FIELDS_H
#define ZEBBASE_SRC_FIELDS_H

#include <algorithm>
#include <array>
#include <cstddef>

#include "bytes.h"
#include "rows.h"
#include "zebbase/ini.h"

// --- Types ---

enum class STORAGE : BYTE {
  None,       // reserved types
  Number,     // whose bytes travel, and are reversed together
  Flags,      // 32 bits that have a text, and do not travel
  Characters, // one block, whatever its ulCount: the bytes of the field
  Reference,  // of this process
  Structure   // as large as its SDSC says
};

enum class NESTED : BYTE { None, Structure, Enumeration, Field };

struct FIELDTYPE {
  ULONG ulType;
  TYPEDEFAULT type;
  STORAGE storage;
  NESTED nested;
};
inline constexpr FIELDTYPE aFieldType[] = {
    {FT_BOOL16, {"%s", 2}, STORAGE::Number, NESTED::None},
    {FT_BOOL32, {"%s", 4}, STORAGE::Number, NESTED::None},
    {FT_BYTE, {"%hd", 1}, STORAGE::Number, NESTED::None},
    {FT_SHORT, {"%hd", 2}, STORAGE::Number, NESTED::None},
    {FT_USHORT, {"%hu", 2}, STORAGE::Number, NESTED::None},
    {FT_LONG, {"%ld", 4}, STORAGE::Number, NESTED::None},
    {FT_ULONG, {"%lu", 4}, STORAGE::Number, NESTED::None},
    {FT_FLOAT, {"%f", 4}, STORAGE::Number, NESTED::None},
    {FT_DOUBLE, {"%lf", 8}, STORAGE::Number, NESTED::None},
    {FT_STRING, {"%s", 1}, STORAGE::Characters, NESTED::None},
    {FT_PSZ, {"%s", 4}, STORAGE::Reference, NESTED::None},
    {FT_ENUM16, {"%s", 2}, STORAGE::Number, NESTED::Enumeration},
    {FT_ENUM32, {"%s", 4}, STORAGE::Number, NESTED::Enumeration},
    {FT_REALTIME, {"%s", 8}, STORAGE::Number, NESTED::None},
    {FT_FIXEDSTRING, {"%s", 1}, STORAGE::Characters, NESTED::None},
    {FT_DOTTED, {"%s", 1}, STORAGE::Characters, NESTED::Structure},
    {FT_VERBOSITY, {"%lu", 4}, STORAGE::Flags, NESTED::None},
    {FT_INTERVAL, {"%lu", 4}, STORAGE::Flags, NESTED::None},
    {18, {"", 0}, STORAGE::None, NESTED::None},
    {19, {"", 0}, STORAGE::None, NESTED::None},
    {20, {"", 0}, STORAGE::None, NESTED::None},
    {21, {"", 0}, STORAGE::None, NESTED::None},
    {22, {"", 0}, STORAGE::None, NESTED::None},
    {23, {"", 0}, STORAGE::None, NESTED::None},
    {24, {"", 0}, STORAGE::None, NESTED::None},
    {FT_STRUCT, {"", 0}, STORAGE::Structure, NESTED::Structure},
    {FT_STRUCTLIST, {"", 4}, STORAGE::Reference, NESTED::Structure},
    {FT_VALUELIST, {"", 4}, STORAGE::Reference, NESTED::Field},
    {FT_STRUCTPTR, {"", 4}, STORAGE::Reference, NESTED::Structure},
};

static_assert(AreRowsOf(aFieldType, 0, FT_TYPES - 1));

// What an operation asks of a type again and again is computed from the table: one value for each code.
template <typename T, typename Of>
constexpr std::array<T, FT_TYPES> ByType(Of of) {
  std::array<T, FT_TYPES> at = {};
  for (const FIELDTYPE &type : aFieldType) at[type.ulType] = of(type);
  return at;
}

// The types of one storage, a bit for each code.
constexpr ULONG TypesOf(STORAGE storage) {
  ULONG fl = 0;
  for (const FIELDTYPE &type : aFieldType) fl |= ULONG{type.storage == storage} << type.ulType;
  return fl;
}

template <STORAGE storage> // codes beyond the table have none
constexpr bool Has(ULONG ulType) {
  constexpr ULONG flTypes = TypesOf(storage);
  return ulType < FT_TYPES && (flTypes >> ulType & 1) != 0;
}

constexpr bool IsCharacters(ULONG ulType) { return Has<STORAGE::Characters>(ulType); }
constexpr bool IsReference(ULONG ulType) { return Has<STORAGE::Reference>(ulType); }
constexpr bool IsReserved(ULONG ulType) { return ulType >= FT_TYPES || Has<STORAGE::None>(ulType); }

// A field that is a section, or sections, in an INI file; all others are keys.
constexpr bool IsSection(ULONG ulType) { return ulType >= FT_STRUCT; }

inline constexpr auto anestedByType = ByType<NESTED>([](const FIELDTYPE &type) { return type.nested; });

inline constexpr auto atydTypeDefaults = ByType<TYPEDEFAULT>([](const FIELDTYPE &type) { return type.type; });

// Data travel when their pointers have one of these marks, and descriptions when they have both.
constexpr ULONG flPointerMarks = FDSC_NOINI | FDSC_NOPACK;

// --- Views ---

class StructureView;

// A field descriptor at any address. Its words are loaded one by one, as they are wanted.
class FieldView {
 public:
  explicit FieldView(const void *pvFdsc) : pb_(static_cast<const BYTE *>(pvFdsc)) {}
  const char *Name() const { return Load<const char *>(pb_ + offsetof(FDSC, pszName)); }
  ULONG Flags() const { return Load<ULONG>(pb_ + offsetof(FDSC, flFlags)); }
  ULONG Type() const { return Load<ULONG>(pb_ + offsetof(FDSC, ulType)); }
  ULONG Count() const { return Load<ULONG>(pb_ + offsetof(FDSC, ulCount)); }
  const char *Format() const { return Load<const char *>(pb_ + offsetof(FDSC, pszFormat)); }
  const void *Desc() const { return Load<const void *>(pb_ + offsetof(FDSC, pvDesc)); }
  StructureView Structure() const; // by its SDSC
  FDSC Copy() const { return Load<FDSC>(pb_); }

  ULONG Elements() const { return IsCharacters(Type()) ? 1 : Count(); } // values, one behind the other
  ULONG ElementSize() const; // bytes that one of ulCount takes: one character of a text; 0 for codes beyond the table
  ULONG Extent() const { return Count() * ElementSize(); } // bytes that the whole field takes

 private:
  const BYTE *pb_;
};

// A structure at any address, and its fields used, for a range-based loop; null has none.
class StructureView {
 public:
  explicit StructureView(const void *pvSdsc) : pb_(static_cast<const BYTE *>(pvSdsc)) {
    if (pb_) ulFields_ = std::min<ULONG>(Load<ULONG>(pb_ + offsetof(SDSC, ulFields)), INI_MAX_FIELDS);
  }
  struct Iterator {
    const BYTE *pb;
    FieldView operator*() const { return FieldView(pb); }
    void operator++() { pb += sizeof(FDSC); }
    bool operator!=(Iterator other) const { return pb != other.pb; }
  };
  Iterator begin() const { return {pb_ + offsetof(SDSC, afdsc)}; }
  Iterator end() const { return {pb_ + offsetof(SDSC, afdsc) + ulFields_ * sizeof(FDSC)}; }
  ULONG size() const { return ulFields_; } // in fields
  ULONG Bytes() const { return pb_ ? Load<ULONG>(pb_ + offsetof(SDSC, ulSize)) : 0; }
  const void *Address() const { return pb_; }

 private:
  const BYTE *pb_;
  ULONG ulFields_ = 0;
};

inline StructureView FieldView::Structure() const { return StructureView(Desc()); }

inline ULONG FieldView::ElementSize() const {
  const ULONG ulType = Type();
  if (ulType == FT_STRUCT) return Structure().Bytes();
  return ulType < FT_TYPES ? atydTypeDefaults[ulType].ulSize : 0;
}

// Calls a function for each field of a structure at pb, in the order of an INI file: first the keys of the structure's
// own section, then the sections within.
template <typename OnField>
void ForFieldsInFileOrder(StructureView structure, BYTE *pb, OnField onField) {
  for (const bool fSections : {false, true}) {
    BYTE *pbField = pb;
    for (const FieldView field : structure) {
      if (IsSection(field.Type()) == fSections) onField(field, pbField);
      pbField += field.Extent();
    }
  }
}

constexpr ULONG ulMaxNesting = 127; // levels of structures within structures in an INI file

#endif
