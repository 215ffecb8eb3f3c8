// iniwrite.cpp: writing INI files.
// Nothing is cut: lines are put together in a buffer that goes to the stream when it is full, whatever their length.

#include "iniwrite.h"

#include <cerrno>
#include <cstdio>

#include "bytes.h"
#include "convert.h"
#include "fields.h"
#include "guard.h"
#include "memory.h"
#include "output.h"
#include "underway.h"
#include "zebbase/fil.h"
#include "zebbase/lst.h"

namespace {
constexpr SOURCE source = "ini"; // in allocations
constexpr ULONG ulNoNumber = 0;

// A part of a section's title: the name of a structure field, within the title of the section that it belongs to.
struct TITLE {
  const TITLE *ptitleOuter;
  const char *pszName;
  ULONG ulNumber;
  ULONG ulDepth;
};

class Writer {
 public:
  explicit Writer(FILE *pf) : out_(pf, achBuffer_, sizeof achBuffer_) {}
  ~Writer() { out_.Flush(); }
  Writer(const Writer &) = delete;
  Writer &operator=(const Writer &) = delete;

  // Writes one field. An element of a value list has a number there.
  void WriteField(BYTE *pb, FieldView field, const TITLE *ptitle, ULONG ulListNumber) {
    if ((field.Flags() & FDSC_NOINI) || !field.Name() || field.Count() == 0) return;
    if (!IsSection(field.Type())) return WriteValues(pb, field, ulListNumber);
    if (!field.Desc()) return;
    switch (field.Type()) {
      case FT_STRUCT:
        return WriteStructs(pb, field, ptitle, ulListNumber);
      case FT_STRUCTLIST:
        return WriteStructList(Load<LIST *>(pb), field, ptitle);
      case FT_VALUELIST:
        return WriteValueList(Load<LIST *>(pb), field, ptitle);
      case FT_STRUCTPTR:
        return WriteStructPtrs(pb, field, ptitle, ulListNumber);
      default:
        return;
    }
  }

 private:
  void PutName(const char *pszName, ULONG ulNumber) {
    out_.Put(pszName);
    if (ulNumber == ulNoNumber) return;
    out_.Put(' ');
    out_.PutNumber(ulNumber);
  }

  void WriteValues(BYTE *pb, FieldView field, ULONG ulListNumber) {
    if (field.Type() > FT_INTERVAL) return; // reserved types have no text
    const ULONG ulElements = field.Elements();
    for (ULONG ul = 0; ul < ulElements; ul++) {
      WriteValue(pb, field, ulElements > 1 ? ul + 1 : ulListNumber);
      pb += field.ElementSize();
    }
  }

  void WriteValue(BYTE *pb, FieldView field, ULONG ulNumber) {
    const bool fQuoted = IsCharacters(field.Type()) || field.Type() == FT_PSZ;
    out_.Put("  ");
    PutName(field.Name(), ulNumber);
    out_.Put(fQuoted ? " = \"" : " = ");
    PutValue(out_, field, pb);
    out_.Put(fQuoted ? "\"\n" : "\n");
  }

  void PutTitle(const TITLE &title) {
    if (title.ptitleOuter) PutTitle(*title.ptitleOuter);
    out_.Put(' ');
    PutName(title.pszName, title.ulNumber);
  }

  // One section with all that the structure holds, down to the depth that the reader goes. Result: whether there is one
  // to write: a null structure has none, nor has a reference back to one that is being written.
  bool WriteStruct(BYTE *pb, FieldView field, const TITLE *ptitleOuter, ULONG ulNumber) {
    const StructureView structure = field.Structure();
    const TITLE title = {ptitleOuter, field.Name(), ulNumber, ptitleOuter ? ptitleOuter->ulDepth + 1 : 1};
    if (!pb || title.ulDepth > ulMaxNesting || UnderWay::Has(pInnermost_, pb, field.Desc())) return false;
    const UnderWay here(pInnermost_, pb, structure.Bytes(), field.Desc());
    out_.Put("\n[");
    PutTitle(title);
    out_.Put(" ]\n");
    ForFieldsInFileOrder(structure, pb, [&](FieldView fieldWithin, BYTE *pbField) {
      WriteField(pbField, fieldWithin, &title, ulNoNumber);
    });
    return true;
  }

  void WriteStructs(BYTE *pb, FieldView field, const TITLE *ptitle, ULONG ulListNumber) {
    for (ULONG ul = 0; ul < field.Count(); ul++)
      WriteStruct(pb + ul * field.ElementSize(), field, ptitle, field.Count() > 1 ? ul + 1 : ulListNumber);
  }

  void WriteStructPtrs(BYTE *pb, FieldView field, const TITLE *ptitle, ULONG ulListNumber) {
    for (ULONG ul = 0; ul < field.Count(); ul++)
      WriteStruct(Load<BYTE *>(pb + ul * field.ElementSize()), field, ptitle, ulListNumber);
  }

  void WriteStructList(const LIST *plst, FieldView field, const TITLE *ptitle) {
    ULONG ulNumber = 1;
    for (const LISTITEM *pli = plst ? plst->pliFirst : nullptr; pli; pli = pli->pliNext)
      if (WriteStruct(static_cast<BYTE *>(pli->pvData), field, ptitle, ulNumber)) ulNumber++;
  }

  // The data pointer of a text is the text's field, and may be null: it is written empty. That of any other value
  // refers to a block with the field. A list within itself is passed over.
  void WriteValueList(LIST *plst, FieldView fieldList, const TITLE *ptitle) {
    const auto *pb = reinterpret_cast<const BYTE *>(plst);
    if (!plst || UnderWay::Has(pInnermost_, pb, nullptr)) return;
    const UnderWay here(pInnermost_, pb, sizeof *plst, nullptr);
    const FieldView field(fieldList.Desc());
    ULONG ulNumber = 0;
    for (LISTITEM *pli = plst->pliFirst; pli; pli = pli->pliNext) {
      void *pvField = field.Type() == FT_PSZ ? static_cast<void *>(&pli->pvData) : pli->pvData;
      if (pvField) WriteField(static_cast<BYTE *>(pvField), field, ptitle, ++ulNumber);
    }
  }

  char achBuffer_[32768];
  Output out_;
  const UnderWay *pInnermost_ = nullptr;
};
} // namespace

INIFILE *OpenForWriting(const char *pszFile, ErrorRecord &error) {
  char szName[FIL_MAX_PATH];
  if (!FilGetFileNameOf(szName, pszFile)) return error.Set(INI_ERROR_ARGUMENT, 0, "the name is too long"), nullptr;
  File file(std::fopen(pszFile, "w"));
  if (!file) return error.SetSystem(errno), nullptr;
  TextBuffer<FIL_MAX_PATH + 8> header;
  header.Put("[ ").Put(szName).Put(" ]\n");
  std::fwrite(header.Text(), 1, header.Length(), file.get());
  auto *pini = New<INIFILE>(source);
  if (!pini) return error.SetSystem(ENOMEM), nullptr;
  pini->pfile = file.release();
  return pini;
}

ULONG IniWrite(INIFILE *pini, const void *pvData, const FDSC *pfdsc) {
  if (!pini || !pini->pfile || !pvData || !pfdsc) return 0;
  // The walk over described data is shared with the reader, which writes; the writer only looks.
  Writer(pini->pfile)
      .WriteField(static_cast<BYTE *>(const_cast<void *>(pvData)), FieldView(pfdsc), nullptr, ulNoNumber);
  return 0;
}
