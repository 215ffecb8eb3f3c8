// described.h: descriptions of data, and described data as text.
#pragma once

#include <cstring>
#include <span>
#include <string>

#include "zebbase/ini.h"
#include "zebbase/lst.h"
#include "zebbase/mem.h"

inline FDSC Field(const char *pszName, ULONG ulType, ULONG ulCount = 1,
                  const void *pvDesc = nullptr, ULONG fl = 0) {
  return {0, pszName, fl, ulType, ulCount, nullptr, const_cast<void *>(pvDesc)};
}
inline FDSC Formatted(FDSC fdsc, const char *pszFormat) {
  fdsc.pszFormat = pszFormat;
  return fdsc;
}

inline const SDSC &StructureOf(const FDSC &fdsc) { return *static_cast<SDSC *>(fdsc.pvDesc); }
inline const FDSC &ItemOf(const FDSC &fdsc) { return *static_cast<FDSC *>(fdsc.pvDesc); }
inline std::span<const FDSC> FieldsOf(const SDSC &sdsc) { return {sdsc.afdsc, sdsc.ulFields}; }
inline bool IsText(const FDSC &fdsc) {
  return fdsc.ulType == FT_STRING || fdsc.ulType == FT_FIXEDSTRING || fdsc.ulType == FT_DOTTED;
}
inline bool IsEnumeration(const FDSC &fdsc) {
  return fdsc.ulType == FT_ENUM16 || fdsc.ulType == FT_ENUM32;
}
inline bool IsReference(const FDSC &fdsc) {
  return fdsc.ulType == FT_PSZ || fdsc.ulType > FT_STRUCT;
}

// The bytes of one value by its type, from FT_BOOL16 to FT_TYPES.
inline ULONG WidthOf(ULONG ulType) {
  return static_cast<ULONG>("241224448142481144000000004440"[ulType] - '0');
}
inline ULONG Elements(const FDSC &fdsc) { return IsText(fdsc) ? 1 : fdsc.ulCount; }
inline ULONG ElementSize(const FDSC &fdsc) {
  if (IsText(fdsc)) return fdsc.ulCount;
  if (fdsc.ulType != FT_STRUCT) return WidthOf(fdsc.ulType);
  return fdsc.pvDesc ? StructureOf(fdsc).ulSize : 0;
}
inline ULONG Extent(const FDSC &fdsc) { return Elements(fdsc) * ElementSize(fdsc); }

inline void Add(SDSC &sdsc, const FDSC &fdsc) {
  sdsc.afdsc[sdsc.ulFields++] = fdsc;
  sdsc.ulSize += Extent(fdsc);
}
inline SDSC Describe(std::initializer_list<FDSC> fields) {
  SDSC sdsc = {};
  for (const FDSC &fdsc : fields) Add(sdsc, fdsc);
  return sdsc;
}

// Described data as text. What they point to is freed, and what no file has is left in them.
inline std::string TakeApart(const FDSC &fdsc, void *pv);
inline std::string TakeApart(const SDSC &sdsc, void *pv) {
  std::string str = "{";
  auto *pb = static_cast<BYTE *>(pv);
  for (const FDSC &fdsc : FieldsOf(sdsc)) {
    str += TakeApart(fdsc, pb);
    pb += Extent(fdsc);
  }
  return str + "}";
}
inline std::string TakeListApart(const FDSC &fdsc, LIST *plst) {
  std::string str;
  for (LISTITEM *pli = plst->pliFirst; pli; pli = pli->pliNext) {
    if (fdsc.ulType == FT_STRUCTLIST)
      str += TakeApart(StructureOf(fdsc), pli->pvData);
    else // a text hangs on the node itself
      str += TakeApart(ItemOf(fdsc), ItemOf(fdsc).ulType == FT_PSZ ? &pli->pvData : pli->pvData);
  }
  LstDeleteAllBoth(plst);
  LstFreeList_(plst);
  return "(" + str + ")";
}
inline std::string TakeReferenceApart(const FDSC &fdsc, void *pv) {
  if (!pv) return "null";
  if (fdsc.ulType == FT_STRUCTLIST || fdsc.ulType == FT_VALUELIST)
    return TakeListApart(fdsc, static_cast<LIST *>(pv));
  const std::string str =
      fdsc.ulType == FT_PSZ ? static_cast<char *>(pv) : TakeApart(StructureOf(fdsc), pv);
  MemFreeMem_(pv);
  return str;
}
inline std::string TakeApart(const FDSC &fdsc, void *pv) {
  std::string str;
  auto *pb = static_cast<BYTE *>(pv);
  for (ULONG ul = 0, cb = ElementSize(fdsc); ul < Elements(fdsc); ul++, pb += cb) {
    if (fdsc.ulType == FT_STRUCT) {
      str += TakeApart(StructureOf(fdsc), pb);
    } else if (IsReference(fdsc)) {
      std::memcpy(&pv, pb, cb);
      std::memset(pb, 0, cb);
      str += TakeReferenceApart(fdsc, pv);
    } else {
      str.append(reinterpret_cast<char *>(pb), cb);
      std::memset(pb, 7, cb);
    }
  }
  return str + ",";
}
