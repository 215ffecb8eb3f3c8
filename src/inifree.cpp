// inifree.cpp: releasing what described data own.
// A pointer is null before what it refers to is entered. So data that lead back end by themselves, and nothing is freed
// that the walk is still in.

#include "inifree.h"

#include <utility>

#include "bytes.h"
#include "underway.h"
#include "zebbase/lst.h"
#include "zebbase/mem.h"

namespace {
template <typename T> // the pointer at any address, which becomes null
T *TakePointer(BYTE *pb) {
  T *pt = Load<T *>(pb);
  Store<T *>(pb, nullptr);
  return pt;
}

class Releaser {
 public:
  void ReleaseField(BYTE *pb, FieldView field) {
    const bool fOwns = field.Type() == FT_PSZ || (IsSection(field.Type()) && field.Desc());
    if (!fOwns || (field.Flags() & FDSC_NOINI)) return;
    const UnderWay here(pInnermost_, pb, field.Extent(), nullptr);
    for (ULONG ul = 0; ul < field.Count(); ul++) ReleaseElement(pb + ul * field.ElementSize(), field);
  }

  void ReleaseStructure(BYTE *pb, StructureView structure) {
    const UnderWay here(pInnermost_, pb, structure.Bytes(), nullptr);
    for (const FieldView field : structure) {
      ReleaseField(pb, field);
      pb += field.Extent();
    }
  }

 private:
  void ReleaseElement(BYTE *pb, FieldView field) {
    switch (field.Type()) {
      case FT_PSZ:
        return MemFreeString_(TakePointer<char>(pb));
      case FT_STRUCT:
        return ReleaseStructure(pb, field.Structure());
      case FT_STRUCTPTR:
        return ReleaseBlock(TakePointer<BYTE>(pb), field);
      case FT_STRUCTLIST:
      case FT_VALUELIST:
        return ReleaseList(TakePointer<LIST>(pb), field);
      default:
        return;
    }
  }

  bool IsUnderWay(const void *pv, ULONG ulBytes) const {
    return UnderWay::Overlaps(pInnermost_, static_cast<const BYTE *>(pv), ulBytes);
  }

  void ReleaseBlock(BYTE *pb, FieldView field) { // with a structure
    if (!pb || IsUnderWay(pb, field.Structure().Bytes())) return;
    ReleaseStructure(pb, field.Structure());
    MemFreeMem_(pb);
  }

  void ReleaseList(LIST *plst, FieldView field) {
    if (!plst || IsUnderWay(plst, sizeof *plst)) return;
    const UnderWay here(pInnermost_, reinterpret_cast<BYTE *>(plst), sizeof *plst, nullptr);
    for (LISTITEM *pli = plst->pliFirst; pli; pli = pli->pliNext) {
      auto *pb = static_cast<BYTE *>(std::exchange(pli->pvData, nullptr));
      if (field.Type() == FT_STRUCTLIST)
        ReleaseBlock(pb, field);
      else
        ReleaseItem(pb, FieldView(field.Desc()));
    }
    LstDeleteAllBoth(plst);
    LstFreeList_(plst);
  }

  void ReleaseItem(BYTE *pb, FieldView field) { // a text, or a block with the field
    if (!pb || IsUnderWay(pb, field.Extent())) return;
    if (field.Type() != FT_PSZ) ReleaseField(pb, field);
    MemFreeMem_(pb);
  }

  const UnderWay *pInnermost_ = nullptr;
};
} // namespace

void FreeContents(StructureView structure, BYTE *pb) { Releaser().ReleaseStructure(pb, structure); }

void IniFreeData(void *pvData, const FDSC *pfdsc) {
  if (pvData && pfdsc) Releaser().ReleaseField(static_cast<BYTE *>(pvData), FieldView(pfdsc));
}
