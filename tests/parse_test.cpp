// parse_test.cpp: lines, comments and markers; tokens; numbers; patterns.

#include "zebbase/prs.h"

#include <fcntl.h>
#include <strings.h>
#include <sys/socket.h>

#include <cctype>

#include "input.h"
#include "zebbase/ini.h"
#include "zebbase/tme.h"

namespace {
using Parse = std::unique_ptr<PARSECTX, decltype([](PARSECTX *pprs) { PrsEndParse_(pprs); })>;

constexpr char szWhite[] = " \t\r\n";
constexpr char szMarker[] = "# 10 \"defs.h\"";

using namespace std::string_literals;

class Prs : public FileTest {
 protected:
  static Parse Start(const char *pszFile, ULONG fl = 0, const char *pszSet = nullptr) {
    return Parse(PrsStartParse(pszFile, fl, pszSet));
  }
  static Parse ParseOf(const std::string &str, ULONG fl = 0, const char *pszSet = nullptr) {
    Write(str);
    return Start("input", fl, pszSet);
  }
};

// --- Lines ---

// Takes the comments out of a line. Result: whether anything is left.
bool RemoveComments(std::string &strLine, bool &fInComment) {
  std::string strRest = std::exchange(strLine, "");
  while (!strRest.empty()) {
    const bool fToTheEnd = !fInComment && strRest.find("//") != strRest.npos;
    const char *pszMark = fInComment ? "*/" : "/*";
    const std::size_t cb = std::min(strRest.find(fToTheEnd ? "//" : pszMark), strRest.size());
    if (!fInComment) strLine += strRest.substr(0, cb);
    if (cb < strRest.size() && !fToTheEnd) fInComment = !fInComment;
    strRest.erase(0, fToTheEnd ? strRest.npos : cb + 2);
  }
  return !strLine.empty();
}

// Whether a line is to be delivered, and what of it.
bool Keep(std::string &str, ULONG flStyle, bool &fInComment) {
  const std::string strText = str.substr(std::min(str.find_first_not_of(szWhite), str.size()));
  if (flStyle == PRS_HASHCOMMENTS) return !strText.starts_with('#');
  if (flStyle == PRS_REMCOMMENTS) return strncasecmp(strText.c_str(), "rem", 3) != 0;
  if (flStyle != PRS_CCOMMENTS) return true;
  return str != "\n" && str != "\r" && RemoveComments(str, fInComment);
}

// The lines that a parse of an input is to deliver, each with its number and file.
Texts LinesOf(const std::string &strInput, ULONG flParse, std::string strFile) {
  Texts astr;
  bool fInComment = false;
  ULONG ulNumber = 0;
  for (std::size_t i = 0, cb; i < strInput.size(); i += cb) {
    cb = std::min({strInput.find('\n', i), i + 2046, strInput.size() - 1}) + 1 - i;
    std::string str = strInput.substr(i, cb).c_str(); // up to a zero
    ulNumber++;
    while (str.size() > 1 && (str.back() == '\r' || str.back() == '\n')) str.pop_back();
    if (!Keep(str, flParse & 0xF, fInComment)) continue;
    const bool fMarker = (flParse & PRS_PREPROCESSED) && str[0] == '#';
    if (!fMarker) astr.push_back(std::to_string(ulNumber) + strFile + ":" + str);
    if (!fMarker || !str.starts_with(szMarker)) continue; // no other in these tests is well formed
    ulNumber = 10;
    strFile = "defs.h";
  }
  return astr;
}

Texts Lines(const Parse &parse) { // that are left
  Texts astr;
  for (char szLine[PRS_LINE_SIZE];;) {
    std::string str =
        std::to_string(PrsQueryLineNumber(parse.get())) + PrsQueryFileName(parse.get());
    if (!PrsGetLine(parse.get(), szLine)) return astr;
    astr.push_back(str + ":" + szLine);
  }
}

TEST_F(Prs, DeliversTheLinesThatAModelDoes) {
  constexpr ULONG aulStyle[] = {0, 1, 1, 1, 2, 3, 4, 5, 8, 9, 12, 17};
  for (int i = 0; i < 3000; i++) {
    Texts astr = {"/", "*", "/", "*", "#", " ", "\t", "rem", "x", "\n", "\n", "\r\n", "\r"};
    for (const char *psz : {"# 12 \"open\n", "#12\n", szMarker}) astr.push_back("\n"s + psz);
    for (const char ch : {'x', '/'}) // about as much as a line takes
      if (!Random(6)) astr.push_back("\n" + std::string(2043 + Random(8), ch) + "/*\n");
    const std::string strInput = Some(astr, 25) + std::string(Random(2), '\0') + Some(astr, 5);
    const ULONG fl = OneOf(aulStyle);
    SCOPED_TRACE("style " + std::to_string(fl) + ": " + testing::PrintToString(strInput));

    const Parse parse = ParseOf(strInput, fl);
    ASSERT_EQ(Lines(parse), LinesOf(strInput, fl, "input"));
    const std::string strFile = PrsQueryFileName(parse.get()); // perhaps by a marker
    ASSERT_EQ(PrsResetToLine(parse.get(), 1), parse != nullptr);
    ASSERT_EQ(Lines(parse), LinesOf(strInput, fl, strFile));

    const auto ReadStandardInput = [&] {
      dup2(open("input", O_RDONLY), 0);
      const bool fSame = Lines(Start(nullptr, fl)) == LinesOf(strInput, fl, "stdin");
      _exit(fSame && fcntl(0, F_GETFD) < 0 && !Start(nullptr, fl));
    };
    if (i % 100 == 0) {
      ASSERT_EXIT(ReadStandardInput(), testing::ExitedWithCode(1), "");
    }

    const std::size_t cb = strInput.rfind('\n') + 1; // a line at which reading fails is lost
    const std::string strWhole = strInput.substr(0, cb + (strInput.size() - cb) / 2047 * 2047);
    const FailRead fail;
    ASSERT_EQ(Lines(Start("input", fl)), LinesOf(strWhole, fl, "input"));
  }
}

TEST_F(Prs, EndsForGoodWhereTheInputEndsOrFails) {
  const Parse parse = ParseOf("a");
  std::ofstream("input", std::ios::app) << "b\nc\n";
  EXPECT_EQ(PrsNextLine(parse.get()), 0u);
  for (ULONG ulLine = 0; ulLine <= 3; ulLine++)
    EXPECT_EQ(PrsResetToLine(parse.get(), ulLine), ulLine == 1 || ulLine == 2);
  EXPECT_EQ(PrsResetToLine(parse.get(), 2), 1u);
  EXPECT_EQ(Lines(parse), Texts{"2input:c"});
  for (const char *pszFile : {"missing", "", "."}) EXPECT_EQ(Start(pszFile), nullptr) << pszFile;

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

// --- Tokens ---

enum Op { opWord, opNextWord, opNextRun, opKeyword, opNextChar, opSentence, cOps };
const char *const apszKeywords[] = {"ab", "", "b", nullptr, "1", "B"};

// Calls a reader. Result: what it gives, and has read.
std::string Call(PARSECTX *pprs, Op op, const char *psz = "") {
  char sz[5000] = "";
  const auto Text = [&](ULONG ul) { return std::to_string(ul) + (ul ? sz : ""); };
  if (op == opWord) return Text(PrsGetWord(pprs, sz));
  if (op == opNextRun) return Text(PrsNextWord(pprs, nullptr));
  if (op == opKeyword) return Text(static_cast<ULONG>(PrsGetKeyword(pprs, apszKeywords, 6) + 1));
  if (op == opSentence) return Text(PrsGetSentence(pprs, sz));
  const BOOL fSeen = op == opNextWord ? PrsQueryWord(pprs, psz) : PrsQueryChar(pprs, *psz);
  const BOOL fTaken = op == opNextWord ? PrsNextWord(pprs, psz) : PrsNextChar(pprs, *psz);
  EXPECT_EQ(fSeen, fTaken) << psz;
  return Text(fTaken);
}

// The same on what is left of a text.
struct TOKENMODEL {
  std::string str, strSeparators;
  bool fCase, fEnd = false;

  std::string Call(Op op, const std::string &strSought) {
    if (fEnd) return "0";
    SkipWhite();
    std::size_t cb = 0; // of the next word
    while (cb < str.size() && !std::strchr(szWhite, str[cb]) &&
           (std::isalnum(str[cb]) || strSeparators.find(str[cb]) == str.npos))
      cb++;
    if (op == opWord) return "1" + Take(cb);
    if (op == opNextWord) return TakeIf(cb > 0 && Is(cb, strSought), cb);
    if (op == opNextRun) return TakeIf(true, str.find_first_of(szWhite));
    if (op == opNextChar) return TakeIf(!fEnd && Is(1, strSought.substr(0, 1)), 1);
    if (op == opSentence) return str[0] == '"' ? TakeQuoted() : TakeRest();
    for (std::size_t i = 0; i < std::size(apszKeywords); i++)
      if (apszKeywords[i] && Is(cb, apszKeywords[i])) return Take(cb).assign(std::to_string(i + 1));
    return "0";
  }
  std::string TakeRest() { // and the line end
    const std::string strText = Take(str.find('\n'));
    Take(1);
    fEnd = str.empty();
    return "1" + strText;
  }
  std::string TakeQuoted() { // and all that follow directly
    std::string strText;
    while (str[0] == '"') {
      Take(1);
      while (!str.empty() && str[0] != '"') {
        strText += Take(std::min(str.find_first_of("\"\n"), str.size()));
        if (str[0] == '\n') SkipWhite();
      }
      fEnd = str.empty();
      if (fEnd) return "0";
      Take(1);
      SkipWhite();
    }
    return "1" + strText;
  }
  std::string TakeIf(bool fTake, std::size_t cb) {
    if (fTake) Take(cb);
    return fTake ? "1" : "0";
  }
  std::string Take(std::size_t cb) {
    const std::string strTaken = str.substr(0, cb);
    str.erase(0, cb);
    return strTaken;
  }
  void SkipWhite() {
    str.erase(0, str.find_first_not_of(szWhite));
    fEnd = str.empty();
  }
  bool Is(std::size_t cb, const std::string &strOther) const {
    const std::string strWord = str.substr(0, cb);
    return fCase ? strWord == strOther : strcasecmp(strWord.c_str(), strOther.c_str()) == 0;
  }
};

TEST_F(Prs, TakesTheTokensThatAModelDoes) {
  const char *const apszWord[] = {"a", "A", "ab", "b1", "[", "=", "-", "\"", "@", ""};
  const char *const apszSeparators[] = {PRS_DEFAULT_SEPARATORS, "]-!@#$%&*<>_|\\:", "=aB1", ""};
  for (int i = 0; i < 3000; i++) {
    const std::string strInput = "a" + SomeChars("aBb1[]=- \t\n\n\"\"@`\f", 30);
    const char *pszSeparators = OneOf(apszSeparators);
    const bool fCase = Random(2);
    const Parse parse = ParseOf(strInput, fCase ? PRS_CASESENSITIVE : 0, pszSeparators);
    TOKENMODEL model = {strInput, pszSeparators, fCase};
    std::string strTrace = testing::PrintToString(strInput) + " by " + pszSeparators;
    for (int iCall = 0; iCall < 25; iCall++) {
      const auto op = static_cast<Op>(Random(cOps));
      const char *psz = OneOf(apszWord);
      strTrace += "\n" + std::to_string(op) + " " + psz;
      ASSERT_EQ(Call(parse.get(), op, psz), model.Call(op, psz)) << strTrace;
      ASSERT_EQ(PrsIsEndOfFile(parse.get()), model.fEnd) << strTrace;
    }
  }
}

TEST_F(Prs, TakesLongWordsAndTimesAndThenNothing) {
  const std::string strLong(2047, 'w'), strQuoted = strLong + "\n\n " + strLong + "\"\"e";
  const Parse parse = ParseOf(strLong + "\n\"" + strQuoted + "\" 2003-01-15_10:23:45.5 y\nx\rx\nz");
  REALTIME rt = 1;
  EXPECT_EQ(Call(parse.get(), opWord), "1" + strLong);
  EXPECT_EQ(Call(parse.get(), opSentence), "1" + strLong + strLong + "e");
  EXPECT_TRUE(PrsGetRealTime(parse.get(), &rt) == 1 && rt == 1042626225.5);
  EXPECT_EQ(PrsIsEndOfLine(parse.get()), 0u);
  EXPECT_EQ(Call(parse.get(), opWord), "1y");
  EXPECT_EQ(PrsIsEndOfLine(parse.get()), 1u);
  EXPECT_TRUE(PrsGetRealTime(parse.get(), &rt) == 1 && rt == 0.0) << "nothing left on the line";
  EXPECT_EQ(Call(parse.get(), opSentence), "1x");
  EXPECT_EQ(Call(parse.get(), opSentence), "1z");
  for (int i = 0; i < cOps; i++)
    EXPECT_EQ(Call(parse.get(), Op(i)) + Call(nullptr, Op(i)), "00") << i;
}

TEST_F(Prs, LooksWithoutTakingAndReadsAPipe) {
  int afd[2];
  ASSERT_TRUE(pipe(afd) == 0 && write(afd[1], "a b\nc", 5) == 5);
  const Parse parse = Start(("/dev/fd/" + std::to_string(afd[0])).c_str());
  for (const int fd : afd) close(fd);
  EXPECT_EQ(PrsResetToLine(parse.get(), 1), 0u) << "a pipe cannot be rewound";
  EXPECT_EQ(Call(parse.get(), opWord), "1a");
  EXPECT_TRUE(PrsQueryChar(parse.get(), 'b') && PrsQueryWord(parse.get(), "b"));
  EXPECT_EQ(PrsGetPattern(parse.get(), "%?b"), 1u) << "the blank is still there";
  EXPECT_EQ(Call(parse.get(), opWord), "1c");
}

// --- Numbers and patterns ---

// Takes a number from every line, behind a "~", and compares it and what is left with the runtime.
template <typename T>
void CompareWithRuntime(const Parse &parse, const Texts &astrLine, BOOL (*pfnGet)(PARSECTX *, T *),
                        const std::string &strFormat, const char *pszRun) {
  for (const std::string &strLine : astrLine) {
    const char *psz = strLine.c_str();
    T t = 77, tModel = 77;
    const bool fPrefix = strFormat == "%lx" && psz[0] && (psz[1] | 0x20) == 'x';
    const bool fSign = strFormat == "%ld" && (*psz == '-' || *psz == '+');
    const BOOL f = (!fPrefix || *psz == '0') &&
                   std::sscanf(psz + 2 * fPrefix, strFormat.c_str(), &tModel) == 1;
    const std::string strRest = psz + f * (fSign + std::strspn(psz + fSign, pszRun));

    ASSERT_EQ(PrsNextChar(parse.get(), '~'), 1u);
    ASSERT_EQ(pfnGet(parse.get(), &t), f) << strLine;
    ASSERT_EQ(std::memcmp(&t, &tModel, sizeof t), 0) << strLine;
    ASSERT_EQ(Call(parse.get(), opSentence), "1" + strRest) << strLine;
  }
}

TEST_F(Prs, TakesNumbersWithTheValuesOfTheRuntime) {
  Texts astrPiece = Words(
      "- + 0 1 9 . e x X F p 0x inf nan e-309 00000000 2147483647 2147483648 4294967295 4294967296 "
      "9007199254740993 18446744073709551617");
  astrPiece.insert(astrPiece.end(), {"\f", "\v"});
  Texts astrLine(10000);
  std::string strInput;
  for (std::string &str : astrLine) {
    str = Some(astrPiece, 6) + "~";
    strInput += "~" + str + "\n";
  }
  CompareWithRuntime(ParseOf(strInput), astrLine, PrsGetNumber, "%ld", "0123456789");
  CompareWithRuntime(ParseOf(strInput), astrLine, PrsGetHexNumber, "%lx",
                     "0123456789abcdefABCDEFxX");
  CompareWithRuntime(ParseOf(strInput), astrLine, PrsGetReal, "%lf", "0123456789eE+-.");
}

TEST_F(Prs, MatchesPatterns) {
  const struct {
    const char *pszPattern, *pszText; // after whose line comes a line "~"
    BOOL fQuery, fGet;
    const char *pszWord; // the values got
    LONG lNumber;
    const char *pszLeft; // what a sentence gives then
    ULONG flParse = 0;
  } aCase[] = {
      {"%w = %n ;", "count = 42 ; x", 1, 1, "count", 42, "1x"},
      {"%w = %n ;", "count = x ;", 0, 0, "count", 0, "1x ;"},
      {"[%w%*:%n", "[key ignored words : 7", 1, 1, "key", 7, "1~"},
      {"%-w %n", "abc 5", 1, 1, "", 5, "1~"},
      {" Q%x ", "q0x1Fg", 1, 1, "", 31, "1g"},
      {"%z%-x z", "0x1F z", 0, 1, "", 0, "1~"},
      {"%-n.%n", "-1.5", 0, 1, "", 5, "1~"},
      {"%n", "x", 1, 0, "", 0, "1x"},
      {"end", "END", 0, 0, "", 0, "1END", PRS_CASESENSITIVE},
      {"a ~ ~", "a", 0, 0, "", 0, "0"},
      {"a~%w", "a", 0, 1, "", 0, "0"},
      {"a%?c", "a bc", 1, 0, "", 0, "1bc"},
      {"a%-?bc", "a bc", 0, 1, "", 0, "1~"},
      {"a%?", "a", 0, 0, "", 0, "1~"},
      {"%* x y", "a b X yz", 1, 1, "", 0, "1z"},
      {"%-*=%n", " == 5", 1, 0, "", 0, "1= 5"},
      {"%*=%*=%n", "a= b = 5", 1, 1, "", 5, "1~"},
      {"%*ab", "xab", 1, 1, "", 0, "1~"},
      {"%*ab", "xaab", 0, 0, "", 0, "1ab"},
      {"a%-", "ab", 0, 0, "", 0, "1b"},
      {"a%* ", "ab", 0, 0, "", 0, "1b"},
  };
  for (const auto &c : aCase) {
    SCOPED_TRACE(std::string(c.pszPattern) + " on " + c.pszText);
    const Parse parse = ParseOf(std::string(c.pszText) + "\n~\n", c.flParse, "]-!@#$%&*<>_|\\:");
    char szWord[PRS_LINE_SIZE] = "";
    LONG l = 0;
    const bool fWord = std::strstr(c.pszPattern, "%w");
    EXPECT_EQ(PrsQueryPattern(parse.get(), c.pszPattern), c.fQuery);
    EXPECT_EQ(fWord ? PrsGetPattern(parse.get(), c.pszPattern, szWord, &l)
                    : PrsGetPattern(parse.get(), c.pszPattern, &l),
              c.fGet);
    EXPECT_STREQ(szWord, c.pszWord);
    EXPECT_EQ(l, c.lNumber);
    EXPECT_EQ(Call(parse.get(), opSentence), c.pszLeft);
  }
  EXPECT_EQ(PrsGetPattern(nullptr, "") + PrsQueryPattern(nullptr, ""), 0u);
}
} // namespace
