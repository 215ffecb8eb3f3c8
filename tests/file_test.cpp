// file_test.cpp: path names, directory queries, the wildcard matcher and the searches.

#include <sys/stat.h>
#include <sys/statvfs.h>
#include <unistd.h>

#include <cerrno>
#include <map>
#include <set>

#include "input.h"
#include "zebbase/fil.h"

namespace {
namespace fs = std::filesystem;

struct Path { // a buffer of the documented size
  char sz[FIL_MAX_PATH] = "stale";
  Path() = default;
  explicit Path(const std::string &str) { std::strcpy(sz, str.c_str()); }
};

std::string LongPath(size_t cb) { // components of 49 characters, below the root
  std::string str;
  while (str.size() < cb) str += str.size() % 50 ? 'x' : '/';
  return str;
}

ino_t CurrentInode() { // of the current directory, which may have no name
  struct stat st;
  return stat(".", &st) == 0 ? st.st_ino : 0;
}

class Files : public FileTest {
 protected:
  static void Make(std::initializer_list<std::string> files) {
    for (const std::string &str : files) std::ofstream(str).put('x');
  }
  const fs::path path_ = fs::current_path();
  const std::string strHere_ = path_.string() + "/";
};

TEST(FilParts, AgreeWithTheTableInBothForms) {
  using Keep = BOOL (*)(char *);
  using Get = BOOL (*)(char *, const char *);
  constexpr Keep apfnKeep[] = {FilFileNameOf,     FilDirOf,         FilPathOf,    FilDiskOf,
                               FilNameOfFileName, FilExtOfFileName, FilDirNameOf, FilParentOf};
  constexpr Get apfnGet[] = {FilGetFileNameOf, FilGetDirOf,          FilGetPathOf,
                             FilGetDiskOf,     FilGetNameOfFileName, FilGetExtOfFileName,
                             FilGetDirNameOf,  FilGetParentOf};
  constexpr const char *pszNo = nullptr; // the form in place gives 0 and an empty text
  const struct {
    const char *pszPath;
    const char
        *apszPart[8]; // file name, directory, path, disk; name, extension, directory name, parent
  } aCase[] = {
      {"C:/usr/lib/name.ext",
       {"name.ext", "/usr/lib/", "C:/usr/lib/", "C:", "name", "ext", "lib", "C:/usr/lib/"}},
      {"/a/b/c/", {pszNo, "/a/b/c/", "/a/b/c/", pszNo, "", "", "c", "/a/b/"}},
      {"a/file", {"file", "a/", "a/", pszNo, "file", "", "a", "a/"}},
      {"file", {"file", pszNo, pszNo, pszNo, "file", "", pszNo, pszNo}},
      {"C:name.x", {"name.x", pszNo, "C:", "C:", "C:name", "x", pszNo, pszNo}},
      {"a:b/c:d/e", {"e", "b/c:d/", "a:b/c:d/", "a:", "e", "", "c:d", "a:b/c:d/"}},
      {"C:/x", {"x", "/", "C:/", "C:", "x", "", "/", "C:/"}},
      {"/", {pszNo, "/", "/", pszNo, "", "", "/", pszNo}},
      {"//x", {"x", "//", "//", pszNo, "x", "", "", "//"}},
      {"C:", {pszNo, pszNo, "C:", "C:", "C:", "", pszNo, pszNo}},
      {"", {pszNo, pszNo, pszNo, pszNo, "", "", pszNo, pszNo}},
      {"/a.b/c", {"c", "/a.b/", "/a.b/", pszNo, "c", "b/c", "a.b", "/a.b/"}},
      {"/a/b.x.y", {"b.x.y", "/a/", "/a/", pszNo, "b.x", "y", "a", "/a/"}},
      {"/\xe4 \xff/.\xfc",
       {".\xfc", "/\xe4 \xff/", "/\xe4 \xff/", pszNo, "", "\xfc", "\xe4 \xff", "/\xe4 \xff/"}},
  };
  for (size_t i = 0; i < std::size(apfnGet); i++) {
    for (const auto &[pszPath, apszPart] : aCase) {
      SCOPED_TRACE(std::string(pszPath) + ", part " + std::to_string(i));
      Path pathKept(pszPath), pathGot;
      EXPECT_EQ(apfnKeep[i](pathKept.sz), apszPart[i] ? 1u : 0u);
      EXPECT_EQ(apfnGet[i](pathGot.sz, pszPath), 1u);
      for (const Path *p : {&pathKept, &pathGot})
        EXPECT_STREQ(p->sz, apszPart[i] ? apszPart[i] : "");
    }
    Path pathFits, pathLong, pathNull;
    EXPECT_EQ(apfnGet[i](pathFits.sz, LongPath(255).c_str()), 1u);
    EXPECT_EQ(apfnGet[i](pathLong.sz, LongPath(256).c_str()) + apfnGet[i](pathNull.sz, nullptr),
              0u);
    EXPECT_EQ(std::string(pathLong.sz) + pathNull.sz, "");
    EXPECT_EQ(apfnGet[i](nullptr, "/a") + apfnKeep[i](nullptr), 0u);
  }
  FILSEARCH *psearch = nullptr;
  Path path; // what else takes a name
  EXPECT_EQ(
      FilMakeAbsDir(path.sz, nullptr) + FilCheckPathName(nullptr, 0, 0) + FilDirExists(nullptr),
      0u);
  EXPECT_EQ(FilMakeDir(nullptr) + FilSetPath(nullptr) + FilFileMatch(nullptr, "a") +
                FilGetPathFree(nullptr),
            0u);
  EXPECT_EQ(FilGetNextPathName(&psearch, nullptr, path.sz, 0) +
                FilGetNextPath(&psearch, nullptr, path.sz),
            0u);
}

TEST(FilNormalizePath, ClosesWhatNeedsIt) {
  const std::string strFull = LongPath(254);
  const auto astr =
      Split("~~C:~C:~/a~/a/~/~/~" + strFull + "~" + strFull + "/"); // a path, and as it comes out
  for (std::size_t i = 0; i < astr.size(); i += 2) {
    Path path(astr[i]);
    EXPECT_EQ(FilNormalizePath(path.sz, path.sz), path.sz);
    EXPECT_EQ(path.sz, astr[i + 1]);
  }
  EXPECT_EQ(FilNormalizePath(Path().sz, (strFull + "x").c_str()), nullptr);
}

TEST(FilMakeAbsDir, ResolvesByTextAndRefusesWhatDoesNotFit) {
  auto astr =
      Split( // a name, where it is taken from, the result; to % a component of 4 characters more fits
          "/a/./b/../c~/u~/a/c/~x/y~/home/u/~/home/u/x/y/~//a//b~/u/~/a/b/~~/u~/u/~../..~/u/v/~/~"
          "../../..~/u/v/~refused~/../x~/u/~refused~a/../../x~/~refused~.a/..b/.../.~/~/.a/..b/.../"
          "~"
          "1234~%~%1234/~12345/../1234~%~%1234/~12345~%~refused~./%..~%~refused");
  for (std::string &str : astr)
    if (str.find('%') != str.npos) str.replace(str.find('%'), 1, LongPath(249) + "/");
  for (std::size_t i = 0; i < astr.size(); i += 3) {
    const BOOL fResolved = astr[i + 2] != "refused";
    Path path(astr[i]);
    EXPECT_EQ(FilMakeAbsDir(path.sz, astr[i + 1].c_str()), fResolved)
        << astr[i] << " from " << astr[i + 1];
    EXPECT_EQ(path.sz, astr[fResolved ? i + 2 : i]);
  }
}

TEST_F(Files, ArePlacedCheckedAndEntered) {
  const std::string strFull(255 - strHere_.size(), 'x');
  fs::create_directory("sub");
  Make({"file"});
  const auto In = [&](std::string str) {
    return str.starts_with("@") ? str.replace(0, 1, strHere_) : str;
  };
  const struct {
    std::string strPath;
    ULONG ulMode, ulPart, fResult;
    std::string strAfter, strStandsIn;
  } aCase[] = {
      {"name.txt", FIL_CHECK_NONE, 99, 1, "@name.txt", "@"},
      {"name.txt", FIL_CHECK_EXISTS, FIL_PART_DISK, 1, "", "@"},
      {"./sub//../sub/x", FIL_CHECK_EXISTS, FIL_PART_DIR, 1, "@sub/", "@"},
      {"no/x", 77, FIL_PART_FILENAME, 1, "x", "@"},
      {"no/x", FIL_CHECK_ENTER, FIL_PART_FILENAME, 0, "no/", "@"},
      {"file/x", FIL_CHECK_EXISTS, FIL_PART_FILENAME, 0, "file/", "@"},
      {"/../x", FIL_CHECK_NONE, FIL_PART_PATHNAME, 1, "/../x", "@"},
      {"/x", FIL_CHECK_ENTER, FIL_PART_PATHNAME, 1, "/x", "/"},
      {"sub/x", FIL_CHECK_ENTER, FIL_PART_PATH, 1, "@sub/", "@sub/"},
      {strFull, FIL_CHECK_NONE, FIL_PART_PATHNAME, 1, "@" + strFull, "@"},
      {"sub/" + strFull, FIL_CHECK_ENTER, FIL_PART_PATHNAME, 0, "sub/" + strFull, "@"},
  };
  for (const auto &c : aCase) {
    SCOPED_TRACE(c.strPath + ", mode " + std::to_string(c.ulMode) + ", part " +
                 std::to_string(c.ulPart));
    fs::current_path(path_);
    Path path(c.strPath), pathNow;
    EXPECT_EQ(FilCheckPathName(path.sz, c.ulMode, c.ulPart), c.fResult);
    EXPECT_EQ(path.sz, In(c.strAfter));
    EXPECT_EQ(FilGetPath(pathNow.sz), In(c.strStandsIn));
  }
}

TEST_F(Files, GetTheirMissingParentsWithPermissions) {
  const mode_t flBefore = umask(022);
  const auto Mode = [](const char *psz) {
    return static_cast<unsigned>(fs::status(psz).permissions());
  };
  EXPECT_EQ(FilMakeDir("one/"), 1u);
  EXPECT_EQ(Mode("one"), 0755u);
  EXPECT_EQ(FilMakePath((strHere_ + "one/2/3/4").c_str()), 1u);
  EXPECT_EQ(FilMakeDir("rel/\xe4 b/x/"), 1u);
  EXPECT_EQ(FilMakeDir("new/../x/y"), 0u) << "the second component exists by the time of its turn";
  EXPECT_EQ(FilMakeDir("rel//top//x") - FilMakeDir("rel//over//x//y"), 1u)
      << "made twice, but for the first";
  for (const char *psz : {"one/2", "one/2/3", "one/2/3/4", "rel/\xe4 b/x", "new"})
    EXPECT_EQ(Mode(psz), 0700u) << psz;
  Make({"file"});
  const std::string strLong = LongPath(256);
  for (const char *psz : {"one/2/3/4", "one", "", "file/x/y", strLong.c_str(), "/"})
    EXPECT_EQ(FilMakeDir(psz), 0u) << psz;
  EXPECT_EQ(errno, EEXIST) << "the root is not walked";
  umask(flBefore);
}

TEST_F(Files, AreKnownToExist) {
  fs::create_directory("dir");
  Make({"file"});
  fs::create_symlink("dir", "link");
  fs::create_symlink("nowhere", "dangling");
  const std::map<std::string, int> errors = {{"/", 0},          {"dir", 0},
                                             {"dir/", 0},       {"link/", 0},
                                             {".", 0},          {"", ENOENT},
                                             {"file", ENOTDIR}, {"dangling", ENOENT},
                                             {"no/", ENOENT},   {LongPath(256), ENAMETOOLONG}};
  for (const auto &[strPath, iErrno] : errors) {
    const BOOL fEntered = iErrno == 0;
    SCOPED_TRACE(strPath);
    fs::current_path(path_);
    const ino_t ino = CurrentInode();
    EXPECT_EQ(FilDirExists(strPath.c_str()), fEntered);
    EXPECT_EQ(fEntered ? 0 : errno, iErrno);
    EXPECT_EQ(FilPathExists(strPath.c_str()), fEntered);
    EXPECT_EQ(FilPathNameExists(strPath.c_str()), fEntered || strPath == "file");
    EXPECT_EQ(CurrentInode(), ino);
    EXPECT_EQ(FilSetPath(strPath.c_str()), fEntered || strPath.empty());
    EXPECT_TRUE(fEntered || CurrentInode() == ino);
    EXPECT_TRUE(strPath != "/" || std::string(FilGetPath(Path().sz)) == "/");
  }
  struct statvfs vfs;
  ASSERT_EQ(statvfs("/", &vfs), 0);
  const ULONG ulFree = static_cast<ULONG>(1ULL * vfs.f_bavail * vfs.f_bsize);
  EXPECT_LT(std::labs(static_cast<LONG>(FilGetPathFree("/") - ulFree)), 256'000'000)
      << "other programs write there";
  EXPECT_EQ(FilGetPathFree("no"), 0u);
}

// The current directory is removed, or has a name that is too long: nothing moves, and what needs its name refuses.
TEST_F(Files, LeaveAnUnreadableCurrentDirectoryAlone) {
  for (const bool fRemoved : {true, false}) {
    const ScratchFolder scratch;
    const std::string strDir(50, 'd');
    for (int i = 0; i < (fRemoved ? 1 : 6); i++)
      ASSERT_TRUE(FilMakeDir(strDir.c_str()) && FilSetPath(strDir.c_str()));
    if (fRemoved) fs::remove(scratch.path() / strDir);
    const ino_t ino = CurrentInode();
    Path pathNow, pathRelative("x"), pathAbsolute("/tmp/x"), pathChecked("/tmp/x");
    FILSEARCH *psearch = nullptr;
    EXPECT_EQ(FilGetPath(pathNow.sz), nullptr);
    EXPECT_EQ(FilDirExists("/tmp") - FilDirExists("/tmp/no/such"), 1u);
    EXPECT_EQ(FilCheckPathName(pathRelative.sz, FIL_CHECK_NONE, FIL_PART_PATHNAME), 0u);
    EXPECT_EQ(FilCheckPathName(pathAbsolute.sz, FIL_CHECK_NONE, FIL_PART_PATHNAME), 1u);
    EXPECT_EQ(FilCheckPathName(pathChecked.sz, FIL_CHECK_EXISTS, FIL_PART_PATHNAME), 0u)
        << "there is no way back";
    EXPECT_EQ(std::string(pathNow.sz) + pathRelative.sz + pathAbsolute.sz + pathChecked.sz,
              "x/tmp/x/tmp/");
    EXPECT_EQ(FilGetNextPathName(&psearch, "*", pathNow.sz, 0), 0u);
    EXPECT_EQ(CurrentInode(), ino);
  }
}

bool NaiveMatch(const char *pszMask, const char *pszName) {
  if (*pszMask == '*') {
    if (pszMask[1] == '\0') return true;
    for (; *pszName; pszName++)
      if (*pszName == pszMask[1] && NaiveMatch(pszMask + 2, pszName + 1)) return true;
    return false;
  }
  if (*pszMask == '\0') return *pszName == '\0';
  return *pszName && (*pszMask == '?' || *pszMask == *pszName) &&
         NaiveMatch(pszMask + 1, pszName + 1);
}

TEST_F(Files, MatchByTheRecursiveRule) {
  int cMatches = 0;
  for (int i = 0; i < 300000; i++) {
    const std::string strMask = Some({"a", "B", ".", "?", "*", "*"}, 8),
                      strName = Some({"a", "B", "b", ".", "*"}, 9);
    const BOOL fMatch = NaiveMatch(strMask.c_str(), strName.c_str());
    ASSERT_EQ(FilFileMatch(strMask.c_str(), strName.c_str()), fMatch)
        << strMask << " on " << strName;
    cMatches += fMatch;
  }
  EXPECT_GT(cMatches, 10000);
  EXPECT_EQ(FilFileMatch("*a*a*a*a*a*a*a*a*b", std::string(100000, 'a').c_str()), 0u) << "and ends";
}

using Names = std::multiset<std::string>;

Names FindAll(bool fFiles, const std::string &strWhere, const std::string &strThenRemove = "") {
  Names names;
  FILSEARCH *psearch = nullptr;
  Path path;
  const auto Find = [&](const char *psz) {
    return fFiles ? FilGetNextPathName(&psearch, psz, path.sz, 0xFFFF)
                  : FilGetNextPath(&psearch, psz, path.sz);
  };
  for (BOOL f = Find(strWhere.c_str()); f; f = Find(nullptr)) {
    fs::remove(strThenRemove);
    names.insert(path.sz);
  }
  EXPECT_EQ(psearch, nullptr);
  return names;
}

TEST_F(Files, AreFoundWhereTheyMatch) {
  const std::string strIn = strHere_ + "d/";
  fs::create_directories("d/inner");
  Make({"d/a.x", "d/b.x", "d/*", "d/.x", "d/\xe4 b.x", "d/huge.x"});
  fs::resize_file("d/huge.x", 5'000'000'000);
  fs::create_symlink("huge.x", "d/link.x");
  fs::create_directory_symlink("inner", "d/dirlink.x");
  mkfifo("d/fifo.x", 0600);
  Names strsX;
  for (const char *psz : {"a.x", "b.x", ".x", "\xe4 b.x", "huge.x", "link.x"})
    strsX.insert(strIn + psz);
  EXPECT_EQ(FindAll(true, "d/*.x"), strsX);
  EXPECT_EQ(FindAll(true, "./no/../d/?.x"), (Names{strIn + "a.x", strIn + "b.x"}));
  EXPECT_EQ(FindAll(true, "d/*.x", "d/b.x"), strsX)
      << "names that leave the directory after the first call";
  EXPECT_EQ(FindAll(true, "d/*i*"), Names{strIn + "link.x"});
  EXPECT_EQ(FindAll(true, "*"), Names{}) << "a directory without files";
  EXPECT_EQ(FindAll(true, "no/*"), Names{});
  EXPECT_EQ(FindAll(false, "d/"), (Names{"d/./", "d/../", "d/inner/", "d/dirlink.x/"}));
  EXPECT_EQ(FindAll(false, "d"), Names{}) << "without its closing separator";
  fs::create_symlink("nowhere", "d/z.dangling");
  EXPECT_EQ(FindAll(true, "d/*.x").size(), 5u) << "a dangling link that does not match";
  EXPECT_EQ(FindAll(true, "d/*g"), Names{}) << "a dangling link that matches";
  EXPECT_EQ(FindAll(false, "d/"), Names{}) << "a dangling link among all entries";
}

TEST_F(Files, AreFoundInLargeDirectoriesWhenTheirNamesFit) {
  const std::string strFits(255 - strHere_.size(), 'f'), strDir(254 - strHere_.size(), 'd');
  LiftLimits();
  Make({strFits, strFits + 'g'});
  for (const std::string &str : {strDir, strDir + 'd'}) fs::create_directory(str);
  EXPECT_EQ(FindAll(true, "*"), Names{strHere_ + strFits});
  EXPECT_EQ(FindAll(false, strHere_).size(), 3u);
  for (int i = 0; i < 12000; i++) fs::create_hard_link(strFits, "n" + std::to_string(i));
  EXPECT_EQ(FindAll(true, "n*").size(), 12000u);
}

TEST_F(Files, AreMappedIntoTheOtherTree) {
  Make({"file"});
  const std::string strFull(248, 'x');
  const std::string aastrCase[][5] = {
      {"dir/sub/file.txt", "dir", "to", "dir/sub", "to/sub/file.txt"},
      {"DIR/x", "dir", "to", "DIR", "to/x"},
      {"/x", "", "to", "", "to/x"},
      {"dir/" + strFull, "dir", "six/ch", "dir", "six/ch/" + strFull},
      {"dirt/x", "dir", "to", "dirt", "stale"},
      {"dir/x/y", "dir/", "to", "dir/x", "stale"},
      {"x", "dir", "to", "x", "stale"},
      {"dir/sub/x", "dir", "file", "dir/sub", "file/sub"},
      {"dir/s/" + strFull, "dir", "newer", "dir/s", "stale"},
  };
  for (const auto &[strPath, strFrom, strTo, strAfter, strMapped] : aastrCase) {
    const BOOL fMapped = strMapped != "stale" && strTo != "file";
    Path path(strPath), pathResult;
    EXPECT_EQ(FilDirMatch(path.sz, strFrom.c_str(), strTo.c_str(), pathResult.sz), fMapped)
        << strPath;
    EXPECT_EQ(path.sz, strAfter);
    EXPECT_EQ(pathResult.sz, strMapped);
    EXPECT_TRUE(!fMapped || fs::is_directory(fs::path(strMapped).parent_path()));
  }
  EXPECT_FALSE(fs::exists("newer"));
}
} // namespace
