// described.h: descriptions of data, and described data as text.
#pragma once

#include <cstring>
#include <string>

#include "zebbase/ini.h"
#include "zebbase/lst.h"
#include "zebbase/mem.h"

inline FDSC Field(const char *pszName, ULONG ulType, ULONG ulCount = 1, const void *pvDesc = nullptr, ULONG fl = 0) {
  return {0, pszName, fl, ulType, ulCount, nullptr, const_cast<void *>(pvDesc)};
}
inline const SDSC &StructureOf(const FDSC &fdsc) { return *static_cast<SDSC *>(fdsc.pvDesc); }
inline const FDSC &ItemOf(const FDSC &fdsc) { return *static_cast<FDSC *>(fdsc.pvDesc); }
inline bool IsText(const FDSC &fdsc) {
  return fdsc.ulType == FT_STRING || fdsc.ulType == FT_FIXEDSTRING || fdsc.ulType == FT_DOTTED;
}
inline ULONG Elements(const FDSC &fdsc) { return IsText(fdsc) ? 1 : fdsc.ulCount; }
inline ULONG ElementSize(const FDSC &fdsc) {
  if (IsText(fdsc)) return fdsc.ulCount;
  return fdsc.ulType == FT_STRUCT ? StructureOf(fdsc).ulSize : IniGetTypeDefaults()[fdsc.ulType].ulSize;
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
  for (ULONG ul = 0; ul < sdsc.ulFields; pb += Extent(sdsc.afdsc[ul++])) str += TakeApart(sdsc.afdsc[ul], pb);
  return str + "}";
}
inline std::string TakeReferenceApart(const FDSC &fdsc, void *pv) {
  std::string str = fdsc.ulType == FT_PSZ ? static_cast<char *>(pv) : "";
  if (fdsc.ulType == FT_STRUCTPTR) str = TakeApart(StructureOf(fdsc), pv);
  if (fdsc.ulType == FT_PSZ || fdsc.ulType == FT_STRUCTPTR) return MemFreeMem_(pv), str;
  auto *plst = static_cast<LIST *>(pv);
  for (LISTITEM *pli = plst->pliFirst; pli; pli = pli->pliNext)
    if (fdsc.ulType == FT_STRUCTLIST)
      str += TakeApart(StructureOf(fdsc), pli->pvData);
    else
      str += TakeApart(ItemOf(fdsc), ItemOf(fdsc).ulType == FT_PSZ ? &pli->pvData : pli->pvData);
  return LstDeleteAllBoth(plst), LstFreeList_(plst), "(" + str + ")";
}
inline std::string TakeApart(const FDSC &fdsc, void *pv) {
  std::string str;
  auto *pb = static_cast<BYTE *>(pv);
  for (ULONG ul = 0, cb = ElementSize(fdsc); ul < Elements(fdsc); ul++, pb += cb) {
    const bool fReference = fdsc.ulType == FT_PSZ || fdsc.ulType > FT_STRUCT;
    if (fReference) std::memcpy(&pv, pb, cb);
    str += fReference                 ? pv ? TakeReferenceApart(fdsc, pv) : "null"
           : fdsc.ulType == FT_STRUCT ? TakeApart(StructureOf(fdsc), pb)
                                      : std::string(reinterpret_cast<char *>(pb), cb);
    if (fdsc.ulType != FT_STRUCT) std::memset(pb, fReference ? 0 : 7, cb);
  }
  return str + ",";
}
