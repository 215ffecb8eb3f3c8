// described.h: descriptions, made by hand or at random; described data; and tests with INI files.
#pragma once

#include <deque>
#include <map>
#include <span>

#include "input.h"
#include "zebbase/ini.h"
#include "zebbase/lst.h"

// --- Descriptions ---

inline FDSC Field(const char *pszName, ULONG ulType, ULONG ulCount = 1,
                  const void *pvDesc = nullptr, ULONG fl = 0) {
  return {0, pszName, fl, ulType, ulCount, nullptr, const_cast<void *>(pvDesc)};
}
inline FDSC Field(const char *pszName, const SDSC &sdsc, ULONG ulCount = 1) {
  return Field(pszName, FT_STRUCT, ulCount, &sdsc);
}
inline FDSC Formatted(FDSC fdsc, const char *pszFormat) {
  fdsc.pszFormat = pszFormat;
  return fdsc;
}

inline bool IsText(const FDSC &fdsc) {
  return fdsc.ulType == FT_STRING || fdsc.ulType == FT_FIXEDSTRING || fdsc.ulType == FT_DOTTED;
}
inline bool IsEnumeration(const FDSC &fdsc) {
  return fdsc.ulType == FT_ENUM16 || fdsc.ulType == FT_ENUM32;
}
inline bool IsList(const FDSC &fdsc) {
  return fdsc.ulType == FT_STRUCTLIST || fdsc.ulType == FT_VALUELIST;
}
inline bool IsReference(const FDSC &fdsc) {
  return fdsc.ulType == FT_PSZ || fdsc.ulType > FT_STRUCT;
}

inline const SDSC &StructureOf(const FDSC &fdsc) { return *static_cast<SDSC *>(fdsc.pvDesc); }
inline std::span<const FDSC> FieldsOf(const SDSC &sdsc) { return {sdsc.afdsc, sdsc.ulFields}; }
inline std::span<const FDSC> FieldsIn(const FDSC &fdsc) { // of a structure
  if (fdsc.ulType != FT_STRUCT || !fdsc.pvDesc) return {};
  return FieldsOf(StructureOf(fdsc));
}
inline FDSC TargetOf(const FDSC &fdsc) { // what a reference, or each item of a list, leads to
  if (fdsc.ulType == FT_VALUELIST) return *static_cast<FDSC *>(fdsc.pvDesc);
  return Field(fdsc.pszName, FT_STRUCT, 1, fdsc.pvDesc);
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

// --- Described data ---

// Goes over the elements of a field, and in place of structures over those of their fields.
template <typename Visit>
void ForElements(const FDSC &fdsc, BYTE *pb, const Visit &visit) {
  if (fdsc.ulType == FT_STRUCT && FieldsIn(fdsc).empty()) return; // however often
  for (ULONG ul = 0; ul < Elements(fdsc); ul++) {
    BYTE *pbField = pb;
    for (const FDSC &fdscIn : FieldsIn(fdsc)) {
      ForElements(fdscIn, pbField, visit);
      pbField += Extent(fdscIn);
    }
    if (fdsc.ulType != FT_STRUCT) visit(fdsc, pb);
    pb += ElementSize(fdsc);
  }
}

// Goes over what a reference leads to: a structure, or the items of a list. A text is in its node.
template <typename Visit>
void ForTargets(const FDSC &fdsc, void *pv, const Visit &visit) {
  const FDSC fdscTarget = TargetOf(fdsc);
  if (!IsList(fdsc)) return visit(fdscTarget, static_cast<BYTE *>(pv));
  for (LISTITEM *pli = static_cast<LIST *>(pv)->pliFirst; pli; pli = pli->pliNext)
    visit(fdscTarget,
          static_cast<BYTE *>(fdscTarget.ulType == FT_PSZ ? &pli->pvData : pli->pvData));
}

inline void *PointerAt(const BYTE *pb) {
  void *pv;
  std::memcpy(&pv, pb, sizeof pv);
  return pv;
}
inline void PutPointer(BYTE *pb, const void *pv) { std::memcpy(pb, &pv, sizeof pv); }

// Described data as text. What they point to is freed, and what no file has is left in them.
inline std::string TakeApart(const FDSC &fdsc, void *pv);
inline std::string TakeReferenceApart(const FDSC &fdsc, BYTE *pbReference) {
  void *pv = PointerAt(pbReference);
  PutPointer(pbReference, nullptr);
  if (!pv) return "null";
  std::string str = fdsc.ulType == FT_PSZ ? static_cast<char *>(pv) : "";
  if (fdsc.ulType != FT_PSZ)
    ForTargets(fdsc, pv, [&](const FDSC &fdscTarget, BYTE *pb) {
      str += "{" + TakeApart(fdscTarget, pb) + "}";
    });
  if (IsList(fdsc)) {
    LstDeleteAllBoth(static_cast<LIST *>(pv));
    LstFreeList_(static_cast<LIST *>(pv));
  } else {
    MemFreeMem_(pv);
  }
  return str;
}
inline std::string TakeApart(const FDSC &fdscAll, void *pvAll) {
  std::string str;
  ForElements(fdscAll, static_cast<BYTE *>(pvAll), [&](const FDSC &fdsc, BYTE *pb) {
    const ULONG cb = ElementSize(fdsc);
    str += IsReference(fdsc) ? TakeReferenceApart(fdsc, pb) : std::string(pb, pb + cb);
    if (!IsReference(fdsc)) std::memset(pb, 7, cb);
    str += ',';
  });
  return str;
}

// The data of a description, at an odd address. What they point to goes with them.
class Data {
 public:
  explicit Data(const FDSC &fdsc) : fdsc_(fdsc), ab_(Extent(fdsc) + 1) {}
  ~Data() { Take(); }
  Data(const Data &) = delete;
  BYTE *At() { return ab_.data() + 1; }
  std::string Take() { return TakeApart(fdsc_, At()); } // as text

 private:
  const FDSC fdsc_;
  std::vector<BYTE> ab_;
};

// --- INI files ---

struct CloseIni {
  void operator()(INIFILE *pini) const { EXPECT_EQ(IniClose(pini), 0u); }
};
using Ini = std::unique_ptr<INIFILE, CloseIni>;

inline Ini OpenIni(const char *pszFile) { return Ini(IniOpen(pszFile, INI_MODE_READ)); }

inline std::string EntriesOf(const Ini &ini) { // "[title]name=value;"
  std::string str;
  for (ULONG ul = 0; ini && ul < ini->ulEntries; ul++) {
    const INIENTRY &entry = ini->aentry[ul];
    str += (entry.flTitle ? "[" : "") + std::string(entry.pszName) +
           (entry.flTitle ? "]" : "=" + std::string(entry.pszValue) + ";");
  }
  return ini ? str : "refused";
}

// The text of a new file with these data.
inline std::string Written(std::initializer_list<std::pair<const void *, FDSC>> fields) {
  Ini ini(IniOpen("data.ini", 2));
  if (!ini) return "not opened";
  for (const auto &[pv, fdsc] : fields) EXPECT_EQ(IniWrite(ini.get(), pv, &fdsc), 0u);
  ini.reset();
  return Contents("data.ini");
}

// A test with INI files, and with random descriptions and data for them.
class IniTest : public FileTest {
 protected:
  static Ini Open(const std::string &str) {
    Write(str);
    return OpenIni("input");
  }
  Ini OpenChecked(const std::string &str, ULONG ulMode) {
    Write(str);
    Ini ini(IniOpenChecked("input", ulMode, &err_));
    EXPECT_EQ(err_.ulCode == 0, ini != nullptr) << str << err_.szText;
    return ini;
  }

  // A description of structures within one another, in place of the one before. Names are of one
  // length, F100 and so on, so that joined and numbered names never collide.
  FDSC NewDescription(int iDepth) {
    names_.clear();
    sdscs_.clear();
    items_.clear();
    return Named(FT_STRUCT, 1, NewStructure(iDepth));
  }
  std::vector<FDSC *> Fields() { // of all its structures
    std::vector<FDSC *> apfdsc;
    for (SDSC &sdsc : sdscs_)
      for (ULONG ul = 0; ul < sdsc.ulFields; ul++) apfdsc.push_back(&sdsc.afdsc[ul]);
    return apfdsc;
  }

  // Any data of a structure, as the writer puts them into a file: its section, with the keys and
  // then the sections within.
  std::string AnySection(const SDSC &sdsc, const std::string &strTitle) {
    std::string str = "\n[" + strTitle + " ]\n";
    for (const bool fSections : {false, true})
      for (const FDSC &fdsc : FieldsOf(sdsc))
        if ((fdsc.ulType >= FT_STRUCT) == fSections && !(fdsc.flFlags & FDSC_NOINI))
          str += AnyEntries(fdsc, strTitle);
    return str;
  }

  ULONG ulFewest_ = 1, ulMost_ = 3; // elements of an array
  INIERROR err_ = {};

 private:
  FDSC Named(ULONG ulType, ULONG ulCount, const void *pvDesc) {
    names_.push_back("F" + std::to_string(100 + names_.size()));
    return Field(names_.back().c_str(), ulType, ulCount, pvDesc);
  }

  const SDSC *NewStructure(int iDepth) {
    static const ULONG aulType[] = {FT_STRUCT, FT_STRUCT, FT_STRUCTLIST, FT_STRUCTPTR};
    SDSC &sdsc = sdscs_.emplace_back();
    for (ULONG ul = Random(9); ul > 0; ul--)
      Add(sdsc, NewValue(ulFewest_ + Random(ulMost_ + 1 - ulFewest_), Random(10) ? 0 : FDSC_NOINI));
    if (Random(2)) Add(sdsc, Named(FT_VALUELIST, 1, &items_.emplace_back(NewValue(1, 0))));
    for (ULONG ul = iDepth > 0 ? Random(4) : 0; ul > 0; ul--) {
      const ULONG ulType = OneOf(aulType);
      const ULONG ulCount = ulType == FT_STRUCT ? ulFewest_ + Random(4 - ulFewest_) : 1;
      Add(sdsc, Named(ulType, ulCount, NewStructure(iDepth - 1)));
    }
    return &sdsc;
  }
  FDSC NewValue(ULONG ulElements, ULONG fl) {
    FDSC fdsc = Named(Random(FT_INTERVAL + 1), ulElements, nullptr);
    fdsc.flFlags = fl;
    if (IsText(fdsc)) fdsc.ulCount = fdsc.ulType == FT_DOTTED ? 7 : 1 + Random(31);
    if (fdsc.ulType == FT_DOTTED) fdsc.pvDesc = &sdscDotted_;
    if (IsEnumeration(fdsc)) fdsc.pvDesc = &edsc_;
    if (fdsc.ulType == FT_ULONG && Random(2)) fdsc.pszFormat = "%lX";
    return fdsc;
  }

  std::string AnyEntries(const FDSC &fdsc, const std::string &strTitle) {
    const FDSC fdscValue = fdsc.ulType == FT_VALUELIST ? TargetOf(fdsc) : fdsc;
    const ULONG ulMost = IsList(fdsc) ? 4 : 1; // of a list, or of structures by reference
    const ULONG ulElements = fdsc.ulType > FT_STRUCT ? Random(ulMost + 1) : Elements(fdsc);
    const bool fNumbered = IsList(fdsc) || ulElements > 1;
    std::string str;
    for (ULONG ul = 1; ul <= ulElements; ul++) {
      const std::string strName = fdscValue.pszName + (fNumbered ? " " + std::to_string(ul) : "");
      str += fdscValue.ulType < FT_STRUCT
                 ? "  " + strName + " = " + AnyValue(fdscValue) + "\n"
                 : AnySection(StructureOf(fdscValue), strTitle + " " + strName);
    }
    return str;
  }

  // As it is written. A text between quotes may begin and end with blanks.
  std::string AnyValue(const FDSC &fdsc) {
    static const std::map<ULONG, Texts> values = {
        {FT_BOOL16, {"TRUE", "FALSE"}},
        {FT_BOOL32, {"TRUE", "FALSE"}},
        {FT_BYTE, {"0", "17", "255"}},
        {FT_SHORT, {"-32768", "-1", "32767"}},
        {FT_USHORT, {"0", "65535"}},
        {FT_LONG, {"-2147483648", "2147483647"}},
        {FT_ULONG, {"0", "4294967295"}},
        {FT_FLOAT, {"-1.500000", "1000000.250000"}},
        {FT_DOUBLE, {"-0.015625", "4294967295.500000"}},
        {FT_REALTIME, {"1970-01-01_00:00:01.5000", "2106-02-07_06:28:15.5000"}},
        {FT_DOTTED, {"\"a.bcde\"", "\"abc.\"", "\"a.b\""}},
        {FT_VERBOSITY, {"Error|Debug|Area12", " Warning|Area1"}},
        {FT_INTERVAL, {"1d1h1m1s", "59s", "49710d"}}};
    const auto *pedsc = static_cast<const EDSC *>(fdsc.pvDesc);
    const auto it = values.find(fdsc.ulType);
    if (IsEnumeration(fdsc)) return pedsc->apszName[Random(pedsc->ulCount)];
    if (fdsc.pszFormat) return fdsc.ulType == FT_ULONG ? "1F90" : "-1e+300";
    if (it != values.end()) return OneOf(it->second);
    const bool fFixed = fdsc.ulType == FT_FIXEDSTRING;
    const ULONG ulMost = fdsc.ulType == FT_PSZ ? INI_MAX_TEXT : fdsc.ulCount - !fFixed;
    std::string str = SomeChars(fFixed ? "ab XY09[]=#;%.,-_\\" : "ab XY09[]=#;%.,-_\\\xE4", ulMost);
    if (fFixed) str.resize(ulMost, ' ');
    return '"' + str + '"';
  }

  std::deque<std::string> names_;
  std::deque<SDSC> sdscs_; // the structures so far,
  std::deque<FDSC> items_; // and the items of value lists
  SDSC sdscDotted_ = Describe({Field("", FT_FIXEDSTRING, 3), Field("", FT_FIXEDSTRING, 4)});
  EDSC edsc_ = {3, {"One", "Two", "Three"}, {1, -2, 40000}};
};
