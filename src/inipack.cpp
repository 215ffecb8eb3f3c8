// inipack.cpp: packing of described data into flat buffers.

#include <cstring>

#include "fields.h"
#include "reverse.h"
#include "walk.h"
#include "zebbase/ini.h"

namespace {
// Described data goes from one place to another of the same layout. A mover copies the next bytes, or passes over them.

// As they are, in runs that only pointers interrupt. Without a destination it only measures.
class Copier {
 public:
  Copier(BYTE *pbTo, const BYTE *pbFrom) : pbTo_(pbTo), pbFrom_(pbFrom) {}
  ~Copier() { Flush(); } // what stands before an error is done
  Copier(const Copier &) = delete;
  Copier &operator=(const Copier &) = delete;

  void Copy(ULONG ulCount, ULONG ulWidth) { ulOffset_ += ulCount * ulWidth; }
  void Pass(ULONG ulBytes) {
    Flush();
    ulOffset_ += ulBytes;
    ulRun_ = ulOffset_;
  }
  ULONG Position() const { return ulOffset_; }
  bool Repeat(ULONG ulStart, ULONG ulTimes) {
    if (pbTo_ && ulRun_ > ulStart) return false; // elements with a gap
    ulOffset_ += (ulOffset_ - ulStart) * ulTimes;
    return true;
  }

 private:
  void Flush() {
    if (pbTo_ && ulRun_ < ulOffset_) std::memcpy(pbTo_ + ulRun_, pbFrom_ + ulRun_, ulOffset_ - ulRun_);
  }

  BYTE *const pbTo_;
  const BYTE *const pbFrom_;
  ULONG ulOffset_ = 0;
  ULONG ulRun_ = 0; // from here to ulOffset_ is still to be copied
};

// With every number reversed.
class ReversingCopier {
 public:
  ReversingCopier(BYTE *pbTo, const BYTE *pbFrom) : pbTo_(pbTo), pbFrom_(pbFrom) {}

  void Copy(ULONG ulCount, ULONG ulWidth) {
    const ULONG ulAt = ulOffset_;
    Pass(ulCount * ulWidth);
    CopyElementsReversed(pbTo_ + ulAt, pbFrom_ + ulAt, ulCount, ulWidth);
  }
  void Pass(ULONG ulBytes) { ulOffset_ += ulBytes; }
  ULONG Position() const { return ulOffset_; }
  bool Repeat(ULONG, ULONG) const { return false; }

 private:
  BYTE *const pbTo_;
  const BYTE *const pbFrom_;
  ULONG ulOffset_ = 0;
};

// The visitor that tells a mover what to do with each field.
template <typename Mover>
class DataVisitor : public Mover {
 public:
  using Mover::Mover;

  ULONG OnField(FieldView field) {
    const ULONG ulWidth = ElementBytes(field.Type());
    if (ulWidth == 0) return OnUntravelled(field);
    this->Copy(field.Count(), ulWidth);
    return 0;
  }

 private:
  [[gnu::noinline]] ULONG OnUntravelled(FieldView field) { // inline, it slows the others down
    if (!IsReference(field.Type())) return ERROR_FDSC_TYPE;
    if ((field.Flags() & flPointerMarks) == 0) return ERROR_FDSC_POINTER;
    this->Pass(field.Extent());
    return 0;
  }
};
} // namespace

ULONG IniSizeofData(const FDSC *pfdsc, const void *, ULONG *pulSize) {
  DataVisitor<Copier> visitor(nullptr, nullptr);
  const ULONG rc = WalkField(FieldView(pfdsc), visitor);
  *pulSize = visitor.Position();
  return rc;
}

ULONG IniPackData(const FDSC *pfdsc, const void *pvData, BYTE *pbBuffer) {
  DataVisitor<Copier> visitor(pbBuffer, static_cast<const BYTE *>(pvData));
  return WalkField(FieldView(pfdsc), visitor);
}

ULONG IniUnpackData(const FDSC *pfdsc, void *pvData, const BYTE *pbBuffer, ULONG fSwap) {
  BYTE *pbTo = static_cast<BYTE *>(pvData);
  if (!pbTo || !fSwap) {
    DataVisitor<Copier> visitor(pbTo, pbBuffer);
    return WalkField(FieldView(pfdsc), visitor);
  }
  DataVisitor<ReversingCopier> visitor(pbTo, pbBuffer);
  return WalkField(FieldView(pfdsc), visitor);
}
