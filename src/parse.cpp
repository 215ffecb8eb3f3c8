// parse.cpp: reading a text token by token.
// The lines come from a LineReader, and a LineFilter takes comments out of them; here they are cut into tokens. The
// read position pszCurrent never leaves the current line. Once the input is exhausted the line is empty, so that
// everything that works on the current line alone finds nothing.

#include "parse.h"

#include <cerrno>
#include <cstdarg>
#include <cstring>
#include <string_view>

#include "comments.h"
#include "digits.h"
#include "fraction.h"
#include "lines.h"
#include "memory.h"
#include "text.h"
#include "zebbase/mem.h"
#include "zebbase/tme.h"

struct PARSECTX {
  LineReader lines;
  LineFilter filter;
  PLACE place;            // of the current line
  const char *pszCurrent; // the read position on it
  BOOL fEndOfFile;
  ULONG flParse;
  ULONG ulQuoteLine; // of the opening quote passed last
  BYTE abKind[256];  // what a character is to the word readers
};

namespace {
constexpr SOURCE source = "parse"; // in allocations

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

// --- The current line ---

// The next character that is not white space on a further line, or an empty text at the end of the input.
[[gnu::noinline]] const char *NextNonWhiteSpace(PARSECTX *pprs) {
  while (PrsNextLine(pprs) && *pprs->pszCurrent == '\0') continue;
  return pprs->pszCurrent;
}

// The next item, or null at the end of the input. White space before it on the current line is not gone yet.
inline const char *FindItem(PARSECTX *pprs) {
  if (IsAtEnd(pprs)) return nullptr;
  const char *psz = SkipWhite(pprs, pprs->pszCurrent);
  return *psz != '\0' ? psz : NextNonWhiteSpace(pprs);
}

// What the readers begin with: the same, and the white space is gone.
inline const char *NextItem(PARSECTX *pprs) {
  const char *psz = FindItem(pprs);
  if (psz) pprs->pszCurrent = psz;
  return psz;
}

constexpr bool IsSame(ULONG flParse, char chExpected, char chText) {
  if (chExpected == chText) return true;
  return !(flParse & PRS_CASESENSITIVE) && IsLetter(chExpected) && ((chExpected ^ chText) & ~0x20) == 0;
}

inline bool IsItemChar(const PARSECTX *pprs, const char *psz, char ch) {
  return psz && *psz != '\0' && IsSame(pprs->flParse, ch, *psz);
}

bool AreEqual(const PARSECTX *pprs, std::string_view sv1, std::string_view sv2) {
  return pprs->flParse & PRS_CASESENSITIVE ? sv1 == sv2 : EqualNoCase(sv1, sv2);
}

// The end of an item when it is the expected word, else null.
const char *PassWord(const PARSECTX *pprs, const char *psz, const char *pszWord) {
  if (!psz) return nullptr;
  const char *pszEnd = EndOfWord(pprs, psz);
  return pszEnd != psz && AreEqual(pprs, pszWord, {psz, pszEnd}) ? pszEnd : nullptr;
}

// Takes one quoted text, whose opening quote is at the read position. Result: whether it closes.
bool TakeQuoted(PARSECTX *pprs, Output &out) {
  pprs->pszCurrent++;
  pprs->ulQuoteLine = pprs->place.ulLine;
  for (;;) {
    const char *psz = pprs->pszCurrent;
    const char *pszEnd = FindChar(psz, pprs->lines.End(), '"');
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

// Before a number the runtime's scan also skips white space that the parser does not know, such as a form feed. The
// number behind it is read, but the read position stays in front of it.
[[gnu::noinline]] bool ReadBehindSpace(PARSECTX *pprs, const char *psz, LONG &l) {
  const char *pszNumber = SkipSpace(psz);
  if (!ScanLong(pszNumber, l)) return false;
  pprs->pszCurrent = psz;
  return true;
}

void TakeRestOfLine(PARSECTX *pprs, Output &out) {
  const char *psz = pprs->pszCurrent;
  out.Put({psz, FindChar(psz, pprs->lines.End(), '\r')}); // which may stand inside of a line
  PrsNextLine(pprs);
}

// --- Patterns ---

// One directive of a pattern.
struct DIRECTIVE {
  char chKind; // w, n, x, *, ? or one of the three below
  bool fSuppressed;
  char ch; // the literal or stop character
};
constexpr char chLiteral = 'L';
constexpr char chUnknown = 'U';
constexpr char chBroken = 'B'; // the pattern ends inside the directive

// Reads the next directive of a pattern that has one.
DIRECTIVE ReadDirective(const char *&psz) {
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

// Takes one directive from the input. What is thrown away goes into the directive's own variable.
BOOL TakeDirective(PARSECTX *pprs, const DIRECTIVE &dir, va_list *pargs) {
  char szWord[PRS_LINE_SIZE];
  LONG l;
  ULONG ul;
  switch (dir.chKind) {
    case chLiteral:
      return PrsNextChar(pprs, dir.ch);
    case 'w':
      return PrsGetWord(pprs, dir.fSuppressed ? szWord : va_arg(*pargs, char *));
    case 'n':
      return PrsGetNumber(pprs, dir.fSuppressed ? &l : va_arg(*pargs, LONG *));
    case 'x':
      return PrsGetHexNumber(pprs, dir.fSuppressed ? &ul : va_arg(*pargs, ULONG *));
    case '*':
      return SkipPast(pprs, dir.ch);
    case '?':
      return SkipOne(pprs);
    default:
      return dir.chKind == chUnknown;
  }
}

// The text after one directive, or null when the directive does not match.
const char *PassDirective(PARSECTX *pprs, const DIRECTIVE &dir, const char *psz) {
  const auto IsOther = [&](char ch) { return ch != '\0' && !IsSameChar(pprs, dir.ch, ch); };
  switch (dir.chKind) {
    case chLiteral:
      return *psz != '\0' && IsSameChar(pprs, dir.ch, *psz) ? psz + 1 : nullptr;
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

// Whether a directive is taken from the current line: most skip white space first, which may go on over its end.
bool IsOnLine(PARSECTX *pprs, const DIRECTIVE &dir) {
  constexpr char szStaying[] = {'*', '?', chUnknown, chBroken, '\0'};
  return std::strchr(szStaying, dir.chKind) || !PrsIsEndOfLine(pprs);
}

// Takes the directives of a pattern. Without arguments it is a trial: values are thrown away, and the current line is
// not left.
BOOL TakePattern(PARSECTX *pprs, const char *pszPattern, va_list *pargs) {
  BOOL fMatch = pprs && pszPattern;
  while (fMatch && *(pszPattern = Skip(pszPattern, IsWhite)) != '\0') {
    DIRECTIVE dir = ReadDirective(pszPattern);
    dir.fSuppressed |= !pargs;
    fMatch = (pargs || IsOnLine(pprs, dir)) && TakeDirective(pprs, dir, pargs);
  }
  return fMatch;
}

// --- Start ---

// Opens the input: a file, or standard input for a null name. Result: a context without a line yet, or null.
PARSECTX *Open(const char *pszFile, int &iError) {
  const int iFile = pszFile ? open(pszFile, O_RDONLY | O_CLOEXEC) : -1;
  iError = errno;
  if (pszFile && iFile < 0) return nullptr;
  auto *pprs = New<PARSECTX>(source);
  iError = ENOMEM;
  if (!pprs) {
    if (pszFile) close(iFile);
    return nullptr;
  }
  pprs->lines.Start(iFile);
  return pprs;
}

// Fills a context that has its input, and reads the first line. Result: the context; or null, and it is gone.
PARSECTX *Begin(PARSECTX *pprs, const char *pszName, ULONG flParse, const char *pszSeparators, int &iError) {
  Format(pprs->place.szFileName, "%s", pszName);
  pprs->flParse = flParse;
  pprs->filter.Start(flParse);
  SetSeparators(pprs, pszSeparators ? pszSeparators : PRS_DEFAULT_SEPARATORS);
  if (PrsNextLine(pprs)) return pprs;
  iError = PrsQueryError(pprs);
  PrsEndParse_(pprs);
  return nullptr;
}
} // namespace

PARSECTX *PrsStartParse(const char *pszFile, ULONG flParse, const char *pszSeparators) {
  int iError;
  return StartParse(pszFile, flParse, pszSeparators, iError);
}

PARSECTX *StartParse(const char *pszFile, ULONG flParse, const char *pszSeparators, int &iError) {
  PARSECTX *pprs = Open(pszFile, iError);
  return pprs ? Begin(pprs, pszFile ? pszFile : "stdin", flParse, pszSeparators, iError) : nullptr;
}

[[gnu::cold]] PARSECTX *PrsStartParseText(const char *pch, ULONG cb, const char *pszName, ULONG flParse,
                                          const char *pszSeparators) {
  auto *pprs = pch ? New<PARSECTX>(source) : nullptr;
  if (!pprs) return nullptr;
  pprs->lines.Start({pch, cb});
  int iError; // there is none
  return Begin(pprs, pszName ? pszName : "", flParse, pszSeparators, iError);
}

void SetSeparators(PARSECTX *pprs, const char *pszSeparators) {
  std::memset(pprs->abKind, 0, sizeof pprs->abKind);
  const auto Set = [pprs](char ch, BYTE fKind) { pprs->abKind[static_cast<unsigned char>(ch)] = fKind; };
  for (const char *psz = pszSeparators; *psz; psz++)
    if (!IsLetter(*psz) && !IsDigit(*psz)) Set(*psz, fStop);
  for (const char ch : {' ', '\t', '\r', '\n'}) Set(ch, fStop | fWhite);
  Set('\0', fStop);
}

void PrsEndParse_(PARSECTX *pprs) {
  if (!pprs) return;
  pprs->lines.Close();
  MemFreeMem_(pprs);
}

BOOL PrsNextLine(PARSECTX *pprs) {
  if (IsAtEnd(pprs)) return 0;
  while (pprs->lines.Next()) {
    pprs->place.ulLine++;
    if (pprs->filter.Drops(pprs->lines, pprs->place)) continue;
    pprs->pszCurrent = SkipWhite(pprs, pprs->lines.Line());
    return 1;
  }
  pprs->pszCurrent = pprs->lines.Line();
  pprs->fEndOfFile = 1;
  return 0;
}

BOOL PrsGetLine(PARSECTX *pprs, char *pszBuffer) {
  if (IsAtEnd(pprs)) return 0;
  std::memcpy(pszBuffer, pprs->lines.Line(), pprs->lines.Length() + 1);
  PrsNextLine(pprs);
  return 1;
}

BOOL PrsResetToLine(PARSECTX *pprs, ULONG ulLine) {
  if (!pprs || !pprs->lines.Rewind()) return 0;
  pprs->filter.Restart();
  pprs->fEndOfFile = 0;
  pprs->place.ulLine = 0;
  while (PrsNextLine(pprs))
    if (--ulLine == 0) return 1;
  return 0;
}

BOOL PrsIsEndOfFile(PARSECTX *pprs) { return IsAtEnd(pprs); }

int PrsQueryError(PARSECTX *pprs) { return pprs ? pprs->lines.Error() : 0; }

BOOL PrsIsEndOfLine(PARSECTX *pprs) {
  if (IsAtEnd(pprs)) return 1;
  pprs->pszCurrent = SkipWhite(pprs, pprs->pszCurrent);
  return *pprs->pszCurrent == '\0';
}

ULONG PrsQueryLineNumber(PARSECTX *pprs) { return pprs ? pprs->place.ulLine : 0; }

const char *PrsQueryFileName(PARSECTX *pprs) { return pprs ? pprs->place.szFileName : ""; }

BOOL PrsGetWord(PARSECTX *pprs, char *pszWord) {
  const char *psz = NextItem(pprs);
  if (!psz) return 0;
  for (char ch = *psz; !(KindOf(pprs, ch) & fStop); ch = *++psz) *pszWord++ = ch;
  *pszWord = '\0';
  pprs->pszCurrent = psz;
  return 1;
}

BOOL PrsGetWordN(PARSECTX *pprs, char *pszWord, ULONG ulSize) {
  const std::string_view svWord = pszWord ? TakeWord(pprs) : std::string_view();
  if (!svWord.data()) return 0;
  if (svWord.size() >= ulSize) {
    pprs->pszCurrent = svWord.data();
    return 0;
  }
  std::memcpy(pszWord, svWord.data(), svWord.size());
  pszWord[svWord.size()] = '\0';
  return 1;
}

std::string_view RestOfLine(const PARSECTX *pprs) {
  return pprs ? std::string_view(pprs->pszCurrent, pprs->lines.End()) : std::string_view();
}

std::string_view TakeWord(PARSECTX *pprs) {
  const char *psz = NextItem(pprs);
  if (!psz) return {};
  const char *pszEnd = EndOfWord(pprs, psz);
  pprs->pszCurrent = pszEnd;
  return {psz, pszEnd};
}

BOOL PrsNextWord(PARSECTX *pprs, const char *pszWord) {
  const char *psz = NextItem(pprs);
  const char *pszEnd = pszWord ? PassWord(pprs, psz, pszWord) : psz;
  if (!pszEnd) return 0;
  pprs->pszCurrent = pszWord ? pszEnd : Skip(psz, IsNotWhite);
  return 1;
}

BOOL PrsQueryWord(PARSECTX *pprs, const char *pszWord) { return pszWord && PassWord(pprs, FindItem(pprs), pszWord); }

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
  if (!IsItemChar(pprs, NextItem(pprs), ch)) return 0;
  pprs->pszCurrent++;
  return 1;
}

BOOL PrsQueryChar(PARSECTX *pprs, char ch) { return IsItemChar(pprs, FindItem(pprs), ch); }

BOOL IsSameChar(PARSECTX *pprs, char chExpected, char chText) {
  return IsSame(pprs ? pprs->flParse : PRS_CASESENSITIVE, chExpected, chText);
}

BOOL PrsGetNumber(PARSECTX *pprs, LONG *plValue) {
  const char *psz = FindItem(pprs);
  if (!psz) return 0;
  if (!ScanLong(psz, *plValue)) return ReadBehindSpace(pprs, psz, *plValue);
  pprs->pszCurrent = psz;
  return 1;
}

BOOL PrsGetHexNumber(PARSECTX *pprs, ULONG *pulValue) {
  const char *psz = NextItem(pprs);
  if (!psz || *psz == '\0') return 0;
  const bool fPrefix = ToLower(psz[1]) == 'x';
  if (fPrefix && psz[0] != '0') return 0;
  const char *pszNumber = SkipSpace(fPrefix ? psz + 2 : psz);
  if (!ScanHex(pszNumber, *pulValue)) return 0;
  pprs->pszCurrent = Skip(psz, [](char ch) { return IsHexDigit(ch) || ToLower(ch) == 'x'; });
  return 1;
}

BOOL PrsGetReal(PARSECTX *pprs, double *pdValue) {
  const char *psz = NextItem(pprs);
  if (!psz) return 0;
  const char *pszNumber = SkipSpace(psz);
  if (!ScanReal(pszNumber, *pdValue)) return 0;
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
  if (*psz == '"') return TakeQuotedTexts(pprs, out);
  TakeRestOfLine(pprs, out);
  return true;
}

ULONG QuoteLine(const PARSECTX *pprs) { return pprs->ulQuoteLine; }

BOOL PrsGetPattern(PARSECTX *pprs, const char *pszPattern, ...) {
  va_list args;
  va_start(args, pszPattern);
  const BOOL fMatch = TakePattern(pprs, pszPattern, &args);
  va_end(args);
  return fMatch;
}

BOOL PrsGetLinePattern(PARSECTX *pprs, const char *pszPattern, ...) {
  const char *pszBefore = pprs ? pprs->pszCurrent : nullptr;
  const BOOL fMatch = TakePattern(pprs, pszPattern, nullptr);
  if (pprs) pprs->pszCurrent = pszBefore;
  if (!fMatch) return 0;
  va_list args;
  va_start(args, pszPattern);
  TakePattern(pprs, pszPattern, &args);
  va_end(args);
  return 1;
}

BOOL PrsQueryPattern(PARSECTX *pprs, const char *pszPattern) {
  const char *psz = pprs && pszPattern ? pprs->pszCurrent : nullptr;
  while (psz && *(pszPattern = Skip(pszPattern, IsWhite)) != '\0')
    psz = PassDirective(pprs, ReadDirective(pszPattern), SkipWhite(pprs, psz));
  return psz != nullptr;
}
