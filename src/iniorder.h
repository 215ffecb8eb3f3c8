// iniorder.h: described data in the order of an INI file: which section and which key comes when, and its number.
// One walk serves everybody who writes such a file, or says beforehand what would be in it. It hands the pieces to a
// taker, which has
//
//   bool IsStopped() const   whether it has had enough: the walk ends
//   void OnField(FieldView, const TITLE *)                      a field, before what it holds; with its section's title
//   void OnTitle(FieldView, TITLE &)                            a section begins
//   void OnValue(FieldView, const BYTE *, const TITLE *, ULONG) a key, with its number
//   void OnEnd(FieldView, const TITLE *, ULONG)                 a key or section that is not there: the one behind the
//                                                               last of a list, or that of a null reference
//   void OnLoss(const FAULT &, FieldView, const TITLE *, ULONG) data that no file will have

#ifndef ZEBBASE_SRC_INIORDER_H
#define ZEBBASE_SRC_INIORDER_H

#include "bytes.h"
#include "fields.h"
#include "ininame.h"
#include "output.h"
#include "underway.h"
#include "zebbase/lst.h"

// A part of a section's title: the name of a structure field, within the title of the section that it belongs to.
struct TITLE {
  const TITLE *ptitleOuter;
  const char *pszName;
  ULONG ulNumber;
  ULONG ulDepth;
  ULONG ulSection; // the taker's own
};

inline void PutTitle(Output &out, const TITLE &title) { // each name with a blank before it
  if (title.ptitleOuter) PutTitle(out, *title.ptitleOuter);
  out.Put(' ');
  PutWord(out, title.pszName, title.ulNumber);
}

// Why something cannot be in a file, or in a description; without a code, there is no fault.
struct FAULT {
  ULONG ulCode = 0; // INI_ERROR_*
  const char *pszText = "";
};
inline constexpr FAULT faultNoData = {INI_ERROR_VALUE, "an item of a list without data is not written"};
inline constexpr FAULT faultTooDeep = {INI_ERROR_VALUE, "structures nest too deep to be written"};
inline constexpr FAULT faultLeadsBack = {INI_ERROR_VALUE, "it leads back to data that it is a part of"};

template <typename Taker>
class FileOrder {
 public:
  explicit FileOrder(Taker &taker) : taker_(taker) {}

  void Walk(BYTE *pb, FieldView field) { WalkField(pb, field, nullptr, ulNoNumber); }

 private:
  // An element of a value list has a number there.
  void WalkField(BYTE *pb, FieldView field, const TITLE *ptitle, ULONG ulListNumber) {
    if (field.Flags() & FDSC_NOINI) return;
    taker_.OnField(field, ptitle);
    if (taker_.IsStopped() || !field.Name() || field.Count() == 0) return;
    if (!IsSection(field.Type())) return WalkValues(pb, field, ptitle, ulListNumber);
    if (!field.Desc()) return;
    switch (field.Type()) {
      case FT_STRUCT:
        return WalkStructs(pb, field, ptitle, ulListNumber);
      case FT_STRUCTLIST:
        return WalkStructList(Load<LIST *>(pb), field, ptitle);
      case FT_VALUELIST:
        return WalkValueList(Load<LIST *>(pb), field, ptitle);
      case FT_STRUCTPTR:
        return WalkStructPtrs(pb, field, ptitle, ulListNumber);
      default:
        return;
    }
  }

  void WalkValues(BYTE *pb, FieldView field, const TITLE *ptitle, ULONG ulListNumber) {
    if (field.Type() > FT_INTERVAL) return; // reserved types have no text
    const ULONG ulElements = field.Elements();
    for (ULONG ul = 0; ul < ulElements && !taker_.IsStopped(); ul++) {
      taker_.OnValue(field, pb, ptitle, ulElements > 1 ? ul + 1 : ulListNumber);
      pb += field.ElementSize();
    }
  }

  // One section with all that the structure holds, down to the depth that the reader goes. Result: whether there is
  // one: a null structure has none, nor has a reference back to one that the walk is in.
  bool WalkStruct(BYTE *pb, FieldView field, const TITLE *ptitleOuter, ULONG ulNumber) {
    const StructureView structure = field.Structure();
    TITLE title = {ptitleOuter, field.Name(), ulNumber, ptitleOuter ? ptitleOuter->ulDepth + 1 : 1, 0};
    if (!pb) return Miss(field, ptitleOuter, ulNumber);
    if (title.ulDepth > ulMaxNesting) return Lose(faultTooDeep, field, ptitleOuter, ulNumber);
    if (UnderWay::Has(pInnermost_, pb, field.Desc())) return Lose(faultLeadsBack, field, ptitleOuter, ulNumber);
    const UnderWay here(pInnermost_, pb, structure.Bytes(), field.Desc());
    taker_.OnTitle(field, title);
    ForFieldsInFileOrder(structure, pb, [&](FieldView fieldWithin, BYTE *pbField) {
      if (!taker_.IsStopped()) WalkField(pbField, fieldWithin, &title, ulNoNumber);
    });
    return true;
  }

  bool Miss(FieldView field, const TITLE *ptitle, ULONG ulNumber) {
    if (field.Type() == FT_STRUCTLIST) return Lose(faultNoData, field, ptitle, ulNumber);
    taker_.OnEnd(field, ptitle, ulNumber);
    return false;
  }

  bool Lose(const FAULT &fault, FieldView field, const TITLE *ptitle, ULONG ulNumber) {
    taker_.OnLoss(fault, field, ptitle, ulNumber);
    return false;
  }

  void WalkStructs(BYTE *pb, FieldView field, const TITLE *ptitle, ULONG ulListNumber) {
    for (ULONG ul = 0; ul < field.Count() && !taker_.IsStopped(); ul++)
      WalkStruct(pb + ul * field.ElementSize(), field, ptitle, field.Count() > 1 ? ul + 1 : ulListNumber);
  }

  void WalkStructPtrs(BYTE *pb, FieldView field, const TITLE *ptitle, ULONG ulListNumber) {
    for (ULONG ul = 0; ul < field.Count() && !taker_.IsStopped(); ul++)
      WalkStruct(Load<BYTE *>(pb + ul * field.ElementSize()), field, ptitle, ulListNumber);
  }

  void WalkStructList(const LIST *plst, FieldView field, const TITLE *ptitle) {
    ULONG ulNumber = 1;
    for (const LISTITEM *pli = plst ? plst->pliFirst : nullptr; pli && !taker_.IsStopped(); pli = pli->pliNext)
      if (WalkStruct(static_cast<BYTE *>(pli->pvData), field, ptitle, ulNumber)) ulNumber++;
    taker_.OnEnd(field, ptitle, ulNumber);
  }

  // The data pointer of a text is the text's field, and may be null. That of any other value refers to a block with the
  // field. A list within itself is passed over.
  void WalkValueList(LIST *plst, FieldView fieldList, const TITLE *ptitle) {
    const auto *pb = reinterpret_cast<const BYTE *>(plst);
    const FieldView field(fieldList.Desc());
    ULONG ulNumber = 0;
    if (plst && UnderWay::Has(pInnermost_, pb, nullptr)) return;
    const UnderWay here(pInnermost_, pb, sizeof *plst, nullptr);
    for (LISTITEM *pli = plst ? plst->pliFirst : nullptr; pli && !taker_.IsStopped(); pli = pli->pliNext) {
      void *pvField = field.Type() == FT_PSZ ? static_cast<void *>(&pli->pvData) : pli->pvData;
      if (pvField)
        WalkField(static_cast<BYTE *>(pvField), field, ptitle, ++ulNumber);
      else
        taker_.OnLoss(faultNoData, field, ptitle, ulNumber + 1);
    }
    taker_.OnEnd(field, ptitle, ulNumber + 1);
  }

  Taker &taker_;
  const UnderWay *pInnermost_ = nullptr;
};

#endif
