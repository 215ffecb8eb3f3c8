// lines.h: a text file, standard input, or a text in memory as lines.
// A file is read in large pieces. A text comes in such pieces, too: it is the program's, and not to be written. A line
// stays where it was read, and whoever filters it shortens it there:
//
//   achBuffer_  | delivered | current line, \0 | not yet delivered | free | spare |
//                           ^pszLine_          ^pchNext_           ^pchEnd_
//
// What is not yet delivered moves to the front before more is read behind it. The spare bytes are looked at by searches
// that run over the end, and never used.

#ifndef ZEBBASE_SRC_LINES_H
#define ZEBBASE_SRC_LINES_H

#include <fcntl.h>
#include <unistd.h>
#ifdef __SSE2__
#include <emmintrin.h>
#endif

#include <algorithm>
#include <bit>
#include <cassert>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <string_view>

#include "zebbase/prs.h"

constexpr ULONG ulSearchStep = 16; // characters that a search looks at together

// The first ch from pch on, or pchEnd. Lines are short: a call of memchr takes twice as long for them. What stands
// behind pchEnd is looked at, too, up to a whole step.
inline const char *FindChar(const char *pch, const char *pchEnd, char ch) {
#ifdef __SSE2__
  static_assert(ulSearchStep == sizeof(__m128i));
  ULONG ulSought = static_cast<unsigned char>(ch) * 0x01010101UL;
  asm("" : "+r"(ulSought)); // filled up in a register: in memory, its address would first have to be found out
  const __m128i mSought = _mm_set1_epi32(static_cast<int>(ulSought));
  for (; pch < pchEnd; pch += ulSearchStep) {
    const __m128i mFound = _mm_cmpeq_epi8(_mm_loadu_si128(reinterpret_cast<const __m128i *>(pch)), mSought);
    const auto uFound = static_cast<unsigned>(_mm_movemask_epi8(mFound));
    if (uFound != 0) return std::min(pch + std::countr_zero(uFound), pchEnd);
  }
  return pchEnd;
#else
  const void *pv = std::memchr(pch, ch, static_cast<std::size_t>(pchEnd - pch));
  return pv ? static_cast<const char *>(pv) : pchEnd;
#endif
}

constexpr bool IsLineEnd(char ch) { return ch == '\n' || ch == '\r'; }

// Without a constructor: it is a part of a block that is all zero to begin with. What most lines do without is no part
// of the way that every line takes, and is kept out of line.
class LineReader {
 public:
  // Reads from a descriptor of the reader's own from now on; a negative one stands for standard input, which stays on
  // stdio, since the program may read it as well.
  void Start(int iFile) {
    iFile_ = iFile;
    pfile_ = iFile < 0 ? stdin : nullptr;
    pchNext_ = pchEnd_ = achBuffer_;
  }

  // Reads from a text in memory, which has an address.
  void Start(std::string_view svText) {
    pchText_ = pchTextNext_ = svText.data();
    pchTextEnd_ = pchText_ + svText.size();
    pchNext_ = pchEnd_ = achBuffer_;
  }

  void Close() {
    if (pfile_)
      std::fclose(pfile_);
    else if (!pchText_)
      close(iFile_);
  }

  bool Rewind() {
    if (pfile_ ? fseeko(pfile_, 0, SEEK_SET) != 0 : !pchText_ && lseek(iFile_, 0, SEEK_SET) != 0) return false;
    pchTextNext_ = pchText_;
    if (pfile_) std::clearerr(pfile_);
    iError_ = 0;
    fEnded_ = fCovered_ = false;
    pchNext_ = pchEnd_ = achBuffer_;
    return true;
  }

  // The error with which reading failed, as errno has it; 0 for an input that ended, or has not yet.
  int Error() const { return iError_; }

  // Makes the next line the current one. Result: whether there was one; if not, the current line is empty.
  bool Next() {
    const ULONG ulLength = pfile_ ? ReadFromStream() : ReadFromFile();
    TakeLine(ulLength);
    return ulLength > 0;
  }

  // The current line, which is terminated.
  char *Line() { return pszLine_; }
  const char *Line() const { return pszLine_; }
  ULONG Length() const { return ulLength_; }
  const char *End() const { return pszLine_ + ulLength_; }
  bool IsEmpty() const { return ulLength_ == 0 || (ulLength_ == 1 && IsLineEnd(pszLine_[0])); } // but for its line feed

  void Shorten(ULONG ulLength) {
    assert(ulLength <= ulLength_);
    ulLength_ = ulLength;
    pszLine_[ulLength] = '\0';
  }

  // Comments begin with a slash, and most lines have none. So the next slash is looked for in all of the buffer, and a
  // run of lines before it costs one search: pchSlash_ is the first slash from some line on, or pchEnd_. Once it has
  // been passed by, it says nothing of the lines that follow, and the next one is looked for.
  bool IsBeforeSlash() const { return End() <= pchSlash_; } // surely; no slash has to be looked for
  bool HasSlash() {
    if (pchSlash_ < pszLine_) FindSlash();
    return pchSlash_ < End();
  }

 private:
  static constexpr ULONG ulMostLine = PRS_LINE_SIZE - 1; // characters of a line, with its line feed

  static ULONG Count(const char *pch, const char *pchEnd) { return static_cast<ULONG>(pchEnd - pch); } // of characters

  // What has not been read of a file or a text. Result: as that of the system's read.
  ssize_t Read(char *pch, ULONG cbMost) {
    if (pchText_) return CopyText(pch, std::min(Count(pchTextNext_, pchTextEnd_), cbMost));
    ssize_t cb;
    do cb = read(iFile_, pch, cbMost);
    while (cb < 0 && errno == EINTR);
    return cb;
  }
  ssize_t CopyText(char *pch, ULONG cb) {
    std::memcpy(pch, pchTextNext_, cb);
    pchTextNext_ += cb;
    return static_cast<ssize_t>(cb);
  }

  // Reads on behind what has not been delivered, which moves to the front. As with fgets, the end is final, also when
  // the file grows behind it, and a line at which reading fails is lost. Result: whether there was more.
  [[gnu::noinline]] bool FillBuffer() {
    if (fEnded_) return false;
    const ULONG cbRest = Count(pchNext_, pchEnd_);
    char *pch = achBuffer_ + cbRest;
    std::memmove(achBuffer_, pchNext_, cbRest);
    const ssize_t cb = Read(pch, sizeof achBuffer_ - ulSearchStep - cbRest);
    if (cb < 0) iError_ = errno;
    fEnded_ = cb <= 0;
    pchNext_ = achBuffer_;
    pchEnd_ = cb < 0 ? achBuffer_ : pch + cb;
    pchSlash_ = achBuffer_;
    if (fEnded_) return false;
    fHasZero_ |= std::memchr(pch, '\0', static_cast<std::size_t>(cb)) != nullptr;
    return true;
  }

  // Puts back the character that a terminator took the place of. A search for slashes has not seen it.
  void Uncover() {
    *pchNext_ = chCovered_;
    if (chCovered_ == '/') pchSlash_ = pchNext_;
  }

  // Finds the end of the line that begins at pchNext_, behind its line feed, as fgets does. Result: its length.
  ULONG ReadFromFile() {
    if (fCovered_) Uncover();
    for (;;) {
      const ULONG ulMost = std::min(Count(pchNext_, pchEnd_), ulMostLine);
      const ULONG ulLength = Count(pchNext_, FindChar(pchNext_, pchNext_ + ulMost, '\n'));
      if (ulLength < ulMost) return ulLength + 1;
      if (ulMost == ulMostLine) return ulMost;
      if (!FillBuffer()) return Count(pchNext_, pchEnd_);
    }
  }

  [[gnu::noinline]] ULONG ReadFromStream() {
    fHasZero_ = true; // perhaps: fgets does not say how much it read
    pchSlash_ = achBuffer_;
    pchNext_ = achBuffer_;
    const char *psz = std::fgets(achBuffer_, PRS_LINE_SIZE, pfile_);
    if (!psz && !std::feof(pfile_)) iError_ = errno;
    pchEnd_ = achBuffer_ + (psz ? std::max<ULONG>(std::strlen(psz), 1) : 0);
    return Count(pchNext_, pchEnd_);
  }

  [[gnu::noinline]] static ULONG LengthToZero(const char *pch, ULONG ulLength) { return strnlen(pch, ulLength); }

  // Makes the next ulLength characters the current line. Its text ends at a zero byte; the line end is cut off, but
  // never the first character.
  void TakeLine(ULONG ulLength) {
    assert(ulLength <= Count(pchNext_, pchEnd_));
    char *pszLine = pchNext_;
    pszLine_ = pszLine;
    pchNext_ = pszLine + ulLength;
    if (fHasZero_) ulLength = LengthToZero(pszLine, ulLength);
    while (ulLength > 1 && IsLineEnd(pszLine[ulLength - 1])) ulLength--;
    ulLength_ = ulLength;
    char *pszEnd = pszLine + ulLength;
    fCovered_ = pszEnd == pchNext_;
    if (fCovered_) chCovered_ = *pszEnd;
    *pszEnd = '\0';
  }

  [[gnu::noinline]] void FindSlash() {
    const void *pv = std::memchr(pszLine_, '/', Count(pszLine_, pchEnd_));
    pchSlash_ = pv ? static_cast<const char *>(pv) : pchEnd_;
  }

  FILE *pfile_;             // standard input; otherwise null
  int iFile_;               // a file, read here without stdio
  const char *pchText_;     // a text; otherwise null
  const char *pchTextNext_; // what has not been copied of it: from here
  const char *pchTextEnd_;  // to here
  char *pszLine_;           // the current line,
  ULONG ulLength_;          // and its length
  char *pchNext_;           // what has not been delivered: from here
  char *pchEnd_;            // to here
  bool fCovered_;           // the line has no line end of its own to be cut off: its terminator stands on *pchNext_,
  char chCovered_;          // which is this character
  bool fEnded_;             // there is no more to be read
  bool fHasZero_;           // a zero byte has been read: a line may end before its line feed
  int iError_;              // with which reading failed
  const char *pchSlash_;    // see IsBeforeSlash
  char achBuffer_[16384 + ulSearchStep];
};

#endif
