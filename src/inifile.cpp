// inifile.cpp: the INI file as a table of entries.
// One parser serves all: programs that only want to know whether a file is well formed get no texts, and no lines.
//
// A file is read leniently only when it breaks the format. So whatever the format takes is taken with the same result,
// also where people would mean something else by it: the two lines "A=1" and "B = 2" alone are one key, "A=1B".

#include "inifile.h"

#include <cerrno>
#include <cstdarg>
#include <cstdio>
#include <cstring>
#include <memory>
#include <string_view>

#include "entries.h"
#include "iniwrite.h"
#include "memory.h"
#include "output.h"
#include "parse.h"
#include "text.h"
#include "zebbase/mem.h"

namespace {
constexpr SOURCE source = "ini"; // in allocations

// --- Parsing ---

constexpr char szLenientSeparators[] = "]!@#$%&*<>=|\\:"; // names hold - and _, and end at a '='
constexpr char szMark[] = "\xEF\xBB\xBF";                 // in UTF-8

bool IsOneOf(char ch, const char *psz) { return ch != '\0' && std::strchr(psz, ch); }

// A key's name while it is read.
struct KEY {
  Name name;               // its words,
  std::size_t cbFirst = 0; // the first,
  ULONG ulLine = 0;        // and where they stand
  ULONG ulLineSecond = 0;

  std::string_view First() const { return UpTo(name.View(), cbFirst); }
};

// Once for a file, and never for most: out of the way of the entries, and small. That is what is cold here.
class FileParser {
 public:
  FileParser(PARSECTX *pprs, bool fLenient, ErrorRecord &error) : pprs_(pprs), fLenient_(fLenient), error_(error) {}

  bool ReadHeader() {
    if (!PrsNextChar(pprs_, '[')) return FailHeader();
    const std::string_view svWord = TakeWord(pprs_);
    if (svWord.size() > INI_MAX_TEXT) return FailLength("header");
    if (!PrsNextChar(pprs_, ']')) return FailHeaderEnd();
    PrsNextLine(pprs_);
    return true;
  }

  // Enters the rest of the file into a table; for a checked handle also the lines.
  bool ReadEntries(INIFILE *pini, CHECKEDFILE *pchk) {
    pini_ = pini;
    pchk_ = pchk;
    for (;;) {
      const bool fTitle = PrsNextChar(pprs_, '[');
      ulLine_ = Line();
      if (!fTitle && PrsIsEndOfFile(pprs_))
        return PrsQueryError(pprs_) == 0 || Fail(INI_ERROR_SYSTEM, 0, "not read to its end");
      if (fTitle ? !ReadTitle() : !TakeComment() && !ReadKey()) return false;
    }
  }

  // The whole of a file that may be without a header. A first title of one word is the header.
  [[gnu::cold]] bool ReadLeniently(CHECKEDFILE *pchk) {
    if (StartsWith(RestOfLine(pprs_), szMark)) PrsGetPattern(pprs_, "%?%?%?");
    while (TakeComment()) continue;
    pini_ = &pchk->ini;
    pchk_ = pchk;
    if (PrsNextChar(pprs_, '[') && !ReadHeaderOrTitle()) return false;
    return ReadEntries(pini_, pchk_);
  }

  // Whether what is wrong lies in the text of the file.
  bool IsTextWrong() const { return ulFault_ != INI_ERROR_SYSTEM && ulFault_ != INI_ERROR_MEMORY; }

 private:
  ULONG Line() const { return PrsQueryLineNumber(pprs_); }
  char CharHere() const { return RestOfLine(pprs_).empty() ? '\0' : RestOfLine(pprs_).front(); }

  // --- What is wrong ---

  [[gnu::cold, gnu::format(printf, 4, 5)]] bool Fail(ULONG ulCode, ULONG ulLine, const char *pszFormat, ...) {
    va_list args;
    va_start(args, pszFormat);
    ulFault_ = PrsQueryError(pprs_) != 0 ? INI_ERROR_SYSTEM : ulCode; // an end that is none explains all else
    if (ulFault_ == INI_ERROR_SYSTEM)
      error_.SetSystem(PrsQueryError(pprs_));
    else
      error_.SetList(ulCode, ulLine, pszFormat, args);
    va_end(args);
    return false;
  }

  [[gnu::cold]] bool FailLength(const char *pszWhat) {
    return Fail(INI_ERROR_LENGTH, Line(), "a %s of more than %d characters", pszWhat, INI_MAX_TEXT);
  }

  [[gnu::cold]] bool FailHeader() {
    const std::string_view sv = RestOfLine(pprs_);
    if (StartsWith(sv, szMark)) return Fail(INI_ERROR_MARK, Line(), "a byte-order mark before the header");
    if (StartsWith(sv, "\xFF\xFE") || StartsWith(sv, "\xFE\xFF"))
      return Fail(INI_ERROR_MARK, Line(), "a byte-order mark of UTF-16, which cannot be read");
    return Fail(INI_ERROR_HEADER, Line(), "no header such as [ settings.ini ]");
  }

  [[gnu::cold]] bool FailHeaderEnd() {
    if (IsOneOf(CharHere(), INI_SEPARATORS))
      return Fail(INI_ERROR_HEADER, Line(), "a header cannot hold '%c'", CharHere());
    return Fail(INI_ERROR_HEADER, Line(), "a header is one word and a ']'");
  }

  // A title that is still open on a further line has mostly lost its end.
  [[gnu::cold]] bool FailTitle(ULONG ulCode) {
    if (PrsIsEndOfFile(pprs_) || Line() != ulLine_)
      return Fail(INI_ERROR_TITLE, ulLine_, "the title is not closed by a ']'");
    if (ulCode == INI_ERROR_LENGTH) return FailLength("title");
    return Fail(INI_ERROR_TITLE, ulLine_, "a title cannot hold '%c'", CharHere());
  }

  // The words of a key are not followed by a '='.
  [[gnu::cold]] bool FailKey(const KEY &key) {
    const char ch = Line() == key.ulLine ? CharHere() : '\0'; // which stands in the way
    const bool fOneLine = key.ulLineSecond == key.ulLine || key.ulLineSecond == 0;
    const bool fTight = (fOneLine ? key.name.View() : key.First()).find('=') != std::string_view::npos;
    if (ch == '#' || StartsWith(key.First(), ";"))
      return Fail(INI_ERROR_KEY, key.ulLine, "'%c' begins no comment", ch == '#' ? '#' : ';');
    if (fTight) return Fail(INI_ERROR_KEY, key.ulLine, "'=' needs a blank before it");
    if (key.First().empty()) return Fail(INI_ERROR_KEY, key.ulLine, "no key begins with '%c'", ch);
    if (IsOneOf(ch, INI_SEPARATORS)) return Fail(INI_ERROR_KEY, key.ulLine, "a name cannot hold '%c'", ch);
    return Fail(INI_ERROR_KEY, key.ulLine, "no '=' behind '%.*s'", static_cast<int>(key.cbFirst), key.First().data());
  }

  // --- Entries ---

  // Adds an entry to the table, or nothing. A title has no value: a view without an address.
  bool AddEntry(std::string_view svName, std::string_view svValue) {
    const bool fTitle = !svValue.data();
    if (pini_->ulEntries >= INI_MAX_ENTRIES)
      return Fail(INI_ERROR_ENTRIES, ulLine_, "more than %d titles and keys", INI_MAX_ENTRIES);
    Tracked<char> name(AllocateText(svName, source));
    char *pszValue = fTitle || !name ? nullptr : AllocateText(svValue, source);
    if (!name || (!fTitle && !pszValue)) return Fail(INI_ERROR_MEMORY, 0, "no memory");
    if (pchk_) pchk_->aulLine[pini_->ulEntries] = ulLine_;
    pini_->aentry[pini_->ulEntries++] = {fTitle, name.release(), pszValue};
    return true;
  }

  // Takes a word and joins it to a name. Result: whether that fits. There may be none, which leaves it empty.
  bool JoinWord(Name &name) {
    svWord_ = TakeWord(pprs_);
    name.Put(svWord_);
    return !name.IsCut();
  }

  bool ReadTitle() { // its "[" has been taken
    Name name;
    if (!JoinWord(name)) return FailTitle(INI_ERROR_LENGTH);
    return ReadTitleFrom(name);
  }

  bool ReadTitleFrom(Name &name) { // on from its first word
    while (!PrsNextChar(pprs_, ']')) {
      if (!JoinWord(name)) return FailTitle(INI_ERROR_LENGTH);
      if (svWord_.empty()) return FailTitle(INI_ERROR_TITLE);
    }
    return AddEntry(name.View(), {});
  }

  [[gnu::cold]] bool ReadHeaderOrTitle() {
    Name name;
    ulLine_ = Line();
    if (!JoinWord(name)) return FailTitle(INI_ERROR_LENGTH);
    if (!PrsNextChar(pprs_, ']')) return ReadTitleFrom(name);
    PrsNextLine(pprs_);
    return true;
  }

  bool ReadKey() { // one or two words, "=", and the value
    KEY key;
    key.ulLine = ulLine_;
    if (!JoinWord(key.name)) return FailLength("name");
    key.cbFirst = key.name.Length();
    bool fTight = CharHere() == '=';
    if (key.cbFirst == 0) return FailKey(key);
    if (!PrsNextChar(pprs_, '=')) {
      if (!JoinWord(key.name)) return FailLength("name");
      key.ulLineSecond = Line();
      fTight = CharHere() == '=';
      if (!PrsNextChar(pprs_, '=')) return FailKey(key);
    }
    // Where a '=' ends a word, the value is on its line, and may be nothing; elsewhere it may be on the next.
    if (fTight && PrsIsEndOfLine(pprs_)) return AddEntry(key.name.View(), "");
    return ReadValue(key.name.View());
  }

  bool ReadValue(std::string_view svName) {
    char achValue[INI_MAX_TEXT];
    Output value(achValue, sizeof achValue);
    if (!TakeSentence(pprs_, value)) return Fail(INI_ERROR_QUOTE, QuoteLine(pprs_), "a quoted text is not closed");
    if (value.IsCut())
      return Fail(INI_ERROR_LENGTH, ulLine_, "a value of more than %d characters, or without an end", INI_MAX_TEXT);
    return AddEntry(svName, value.View());
  }

  bool TakeComment() { // the rest of the line, in files that are read leniently
    if (!fLenient_ || !(PrsQueryChar(pprs_, '#') || PrsQueryChar(pprs_, ';'))) return false;
    PrsNextLine(pprs_);
    return true;
  }

  PARSECTX *const pprs_;
  const bool fLenient_;
  ErrorRecord &error_;
  INIFILE *pini_ = nullptr;
  CHECKEDFILE *pchk_ = nullptr;
  ULONG ulFault_ = 0;       // the code of what is wrong
  ULONG ulLine_ = 0;        // where the entry at hand begins
  std::string_view svWord_; // the word taken last, until the next is looked for
};

// --- Opening ---

struct EndParse {
  void operator()(PARSECTX *pprs) const { PrsEndParse_(pprs); }
};
using Parse = std::unique_ptr<PARSECTX, EndParse>;

void FreeEntries(INIFILE *pini) {
  for (; pini->ulEntries > 0; pini->ulEntries--) {
    const INIENTRY &entry = pini->aentry[pini->ulEntries - 1];
    MemFreeString_(entry.pszName);
    MemFreeString_(entry.pszValue);
  }
}

struct CloseIni {
  template <typename T>
  void operator()(T *pt) const {
    IniClose(reinterpret_cast<INIFILE *>(pt));
  }
};

INIFILE *OpenForReading(const char *pszFile) {
  const Parse parse(PrsStartParse(pszFile, 0, INI_SEPARATORS));
  ErrorRecord nobody(nullptr, pszFile);
  FileParser parser(parse.get(), false, nobody);
  if (!parse || !parser.ReadHeader()) return nullptr;
  std::unique_ptr<INIFILE, CloseIni> ini(New<INIFILE>(source));
  if (!ini || !parser.ReadEntries(ini.get(), nullptr)) return nullptr;
  return ini.release();
}

// The second look at a file that breaks the format. Input that cannot be read again stays refused for what was wrong.
[[gnu::cold]] bool ReadAgain(PARSECTX *pprs, CHECKEDFILE *pchk, ErrorRecord &error) {
  if (!PrsResetToLine(pprs, 1)) return false;
  SetSeparators(pprs, szLenientSeparators);
  FreeEntries(&pchk->ini);
  error.Clear();
  return FileParser(pprs, true, error).ReadLeniently(pchk);
}

[[gnu::cold]] bool ReadFile(const char *pszFile, CHECKEDFILE *pchk, ErrorRecord &error) {
  int iError = 0;
  const Parse parse(StartParse(pszFile, 0, INI_SEPARATORS, iError));
  if (!parse && iError != 0) return error.SetSystem(iError), false;
  if (!parse && pchk->fLenient) return true;
  if (!parse) return error.Set(INI_ERROR_HEADER, 0, "the file is empty"), false;
  FileParser parser(parse.get(), false, error);
  if (parser.ReadHeader() && parser.ReadEntries(&pchk->ini, pchk)) return true;
  return pchk->fLenient && parser.IsTextWrong() && ReadAgain(parse.get(), pchk, error);
}

[[gnu::cold]] INIFILE *OpenChecked(const char *pszFile, bool fLenient, ErrorRecord &error) {
  std::unique_ptr<CHECKEDFILE, CloseIni> file(New<CHECKEDFILE>(source));
  if (!file) return error.SetSystem(ENOMEM), nullptr;
  file->pchkSelf = file.get();
  file->fLenient = fLenient;
  ShowName(file->szFile, pszFile);
  if (!ReadFile(pszFile, file.get(), error)) return nullptr;
  return &file.release()->ini;
}
} // namespace

const CHECKEDFILE *CheckedFile(INIFILE *pini) {
  const auto *pchk = reinterpret_cast<const CHECKEDFILE *>(pini);
  return MemQueryBlockSize(pini) >= sizeof *pchk + MEM_OVERHEAD && pchk->pchkSelf == pchk ? pchk : nullptr;
}

INIFILE *IniOpen(const char *pszFile, ULONG ulMode) {
  if (!pszFile) return nullptr;
  if (ulMode == INI_MODE_READ) return OpenForReading(pszFile);
  ErrorRecord nobody(nullptr, pszFile);
  return OpenForWriting(pszFile, nobody);
}

INIFILE *IniOpenChecked(const char *pszFile, ULONG ulMode, INIERROR *perr) {
  ErrorRecord error(perr, pszFile ? pszFile : "(null)");
  if (!pszFile) return error.Set(INI_ERROR_ARGUMENT, 0, "no file name"), nullptr;
  if (ulMode != INI_MODE_READ && ulMode != INI_MODE_LENIENT) return OpenForWriting(pszFile, error);
  return OpenChecked(pszFile, ulMode == INI_MODE_LENIENT, error);
}

ULONG IniQueryLine(INIFILE *pini, ULONG ulEntry) {
  const CHECKEDFILE *pchk = pini ? CheckedFile(pini) : nullptr;
  return pchk && ulEntry < pini->ulEntries ? pchk->aulLine[ulEntry] : 0;
}

BOOL ParseFile(PARSECTX *pprs, INIFILE *pini) {
  ErrorRecord nobody(nullptr, "");
  PrsNextLine(pprs);
  return FileParser(pprs, false, nobody).ReadEntries(pini, nullptr);
}

ULONG IniClose(INIFILE *pini) {
  if (!pini) return 0;
  if (pini->pfile) std::fclose(pini->pfile);
  FreeEntries(pini);
  MemFreeMem_(pini);
  return 0;
}
