// inifdsc.cpp: packing of descriptions into flat buffers.
//
// A packed description is the FDSC at offset 0 and, from there on without gaps, the items of each field, depth first:
//
//   name | format | 0 to 3 bytes | SDSC | the items of its fields            (FT_DOTTED, FT_STRUCT)
//                                | EDSC | its names                          (FT_ENUM16, FT_ENUM32)
//
// FdscPacker writes this order, FdscChecker holds a buffer against it, FdscUnpacker follows the offsets. Records are
// only reached by Load and Store, since the buffer may lie at any byte offset.

#include <cassert>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <initializer_list>

#include "bytes.h"
#include "convert.h"
#include "fields.h"
#include "reverse.h"
#include "zebbase/ini.h"

static_assert(sizeof(FDSC) == 28 && offsetof(FDSC, ulType) == 12 && offsetof(FDSC, pvDesc) == 24);
static_assert(sizeof(SDSC) == 1696 && offsetof(SDSC, afdsc) == 16);
static_assert(sizeof(EDSC) == 132 && offsetof(EDSC, apszName) == 4 && offsetof(EDSC, alValue) == 68);

namespace {
constexpr ULONG ulAlignment = 4;

// What a field nests that travels with it: not what a reference leads to.
inline constexpr auto anestedTravelling = ByType<NESTED>(
    [](const FIELDTYPE &type) { return type.storage == STORAGE::Reference ? NESTED::None : type.nested; });

constexpr NESTED NestedOf(ULONG ulType) { return ulType < FT_TYPES ? anestedTravelling[ulType] : NESTED::None; }

// A description travels only when its pointers carry both marks.
constexpr ULONG RefuseUnmarked(ULONG ulType, ULONG flFlags) {
  return IsReference(ulType) && (flFlags & flPointerMarks) != flPointerMarks ? ERROR_FDSC_POINTER : 0;
}

constexpr ULONG Aligned(ULONG ul) { return (ul + ulAlignment - 1) & ~(ulAlignment - 1); }

constexpr ULONG FieldOffset(ULONG ulSdsc, ULONG ulField) {
  return ulSdsc + offsetof(SDSC, afdsc) + ulField * sizeof(FDSC);
}
constexpr ULONG NameOffset(ULONG ulEdsc, ULONG ulName) {
  return ulEdsc + offsetof(EDSC, apszName) + ulName * sizeof(char *);
}
constexpr ULONG ValueOffset(ULONG ulEdsc, ULONG ulValue) {
  return ulEdsc + offsetof(EDSC, alValue) + ulValue * sizeof(LONG);
}

// Packs a description; without a buffer it only measures, and takes unmarked pointers for marked ones.
class FdscPacker {
 public:
  explicit FdscPacker(BYTE *pbBuffer) : pbBuffer_(pbBuffer) {}

  ULONG Pack(const FDSC *pfdsc) {
    Append(pfdsc, sizeof *pfdsc);
    return PackFdscField(0, FieldView(pfdsc).Copy());
  }

  ULONG Size() const { return ulNext_; }
  ULONG NestedFields() const { return ulNestedFields_; }

 private:
  // Both tell where the item stands; a text that is not there stands at 0.
  ULONG Append(const void *pv, ULONG ulBytes) {
    const ULONG ulAt = ulNext_;
    if (pbBuffer_) std::memcpy(pbBuffer_ + ulAt, pv, ulBytes);
    ulNext_ += ulBytes;
    return ulAt;
  }
  ULONG AppendText(const char *psz) { return psz ? Append(psz, std::strlen(psz) + 1) : 0; }

  void Refer(ULONG ulAt, ULONG ulTarget) {
    if (pbBuffer_) Store(pbBuffer_ + ulAt, ulTarget);
  }

  // Packs what hangs on a field whose copy is at ulAt.
  ULONG PackFdscField(ULONG ulAt, const FDSC &fdsc) {
    const ULONG rc = pbBuffer_ ? RefuseUnmarked(fdsc.ulType, fdsc.flFlags) : 0;
    if (rc != 0) return rc;
    Refer(ulAt + offsetof(FDSC, pszName), AppendText(fdsc.pszName));
    Refer(ulAt + offsetof(FDSC, pszFormat), AppendText(fdsc.pszFormat));
    if (fdsc.pvDesc) ulNext_ = Aligned(ulNext_);
    Refer(ulAt + offsetof(FDSC, pvDesc), fdsc.pvDesc ? ulNext_ : 0);
    return fdsc.pvDesc ? PackNested(fdsc) : 0;
  }

  ULONG PackNested(const FDSC &fdsc) {
    const NESTED nested = NestedOf(fdsc.ulType);
    if (nested == NESTED::Structure) return PackStructure(fdsc.pvDesc);
    if (nested == NESTED::Enumeration) PackEnumeration(fdsc.pvDesc);
    return 0;
  }

  ULONG PackStructure(const void *pvSdsc) {
    const StructureView fields(pvSdsc);
    ULONG ulField = Append(pvSdsc, sizeof(SDSC)) + offsetof(SDSC, afdsc);
    ulNestedFields_ += fields.size();
    for (const FieldView field : fields) {
      const ULONG rc = PackFdscField(ulField, field.Copy());
      if (rc != 0) return rc;
      ulField += sizeof(FDSC);
    }
    return 0;
  }

  void PackEnumeration(const void *pvEdsc) {
    const EDSC edsc = Load<EDSC>(pvEdsc);
    const ULONG ulAt = Append(&edsc, sizeof edsc);
    for (ULONG i = 0; i < INI_MAX_NAMES; i++) Refer(NameOffset(ulAt, i), AppendText(edsc.apszName[i]));
  }

  BYTE *const pbBuffer_;
  ULONG ulNext_ = 0; // where the next item goes
  ULONG ulNestedFields_ = 0;
};

// Converts a packed description in place.
class FdscUnpacker {
 public:
  FdscUnpacker(BYTE *pbBuffer, bool fSwap) : pbBuffer_(pbBuffer), fSwap_(fSwap) {}

  ULONG UnpackFdscField(ULONG ulAt) {
    for (const ULONG ul :
         {offsetof(FDSC, ulTag), offsetof(FDSC, flFlags), offsetof(FDSC, ulType), offsetof(FDSC, ulCount)})
      ConvertNumber(ulAt + ul);
    const ULONG ulType = Word(ulAt + offsetof(FDSC, ulType));
    const ULONG rc = RefuseUnmarked(ulType, Word(ulAt + offsetof(FDSC, flFlags)));
    if (rc != 0) return rc;
    ConvertReference(ulAt + offsetof(FDSC, pszName));
    ConvertReference(ulAt + offsetof(FDSC, pszFormat));
    const ULONG ulNested = ConvertReference(ulAt + offsetof(FDSC, pvDesc));
    return ulNested != 0 ? UnpackNested(ulType, ulNested) : 0;
  }

 private:
  ULONG UnpackNested(ULONG ulType, ULONG ulAt) {
    const NESTED nested = NestedOf(ulType);
    if (nested == NESTED::Structure) return UnpackStructure(ulAt);
    if (nested == NESTED::Enumeration) UnpackEnumeration(ulAt);
    return 0;
  }

  ULONG UnpackStructure(ULONG ulAt) {
    for (const ULONG ul : {offsetof(SDSC, ulFields), offsetof(SDSC, ulTag), offsetof(SDSC, ulSize)})
      ConvertNumber(ulAt + ul);
    const ULONG ulFields = StructureView(pbBuffer_ + ulAt).size();
    for (ULONG i = 0; i < ulFields; i++) {
      const ULONG rc = UnpackFdscField(FieldOffset(ulAt, i));
      if (rc != 0) return rc;
    }
    return 0;
  }

  void UnpackEnumeration(ULONG ulAt) {
    ConvertNumber(ulAt + offsetof(EDSC, ulCount));
    for (ULONG i = 0; i < INI_MAX_NAMES; i++) {
      ConvertReference(NameOffset(ulAt, i));
      ConvertNumber(ValueOffset(ulAt, i));
    }
  }

  ULONG Word(ULONG ulAt) const { return Load<ULONG>(pbBuffer_ + ulAt); }

  void ConvertNumber(ULONG ulAt) {
    if (fSwap_) Reverse<ULONG>(pbBuffer_ + ulAt);
  }

  // Makes a pointer of an offset, which is the result; 0 stays a null pointer.
  ULONG ConvertReference(ULONG ulAt) {
    ConvertNumber(ulAt);
    const ULONG ulTarget = Word(ulAt);
    if (ulTarget != 0) Store(pbBuffer_ + ulAt, pbBuffer_ + ulTarget);
    return ulTarget;
  }

  BYTE *const pbBuffer_;
  const bool fSwap_;
};

// Holds a packed description against the order in which FdscPacker writes. What is accepted moves ulNext_ forward, so
// nothing is met twice and the walk ends.
//
// The same goes for what the description will be used for: the steps that an operation takes over the data are counted,
// with each element of an array, and held against the bytes that they are taken for.
class FdscChecker {
 public:
  FdscChecker(const BYTE *pbBuffer, ULONG ulSize, bool fSwap) : pbBuffer_(pbBuffer), ulSize_(ulSize), fSwap_(fSwap) {}

  ULONG Check() {
    if (!pbBuffer_ || ulSize_ < sizeof(FDSC)) return ERROR_FDSC_LAYOUT;
    ulNext_ = sizeof(FDSC);
    SCOPE scope;
    return CheckField(0, 0, scope);
  }

 private:
  // What the operations go over. A step is a field, or a name in the title of a structure's section.
  struct SCOPE {
    std::uint64_t ullExtent = 0; // bytes of data
    std::uint64_t ullSteps = 0;
  };

  ULONG Word(ULONG ulAt) const {
    const ULONG ul = Load<ULONG>(pbBuffer_ + ulAt);
    return fSwap_ ? Reversed(ul) : ul;
  }

  // Gives the scope of a field when it is fine.
  ULONG CheckField(ULONG ulAt, ULONG ulDepth, SCOPE &scope) {
    const ULONG ulType = Word(ulAt + offsetof(FDSC, ulType));
    if (IsReserved(ulType)) return ERROR_FDSC_TYPE;
    ULONG rc = RefuseUnmarked(ulType, Word(ulAt + offsetof(FDSC, flFlags)));
    const ULONG ulItems = ulNext_;
    if (rc == 0) rc = TakeText(ulAt + offsetof(FDSC, pszName));
    if (rc == 0) rc = TakeFormat(ulAt + offsetof(FDSC, pszFormat), ulType);
    SCOPE scopeNested;
    if (rc == 0) rc = CheckNested(ulAt + offsetof(FDSC, pvDesc), ulType, ulDepth, scopeNested);
    if (rc != 0) return rc;
    const ULONG ulCount = Word(ulAt + offsetof(FDSC, ulCount));
    return Multiply(ulType, ulCount, scopeNested, sizeof(FDSC) + ulNext_ - ulItems, scope);
  }

  // Gives the scope of a field, by that of one element where it is a structure. ulBytes is what its description takes.
  static ULONG Multiply(ULONG ulType, ULONG ulCount, const SCOPE &scopeNested, ULONG ulBytes, SCOPE &scope) {
    const bool fStructure = ulType == FT_STRUCT;
    scope.ullExtent = ulCount * (fStructure ? scopeNested.ullExtent : atydTypeDefaults[ulType].ulSize);
    if (scope.ullExtent > INI_MAX_EXTENT) return ERROR_FDSC_LIMIT;
    const std::uint64_t ullMostSteps = scope.ullExtent * INI_MAX_STEPS + ulBytes;
    const ULONG ulTimes = fStructure ? ulCount : 1;
    if (ulTimes > 0 && scopeNested.ullSteps > (ullMostSteps - 1) / ulTimes) return ERROR_FDSC_LIMIT;
    scope.ullSteps = scopeNested.ullSteps * ulTimes + 1;
    return 0;
  }

  // What the reference at ulAt leads to; gives the scope of a structure.
  ULONG CheckNested(ULONG ulAt, ULONG ulType, ULONG ulDepth, SCOPE &scope) {
    const ULONG ulNested = Word(ulAt);
    if (ulNested == 0) return 0;
    const NESTED nested = NestedOf(ulType);
    const ULONG ulBytes = nested == NESTED::Structure ? sizeof(SDSC) : nested == NESTED::Enumeration ? sizeof(EDSC) : 0;
    if (!TakeRecord(ulNested, ulBytes)) return ERROR_FDSC_LAYOUT;
    if (nested == NESTED::Enumeration) return CheckEnumeration(ulNested);
    if (nested == NESTED::None) return 0;
    const ULONG rc = CheckStructure(ulNested, ulDepth + 1, scope);
    if (rc != 0) return rc;
    if (ulType != FT_STRUCT) return 0; // a dotted field has no section, and a size of its own
    scope.ullSteps += ulDepth + 1;
    return scope.ullExtent == Word(ulNested + offsetof(SDSC, ulSize)) ? 0 : ERROR_FDSC_SIZE;
  }

  ULONG CheckStructure(ULONG ulAt, ULONG ulDepth, SCOPE &scope) {
    const ULONG ulFields = Word(ulAt + offsetof(SDSC, ulFields));
    if (ulFields > INI_MAX_FIELDS || ulDepth > INI_MAX_DEPTH) return ERROR_FDSC_LIMIT;
    for (ULONG i = 0; i < ulFields; i++) {
      SCOPE scopeField;
      const ULONG rc = CheckField(FieldOffset(ulAt, i), ulDepth, scopeField);
      if (rc != 0) return rc;
      scope.ullExtent += scopeField.ullExtent;
      scope.ullSteps += scopeField.ullSteps;
    }
    return 0;
  }

  ULONG CheckEnumeration(ULONG ulAt) {
    if (Word(ulAt + offsetof(EDSC, ulCount)) > INI_MAX_NAMES) return ERROR_FDSC_LIMIT;
    for (ULONG i = 0; i < INI_MAX_NAMES; i++) {
      const ULONG rc = TakeText(NameOffset(ulAt, i));
      if (rc != 0) return rc;
    }
    return 0;
  }

  // The reference at ulAt is null or leads to a text that comes next and ends inside the buffer.
  ULONG TakeText(ULONG ulAt) {
    const ULONG ulText = Word(ulAt);
    if (ulText == 0) return 0;
    if (ulText != ulNext_) return ERROR_FDSC_LAYOUT;
    const ULONG ulMost = std::min<ULONG>(ulSize_ - ulText, INI_MAX_TEXT + 1);
    const void *pvEnd = std::memchr(pbBuffer_ + ulText, '\0', ulMost);
    if (!pvEnd) return ulMost > INI_MAX_TEXT ? ERROR_FDSC_LIMIT : ERROR_FDSC_LAYOUT;
    ulNext_ = static_cast<ULONG>(static_cast<const BYTE *>(pvEnd) - pbBuffer_) + 1;
    return 0;
  }

  ULONG TakeFormat(ULONG ulAt, ULONG ulType) {
    const ULONG ulText = Word(ulAt);
    const ULONG rc = TakeText(ulAt);
    if (rc != 0 || ulText == 0) return rc;
    return IsFormatFor(ulType, reinterpret_cast<const char *>(pbBuffer_ + ulText)) ? 0 : ERROR_FDSC_FORMAT;
  }

  // Whether a record stands at the next aligned place, inside the buffer.
  bool TakeRecord(ULONG ulAt, ULONG ulBytes) {
    assert(ulNext_ <= ulSize_);
    if (ulAt != Aligned(ulNext_) || ulAt > ulSize_ || ulBytes > ulSize_ - ulAt) return false;
    ulNext_ = ulAt + ulBytes;
    return true;
  }

  const BYTE *const pbBuffer_;
  const ULONG ulSize_;
  const bool fSwap_;
  ULONG ulNext_ = 0; // where the packer puts the next item; never beyond ulSize_
};
} // namespace

ULONG IniSizeofFdsc(const FDSC *pfdsc, ULONG *pulSize) {
  FdscPacker packer(nullptr);
  packer.Pack(pfdsc);
  *pulSize = packer.Size() + packer.NestedFields() * sizeof(FDSC);
  return 0;
}

ULONG IniPackFdsc(const FDSC *pfdsc, BYTE *pbBuffer) { return FdscPacker(pbBuffer).Pack(pfdsc); }

ULONG IniCheckFdsc(const BYTE *pbBuffer, ULONG ulSize, ULONG fSwap) {
  return FdscChecker(pbBuffer, ulSize, fSwap != 0).Check();
}

ULONG IniUnpackFdsc(BYTE *pbBuffer, ULONG fSwap) { return FdscUnpacker(pbBuffer, fSwap != 0).UnpackFdscField(0); }
