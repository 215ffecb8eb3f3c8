// inisave.cpp: saving described data, all or nothing.
// The data is looked through twice before anything is written. The first time, every value is tried, and every name
// goes into a table, where it must be new: of equal names the reader finds the first alone. The second time, the names
// that the reader will look for in vain, behind the last of a list and for null references, are held against the table.
// Then a new file is written beside the old one, and takes its place.

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cassert>
#include <cerrno>
#include <climits>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <string_view>
#include <utility>

#include "guard.h"
#include "inierror.h"
#include "ininame.h"
#include "iniwriter.h"
#include "readback.h"
#include "text.h"
#include "zebbase/fil.h"

namespace {
// --- NameTable ---

void JoinTitle(Name &name, const TITLE &title) {
  if (title.ptitleOuter) JoinTitle(name, *title.ptitleOuter);
  AddWord(name, title.pszName, title.ulNumber);
}

// The name under which the reader looks for a field: for a section that of all the sections around it as well.
void JoinName(Name &name, FieldView field, const TITLE *ptitle, ULONG ulNumber) {
  if (ptitle && IsSection(field.Type())) JoinTitle(name, *ptitle);
  AddWord(name, field.Name(), ulNumber);
}

// All names of a file, each in its scope: that of the titles, or that of the keys of a section. The table is large, so
// it is for the heap, and not for tracked memory, whose limits may be fatal. Only the entries used are touched.
class NameTable {
 public:
  void Clear() {
    ulEntries_ = 0;
    std::memset(ausSlot_, 0, sizeof ausSlot_);
  }
  bool IsFull() const { return ulEntries_ == INI_MAX_ENTRIES; }
  bool Has(ULONG ulScope, std::string_view svName) const { return ausSlot_[SlotOf(ulScope, svName)] != 0; }
  bool Add(ULONG ulScope, std::string_view svName) { // while not full; result: whether it was new
    assert(!IsFull() && svName.size() <= INI_MAX_TEXT);
    const ULONG ulSlot = SlotOf(ulScope, svName);
    if (ausSlot_[ulSlot] != 0) return false;
    ENTRY &entry = aentry_[ulEntries_];
    entry.ulScope = ulScope;
    entry.bLength = static_cast<BYTE>(svName.size());
    std::memcpy(entry.achName, svName.data(), svName.size());
    ausSlot_[ulSlot] = static_cast<USHORT>(++ulEntries_);
    return true;
  }

 private:
  struct ENTRY {
    ULONG ulScope;
    BYTE bLength;
    char achName[INI_MAX_TEXT];
  };
  static constexpr ULONG ulSlots = 8192; // a power of two, well above INI_MAX_ENTRIES

  // The slot of a name, or the free one where it would be.
  ULONG SlotOf(ULONG ulScope, std::string_view svName) const {
    ULONG ulHash = ulScope * 0x9E3779B1;
    for (const char ch : svName) ulHash = (ulHash ^ static_cast<unsigned char>(ToLower(ch))) * 0x01000193;
    ULONG ul = (ulHash ^ ulHash >> 16) % ulSlots;
    while (ausSlot_[ul] != 0 && !IsEntry(aentry_[ausSlot_[ul] - 1], ulScope, svName)) ul = (ul + 1) % ulSlots;
    return ul;
  }
  static bool IsEntry(const ENTRY &entry, ULONG ulScope, std::string_view svName) {
    return entry.ulScope == ulScope && EqualNoCase({entry.achName, entry.bLength}, svName);
  }

  ULONG ulEntries_;
  USHORT ausSlot_[ulSlots]; // numbers of entries, counted from 1
  ENTRY aentry_[INI_MAX_ENTRIES];
};

constexpr ULONG ulTitles = 0; // the scope of the titles
constexpr ULONG KeysOf(ULONG ulSection) { return ulSection + 1; }

// --- Checks ---

// What the two looks at the data have in common: they number the sections, and stop at the first fault.
class Look {
 public:
  Look(NameTable &names, ErrorRecord &error) : names_(names), error_(error) {}
  bool IsStopped() const { return ulCode_ != 0; }
  ULONG Code() const { return ulCode_; }

 protected:
  static ULONG SectionOf(const TITLE *ptitle) { return ptitle ? ptitle->ulSection : 0; }
  ULONG LastSection() const { return ulSections_; }
  void NumberSection(TITLE &title) { title.ulSection = ++ulSections_; }

  void Judge(const FAULT &fault, FieldView field, const TITLE *ptitle, ULONG ulNumber) {
    if (fault.ulCode == 0 || IsStopped()) return;
    ErrorText place;
    if (ptitle) {
      place.Put('[');
      PutTitle(place, *ptitle);
      place.Put(" ] ");
    }
    PutWord(place, field.Name() ? field.Name() : "(no name)", ulNumber);
    ulCode_ = error_.Set(fault.ulCode, 0, "%s: %s", place.Text(), fault.pszText);
  }

  NameTable &names_;

 private:
  ErrorRecord &error_;
  ULONG ulSections_ = 0;
  ULONG ulCode_ = 0;
};

class FirstLook : public Look {
 public:
  using Look::Look;

  void OnField(FieldView field, const TITLE *ptitle) { Judge(CheckDescriptor(field), field, ptitle, ulNoNumber); }
  void OnTitle(FieldView field, TITLE &title) {
    Enter(ulTitles, field, title.ptitleOuter, title.ulNumber);
    NumberSection(title);
  }
  void OnValue(FieldView field, const BYTE *pb, const TITLE *ptitle, ULONG ulNumber) {
    if (SectionOf(ptitle) != LastSection())
      return Judge({INI_ERROR_DESC, "it comes after a structure, and would stand in its section"}, field, ptitle,
                   ulNumber);
    Enter(KeysOf(LastSection()), field, ptitle, ulNumber);
    Judge(CheckValue(field, pb), field, ptitle, ulNumber);
  }
  void OnEnd(FieldView, const TITLE *, ULONG) {}
  void OnLoss(const FAULT &fault, FieldView field, const TITLE *ptitle, ULONG ulNumber) {
    Judge(fault, field, ptitle, ulNumber);
  }

 private:
  void Enter(ULONG ulScope, FieldView field, const TITLE *ptitle, ULONG ulNumber) {
    Name name;
    JoinName(name, field, ptitle, ulNumber);
    FAULT fault;
    if (name.IsCut())
      fault = {INI_ERROR_LENGTH, "its name is longer than 127 characters"};
    else if (names_.IsFull())
      fault = {INI_ERROR_ENTRIES, "a file has no more than 5100 sections and keys"};
    else if (!names_.Add(ulScope, name.View()))
      fault = {INI_ERROR_NAME, "its name comes twice"};
    Judge(fault, field, ptitle, ulNumber);
  }
};
static_assert(INI_MAX_TEXT == 127 && INI_MAX_ENTRIES == 5100);

class SecondLook : public Look {
 public:
  using Look::Look;

  void OnField(FieldView, const TITLE *) {}
  void OnTitle(FieldView, TITLE &title) { NumberSection(title); }
  void OnValue(FieldView, const BYTE *, const TITLE *, ULONG) {}
  void OnEnd(FieldView field, const TITLE *ptitle, ULONG ulNumber) {
    Name name;
    JoinName(name, field, ptitle, ulNumber);
    const ULONG ulScope = IsSection(field.Type()) ? ulTitles : KeysOf(SectionOf(ptitle));
    if (!name.IsCut() && names_.Has(ulScope, name.View()))
      Judge({INI_ERROR_NAME, "it is not there, but would be found under the name of another"}, field, ptitle, ulNumber);
  }
  void OnLoss(const FAULT &, FieldView, const TITLE *, ULONG) {}
};

struct FreeMemory {
  void operator()(void *pv) const { std::free(pv); }
};

ULONG CheckData(const void *pvData, const FDSC *pfdsc, ErrorRecord &error) {
  const std::unique_ptr<NameTable, FreeMemory> names(static_cast<NameTable *>(std::malloc(sizeof(NameTable))));
  if (!names) return error.SetSystem(ENOMEM);
  names->Clear();
  FirstLook first(*names, error);
  WalkInFileOrder(first, pvData, pfdsc);
  if (first.IsStopped()) return first.Code();
  SecondLook second(*names, error);
  WalkInFileOrder(second, pvData, pfdsc);
  return second.Code();
}

// --- The file ---

class Descriptor {
 public:
  Descriptor() = default;
  ~Descriptor() {
    if (i_ >= 0) close(i_);
  }
  Descriptor(const Descriptor &) = delete;
  Descriptor &operator=(const Descriptor &) = delete;
  bool Take(int i) { return (i_ = i) >= 0; }
  int Get() const { return i_; }
  int Release() { return std::exchange(i_, -1); }

 private:
  int i_ = -1;
};

using Path = char[PATH_MAX];

// Replaces a path by what it leads to, as far as it leads: a link may be one to a file that is yet to be made.
bool FollowLinks(Path &szPath) {
  constexpr int iMostLinks = 40; // as many as the system follows
  for (int i = 0; i <= iMostLinks; i++) {
    Path szLink;
    const ssize_t cb = readlink(szPath, szLink, sizeof szLink - 1);
    if (cb < 0) return errno == EINVAL || errno == ENOENT; // no link
    const char *pszSlash = szLink[0] == '/' ? nullptr : std::strrchr(szPath, '/');
    TextBuffer<sizeof(Path)> path;
    path.Put({szPath, pszSlash ? pszSlash + 1 : szPath}).Put({szLink, static_cast<std::size_t>(cb)});
    errno = ENAMETOOLONG;
    if (path.IsCut()) return false;
    std::memcpy(szPath, path.Text(), path.Length() + 1);
  }
  errno = ELOOP;
  return false;
}

// A file that takes the place of another one once it is whole; before, it stands beside it, and goes with its owner.
// Operations that fail leave the reason in errno.
class Replacement {
 public:
  Replacement() = default;
  ~Replacement() {
    file_.reset();
    if (szNew_[0] != '\0') unlinkat(folder_.Get(), szNew_, 0);
  }
  Replacement(const Replacement &) = delete;
  Replacement &operator=(const Replacement &) = delete;

  FILE *Stream() { return file_.get(); }

  bool Open(const char *pszFile) {
    Path szPath;
    if (!Format(szPath, "%s", pszFile) || !FollowLinks(szPath) || !OpenFolder(szPath)) return false;
    struct stat st;
    const bool fOld = fstatat(folder_.Get(), szName_, &st, AT_SYMLINK_NOFOLLOW) == 0;
    if (!fOld) return errno == ENOENT && Create(0666);
    errno = S_ISDIR(st.st_mode) ? EISDIR : EINVAL;
    if (!S_ISREG(st.st_mode) || faccessat(folder_.Get(), szName_, W_OK, AT_EACCESS) != 0) return false;
    return Create(S_IRUSR | S_IWUSR) && TakeOver(st);
  }

  // The order is what makes it safe: the new file is on the disk before its name leads to it.
  bool Commit() {
    if (std::fflush(file_.get()) != 0 || std::ferror(file_.get()) || fsync(fileno(file_.get())) != 0) return false;
    if (std::fclose(file_.release()) != 0) return false;
    if (renameat(folder_.Get(), szNew_, folder_.Get(), szName_) != 0) return false;
    szNew_[0] = '\0';
    return fsync(folder_.Get()) == 0 || errno == EINVAL; // some file systems sync no folders
  }

 private:
  bool OpenFolder(const char *pszPath) {
    const char *pszSlash = std::strrchr(pszPath, '/');
    const char *pszName = pszSlash ? pszSlash + 1 : pszPath;
    Path szFolder = ".";
    if (pszSlash) Format(szFolder, "%.*s", static_cast<int>(pszName - pszPath), pszPath);
    errno = ENAMETOOLONG;
    return Format(szName_, "%s", pszName) && folder_.Take(open(szFolder, O_RDONLY | O_DIRECTORY | O_CLOEXEC));
  }

  bool Create(mode_t mode) {
    constexpr ULONG ulMostTries = 1000;
    constexpr int iFlags = O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC;
    Descriptor file;
    for (ULONG ul = 0; file.Get() < 0; ul++) {
      Format(szNew_, "%.100s.new-%lu-%lu", szName_, static_cast<ULONG>(getpid()), ul);
      if (file.Take(openat(folder_.Get(), szNew_, iFlags, mode))) break;
      if (errno == EEXIST && ul < ulMostTries) continue;
      szNew_[0] = '\0'; // not made here
      return false;
    }
    file_.reset(fdopen(file.Get(), "w"));
    if (!file_) return false;
    file.Release();
    return true;
  }

  // The mode of the old file; its owner and group where the system allows it, and else not what would act for them.
  bool TakeOver(const struct stat &st) {
    const int iFile = fileno(file_.get());
    mode_t mode = st.st_mode & 07777;
    if (fchown(iFile, st.st_uid, st.st_gid) != 0) mode &= ~static_cast<mode_t>(S_ISUID | S_ISGID);
    return fchmod(iFile, mode) == 0;
  }

  Descriptor folder_;
  char szName_[NAME_MAX + 1] = ""; // both names within the folder
  char szNew_[NAME_MAX + 1] = "";  // while there is such a file
  File file_;
};

void WriteFile(FILE *pf, const char *pszName, const void *pvData, const FDSC *pfdsc) {
  WriteHeader(pf, pszName);
  FileWriter<PutExactValue> writer(pf);
  WalkInFileOrder(writer, pvData, pfdsc);
}

ULONG ReplaceFile(const char *pszFile, const char *pszName, const void *pvData, const FDSC *pfdsc, ErrorRecord &error) {
  Replacement file;
  if (!file.Open(pszFile))
    return errno == EINVAL ? error.Set(INI_ERROR_SYSTEM, 0, "not a regular file") : error.SetSystem(errno);
  errno = 0;
  WriteFile(file.Stream(), pszName, pvData, pfdsc);
  return file.Commit() ? 0 : error.SetSystem(errno != 0 ? errno : EIO);
}
} // namespace

ULONG IniSave(const char *pszFile, const void *pvData, const FDSC *pfdsc, INIERROR *perr) {
  char szName[FIL_MAX_PATH];
  ErrorRecord call(perr, nullptr);
  if (!pszFile || !pvData || !pfdsc) return call.Set(INI_ERROR_ARGUMENT, 0, "a null pointer");
  if (!FilGetFileNameOf(szName, pszFile)) return call.Set(INI_ERROR_ARGUMENT, 0, "the file's name is too long");
  ErrorRecord error(perr, pszFile);
  const FAULT fault = CheckWord(szName);
  if (fault.ulCode != 0) return error.Set(INI_ERROR_HEADER, 0, "no header can have it: %s", fault.pszText);
  const ULONG ulCode = CheckData(pvData, pfdsc, error);
  return ulCode != 0 ? ulCode : ReplaceFile(pszFile, szName, pvData, pfdsc, error);
}
