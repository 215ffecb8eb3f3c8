// walk.h: the one walk over described data that packing, unpacking, sizing and reversing share.
//
// It goes through the fields in the order in which they lie, into embedded structures and over each element of an array
// of them, and ends at the first error. Only the visitor knows what a field's bytes are for; it keeps the position, and
// the extents of the fields alone move it. A visitor has
//
//   ULONG OnField(FieldView)       takes a field that is no structure and moves past it; or gives an error, and stays
//   ULONG Position() const         how many bytes it has moved
//   bool Repeat(ULONG ulStart, ULONG ulTimes)
//                                  may take ulTimes further elements like the one from ulStart to here in one step;
//                                  false when the walk is to go over them one by one
//
// Descriptors may lie in a packed buffer, at any byte offset, so they are only looked at through views.

#ifndef ZEBBASE_SRC_WALK_H
#define ZEBBASE_SRC_WALK_H

#include <algorithm>
#include <array>
#include <cstddef>

#include "bytes.h"
#include "fields.h"

// The bytes of one element that travel, and that reversal turns round together: those of a number, or 1 for bytes and
// characters. 0 for what does not travel: references, the text types 16 and 17, reserved types, and structures, whose
// fields travel each on its own.
inline constexpr auto abElementBytes = [] {
  std::array<BYTE, FT_TYPES> ab{};
  for (ULONG ulType = 0; ulType < FT_VERBOSITY; ulType++)
    if (!IsPointer(ulType)) ab[ulType] = static_cast<BYTE>(atydTypeDefaults[ulType].ulSize);
  return ab;
}();

inline ULONG ElementBytes(ULONG ulType) { return ulType < FT_TYPES ? abElementBytes[ulType] : 0; }

// A field descriptor at any address. Its words are loaded one by one, as they are wanted.
class FieldView {
 public:
  explicit FieldView(const void *pvFdsc) : pb_(static_cast<const BYTE *>(pvFdsc)) {}
  ULONG Flags() const { return Load<ULONG>(pb_ + offsetof(FDSC, flFlags)); }
  ULONG Type() const { return Load<ULONG>(pb_ + offsetof(FDSC, ulType)); }
  ULONG Count() const { return Load<ULONG>(pb_ + offsetof(FDSC, ulCount)); }
  const void *Desc() const { return Load<const void *>(pb_ + offsetof(FDSC, pvDesc)); }
  FDSC Copy() const { return Load<FDSC>(pb_); }

 private:
  const BYTE *pb_;
};

// The fields used of a structure at any address, for a range-based loop; null has none.
class FieldsView {
 public:
  explicit FieldsView(const void *pvSdsc) {
    if (!pvSdsc) return;
    const BYTE *pb = static_cast<const BYTE *>(pvSdsc);
    pbFirst_ = pb + offsetof(SDSC, afdsc);
    ulFields_ = std::min<ULONG>(Load<ULONG>(pb + offsetof(SDSC, ulFields)), INI_MAX_FIELDS);
  }
  struct Iterator {
    const BYTE *pb;
    FieldView operator*() const { return FieldView(pb); }
    void operator++() { pb += sizeof(FDSC); }
    bool operator!=(Iterator other) const { return pb != other.pb; }
  };
  Iterator begin() const { return {pbFirst_}; }
  Iterator end() const { return {pbFirst_ + ulFields_ * sizeof(FDSC)}; }
  ULONG size() const { return ulFields_; }

 private:
  const BYTE *pbFirst_ = nullptr;
  ULONG ulFields_ = 0;
};

template <typename Visitor>
ULONG WalkField(FieldView field, Visitor &visitor);

template <typename Visitor>
ULONG WalkStructure(const void *pvSdsc, Visitor &visitor) {
  for (const FieldView field : FieldsView(pvSdsc)) {
    const ULONG rc = WalkField(field, visitor);
    if (rc != 0) return rc;
  }
  return 0;
}

template <typename Visitor>
ULONG WalkElements(FieldView field, Visitor &visitor) {
  for (ULONG ulLeft = field.Count(); ulLeft > 0; ulLeft--) {
    const ULONG ulStart = visitor.Position();
    const ULONG rc = WalkStructure(field.Desc(), visitor);
    if (rc != 0) return rc;
    if (visitor.Position() == ulStart || visitor.Repeat(ulStart, ulLeft - 1)) break; // empty: however many, no more
  }
  return 0;
}

// Without a call, which would cost more than most fields take.
template <typename Visitor>
[[gnu::always_inline]] inline ULONG WalkField(FieldView field, Visitor &visitor) {
  return field.Type() == FT_STRUCT ? WalkElements(field, visitor) : visitor.OnField(field);
}

#endif
