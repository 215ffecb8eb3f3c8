// parse.cpp: reading a text file by lines and by tokens. A floor reads the whole file at once and scans it in memory; a
// peer that works on a text in memory gets it in the same way.

#include <fcntl.h>
#include <unistd.h>

#include <charconv>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <random>
#include <string_view>

#include "bench.h"
#include "floor.h"
#include "zebbase/prs.h"

namespace {
constexpr int iLines = 4000;
constexpr int iTokens = 20; // on a line

// A file of lines that are made one by one.
template <typename MakeLine>
std::string MakeFile(const char *pszName, MakeLine makeLine) {
  std::string strText;
  for (int i = 0; i < iLines; i++) strText += makeLine(i) + '\n';
  const std::string strFile = ScratchFile(pszName);
  WriteFile(strFile, strText);
  return strFile;
}

template <typename MakeToken>
std::string MakeTokenFile(const char *pszName, MakeToken makeToken) {
  std::mt19937 random(1);
  return MakeFile(pszName, [&](int) {
    std::string strLine;
    for (int i = 0; i < iTokens; i++) strLine += ' ' + makeToken(random);
    return strLine;
  });
}

// The text of a file, terminated, in a buffer that is used again and again.
std::string_view ReadAll(const std::string &strFile) {
  static std::vector<char> ach(1 << 21);
  const int iFile = open(strFile.c_str(), O_RDONLY | O_CLOEXEC);
  const ssize_t cb = read(iFile, ach.data(), ach.size() - 1);
  close(iFile);
  ach[static_cast<std::size_t>(cb)] = '\0';
  return {ach.data(), static_cast<std::size_t>(cb)};
}

// --- Lines ---

using Sum = ULONG; // what all contenders make of a text alike

// Calls a function for each line, without its line feed.
template <typename OnLine>
void ForLines(std::string_view sv, OnLine onLine) {
  while (!sv.empty()) {
    const auto *pchEnd = static_cast<const char *>(std::memchr(sv.data(), '\n', sv.size()));
    const std::string_view svLine(sv.data(), static_cast<std::size_t>(pchEnd - sv.data()));
    onLine(svLine);
    sv.remove_prefix(svLine.size() + 1);
  }
}

Sum LibraryLines(const std::string &strFile, ULONG flParse) {
  Sum sum = 0;
  PARSECTX *pprs = PrsStartParse(strFile.c_str(), flParse, nullptr);
  do sum++;
  while (PrsNextLine(pprs));
  PrsEndParse_(pprs);
  return sum;
}

Sum FloorLines(const std::string &strFile) {
  Sum sum = 0;
  ForLines(ReadAll(strFile), [&](std::string_view) { sum++; });
  return sum;
}

// Lines with something outside comments. The comments of this file begin and end on one line.
Sum FloorCommentedLines(const std::string &strFile) {
  Sum sum = 0;
  ForLines(ReadAll(strFile), [&](std::string_view sv) {
    const auto *pch = static_cast<const char *>(std::memchr(sv.data(), '/', sv.size()));
    sum += pch != sv.data() || !sv.ends_with("*/");
  });
  return sum;
}

Sum PeerLines(const std::string &strFile) {
  Sum sum = 0;
  FILE *pf = std::fopen(strFile.c_str(), "r");
  char *psz = nullptr;
  std::size_t cb = 0;
  while (getline(&psz, &cb, pf) >= 0) sum++;
  std::free(psz);
  std::fclose(pf);
  return sum;
}

std::string SourceLine(int iLine) { // now and then with a comment
  std::string str(static_cast<std::size_t>(iLine % 4) * 2, ' ');
  if (iLine % 20 == 0) return "/* What follows is explained in these words. */";
  str += "const int iValue = iOther + " + std::to_string(iLine) + ';';
  if (iLine % 20 == 7) str += " // and here is why";
  return str;
}
} // namespace

TEST_CASE("parse: next line") {
  const std::string strFile = MakeFile("lines", SourceLine);
  constexpr ULONG flNone = 0;
  REQUIRE(LibraryLines(strFile, flNone) == iLines);
  REQUIRE(FloorLines(strFile) == iLines);
  REQUIRE(PeerLines(strFile) == iLines);
  REQUIRE(LibraryLines(strFile, PRS_CCOMMENTS) == FloorCommentedLines(strFile));
  const CONTENDER peer = {[&] { PeerLines(strFile); }, {}, "getline"};
  Measure({"parse: next line, no comments", 1.5, 0.45}, {[&] { LibraryLines(strFile, flNone); }},
          {[&] { Opaque(FloorLines(strFile)); }}, {peer});
  Measure({"parse: next line, C comments", 1.6, 0.65}, {[&] { LibraryLines(strFile, PRS_CCOMMENTS); }},
          {[&] { Opaque(FloorCommentedLines(strFile)); }}, {peer});
}

// --- Tokens ---

namespace {
// Reads a file to its end through the library.
template <typename T, typename Get>
T LibraryTokens(const std::string &strFile, Get get) {
  T total = 0;
  PARSECTX *pprs = PrsStartParse(strFile.c_str(), 0, nullptr);
  while (!PrsIsEndOfFile(pprs) && get(pprs, total)) continue;
  PrsEndParse_(pprs);
  return total;
}

// Reads a file to its end from memory; the function takes one token at the pointer and moves it.
template <typename T, typename Get>
T ScannedTokens(const std::string &strFile, Get get) {
  T total = 0;
  const std::string_view sv = ReadAll(strFile);
  for (const char *psz = sv.data(), *pszEnd = psz + sv.size(); psz < pszEnd; psz++) get(psz, total);
  return total;
}

struct StopTable {
  bool af[256] = {};
  constexpr StopTable() {
    for (const char ch : {' ', '\t', '\r', '\n', '\0'}) af[static_cast<unsigned char>(ch)] = true;
    for (const char ch : std::string_view(PRS_DEFAULT_SEPARATORS)) af[static_cast<unsigned char>(ch)] = true;
  }
  bool operator[](char ch) const { return af[static_cast<unsigned char>(ch)]; }
};
constexpr StopTable afStop;

Sum LibraryWords(const std::string &strFile) {
  return LibraryTokens<Sum>(strFile, [](PARSECTX *pprs, Sum &sum) {
    char szWord[PRS_LINE_SIZE];
    if (!PrsGetWord(pprs, szWord) || !szWord[0]) return false;
    sum += static_cast<unsigned char>(szWord[0]);
    return true;
  });
}

Sum FloorWords(const std::string &strFile) { // the words are copied, too
  return ScannedTokens<Sum>(strFile, [](const char *&psz, Sum &sum) {
    char szWord[PRS_LINE_SIZE];
    char *pch = szWord;
    while (*psz == ' ') psz++;
    while (!afStop[*psz]) *pch++ = *psz++;
    *pch = '\0';
    Touch(szWord);
    sum += static_cast<unsigned char>(szWord[0]);
  });
}

Sum PeerWords(const std::string &strFile) {
  Sum sum = 0;
  char *pszRest = const_cast<char *>(ReadAll(strFile).data());
  while (const char *psz = strtok_r(nullptr, " \t\r\n" PRS_DEFAULT_SEPARATORS, &pszRest))
    sum += static_cast<unsigned char>(*psz);
  return sum;
}

Sum LibraryNumbers(const std::string &strFile) {
  return LibraryTokens<Sum>(strFile, [](PARSECTX *pprs, Sum &sum) {
    LONG l;
    if (!PrsGetNumber(pprs, &l)) return false;
    sum += static_cast<Sum>(l);
    return true;
  });
}

Sum FloorNumbers(const std::string &strFile) {
  return ScannedTokens<Sum>(strFile, [](const char *&psz, Sum &sum) {
    while (*psz == ' ') psz++;
    sum += static_cast<Sum>(TakeSigned(psz));
  });
}

Sum PeerNumbers(const std::string &strFile) {
  return ScannedTokens<Sum>(strFile, [](const char *&psz, Sum &sum) {
    char *pszEnd;
    sum += static_cast<Sum>(std::strtol(psz, &pszEnd, 10));
    psz = pszEnd;
  });
}

double LibraryReals(const std::string &strFile) {
  return LibraryTokens<double>(strFile, [](PARSECTX *pprs, double &dSum) {
    double d;
    if (!PrsGetReal(pprs, &d)) return false;
    dSum += d;
    return true;
  });
}

double FloorReals(const std::string &strFile) {
  return ScannedTokens<double>(strFile, [](const char *&psz, double &dSum) {
    double d = 0;
    while (*psz == ' ') psz++;
    psz = std::from_chars(psz, psz + 32, d).ptr;
    dSum += d;
  });
}

double PeerReals(const std::string &strFile) {
  return ScannedTokens<double>(strFile, [](const char *&psz, double &dSum) {
    char *pszEnd;
    dSum += std::strtod(psz, &pszEnd);
    psz = pszEnd;
  });
}

using Random = std::mt19937;

std::string Word(Random &random) {
  std::string str;
  for (auto u = random() % 8 + 2; u > 0; u--) str += static_cast<char>('a' + random() % 26);
  return str;
}

std::string Integer(Random &random) { return std::to_string(static_cast<int>(random()) >> random() % 28); }

std::string Fraction(Random &random) {
  char sz[32];
  std::snprintf(sz, sizeof sz, "%.*f", static_cast<int>(random() % 6 + 1), static_cast<int>(random()) * 1e-5);
  return sz;
}

template <typename T>
void MeasureTokens(const ITEM &item, const std::string &strFile, T (*pfnLibrary)(const std::string &),
                   T (*pfnFloor)(const std::string &), T (*pfnPeer)(const std::string &), const char *pszPeer) {
  REQUIRE(pfnLibrary(strFile) == pfnFloor(strFile));
  REQUIRE(pfnLibrary(strFile) == pfnPeer(strFile));
  const auto Read = [&](T (*pfn)(const std::string &)) { return [&strFile, pfn] { pfn(strFile); }; };
  Measure(item, {Read(pfnLibrary)}, {Read(pfnFloor)}, {{Read(pfnPeer), {}, pszPeer}});
}
} // namespace

TEST_CASE("parse: words") {
  MeasureTokens({"parse: words", 1.35, 0.5}, MakeTokenFile("words", Word), LibraryWords, FloorWords, PeerWords,
                "strtok_r");
}

TEST_CASE("parse: numbers") {
  MeasureTokens({"parse: numbers", 1.6, 0.85}, MakeTokenFile("numbers", Integer), LibraryNumbers, FloorNumbers,
                PeerNumbers, "strtol");
}

TEST_CASE("parse: reals") {
  MeasureTokens({"parse: reals", 1.4, 0.55}, MakeTokenFile("reals", Fraction), LibraryReals, FloorReals, PeerReals,
                "strtod");
}
