// ini.cpp: reading described data out of INI files.
// Names are built and compared, never cut: a name that would be too long for a file is one that no file has.

#include "zebbase/ini.h"

#include <cstddef>
#include <cstdint>
#include <cstring>

#include "bytes.h"
#include "convert.h"
#include "entries.h"
#include "fields.h"
#include "inifree.h"
#include "memory.h"
#include "text.h"
#include "underway.h"
#include "zebbase/lst.h"
#include "zebbase/mem.h"

static_assert(sizeof(FDSC) == 28 && offsetof(FDSC, pvDesc) == 24);
static_assert(sizeof(SDSC) == 1696 && offsetof(SDSC, afdsc) == 16);
static_assert(sizeof(EDSC) == 132 && offsetof(EDSC, alValue) == 68);
static_assert(sizeof(INIENTRY) == 12 && sizeof(INIFILE) == 61208);

namespace {
constexpr SOURCE source = "ini"; // in allocations

// --- Reading ---

// Appends a block to the list of a field, which is made for its first element. Result: whether the list has taken it
// over.
bool Append(LIST *&plst, Tracked<BYTE> &block) {
  if (!plst) plst = LstNewList(0);
  if (!plst || !LstInsert(plst, block.get(), LST_END)) return false;
  static_cast<void>(block.release());
  return true;
}

// Stores a list that was read, and drops one that no element made it into.
void StoreList(BYTE *pb, LIST *plst) {
  if (plst && plst->ulCount > 0)
    Store(pb, plst);
  else
    LstFreeList_(plst);
}

// Reads described data out of a file. Results are those of IniRead: 0, or 1 for something missing. The section that a
// field belongs to is given by ulStart, its first entry, and by path_, its name.
class Reader {
 public:
  explicit Reader(const INIFILE &ini) : ini_(ini), titles_(ini, true), keys_(ini, false) {}

  ULONG Read(BYTE *pb, FieldView field) {
    const UnderWay here(pInnermost_, pb, field.Extent(), nullptr);
    return ReadField(pb, field, 0);
  }

 private:
  ULONG ReadField(BYTE *pb, FieldView field, ULONG ulStart) {
    if (field.Flags() & FDSC_NOINI) return 0;
    if (!IsSection(field.Type())) return ReadValues(pb, field, ulStart, ulNoNumber);
    if (field.Count() == 0 || !field.Desc()) return 0;
    switch (field.Type()) {
      case FT_STRUCT:
        return ReadStructs(pb, field);
      case FT_STRUCTLIST:
        return ReadStructList(pb, field);
      case FT_VALUELIST:
        return ReadValueList(pb, field, ulStart);
      case FT_STRUCTPTR:
        return ReadStructPtr(pb, field);
      default:
        return 0;
    }
  }

  const char *FindValue(FieldView field, ULONG ulNumber, ULONG ulStart) {
    const INIENTRY *pentry = FindKey(field, ulNumber, ulStart);
    return pentry ? pentry->pszValue : nullptr;
  }

  const INIENTRY *FindKey(FieldView field, ULONG ulNumber, ULONG ulStart) {
    if (ulNumber != ulNoNumber) return FindNumberedKey(field, ulNumber, ulStart);
    return field.Name() ? keys_.Find(field.Name(), ulStart) : nullptr;
  }

  // Out of line: the buffer would weigh on the way of all the keys without a number.
  [[gnu::noinline]] const INIENTRY *FindNumberedKey(FieldView field, ULONG ulNumber, ULONG ulStart) {
    Name name;
    return AddName(name, field, ulNumber) ? keys_.Find(name.View(), ulStart) : nullptr;
  }

  // The elements of a value field, up to the first whose key is missing. Without a call: it is the way of most fields.
  [[gnu::always_inline]] ULONG ReadValues(BYTE *pb, FieldView field, ULONG ulStart, ULONG ulListNumber) {
    const ULONG ulElements = field.Elements();
    for (ULONG ul = 0; ul < ulElements; ul++) {
      const char *pszValue = FindValue(field, ulElements > 1 ? ul + 1 : ulListNumber, ulStart);
      if (!pszValue) return 1;
      SetValue(field, pb, pszValue);
      pb += field.ElementSize();
    }
    return 0;
  }

  // A structure within the section at hand, whose name its own adds to.
  ULONG ReadStruct(BYTE *pb, FieldView field, ULONG ulNumber) {
    const UnderWay here(pInnermost_, pb, field.Structure().Bytes(), field.Desc());
    const std::size_t cbOuter = path_.Length();
    ulDepth_++;
    const ULONG ulResult = AddName(path_, field, ulNumber) && ulDepth_ <= ulMaxNesting ? ReadSection(pb, field) : 1;
    ulDepth_--;
    path_.Shorten(cbOuter);
    return ulResult;
  }

  ULONG ReadSection(BYTE *pb, FieldView field) { // the result is that of the last field
    const INIENTRY *pentry = titles_.Find(path_.View(), 0);
    if (!pentry) return 1;
    const ULONG ulStart = static_cast<ULONG>(pentry - ini_.aentry) + 1;
    ULONG ulResult = 0;
    ForFieldsInFileOrder(field.Structure(), pb, [&](FieldView fieldWithin, BYTE *pbField) {
      ulResult = ReadField(pbField, fieldWithin, ulStart);
    });
    return ulResult;
  }

  ULONG ReadStructs(BYTE *pb, FieldView field) {
    for (ULONG ul = 0; ul < field.Count(); ul++) {
      const ULONG ulResult = ReadStruct(pb, field, field.Count() > 1 ? ul + 1 : ulNoNumber);
      if (ulResult != 0) return ulResult;
      pb += field.ElementSize();
    }
    return 0;
  }

  // A structure in a block of its own, or null when it is missing.
  Tracked<BYTE> ReadNewStruct(FieldView field, ULONG ulNumber) {
    Tracked<BYTE> block(static_cast<BYTE *>(AllocateMem(field.Structure().Bytes(), source)));
    if (block && ReadStruct(block.get(), field, ulNumber) != 0) {
      FreeContents(field.Structure(), block.get());
      block.reset();
    }
    return block;
  }

  ULONG ReadStructList(BYTE *pb, FieldView field) {
    LIST *plst = nullptr;
    for (ULONG ulNumber = 1;; ulNumber++) {
      Tracked<BYTE> block = ReadNewStruct(field, ulNumber);
      if (!block) break;
      if (Append(plst, block)) continue;
      FreeContents(field.Structure(), block.get());
      break;
    }
    StoreList(pb, plst);
    return 0;
  }

  // One value of a list: a text, or a block that holds the value; null when it is missing.
  Tracked<BYTE> ReadItem(FieldView field, ULONG ulStart, ULONG ulNumber) {
    if (field.Type() == FT_PSZ) {
      BYTE abText[sizeof(char *)] = {};
      const ULONG ulResult = ReadValues(abText, field, ulStart, ulNumber);
      return Tracked<BYTE>(ulResult == 0 ? Load<BYTE *>(abText) : nullptr);
    }
    Tracked<BYTE> block(static_cast<BYTE *>(AllocateMem(field.Extent(), source)));
    if (block && ReadValues(block.get(), field, ulStart, ulNumber) != 0) block.reset();
    return block;
  }

  ULONG ReadValueList(BYTE *pb, FieldView fieldList, ULONG ulStart) {
    const FieldView field(fieldList.Desc());
    const bool fArray = field.Elements() > 1;
    if (!IsListable(field)) return 0;
    LIST *plst = nullptr;
    for (ULONG ulNumber = 1;; ulNumber++) {
      Tracked<BYTE> item = ReadItem(field, ulStart, ulNumber);
      if (!item || !Append(plst, item) || fArray) break;
    }
    StoreList(pb, plst);
    return 0;
  }

  // The program's block, which it loses when its section is missing; or a new one. Data that lead back are not entered
  // again, and no block is freed that is still being read into.
  ULONG ReadStructPtr(BYTE *pb, FieldView field) {
    BYTE *pbStruct = Load<BYTE *>(pb);
    if (!pbStruct) {
      pbStruct = ReadNewStruct(field, ulNoNumber).release();
    } else if (UnderWay::Has(pInnermost_, pbStruct, field.Desc())) {
      return 0;
    } else if (ReadStruct(pbStruct, field, ulNoNumber) != 0) {
      if (!UnderWay::Overlaps(pInnermost_, pbStruct, field.Structure().Bytes())) MemFreeMem_(pbStruct);
      pbStruct = nullptr;
    }
    Store(pb, pbStruct);
    return 0;
  }

  const INIFILE &ini_;
  Lookup titles_;
  Lookup keys_;
  Name path_;
  ULONG ulDepth_ = 0;
  const UnderWay *pInnermost_ = nullptr;
};
} // namespace

ULONG IniRead(INIFILE *pini, void *pvData, const FDSC *pfdsc) {
  if (!pini || !pvData || !pfdsc) return 1;
  return Reader(*pini).Read(static_cast<BYTE *>(pvData), FieldView(pfdsc));
}

const char *FindTitle(INIFILE *pini, const char *pszKey, ULONG ulStart) {
  for (ULONG ul = ulStart; ul < pini->ulEntries && !pini->aentry[ul].flTitle; ul++)
    if (EqualNoCase(pini->aentry[ul].pszName, pszKey)) return pini->aentry[ul].pszValue;
  return nullptr;
}

ULONG FindStructure(INIFILE *pini, const char *pszTitle) {
  for (ULONG ul = 0; ul < pini->ulEntries; ul++)
    if (pini->aentry[ul].flTitle && EqualNoCase(pini->aentry[ul].pszName, pszTitle)) return ul + 1;
  return 0;
}

TYPEDEFAULT *IniGetTypeDefaults(void) { return const_cast<TYPEDEFAULT *>(atydTypeDefaults.data()); }
