// comments.h: what is taken out of the lines of a text before anybody reads them.

#ifndef ZEBBASE_SRC_COMMENTS_H
#define ZEBBASE_SRC_COMMENTS_H

#include <cstring>
#include <limits>

#include "digits.h"
#include "lines.h"
#include "output.h"
#include "text.h"

// Where a pair of characters begins, or the end.
inline const char *FindPair(const char *pch, const char *pchEnd, char ch1, char ch2) {
  while ((pch = FindChar(pch, pchEnd, ch1)) != pchEnd && pch[1] != ch2) pch++; // behind the last is the terminator
  return pch;
}

// Removes the comments of one line, collecting what lies outside of them at its beginning.
class CCommentFilter {
 public:
  CCommentFilter(LineReader &lines, BOOL &fInComment)
      : lines_(lines), fInComment_(fInComment), pch_(lines.Line()), pchEnd_(lines.End()), pchResult_(lines.Line()) {}

  bool Run() { // result: whether nothing is left, not even an empty text outside of comments
    while (pch_ != pchEnd_) {
      if (fInComment_)
        LeaveComment();
      else
        TakeText();
    }
    lines_.Shorten(static_cast<ULONG>(pchResult_ - lines_.Line()));
    return !fKeep_;
  }

 private:
  void LeaveComment() {
    pch_ = FindPair(pch_, pchEnd_, '*', '/');
    if (pch_ == pchEnd_) return;
    pch_ += 2;
    fInComment_ = 0;
  }

  // A line comment is looked for before any block comment: it ends the line wherever it stands.
  void TakeText() {
    const char *pchComment = FindPair(pch_, pchEnd_, '/', '/');
    if (pchComment != pchEnd_) {
      Keep(pchComment);
      pch_ = pchEnd_;
      return;
    }
    pchComment = FindPair(pch_, pchEnd_, '/', '*');
    Keep(pchComment);
    pch_ = pchComment;
    if (pch_ == pchEnd_) return;
    pch_ += 2;
    fInComment_ = 1;
  }

  void Keep(const char *pch) { // the text up to there; with something in it, the line is kept
    const std::size_t cb = static_cast<std::size_t>(pch - pch_);
    fKeep_ |= cb > 0;
    if (pchResult_ != pch_) std::memmove(pchResult_, pch_, cb);
    pchResult_ += cb;
  }

  LineReader &lines_;
  BOOL &fInComment_;
  const char *pch_; // what is left of the line
  const char *pchEnd_;
  char *pchResult_; // the end of what is kept, never behind what is left
  bool fKeep_ = false;
};

// Where the current line comes from.
struct PLACE {
  ULONG ulLine;
  char szFileName[128];
};

// Takes comments and line markers out of the lines of a parse, by its style. Without a constructor: it is a part of a
// block that is all zero to begin with.
class LineFilter {
 public:
  void Start(ULONG flParse) { pfnDrops_ = FilterFor(flParse); }
  void Restart() { fInComment_ = 0; }

  // Result: whether the whole of the current line is dropped.
  bool Drops(LineReader &lines, PLACE &place) { return pfnDrops_ && !IsPlain(lines) && pfnDrops_(*this, lines, place); }

 private:
  using PFNDROPS = bool (*)(LineFilter &filter, LineReader &lines, PLACE &place);

  // Whether the line surely has nothing to filter. Only C comments look for slashes, so lines of other styles never do.
  bool IsPlain(const LineReader &lines) const { return lines.IsBeforeSlash() && lines.Length() > 1 && !fInComment_; }

  static PFNDROPS FilterFor(ULONG flParse) { // null for none
    constexpr ULONG flStyle = 0x0F;          // the bits of flParse that are one comment style
    if (flParse & PRS_PREPROCESSED) return DropsLineMarker;
    switch (flParse & flStyle) {
      case PRS_CCOMMENTS:
        return DropsCComments;
      case PRS_HASHCOMMENTS:
        return DropsHashComment;
      case PRS_REMCOMMENTS:
        return DropsRemark;
      default:
        return nullptr;
    }
  }

  static bool DropsCComments(LineFilter &filter, LineReader &lines, PLACE &) {
    if (lines.IsEmpty()) return true;
    if (!filter.fInComment_ && !lines.HasSlash()) return false;
    return RemoveCComments(filter, lines);
  }
  [[gnu::noinline]] static bool RemoveCComments(LineFilter &filter, LineReader &lines) {
    return CCommentFilter(lines, filter.fInComment_).Run();
  }

  static bool DropsHashComment(LineFilter &, LineReader &lines, PLACE &) { return *FirstText(lines.Line()) == '#'; }

  static bool DropsRemark(LineFilter &, LineReader &lines, PLACE &) {
    return CompareNoCase(FirstText(lines.Line()), "rem", 3) == 0;
  }

  static bool DropsLineMarker(LineFilter &, LineReader &lines, PLACE &place) {
    if (*lines.Line() != '#') return false;
    TakeLineMarker(lines.Line() + 1, place);
    return true;
  }

  static const char *FirstText(const char *psz) { // behind white space
    while (IsWhite(*psz)) psz++;
    return psz;
  }

  // A marker is # number "name". One that is not well formed changes nothing.
  static void TakeLineMarker(const char *psz, PLACE &place) {
    psz = FirstText(psz);
    if (!IsDigit(*psz)) return;
    const ULONG ulLine = ReadDigits(psz, std::numeric_limits<ULONG>::max());
    psz = FirstText(psz);
    const char *pszEnd = *psz == '"' ? std::strchr(psz + 1, '"') : nullptr;
    if (!pszEnd) return;
    place.ulLine = ulLine;
    Format(place.szFileName, "%.*s", static_cast<int>(pszEnd - psz - 1), psz + 1);
  }

  PFNDROPS pfnDrops_;
  BOOL fInComment_; // a block comment is open
};

#endif
