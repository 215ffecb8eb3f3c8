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

std::string With(const std::string &str, char ch, const std::string &strFor) { // its first ch
  const size_t cb = str.find(ch);
  return cb == str.npos ? str : str.substr(0, cb) + strFor + str.substr(cb + 1);
}

ino_t CurrentInode() { // of the current directory, which may have no name
  struct stat st;
  return stat(".", &st) == 0 ? st.st_ino : 0;
}

class Fil : public FileTest {
 protected:
  static void Make(const Texts &files) {
    for (const std::string &str : files) std::ofstream(str).put('x');
  }
  const fs::path path_ = fs::current_path();
  const std::string strHere_ = path_.string() + "/";
};

TEST_F(Fil, TakesThePartsOfAPathInBothForms) {
  const std::pair<BOOL (*)(char *), BOOL (*)(char *, const char *)> aPart[] = {
      {FilFileNameOf, FilGetFileNameOf},
      {FilDirOf, FilGetDirOf},
      {FilPathOf, FilGetPathOf},
      {FilDiskOf, FilGetDiskOf},
      {FilNameOfFileName, FilGetNameOfFileName},
      {FilExtOfFileName, FilGetExtOfFileName},
      {FilDirNameOf, FilGetDirNameOf},
      {FilParentOf, FilGetParentOf}};
  const auto rows = Rows(R"(
path                file-name directory path        disk name   extension dir-name parent
C:/usr/lib/name.ext name.ext  /usr/lib/ C:/usr/lib/ C:   name   ext       lib      C:/usr/lib/
/a/b/c/             -         /a/b/c/   /a/b/c/     -    ''     ''        c        /a/b/
a/file              file      a/        a/          -    file   ''        a        a/
file                file      -         -           -    file   ''        -        -
C:name.x            name.x    -         C:          C:   C:name x         -        -
a:b:c               b:c       -         a:          a:   a:b:c  ''        -        -
a:b/c:d/e           e         b/c:d/    a:b/c:d/    a:   e      ''        c:d      a:b/c:d/
C:/x                x         /         C:/         C:   x      ''        /        C:/
/                   -         /         /           -    ''     ''        /        -
//x                 x         //        //          -    x      ''        ''       //
C:                  -         -         C:          C:   C:     ''        -        -
''                  -         -         -           -    ''     ''        -        -
/a.b/c              c         /a.b/     /a.b/       -    c      b/c       a.b      /a.b/
/a/b.x.y            b.x.y     /a/       /a/         -    b.x    y         a        /a/
/ä-ÿ/.ü             .ü        /ä-ÿ/     /ä-ÿ/       -    ''     ü         ä-ÿ      /ä-ÿ/
)");
  for (size_t i = 0; i < std::size(aPart); i++) {
    const auto &[pfnKeep, pfnGet] = aPart[i];
    for (const Texts &row : rows) {
      SCOPED_TRACE("part " + std::to_string(i) + " of " + row[0]);
      const BOOL fThere = row[i + 1] != "-"; // which only the form in place says
      Path pathKept(row[0]), pathGot;
      EXPECT_EQ(pfnKeep(pathKept.sz), fThere);
      EXPECT_EQ(pfnGet(pathGot.sz, row[0].c_str()), 1u);
      for (const Path *p : {&pathKept, &pathGot}) EXPECT_EQ(p->sz, fThere ? row[i + 1] : "");
    }
    Path pathFits, pathLong, pathNull;
    EXPECT_EQ(pfnGet(pathFits.sz, LongPath(255).c_str()), 1u);
    EXPECT_EQ(pfnGet(pathLong.sz, LongPath(256).c_str()) + pfnGet(pathNull.sz, nullptr), 0u);
    EXPECT_EQ(std::string(pathLong.sz) + pathNull.sz, "");
    EXPECT_EQ(pfnGet(nullptr, "/a") + pfnKeep(nullptr), 0u);
  }
}

TEST_F(Fil, ClosesAndResolvesDirectoriesByTextAndRefusesWhatDoesNotFit) {
  const std::string strRoom1 = LongPath(254), strRoom5 = LongPath(249) + "/"; // so much is left
  const std::map<std::string, std::string> closed = {
      {"", ""}, {"C:", "C:"}, {"/a", "/a/"}, {"/", "/"}, {strRoom1, strRoom1 + "/"}};
  for (const auto &[strDir, strClosed] : closed) {
    Path path(strDir);
    EXPECT_EQ(FilNormalizePath(path.sz, path.sz), path.sz);
    EXPECT_EQ(path.sz, strClosed);
  }
  EXPECT_EQ(FilNormalizePath(Path().sz, (strRoom1 + "x").c_str()), nullptr);

  for (const Texts &row : Rows(R"(
directory     from     absolute
a/./b/../c    /u       /u/a/c/
x/y           /home/u/ /home/u/x/y/
//a//b        /u/      /a/b/
''            /u       /u/
../..         /u/v/    /
../../..      /u/v/    refused
/../x         /u/      refused
a/../../x     /        refused
.a/..b/.../.  /        /.a/..b/.../
1234          %        %1234/
12345/../1234 %        %1234/
12345         %        refused
./%..         %        refused
)")) {
    const std::string strDir = With(row[0], '%', strRoom5);
    Path path(strDir);
    const BOOL fResolved = FilMakeAbsDir(path.sz, With(row[1], '%', strRoom5).c_str());
    EXPECT_EQ(fResolved ? path.sz : "refused", With(row[2], '%', strRoom5)) << row[0];
    EXPECT_TRUE(fResolved || path.sz == strDir);
  }
}

TEST_F(Fil, PlacesChecksAndEnters) {
  const std::string strFull(255 - strHere_.size(), 'x'), strLong = "sub/" + strFull;
  fs::create_directory("sub");
  Make({"file"});
  const struct {
    std::string strPath;
    ULONG ulMode, ulPart, fResult;
    std::string strAfter, strStandsIn; // @ is where it stood
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
      {strLong, FIL_CHECK_ENTER, FIL_PART_PATHNAME, 0, strLong, "@"},
  };
  for (const auto &c : aCase) {
    SCOPED_TRACE(testing::Message() << c.strPath << " in mode " << c.ulMode);
    fs::current_path(path_);
    Path path(c.strPath), pathNow;
    EXPECT_EQ(FilCheckPathName(path.sz, c.ulMode, c.ulPart), c.fResult);
    EXPECT_EQ(path.sz, With(c.strAfter, '@', strHere_));
    EXPECT_EQ(FilGetPath(pathNow.sz), With(c.strStandsIn, '@', strHere_));
  }
}

TEST_F(Fil, MakesMissingParentsWithPermissions) {
  const mode_t flBefore = umask(022);
  const auto Mode = [](const char *psz) { return unsigned(fs::status(psz).permissions()); };
  EXPECT_EQ(FilMakeDir("one/"), 1u);
  EXPECT_EQ(Mode("one"), 0755u);
  EXPECT_EQ(FilMakePath((strHere_ + "one/2/3/4").c_str()), 1u);
  EXPECT_EQ(FilMakeDir("rel/ä b/x/"), 1u);
  EXPECT_EQ(FilMakeDir("new/../x/y"), 0u) << "the second component exists by then";
  for (const char *psz : {"one/2", "one/2/3", "one/2/3/4", "rel/ä b/x", "new"})
    EXPECT_EQ(Mode(psz), 0700u) << psz;

  Make({"file"});
  for (const std::string &str : Texts{"one/2/3/4", "one", "", "file/x/y", LongPath(256), "/"})
    EXPECT_EQ(FilMakeDir(str.c_str()), 0u) << str;
  EXPECT_EQ(errno, EEXIST) << "the root is not walked";
  umask(flBefore);
}

TEST_F(Fil, KnowsWhatExists) {
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
    SCOPED_TRACE(strPath);
    const BOOL fEntered = iErrno == 0;
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
  const auto lDifference = static_cast<LONG>(FilGetPathFree("/") - ulFree);
  EXPECT_LT(std::labs(lDifference), 256'000'000) << "other programs write there";
  EXPECT_EQ(FilGetPathFree("no"), 0u);
}

TEST_F(Fil, RefusesNullTexts) {
  FILSEARCH *psearch = nullptr;
  Path path;
  EXPECT_EQ(FilMakeAbsDir(path.sz, nullptr) + FilCheckPathName(nullptr, 0, 0), 0u);
  EXPECT_EQ(FilDirExists(nullptr) + FilMakeDir(nullptr) + FilSetPath(nullptr), 0u);
  EXPECT_EQ(FilFileMatch(nullptr, "a") + FilGetPathFree(nullptr), 0u);
  EXPECT_EQ(FilGetNextPathName(&psearch, nullptr, path.sz, 0), 0u);
  EXPECT_EQ(FilGetNextPath(&psearch, nullptr, path.sz), 0u);
}

// The current directory is removed, or has a name that is too long: nothing moves, and what needs
// its name refuses.
TEST_F(Fil, LeavesAnUnreadableCurrentDirectoryAlone) {
  for (const bool fRemoved : {true, false}) {
    const ScratchFolder scratch;
    const std::string strDir(50, 'd');
    for (int i = 0; i < (fRemoved ? 1 : 6); i++)
      ASSERT_TRUE(FilMakeDir(strDir.c_str()) && FilSetPath(strDir.c_str()));
    if (fRemoved) fs::remove(scratch.path() / strDir);
    const ino_t ino = CurrentInode();

    Path pathNow, pathRelative("x"), pathAbsolute("/tmp/x"), pathNoWayBack("/tmp/x");
    FILSEARCH *psearch = nullptr;
    EXPECT_EQ(FilGetPath(pathNow.sz), nullptr);
    EXPECT_EQ(FilDirExists("/tmp") - FilDirExists("/tmp/no/such"), 1u);
    EXPECT_EQ(FilCheckPathName(pathRelative.sz, FIL_CHECK_NONE, FIL_PART_PATHNAME), 0u);
    EXPECT_EQ(FilCheckPathName(pathAbsolute.sz, FIL_CHECK_NONE, FIL_PART_PATHNAME), 1u);
    EXPECT_EQ(FilCheckPathName(pathNoWayBack.sz, FIL_CHECK_EXISTS, FIL_PART_PATHNAME), 0u);
    EXPECT_EQ(FilGetNextPathName(&psearch, "*", pathNow.sz, 0), 0u);
    EXPECT_EQ(Texts({pathNow.sz, pathRelative.sz, pathAbsolute.sz, pathNoWayBack.sz}),
              Texts({"", "x", "/tmp/x", "/tmp/"}));
    EXPECT_EQ(CurrentInode(), ino);
  }
}

bool NaiveMatch(const char *pszMask, const char *pszName) {
  if (*pszMask == '\0') return *pszName == '\0';
  if (*pszMask != '*')
    return *pszName && (*pszMask == '?' || *pszMask == *pszName) &&
           NaiveMatch(pszMask + 1, pszName + 1);
  if (pszMask[1] == '\0') return true;
  for (; *pszName; pszName++)
    if (*pszName == pszMask[1] && NaiveMatch(pszMask + 2, pszName + 1)) return true;
  return false;
}

TEST_F(Fil, MatchesByTheRecursiveRule) {
  ULONG ulMatches = 0;
  for (int i = 0; i < 300000; i++) {
    const std::string strMask = SomeChars("aB.?**", 8);
    const std::string strName = SomeChars("aBb.*", 9);
    const BOOL fMatch = NaiveMatch(strMask.c_str(), strName.c_str());
    ASSERT_EQ(FilFileMatch(strMask.c_str(), strName.c_str()), fMatch) << strMask << " " << strName;
    ulMatches += fMatch;
  }
  EXPECT_GT(ulMatches, 10000u);
  EXPECT_EQ(FilFileMatch("*a*a*a*a*a*a*a*a*b", std::string(100000, 'a').c_str()), 0u);
}

using Names = std::multiset<std::string>;

Names FindAll(bool fFiles, const char *pszWhere, const std::string &strThenRemove = "") {
  Names names;
  FILSEARCH *psearch = nullptr;
  Path path;
  while (fFiles ? FilGetNextPathName(&psearch, pszWhere, path.sz, 0xFFFF)
                : FilGetNextPath(&psearch, pszWhere, path.sz)) {
    fs::remove(strThenRemove);
    names.insert(path.sz);
    pszWhere = nullptr; // is looked at in the first call only
  }
  EXPECT_EQ(psearch, nullptr);
  return names;
}

TEST_F(Fil, FindsWhatMatches) {
  const std::string strIn = strHere_ + "d/";
  fs::create_directories("d/inner");
  Make({"d/a.x", "d/b.x", "d/*", "d/.x", "d/ä b.x", "d/huge.x"});
  fs::resize_file("d/huge.x", 5'000'000'000);
  fs::create_symlink("huge.x", "d/link.x");
  fs::create_directory_symlink("inner", "d/dirlink.x");
  mkfifo("d/fifo.x", 0600);
  Names strsX;
  for (const char *psz : {"a.x", "b.x", ".x", "ä b.x", "huge.x", "link.x"})
    strsX.insert(strIn + psz);

  EXPECT_EQ(FindAll(true, "d/*.x"), strsX);
  EXPECT_EQ(FindAll(true, "./no/../d/?.x"), (Names{strIn + "a.x", strIn + "b.x"}));
  EXPECT_EQ(FindAll(true, "d/*.x", "d/b.x"), strsX) << "a name that leaves after the first call";
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

TEST_F(Fil, FindsInLargeDirectoriesWhatFits) {
  const std::string strFits(255 - strHere_.size(), 'f'), strDir(254 - strHere_.size(), 'd');
  LiftLimits();
  Make({strFits, strFits + 'g'});
  for (const char *psz : {"", "a", "b", "c", "d", "e"}) fs::create_directory(strDir + psz);
  for (int i = 0; i < 12000; i++) fs::create_hard_link(strFits, "n" + std::to_string(i));

  EXPECT_EQ(FindAll(true, "f*"), Names{strHere_ + strFits});
  EXPECT_EQ(FindAll(false, strHere_.c_str()).size(), 3u);
  EXPECT_EQ(FindAll(true, "n*").size(), 12000u);

  FILSEARCH *psearch = nullptr; // that nobody takes to its end
  Path path;
  EXPECT_EQ(FilGetNextPathName(&psearch, "n*", path.sz, 0), 1u);
  FilEndSearch(&psearch);
  EXPECT_EQ(psearch, nullptr);
  FilEndSearch(&psearch);
  FilEndSearch(nullptr);
}

TEST_F(Fil, MapsIntoAnotherTree) {
  Make({"file"});
  for (Texts row : Rows(R"(
path-name        from to     directory mapped
dir/sub/file.txt dir  to     dir/sub   to/sub/file.txt
DIR/x            dir  to     DIR       to/x
/x               ''   to     ''        to/x
dir/@            dir  six/ch dir       six/ch/@
dirt/x           dir  to     dirt      refused
dir/x/y          dir/ to     dir/x     refused
x                dir  to     x         refused
dir/sub/x        dir  file   dir/sub   refused
dir/s/@          dir  newer  dir/s     refused
)")) {
    for (std::string &str : row) str = With(str, '@', std::string(248, 'x'));
    Path path(row[0]), pathMapped;
    const BOOL fMapped = FilDirMatch(path.sz, row[1].c_str(), row[2].c_str(), pathMapped.sz);
    EXPECT_EQ(fMapped ? pathMapped.sz : "refused", row[4]) << row[0];
    EXPECT_STREQ(path.sz, row[3].c_str());
    EXPECT_TRUE(!fMapped || fs::is_directory(fs::path(row[4]).parent_path()));
    EXPECT_TRUE(fMapped || std::string(pathMapped.sz) == (row[2] == "file" ? "file/sub" : "stale"));
  }
  EXPECT_FALSE(fs::exists("newer"));
}
} // namespace
