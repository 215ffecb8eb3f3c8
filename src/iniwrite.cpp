// iniwrite.cpp: writing INI files.
// Nothing is cut: lines are put together in a buffer that goes to the stream when it is full, whatever their length.

#include "iniwrite.h"

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
  void WriteField(BYTE *pb, const FDSC &fdsc, const TITLE *ptitle, ULONG ulListNumber) {
    if ((fdsc.flFlags & FDSC_NOINI) || !fdsc.pszName || fdsc.ulCount == 0) return;
    if (!IsSection(fdsc.ulType)) return WriteValues(pb, fdsc, ulListNumber);
    if (!fdsc.pvDesc) return;
    switch (fdsc.ulType) {
      case FT_STRUCT:
        return WriteStructs(pb, fdsc, ptitle, ulListNumber);
      case FT_STRUCTLIST:
        return WriteStructList(Load<LIST *>(pb), fdsc, ptitle);
      case FT_VALUELIST:
        return WriteValueList(Load<LIST *>(pb), fdsc, ptitle);
      case FT_STRUCTPTR:
        return WriteStructPtrs(pb, fdsc, ptitle, ulListNumber);
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

  void WriteValues(BYTE *pb, const FDSC &fdsc, ULONG ulListNumber) {
    if (fdsc.ulType > FT_INTERVAL) return; // reserved types have no text
    const ULONG ulElements = IsCharacters(fdsc.ulType) ? 1 : fdsc.ulCount;
    for (ULONG ul = 0; ul < ulElements; ul++) {
      WriteValue(pb, fdsc, ulElements > 1 ? ul + 1 : ulListNumber);
      pb += ElementSize(fdsc);
    }
  }

  void WriteValue(BYTE *pb, const FDSC &fdsc, ULONG ulNumber) {
    const bool fQuoted = IsCharacters(fdsc.ulType) || fdsc.ulType == FT_PSZ;
    out_.Put("  ");
    PutName(fdsc.pszName, ulNumber);
    out_.Put(fQuoted ? " = \"" : " = ");
    PutValue(out_, fdsc, pb);
    out_.Put(fQuoted ? "\"\n" : "\n");
  }

  void PutTitle(const TITLE &title) {
    if (title.ptitleOuter) PutTitle(*title.ptitleOuter);
    out_.Put(' ');
    PutName(title.pszName, title.ulNumber);
  }

  // One section with all that the structure holds, down to the depth that the reader goes. Result: whether there is one
  // to write: a null structure has none, nor has a reference back to one that is being written.
  bool WriteStruct(BYTE *pb, const FDSC &fdsc, const TITLE *ptitleOuter, ULONG ulNumber) {
    const SDSC &sdsc = *StructureOf(fdsc);
    const TITLE title = {ptitleOuter, fdsc.pszName, ulNumber, ptitleOuter ? ptitleOuter->ulDepth + 1 : 1};
    if (!pb || title.ulDepth > ulMaxNesting || UnderWay::Has(pInnermost_, pb, &sdsc)) return false;
    const UnderWay here(pInnermost_, pb, sdsc.ulSize, &sdsc);
    out_.Put("\n[");
    PutTitle(title);
    out_.Put(" ]\n");
    ForFieldsInFileOrder(
        sdsc, pb, [&](const FDSC &fdscField, BYTE *pbField) { WriteField(pbField, fdscField, &title, ulNoNumber); });
    return true;
  }

  void WriteStructs(BYTE *pb, const FDSC &fdsc, const TITLE *ptitle, ULONG ulListNumber) {
    for (ULONG ul = 0; ul < fdsc.ulCount; ul++)
      WriteStruct(pb + ul * ElementSize(fdsc), fdsc, ptitle, fdsc.ulCount > 1 ? ul + 1 : ulListNumber);
  }

  void WriteStructPtrs(BYTE *pb, const FDSC &fdsc, const TITLE *ptitle, ULONG ulListNumber) {
    for (ULONG ul = 0; ul < fdsc.ulCount; ul++)
      WriteStruct(Load<BYTE *>(pb + ul * ElementSize(fdsc)), fdsc, ptitle, ulListNumber);
  }

  void WriteStructList(const LIST *plst, const FDSC &fdsc, const TITLE *ptitle) {
    ULONG ulNumber = 1;
    for (const LISTITEM *pli = plst ? plst->pliFirst : nullptr; pli; pli = pli->pliNext)
      if (WriteStruct(static_cast<BYTE *>(pli->pvData), fdsc, ptitle, ulNumber)) ulNumber++;
  }

  // The data pointer of a text is the text's field, and may be null: it is written empty. That of any other value
  // refers to a block with the field. A list within itself is passed over.
  void WriteValueList(LIST *plst, const FDSC &fdscList, const TITLE *ptitle) {
    const auto *pb = reinterpret_cast<const BYTE *>(plst);
    if (!plst || UnderWay::Has(pInnermost_, pb, nullptr)) return;
    const UnderWay here(pInnermost_, pb, sizeof *plst, nullptr);
    const FDSC &fdsc = *static_cast<const FDSC *>(fdscList.pvDesc);
    ULONG ulNumber = 0;
    for (LISTITEM *pli = plst->pliFirst; pli; pli = pli->pliNext) {
      void *pvField = fdsc.ulType == FT_PSZ ? static_cast<void *>(&pli->pvData) : pli->pvData;
      if (pvField) WriteField(static_cast<BYTE *>(pvField), fdsc, ptitle, ++ulNumber);
    }
  }

  char achBuffer_[32768];
  Output out_;
  const UnderWay *pInnermost_ = nullptr;
};
} // namespace

INIFILE *OpenForWriting(const char *pszFile) {
  char szName[FIL_MAX_PATH];
  if (!FilGetFileNameOf(szName, pszFile)) return nullptr;
  File file(std::fopen(pszFile, "w"));
  if (!file) return nullptr;
  TextBuffer<FIL_MAX_PATH + 8> header;
  header.Put("[ ").Put(szName).Put(" ]\n");
  std::fwrite(header.Text(), 1, header.Length(), file.get());
  auto *pini = New<INIFILE>(source);
  if (pini) pini->pfile = file.release();
  return pini;
}

ULONG IniWrite(INIFILE *pini, const void *pvData, const FDSC *pfdsc) {
  if (!pini || !pini->pfile || !pvData || !pfdsc) return 0;
  // The walk over described data is shared with the reader, which writes; the writer only looks.
  Writer(pini->pfile).WriteField(static_cast<BYTE *>(const_cast<void *>(pvData)), *pfdsc, nullptr, ulNoNumber);
  return 0;
}
