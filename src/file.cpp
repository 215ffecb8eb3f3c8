// file.cpp: path names, directory queries, and the wildcard search.
// Every part of a path name is a stretch of its text: one function finds the stretch, and serves both forms of its
// operation. Nothing here leaves the current directory to look at another one: to ask for DIRECTORY/. takes what it
// takes to enter DIRECTORY.

#include "zebbase/fil.h"

#include <dirent.h>
#include <sys/stat.h>
#include <sys/vfs.h>
#include <unistd.h>

#include <cerrno>
#include <cstddef>
#include <cstring>
#include <memory>
#include <optional>
#include <string_view>
#include <utility>

#include "memory.h"
#include "output.h"
#include "text.h"
#include "zebbase/lst.h"
#include "zebbase/mem.h"

static_assert(sizeof(FILSEARCH) == 4);
static_assert(sizeof(off_t) == 8, "files above 2 GiB must be found");

namespace {
constexpr SOURCE source = "file"; // in allocations
constexpr std::size_t npos = std::string_view::npos;

// Where a character is not there, its position plus one is 0: then nothing stands through it, and the whole follows it.
std::string_view ThroughLast(std::string_view sv, char ch) { return UpTo(sv, sv.rfind(ch) + 1); }
std::string_view ThroughFirst(std::string_view sv, char ch) { return UpTo(sv, sv.find(ch) + 1); }
std::string_view AfterLast(std::string_view sv, char ch) { return From(sv, sv.rfind(ch) + 1); }
std::string_view AfterFirst(std::string_view sv, char ch) { return From(sv, sv.find(ch) + 1); }

bool Has(std::string_view sv, char ch) { return sv.find(ch) != npos; }
bool EndsWith(std::string_view sv, char ch) { return !sv.empty() && sv.back() == ch; }

// The parts of a path name. No value: the text has no such part, and the form in place says so.
using Part = std::optional<std::string_view>;

Part UnlessEmpty(std::string_view sv) { return sv.empty() ? Part() : sv; }

Part FileNameOf(std::string_view sv) { return UnlessEmpty(Has(sv, '/') ? AfterLast(sv, '/') : AfterFirst(sv, ':')); }

Part DirOf(std::string_view sv) { return UnlessEmpty(AfterFirst(ThroughLast(sv, '/'), ':')); }

Part PathOf(std::string_view sv) { return UnlessEmpty(Has(sv, '/') ? ThroughLast(sv, '/') : ThroughFirst(sv, ':')); }

Part DiskOf(std::string_view sv) { return sv.size() >= 2 && sv[1] == ':' ? UpTo(sv, 2) : Part(); }

Part NameOf(std::string_view sv) {
  const std::string_view svFileName = AfterLast(sv, '/');
  return UpTo(svFileName, std::min(svFileName.rfind('.'), svFileName.size()));
}

Part ExtOf(std::string_view sv) { return Has(sv, '.') ? AfterLast(sv, '.') : ""; }

Part DirNameOf(std::string_view sv) {
  if (DiskOf(sv)) sv.remove_prefix(2);
  const std::size_t cbDir = sv.rfind('/');
  if (cbDir == npos) return {};
  return cbDir == 0 ? UpTo(sv, 1) : AfterLast(UpTo(sv, cbDir), '/');
}

Part ParentOf(std::string_view sv) {
  if (EndsWith(sv, '/')) sv.remove_suffix(1);
  return UnlessEmpty(ThroughLast(sv, '/'));
}

void Put(char *pszDest, std::string_view sv) { // sv may lie in pszDest
  std::memmove(pszDest, sv.data(), sv.size());
  pszDest[sv.size()] = '\0';
}

bool Fits(std::size_t cb) {
  if (cb < FIL_MAX_PATH) return true;
  errno = ENAMETOOLONG;
  return false;
}

bool IsPath(const char *psz) { return psz && Fits(std::strlen(psz)); }

// Writes the two halves of a path name, of which the first may lie in pszDest; nothing, when they don't fit.
bool PutPath(char *pszDest, std::string_view svPath, std::string_view svRest = "") {
  if (!Fits(svPath.size() + svRest.size())) return false;
  std::memmove(pszDest, svPath.data(), svPath.size());
  Put(pszDest + svPath.size(), svRest);
  return true;
}

BOOL Keep(char *pszPath, Part (*pfnPart)(std::string_view)) {
  if (!pszPath) return 0;
  const Part part = pfnPart(pszPath);
  Put(pszPath, part.value_or(""));
  return part.has_value();
}

BOOL Get(char *pszDest, const char *pszSource, Part (*pfnPart)(std::string_view)) {
  if (!pszDest) return 0;
  const bool fPath = IsPath(pszSource);
  Put(pszDest, fPath ? pfnPart(pszSource).value_or("") : "");
  return fPath;
}

std::string_view WithoutClosing(std::string_view sv) {
  return sv.size() > 1 && EndsWith(sv, '/') ? UpTo(sv, sv.size() - 1) : sv;
}

std::string_view ClosingFor(std::string_view sv) {
  return sv.empty() || EndsWith(sv, '/') || EndsWith(sv, ':') ? "" : "/";
}

// A directory that another one is resolved against. It has room for two paths, as it may be longer than a path on the
// way, before a ".." makes it shorter again.
class Directory {
 public:
  explicit Directory(std::string_view svBase) { Set(svBase); }

  void Set(std::string_view sv) {
    text_.Shorten(0);
    text_.Put(sv).Put(ClosingFor(sv));
  }

  // Goes where svDir leads. Result: false, with an unfinished text, when a ".." climbs above the root.
  bool Resolve(std::string_view svDir) {
    while (!svDir.empty()) {
      const std::string_view svName = UpTo(svDir, std::min(svDir.find('/'), svDir.size()));
      svDir.remove_prefix(std::min(svName.size() + 1, svDir.size()));
      if (svName == "..") {
        const Part parent = ParentOf(Text());
        if (!parent) return false;
        text_.Shorten(parent->size());
      } else if (!svName.empty() && svName != ".") {
        text_.Put(svName).Put('/');
      }
    }
    return true;
  }

  std::string_view Text() const { return text_.View(); }

 private:
  TextBuffer<2 * FIL_MAX_PATH + 1> text_; // a base with its closing '/', and a path with one
};

bool IsAbsolute(std::string_view sv) { return !sv.empty() && sv.front() == '/'; }

// The current directory with a closing '/', which may take one character more than a path has.
bool ReadCurrentDir(char (&szDir)[FIL_MAX_PATH + 1]) {
  if (!getcwd(szDir, FIL_MAX_PATH)) return false;
  std::strcat(szDir, EndsWith(szDir, '/') ? "" : "/");
  return true;
}

bool CanEnter(std::string_view svDir) {
  TextBuffer<FIL_MAX_PATH + 4> name;
  name.Put(svDir);
  if (!svDir.empty()) name.Put("/."); // an empty text stays one, which names nothing
  struct stat st;
  return stat(name.Text(), &st) == 0;
}

bool Enter(std::string_view svDir) {
  char szDir[FIL_MAX_PATH];
  return PutPath(szDir, WithoutClosing(svDir)) && chdir(szDir) == 0;
}

bool CheckDirectory(std::string_view svDir, ULONG ulMode) {
  if (ulMode == FIL_CHECK_ENTER) return Enter(svDir);
  if (ulMode != FIL_CHECK_EXISTS) return true;
  char szCurrent[FIL_MAX_PATH + 1];
  return ReadCurrentDir(szCurrent) && CanEnter(svDir) && CanEnter(szCurrent);
}

bool PutPart(char *pszDest, std::string_view svDir, std::string_view svFileName, ULONG ulPart) {
  switch (ulPart) {
    case FIL_PART_DISK:
      return PutPath(pszDest, "");
    case FIL_PART_DIR:
    case FIL_PART_PATH:
      return PutPath(pszDest, svDir);
    case FIL_PART_FILENAME:
      return PutPath(pszDest, svFileName);
    default:
      return PutPath(pszDest, svDir, svFileName);
  }
}

// Creates the deepest missing parent that can be created, then what lies below it.
bool MakeWithParents(char *pszPath) {
  const char *pszEnd = pszPath + std::strlen(pszPath);
  do {
    char *pszSlash = std::strrchr(pszPath, '/');
    if (!pszSlash || pszSlash == pszPath) return false;
    *pszSlash = '\0';
  } while (mkdir(pszPath, 0700) != 0);
  for (char *pszCut; (pszCut = pszPath + std::strlen(pszPath)) != pszEnd;) {
    *pszCut = '/';
    if (mkdir(pszPath, 0700) != 0) return false;
  }
  return true;
}

struct CloseDir {
  void operator()(DIR *pdir) const { closedir(pdir); }
};
using DirStream = std::unique_ptr<DIR, CloseDir>;

struct FreeSearch {
  void operator()(FILSEARCH *psearch) const {
    LstDeleteAllBoth(psearch->plstNames);
    LstFreeList_(psearch->plstNames);
    MemFreeMem_(psearch);
  }
};
using Search = std::unique_ptr<FILSEARCH, FreeSearch>;

Search NewSearch() {
  Search search(New<FILSEARCH>(source));
  if (!search) return {};
  search->plstNames = LstNewList(0);
  return search->plstNames ? std::move(search) : Search();
}

struct WANTED {
  const char *pszMask;
  mode_t flKind; // S_IFREG or S_IFDIR
};

// The kind of an entry, as the bits of S_IFMT; 0 when it cannot be queried.
mode_t QueryKind(int fdDir, const dirent &entry, bool fAsk) {
  if (!fAsk && entry.d_type != DT_UNKNOWN && entry.d_type != DT_LNK) return static_cast<mode_t>(DTTOIF(entry.d_type));
  struct stat st;
  return fstatat(fdDir, entry.d_name, &st, 0) == 0 ? st.st_mode & S_IFMT : 0;
}

bool AppendName(LIST *plst, std::string_view sv) {
  Tracked<char> name(AllocateText(sv, source));
  return name && LstInsert(plst, name.get(), LST_END) && name.release();
}

// Lists the full names of the entries that are wanted. The first one that matches is always asked for its kind: that
// shows whether the directory can be queried.
bool BuildPathNameList(LIST *plst, const char *pszDir, const WANTED &wanted) {
  const DirStream dir(opendir(pszDir));
  if (!dir) return false;
  TextBuffer<FIL_MAX_PATH> name;
  const std::size_t cbDir = name.Put(pszDir).Length();
  bool fFirst = true;
  for (errno = 0; const dirent *pentry = readdir(dir.get()); errno = 0) {
    if (!FilFileMatch(wanted.pszMask, pentry->d_name)) continue;
    name.Shorten(cbDir);
    if (name.Put(pentry->d_name).IsCut()) continue;
    const mode_t flKind = QueryKind(dirfd(dir.get()), *pentry, std::exchange(fFirst, false));
    if (flKind == 0) return false;
    if (flKind == wanted.flKind && !AppendName(plst, name.View())) return false;
  }
  return errno == 0;
}

Search Start(const char *pszDir, const WANTED &wanted) {
  Search search = NewSearch();
  return search && BuildPathNameList(search->plstNames, pszDir, wanted) ? std::move(search) : Search();
}

Search StartFiles(const char *pszPattern) {
  char szDir[FIL_MAX_PATH];
  if (!pszPattern || !PutPath(szDir, pszPattern)) return {};
  if (!FilCheckPathName(szDir, FIL_CHECK_NONE, FIL_PART_PATH)) return {};
  const Part mask = FileNameOf(pszPattern); // stands at the end, so it is terminated
  return Start(szDir, {mask ? mask->data() : "", S_IFREG});
}

Search StartDirectories(const char *pszDir) {
  return IsPath(pszDir) && EndsWith(pszDir, '/') ? Start(pszDir, {"*", S_IFDIR}) : Search();
}

// Hands out the first name that has room for its closing; without one, ends the search.
BOOL HandOut(FILSEARCH **phSearch, char *pszResult, std::string_view svClosing) {
  while (LISTITEM *pli = (*phSearch)->plstNames->pliFirst) {
    const Tracked<char> name(static_cast<char *>(pli->pvData));
    LstDelete(pli);
    if (PutPath(pszResult, name.get(), svClosing)) return 1;
  }
  FilEndSearch(phSearch);
  return 0;
}
} // namespace

BOOL FilFileNameOf(char *pszPath) { return Keep(pszPath, FileNameOf); }
BOOL FilGetFileNameOf(char *pszDest, const char *pszSource) { return Get(pszDest, pszSource, FileNameOf); }

BOOL FilDirOf(char *pszPath) { return Keep(pszPath, DirOf); }
BOOL FilGetDirOf(char *pszDest, const char *pszSource) { return Get(pszDest, pszSource, DirOf); }

BOOL FilPathOf(char *pszPath) { return Keep(pszPath, PathOf); }
BOOL FilGetPathOf(char *pszDest, const char *pszSource) { return Get(pszDest, pszSource, PathOf); }

BOOL FilDiskOf(char *pszPath) { return Keep(pszPath, DiskOf); }
BOOL FilGetDiskOf(char *pszDest, const char *pszSource) { return Get(pszDest, pszSource, DiskOf); }

BOOL FilNameOfFileName(char *pszPath) { return Keep(pszPath, NameOf); }
BOOL FilGetNameOfFileName(char *pszDest, const char *pszSource) { return Get(pszDest, pszSource, NameOf); }

BOOL FilExtOfFileName(char *pszPath) { return Keep(pszPath, ExtOf); }
BOOL FilGetExtOfFileName(char *pszDest, const char *pszSource) { return Get(pszDest, pszSource, ExtOf); }

BOOL FilDirNameOf(char *pszPath) { return Keep(pszPath, DirNameOf); }
BOOL FilGetDirNameOf(char *pszDest, const char *pszSource) { return Get(pszDest, pszSource, DirNameOf); }

BOOL FilParentOf(char *pszPath) { return Keep(pszPath, ParentOf); }
BOOL FilGetParentOf(char *pszDest, const char *pszSource) { return Get(pszDest, pszSource, ParentOf); }

char *FilNormalizePath(char *pszDest, const char *pszSource) {
  if (!pszDest) return nullptr;
  if (IsPath(pszSource) && PutPath(pszDest, pszSource, ClosingFor(pszSource))) return pszDest;
  *pszDest = '\0';
  return nullptr;
}

BOOL FilMakeAbsDir(char *pszDir, const char *pszBase) {
  if (!IsPath(pszDir) || !IsPath(pszBase)) return 0;
  Directory directory(IsAbsolute(pszDir) ? "/" : pszBase);
  return directory.Resolve(pszDir) && PutPath(pszDir, directory.Text());
}

BOOL FilCheckPathName(char *pszPath, ULONG ulMode, ULONG ulPart) {
  if (!IsPath(pszPath)) return 0;
  const std::string_view svDir = ThroughLast(pszPath, '/');
  char szCurrent[FIL_MAX_PATH + 1] = "/";
  if (!IsAbsolute(svDir) && !ReadCurrentDir(szCurrent)) return 0;
  Directory directory(szCurrent);
  if (!directory.Resolve(svDir)) directory.Set(svDir);

  // What may not fit is settled before the current directory changes.
  char szPart[FIL_MAX_PATH];
  if (!Fits(directory.Text().size())) return 0;
  if (!PutPart(szPart, directory.Text(), AfterLast(pszPath, '/'), ulPart)) return 0;
  if (!CheckDirectory(directory.Text(), ulMode)) {
    if (!svDir.empty()) pszPath[svDir.size()] = '\0';
    return 0;
  }
  Put(pszPath, szPart);
  return 1;
}

BOOL FilDirExists(const char *pszPath) { // the root does, without a question
  return IsPath(pszPath) && (std::strcmp(pszPath, "/") == 0 || CanEnter(pszPath));
}

BOOL FilPathExists(const char *pszPath) { return FilDirExists(pszPath); }

BOOL FilPathNameExists(const char *pszPathName) { return IsPath(pszPathName) && access(pszPathName, F_OK) == 0; }

BOOL FilMakeDir(const char *pszPath) {
  char szPath[FIL_MAX_PATH];
  if (!IsPath(pszPath)) return 0;
  PutPath(szPath, WithoutClosing(pszPath));
  return mkdir(szPath, 0777) == 0 || MakeWithParents(szPath);
}

BOOL FilMakePath(const char *pszPath) { return FilMakeDir(pszPath); }

char *FilGetPath(char *pszBuffer) {
  if (!pszBuffer) return nullptr;
  char szDir[FIL_MAX_PATH + 1];
  if (ReadCurrentDir(szDir) && PutPath(pszBuffer, szDir)) return pszBuffer;
  *pszBuffer = '\0';
  return nullptr;
}

BOOL FilSetPath(const char *pszPath) { return IsPath(pszPath) && (*pszPath == '\0' || Enter(pszPath)); }

ULONG FilGetPathFree(const char *pszPath) {
  struct statfs fs;
  if (!IsPath(pszPath) || statfs(pszPath, &fs) != 0) return 0;
  return static_cast<ULONG>(fs.f_bavail) * static_cast<ULONG>(fs.f_bsize);
}

BOOL FilDiskExists(void) { return 1; }

ULONG FilGetDiskMap(void) { return 0; }

BOOL FilGetNextPathName(FILSEARCH **phSearch, const char *pszPattern, char *pszResult, ULONG) {
  if (!phSearch || !pszResult) return 0;
  if (!*phSearch) *phSearch = StartFiles(pszPattern).release();
  return *phSearch && HandOut(phSearch, pszResult, "");
}

BOOL FilGetNextPath(FILSEARCH **phSearch, const char *pszDir, char *pszResult) {
  if (!phSearch || !pszResult) return 0;
  if (!*phSearch) *phSearch = StartDirectories(pszDir).release();
  return *phSearch && HandOut(phSearch, pszResult, "/");
}

void FilEndSearch(FILSEARCH **phSearch) {
  if (phSearch) Search(std::exchange(*phSearch, nullptr));
}

BOOL FilDirMatch(char *pszPathName, const char *pszFrom, const char *pszTo, char *pszResult) {
  if (!pszPathName || !pszFrom || !pszTo || !pszResult) return 0;
  char *pszSlash = std::strrchr(pszPathName, '/');
  if (!pszSlash) return 0;
  *pszSlash = '\0';
  const char *pszFileName = pszSlash + 1;

  const std::size_t cbFrom = std::strlen(pszFrom);
  if (CompareNoCase(pszPathName, pszFrom, cbFrom) != 0) return 0;
  const char *pszRest = pszPathName + cbFrom;
  if (*pszRest && *pszRest != '/') return 0;

  const std::string_view svTo = pszTo;
  const std::size_t cbDir = svTo.size() + std::strlen(pszRest);
  if (!Fits(cbDir + 1 + std::strlen(pszFileName)) || !PutPath(pszResult, svTo, pszRest)) return 0;
  if (!FilDirExists(pszResult) && !FilMakeDir(pszResult)) return 0;
  pszResult[cbDir] = '/';
  return PutPath(pszResult + cbDir + 1, pszFileName);
}
