// parse.cpp: reading a text line by line and token by token.
// The input is read in large pieces, and the current line stays where it was read: its comments are removed and it is
// terminated in place. The read position pszCurrent never leaves it. Once the input is exhausted the line is empty, so
// that everything that works on the current line alone finds nothing.

#include "parse.h"

#include <fcntl.h>
#include <unistd.h>
#ifdef __SSE2__
#include <emmintrin.h>
#endif

#include <algorithm>
#include <bit>
#include <cerrno>
#include <cstdarg>
#include <cstdio>
#include <cstring>
#include <limits>
#include <string_view>

#include "digits.h"
#include "fraction.h"
#include "guard.h"
#include "text.h"
#include "zebbase/mem.h"
#include "zebbase/tme.h"

constexpr ULONG ulStep = 16; // characters are looked for in steps, the last of which may run over the end
constexpr ULONG ulMostLine = PRS_LINE_SIZE - 1; // characters of a line, with its line feed

using PFNFILTER = bool (*)(PARSECTX *);

enum class INPUT : BYTE { Open, Ended, Failed };

struct PARSECTX {
  FILE *pfileInput; // standard input, which the program may read as well; null for a file
  char *pszLine;    // the current line, in achBuffer
  ULONG ulLength;   // of it
  const char *pszCurrent;
  BOOL fInComment; // a block comment is open
  BOOL fEndOfFile;
  ULONG ulLine;
  ULONG flParse;
  PFNFILTER pfnFilter; // of the lines, by flParse
  char szFileName[128];
  BYTE abKind[256];     // what a character is to the word readers
  int iFile;            // a file is read here, without stdio
  char *pchNext;        // what of achBuffer has not been delivered: from here
  char *pchEnd;         // to here
  bool fCovered;        // the line's terminator stands on the first character of that,
  char chCovered;       // which is this one
  bool fHasZero;        // whether a zero byte has been read
  INPUT input;          // whether there may be more of it
  const char *pchSlash; // the first '/' of achBuffer from some line on; before the line, it must be looked for
  char achBuffer[16384 + ulStep];
};

namespace {
constexpr char szUnit[] = "parse"; // the source name in allocations
constexpr ULONG flStyle = 0x0F;    // the bits of flParse that are one comment style

constexpr bool IsHexDigit(char ch) { return HexDigit(ch) != ulNoHexDigit; }

template <typename Is> // the first character that is not of a kind
const char *Skip(const char *psz, Is is) {
  while (is(*psz)) psz++;
  return psz;
}

constexpr BYTE fWhite = 1; // the kinds of characters
constexpr BYTE fStop = 2;  // ends a word

BYTE KindOf(const PARSECTX *pprs, char ch) { return pprs->abKind[static_cast<unsigned char>(ch)]; }

const char *SkipWhite(const PARSECTX *pprs, const char *psz) {
  while (KindOf(pprs, *psz) & fWhite) psz++;
  return psz;
}

const char *EndOfWord(const PARSECTX *pprs, const char *psz) {
  while (!(KindOf(pprs, *psz) & fStop)) psz++;
  return psz;
}

constexpr bool IsNotWhite(char ch) { return ch != '\0' && !IsWhite(ch); }

bool IsAtEnd(const PARSECTX *pprs) { return !pprs || pprs->fEndOfFile; }

// --- Input ---

// The first ch from pch on, or pchEnd. Lines are short: a call of memchr takes twice as long for them. What achBuffer
// has behind pchEnd is looked at, too.
inline const char *Find(const char *pch, const char *pchEnd, char ch) {
#ifdef __SSE2__
  static_assert(ulStep == sizeof(__m128i));
  ULONG ulSought = static_cast<unsigned char>(ch) * 0x01010101UL;
  asm("" : "+r"(ulSought)); // filled up in a register: in memory, its address would first have to be found out
  const __m128i mSought = _mm_set1_epi32(static_cast<int>(ulSought));
  for (; pch < pchEnd; pch += ulStep) {
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

ULONG Count(const char *pch, const char *pchEnd) { return static_cast<ULONG>(pchEnd - pch); } // of characters

const char *EndOfLine(const PARSECTX *pprs) { return pprs->pszLine + pprs->ulLength; }

// What most lines do without is no part of the way that every line takes: it is kept out of line.

// Reads on behind what has not been delivered, which moves to the front. As with fgets, the end is final, also when the
// file grows behind it, and a line at which reading fails is lost. Result: whether there was more.
[[gnu::noinline]] bool FillBuffer(PARSECTX *pprs) {
  if (pprs->input != INPUT::Open) return false;
  const ULONG cbRest = Count(pprs->pchNext, pprs->pchEnd);
  char *pch = pprs->achBuffer + cbRest;
  std::memmove(pprs->achBuffer, pprs->pchNext, cbRest);
  ssize_t cb;
  do cb = read(pprs->iFile, pch, sizeof pprs->achBuffer - ulStep - cbRest);
  while (cb < 0 && errno == EINTR);
  pprs->pchNext = pprs->achBuffer;
  pprs->pchSlash = pprs->achBuffer;
  pprs->pchEnd = cb < 0 ? pprs->achBuffer : pch + cb;
  if (cb <= 0) {
    pprs->input = cb < 0 ? INPUT::Failed : INPUT::Ended;
    return false;
  }
  pprs->fHasZero |= std::memchr(pch, '\0', static_cast<std::size_t>(cb)) != nullptr;
  return true;
}

// Puts back the character that a terminator took the place of. A search for slashes has not seen it.
void Uncover(PARSECTX *pprs) {
  *pprs->pchNext = pprs->chCovered;
  if (pprs->chCovered == '/') pprs->pchSlash = pprs->pchNext;
}

// Finds the end of the line that begins at pchNext, behind its line feed, as fgets does. Result: its length.
ULONG ReadFromFile(PARSECTX *pprs) {
  if (pprs->fCovered) Uncover(pprs);
  for (;;) {
    const ULONG ulMost = std::min(Count(pprs->pchNext, pprs->pchEnd), ulMostLine);
    const ULONG ulLength = Count(pprs->pchNext, Find(pprs->pchNext, pprs->pchNext + ulMost, '\n'));
    if (ulLength < ulMost) return ulLength + 1;
    if (ulMost == ulMostLine) return ulMost;
    if (!FillBuffer(pprs)) return Count(pprs->pchNext, pprs->pchEnd);
  }
}

[[gnu::noinline]] ULONG ReadFromStream(PARSECTX *pprs) {
  pprs->fHasZero = true; // perhaps: fgets does not say how much it read
  pprs->pchSlash = pprs->achBuffer;
  pprs->pchNext = pprs->achBuffer;
  const char *psz = std::fgets(pprs->achBuffer, PRS_LINE_SIZE, pprs->pfileInput);
  if (!psz && !std::feof(pprs->pfileInput)) pprs->input = INPUT::Failed;
  pprs->pchEnd = pprs->achBuffer + (psz ? std::max<ULONG>(std::strlen(psz), 1) : 0);
  return Count(pprs->pchNext, pprs->pchEnd);
}

constexpr bool IsLineEnd(char ch) { return ch == '\n' || ch == '\r'; }

[[gnu::noinline]] ULONG LengthToZero(const char *pch, ULONG ulLength) { return strnlen(pch, ulLength); }

// Makes the next ulLength characters the current line. Its text ends at a zero byte; the line end is cut off, but never
// the first character.
void TakeLine(PARSECTX *pprs, ULONG ulLength) {
  char *pszLine = pprs->pchNext;
  pprs->pszLine = pszLine;
  pprs->pchNext = pszLine + ulLength;
  if (pprs->fHasZero) ulLength = LengthToZero(pszLine, ulLength);
  while (ulLength > 1 && IsLineEnd(pszLine[ulLength - 1])) ulLength--;
  pprs->ulLength = ulLength;
  char *pszEnd = pszLine + ulLength;
  pprs->fCovered = pszEnd == pprs->pchNext;
  if (pprs->fCovered) pprs->chCovered = *pszEnd;
  *pszEnd = '\0';
}

bool ReadLine(PARSECTX *pprs) {
  const ULONG ulLength = pprs->pfileInput ? ReadFromStream(pprs) : ReadFromFile(pprs);
  TakeLine(pprs, ulLength);
  return ulLength > 0;
}

bool Rewind(PARSECTX *pprs) {
  FILE *pf = pprs->pfileInput;
  if (pf ? fseeko(pf, 0, SEEK_SET) != 0 : lseek(pprs->iFile, 0, SEEK_SET) != 0) return false;
  if (pf) std::clearerr(pf);
  pprs->input = INPUT::Open;
  pprs->pchNext = pprs->pchEnd = pprs->achBuffer;
  pprs->fCovered = false;
  return true;
}

void CloseInput(PARSECTX *pprs) {
  if (pprs->pfileInput)
    std::fclose(pprs->pfileInput);
  else
    close(pprs->iFile);
}

// --- Comments and line markers ---

// Where a pair of characters begins, or the end.
const char *FindPair(const char *pch, const char *pchEnd, char ch1, char ch2) {
  while ((pch = Find(pch, pchEnd, ch1)) != pchEnd && pch[1] != ch2) pch++; // behind the last is the terminator
  return pch;
}

// Removes the comments of one line, collecting what lies outside of them at its beginning.
class CCommentFilter {
 public:
  explicit CCommentFilter(PARSECTX *pprs)
      : pprs_(pprs), pch_(pprs->pszLine), pchEnd_(EndOfLine(pprs)), pchResult_(pprs->pszLine) {}

  bool Run() { // result: whether the line is kept
    while (pch_ != pchEnd_) {
      if (pprs_->fInComment)
        LeaveComment();
      else
        TakeText();
    }
    *pchResult_ = '\0';
    pprs_->ulLength = Count(pprs_->pszLine, pchResult_);
    return fKeep_;
  }

 private:
  void LeaveComment() {
    pch_ = FindPair(pch_, pchEnd_, '*', '/');
    if (pch_ == pchEnd_) return;
    pch_ += 2;
    pprs_->fInComment = 0;
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
    pprs_->fInComment = 1;
  }

  void Keep(const char *pch) { // the text up to there; with something in it, the line is kept
    const ULONG cb = Count(pch_, pch);
    fKeep_ |= cb > 0;
    if (pchResult_ != pch_) std::memmove(pchResult_, pch_, cb);
    pchResult_ += cb;
  }

  PARSECTX *pprs_;
  const char *pch_; // what is left of the line
  const char *pchEnd_;
  char *pchResult_; // the end of what is kept, never behind what is left
  bool fKeep_ = false;
};

[[gnu::noinline]] bool FilterCComments(PARSECTX *pprs) { return CCommentFilter(pprs).Run(); }

// The next '/', from the current line on. It is looked for in all of the buffer, so that a run of lines without
// comments costs one search.
[[gnu::noinline]] const char *FindSlash(PARSECTX *pprs) {
  const void *pv = std::memchr(pprs->pszLine, '/', Count(pprs->pszLine, pprs->pchEnd));
  return pprs->pchSlash = pv ? static_cast<const char *>(pv) : pprs->pchEnd;
}

bool HasSlash(PARSECTX *pprs) {
  const char *pchSlash = pprs->pchSlash;
  if (pchSlash < pprs->pszLine) pchSlash = FindSlash(pprs);
  return pchSlash < EndOfLine(pprs);
}

// Whether the current line surely has nothing to filter: it ends before the next '/'. Only PRS_CCOMMENTS looks for that,
// so lines of other styles never do.
bool IsPlain(const PARSECTX *pprs) {
  return EndOfLine(pprs) <= pprs->pchSlash && pprs->ulLength > 1 && !pprs->fInComment;
}

bool IsEmpty(const PARSECTX *pprs) { // an input line with nothing but its line feed
  return pprs->ulLength == 0 || (pprs->ulLength == 1 && IsLineEnd(pprs->pszLine[0]));
}

// The filters of lines, one for each style. Result: whether the current line is kept.

bool RemoveCComments(PARSECTX *pprs) {
  if (IsEmpty(pprs)) return false;
  if (!pprs->fInComment && !HasSlash(pprs)) return true;
  return FilterCComments(pprs);
}

bool DropHashComment(PARSECTX *pprs) { return *SkipWhite(pprs, pprs->pszLine) != '#'; }

bool DropRemark(PARSECTX *pprs) { return CompareNoCase(SkipWhite(pprs, pprs->pszLine), "rem", 3) != 0; }

// Takes position and name from a line marker: # number "name". One that is not well formed changes nothing.
void TakeLineMarker(PARSECTX *pprs) {
  const char *psz = SkipWhite(pprs, pprs->pszLine + 1);
  if (!IsDigit(*psz)) return;
  const ULONG ulLine = ReadDigits(psz, std::numeric_limits<ULONG>::max());
  psz = SkipWhite(pprs, psz);
  const char *pszEnd = *psz == '"' ? std::strchr(psz + 1, '"') : nullptr;
  if (!pszEnd) return;
  pprs->ulLine = ulLine;
  Format(pprs->szFileName, "%.*s", static_cast<int>(pszEnd - psz - 1), psz + 1);
}

bool DropLineMarker(PARSECTX *pprs) {
  if (pprs->pszLine[0] != '#') return true;
  TakeLineMarker(pprs);
  return false;
}

PFNFILTER FilterFor(ULONG flParse) { // null for none
  if (flParse & PRS_PREPROCESSED) return DropLineMarker;
  switch (flParse & flStyle) {
    case PRS_CCOMMENTS:
      return RemoveCComments;
    case PRS_HASHCOMMENTS:
      return DropHashComment;
    case PRS_REMCOMMENTS:
      return DropRemark;
    default:
      return nullptr;
  }
}

// --- The current line ---

// The next character that is not white space on a further line, or an empty text at the end of the input.
[[gnu::noinline]] const char *NextNonWhiteSpace(PARSECTX *pprs) {
  while (PrsNextLine(pprs) && *pprs->pszCurrent == '\0') continue;
  return pprs->pszCurrent;
}

// What the readers begin with: the next item, or null at the end of the input. The white space before it is gone.
inline const char *NextItem(PARSECTX *pprs) {
  if (IsAtEnd(pprs)) return nullptr;
  const char *psz = SkipWhite(pprs, pprs->pszCurrent);
  if (*psz == '\0') psz = NextNonWhiteSpace(pprs);
  pprs->pszCurrent = psz;
  return psz;
}

// The same for a number, before which the runtime's scan also skips the white space that the parser does not know.
inline const char *NextNumber(PARSECTX *pprs) {
  const char *psz = NextItem(pprs);
  return psz ? SkipSpace(psz) : nullptr;
}

constexpr bool IsSame(ULONG flParse, char chExpected, char chText) {
  if (chExpected == chText) return true;
  return !(flParse & PRS_CASESENSITIVE) && IsLetter(chExpected) && ((chExpected ^ chText) & ~0x20) == 0;
}

inline bool IsNextChar(PARSECTX *pprs, char ch) {
  const char *psz = NextItem(pprs);
  return psz && *psz != '\0' && IsSame(pprs->flParse, ch, *psz);
}

bool AreEqual(const PARSECTX *pprs, std::string_view sv1, std::string_view sv2) {
  return pprs->flParse & PRS_CASESENSITIVE ? sv1 == sv2 : EqualNoCase(sv1, sv2);
}

// The end of the next word when it is the expected one, else null.
const char *FindWord(PARSECTX *pprs, const char *pszWord) {
  const char *psz = NextItem(pprs);
  if (!psz) return nullptr;
  const char *pszEnd = EndOfWord(pprs, psz);
  return pszEnd != psz && AreEqual(pprs, pszWord, {psz, pszEnd}) ? pszEnd : nullptr;
}

// Takes one quoted text, whose opening quote is at the read position. Result: whether it closes.
bool TakeQuoted(PARSECTX *pprs, Output &out) {
  pprs->pszCurrent++;
  for (;;) {
    const char *psz = pprs->pszCurrent;
    const char *pszEnd = Find(psz, EndOfLine(pprs), '"');
    out.Put({psz, pszEnd});
    if (*pszEnd == '"') {
      pprs->pszCurrent = pszEnd + 1;
      return true;
    }
    if (!PrsNextLine(pprs)) return false;
  }
}

bool TakeQuotedTexts(PARSECTX *pprs, Output &out) {
  bool fClosed = false;
  do fClosed = TakeQuoted(pprs, out);
  while (fClosed && *NextItem(pprs) == '"');
  return fClosed;
}

void TakeRestOfLine(PARSECTX *pprs, Output &out) {
  const char *psz = pprs->pszCurrent;
  out.Put({psz, Find(psz, EndOfLine(pprs), '\r')}); // which may stand inside of a line
  PrsNextLine(pprs);
}

// --- Patterns ---

// One element of a pattern.
struct ELEMENT {
  char chKind; // w, n, x, *, ? or one of the three below
  bool fSuppressed;
  char ch; // the literal or stop character
};
constexpr char chLiteral = 'L';
constexpr char chUnknown = 'U';
constexpr char chBroken = 'B'; // the pattern ends inside the element

// Reads the next element of a pattern that has one.
ELEMENT ReadElement(const char *&psz) {
  if (*psz != '%') return {chLiteral, false, *psz++};
  const bool fSuppressed = *++psz == '-';
  if (fSuppressed) psz++;
  if (*psz == '\0') return {chBroken, fSuppressed, '\0'};
  const char chKind = *psz++;
  if (!std::strchr("wnx*?", chKind)) return {chUnknown, fSuppressed, '\0'};
  if (chKind != '*') return {chKind, fSuppressed, '\0'};
  psz = Skip(psz, IsWhite);
  if (*psz == '\0') return {chBroken, fSuppressed, '\0'};
  return {chKind, fSuppressed, *psz++};
}

BOOL SkipPast(PARSECTX *pprs, char chStop) {
  const char *psz = pprs->pszCurrent;
  while (*psz != '\0' && !IsSameChar(pprs, chStop, *psz)) psz = SkipWhite(pprs, psz + 1);
  const bool fFound = *psz != '\0';
  pprs->pszCurrent = psz + fFound;
  return fFound;
}

BOOL SkipOne(PARSECTX *pprs) {
  if (*pprs->pszCurrent == '\0') return 0;
  pprs->pszCurrent++;
  return 1;
}

// Takes one element from the input. What is thrown away goes into the element's own variable.
BOOL TakeElement(PARSECTX *pprs, const ELEMENT &elt, va_list *pargs) {
  char szWord[PRS_LINE_SIZE];
  LONG l;
  ULONG ul;
  switch (elt.chKind) {
    case chLiteral:
      return PrsNextChar(pprs, elt.ch);
    case 'w':
      return PrsGetWord(pprs, elt.fSuppressed ? szWord : va_arg(*pargs, char *));
    case 'n':
      return PrsGetNumber(pprs, elt.fSuppressed ? &l : va_arg(*pargs, LONG *));
    case 'x':
      return PrsGetHexNumber(pprs, elt.fSuppressed ? &ul : va_arg(*pargs, ULONG *));
    case '*':
      return SkipPast(pprs, elt.ch);
    case '?':
      return SkipOne(pprs);
    default:
      return elt.chKind == chUnknown;
  }
}

// The text after one element, or null when the element does not match.
const char *PassElement(PARSECTX *pprs, const ELEMENT &elt, const char *psz) {
  const auto IsOther = [&](char ch) { return ch != '\0' && !IsSameChar(pprs, elt.ch, ch); };
  switch (elt.chKind) {
    case chLiteral:
      return *psz != '\0' && IsSameChar(pprs, elt.ch, *psz) ? psz + 1 : nullptr;
    case 'w':
      return EndOfWord(pprs, psz);
    case 'n':
      return Skip(psz, IsDigit);
    case 'x':
      return Skip(psz, IsHexDigit);
    case '*':
      psz = Skip(psz, IsOther);
      [[fallthrough]];
    case '?':
      return *psz != '\0' ? psz + 1 : nullptr;
    default:
      return nullptr;
  }
}

// --- Start ---

void SetKinds(PARSECTX *pprs, const char *pszSeparators) {
  const auto Set = [pprs](char ch, BYTE fKind) { pprs->abKind[static_cast<unsigned char>(ch)] = fKind; };
  for (const char *psz = pszSeparators; *psz; psz++)
    if (!IsLetter(*psz) && !IsDigit(*psz)) Set(*psz, fStop);
  for (const char ch : {' ', '\t', '\r', '\n'}) Set(ch, fStop | fWhite);
  Set('\0', fStop);
}

// Opens the input: a file, or standard input for a null name. Result: a context without a line yet, or null.
PARSECTX *Open(const char *pszFile) {
  const int iFile = pszFile ? open(pszFile, O_RDONLY | O_CLOEXEC) : -1;
  if (pszFile && iFile < 0) return nullptr;
  auto *pprs = static_cast<PARSECTX *>(MemAllocMem_(sizeof(PARSECTX), __LINE__, szUnit));
  if (!pprs) {
    if (pszFile) close(iFile);
    return nullptr;
  }
  pprs->iFile = iFile;
  pprs->pfileInput = pszFile ? nullptr : stdin;
  pprs->pchNext = pprs->pchEnd = pprs->achBuffer;
  Format(pprs->szFileName, "%s", pszFile ? pszFile : "stdin");
  return pprs;
}
} // namespace

PARSECTX *PrsStartParse(const char *pszFile, ULONG flParse, const char *pszSeparators) {
  PARSECTX *pprs = Open(pszFile);
  if (!pprs) return nullptr;
  pprs->flParse = flParse;
  pprs->pfnFilter = FilterFor(flParse);
  SetKinds(pprs, pszSeparators ? pszSeparators : PRS_DEFAULT_SEPARATORS);
  if (PrsNextLine(pprs)) return pprs;
  PrsEndParse_(pprs);
  return nullptr;
}

void PrsEndParse_(PARSECTX *pprs) {
  if (!pprs) return;
  CloseInput(pprs);
  MemFreeMem_(pprs);
}

BOOL PrsNextLine(PARSECTX *pprs) {
  if (IsAtEnd(pprs)) return 0;
  while (ReadLine(pprs)) {
    pprs->ulLine++;
    if (pprs->pfnFilter && !IsPlain(pprs) && !pprs->pfnFilter(pprs)) continue;
    pprs->pszCurrent = SkipWhite(pprs, pprs->pszLine);
    return 1;
  }
  pprs->pszCurrent = pprs->pszLine;
  pprs->fEndOfFile = 1;
  return 0;
}

BOOL PrsGetLine(PARSECTX *pprs, char *pszBuffer) {
  if (IsAtEnd(pprs)) return 0;
  std::memcpy(pszBuffer, pprs->pszLine, pprs->ulLength + 1);
  PrsNextLine(pprs);
  return 1;
}

BOOL PrsResetToLine(PARSECTX *pprs, ULONG ulLine) {
  if (!pprs || !Rewind(pprs)) return 0;
  pprs->fInComment = 0;
  pprs->fEndOfFile = 0;
  pprs->ulLine = 0;
  while (PrsNextLine(pprs))
    if (--ulLine == 0) return 1;
  return 0;
}

BOOL PrsIsEndOfFile(PARSECTX *pprs) { return IsAtEnd(pprs); }

BOOL PrsIsEndOfLine(PARSECTX *pprs) {
  if (IsAtEnd(pprs)) return 1;
  pprs->pszCurrent = SkipWhite(pprs, pprs->pszCurrent);
  return *pprs->pszCurrent == '\0';
}

ULONG PrsQueryLineNumber(PARSECTX *pprs) { return pprs ? pprs->ulLine : 0; }

const char *PrsQueryFileName(PARSECTX *pprs) { return pprs ? pprs->szFileName : ""; }

BOOL PrsGetWord(PARSECTX *pprs, char *pszWord) {
  const char *psz = NextItem(pprs);
  if (!psz) return 0;
  for (char ch = *psz; !(KindOf(pprs, ch) & fStop); ch = *++psz) *pszWord++ = ch;
  *pszWord = '\0';
  pprs->pszCurrent = psz;
  return 1;
}

bool HasFailedReading(const PARSECTX *pprs) { return pprs && pprs->input == INPUT::Failed; }

std::string_view TakeWord(PARSECTX *pprs) {
  const char *psz = NextItem(pprs);
  if (!psz) return {};
  const char *pszEnd = EndOfWord(pprs, psz);
  pprs->pszCurrent = pszEnd;
  return {psz, pszEnd};
}

BOOL PrsNextWord(PARSECTX *pprs, const char *pszWord) {
  const char *pszEnd = pszWord ? FindWord(pprs, pszWord) : NextItem(pprs);
  if (!pszEnd) return 0;
  pprs->pszCurrent = pszWord ? pszEnd : Skip(pszEnd, IsNotWhite);
  return 1;
}

BOOL PrsQueryWord(PARSECTX *pprs, const char *pszWord) { return pszWord && FindWord(pprs, pszWord); }

LONG PrsGetKeyword(PARSECTX *pprs, const char *const *apszKeywords, ULONG ulCount) {
  const char *psz = NextItem(pprs);
  if (!psz) return -1;
  const std::string_view svWord(psz, EndOfWord(pprs, psz));
  for (ULONG ul = 0; ul < ulCount; ul++) {
    if (!apszKeywords[ul] || !AreEqual(pprs, apszKeywords[ul], svWord)) continue;
    pprs->pszCurrent = psz + svWord.size();
    return static_cast<LONG>(ul);
  }
  return -1;
}

BOOL PrsNextChar(PARSECTX *pprs, char ch) {
  if (!IsNextChar(pprs, ch)) return 0;
  pprs->pszCurrent++;
  return 1;
}

BOOL PrsQueryChar(PARSECTX *pprs, char ch) { return IsNextChar(pprs, ch); }

BOOL IsSameChar(PARSECTX *pprs, char chExpected, char chText) {
  return IsSame(pprs ? pprs->flParse : PRS_CASESENSITIVE, chExpected, chText);
}

BOOL PrsGetNumber(PARSECTX *pprs, LONG *plValue) {
  const char *psz = NextNumber(pprs);
  if (!psz || !ScanLong(psz, *plValue)) return 0;
  pprs->pszCurrent = psz;
  return 1;
}

BOOL PrsGetHexNumber(PARSECTX *pprs, ULONG *pulValue) {
  const char *psz = NextNumber(pprs);
  if (!psz || *psz == '\0') return 0;
  const bool fPrefix = ToLower(psz[1]) == 'x';
  if (fPrefix && psz[0] != '0') return 0;
  const char *pszNumber = fPrefix ? SkipSpace(psz + 2) : psz;
  if (!ScanHex(pszNumber, *pulValue)) return 0;
  pprs->pszCurrent = Skip(psz, [](char ch) { return IsHexDigit(ch) || ToLower(ch) == 'x'; });
  return 1;
}

BOOL PrsGetReal(PARSECTX *pprs, double *pdValue) {
  const char *psz = NextNumber(pprs);
  const char *pszEnd = psz;
  if (!psz || !ScanReal(pszEnd, *pdValue)) return 0;
  pprs->pszCurrent = psz + std::strspn(psz, "0123456789eE+-.");
  return 1;
}

BOOL PrsGetRealTime(PARSECTX *pprs, REALTIME *prtValue) {
  const char *psz = pprs ? SkipWhite(pprs, pprs->pszCurrent) : "";
  *prtValue = TmeStringToRealTime(psz);
  if (pprs) pprs->pszCurrent = Skip(psz, IsNotWhite);
  return 1;
}

BOOL PrsGetSentence(PARSECTX *pprs, char *pszText) {
  if (IsAtEnd(pprs)) return 0;
  Output out(pszText, Output::cbUnknown);
  const bool fTaken = TakeSentence(pprs, out);
  out.Text();
  return fTaken;
}

bool TakeSentence(PARSECTX *pprs, Output &out) {
  const char *psz = NextItem(pprs);
  if (!psz) return false;
  if (*psz == '"') return TakeQuotedTexts(pprs, out) && !out.IsCut();
  TakeRestOfLine(pprs, out);
  return !out.IsCut();
}

BOOL PrsGetPattern(PARSECTX *pprs, const char *pszPattern, ...) {
  va_list args;
  va_start(args, pszPattern);
  BOOL fMatch = pprs != nullptr;
  while (fMatch && *(pszPattern = Skip(pszPattern, IsWhite)) != '\0')
    fMatch = TakeElement(pprs, ReadElement(pszPattern), &args);
  va_end(args);
  return fMatch;
}

BOOL PrsQueryPattern(PARSECTX *pprs, const char *pszPattern) {
  const char *psz = pprs ? pprs->pszCurrent : nullptr;
  while (psz && *(pszPattern = Skip(pszPattern, IsWhite)) != '\0')
    psz = PassElement(pprs, ReadElement(pszPattern), SkipWhite(pprs, psz));
  return psz != nullptr;
}
