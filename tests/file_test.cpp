// file_test.cpp: path names, directory queries, the wildcard matcher and the searches.

#include <fnmatch.h>
#include <sys/stat.h>

#include <cerrno>
#include <map>

#include "input.h"
#include "zebbase/fil.h"

namespace {
namespace fs = std::filesystem;

struct Path { // a buffer of the documented size
  char sz[FIL_MAX_PATH];
  explicit Path(const std::string &str = "stale") { std::strcpy(sz, str.c_str()); }
};

std::string CurrentPath() {
  Path path;
  const std::string strFailure = FilGetPath(path.sz) ? "" : "unreadable";
  return strFailure + path.sz;
}

Texts Find(bool fFiles, const char *pszWhere, const std::string &strThenRemove = "") {
  Texts astr;
  FILSEARCH *psearch = nullptr;
  Path path;
  while (fFiles ? FilGetNextPathName(&psearch, pszWhere, path.sz, 0xFFFF)
                : FilGetNextPath(&psearch, pszWhere, path.sz)) {
    fs::remove(strThenRemove);
    astr.push_back(path.sz);
    pszWhere = nullptr; // is looked at in the first call only
  }
  EXPECT_EQ(psearch, nullptr);
  std::sort(astr.begin(), astr.end());
  return astr;
}

// Makes a call, or one for each argument. Result: what it gives, and leaves in its buffers.
Texts Call(const std::string &strCall, Texts args) {
  const std::map<std::string, BOOL (*)(const char *)> asking = {
      {"directory", FilDirExists}, {"path", FilPathExists}, {"exists", FilPathNameExists},
      {"enter", FilSetPath},       {"make", FilMakeDir},    {"make-path", FilMakePath}};
  if (asking.contains(strCall)) {
    for (std::string &str : args)
      str = asking.at(strCall)(str.c_str()) ? "1" : strerrorname_np(errno);
    return args;
  }
  args.resize(3);
  Path path(args[0]), pathMapped;
  if (strCall == "files") return Find(true, path.sz, args[1]);
  if (strCall == "directories") return Find(false, path.sz);
  BOOL f = 0;
  if (strCall == "close") f = FilNormalizePath(path.sz, path.sz) == path.sz;
  if (strCall == "resolve") f = FilMakeAbsDir(path.sz, args[1].c_str());
  if (strCall == "check") f = FilCheckPathName(path.sz, std::stoul(args[1]), std::stoul(args[2]));
  if (strCall != "map") return {std::to_string(f), path.sz};
  f = FilDirMatch(path.sz, args[1].c_str(), args[2].c_str(), pathMapped.sz);
  return {std::to_string(f), path.sz, pathMapped.sz};
}

class Fil : public FileTest {
 protected:
  static void Make(const Texts &files) {
    for (const std::string &str : files) std::ofstream(str).put('x');
  }
  std::string Filled(std::string str) const { // @ is the test's folder; @/%x is as long as a path
    for (size_t cb; (cb = str.find_first_of("@%")) != str.npos;) // may be
      str.replace(cb, 1, str[cb] == '@' ? strHere_ : std::string(253 - strHere_.size(), 'x'));
    return str;
  }
  // Makes the calls of a table. Where one changes the current directory, its results end with it.
  void Expect(const std::string &strTable) const {
    const std::string strBefore = CurrentPath();
    for (const Texts &row : Rows(Filled(strTable))) {
      const auto it = std::find(row.begin(), row.end(), "->");
      Texts astr = Call(row[0], Texts(row.begin() + 1, it));
      if (CurrentPath() != strBefore) astr.push_back(CurrentPath());
      if (CurrentPath() != strBefore) fs::current_path(strHere_);
      EXPECT_EQ(astr, Texts(it + 1, row.end())) << testing::PrintToString(row);
    }
  }
  const std::string strHere_ = fs::current_path();
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
  for (const Texts &row : Rows(R"(
path                file-name directory path        disk name   extension dir-name parent
C:/u.r/lib/na.me.ü  na.me.ü   /u.r/lib/ C:/u.r/lib/ C:   na.me  ü         lib      C:/u.r/lib/
/a/b/c/             -         /a/b/c/   /a/b/c/     -    ''     ''        c        /a/b/
a/file              file      a/        a/          -    file   ''        a        a/
file                file      -         -           -    file   ''        -        -
a:b:c               b:c       -         a:          a:   a:b:c  ''        -        -
a:b/c:d/e           e         b/c:d/    a:b/c:d/    a:   e      ''        c:d      a:b/c:d/
C:/x                x         /         C:/         C:   x      ''        /        C:/
/                   -         /         /           -    ''     ''        /        -
//.x                .x        //        //          -    ''     x         ''       //
C:                  -         -         C:          C:   C:     ''        -        -
''                  -         -         -           -    ''     ''        -        -
/a.b/c              c         /a.b/     /a.b/       -    c      b/c       a.b      /a.b/
)")) {
    for (size_t i = 0; i < std::size(aPart); i++) {
      Path pathKept(row[0]), pathGot(row[0]);
      const BOOL fThere = aPart[i].first(pathKept.sz); // which only the form in place says
      EXPECT_EQ(fThere ? pathKept.sz : std::string("-") + pathKept.sz, row[i + 1]) << row[0];
      EXPECT_EQ(aPart[i].second(pathGot.sz, pathGot.sz), 1u);
      EXPECT_STREQ(pathGot.sz, pathKept.sz);
    }
  }
  for (const auto &[pfnKeep, pfnGet] : aPart) {
    Path pathLong, pathNull;
    EXPECT_EQ(pfnGet(pathLong.sz, Filled("@/%xx").c_str()) + pfnGet(pathNull.sz, nullptr), 0u);
    EXPECT_EQ(pfnGet(nullptr, "/a") + pfnKeep(nullptr), 0u);
    EXPECT_EQ(std::string(pathLong.sz) + pathNull.sz, "");
  }
}

// To check takes a mode (0 exists, 1 enter, none) and a part (0 disk, directory, path, file name, 4
// path name), as FIL_CHECK_ and FIL_PART_ name them.
TEST_F(Fil, ResolvesChecksAndMapsPathNames) {
  fs::create_directory("dir");
  Make({"file"});
  Expect(R"(
call    arguments               -> result
close   ''                      -> 1 ''
close   C:                      -> 1 C:
close   /                       -> 1 /
close   @/%                     -> 1 @/%/
close   @/%x                    -> 0 ''
resolve a/./b/../c   /u         -> 1 /u/a/c/
resolve //a//b       /u/        -> 1 /a/b/
resolve a            C:         -> 1 C:a/
resolve ../..        /u/v/      -> 1 /
resolve ../../..     /u/v/      -> 0 ../../..
resolve .a/..b/.../. /          -> 1 /.a/..b/.../
resolve %x/..        @          -> 1 @/
resolve %x           @          -> 0 %x
resolve x/y/..       @/%        -> 0 x/y/..
check   name.txt        2  99   -> 1 @/name.txt
check   name.txt        0  0    -> 1 ''
check   ./dir//../dir/x 0  1    -> 1 @/dir/
check   no/x            77 3    -> 1 x
check   no/x            1  3    -> 0 no/
check   file/x          0  3    -> 0 file/
check   /../x           2  4    -> 1 /../x
check   /x              1  4    -> 1 /x /
check   dir/x           1  2    -> 1 @/dir/ @/dir/
check   %x              2  4    -> 1 @/%x
check   dir/%           1  4    -> 0 dir/%
map     dir/s/f.txt dir to      -> 1 dir/s to/s/f.txt
map     DIR/x       dir to      -> 1 DIR to/x
map     /x          ''  to      -> 1 '' to/x
map     d@/%        d   D       -> 1 d@ D@/%
map     d@/%        d   no      -> 0 d@ stale
map     dirt/x      dir to      -> 0 dirt stale
map     x           dir to      -> 0 x stale
map     dir/s/x     dir file    -> 0 dir/s file/s
)");
  EXPECT_TRUE(fs::is_directory("to/s") && !fs::exists("no"));
}

TEST_F(Fil, MakesMissingParentsWithPermissionsAndKnowsWhatExists) {
  const mode_t flBefore = umask(022);
  Make({"file"});
  fs::create_symlink("one", "link");
  fs::create_symlink("nowhere", "dangling");
  // As soon as there is new, there is new/.. as well, which is to be made.
  Expect(R"(
call      arguments                         -> results
make      one/ @/one/2/3/4 rel/ä/x/         -> 1 1 1
make      one one/2/3/4 / file/x/y '' @/%xx -> EEXIST EEXIST EEXIST EEXIST ENOENT ENAMETOOLONG
make-path new/../x/y                        -> EEXIST
directory / link/ '' dangling file @/%xx    -> 1 1 ENOENT ENOENT ENOTDIR ENAMETOOLONG
path      / no/                             -> 1 ENOENT
exists    file dangling @/%xx               -> 1 ENOENT ENAMETOOLONG
enter     /                                 -> 1 /
enter     link/                             -> 1 @/one/
enter     '' file                           -> 1 ENOTDIR
)");
  umask(flBefore);
  const auto Mode = [](const char *psz) { return unsigned(fs::status(psz).permissions()); };
  EXPECT_EQ(Mode("one"), 0755u);
  for (const char *psz : {"one/2", "one/2/3", "one/2/3/4", "rel/ä/x", "new"})
    EXPECT_EQ(Mode(psz), 0700u) << psz;

  const auto ulFree = static_cast<ULONG>(fs::space("/").available);
  const auto lDifference = static_cast<LONG>(FilGetPathFree("/") - ulFree);
  EXPECT_LT(std::labs(lDifference), 256'000'000) << "other programs write there";
  EXPECT_EQ(FilGetPathFree("no"), 0u);
}

TEST_F(Fil, NeedsNoNameOfTheCurrentDirectoryForWhatIsAbsolute) {
  for (const std::string &str : {std::string("removed"), Filled("%/%")}) { // or is too long
    const ScratchFolder scratch;
    fs::create_directories(str);
    fs::current_path(str);
    fs::remove(scratch.path() / "removed");
    EXPECT_EQ(CurrentPath(), "unreadable");
    Expect(R"(
call      arguments    -> result
directory /tmp         -> 1
directory /tmp/no/such -> ENOENT
check     x      2 4   -> 0 x
check     /tmp/x 2 4   -> 1 /tmp/x
check     /tmp/x 0 4   -> 0 /tmp/
files     *            ->
)");
  }
}

TEST_F(Fil, MatchesAsTheRuntimeDoesButForWhatFollowsAStar) {
  for (int i = 0; i < 50000; i++) {
    const std::string strMask = SomeChars("aB.?**", 8), strName = SomeChars("aBb.*", 9);
    std::string strGlob;
    for (std::size_t n = 0; n < strMask.size(); n++) {
      const bool fStar = strMask[n] == '*' && n + 1 < strMask.size();
      strGlob += fStar ? std::string("*\\") + strMask[++n] : strMask.substr(n, 1);
    }
    const BOOL fMatch = fnmatch(strGlob.c_str(), strName.c_str(), 0) == 0;
    ASSERT_EQ(FilFileMatch(strMask.c_str(), strName.c_str()), fMatch) << strMask << " " << strName;
  }
  EXPECT_EQ(FilFileMatch("*a*a*a*a*a*a*a*a*b", std::string(100000, 'a').c_str()), 0u);
}

TEST_F(Fil, FindsWhatMatchesAndFits) {
  for (const char *psz : {"d/inner", "e"}) fs::create_directories(psz);
  for (const char *psz : {"%", "%y"}) fs::create_directory(Filled(psz));
  Make({"d/a.x", "d/b.x", "d/*", "d/.x", "d/ä.x", "d/huge.x", "e/a", Filled("%x"), Filled("%xx")});
  fs::resize_file("d/huge.x", 5'000'000'000);
  fs::create_symlink("huge.x", "d/link.x");
  fs::create_directory_symlink("inner", "d/dirlink.x");
  fs::create_symlink("nowhere", "e/dangling");
  mkfifo("d/fifo.x", 0600);
  for (int i = 0; i < 3000; i++) fs::create_hard_link("d/a.x", "n" + std::to_string(i));
  EXPECT_EQ(Find(true, "n*").size(), 3000u);
  Expect(R"(
call        arguments     -> result
files       ./no/../d/?.x -> @/d/a.x @/d/b.x
files       d/*i*         -> @/d/link.x
files       d/inner/*     ->
files       no/*          ->
files       x*            -> @/%x
files       e/?           -> @/e/a
files       e/*           ->
directories e/            ->
directories @/            -> @/../ @/./ @/d/ @/e/ @/%/
directories d/            -> d/../ d/./ d/dirlink.x/ d/inner/
directories d             ->
files       d/*.x d/b.x   -> @/d/.x @/d/a.x @/d/b.x @/d/huge.x @/d/link.x @/d/ä.x
)");
}

TEST_F(Fil, RefusesNullTextsAndEndsASearchEarly) {
  FILSEARCH *psearch = nullptr;
  Path path;
  EXPECT_EQ(FilMakeAbsDir(path.sz, nullptr) + FilCheckPathName(nullptr, 0, 0), 0u);
  EXPECT_EQ(FilDirExists(nullptr) + FilMakeDir(nullptr) + FilSetPath(nullptr), 0u);
  EXPECT_EQ(FilFileMatch(nullptr, "a") + FilGetPathFree(nullptr), 0u);
  EXPECT_EQ(FilGetNextPath(&psearch, nullptr, path.sz), 0u);
  EXPECT_EQ(FilGetNextPathName(&psearch, nullptr, path.sz, 0), 0u);
  Make({"file"});
  EXPECT_EQ(FilGetNextPathName(&psearch, "*", path.sz, 0), 1u);
  for (FILSEARCH **phsearch : {&psearch, &psearch, static_cast<FILSEARCH **>(nullptr)})
    FilEndSearch(phsearch);
  EXPECT_EQ(psearch, nullptr);
}
} // namespace
