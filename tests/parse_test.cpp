// parse_test.cpp: lines, comments and markers; tokens; numbers; patterns.

#include "zebbase/prs.h"

#include <fcntl.h>
#include <strings.h>
#include <sys/socket.h>
#include <sys/wait.h>

#include <cctype>

#include "input.h"
#include "zebbase/ini.h"
#include "zebbase/tme.h"

namespace {
const std::string strWhite = " \t\r\n";
const std::string strMarker = "# 10 \"defs.h\"";

bool KeepOutsideComments(std::string &str, bool &fInComment) {
  const std::string strLine = std::exchange(str, "");
  bool fKeep = false;
  for (std::size_t i = 0, iEnd; i < strLine.size(); i = iEnd + 2, fInComment = !fInComment) {
    iEnd = std::min(strLine.find(fInComment ? "*/" : "//", i), strLine.size());
    const bool fLineComment = !fInComment && iEnd < strLine.size();
    if (!fInComment && !fLineComment) iEnd = std::min(strLine.find("/*", i), strLine.size());
    fKeep |= !fInComment && iEnd > i;
    if (!fInComment) str += strLine.substr(i, iEnd - i);
    if (fLineComment || iEnd == strLine.size()) break;
  }
  return fKeep;
}

bool Keep(std::string &str, ULONG flStyle, bool &fInComment) {
  const std::string strText = str.substr(std::min(str.find_first_not_of(strWhite), str.size()));
  if (flStyle == PRS_HASHCOMMENTS) return strText[0] != '#';
  if (flStyle == PRS_REMCOMMENTS) return strncasecmp(strText.c_str(), "rem", 3) != 0;
  if (flStyle != PRS_CCOMMENTS) return true;
  return !str.empty() && str != "\n" && str != "\r" && KeepOutsideComments(str, fInComment);
}

// The lines that a parse of an input is to deliver, each with its number and file.
std::vector<std::string> LinesOf(const std::string &strInput, ULONG flParse, std::string strFile) {
  std::vector<std::string> astr;
  bool fInComment = false;
  ULONG ulNumber = 0;
  for (std::size_t i = 0, cb; i < strInput.size(); i += cb) {
    cb = std::min({strInput.find('\n', i), i + 2046, strInput.size() - 1}) + 1 - i;
    std::string str = strInput.substr(i, cb).c_str();
    ulNumber++;
    while (str.size() > 1 && (str.back() == '\r' || str.back() == '\n')) str.pop_back();
    if (!Keep(str, flParse & 0xF, fInComment)) continue;
    const bool fMarker = (flParse & PRS_PREPROCESSED) && str[0] == '#';
    if (!fMarker) astr.push_back(std::to_string(ulNumber) + strFile + ":" + str);
    if (!fMarker || !str.starts_with(strMarker)) continue; // no other in these tests is well formed
    ulNumber = 10;
    strFile = "defs.h";
  }
  return astr;
}

// An input up to where its last line that is whole ends.
std::string WholeLinesOf(const std::string &str) {
  const std::size_t cb = str.rfind('\n') + 1;
  return str.substr(0, cb + (str.size() - cb) / 2047 * 2047);
}

using Parse = std::unique_ptr<PARSECTX, decltype([](PARSECTX *pprs) { PrsEndParse_(pprs); })>;

// Whether a file is delivered as these lines, and then the one by that number.
bool Delivers(const char *pszFile, ULONG flParse, const std::vector<std::string> &astr,
              ULONG ulLine) {
  const Parse parse(PrsStartParse(pszFile, flParse, nullptr));
  char szLine[PRS_LINE_SIZE];
  for (const std::string &str : astr) {
    const std::string strPlace =
        std::to_string(PrsQueryLineNumber(parse.get())) + PrsQueryFileName(parse.get()) + ":";
    if (PrsGetLine(parse.get(), szLine) != 1 || strPlace + szLine != str) return false;
  }
  const bool fThere = ulLine >= 1 && ulLine <= astr.size();
  if (!parse != astr.empty() || !PrsIsEndOfFile(parse.get()) || PrsGetLine(parse.get(), szLine))
    return false;
  if (PrsResetToLine(parse.get(), ulLine) != fThere || PrsGetLine(parse.get(), szLine) != fThere)
    return false;
  return !fThere || astr[ulLine - 1].ends_with(std::string(":") + szLine);
}

class PrsParse : public FileTest {
 protected:
  static Parse ParseOf(const std::string &str, ULONG flParse, const char *pszSeparators = nullptr) {
    Write(str);
    return Parse(PrsStartParse("input", flParse, pszSeparators));
  }
};

TEST_F(PrsParse, DeliversTheLinesThatAModelDoes) {
  for (int i = 0; i < 3000; i++) {
    const ULONG aulStyle[] = {0, 1, 1, 1, 2, 3, 4, 5, 8, 9, 12, 17}, fl = aulStyle[Random(12)];
    auto astr =
        Split("/~*~//~/*~*/~#~ ~\t~rem~x~\n~\n~\n~\r\n~\r~\n# 12 \"open\n~\n#12\n~\n" + strMarker);
    for (const char ch : {'x', '/'})
      astr.push_back(Random(6) ? std::string(1, ch)
                               : '\n' + std::string(2043 + Random(8), ch) + "/*\n");
    const std::string strInput = Some(astr, 25) + std::string(Random(2), '\0') + Some(astr, 5);
    const ULONG ulLine = Random(8);
    SCOPED_TRACE("style " + std::to_string(fl) + ": " + testing::PrintToString(strInput));
    Write(strInput);
    ASSERT_TRUE(Delivers("input", fl, LinesOf(strInput, fl, "input"), ulLine));
    ASSERT_TRUE(
        (FailRead(), Delivers("input", fl, LinesOf(WholeLinesOf(strInput), fl, "input"), ulLine)));
    if (i % 100) continue;
    const pid_t pid = fork(); // the same from standard input, which is closed at the end
    if (pid == 0) {
      dup2(open("input", O_RDONLY), 0);
      const bool fSame = Delivers(nullptr, fl, LinesOf(strInput, fl, "stdin"), ulLine);
      _exit(!fSame || fcntl(0, F_GETFD) >= 0 || PrsStartParse(nullptr, fl, nullptr) != nullptr);
    }
    int iStatus = -1;
    waitpid(pid, &iStatus, 0);
    ASSERT_EQ(iStatus, 0);
  }
  for (const char *pszFile : {"missing", "", "."})
    EXPECT_EQ(PrsStartParse(pszFile, 0, nullptr), nullptr) << pszFile;
}

TEST_F(PrsParse, EndsForGoodWhereTheInputEndsOrFails) {
  const Parse parse = ParseOf("a", 0);
  std::ofstream("input", std::ios::app) << "b\nc\n";
  EXPECT_EQ(PrsNextLine(parse.get()), 0u);
  char szLine[PRS_LINE_SIZE];
  EXPECT_TRUE(PrsResetToLine(parse.get(), 1) && PrsGetLine(parse.get(), szLine) &&
              std::string(szLine) == "ab");
  const auto ParseSocket = [](bool fFails) { // from standard input
    int afd[2];
    socketpair(AF_UNIX, SOCK_STREAM, 0, afd);
    for (const int fd : {afd[0], fFails ? afd[1] : afd[0]})
      static_cast<void>(!write(fd, "a = 1\nb = 2\n", 12));
    close(afd[0]); // what it has not read is an error to the other side
    dup2(afd[1], 0);
    INIFILE ini = {};
    const BOOL fParsed = ParseFile(PrsStartParse(nullptr, 0, INI_SEPARATORS), &ini);
    _exit(static_cast<int>(10 * ini.ulEntries + fParsed));
  };
  EXPECT_EXIT(ParseSocket(true), testing::ExitedWithCode(10), "");
  EXPECT_EXIT(ParseSocket(false), testing::ExitedWithCode(31), "");
}

enum { opWord, opNextWord, opNextRun, opKeyword, opNextChar, opSentence, cOps };
const char *const apszKeywords[] = {"open", "", "b", nullptr, "ab", "B"};

// Calls a reader. Result: what it gives, and has read.
std::string Call(PARSECTX *pprs, ULONG ulOp, const char *psz = "") {
  char szText[5000] = "";
  const BOOL fQuery = ulOp == opNextWord   ? PrsQueryWord(pprs, psz)
                      : ulOp == opNextChar ? PrsQueryChar(pprs, *psz)
                                           : 0;
  const ULONG ul = ulOp == opWord       ? PrsGetWord(pprs, szText)
                   : ulOp == opNextWord ? PrsNextWord(pprs, psz)
                   : ulOp == opNextRun  ? PrsNextWord(pprs, nullptr)
                   : ulOp == opKeyword
                       ? static_cast<ULONG>(PrsGetKeyword(pprs, apszKeywords, 6) + 1)
                   : ulOp == opNextChar ? PrsNextChar(pprs, *psz)
                                        : PrsGetSentence(pprs, szText);
  EXPECT_TRUE(fQuery == ul || (ulOp != opNextWord && ulOp != opNextChar)) << psz;
  return std::to_string(ul) + (ul ? szText : "");
}

// The same on a text whose lines end with line feeds alone.
struct TOKENMODEL {
  std::string str, strSeparators; // what is left of the text
  bool fCase, fEnd = false;

  std::string Call(ULONG ulOp, const std::string &strWord) {
    if (fEnd) return "0";
    SkipWhite();
    std::size_t cb = 0;
    while (cb < str.size() && strWhite.find(str[cb]) == str.npos &&
           (std::isalnum(str[cb]) || strSeparators.find(str[cb]) == str.npos))
      cb++;
    if (ulOp == opWord) return "1" + Take(cb);
    if (ulOp == opNextWord) return cb && AreEqual(cb, strWord) ? Take(cb), "1" : "0";
    if (ulOp == opNextRun) return Take(std::min(str.find_first_of(strWhite), str.size())), "1";
    if (ulOp == opNextChar) return !fEnd && AreEqual(1, strWord.substr(0, 1)) ? Take(1), "1" : "0";
    if (ulOp == opSentence) return str[0] == '"' ? TakeQuoted() : TakeRest();
    for (const char *const &psz : apszKeywords)
      if (psz && AreEqual(cb, psz)) return Take(cb), std::to_string(&psz - apszKeywords + 1);
    return "0";
  }
  std::string TakeRest() {
    const std::string strText = Take(std::min(str.find_first_of("\r\n"), str.size()));
    Take(std::min(str.find('\n'), str.size() - 1) + 1);
    return fEnd = str.empty(), "1" + strText;
  }
  std::string TakeQuoted() {
    std::string strText;
    for (; str[0] == '"'; Take(1), SkipWhite()) {
      for (Take(1); !str.empty() && str[0] != '"'; SkipWhite("\n"))
        strText += str[0] == '\n' ? "" : Take(1);
      if (str.empty()) return fEnd = true, "0";
    }
    return "1" + strText;
  }
  std::string Take(std::size_t cb) {
    const std::string strTaken = str.substr(0, cb);
    return str.erase(0, cb), strTaken;
  }
  void SkipWhite(const std::string &strFirst = strWhite) { // if the first character is one of these
    if (strFirst.find(str[0]) != str.npos) str.erase(0, str.find_first_not_of(strWhite));
    fEnd = str.empty();
  }
  bool AreEqual(std::size_t cb, const std::string &strOther) const {
    return fCase ? str.substr(0, cb) == strOther
                 : strcasecmp(str.substr(0, cb).c_str(), strOther.c_str()) == 0;
  }
};

TEST_F(PrsParse, TakesTheTokensThatAModelDoes) {
  const char *const apszWord[] = {"a", "A", "ab", "b1", "open", "[", "=", "-", "\"", "@", ""};
  const char *const apszSeparators[] = {PRS_DEFAULT_SEPARATORS, "]-!@#$%&*<>_|\\:", "=aB1", ""};
  for (int i = 0; i < 3000; i++) {
    const std::string strInput =
        "a" + Some(Split("a~B~b~1~open~[~]~=~-~ ~\t~\n~\r~\"~\"~@~`~\f"), 30);
    const char *pszSeparators = apszSeparators[Random(4)];
    const bool fCase = Random(2);
    const Parse parse = ParseOf(strInput, fCase ? PRS_CASESENSITIVE : 0, pszSeparators);
    std::string strLines = strInput; // without what is cut off at line ends
    for (std::size_t iChar = strLines.size(); iChar-- > 1;)
      if (strLines[iChar] == '\r' && strLines[iChar - 1] != '\n' &&
          std::strchr("\n", strLines.c_str()[iChar + 1]))
        strLines.erase(iChar, 1);
    TOKENMODEL model = {strLines, pszSeparators, fCase};
    std::string strTrace = testing::PrintToString(strInput) + " by " + pszSeparators;
    for (int iCall = 0; iCall < 25; iCall++) {
      const ULONG ulOp = Random(cOps);
      const char *psz = apszWord[Random(std::size(apszWord))];
      strTrace += "\n" + std::to_string(ulOp) + " " + psz;
      ASSERT_EQ(Call(parse.get(), ulOp, psz), model.Call(ulOp, psz)) << strTrace;
      ASSERT_EQ(PrsIsEndOfFile(parse.get()), model.fEnd) << strTrace;
    }
  }
}

TEST_F(PrsParse, TakesLongWordsAndTimesAndThenNothing) {
  const std::string strLong(2047, 'w');
  const Parse parse = ParseOf(
      strLong + "\n\"" + strLong + "\n\n " + strLong + "\"\"e\" 2003-01-15_10:23:45.5 y\nz", 0);
  REALTIME rt = 1;
  EXPECT_EQ(Call(parse.get(), opWord), "1" + strLong);
  EXPECT_EQ(Call(parse.get(), opSentence), "1" + strLong + strLong + "e");
  EXPECT_TRUE(PrsGetRealTime(parse.get(), &rt) == 1 &&
              rt == TmeStringToRealTime("2003-01-15_10:23:45.5 y"));
  EXPECT_TRUE(!PrsIsEndOfLine(parse.get()) && Call(parse.get(), opWord) == "1y" &&
              PrsIsEndOfLine(parse.get()));
  EXPECT_TRUE(PrsGetRealTime(parse.get(), &rt) == 1 && rt == 0.0) << "nothing left on the line";
  EXPECT_EQ(Call(parse.get(), opSentence), "1z");
  const Parse parseBlank = ParseOf("a b", 0);
  EXPECT_EQ(Call(parseBlank.get(), opWord), "1a");
  EXPECT_TRUE(PrsQueryChar(parseBlank.get(), 'b') && PrsQueryWord(parseBlank.get(), "b"));
  EXPECT_TRUE(PrsGetPattern(parseBlank.get(), "%?b")) << "a query does not take the blank either";
  int afd[2];
  ASSERT_TRUE(pipe(afd) == 0 && write(afd[1], "a\nb", 3) == 3);
  const Parse parsePipe(
      PrsStartParse(("/proc/self/fd/" + std::to_string(afd[0])).c_str(), 0, nullptr));
  for (const int fd : afd) close(fd);
  EXPECT_FALSE(PrsResetToLine(parsePipe.get(), 1)) << "a pipe cannot be rewound";
  EXPECT_EQ(Call(parsePipe.get(), opWord), "1a");
  EXPECT_EQ(Call(parsePipe.get(), opWord), "1b");
  EXPECT_EQ(PrsGetPattern(parseBlank.get(), nullptr) + PrsQueryPattern(parseBlank.get(), nullptr),
            0u);
  for (ULONG ulOp = 0; ulOp < cOps; ulOp++)
    EXPECT_EQ(Call(parse.get(), ulOp) + Call(nullptr, ulOp), "00") << ulOp;
}

// Takes the numbers of a text, each between "~", and holds them and what is left of the line against the runtime.
template <typename T>
void CompareWithRuntime(const Parse &parse, const char *psz, BOOL (*pfnGet)(PARSECTX *, T *),
                        const std::string &strFormat, const char *pszRun) {
  for (; *psz; psz = std::strchr(psz, '\n') + 1) {
    T t = 77, tModel = 77;
    ASSERT_EQ(PrsNextChar(parse.get(), *psz++), 1u);
    const bool fPrefix = strFormat == "%lx" && (psz[1] | 0x20) == 'x';
    const bool fSign = strFormat == "%ld" && (*psz == '-' || *psz == '+');
    const bool f = (!fPrefix || *psz == '0') &&
                   std::sscanf(psz + 2 * fPrefix, strFormat.c_str(), &tModel) == 1;
    ASSERT_TRUE(pfnGet(parse.get(), &t) == f && std::memcmp(&t, &tModel, sizeof t) == 0)
        << std::string(psz, 60);
    const char *pszRest = psz + f * (fSign + std::strspn(psz + fSign, pszRun));
    ASSERT_EQ(Call(parse.get(), opSentence), "1" + std::string(pszRest, std::strchr(psz, '\n')))
        << psz - 1;
  }
}

TEST_F(PrsParse, TakesNumbersWithTheValuesOfTheRuntime) {
  std::string str;
  const auto astr = Split(
      "-~+~0~1~9~.~e~x~X~F~0x~1p~2147483647~2147483648~inf~nan~4294967295~4294967296~"
      "9007199254740993~"
      "18446744073709551617~00000000~0.1~e3~e-309~\f~\v");
  for (int i = 0; i < 10000; i++) str += "~" + Some(astr, 6) + "~\n";
  CompareWithRuntime(ParseOf(str, 0), str.c_str(), PrsGetNumber, "%ld", "0123456789");
  CompareWithRuntime(ParseOf(str, 0), str.c_str(), PrsGetHexNumber, "%lx",
                     "0123456789abcdefABCDEFxX");
  CompareWithRuntime(ParseOf(str, 0), str.c_str(), PrsGetReal, "%lf", "0123456789eE+-.");
}

TEST_F(PrsParse, MatchesPatterns) {
  const struct {
    const char *pszPattern, *pszText; // after whose line comes a line "~"
    const char *pszExpected; // results of query and get; the values got; what a sentence gives then
    ULONG flParse = 0;
  } aCase[] = {
      {"%w = %n ;", "count = 42 ; x", "1 1 count 42 0 1x"},
      {"%w = %n ;", "count = x ;", "0 0 count 0 0 1x ;"},
      {"[%w%*:%n", "[key ignored words : 7", "1 1 key 7 0 1~"},
      {"%-w %n", "abc 5", "1 1  5 0 1~"},
      {" Q%x ", "q0x1Fg", "1 1  0 31 1g"},
      {"%z%-x z", "0x1F z", "0 1  0 0 1~"},
      {"%-n.%n", "-1.5", "0 1  5 0 1~"},
      {"%n", "x", "1 0  0 0 1x"},
      {"end", "END", "0 0  0 0 1END", PRS_CASESENSITIVE},
      {"a ~ ~", "a", "0 0  0 0 0"},
      {"a~%w", "a", "0 1  0 0 0"},
      {"a%?c", "a bc", "1 0  0 0 1bc"},
      {"a%-?bc", "a bc", "0 1  0 0 1~"},
      {"a%?", "a", "0 0  0 0 1~"},
      {"%* x y", "a b X yz", "1 1  0 0 1z"},
      {"%-*=%n", " == 5", "1 0  0 0 1= 5"},
      {"a%-", "ab", "0 0  0 0 1b"},
      {"a%* ", "ab", "0 0  0 0 1b"},
  };
  for (const auto &c : aCase) {
    const Parse parse = ParseOf(std::string(c.pszText) + "\n~\n", c.flParse, "]-!@#$%&*<>_|\\:");
    char szWord[PRS_LINE_SIZE] = "";
    LONG l = 0;
    ULONG ul = 0;
    const std::string strQuery = std::to_string(PrsQueryPattern(parse.get(), c.pszPattern));
    const BOOL f =
        std::strstr(c.pszPattern, "%w")   ? PrsGetPattern(parse.get(), c.pszPattern, szWord, &l)
        : std::strstr(c.pszPattern, "%n") ? PrsGetPattern(parse.get(), c.pszPattern, &l)
                                          : PrsGetPattern(parse.get(), c.pszPattern, &ul);
    const std::string str = strQuery + " " + std::to_string(f) + " " + szWord + " " +
                            std::to_string(l) + " " + std::to_string(ul) + " " +
                            Call(parse.get(), opSentence);
    EXPECT_EQ(str, c.pszExpected) << c.pszPattern << " on " << c.pszText;
  }
}
} // namespace
