// zebini.cpp: INI files from the shell: checked, read, changed and compared.
// What a file holds is what the library reads in it. A change is made in the text, and tried out on a copy in memory:
// only one by which the library reads all entries as before, but for the one that was to change, is written.

#include <strings.h>
#include <sys/mman.h>
#include <unistd.h>

#include <algorithm>
#include <cctype>
#include <climits>
#include <initializer_list>
#include <string_view>

#include "file.h"
#include "tool.h"

namespace {
using zebbase::Ini;

// --- Texts ---

// A text opened as a file. The name that errors begin with is that of a file in memory: it is cut off them.
Ini OpenText(std::string_view sv, zebbase::Error &error) {
  const File file(memfd_create("zebini", MFD_CLOEXEC));
  if (!file || !WriteAll(file.get(), sv)) {
    error.ulCode = INI_ERROR_SYSTEM;
    std::snprintf(error.szText, sizeof error.szText, ": %s", std::strerror(errno));
    return nullptr;
  }
  char szPath[32];
  const int cbPath = std::snprintf(szPath, sizeof szPath, "/proc/self/fd/%d", file.get());
  Ini ini(IniOpenChecked(szPath, INI_MODE_LENIENT, &error));
  std::memmove(error.szText, error.szText + (error ? cbPath : 0),
               sizeof error.szText - static_cast<std::size_t>(cbPath));
  return ini;
}

// A part of a text; unlike substr it needs no exceptions.
std::string_view Part(std::string_view sv, std::size_t cbFrom, std::size_t cbTo) {
  return {sv.data() + cbFrom, cbTo - cbFrom};
}

// Where a line begins, as an offset. The library counts lines from 1, and the pieces of a long one.
std::size_t OffsetOfLine(std::string_view sv, ULONG ulLine) {
  std::size_t cb = 0;
  for (; ulLine > 1 && cb < sv.size(); ulLine--)
    cb = std::min({sv.find('\n', cb), sv.size() - 1, cb + PRS_LINE_SIZE - 2}) + 1;
  return cb;
}

// --- Entries ---

STATUS CannotOpen(const char *pszFile, const zebbase::Error &error) { // a text; with "", a file
  std::fprintf(stderr, "%s%s\n", pszFile, error.szText);
  return statusTrouble;
}

// A name as the library joins it. One that is too long for a file stays too long.
struct Name {
  explicit Name(const char *psz) {
    std::size_t cb = 0;
    for (; *psz && cb <= INI_MAX_TEXT; psz++)
      if (!std::strchr(" \t\r\n", *psz)) sz[cb++] = *psz;
  }
  char sz[INI_MAX_TEXT + 2] = "";
};

constexpr ULONG ulNone = 0xFFFFFFFF;

bool IsNamed(const INIENTRY &entry, const char *pszName) { return strcasecmp(entry.pszName, pszName) == 0; }

// The first entry behind a section's title, or of the file for "".
ULONG StartOf(const Ini &ini, const char *pszSection) {
  if (!*pszSection) return 0;
  const ULONG ulStart = FindStructure(ini.get(), pszSection);
  return ulStart == 0 ? ulNone : ulStart;
}

ULONG EndOf(const Ini &ini, ULONG ulStart) { // the next title, or the end of the table
  while (ulStart < ini->ulEntries && !ini->aentry[ulStart].flTitle) ulStart++;
  return ulStart;
}

ULONG FindKey(const Ini &ini, const char *pszSection, const char *pszKey) {
  const ULONG ulStart = StartOf(ini, pszSection);
  if (ulStart == ulNone) return ulNone;
  const ULONG ulEnd = EndOf(ini, ulStart);
  for (ULONG ul = ulStart; ul < ulEnd; ul++)
    if (IsNamed(ini->aentry[ul], pszKey)) return ul;
  return ulNone;
}

void PutEntry(const char *pszBefore, const char *pszSection, const INIENTRY &entry) {
  std::printf(*pszSection ? "%s[%s]" : "%s", pszBefore, pszSection);
  if (!entry.flTitle) std::printf(*pszSection ? " %s = %s" : "%s = %s", entry.pszName, entry.pszValue);
  std::putchar('\n');
}

// Calls visit(section, entry number) for each key, and for each title.
template <typename Visit>
void ForEntries(const Ini &ini, const Visit &visit) {
  const char *pszSection = "";
  for (ULONG ul = 0; ul < ini->ulEntries; ul++) {
    if (ini->aentry[ul].flTitle) pszSection = ini->aentry[ul].pszName;
    visit(pszSection, ul);
  }
}

// The number of the entry that is read for a section, or for a key in it; ulNone, or one behind all, for none.
ULONG FindEntry(const Ini &ini, const char *pszSection, const INIENTRY &entry) {
  return entry.flTitle ? StartOf(ini, pszSection) - 1 : FindKey(ini, pszSection, entry.pszName);
}

// --- Commands that read ---

// Tells of a second key or section of a name. Result: how many there are.
ULONG CheckTwice(const char *pszFile, const Ini &ini) {
  ULONG ulMistakes = 0;
  ForEntries(ini, [&](const char *pszSection, ULONG ul) {
    const INIENTRY &entry = ini->aentry[ul];
    const ULONG ulFirst = FindEntry(ini, pszSection, entry);
    if (ulFirst >= ul) return;
    std::printf("%s:%lu: ", pszFile, IniQueryLine(ini.get(), ul));
    std::printf(entry.flTitle ? "[%s]" : "%s", entry.pszName);
    std::printf(": a second one; the first is in line %lu\n", IniQueryLine(ini.get(), ulFirst));
    ulMistakes++;
  });
  return ulMistakes;
}

// Makes a comment of a line; or, where there is room, a title that no file has: no key gets into another section.
void LeaveOut(char *pch, std::size_t cb, bool fTitle, ULONG ulNumber) {
  std::memset(pch, ' ', cb);
  pch[0] = '#';
  const char achTitle[] = {'[', static_cast<char>(0x80 + ulNumber), ']'};
  if (fTitle && cb >= sizeof achTitle) std::memcpy(pch, achTitle, sizeof achTitle);
}

// What is wrong with a file: of each mistake that the library tells, the line is left out of the text, which is then
// tried again.
STATUS CheckFile(const char *pszFile) {
  constexpr ULONG ulMost = 100;
  Buffer buffer;
  if (!ReadFile(pszFile, buffer)) return SystemTrouble(pszFile, errno);
  auto *pch = const_cast<char *>(buffer.View().data());
  for (ULONG ul = 0; ul < ulMost; ul++) {
    zebbase::Error error = {};
    const Ini ini = OpenText(buffer.View(), error);
    if (ini) return CheckTwice(pszFile, ini) + ul == 0 ? statusGood : statusNo;
    if (error.ulCode == INI_ERROR_SYSTEM || error.ulCode == INI_ERROR_MEMORY) return CannotOpen(pszFile, error);
    std::printf("%s%s\n", pszFile, error.szText);
    if (error.ulLine == 0) return statusNo;
    const std::size_t cb = OffsetOfLine(buffer.View(), error.ulLine);
    const std::size_t cbEnd = std::min(buffer.View().find('\n', cb), buffer.View().size());
    if (cb == cbEnd || pch[cb] == '#') return statusNo;
    LeaveOut(pch + cb, cbEnd - cb, error.ulCode == INI_ERROR_TITLE, ul);
  }
  std::printf("%s: more than %lu mistakes\n", pszFile, ulMost);
  return statusNo;
}

STATUS Check(char **ppszFile, int iCount) { return ForFiles(ppszFile, iCount, CheckFile); }

STATUS Get(char **ppsz, int) {
  const auto ini = zebbase::OpenIni(ppsz[0]);
  if (!ini) return CannotOpen("", ini.error());
  const auto value = zebbase::FindValue(*ini, Name(ppsz[1]).sz, Name(ppsz[2]).sz);
  if (!value) return statusNo;
  std::puts(*value);
  return statusGood;
}

STATUS List(char **ppsz, int iCount) {
  const auto ini = zebbase::OpenIni(ppsz[0]);
  if (!ini) return CannotOpen("", ini.error());
  const Name section(iCount > 1 ? ppsz[1] : "");
  STATUS status = iCount > 1 ? statusNo : statusGood;
  ForEntries(*ini, [&](const char *pszSection, ULONG ul) {
    if (iCount > 1 && strcasecmp(pszSection, section.sz) != 0) return;
    status = statusGood;
    PutEntry("", pszSection, ini->aentry[ul]);
  });
  return status;
}

// Puts the entries that only the first has, or has with another value, with a - or a +. What is not read, such as a
// second key of a name, plays no part.
bool PutDifferences(const char *pszBefore, const Ini &ini, const Ini &iniOther) {
  bool fDifferent = false;
  ForEntries(ini, [&](const char *pszSection, ULONG ul) {
    const INIENTRY &entry = ini->aentry[ul];
    if (FindEntry(ini, pszSection, entry) != ul) return;
    const ULONG ulOther = FindEntry(iniOther, pszSection, entry);
    const bool fSame = ulOther < iniOther->ulEntries &&
                       (entry.flTitle || std::strcmp(entry.pszValue, iniOther->aentry[ulOther].pszValue) == 0);
    if (!fSame) PutEntry(pszBefore, pszSection, entry);
    fDifferent |= !fSame;
  });
  return fDifferent;
}

STATUS Diff(char **ppszFile, int) {
  const auto ini1 = zebbase::OpenIni(ppszFile[0]), ini2 = zebbase::OpenIni(ppszFile[1]);
  if (!ini1) return CannotOpen("", ini1.error());
  if (!ini2) return CannotOpen("", ini2.error());
  const bool fLess = PutDifferences("-", *ini1, *ini2), fMore = PutDifferences("+", *ini2, *ini1);
  return fLess || fMore ? statusNo : statusGood;
}

// --- Changing ---

// The end of a value that begins at cb: of its line, or of the last of several quoted texts.
std::size_t EndOfValue(std::string_view sv, std::size_t cb) {
  const auto SkipWhite = [sv](std::size_t cbAt) {
    return std::min(sv.find_first_not_of(" \t\r\n\v\f", cbAt), sv.size());
  };
  if (cb >= sv.size() || sv[cb] != '"') return std::min(sv.find_first_of("\r\n", cb), sv.size());
  std::size_t cbEnd = cb;
  for (cb = SkipWhite(cb); cb < sv.size() && sv[cb] == '"'; cb = SkipWhite(cbEnd))
    cbEnd = std::min(sv.find('"', cb + 1), sv.size() - 1) + 1;
  return cbEnd;
}

// The entry that is to be added or to get another value.
struct CHANGE {
  const char *pszSection, *pszKey, *pszValue; // as they are to be written
  const Name section, key;
  ULONG ulEntry; // its number; or where it comes to stand
  ULONG ulNew;   // entries that are added before the rest: 0, 1, or 2 with a title
};

bool IsSame(const INIENTRY &entry1, const INIENTRY &entry2) {
  if (entry1.flTitle != entry2.flTitle || std::strcmp(entry1.pszName, entry2.pszName) != 0) return false;
  return entry1.flTitle || std::strcmp(entry1.pszValue, entry2.pszValue) == 0;
}

bool IsWanted(const INIENTRY &entry, const CHANGE &change, bool fKey) { // the key, or the title of a new section
  if (!fKey) return entry.flTitle && IsNamed(entry, change.section.sz);
  return !entry.flTitle && IsNamed(entry, change.key.sz) && std::strcmp(entry.pszValue, change.pszValue) == 0;
}

// Whether a changed text has the entries of the file, with the change and nothing else.
bool IsChanged(const Ini &ini, std::string_view svNew, const CHANGE &change) {
  zebbase::Error error = {};
  const Ini iniNew = OpenText(svNew, error);
  if (!iniNew || iniNew->ulEntries != ini->ulEntries + change.ulNew) return false;
  const ULONG ulKey = change.ulEntry + (change.ulNew == 2);
  for (ULONG ul = 0; ul < iniNew->ulEntries; ul++) {
    const INIENTRY &entry = iniNew->aentry[ul];
    const bool fChanged = ul >= change.ulEntry && ul <= ulKey;
    const ULONG ulOld = ul > ulKey ? ul - change.ulNew : ul;
    if (fChanged ? !IsWanted(entry, change, ul == ulKey) : !IsSame(entry, ini->aentry[ulOld])) return false;
  }
  return true;
}

// Puts a change into the text of a file.
class Editor {
 public:
  Editor(const Ini &ini, std::string_view sv, CHANGE change)
      : ini_(ini), sv_(sv), change_(change), pszNew_(sv.find("\r\n") == sv.npos ? "\n" : "\r\n") {}

  bool Run() { // result: whether there is a text with the change, and nothing else
    const ULONG ulStart = StartOf(ini_, change_.section.sz);
    if (ulStart == ulNone) return AddSection();
    change_.ulEntry = FindKey(ini_, change_.section.sz, change_.key.sz);
    return change_.ulEntry != ulNone ? Replace() : AddKey(ulStart);
  }
  std::string_view View() const { return bufferNew_.View(); }

 private:
  static constexpr int iMostTries = 100;

  std::size_t OffsetOfEntry(ULONG ul) const {
    return ul < ini_->ulEntries ? OffsetOfLine(sv_, IniQueryLine(ini_.get(), ul)) : sv_.size();
  }

  // Replaces a stretch by the value, with texts around it, in quotes where there were some or where only so the value
  // is read whole. Without them, blanks behind it on its line would belong to the value.
  bool Try(std::size_t cbFrom, std::size_t cbTo, std::initializer_list<const char *> before,
           const char *pszAfter = "") {
    const bool fWasQuoted = cbFrom < cbTo && sv_[cbFrom] == '"';
    for (const bool fQuoted : {fWasQuoted, !fWasQuoted}) {
      const char *pszQuote = fQuoted ? "\"" : "";
      if (!fQuoted && !*pszAfter) cbTo = std::min(sv_.find_first_not_of(" \t", cbTo), sv_.size());
      Buffer buffer;
      bool fGood = buffer.Put(Part(sv_, 0, cbFrom));
      for (const char *psz : before) fGood = fGood && buffer.Put(psz);
      for (const char *psz : {pszQuote, change_.pszValue, pszQuote, pszAfter}) fGood = fGood && buffer.Put(psz);
      if (!fGood || !buffer.Put(Part(sv_, cbTo, sv_.size()))) return false;
      if (!IsChanged(ini_, buffer.View(), change_)) continue;
      bufferNew_ = std::move(buffer);
      return true;
    }
    return false;
  }

  // The value stands behind one of the '=' from the line of its key on; it may begin on the next line.
  bool Replace() {
    std::size_t cb = OffsetOfEntry(change_.ulEntry);
    for (int i = 0; i < iMostTries && (cb = sv_.find('=', cb)) != sv_.npos; i++) {
      const bool fApart = cb > 0 && std::isspace(static_cast<unsigned char>(sv_[cb - 1]));
      const std::size_t cbValue = std::min(sv_.find_first_not_of(" \t", ++cb), sv_.size());
      const std::size_t cbNext = std::min(sv_.find_first_not_of(" \t\r\n", cb), sv_.size());
      const char *pszBlank = fApart && cbValue == cb ? " " : "";
      if (Try(cbValue, EndOfValue(sv_, cbValue), {pszBlank}) || Try(cbValue, EndOfValue(sv_, cbNext), {pszBlank}))
        return true;
    }
    return false;
  }

  // A new key stands behind those of its section; or before them, where the last takes what follows for its value.
  bool AddKey(ULONG ulStart) {
    change_.ulNew = 1;
    change_.ulEntry = EndOf(ini_, ulStart);
    if (AddKeyAt(ulStart)) return true;
    change_.ulEntry = ulStart;
    return AddKeyAt(ulStart) || Try(0, 0, {change_.pszKey, " = "}, pszNew_); // a file that begins with a title
  }

  // The key has a line of its own, as far in as that before it. A title or a quoted text may have to end on this.
  bool AddKeyAt(ULONG ulStart) {
    std::size_t cb = change_.ulEntry > 0 ? OffsetOfEntry(change_.ulEntry - 1) : 0;
    const std::size_t cbIndent = std::min(sv_.find_first_not_of(" \t", cb), sv_.size()) - cb;
    char szIndent[32];
    std::snprintf(szIndent, sizeof szIndent, "%.*s", static_cast<int>(cbIndent), sv_.data() + cb);
    if (change_.ulEntry == ulStart) std::strcpy(szIndent, ulStart > 0 ? "  " : "");
    for (const char *pszEnds : {"\n", "]\""}) {
      std::size_t cbAt = cb;
      for (int i = 0; i < iMostTries && cbAt < sv_.size(); i++) {
        cbAt = std::min(sv_.find_first_of(pszEnds, cbAt), sv_.size() - 1) + 1;
        const char *pszLineEnd = sv_[cbAt - 1] == '\n' ? "" : pszNew_;
        if (Try(cbAt, cbAt, {pszLineEnd, szIndent, change_.pszKey, " = "}, pszNew_)) return true;
      }
    }
    return false;
  }

  bool AddSection() {
    change_.ulEntry = ini_->ulEntries;
    change_.ulNew = 2;
    const char *pszLineEnd = sv_.empty() || sv_.back() == '\n' ? "" : pszNew_;
    for (const char *pszHeader : {"", "[ zebini ]"}) // where there is none, the title may be taken for it
      if (Try(sv_.size(), sv_.size(),
              {pszLineEnd, pszHeader, *pszHeader ? pszNew_ : "", pszNew_, "[ ", change_.pszSection, " ]", pszNew_, "  ",
               change_.pszKey, " = "},
              pszNew_))
        return true;
    return false;
  }

  const Ini &ini_;
  const std::string_view sv_;
  CHANGE change_;
  const char *const pszNew_; // what ends a line of the file
  Buffer bufferNew_;
};

STATUS Set(char **ppsz, int) {
  const char *pszFile = ppsz[0];
  struct stat st;
  if (stat(pszFile, &st) == 0 && !S_ISREG(st.st_mode)) return Trouble(pszFile, "not a regular file");
  Buffer buffer;
  if (!ReadFile(pszFile, buffer)) return SystemTrouble(pszFile, errno);
  zebbase::Error error = {};
  const Ini ini = OpenText(buffer.View(), error);
  if (!ini) return CannotOpen(pszFile, error);
  Editor editor(ini, buffer.View(), {ppsz[1], ppsz[2], ppsz[3], Name(ppsz[1]), Name(ppsz[2]), 0, 0});
  if (!editor.Run()) return Trouble(pszFile, "the file cannot hold [%s] %s = %s", ppsz[1], ppsz[2], ppsz[3]);
  if (const int iError = ReplaceFile(pszFile, editor.View())) return SystemTrouble(pszFile, iError);
  return statusGood;
}

constexpr COMMAND aCommand[] = {
    {"check", "FILE...", 1, INT_MAX, Check},
    {"get", "FILE SECTION KEY", 3, 3, Get},
    {"set", "FILE SECTION KEY VALUE", 4, 4, Set},
    {"list", "FILE [SECTION]", 1, 2, List},
    {"diff", "FILE FILE", 2, 2, Diff},
    {},
};
constexpr TOOL tool = {
    "zebini",
    "check  tells every mistake with its line\n"
    "get    prints a value\n"
    "set    changes or adds a key, and leaves everything else as it is\n"
    "list   prints the keys, one to a line\n"
    "diff   prints the keys that only the first file (-) or the second (+) has so\n"
    "The SECTION of the keys before the first section is ''. The status is 0; 1 for a mistake, a difference or what\n"
    "is not there; 2 for a file that cannot be read or written.\n",
    aCommand};
} // namespace

int main(int argc, char **argv) { return Main(tool, argc, argv); }
