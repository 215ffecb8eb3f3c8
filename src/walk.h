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

#ifndef ZEBBASE_SRC_WALK_H
#define ZEBBASE_SRC_WALK_H

#include <cassert>

#include "fields.h"

// The bytes of one element that travel, and that reversal turns round together: those of a number, or 1 for bytes and
// characters. 0 for what does not travel: references, flags, reserved types, and structures, whose fields travel each
// on its own.
inline constexpr auto abElementBytes = ByType<BYTE>([](const FIELDTYPE &type) {
  const bool fTravels = type.storage == STORAGE::Number || type.storage == STORAGE::Characters;
  return static_cast<BYTE>(fTravels ? type.type.ulSize : 0);
});

inline ULONG ElementBytes(ULONG ulType) { return ulType < FT_TYPES ? abElementBytes[ulType] : 0; }

template <typename Visitor>
ULONG WalkField(FieldView field, Visitor &visitor);

template <typename Visitor>
ULONG WalkStructure(const void *pvSdsc, Visitor &visitor) {
  for (const FieldView field : StructureView(pvSdsc)) {
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
    assert(visitor.Position() >= ulStart);
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
