// cmdline_test.cpp: the option parser against a model, and the displays as whole outputs.

#include <functional>
#include <map>
#include <set>
#include <span>

#include "input.h"
#include "zebbase/cmd.h"

namespace {
using Table = std::vector<CMDOPTION>;

// An entry as it is typed: "-c" is a switch, "c" an argument of it, "" a positional argument. There
// is a ! before it when it is mandatory, and behind it the number of its exclusive group.
CMDOPTION Entry(const char *pszTyped, ULONG ulType = CMD_TYPE_SHORT,
                const std::string &strConversion = "", const char *pszName = "name") {
  static ULONG ulKey = HLP;
  const auto Takes = [&](bool f) { return f ? *pszTyped++ : '\0'; };
  CMDOPTION cmdo = {};
  cmdo.fMandatory = Takes(*pszTyped == '!') != 0;
  cmdo.fFlag = Takes(*pszTyped == '-') != 0;
  cmdo.chSwitchId = Takes(std::isalpha(*pszTyped));
  cmdo.ulExclusiveGroup = std::strtoul(pszTyped, nullptr, 10);
  cmdo.ulHelpKey = ++ulKey;
  cmdo.ulTypeCode = ulType;
  strConversion.copy(cmdo.szConversion, sizeof cmdo.szConversion);
  std::strcpy(cmdo.szArgumentName, pszName);
  std::memset(&cmdo.value, 0xA5, sizeof cmdo.value);
  return cmdo;
}

std::string Result(ULONG ulCode, const std::string &strMessage = "") {
  return std::to_string(ulCode) + " " + strMessage.substr(0, 79);
}

std::string Parse(LONG argc, char **argv, CMDOPTION *pcmdo, ULONG ulCount) {
  CMDRESULT *pcmdresult = CmdParseCmdLine(argc, argv, pcmdo, ulCount);
  const std::string strResult = Result(pcmdresult->ulCode, pcmdresult->szMessage);
  MemFreeMem_(pcmdresult);
  return strResult;
}

std::string Parse(Table &acmdo, Texts &astrArg) { // the values point into astrArg
  std::vector<char *> apsz(1);                    // the program's name is not looked at
  for (std::string &str : astrArg) apsz.push_back(str.data());
  return Parse(static_cast<LONG>(apsz.size()), apsz.data(), acmdo.data(), acmdo.size());
}

std::string TakeValue(CMDOPTION &cmdo) { // as text; what it holds is given back
  const ULONG ulType = cmdo.ulTypeCode;
  if (cmdo.fFlag || ulType == CMD_TYPE_BOOLEAN) return std::to_string(cmdo.value.ulValue);
  if (ulType == CMD_TYPE_LONG) return std::to_string(cmdo.value.lValue);
  if (ulType == CMD_TYPE_STRING) return cmdo.value.pszValue;
  std::string str;
  for (char **ppsz = cmdo.value.apszValue; ppsz && *ppsz; ppsz++) str += std::string(*ppsz) + ",";
  if (cmdo.value.apszValue) MemFreeMem_(cmdo.value.apszValue);
  return str;
}

// The rules once more, over texts: what ends a parse early is thrown.
struct MODEL {
  const Table &acmdo;
  Texts astrArg; // those not yet taken
  Texts astrValue = Texts(acmdo.size());
  size_t i = 0;

  char Kind(size_t n) const { // switch, argument of one, positional
    if (n >= acmdo.size()) return '\0';
    if (acmdo[n].fFlag) return 'S';
    return acmdo[n].chSwitchId ? 'A' : 'P';
  }
  bool AtSwitch() const { return !astrArg.empty() && astrArg[0][0] == '-'; }
  bool AtText() const { return !astrArg.empty() && astrArg[0][0] != '-'; }
  bool Names(size_t n) const {
    return Kind(n) == 'S' && AtSwitch() && astrArg[0][1] == acmdo[n].chSwitchId;
  }
  bool GroupGoesOn(size_t n) const {
    const ULONG ulGroup = acmdo[n].ulExclusiveGroup;
    return ulGroup && n + 1 < acmdo.size() && acmdo[n + 1].ulExclusiveGroup == ulGroup;
  }
  void Take(size_t n, const std::string &strValue) {
    astrValue[n] = strValue;
    astrArg.erase(astrArg.begin());
  }

  void Assign(size_t n, const std::string &strError) {
    const std::string str = astrArg[0];
    const ULONG ulType = acmdo[n].ulTypeCode;
    LONG l = 0;
    const bool fLong = ulType == CMD_TYPE_LONG, fBoolean = ulType == CMD_TYPE_BOOLEAN;
    const bool fNumber = std::sscanf(str.c_str(), "%ld", &l) == 1;
    if (fLong ? !fNumber : !fBoolean && AtSwitch())
      throw Result(acmdo[n].ulHelpKey, strError + str);
    if (fLong) return Take(n, std::to_string(l));
    if (fBoolean) return Take(n, str == "yes" || str == "TRUEx" || str == "ONE" ? "1" : "0");
    if (ulType == CMD_TYPE_STRING) return Take(n, str);
    for (astrValue[n] = ""; AtText();) Take(n, astrValue[n] + astrArg[0] + ",");
  }

  void TakeSwitch() {
    const std::string str = astrArg[0];
    size_t n = i;
    while (n < acmdo.size() && !Names(n)) n++;
    if (!Kind(n))
      throw Result(100, "Unknown switch: -" + str.substr(1, 1) + (str == "-" ? "" : "\n"));
    const ULONG ulKey = acmdo[n].ulHelpKey;
    if (acmdo[n].fMandatory) throw Result(ulKey, "Invalid use of mandatory switch: " + str);
    if (astrValue[n] == "1") throw Result(ulKey, "Same switch specified twice: " + str);
    Take(n++, "1");
    for (; Kind(n) == 'A' && AtText(); n++) Assign(n, "Format error: ");
    if (Kind(n) == 'A' && acmdo[n].fMandatory)
      throw Result(acmdo[n].ulHelpKey, "Missing switch argument");
  }

  void SetDefault(size_t n) {
    astrValue[n] = acmdo[n].szDefaultValue;
    if (acmdo[n].ulTypeCode > 9 || astrValue[n] == "bad") throw Result(CMD_BAD_TABLE);
    if (acmdo[n].ulTypeCode <= CMD_TYPE_LONG && astrValue[n].empty()) astrValue[n] = "0";
  }

  void MatchPrefix() {
    for (; Kind(i) && acmdo[i].fMandatory; i++) {
      if (astrArg.empty()) throw Result(100, "Missing mandatory argument.");
      while (!Names(i) && Kind(i) != 'P' && GroupGoesOn(i)) i++;
      if (!Names(i) && Kind(i) != 'P') throw Result(100, "Unexpected parameter: " + astrArg[0]);
      Kind(i) == 'P' ? Assign(i, "Error converting: ") : Take(i, "1");
      while (GroupGoesOn(i)) i++;
    }
  }

  void TakeFreePart() {
    while (!astrArg.empty()) {
      if (AtText() && Kind(i) != 'P') throw Result(100, "Bad parameter: " + astrArg[0]);
      AtText() ? Assign(i++, "Error converting: ") : TakeSwitch();
    }
    std::set<ULONG> given;
    for (size_t n = 0; n < acmdo.size(); n++) {
      const ULONG ulGroup = Kind(n) == 'S' && astrValue[n] == "1" ? acmdo[n].ulExclusiveGroup : 0;
      if (ulGroup && !given.insert(ulGroup).second)
        throw Result(acmdo[n].ulHelpKey, "Second instance of mutually exclusive switches");
    }
  }

  std::string Run() try {
    const ULONG ulDone = astrArg.empty() ? CMD_NO_ARGUMENTS : CMD_PARSED;
    for (size_t n = 0; n < acmdo.size(); n++) SetDefault(n);
    MatchPrefix();
    if (!astrArg.empty()) TakeFreePart();
    return Result(ulDone);
  } catch (const std::string &strResult) {
    return strResult;
  }
};

class Cmd : public FileTest {
 protected:
  CMDOPTION RandomEntry(const char *pszTyped) {
    constexpr ULONG aulType[] = {CMD_TYPE_LONG, CMD_TYPE_STRING, CMD_TYPE_BOOLEAN,
                                 CMD_TYPE_STRINGARRAY};
    CMDOPTION cmdo = Entry(pszTyped, OneOf(aulType), "%ld");
    if (cmdo.fFlag) cmdo.ulTypeCode = CMD_TYPE_SHORT;
    if (cmdo.ulTypeCode == CMD_TYPE_LONG && Random(2))
      std::strcpy(cmdo.szDefaultValue, Random(20) ? "-7" : "bad");
    if (!Random(200)) cmdo.ulTypeCode = 10;
    return cmdo;
  }
  Table RandomTable() { // mostly in the order that a table should have
    const std::pair<const char *, ULONG> aEntry[] = {
        // each is there once in so many tables
        {"!-m1", 3}, {"!", 3},   {"-n1", 6}, {"!-n1", 6}, {"!x", 9},  {"", 2},     {"", 2},
        {"-a", 2},   {"-a2", 2}, {"a", 2},   {"!a2", 6},  {"a2", 2},  {"!-b", 20}, {"-b2", 2},
        {"-b", 2},   {"b", 2},   {"!b2", 6}, {"b2", 3},   {"-c2", 2}, {"!c", 6},   {"c", 2}};
    Table acmdo;
    for (const auto &[pszTyped, ulTables] : aEntry)
      if (!Random(ulTables)) acmdo.push_back(RandomEntry(pszTyped));
    return acmdo;
  }
};

TEST_F(Cmd, AgreesWithAModelOnRandomTablesAndArguments) {
  Texts astrPool = Words("-a -b -cx -m -n - 5 -5 yes TRUEx ONE no '' 99999999999 a--b");
  astrPool.push_back(std::string(90, 'q'));
  std::map<std::string, int> seen; // codes and messages, without what they quote
  for (int i = 0; i < 50000; i++) {
    Table acmdo = RandomTable();
    Texts astrArg(Random(7));
    for (std::string &str : astrArg) str = OneOf(astrPool);
    SCOPED_TRACE(testing::PrintToString(astrArg));
    MODEL model = {acmdo, astrArg};

    std::string strResult = Parse(acmdo, astrArg);

    ASSERT_EQ(strResult, model.Run());
    for (size_t n = 0; strResult != Result(CMD_BAD_TABLE) && n < acmdo.size(); n++)
      ASSERT_EQ(TakeValue(acmdo[n]), model.astrValue[n]) << "value " << n;
    if (strResult.find(' ') + 1 < strResult.size()) strResult.erase(0, strResult.find(' '));
    seen[strResult.substr(0, strResult.find_first_of(":."))]++;
  }
  EXPECT_EQ(seen.size(), 13u) << testing::PrintToString(seen);
  for (const auto &[strResult, cTimes] : seen) EXPECT_GT(cTimes, 5) << strResult;
}

TEST_F(Cmd, AnswersRequestsForHelpWithoutTouchingTheTable) {
  Table acmdo = {Entry("", 99), Entry("-o"), Entry("o"), Entry("o"),
                 Entry(""),     Entry("-P"), Entry("P"), Entry("-")};
  const Table acmdoBefore = acmdo;
  const auto Ask = [&](Texts astrArg) { return Parse(acmdo, astrArg); };
  const std::map<std::string, size_t> topics = {{"arg1", 0}, {"-o", 1}, {"o2", 3},
                                                {"ARG2", 4}, {"-p", 5}, {"P1", 6}};

  for (const auto &[strTopic, n] : topics)
    EXPECT_EQ(Ask({"-h", strTopic, "more"}), Result(acmdo[n].ulHelpKey)) << strTopic;
  for (const char *psz : {"FULL", "", "P2", "-"})
    EXPECT_EQ(Ask({"-h", psz}), Result(CMD_SYNTAX)) << psz;
  EXPECT_EQ(Ask({"-h"}), Result(CMD_SYNTAX));
  EXPECT_EQ(Ask({"-h", "full"}), Result(CMD_FULL_HELP));

  EXPECT_EQ(std::memcmp(acmdo.data(), acmdoBefore.data(), acmdo.size() * sizeof(CMDOPTION)), 0);
  EXPECT_EQ(Ask({"-H"}), Result(CMD_BAD_TABLE));
}

TEST_F(Cmd, TakesAnyVectorAndRefusesBrokenTablesAndGroups) {
  CMDOPTION cmdo = Entry("", CMD_TYPE_LONG, "%ld");
  *cmdo.szDefaultValue = '7';
  char szOne[] = "1", szTwo[] = "2";
  char *apsz[] = {szOne, nullptr, szTwo, szOne};
  EXPECT_EQ(Parse(1, apsz, nullptr, 1), Result(CMD_BAD_TABLE));
  EXPECT_EQ(Parse(2, apsz + 1, nullptr, 0), Result(CMD_SYNTAX, "Bad parameter: 2"));
  EXPECT_EQ(Parse(3, nullptr, &cmdo, 1), Result(CMD_NO_ARGUMENTS));
  for (const LONG argc : {0, -5, 3})
    EXPECT_EQ(Parse(argc, apsz, &cmdo, 1), Result(CMD_NO_ARGUMENTS)) << argc;
  EXPECT_EQ(cmdo.value.lValue, 7);
  EXPECT_EQ(Parse(2, apsz + 1, &cmdo, 1), Result(CMD_PARSED));
  EXPECT_EQ(cmdo.value.lValue, 2);
  std::memset(cmdo.szDefaultValue, '1', sizeof cmdo.szDefaultValue); // a text without its end
  EXPECT_EQ(Parse(1, apsz, &cmdo, 1), Result(CMD_BAD_TABLE));

  Table acmdo = {Entry("!-m1"), Entry("!", CMD_TYPE_BOOLEAN), Entry("!-n1"),
                 Entry("", CMD_TYPE_BOOLEAN)};
  Texts astrPrefix = {"-m", "x", "-n"}, astrMore = {"-m", "x", "-n", "y"};
  EXPECT_EQ(Parse(acmdo, astrPrefix), Result(CMD_PARSED))
      << "groups are compared after a free part";
  EXPECT_EQ(Parse(acmdo, astrMore),
            Result(acmdo[2].ulHelpKey, "Second instance of mutually exclusive switches"));
}

TEST_F(Cmd, ConvertsAsSscanfWithinTheWidthOfTheType) {
  constexpr size_t acb[] = {2, 2, 0, 4, 4, 8, 0, 1, 0, 4}; // by type; 0 is not scanned
  const Texts astrConversion = Words(
      "'' %ld %lu %d %u %hd %hu %hhd %i %lx %3d %lf %f %c %1s %7s %s %*d x%d %d%d %n %lld %d%% d");
  for (int i = 0; i < 100000; i++) {
    const ULONG ulType = Random(10);
    const std::string strConversion = OneOf(astrConversion);
    Texts astrArg = {SomeChars(i % 4 ? "0123456789--" : "01-+ .ex%79a", i % 2 ? 4 : 12)};
    SCOPED_TRACE(strConversion + " on " + astrArg[0]);
    Table acmdo = {Entry("!", ulType, strConversion)};
    CMDVALUE value = acmdo[0].value;
    char achScanned[64] = {}, achSecond[64];
    const bool fScanned =
        std::sscanf(astrArg[0].c_str(), acmdo[0].szConversion, achScanned, achSecond) == 1;
    if (acb[ulType] == 0) continue;

    ASSERT_EQ(Parse(acmdo, astrArg) == Result(CMD_PARSED), fScanned);
    std::memcpy(&value, achScanned, acb[ulType]);
    ASSERT_TRUE(!fScanned || std::memcmp(&acmdo[0].value, &value, sizeof value) == 0);
  }
  Texts astrLong = {std::string(100000, 'z')};
  for (const std::string &strConversion : Words("%s %ls %99c %[z] %ms %5ms %2$s")) {
    Table acmdo = {Entry("", CMD_TYPE_CHARACTER, strConversion)};
    const bool fConverts = strConversion.find_first_of("m$") == std::string::npos;
    EXPECT_EQ(Parse(acmdo, astrLong) == Result(CMD_PARSED), fConverts) << strConversion;
    EXPECT_TRUE(!fConverts || strConversion == "%ls" || acmdo[0].value.chValue == 'z')
        << strConversion;
  }
}

std::string Printed(const std::function<void(FILE *)> &print) { // to a file of the scratch folder
  FILE *pf = std::fopen("printed", "w");
  print(pf);
  std::fclose(pf);
  return Contents("printed");
}

void TypeKeys(const std::string &strKeys) { // standard input from now on
  std::ofstream("keys", std::ios::binary) << strKeys;
  ASSERT_NE(std::freopen("keys", "rb", stdin), nullptr);
}

TEST_F(Cmd, PrintsUsageAndEntries) {
  // Behind the switch without a character, z stands apart from a switch, and so does the last y.
  Table acmdo = {Entry("!", CMD_TYPE_STRING, "", "input file"), Entry("", CMD_TYPE_DOUBLE)};
  for (const char *psz : {"-v", "-a1", "-b1", "!-c2", "!-d2"}) acmdo.push_back(Entry(psz));
  acmdo.push_back(Entry("-o", 0, "", "a name of exactly 29 charact."));
  acmdo.push_back(Entry("o", CMD_TYPE_SHORT, "", "count"));
  acmdo.push_back(Entry("!o", 77));
  acmdo.push_back(Entry("p", CMD_TYPE_CHARACTER));
  for (const char *psz : {"-", "z", "", "y", "z"})
    acmdo.push_back(Entry(psz, CMD_TYPE_STRINGARRAY));
  const auto Syntax = [](const Table &acmdoShown, const char *pszProgram) {
    return Printed(
        [&](FILE *pf) { CmdDisplaySyntax(pf, acmdoShown.data(), acmdoShown.size(), pszProgram); });
  };
  EXPECT_EQ("\n" + Syntax(acmdo, "/usr/bin/tool.bin"), R"(
tool Arg1 [Arg2] [-v] [-a | -b] -c | -d [-o o1 o2 o3] [ z1] [Arg3] [ y1] 
    Arg1 - input file required argument (string)
    Arg2 - name optional argument (floating point)
    -v   - name optional switch
    -a   - name optional switch
    -b   - name optional switch
    -c   - name required switch
    -d   - name required switch
    -o   - a name of exactly 29 charact. optional switch
     o1  -   count optional switch argument (integer)
     o2  -   name required switch argument (unknown)
     p3  -   name optional switch argument (single character)
    Arg3 - name optional argument (string array)

Type "-h" for syntax, "-h full" for full help, or "-h argid" for topical help.
)");
  const std::string strMany = Syntax(Table(1000, Entry("", CMD_TYPE_BOOLEAN)), nullptr);
  EXPECT_TRUE(strMany.starts_with(" [Arg1] [Arg2] "));
  EXPECT_NE(strMany.find("\n    Arg1000- name optional argument (boolean)\n"), strMany.npos);
}

TEST_F(Cmd, PausesBetweenPagesOfHelp) {
  const std::string strPause =
      "\n      ----<press any key to continue>-----\r" + std::string(42, ' ') + "\r";
  const CMDHELP acmdhelp[] = {
      {201, "\none\n"}, {202, "\ntwo\n2\n"}, {203, "three\n"}, {204, nullptr}, {0, "never\n"}};
  const struct {
    ULONG ulLines;
    std::string strPages; // with a * for each pause
    int iNextKey;
  } aCase[] = {
      {0, "\none\n\ntwo\n2\nthree\n", '\0'}, // no pages
      {1, "*one\n*two\n2\n*three\n*", EOF},  // the keys run out
      {4, "\none\n*two\n2\n*three\n", 'z'},  {6, "\none\n*two\n2\nthree\n", 'y'},
      {7, "\none\n\ntwo\n2\n*three\n", 'y'},
  };
  for (const auto &[ulLines, strPages, iNextKey] : aCase) {
    TypeKeys(std::string("\0xyz", 4)); // the first key takes two characters
    const auto Print = [&, ul = ulLines](FILE *pf) {
      EXPECT_EQ(CmdDisplayFullHelp(pf, acmdhelp, ul), 0u);
    };
    std::string strExpected;
    for (const char ch : strPages) strExpected += ch == '*' ? strPause : std::string(1, ch);
    EXPECT_EQ(Printed(Print), strExpected);
    EXPECT_EQ(std::getchar(), iNextKey) << ulLines;
  }
}

// What the dump prints before it ends the process: with a key for the first entry, then at their end.
std::string Dump(const Table &acmdo) {
  TypeKeys("k");
  return Printed([&](FILE *pf) {
    EXPECT_EXIT(CmdDisplayOptionStruct(pf, acmdo.data(), acmdo.size()), testing::ExitedWithCode(0),
                "");
  });
}

TEST_F(Cmd, DumpsValuesOfEveryType) {
  const std::vector<Texts> rows = Rows(R"(
name        code conversion argument    shown
SHORT       0    %hd        -5          -5
USHORT      1    %hu        65535       65535
BOOLEAN     2    ''         on          1
LONG        3    %ld        -2000000000 -2000000000
ULONG       4    %lu        4000000000  4000000000
DOUBLE      5    %lf        1.5         1.500000
STRING      6    ''         text        text
CHARACTER   7    %c         z           z
FLOAT       9    %f         -0.25       -0.250000
STRINGARRAY 8    ''         e1          e1
)");
  Table acmdo;
  Texts astrArg;
  for (const Texts &row : rows) {
    acmdo.push_back(Entry("!", std::stoul(row[1]), row[2]));
    astrArg.push_back(row[3]);
  }
  astrArg.push_back("e2"); // the array takes what is left
  EXPECT_EQ(Parse(acmdo, astrArg), Result(CMD_PARSED));

  const std::string strDump = Dump(acmdo);
  for (const Texts &row : rows) {
    const std::string strType = "  Type Code         " + row[0] + "\n";
    const std::string strConversion = "  Conversion String \"" + row[2] + "\"\n";
    const std::string strValue = "  Default Value     \n  Assigned Value    " + row[4] + "\n";
    EXPECT_NE(strDump.find(strType + strConversion + strValue), strDump.npos) << row[0];
  }
  EXPECT_TRUE(strDump.ends_with("\n                    e2\n"));
  MemFreeMem_(acmdo.back().value.apszValue);
}

TEST_F(Cmd, DumpsEveryFieldAndEndsTheProcess) {
  CMDOPTION cmdoSwitch = Entry("-V4000000000", CMD_TYPE_STRING, "%s");
  cmdoSwitch.fCase = cmdoSwitch.value.ulValue = 1;
  cmdoSwitch.ulHelpKey = HLP - 1;
  std::strcpy(cmdoSwitch.szDefaultValue, "none");
  CMDOPTION cmdoPositional = Entry("!", 10, "abcd");
  cmdoPositional.ulHelpKey = HLP + 5;
  const std::string strDump = Dump({cmdoSwitch, cmdoPositional, Entry("V")});
  EXPECT_EQ(strDump.substr(0, strDump.find("\nCMDLINE STRUCTURE 3")), R"(
CMDLINE STRUCTURE 1  Switch 
  Argument Name     name
  Mandatory Flag    CMD'L
  Argument Flag     FLAG
  Switch ID         V
  Case Flag         CASE
  Exclusive Group   4000000000
  Help Key          HLP+4294967295
  Type Code         STRING
  Conversion String "%s"
  Default Value     none
  Assigned Value    1

CMDLINE STRUCTURE 2  CommandLine Argument
  Argument Name     name
  Mandatory Flag    REQ'D
  Argument Flag     ARG
  Switch ID          
  Case Flag         NOCASE
  Exclusive Group   0
  Help Key          HLP+5
  Type Code         UNKNOWN
  Conversion String "abcd"
  Default Value     
  Assigned Value    Error! Unrecognized type
)");
  EXPECT_NE(strDump.find("\nCMDLINE STRUCTURE 3  Switch Argument\n"), strDump.npos);
}

TEST_F(Cmd, PrintsNothingWithoutAStreamOrATable) {
  const CMDOPTION cmdo = Entry("-v");
  const CMDHELP cmdhelp = {};
  EXPECT_EQ(CmdDisplayFullHelp(nullptr, &cmdhelp, 0), 0u);
  CmdDisplaySyntax(nullptr, &cmdo, 1, "tool");
  EXPECT_EXIT(CmdDisplayOptionStruct(nullptr, &cmdo, 1), testing::ExitedWithCode(0), "");
  EXPECT_EQ(Printed([&](FILE *pf) {
              CmdDisplaySyntax(pf, nullptr, 1, "tool");
              EXPECT_EQ(CmdDisplayFullHelp(pf, nullptr, 0), 0u);
              EXPECT_EXIT(CmdDisplayOptionStruct(pf, nullptr, 1), testing::ExitedWithCode(0), "");
            }),
            "");
}
} // namespace
