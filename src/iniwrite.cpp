// iniwrite.cpp: writing INI files.
// Nothing is cut: lines are put together in a buffer that goes to the stream when it is full, whatever their length.

#include "iniwrite.h"

#include <cstdio>

#include "bytes.h"
#include "convert.h"
#include "fields.h"
#include "guard.h"
#include "output.h"
#include "zebbase/fil.h"
#include "zebbase/lst.h"
#include "zebbase/mem.h"

namespace {
constexpr char szUnit[] = "ini"; // the source name in allocations
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

  // One section with all that the structure holds; a null structure has none. The depth ends data that refer to
  // themselves.
  void WriteStruct(BYTE *pb, const FDSC &fdsc, const TITLE *ptitleOuter, ULONG ulNumber) {
    const TITLE title = {ptitleOuter, fdsc.pszName, ulNumber, ptitleOuter ? ptitleOuter->ulDepth + 1 : 1};
    if (!pb || title.ulDepth > ulMaxNesting) return;
    out_.Put("\n[");
    PutTitle(title);
    out_.Put(" ]\n");
    ForFieldsInFileOrder(*StructureOf(fdsc), pb, [&](const FDSC &fdscField, BYTE *pbField) {
      WriteField(pbField, fdscField, &title, ulNoNumber);
    });
  }

  void WriteStructs(BYTE *pb, const FDSC &fdsc, const TITLE *ptitle, ULONG ulListNumber) {
    for (ULONG ul = 0; ul < fdsc.ulCount; ul++)
      WriteStruct(pb + ul * ElementSize(fdsc), fdsc, ptitle, fdsc.ulCount > 1 ? ul + 1 : ulListNumber);
  }

  void WriteStructPtrs(BYTE *pb, const FDSC &fdsc, const TITLE *ptitle, ULONG ulListNumber) {
    for (ULONG ul = 0; ul < fdsc.ulCount; ul++)
      WriteStruct(Load<BYTE *>(pb + ul * ElementSize(fdsc)), fdsc, ptitle, ulListNumber);
  }

  // Calls a function for each node that carries data, and counts these from 1. A text may be null: it is written empty.
  template <typename OnItem>
  static void ForItems(const LIST *plst, bool fTexts, OnItem onItem) {
    ULONG ulNumber = 0;
    for (LISTITEM *pli = plst ? plst->pliFirst : nullptr; pli; pli = pli->pliNext)
      if (pli->pvData || fTexts) onItem(pli, ++ulNumber);
  }

  void WriteStructList(const LIST *plst, const FDSC &fdsc, const TITLE *ptitle) {
    ForItems(plst, false, [&](LISTITEM *pli, ULONG ulNumber) {
      WriteStruct(static_cast<BYTE *>(pli->pvData), fdsc, ptitle, ulNumber);
    });
  }

  // The data pointer of a text is the text's field; that of any other value refers to a block with the field.
  void WriteValueList(const LIST *plst, const FDSC &fdscList, const TITLE *ptitle) {
    const FDSC &fdsc = *static_cast<const FDSC *>(fdscList.pvDesc);
    ForItems(plst, fdsc.ulType == FT_PSZ, [&](LISTITEM *pli, ULONG ulNumber) {
      void *pvField = fdsc.ulType == FT_PSZ ? static_cast<void *>(&pli->pvData) : pli->pvData;
      WriteField(static_cast<BYTE *>(pvField), fdsc, ptitle, ulNumber);
    });
  }

  char achBuffer_[32768];
  Output out_;
};
} // namespace

INIFILE *OpenForWriting(const char *pszFile) {
  char szName[FIL_MAX_PATH];
  if (!FilGetFileNameOf(szName, pszFile)) return nullptr;
  File file(std::fopen(pszFile, "w"));
  if (!file) return nullptr;
  TextBuffer<FIL_MAX_PATH + 8> header;
  header.Put("[ ").Put(szName).Put(" ]\n");
  std::fwrite(header.View().data(), 1, header.Length(), file.get());
  auto *pini = static_cast<INIFILE *>(MemAllocMem_(sizeof(INIFILE), __LINE__, szUnit));
  if (pini) pini->pfile = file.release();
  return pini;
}

ULONG IniWrite(INIFILE *pini, const void *pvData, const FDSC *pfdsc) {
  if (!pini || !pini->pfile || !pvData || !pfdsc) return 0;
  // The walk over described data is shared with the reader, which writes; the writer only looks.
  Writer(pini->pfile).WriteField(static_cast<BYTE *>(const_cast<void *>(pvData)), *pfdsc, nullptr, ulNoNumber);
  return 0;
}
