// parse.cpp: reading a text line by line and token by token.
// A context keeps the current line, without comments and terminated, in szLine; the read position pszCurrent never
// leaves it. Once the input is exhausted szLine is empty, so that everything that works on the current line alone finds
// nothing.

#include "parse.h"

#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdarg>
#include <cstdio>
#include <cstring>
#include <limits>
#include <string_view>

#include "guard.h"
#include "number.h"
#include "text.h"
#include "zebbase/mem.h"
#include "zebbase/tme.h"

constexpr ULONG ulCopyStep = 16; // lines are copied in steps, the last of which may run over their end

struct PARSECTX {
  FILE *pfileInput; // standard input, which the program may read as well; null for a file
  char *pszCurrent;
  BOOL fInComment; // a block comment is open
  BOOL fEndOfFile;
  ULONG ulLine;
  ULONG flParse;
  char szFileName[128];
  char szLine[PRS_LINE_SIZE + ulCopyStep];
  ULONG ulLength;   // of szLine
  bool afStop[256]; // what ends a word: white space, separators, the end of the line
  int iFile;        // a file is read here, without stdio, in large pieces
  ULONG ulNext;     // what of achBuffer has not been delivered: from here
  ULONG ulEnd;      // to here
  bool fHasZero;    // whether a zero byte is among it
  char achBuffer[16384 + ulCopyStep];
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

bool IsStop(const PARSECTX *pprs, char ch) { return pprs->afStop[static_cast<unsigned char>(ch)]; }

const char *EndOfWord(const PARSECTX *pprs, const char *psz) {
  while (!IsStop(pprs, *psz)) psz++;
  return psz;
}

void MoveTo(PARSECTX *pprs, const char *psz) { pprs->pszCurrent = pprs->szLine + (psz - pprs->szLine); }

bool IsAtEnd(const PARSECTX *pprs) { return !pprs || pprs->fEndOfFile; }

// --- Input ---

bool FillBuffer(PARSECTX *pprs) {
  ssize_t cb;
  do cb = read(pprs->iFile, pprs->achBuffer, sizeof pprs->achBuffer - ulCopyStep);
  while (cb < 0 && errno == EINTR);
  pprs->ulNext = 0;
  pprs->ulEnd = cb > 0 ? static_cast<ULONG>(cb) : 0;
  pprs->fHasZero |= std::memchr(pprs->achBuffer, '\0', pprs->ulEnd) != nullptr;
  return cb > 0;
}

void CopyInSteps(char *pchDest, const char *pchSource, ULONG ul) {
  for (ULONG ulDone = 0; ulDone < ul; ulDone += ulCopyStep)
    std::memcpy(pchDest + ulDone, pchSource + ulDone, ulCopyStep);
}

// Reads into szLine up to and including the next line feed, as fgets does. Result: the number of characters.
ULONG ReadFromFile(PARSECTX *pprs) {
  constexpr ULONG ulMost = PRS_LINE_SIZE - 1;
  ULONG ulLength = 0;
  while (ulLength < ulMost && (pprs->ulNext < pprs->ulEnd || FillBuffer(pprs))) {
    const char *pch = pprs->achBuffer + pprs->ulNext;
    ULONG ul = std::min(pprs->ulEnd - pprs->ulNext, ulMost - ulLength);
    const void *pvLineFeed = std::memchr(pch, '\n', ul);
    if (pvLineFeed) ul = static_cast<ULONG>(static_cast<const char *>(pvLineFeed) - pch) + 1;
    CopyInSteps(pprs->szLine + ulLength, pch, ul);
    pprs->ulNext += ul;
    ulLength += ul;
    if (pvLineFeed) break;
  }
  return ulLength;
}

ULONG ReadFromStream(PARSECTX *pprs) {
  pprs->fHasZero = true; // perhaps: fgets does not say how much it read
  return std::fgets(pprs->szLine, PRS_LINE_SIZE, pprs->pfileInput) ? std::max<ULONG>(std::strlen(pprs->szLine), 1) : 0;
}

constexpr bool IsLineEnd(char ch) { return ch == '\n' || ch == '\r'; }

// Makes a line of ulLength characters the current one. Its text ends at a zero byte; the line end is cut off, but never
// the first character.
void SetLine(PARSECTX *pprs, ULONG ulLength) {
  if (pprs->fHasZero) ulLength = strnlen(pprs->szLine, ulLength);
  while (ulLength > 1 && IsLineEnd(pprs->szLine[ulLength - 1])) ulLength--;
  pprs->szLine[ulLength] = '\0';
  pprs->ulLength = ulLength;
}

bool ReadLine(PARSECTX *pprs) {
  const ULONG ulLength = pprs->pfileInput ? ReadFromStream(pprs) : ReadFromFile(pprs);
  if (ulLength > 0) SetLine(pprs, ulLength);
  return ulLength > 0;
}

bool Rewind(PARSECTX *pprs) {
  if (pprs->pfileInput) return fseeko(pprs->pfileInput, 0, SEEK_SET) == 0;
  if (lseek(pprs->iFile, 0, SEEK_SET) != 0) return false;
  pprs->ulNext = pprs->ulEnd = 0;
  return true;
}

void CloseInput(PARSECTX *pprs) {
  if (pprs->pfileInput)
    std::fclose(pprs->pfileInput);
  else
    close(pprs->iFile);
}

// --- Comments and line markers ---

// The text from a pair of characters on; empty when the pair does not occur.
std::string_view FromPair(std::string_view sv, char ch1, char ch2) {
  while (const void *pv = std::memchr(sv.data(), ch1, sv.size())) {
    sv.remove_prefix(static_cast<std::size_t>(static_cast<const char *>(pv) - sv.data()));
    if (sv.size() > 1 && sv[1] == ch2) return sv;
    sv.remove_prefix(1);
  }
  return {};
}

// Removes the comments of one line, collecting what lies outside of them.
class CCommentFilter {
 public:
  explicit CCommentFilter(PARSECTX *pprs) : pprs_(pprs), sv_(pprs->szLine, pprs->ulLength) {}

  bool Run() { // result: whether the line is kept
    while (!sv_.empty()) {
      if (pprs_->fInComment)
        LeaveComment();
      else
        TakeText();
    }
    std::memcpy(pprs_->szLine, szResult_.Text(), szResult_.Length() + 1);
    pprs_->ulLength = szResult_.Length();
    return fKeep_;
  }

 private:
  void LeaveComment() {
    sv_ = FromPair(sv_, '*', '/');
    if (sv_.empty()) return;
    sv_.remove_prefix(2);
    pprs_->fInComment = 0;
  }

  // A line comment is looked for before any block comment: it ends the line wherever it stands.
  void TakeText() {
    if (const auto sv = FromPair(sv_, '/', '/'); !sv.empty()) {
      Keep(sv);
      sv_ = {};
      return;
    }
    const auto sv = FromPair(sv_, '/', '*');
    Keep(sv);
    sv_ = sv;
    if (sv_.empty()) return;
    sv_.remove_prefix(2);
    pprs_->fInComment = 1;
  }

  void Keep(std::string_view svRest) { // what stands before the rest; with something there, the line is kept
    const std::string_view sv(sv_.data(), sv_.size() - svRest.size());
    fKeep_ |= !sv.empty();
    szResult_.Put(sv);
  }

  PARSECTX *pprs_;
  std::string_view sv_; // what is left of the line
  TextBuffer<PRS_LINE_SIZE> szResult_;
  bool fKeep_ = false;
};

bool KeepOutsideComments(PARSECTX *pprs) {
  const char *psz = pprs->szLine;
  if (psz[0] == '\0' || (IsLineEnd(psz[0]) && psz[1] == '\0')) return false; // an empty input line
  if (!pprs->fInComment && !std::memchr(psz, '/', pprs->ulLength)) return true;
  return CCommentFilter(pprs).Run();
}

bool IsRemark(const char *psz) { return CompareNoCase(Skip(psz, IsWhite), "rem", 3) == 0; }

// Whether the current line is kept, without its comments.
bool RemoveComment(PARSECTX *pprs) {
  switch (pprs->flParse & flStyle) {
    case PRS_CCOMMENTS:
      return KeepOutsideComments(pprs);
    case PRS_HASHCOMMENTS:
      return *Skip(pprs->szLine, IsWhite) != '#';
    case PRS_REMCOMMENTS:
      return !IsRemark(pprs->szLine);
    default:
      return true;
  }
}

bool IsLineMarker(const PARSECTX *pprs) { return (pprs->flParse & PRS_PREPROCESSED) && pprs->szLine[0] == '#'; }

// Takes position and name from a line marker: # number "name". One that is not well formed changes nothing.
void TakeLineMarker(PARSECTX *pprs) {
  const char *psz = Skip(pprs->szLine + 1, IsWhite);
  if (!IsDigit(*psz)) return;
  const ULONG ulLine = ReadDigits(psz, std::numeric_limits<ULONG>::max());
  psz = Skip(psz, IsWhite);
  const char *pszEnd = *psz == '"' ? std::strchr(psz + 1, '"') : nullptr;
  if (!pszEnd) return;
  pprs->ulLine = ulLine;
  Format(pprs->szFileName, "%.*s", static_cast<int>(pszEnd - psz - 1), psz + 1);
}

// --- The current line ---

// The next character that is not white space, on a further line if need be, or an empty text at the end of the input.
const char *NextNonWhiteSpace(PARSECTX *pprs) {
  const char *psz = Skip(pprs->pszCurrent, IsWhite);
  for (bool fLine = true; fLine && *psz == '\0'; psz = pprs->pszCurrent) fLine = PrsNextLine(pprs);
  return psz;
}

// What the readers begin with: the next item, or null at the end of the input. The white space before it is gone.
const char *NextItem(PARSECTX *pprs) {
  if (IsAtEnd(pprs)) return nullptr;
  const char *psz = NextNonWhiteSpace(pprs);
  MoveTo(pprs, psz);
  return psz;
}

// The same for a number, before which the runtime's scan also skips the white space that the parser does not know.
const char *NextNumber(PARSECTX *pprs) {
  const char *psz = NextItem(pprs);
  return psz ? SkipSpace(psz) : nullptr;
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

// Where the text of a sentence goes.
class Sink {
 public:
  Sink(char *psz, ULONG ulSize) : psz_(psz), ulRoom_(ulSize - 1) {}
  void Put(std::string_view sv) {
    fCut_ |= sv.size() > ulRoom_;
    if (fCut_) return;
    std::memcpy(psz_, sv.data(), sv.size());
    psz_ += sv.size();
    ulRoom_ -= sv.size();
  }
  bool End() { // terminates the text; result: whether it is whole
    *psz_ = '\0';
    return !fCut_;
  }

 private:
  char *psz_;
  ULONG ulRoom_;
  bool fCut_ = false;
};

// Takes one quoted text, whose opening quote is at the read position. Result: whether it closes.
bool TakeQuoted(PARSECTX *pprs, Sink &sink) {
  pprs->pszCurrent++;
  for (;;) {
    const char *psz = pprs->pszCurrent;
    const char *pszEnd = std::strchr(psz, '"');
    if (pszEnd) {
      sink.Put({psz, pszEnd});
      MoveTo(pprs, pszEnd + 1);
      return true;
    }
    sink.Put(psz);
    if (!PrsNextLine(pprs)) return false;
  }
}

bool TakeQuotedTexts(PARSECTX *pprs, Sink &sink) {
  bool fClosed = false;
  do fClosed = TakeQuoted(pprs, sink);
  while (fClosed && *NextItem(pprs) == '"');
  return sink.End() && fClosed;
}

bool TakeRestOfLine(PARSECTX *pprs, Sink &sink) {
  const char *psz = pprs->pszCurrent;
  const char *pszEnd = pprs->szLine + pprs->ulLength;
  const void *pvReturn = std::memchr(psz, '\r', static_cast<std::size_t>(pszEnd - psz)); // may stand inside of a line
  sink.Put({psz, pvReturn ? static_cast<const char *>(pvReturn) : pszEnd});
  PrsNextLine(pprs);
  return sink.End();
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
  while (*psz != '\0' && !IsSameChar(pprs, chStop, *psz)) psz = Skip(psz + 1, IsWhite);
  const bool fFound = *psz != '\0';
  MoveTo(pprs, psz + fFound);
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

void SetSeparators(PARSECTX *pprs, const char *pszSeparators) {
  const auto SetStop = [pprs](char ch) { pprs->afStop[static_cast<unsigned char>(ch)] = true; };
  for (const char *psz = pszSeparators; *psz; psz++)
    if (!IsLetter(*psz) && !IsDigit(*psz)) SetStop(*psz);
  for (const char ch : {' ', '\t', '\r', '\n', '\0'}) SetStop(ch);
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
  pprs->pszCurrent = pprs->szLine;
  Format(pprs->szFileName, "%s", pszFile ? pszFile : "stdin");
  return pprs;
}
} // namespace

PARSECTX *PrsStartParse(const char *pszFile, ULONG flParse, const char *pszSeparators) {
  PARSECTX *pprs = Open(pszFile);
  if (!pprs) return nullptr;
  pprs->flParse = flParse;
  SetSeparators(pprs, pszSeparators ? pszSeparators : PRS_DEFAULT_SEPARATORS);
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
    if (!RemoveComment(pprs)) continue;
    if (IsLineMarker(pprs)) {
      TakeLineMarker(pprs);
      continue;
    }
    MoveTo(pprs, Skip(pprs->szLine, IsWhite));
    return 1;
  }
  SetLine(pprs, 0);
  pprs->pszCurrent = pprs->szLine;
  pprs->fEndOfFile = 1;
  return 0;
}

BOOL PrsGetLine(PARSECTX *pprs, char *pszBuffer) {
  if (IsAtEnd(pprs)) return 0;
  std::memcpy(pszBuffer, pprs->szLine, pprs->ulLength + 1);
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
  MoveTo(pprs, Skip(pprs->pszCurrent, IsWhite));
  return *pprs->pszCurrent == '\0';
}

ULONG PrsQueryLineNumber(PARSECTX *pprs) { return pprs ? pprs->ulLine : 0; }

const char *PrsQueryFileName(PARSECTX *pprs) { return pprs ? pprs->szFileName : ""; }

BOOL PrsGetWord(PARSECTX *pprs, char *pszWord) {
  const char *psz = NextItem(pprs);
  if (!psz) return 0;
  while (!IsStop(pprs, *psz)) *pszWord++ = *psz++;
  *pszWord = '\0';
  MoveTo(pprs, psz);
  return 1;
}

BOOL PrsNextWord(PARSECTX *pprs, const char *pszWord) {
  const auto IsNotWhite = [](char ch) { return ch != '\0' && !IsWhite(ch); };
  const char *pszEnd = pszWord ? FindWord(pprs, pszWord) : NextItem(pprs);
  if (!pszEnd) return 0;
  MoveTo(pprs, pszWord ? pszEnd : Skip(pszEnd, IsNotWhite));
  return 1;
}

BOOL PrsQueryWord(PARSECTX *pprs, const char *pszWord) { return pszWord && FindWord(pprs, pszWord); }

LONG PrsGetKeyword(PARSECTX *pprs, const char *const *apszKeywords, ULONG ulCount) {
  const char *psz = NextItem(pprs);
  if (!psz) return -1;
  const std::string_view svWord(psz, EndOfWord(pprs, psz));
  for (ULONG ul = 0; ul < ulCount; ul++) {
    if (!apszKeywords[ul] || !AreEqual(pprs, apszKeywords[ul], svWord)) continue;
    MoveTo(pprs, psz + svWord.size());
    return static_cast<LONG>(ul);
  }
  return -1;
}

BOOL PrsNextChar(PARSECTX *pprs, char ch) {
  if (!PrsQueryChar(pprs, ch)) return 0;
  pprs->pszCurrent++;
  return 1;
}

BOOL PrsQueryChar(PARSECTX *pprs, char ch) {
  const char *psz = NextItem(pprs);
  return psz && *psz != '\0' && IsSameChar(pprs, ch, *psz);
}

BOOL IsSameChar(PARSECTX *pprs, char chExpected, char chText) {
  if (chExpected == chText) return 1;
  if (!pprs || (pprs->flParse & PRS_CASESENSITIVE)) return 0;
  return IsLetter(chExpected) && ((chExpected ^ chText) & ~0x20) == 0;
}

BOOL PrsGetNumber(PARSECTX *pprs, LONG *plValue) {
  const char *psz = NextNumber(pprs);
  if (!psz || !ScanLong(psz, *plValue)) return 0;
  MoveTo(pprs, psz);
  return 1;
}

BOOL PrsGetHexNumber(PARSECTX *pprs, ULONG *pulValue) {
  const char *psz = NextNumber(pprs);
  if (!psz || *psz == '\0') return 0;
  const bool fPrefix = ToLower(psz[1]) == 'x';
  if (fPrefix && psz[0] != '0') return 0;
  if (!ScanHex(fPrefix ? psz + 2 : psz, *pulValue)) return 0;
  MoveTo(pprs, Skip(psz, [](char ch) { return IsHexDigit(ch) || ToLower(ch) == 'x'; }));
  return 1;
}

BOOL PrsGetReal(PARSECTX *pprs, double *pdValue) {
  const char *psz = NextNumber(pprs);
  if (!psz || !ScanReal(psz, *pdValue)) return 0;
  MoveTo(pprs, psz + std::strspn(psz, "0123456789eE+-."));
  return 1;
}

BOOL PrsGetRealTime(PARSECTX *pprs, REALTIME *prtValue) {
  const char *psz = pprs ? Skip(pprs->pszCurrent, IsWhite) : "";
  *prtValue = TmeStringToRealTime(psz);
  if (pprs) MoveTo(pprs, Skip(psz, [](char ch) { return ch != '\0' && !IsWhite(ch); }));
  return 1;
}

BOOL PrsGetSentence(PARSECTX *pprs, char *pszText) {
  return GetSentence(pprs, pszText, std::numeric_limits<ULONG>::max());
}

BOOL GetSentence(PARSECTX *pprs, char *pszText, ULONG ulSize) {
  const char *psz = NextItem(pprs);
  if (!psz) return 0;
  Sink sink(pszText, ulSize);
  return *psz == '"' ? TakeQuotedTexts(pprs, sink) : TakeRestOfLine(pprs, sink);
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
    psz = PassElement(pprs, ReadElement(pszPattern), Skip(psz, IsWhite));
  return psz != nullptr;
}
