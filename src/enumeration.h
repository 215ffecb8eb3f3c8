// enumeration.h: the names that an enumerated field has for its values.

#ifndef ZEBBASE_SRC_ENUMERATION_H
#define ZEBBASE_SRC_ENUMERATION_H

#include <algorithm>

#include "bytes.h"
#include "fields.h"

struct ENUMNAME {
  const char *pszName; // null for a value without a name
  LONG lValue;
};

// The first name of a field's enumeration that a function accepts, or none. The enumeration may be missing altogether.
template <typename Accepts>
ENUMNAME FindEnumName(FieldView field, Accepts accepts) {
  const auto *pedsc = static_cast<const EDSC *>(field.Desc());
  const ULONG ulCount = pedsc ? std::min<ULONG>(pedsc->ulCount, INI_MAX_NAMES) : 0;
  for (ULONG ul = 0; ul < ulCount; ul++) {
    const ENUMNAME name = {pedsc->apszName[ul], pedsc->alValue[ul]};
    if (name.pszName && accepts(name)) return name;
  }
  return {nullptr, 0};
}

// The name of the value that a field has; null when it has none.
inline const char *NameOfValue(FieldView field, const BYTE *pb) {
  const bool fWide = field.Type() == FT_ENUM32;
  const ULONG ulValue = fWide ? Load<ULONG>(pb) : Load<USHORT>(pb);
  const ULONG flBits = fWide ? 0xFFFFFFFF : 0xFFFF;
  return FindEnumName(field,
                      [&](const ENUMNAME &name) { return (static_cast<ULONG>(name.lValue) & flBits) == ulValue; })
      .pszName;
}

#endif
