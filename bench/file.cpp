// file.cpp: wildcard masks, and a search in a large directory.

#include <dirent.h>
#include <fcntl.h>
#include <fnmatch.h>
#include <glob.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstring>
#include <filesystem>
#include <set>

#include "bench.h"
#include "zebbase/fil.h"

namespace {
struct MATCH {
  const char *pszMask;
  const char *pszName;
};
constexpr MATCH aTypical[] = {{"*.cpp", "memory.cpp"},
                              {"*.cpp", "memory_test.h"},
                              {"report-????.txt", "report-2003.txt"},
                              {"lib*.so", "libzebbase.so"},
                              {"*", "README.md"},
                              {"data*.log", "data.20030115.log"},
                              {"*_test.*", "links_test.cpp"},
                              {"CMakeLists.txt", "CMakeLists.txt"}};
constexpr MATCH aFiveStars[] = {
    {"*one*two*three*four*five", "one or two, or three, for fortune: four and some more, five"},
    {"*a*b*c*d*e", "aaaaaaaaaaaaabbbbbbbbbbbbbbbbbbbccccccccccccccccccccdddddddddddddddf"}};

// Each piece between stars is taken at the first place where it fits; the last one has to end the name.
BOOL FloorMatch(const char *pszMask, const char *pszName) {
  for (; *pszMask != '*'; pszMask++, pszName++) {
    if (*pszMask != *pszName && (*pszMask != '?' || !*pszName)) return 0;
    if (!*pszMask) return 1;
  }
  for (;;) {
    const char chFirst = *++pszMask;
    if (!chFirst) return 1;
    const char *pszPiece = pszMask + 1;
    for (const char *pszFrom = pszName;; pszFrom++) {
      while (*pszFrom != chFirst)
        if (!*pszFrom++) return 0;
      pszName = pszFrom + 1;
      for (pszMask = pszPiece; *pszMask && (*pszMask == *pszName || (*pszMask == '?' && *pszName)); pszMask++)
        pszName++;
      if (*pszMask == '*') break;
      if (!*pszMask && !*pszName) return 1;
    }
  }
}

BOOL PeerMatch(const char *pszMask, const char *pszName) { return fnmatch(pszMask, pszName, 0) == 0; }

template <std::size_t N>
void MeasureMatch(const ITEM &item, const MATCH (&aMatch)[N]) {
  for (const MATCH &match : aMatch) {
    REQUIRE(FilFileMatch(match.pszMask, match.pszName) == FloorMatch(match.pszMask, match.pszName));
    REQUIRE(FilFileMatch(match.pszMask, match.pszName) == PeerMatch(match.pszMask, match.pszName));
  }
  const auto All = [&](BOOL (*pfnMatch)(const char *, const char *)) {
    return [&aMatch, pfnMatch] {
      for (const MATCH &match : aMatch) Opaque(pfnMatch(match.pszMask, match.pszName));
    };
  };
  Measure(item, {All(FilFileMatch)}, {All(Opaque(FloorMatch))}, {{All(PeerMatch), {}, "fnmatch"}});
}
} // namespace

TEST_CASE("file: match") {
  MeasureMatch({"file: wildcard match, typical", 1.35, 0.35}, aTypical);
  MeasureMatch({"file: wildcard match, five stars", 1.5, 0.25}, aFiveStars);
}

namespace {
using Names = std::set<std::string>;

// Each calls a function for every name found.
template <typename OnName>
void LibrarySearch(const std::string &strDirectory, OnName onName) {
  FILSEARCH *pSearch = nullptr;
  char szName[FIL_MAX_PATH];
  while (FilGetNextPathName(&pSearch, (strDirectory + "/*.txt").c_str(), szName, 0)) onName(szName);
}

template <typename OnName>
void FloorSearch(const std::string &strDirectory, OnName onName) { // every file of this directory matches
  DIR *pdir = opendir(strDirectory.c_str());
  char szName[FIL_MAX_PATH];
  while (const dirent *pent = readdir(pdir)) {
    struct stat st;
    if (fstatat(dirfd(pdir), pent->d_name, &st, 0) != 0 || !S_ISREG(st.st_mode)) continue;
    stpcpy(stpcpy(stpcpy(szName, strDirectory.c_str()), "/"), pent->d_name);
    onName(szName);
  }
  closedir(pdir);
}

template <typename OnName>
void PeerSearch(const std::string &strDirectory, OnName onName) {
  glob_t names;
  if (glob((strDirectory + "/*.txt").c_str(), GLOB_NOSORT, nullptr, &names) == 0)
    for (std::size_t u = 0; u < names.gl_pathc; u++) onName(names.gl_pathv[u]);
  globfree(&names);
}
} // namespace

TEST_CASE("file: search") {
  const std::string strDirectory = ScratchFile("directory");
  std::filesystem::create_directory(strDirectory);
  for (int i = 0; i < 5000; i++) WriteFile(strDirectory + "/file" + std::to_string(i) + ".txt", "");
  Names namesLibrary, namesFloor, namesPeer;
  LibrarySearch(strDirectory, [&](const char *psz) { namesLibrary.insert(psz); });
  FloorSearch(strDirectory, [&](const char *psz) { namesFloor.insert(psz); });
  PeerSearch(strDirectory, [&](const char *psz) { namesPeer.insert(psz); });
  REQUIRE(namesLibrary.size() == 5000);
  REQUIRE(namesLibrary == namesFloor);
  REQUIRE(namesLibrary == namesPeer);
  const auto Ignore = [](const char *psz) { Opaque(psz); };
  Measure({"file: search in a directory of 5,000", 0.4, 1.0}, {[&] { LibrarySearch(strDirectory, Ignore); }},
          {[&] { FloorSearch(strDirectory, Ignore); }}, {{[&] { PeerSearch(strDirectory, Ignore); }, {}, "glob"}});
}
