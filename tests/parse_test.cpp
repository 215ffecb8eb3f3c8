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
struct Parse : std::unique_ptr<PARSECTX, decltype([](PARSECTX *pprs) { PrsEndParse_(pprs); })> {
  using unique_ptr::unique_ptr;
  operator PARSECTX *() const { return get(); }
};

constexpr char szWhite[] = " \t\r\n";

class Prs : public FileTest {
 protected:
  static Parse Start(const char *pszFile, ULONG fl = 0, const char *pszSet = nullptr) {
    return Parse(PrsStartParse(pszFile, fl, pszSet));
  }
  // Of a file or of a text in memory, which is to make no difference.
  Parse ParseOf(const std::string &str, ULONG fl = 0, const char *pszSet = nullptr) {
    Write(str);
    achText_ = std::vector<char>(str.begin(), str.end()); // with nothing behind it
    if (Random(2)) return Start("input", fl, pszSet);
    return Parse(PrsStartParseText(achText_.data(), achText_.size(), "input", fl, pszSet));
  }
  std::vector<char> achText_;
};

// --- Lines ---

// What is left of a line without its comments.
std::string OutsideComments(const std::string &str, bool &fInComment) {
  const std::size_t cbLine = fInComment ? str.npos : str.find("//");
  if (cbLine != str.npos) return str.substr(0, cbLine);
  const std::size_t cb = str.find(fInComment ? "*/" : "/*");
  const std::string strText = fInComment ? "" : str.substr(0, cb);
  if (cb == str.npos) return strText;
  fInComment = !fInComment;
  return strText + OutsideComments(str.substr(cb + 2), fInComment);
}

// The lines that a parse of an input is to deliver, each with its number and file.
Texts LinesOf(std::string strInput, ULONG flParse, std::string strFile) {
  Texts astr;
  bool fInComment = false;
  for (ULONG ulNumber = 1; !strInput.empty(); ulNumber++) {
    const std::size_t cb = std::min<std::size_t>(strInput.find('\n'), 2046) + 1;
    std::string str = strInput.substr(0, cb).c_str(); // up to a zero
    strInput.erase(0, cb);
    while (str.size() > 1 && (str.back() == '\r' || str.back() == '\n')) str.pop_back();
    const ULONG fl = flParse & 0xF;
    if (fl == PRS_CCOMMENTS)
      str = str == "\n" || str == "\r" ? "" : OutsideComments(str, fInComment);
    const char *psz = str.c_str() + std::strspn(str.c_str(), szWhite);
    const bool fDropped = (fl == PRS_CCOMMENTS && str.empty()) ||
                          (fl == PRS_HASHCOMMENTS && *psz == '#') ||
                          (fl == PRS_REMCOMMENTS && strncasecmp(psz, "rem", 3) == 0);
    const bool fMarker = (flParse & PRS_PREPROCESSED) && str[0] == '#';
    if (!fDropped && !fMarker) astr.push_back(std::to_string(ulNumber) + strFile + ":" + str);
    if (!fMarker || !str.starts_with("# 10 \"defs.h\"")) continue; // the others are not well formed
    ulNumber = 10;
    strFile = "defs.h";
  }
  return astr;
}

Texts Lines(const Parse &parse) { // that are left
  Texts astr;
  for (char szLine[PRS_LINE_SIZE];;) {
    const std::string str = std::to_string(PrsQueryLineNumber(parse)) + PrsQueryFileName(parse);
    if (!PrsGetLine(parse, szLine)) return astr;
    astr.push_back(str + ":" + szLine);
  }
}

TEST_F(Prs, DeliversTheLinesThatAModelDoes) {
  constexpr ULONG aulStyle[] = {0, 1, 1, 1, 2, 3, 4, 5, 8, 9, 12, 17};
  for (int i = 0; i < 3000; i++) {
    Texts astr = Split("/~*~/~*~#~ ~\t~rem~x~\n~\n~\r\n~\r~\n# 1 \"o~\n#1\n~\n# 10 \"defs.h\"");
    for (const char ch : {'x', '/'}) // about as much as a line takes
      if (!Random(6)) astr.push_back("\n" + std::string(2043 + Random(8), ch) + "/*\n");
    const std::string strInput = Some(astr, 25) + std::string(Random(2), '\0') + Some(astr, 5);
    const ULONG fl = OneOf(aulStyle);
    SCOPED_TRACE("style " + std::to_string(fl) + ": " + testing::PrintToString(strInput));

    const bool fFails = Random(3) == 0; // and a line at which reading fails is lost
    const std::size_t cb = strInput.rfind('\n') + 1;
    const std::size_t cbSeen = fFails ? cb + (strInput.size() - cb) / 2047 * 2047 : strInput.npos;
    Parse parse = ParseOf(strInput, fl);
    auto fail = fFails ? std::make_unique<FailRead>() : nullptr;
    if (fFails) parse = Start("input", fl);
    ASSERT_EQ(Lines(parse), LinesOf(strInput.substr(0, cbSeen), fl, "input"));
    ASSERT_EQ(PrsQueryError(parse), fFails && parse ? EIO : 0);
    fail.reset();
    const std::string strFile = PrsQueryFileName(parse); // perhaps by a marker
    ASSERT_EQ(PrsResetToLine(parse, 1), parse != nullptr);
    ASSERT_EQ(Lines(parse), parse ? LinesOf(strInput, fl, strFile) : Texts{});
    ASSERT_EQ(PrsQueryError(parse), 0);

    const auto ReadStandardInput = [&] {
      dup2(open("input", O_RDONLY), 0);
      const bool fSame = Lines(Start(nullptr, fl)) == LinesOf(strInput, fl, "stdin");
      _exit(fSame && fcntl(0, F_GETFD) < 0 && !Start(nullptr, fl));
    };
    if (i % 100 != 0) continue;
    ASSERT_EXIT(ReadStandardInput(), testing::ExitedWithCode(1), "");
  }
}

TEST_F(Prs, EndsForGoodWhereTheInputEndsOrFails) {
  Write("a");
  const Parse parse = Start("input");
  std::ofstream("input", std::ios::app) << "b\nc\n";
  EXPECT_EQ(PrsNextLine(parse), 0u);
  for (const ULONG ulLine : {0UL, 1UL, 3UL, 2UL})
    EXPECT_EQ(PrsResetToLine(parse, ulLine), ulLine == 1 || ulLine == 2);
  EXPECT_EQ(Lines(parse), Texts{"2input:c"});

  const auto ParseSocket = [](bool fFails) { // from standard input
    int afd[2];
    socketpair(AF_UNIX, SOCK_STREAM, 0, afd);
    for (const int fd : {afd[0], fFails ? afd[1] : afd[0]})
      static_cast<void>(!write(fd, "a = 1\nb = 2\n", 12));
    close(afd[0]); // what it has not read is an error to the other side
    dup2(afd[1], 0);
    INIFILE ini = {};
    const Parse parseInput = Start(nullptr, 0, INI_SEPARATORS);
    const BOOL fParsed = ParseFile(parseInput, &ini);
    const bool fError = PrsQueryError(parseInput) == (fFails ? ECONNRESET : 0);
    _exit(static_cast<int>(100 * fError + 10 * ini.ulEntries + fParsed));
  };
  EXPECT_EXIT(ParseSocket(true), testing::ExitedWithCode(110), "");
  EXPECT_EXIT(ParseSocket(false), testing::ExitedWithCode(131), "");
}

TEST_F(Prs, StartsWithInputAndMemoryAlone) {
  const auto StartText = [](const char *pch, const char *pszName = nullptr) {
    return Parse(PrsStartParseText(pch, 2, pszName, 0, nullptr));
  };
  const std::string strName(200, 'n');
  EXPECT_EQ(PrsQueryFileName(StartText("ab", strName.c_str())), strName.substr(0, 127));
  EXPECT_STREQ(PrsQueryFileName(StartText("ab")), "");
  EXPECT_TRUE(!StartText(nullptr) && !Start(""));
  const bool fWorks = FailMalloc::Works();
  const Reports reports;
  const FailMalloc fail;
  EXPECT_EQ(StartText("ab") == nullptr, fWorks);
}

// --- Tokens ---

constexpr std::string_view asvOps[] = {"Word",    "WordN",    "Keyword", "Sentence", "NextWord",
                                       "NextRun", "NextChar", "Number",  "Hex",      "Real"};
const char *const apszKeywords[] = {"ab", "", "b", nullptr, "1", "B"};

// Calls a reader. Result: what it gives, and has read.
std::string Call(PARSECTX *pprs, std::string_view op, const char *psz = "") {
  char sz[5000] = "";
  const auto Text = [&](ULONG ul) { return std::to_string(ul) + (ul ? sz : ""); };
  const auto Number = [&]<typename T>(BOOL (*pfnGet)(PARSECTX *, T *)) {
    T t = 77;
    const BOOL f = pfnGet(pprs, &t);
    EXPECT_TRUE(f || t == 77) << op;
    return f ? "1" + BytesOf(t) : "0";
  };
  if (op == "Word") return Text(PrsGetWord(pprs, sz));
  if (op == "WordN") return std::to_string(PrsGetWordN(pprs, sz, 3)) + sz;
  if (op == "NextRun") return Text(PrsNextWord(pprs, nullptr));
  if (op == "Keyword") return Text(static_cast<ULONG>(PrsGetKeyword(pprs, apszKeywords, 6) + 1));
  if (op == "Sentence") return Text(PrsGetSentence(pprs, sz));
  if (op == "Number") return Number(PrsGetNumber);
  if (op == "Hex") return Number(PrsGetHexNumber);
  if (op == "Real") return Number(PrsGetReal);
  const BOOL fSeen = op == "NextWord" ? PrsQueryWord(pprs, psz) : PrsQueryChar(pprs, *psz);
  const BOOL fTaken = op == "NextWord" ? PrsNextWord(pprs, psz) : PrsNextChar(pprs, *psz);
  EXPECT_EQ(fSeen, fTaken) << psz;
  return Text(fTaken);
}

// The same on what is left of a text.
struct TOKENMODEL {
  std::string str, strStops; // whole lines; what ends a word
  bool fCase;

  std::string Call(std::string_view op, const std::string &strSought) {
    if (str.empty()) return "0";
    SkipWhite();
    const std::size_t cb = std::min(str.find_first_of(strStops), str.size()); // of a word
    if (op == "Word" || (op == "WordN" && cb < 3)) return "1" + Take(cb);
    if (op == "WordN") return "0";
    if (op == "NextWord") return TakeIf(cb > 0 && Is(cb, strSought), cb);
    if (op == "NextRun") return TakeIf(true, str.find_first_of(szWhite));
    if (op == "NextChar") return TakeIf(!str.empty() && Is(1, strSought.substr(0, 1)), 1);
    if (op == "Sentence") return str[0] == '"' ? TakeQuoted() : "1" + TakeTo('\n');
    if (op == "Number") return TakeNumber<LONG>("%ld", "0123456789");
    if (op == "Hex") return TakeNumber<ULONG>("%lx", "0123456789abcdefABCDEFxX");
    if (op == "Real") return TakeNumber<double>("%lf", "0123456789eE+-.");
    for (std::size_t i = 0; i < std::size(apszKeywords); i++)
      if (apszKeywords[i] && Is(cb, apszKeywords[i])) return Take(cb).assign(std::to_string(i + 1));
    return "0";
  }
  std::string TakeTo(char ch) { // and past it
    const std::string strText = Take(str.find(ch));
    Take(1);
    return strText;
  }
  std::string TakeQuoted() { // and all that follow directly
    std::string strText;
    for (; str[0] == '"'; SkipWhite()) {
      if (str.find('"', 1) == str.npos) return TakeTo('\0').assign("0"); // it never closes
      Take(1);
      std::string strPart = TakeTo('"');
      for (std::size_t n; (n = strPart.find('\n')) != strPart.npos;)
        strPart.erase(n, strPart.find_first_not_of(" \t\n", n) - n);
      strText += strPart;
    }
    return "1" + strText;
  }
  template <typename T>
  std::string TakeNumber(const char *pszFormat, const char *pszRun) { // as the runtime does
    const std::string strLine = str.substr(0, str.find('\n'));
    const char *psz = strLine.c_str();
    const bool fPrefix = pszFormat[2] == 'x' && psz[0] && (psz[1] | 0x20) == 'x';
    const bool fSign = pszFormat[2] == 'd' && (*psz == '-' || *psz == '+');
    T t;
    if (fPrefix && *psz != '0') return "0";
    if (std::sscanf(psz + 2 * fPrefix, pszFormat, &t) != 1) return "0";
    Take(fSign + std::strspn(psz + fSign, pszRun));
    return "1" + BytesOf(t);
  }
  std::string TakeIf(bool f, std::size_t cb) { return f ? Take(cb).assign("1") : "0"; }
  std::string Take(std::size_t cb) {
    return std::exchange(str, str.substr(std::min(cb, str.size()))).substr(0, cb);
  }
  void SkipWhite() { Take(str.find_first_not_of(szWhite)); }
  bool Is(std::size_t cb, const std::string &strOther) const {
    return (fCase ? strcmp : strcasecmp)(str.substr(0, cb).c_str(), strOther.c_str()) == 0;
  }
};

TEST_F(Prs, TakesTheTokensThatAModelDoes) {
  const char *const apszWord[] = {"a", "A", "ab", "b1", "[", "=", "-", "\"", "@", ""};
  const char *const apszSeparators[] = {PRS_DEFAULT_SEPARATORS, "]-!@#$%&*<>_|\\:", "=aB1", ""};
  const Texts astrPiece = Split(
      "a~A~B~b~1~[~]~=~ ~\t~\n~\n~\"~\"~@~`~\f~\v~-~+~0~9~.~e~x~X~F~p~0x~0x~inf~nan~e-309~00000000~"
      "2147483647~2147483648~4294967295~4294967296~9007199254740993~18446744073709551617");
  for (int i = 0; i < 5000; i++) {
    const std::string strInput = "a" + Some(astrPiece, 40);
    const char *pszSeparators = OneOf(apszSeparators);
    const bool fCase = Random(2);
    const Parse parse = ParseOf(strInput, fCase ? PRS_CASESENSITIVE : 0, pszSeparators);
    TOKENMODEL model = {strInput, pszSeparators + std::string(szWhite), fCase};
    if (!strInput.ends_with('\n')) model.str += '\n';
    std::erase_if(model.strStops, [](char ch) { return std::isalnum(ch); });
    std::string strTrace = testing::PrintToString(strInput) + " by " + pszSeparators;
    for (int iCall = 0; iCall < 25; iCall++) {
      const std::string op(OneOf(asvOps));
      const char *psz = OneOf(apszWord);
      strTrace += "\n" + op + " " + psz;
      ASSERT_EQ(Call(parse, op, psz), model.Call(op, psz)) << strTrace;
      ASSERT_EQ(PrsIsEndOfFile(parse), model.str.empty()) << strTrace;
    }
  }
}

TEST_F(Prs, TakesAllOfAPipeAndThenNothing) {
  const std::string strLong(2047, 'w'), strQuoted = strLong + "\n\n " + strLong + "\"\"e";
  int afd[2];
  ASSERT_EQ(pipe(afd), 0);
  dprintf(afd[1], "%s\n\"%s\" 2003-01-15_10:23:45.5 a b\nx\rx\nz", strLong.c_str(),
          strQuoted.c_str());
  const Parse parse = Start(("/dev/fd/" + std::to_string(afd[0])).c_str());
  for (const int fd : afd) close(fd);
  REALTIME rt = 1;
  EXPECT_EQ(PrsResetToLine(parse, 1), 0u) << "a pipe cannot be rewound";
  EXPECT_EQ(PrsGetWordN(parse, nullptr, 5) + PrsGetWordN(parse, nullptr, 0), 0u);
  EXPECT_EQ(Call(parse, "Word"), "1" + strLong);
  EXPECT_EQ(Call(parse, "Sentence"), "1" + strLong + strLong + "e");
  EXPECT_TRUE(PrsGetRealTime(parse, &rt) == 1 && rt == 1042626225.5);
  EXPECT_EQ(PrsIsEndOfLine(parse), 0u);
  EXPECT_EQ(Call(parse, "Word"), "1a");
  EXPECT_TRUE(PrsQueryChar(parse, 'b') && PrsQueryWord(parse, "b"));
  EXPECT_EQ(PrsGetPattern(parse, "%?b"), 1u) << "to look leaves the blank there";
  EXPECT_EQ(PrsIsEndOfLine(parse), 1u);
  EXPECT_TRUE(PrsGetRealTime(parse, &rt) == 1 && rt == 0.0) << "nothing left on the line";
  for (const char *psz : {"1x", "1z"}) EXPECT_EQ(Call(parse, "Sentence"), psz);
  for (const auto op : asvOps) EXPECT_EQ(Call(parse, op) + Call(nullptr, op), "00") << op;
}

// --- Patterns ---

// On a line, after which comes a line "~"; _ stands for a blank. What the pattern of a line does
// not find there leaves all as it was.
TEST_F(Prs, MatchesPatterns) {
  for (Texts &row : Rows(R"(
pattern    text                    flags  line  query  get  word   number  sentence-then
%w_=_%n_;  count_=_42_;_x          0      1     1      1    count  42      1x
%w_=_%n_;  count_=_x_;             0      0     0      0    count  0       1x_;
[%w%*:%n   [key_ignored_words_:_7  0      1     1      1    key    7       1~
%-w_%n     abc_5                   0      1     1      1    ''     5       1~
_Q%x_      q0x1Fg                  0      1     1      1    ''     31      1g
%z%-x_z    0x1F_z                  0      1     0      1    ''     0       1~
%-n.%n     -1.5                    0      1     0      1    ''     5       1~
%n         x                       0      0     1      0    ''     0       1x
end        END                     16     0     0      0    ''     0       1END
a_~_~      a                       0      0     0      0    ''     0       0
=%w        =                       0      0     1      1    ~      0       1
a%-?bc     a_bc                    0      1     0      1    ''     0       1~
a%?        a                       0      0     0      0    ''     0       1~
%*_x_y     a_b_X_yz                0      1     1      1    ''     0       1z
%*=%*=%n   _a=_b_=_5               0      1     1      1    ''     5       1~
%*ab       xaab                    0      0     0      0    ''     0       1ab
a%-        ab                      0      0     0      0    ''     0       1b
a%*_       ab                      0      0     0      0    ''     0       1b
)")) {
    for (std::string &str : row) std::replace(str.begin(), str.end(), '_', ' ');
    const auto Get = [&, psz = row[0].c_str()](auto pfnGet) -> Texts { // what the row ends with
      const Parse parse = ParseOf(row[1] + "\n~\n", std::stoul(row[2]), "]-!@#$%&*<>_|\\:");
      char szWord[PRS_LINE_SIZE] = "";
      LONG l = 0;
      const BOOL fQuery = PrsQueryPattern(parse, psz), fWord = std::strstr(psz, "%w") != nullptr;
      const BOOL f = fWord ? pfnGet(parse, psz, szWord, &l) : pfnGet(parse, psz, &l);
      return {std::to_string(fQuery), std::to_string(f), szWord, std::to_string(l),
              Call(parse, "Sentence")};
    };
    const Texts astrTaken(row.begin() + 4, row.end());
    const Texts astrNot = {row[4], "0", "", "0", "1" + row[1]};
    EXPECT_EQ(Get(PrsGetPattern), astrTaken) << row[0];
    EXPECT_EQ(Get(PrsGetLinePattern), row[3] == "1" ? astrTaken : astrNot) << row[0];
  }
  for (const auto pfn : {PrsGetPattern, PrsGetLinePattern}) EXPECT_EQ(pfn(nullptr, ""), 0u);
  EXPECT_EQ(PrsQueryPattern(nullptr, ""), 0u);
}
} // namespace
