// cmdline_test.cpp: the option parser, the check of tables, the displays, and how a program ends.

#include <fcntl.h>
#include <sys/ioctl.h>
#include <sys/wait.h>

#include <functional>
#include <tuple>

#include "input.h"
#include "zebbase/cmd.h"

namespace {
using Table = std::vector<CMDOPTION>;

// An entry as it is typed: "-c" is a switch, "c" an argument of it, "" a positional argument. There
// is a ! before it when it is mandatory; behind it the number of its exclusive group; and then,
// after a colon, the code of its type (most arguments are texts). There is no type 10.
CMDOPTION Entry(const std::string &strTyped, const std::string &strConversion = "%ld",
                const std::string &strDefault = "") {
  const char *pszTyped = strTyped.c_str();
  const auto Takes = [&](bool f) { return f ? *pszTyped++ : '\0'; };
  CMDOPTION cmdo = {};
  cmdo.fMandatory = Takes(*pszTyped == '!') != 0;
  cmdo.fFlag = Takes(*pszTyped == '-') != 0;
  cmdo.chSwitchId = Takes(std::isalpha(*pszTyped));
  cmdo.ulExclusiveGroup = std::strtoul(pszTyped, nullptr, 10);
  cmdo.ulHelpKey = HLP;
  cmdo.ulTypeCode = cmdo.fFlag ? CMD_TYPE_SHORT : CMD_TYPE_STRING;
  if (const size_t n = strTyped.find(':'); n < strTyped.size())
    cmdo.ulTypeCode = std::stoul(strTyped.substr(n + 1));
  strConversion.copy(cmdo.szConversion, sizeof cmdo.szConversion);
  strDefault.copy(cmdo.szDefaultValue, sizeof cmdo.szDefaultValue);
  std::strcpy(cmdo.szArgumentName, "name");
  std::memset(&cmdo.value, 0xA5, sizeof cmdo.value);
  return cmdo;
}

Table Entries(const std::string &strTyped) { // '' is "", numbers are 7; the keys follow HLP
  Table acmdo;
  for (const std::string &str : Words(strTyped)) {
    acmdo.push_back(Entry(str, "%ld", str.ends_with(":3") ? "7" : ""));
    acmdo.back().ulHelpKey = HLP + acmdo.size();
  }
  return acmdo;
}

std::string Parse(LONG argc, char **argv, CMDOPTION *pcmdo, ULONG ulCount) {
  CMDRESULT *pcmdresult = CmdParseCmdLine(argc, argv, pcmdo, ulCount);
  const CMDRESULT cmdresult = *pcmdresult;
  MemFreeMem_(pcmdresult);
  const ULONG ulBase = cmdresult.ulCode > HLP ? HLP : 0;
  return std::to_string(cmdresult.ulCode - ulBase) + " " + cmdresult.szMessage;
}

std::vector<char *> Vector(const Texts &astrArg) { // behind a program's name, before what is more
  static char szProgram[] = "/bin/tool.x";
  std::vector<char *> apsz = {szProgram};
  for (const std::string &str : astrArg) apsz.push_back(const_cast<char *>(str.c_str()));
  apsz.insert(apsz.end(), {nullptr, szProgram});
  return apsz;
}

std::string Parse(Table &acmdo, const Texts &astrArg) { // the values point into astrArg
  return Parse(std::ssize(astrArg) + 3, Vector(astrArg).data(), acmdo.data(), acmdo.size());
}

std::string Check(const Table &acmdo) { // the code and the entry, and what is said
  CMDERROR err;
  CmdCheckTable(acmdo.data(), acmdo.size(), &err);
  return std::to_string(err.ulCode) + "/" + std::to_string(err.ulEntry) + " " + err.szText;
}

std::string TakeValue(CMDOPTION &cmdo) { // as text; what it holds is given back
  if (cmdo.fFlag || cmdo.ulTypeCode <= CMD_TYPE_LONG) return std::to_string(cmdo.value.lValue);
  if (cmdo.ulTypeCode == CMD_TYPE_STRING) return cmdo.value.pszValue;
  std::string str;
  for (char **ppsz = cmdo.value.apszValue; ppsz && *ppsz; ppsz++) str += std::string(*ppsz) + "+";
  if (cmdo.value.apszValue) MemFreeMem_(cmdo.value.apszValue);
  return str;
}

using Cmd = FileTest;

TEST_F(Cmd, AssignsValuesAndSaysWhoseMistakeEndsIt) {
  // table             ~ arguments   ~ values       ~ code, or entry, and message
  std::istringstream rows(R"(''                ~             ~ ;            ~ 102
'' '' '' ''       ~ x '' y      ~ x;;y;;       ~ 0
''                ~ x y         ~ x;           ~ 100 Bad parameter: y
:3                ~ -           ~ 7;           ~ 100 Unknown switch: -
'' :3             ~ x y         ~ x;7;         ~ 2 Error converting: y
!:3 '' :3         ~ -5 x 7y     ~ -5;x;7;      ~ 0
!                 ~ -x          ~ ;            ~ 1 Error converting: -x
!:2 !:2 :2        ~ TRUEx - yes ~ 1;0;1;       ~ 0
:2 :2 :2          ~ oN ye ''    ~ 1;0;0;       ~ 0
!:8 -a a:8 a      ~ x '' -a y z ~ x++;1;y+z+;; ~ 0
!:8               ~ -a          ~ ;            ~ 1 Error converting: -a
! !               ~ x           ~ x;;          ~ 100 Missing mandatory argument.
! !-m !-n ''      ~ x -my -n z  ~ x;1;1;z;     ~ 0
!-m1 !-n1 !-o1 !2 ~ -n x        ~ 0;1;0;x;     ~ 0
!-m1 !-n1 !-m2    ~ -o          ~ 0;0;0;       ~ 100 Unexpected parameter: -o
!-m1 !1 !         ~ x y         ~ 0;x;y;       ~ 0
!-m -m '' !-m     ~ -m -m       ~ 1;1;;0;      ~ 0
'' !-m            ~ x -m        ~ x;0;         ~ 2 Invalid use of mandatory switch: -m
'' '' -a -b -a    ~ -bx y -a z  ~ y;z;1;1;0;   ~ 0
-a -b             ~ -b -bx -a   ~ 0;1;         ~ 2 Same switch specified twice: -bx
-a ''             ~ x           ~ 0;;          ~ 100 Bad parameter: x
'' -a a !a -b     ~ -a -b x     ~ x;1;;;1;     ~ 0
'' -a a !a -b b   ~ -a x y z    ~ z;1;x;y;0;;  ~ 0
-a a !a -b        ~ -a x -b     ~ 1;x;;0;      ~ 3 Missing switch argument
-a !a             ~ -a          ~ 1;;          ~ 2 Missing switch argument
-a a:3            ~ -a x        ~ 1;7;         ~ 2 Format error: x
-a1 -b1 -c2 -d -e ~ -a -c -d -e ~ 1;0;1;1;1;   ~ 0
-a1 -c2 -b1       ~ -b -a       ~ 1;0;1;       ~ 3 Second instance of mutually exclusive switches
!-m1 ! !-n1 ''    ~ -m x -n     ~ 1;x;1;;      ~ 0
!-m1 ! !-n1 ''    ~ -m x -n y   ~ 1;x;1;y;     ~ 3 Second instance of mutually exclusive switches
)");
  for (std::string strRow; std::getline(rows, strRow);) {
    const Texts row = Split(strRow);
    Table acmdo = Entries(row[0]);
    const Texts astrArg = Words(row[1]);

    const std::string strResult = Parse(acmdo, astrArg);

    std::string strValues;
    for (CMDOPTION &cmdo : acmdo) strValues += TakeValue(cmdo) + ";";
    EXPECT_EQ(Words(strValues + " " + strResult), Words(row[2] + row[3])) << strRow;
  }
  Table acmdoNone;
  EXPECT_EQ(Parse(acmdoNone, {"-x"}), "100 Unknown switch: -x\n");
  EXPECT_EQ(Parse(acmdoNone, {std::string(90, 'q')}), "100 Bad parameter: " + std::string(64, 'q'));
}

TEST_F(Cmd, AnswersRequestsForHelpWithoutTouchingTheTable) {
  Table acmdo = Entries(":10 -o o o '' -P P -");
  std::string strCodes;
  for (const std::string &str : Words("arg1 -o o1 o2 ARG2 -p P1 FULL '' P2 - full"))
    strCodes += Parse(acmdo, {"-h", str, "more"});
  EXPECT_EQ(strCodes, "1 2 3 4 5 6 7 100 100 100 100 101 ");
  EXPECT_EQ(Parse(acmdo, {"-h"}), "100 ");
  EXPECT_EQ(acmdo[1].value.ulValue, 0xA5A5A5A5);
  EXPECT_EQ(Parse(acmdo, {"-H"}), "110 ");
}

TEST_F(Cmd, TakesNoVectorButNoBrokenTable) {
  char *pszMore = nullptr;
  CMDOPTION cmdo = Entry("");
  for (const LONG argc : {0, -5}) EXPECT_EQ(Parse(argc, &pszMore, &cmdo, 1), "102 ") << argc;
  EXPECT_EQ(Parse(3, nullptr, &cmdo, 1), "102 ");
  EXPECT_EQ(Parse(3, nullptr, nullptr, 1), "110 ");
  for (const std::string &str : {std::string(41, '1'), std::string("x")}) { // the first has no end
    cmdo = Entry(":3", "%ld", str);
    EXPECT_EQ(Parse(3, nullptr, &cmdo, 1), "110 ") << str;
  }
}

TEST_F(Cmd, ConvertsAsSscanfWithinTheWidthOfTheType) {
  const std::pair<ULONG, size_t> aType[] = {{0, 2}, {1, 2}, {3, 4}, {4, 4}, {5, 8}, {7, 1}, {9, 4}};
  const std::vector<Texts> rows = Rows(R"(
types conversions that fit these types, and no others
01    %hd %hu %hi %5hX x%hd
34    %ld %lu %d %u %i %lx %3d x%d %d%%
5     %lf %9le
9     %f %5g
7     %c
none  '' %hhd %1s %7s %s %*d %d%d %n %lld d %1c %lc %Lf %-d %05d %.1f %%
)");
  for (int i = 0; i < 100000; i++) {
    const auto [ulType, cb] = OneOf(aType);
    const Texts &row = OneOf(rows);
    const std::string strConversion = row[1 + Random(row.size() - 1)];
    const Texts astrArg = {SomeChars(i % 4 ? "0123456789--" : "01-+ .ex%79a", i % 2 ? 4 : 12)};
    SCOPED_TRACE(strConversion + " on " + astrArg[0]);
    Table acmdo = {Entry("!:" + std::to_string(ulType), strConversion)};
    CMDVALUE value = acmdo[0].value;
    char aach[2][64] = {};
    const int cRead = std::sscanf(astrArg[0].c_str(), acmdo[0].szConversion, aach[0], aach[1]);
    std::memcpy(&value, aach[0], cb);

    const bool fFits = row[0].find(std::to_string(ulType)) != std::string::npos;
    ASSERT_EQ(Check(acmdo)[0], fFits ? '0' : '4');
    ASSERT_EQ(Parse(acmdo, astrArg) == "0 ", cRead == 1);
    ASSERT_TRUE(cRead != 1 || std::memcmp(&acmdo[0].value, &value, sizeof value) == 0);
  }
  for (const std::string &str : Words("%s %ls %99c %[z] %ms %5ms %2$s")) {
    Table acmdo = {Entry(":7", str)};
    const bool fParsed = Parse(acmdo, {std::string(100000, 'z')}) == "0 ";
    EXPECT_EQ(fParsed, str.find_first_of("m$") == str.npos) << str;
  }
}

TEST_F(Cmd, SaysWhatIsWrongWithATable) {
  CMDOPTION cmdoKey = Entry(""), cmdoName = cmdoKey;
  cmdoKey.ulHelpKey = CMD_SYNTAX;
  std::memset(cmdoName.szArgumentName, 'x', sizeof cmdoName.szArgumentName);
  const std::string strLong(41, '1');
  const std::pair<Table, std::string> aCase[] = {
      {{Entry(":10")}, "2/1 entry 1 (arg1): its type is unknown"},
      {{Entry(":3", "%111d")}, "3/1 entry 1 (arg1): its szConversion has no end"},
      {{cmdoName}, "3/1 entry 1 (arg1): its szArgumentName has no end"},
      {{Entry(":3", "%d", strLong)}, "3/1 entry 1 (arg1): its szDefaultValue has no end"},
      {{Entry(":2", "%hd", "1")}, "4/1 entry 1 (arg1): its conversion does not fit its type"},
      {{Entry(":2", "%d", "on")}, "5/1 entry 1 (arg1): its default does not convert"},
      {{Entry("-k:5", "%lf", "0.5")}, "5/1 entry 1 (-k): the default of a switch is not zero"},
      {{Entry("-k:6")}, "5/1 entry 1 (-k): the default of a switch is not zero"}, // but a pointer
      {{cmdoKey}, "9/1 entry 1 (arg1): its help key is below HLP"},
      {Entries("'' -"), "6/2 entry 2: a switch without a character"},
      {Entries("-a -b -a"), "6/3 entry 3 (-a): its switch is there already"},
      {Entries("-a a b"), "7/3 entry 3 (b2): it stands behind no switch of its own"},
      {Entries("!-m m"), "7/2 entry 2 (m1): its switch is mandatory, and cannot have arguments"},
      {Entries("'' !"), "7/2 entry 2 (arg2): it is mandatory, and stands behind optional entries"},
      {Entries("-a ''"), "7/2 entry 2 (arg1): a positional argument behind optional switches"},
      {Entries("-a1 -b -c1"), "8/3 entry 3 (-c): it stands apart from its exclusive group"},
      {Entries("!-m1 !-n1 ! '' '' -a2 a2 !a2 -b2 -c !c c -d"), "0/0 "},
  };
  for (const auto &[acmdo, strFault] : aCase) EXPECT_EQ(Check(acmdo), strFault);
  EXPECT_EQ(CmdCheckTable(nullptr, 1, nullptr), ULONG{CMD_ERROR_ARGUMENT});
}

std::string Syntax(const Table &acmdo, const char *pszProgram) {
  Capture err(stderr);
  CmdDisplaySyntax(stderr, acmdo.data(), acmdo.size(), pszProgram);
  CmdDisplaySyntax(nullptr, acmdo.data(), acmdo.size(), pszProgram);
  CmdDisplaySyntax(stderr, nullptr, 1, pszProgram);
  return err.Take();
}

void TypeKeys(const std::string &strKeys) { // standard input from now on
  std::ofstream("keys", std::ios::binary) << strKeys;
  ASSERT_NE(std::freopen("keys", "rb", stdin), nullptr);
}

TEST_F(Cmd, PrintsUsageAndEntries) {
  // Behind the switch without a character, z stands apart from a switch, and so does the last y.
  Table acmdo = Entries("! :5 -a1 -b1 !-c2 !-d2 -o o:3 !o:10 p:7 - z :8 :2 y z");
  std::strcpy(acmdo[0].szArgumentName, "a name of exactly 29 charact.");
  EXPECT_EQ("\n" + Syntax(acmdo, "/usr/bin/tool.bin"), R"(
tool Arg1 [Arg2] [-a | -b] -c | -d [-o o1 o2 o3] [ z1] [Arg3] [Arg4] [ y1] 
    Arg1 - a name of exactly 29 charact. required argument (string)
    Arg2 - name optional argument (floating point)
    -a   - name optional switch
    -b   - name optional switch
    -c   - name required switch
    -d   - name required switch
    -o   - name optional switch
     o1  -   name optional switch argument (integer)
     o2  -   name required switch argument (unknown)
     p3  -   name optional switch argument (single character)
    Arg3 - name optional argument (string array)
    Arg4 - name optional argument (boolean)

Type "-h" for syntax, "-h full" for full help, or "-h argid" for topical help.
)");
  EXPECT_TRUE(Syntax({}, nullptr).starts_with(" \n"));
  const std::string strMany = Syntax(Table(1000, Entry(":2")), nullptr);
  EXPECT_NE(strMany.find("\n    Arg1000- name optional argument (boolean)\n"), strMany.npos);
}

TEST_F(Cmd, PausesBetweenPagesOfHelp) {
  const std::string strPause =
      "\n      ----<press any key to continue>-----\r" + std::string(42, ' ') + "\r";
  const CMDHELP acmdhelp[] = {
      {201, "\none\n"}, {202, "\ntwo\n2\n"}, {203, "three\n"}, {204, nullptr}, {0, "never\n"}};
  const std::pair<ULONG, std::string> aCase[] = {
      // * for each pause; then the keys that are left
      {0, "\none\n\ntwo\n2\nthree\n"},    // no pages, and the first key is still there
      {1, "*one\n*two\n2\n*three\n*"},    // the keys run out
      {4, "\none\n*two\n2\n*three\nz"},   // each on its own
      {6, "\none\n*two\n2\nthree\nyz"},   // as many lines as fit
      {7, "\none\n\ntwo\n2\n*three\nyz"}, // on the first page
  };
  Capture err(stderr);
  EXPECT_EQ(CmdDisplayFullHelp(stderr, nullptr, 0), 0u);
  EXPECT_EQ(CmdDisplayFullHelp(nullptr, acmdhelp, 0), 0u);
  for (const auto &[ulLines, strPages] : aCase) {
    std::string strExpected;
    for (const char ch : strPages) strExpected += ch == '*' ? strPause : std::string(1, ch);
    TypeKeys(std::string("\0xyz", 4)); // the first key takes two characters
    CmdDisplayFullHelp(stderr, acmdhelp, ulLines);
    char szRest[8] = "";
    std::fgets(szRest, sizeof szRest, stdin);
    EXPECT_EQ(err.Take() + szRest, strExpected) << ulLines;
  }
}

TEST_F(Cmd, DumpsEveryFieldAndEndsTheProcess) {
  const std::vector<Texts> rows = Rows(R"(
types, conversions, arguments, and what is shown of them
SHORT USHORT BOOLEAN LONG        ULONG      DOUBLE   STRING CHARACTER STRINGARRAY FLOAT
%hd   %hu    ''      %ld         %lu        %lf      ''     %c        ''          %f
-5    65535  on      -2000000000 4000000000 1.5      text   z         e1          -0.25
-5    65535  1       -2000000000 4000000000 1.500000 text   z         e1          -0.250000
)");
  const Texts astrLabel = Split(
      "Argument Name     ~Mandatory Flag    ~Argument Flag     ~Switch ID         ~"
      "Case Flag         ~Exclusive Group   ~Help Key          ~Type Code         ~"
      "Conversion String ~Default Value     ~Assigned Value    ");
  Table acmdo;
  std::string strExpected;
  const auto Add = [&](const CMDOPTION &cmdo, const std::string &strShown) {
    acmdo.push_back(cmdo);
    const Texts astr = Split(strShown);
    strExpected += "\nCMDLINE STRUCTURE " + std::to_string(acmdo.size()) + "  " + astr[0] + "\n";
    for (size_t n = 0; n < 11; n++) strExpected += "  " + astrLabel[n] + astr[n + 1] + "\n";
  };
  for (size_t n = 0; n < rows[0].size(); n++)
    Add(Entry("!:" + std::to_string(n), rows[1][n]),
        "CommandLine Argument~name~REQ'D~ARG~ ~NOCASE~0~HLP+0~" + rows[0][n] + "~\"" + rows[1][n] +
            "\"~~" + rows[3][n] + (n == CMD_TYPE_STRINGARRAY ? "\n                    e2" : ""));
  Texts astrArg = rows[2];
  astrArg.insert(astrArg.begin() + 9, "e2"); // the array takes what is left up to a '-'
  EXPECT_EQ(Parse(acmdo, astrArg), "0 ");
  Add(Entry("-V4000000000:6", "%s", "none"),
      "Switch ~name~CMD'L~FLAG~V~CASE~4000000000~HLP+4294967295~STRING~\"%s\"~none~1");
  Add(Entry("V:10", "a"),
      "Switch Argument~name~CMD'L~ARG~V~NOCASE~0~HLP+0~UNKNOWN~\"a\"~~Error! Unrecognized type");
  acmdo[10].fCase = acmdo[10].value.ulValue = 1;
  acmdo[10].ulHelpKey = HLP - 1;

  TypeKeys("k"); // for the first entry; then they are at their end
  Capture out(stdout);
  for (FILE *pf : {static_cast<FILE *>(nullptr), stdout})
    EXPECT_EXIT(CmdDisplayOptionStruct(pf, acmdo.data(), 12), testing::ExitedWithCode(0), "");
  EXPECT_EXIT(CmdDisplayOptionStruct(stdout, nullptr, 1), testing::ExitedWithCode(0), "");
  EXPECT_EQ(out.Take(), strExpected);
  MemFreeMem_(acmdo[8].value.apszValue);
}

// What a program comes to: its exit status (42 when it goes on), and what it prints.
using Ending = std::tuple<int, std::string, std::string>;

Ending RunTool(Table acmdo, const Texts &astrArg, const std::function<void()> &prepare = {}) {
  const CMDHELP acmdhelp[] = {{HLP, "about\n"}, {HLP + 1, "\nthe file\n"}, {0, nullptr}};
  std::vector<char *> apsz = Vector(astrArg);
  Capture out(stdout), err(stderr);
  const pid_t pid = fork();
  if (pid == 0) {
    if (prepare) prepare();
    CmdParseOrExit(std::ssize(apsz), apsz.data(), acmdo.data(), acmdo.size(), acmdhelp);
    _exit(42);
  }
  int iStatus = 0;
  waitpid(pid, &iStatus, 0);
  return {WEXITSTATUS(iStatus), out.Take(), err.Take()};
}

TEST_F(Cmd, EndsAsUsersExpect) {
  Table acmdo = Entries("! -n !n:3");
  const std::string strSyntax = Syntax(acmdo, "tool");
  const std::string strUsage = "\nUsage: " + strSyntax.substr(0, strSyntax.find('\n')) +
                               strSyntax.substr(strSyntax.find("\nType"));
  const std::pair<const char *, Ending> aCase[] = {
      {"f -n 5", {42, "", ""}},
      {"-h", {0, strSyntax, ""}},
      {"-h full", {0, "about\n\nthe file\n", ""}},
      {"--help ARG1", {0, "the file\n", ""}},
      {"-h -n", {0, strSyntax, ""}}, // which has no text
      {"", {2, "", "tool: Missing mandatory argument." + strUsage}},
      {"f -x", {2, "", "tool: Unknown switch: -x" + strUsage}},
      {"f --help", {2, "", "tool: Unknown switch: --" + strUsage}},
      {"f -n a\x01", {2, "", "tool: Format error: a?" + strUsage}},
  };
  for (const auto &[pszTyped, ending] : aCase)
    EXPECT_EQ(RunTool(acmdo, Words(pszTyped)), ending) << pszTyped;
  CmdParseOrExit(0, nullptr, nullptr, 0, nullptr);

  const auto FillDisk = [] { ASSERT_NE(std::freopen("/dev/full", "w", stdout), nullptr); };
  EXPECT_EQ(RunTool(acmdo, {"-h"}, FillDisk), Ending(1, "", "tool: the help cannot be written\n"));
  const Reports reports;
  const Ending noMemory(1, "", "tool: no memory\n"), good(42, "", "");
  EXPECT_EQ(RunTool(acmdo, {"f"}, [] { new FailMalloc; }), FailMalloc::Works() ? noMemory : good);

  acmdo[1].chSwitchId = '\n';
  acmdo[1].ulTypeCode = 10;
  const std::string strWrong = "tool: option table: entry 2 (-?): its type is unknown\n";
  EXPECT_EQ(RunTool(acmdo, {"-h"}), Ending(3, "", strWrong));
}

TEST_F(Cmd, ShowsHelpInPagesOnATerminal) {
  const int fdTerminal = posix_openpt(O_RDWR | O_NOCTTY);
  if (unlockpt(fdTerminal) != 0) GTEST_SKIP() << "this machine has no pseudo terminals";
  const int fdUser = open(ptsname(fdTerminal), O_RDWR | O_NOCTTY);
  const winsize ws = {.ws_row = 2, .ws_col = 80, .ws_xpixel = 0, .ws_ypixel = 0};
  EXPECT_EQ(ioctl(fdUser, TIOCSWINSZ, &ws), 0);
  EXPECT_EQ(write(fdTerminal, "keys\n", 5), 5);

  RunTool({}, {"-h", "full"}, [fdUser] {
    dup2(fdUser, STDIN_FILENO);
    dup2(fdUser, STDOUT_FILENO);
  });

  close(fdUser);
  std::string strShown; // comes in pieces, up to an error once nobody has the terminal
  for (char ch; read(fdTerminal, &ch, 1) > 0;) strShown += ch;
  close(fdTerminal);
  EXPECT_NE(strShown.find("----<press any key to continue>-----"), strShown.npos) << strShown;
}
} // namespace
