// iniwriter.h: the text of INI files, for all who write them.

#ifndef ZEBBASE_SRC_INIWRITER_H
#define ZEBBASE_SRC_INIWRITER_H

#include <cstdio>
#include <string_view>

#include "fields.h"
#include "iniorder.h"
#include "output.h"
#include "zebbase/ini.h"

// The first line of a file.
void WriteHeader(FILE *pf, std::string_view svName);

// A value whose text stands in quotes.
constexpr bool IsQuoted(ULONG ulType) { return IsCharacters(ulType) || ulType == FT_PSZ; }

// The taker that writes. Nothing is cut: lines are put together in a buffer that goes to the stream when it is full,
// whatever their length. Puts makes the texts of the values.
template <auto Puts>
class FileWriter {
 public:
  explicit FileWriter(FILE *pf) : out_(pf, achBuffer_, sizeof achBuffer_) {}
  ~FileWriter() { out_.Flush(); }
  FileWriter(const FileWriter &) = delete;
  FileWriter &operator=(const FileWriter &) = delete;

  static constexpr bool IsStopped() { return false; }
  void OnField(FieldView, const TITLE *) {}
  void OnTitle(FieldView, const TITLE &title) {
    out_.Put("\n[");
    PutTitle(out_, title);
    out_.Put(" ]\n");
  }
  void OnValue(FieldView field, const BYTE *pb, const TITLE *, ULONG ulNumber) {
    const bool fQuoted = IsQuoted(field.Type());
    out_.Put("  ");
    PutWord(out_, field.Name(), ulNumber);
    out_.Put(fQuoted ? " = \"" : " = ");
    Puts(out_, field, pb);
    out_.Put(fQuoted ? "\"\n" : "\n");
  }
  void OnEnd(FieldView, const TITLE *, ULONG) {}
  void OnLoss(const FAULT &, FieldView, const TITLE *, ULONG) {}

 private:
  char achBuffer_[32768];
  Output out_;
};

// The walk over described data is shared with the reader, which writes; takers only look.
template <typename Taker>
void WalkInFileOrder(Taker &taker, const void *pvData, const FDSC *pfdsc) {
  FileOrder<Taker>(taker).Walk(static_cast<BYTE *>(const_cast<void *>(pvData)), FieldView(pfdsc));
}

#endif
