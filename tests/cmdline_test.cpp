// cmdline_test.cpp: the option parser and the check of tables against models; displays, and how a
// program ends, as a user sees them.

#include <fcntl.h>
#include <sys/ioctl.h>
#include <sys/wait.h>

#include <functional>
#include <map>
#include <set>
#include <tuple>

#include "input.h"
#include "zebbase/cmd.h"

namespace {
using Table = std::vector<CMDOPTION>;
constexpr ULONG ulNoType = 10;

// An entry as it is typed: "-c" is a switch, "c" an argument of it, "" a positional argument. There
// is a ! before it when it is mandatory, and behind it the number of its exclusive group.
CMDOPTION Entry(const char *pszTyped, ULONG ulType = CMD_TYPE_SHORT,
                const std::string &strConversion = "", const std::string &strDefault = "") {
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
  strDefault.copy(cmdo.szDefaultValue, sizeof cmdo.szDefaultValue);
  std::strcpy(cmdo.szArgumentName, "name");
  std::memset(&cmdo.value, 0xA5, sizeof cmdo.value);
  return cmdo;
}

Table Entries(const std::string &strTyped) { // '' is a positional argument
  Table acmdo;
  for (const std::string &str : Words(strTyped)) acmdo.push_back(Entry(str.c_str()));
  return acmdo;
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

std::vector<char *> Vector(char *pszProgram, Texts &astrArg) {
  std::vector<char *> apsz = {pszProgram};
  for (std::string &str : astrArg) apsz.push_back(str.data());
  return apsz;
}

std::string Parse(Table &acmdo, Texts &astrArg) { // the values point into astrArg
  std::vector<char *> apsz = Vector(nullptr, astrArg);
  return Parse(static_cast<LONG>(apsz.size()), apsz.data(), acmdo.data(), acmdo.size());
}

std::string Check(const Table &acmdo) { // the code, and the entry
  CMDERROR err;
  CmdCheckTable(acmdo.data(), acmdo.size(), &err);
  return std::to_string(err.ulCode) + " " + std::to_string(err.ulEntry);
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
  bool AtText() const { return !astrArg.empty() && !AtSwitch(); }
  bool Names(size_t n) const {
    return Kind(n) == 'S' && AtSwitch() && astrArg[0][1] == acmdo[n].chSwitchId;
  }
  bool GroupGoesOn(size_t n) const {
    const ULONG ulGroup = acmdo[n].ulExclusiveGroup;
    return ulGroup && Kind(n + 1) && acmdo[n + 1].ulExclusiveGroup == ulGroup;
  }
  void Take(size_t n, const std::string &strValue) {
    astrValue[n] = strValue;
    astrArg.erase(astrArg.begin());
  }
  [[noreturn]] void Fail(size_t n, const std::string &str) const {
    throw Result(acmdo[n].ulHelpKey, str);
  }

  void Assign(size_t n, const std::string &strError) {
    const std::string str = astrArg[0];
    const ULONG ulType = acmdo[n].ulTypeCode;
    const bool fLong = ulType == CMD_TYPE_LONG, fBoolean = ulType == CMD_TYPE_BOOLEAN;
    LONG l = 0;
    if (fLong && std::sscanf(str.c_str(), "%ld", &l) != 1) Fail(n, strError + str);
    if (fLong) return Take(n, std::to_string(l));
    if (fBoolean) return Take(n, str == "yes" || str == "TRUEx" || str == "ONE" ? "1" : "0");
    if (AtSwitch()) Fail(n, strError + str);
    if (ulType == CMD_TYPE_STRING) return Take(n, str);
    for (astrValue[n] = ""; AtText();) Take(n, astrValue[n] + astrArg[0] + ",");
  }

  void TakeSwitch() {
    const std::string str = astrArg[0];
    size_t n = i;
    while (Kind(n) && !Names(n)) n++;
    if (!Kind(n)) throw Result(100, "Unknown switch: " + str.substr(0, 2) + (str[1] ? "\n" : ""));
    if (acmdo[n].fMandatory) Fail(n, "Invalid use of mandatory switch: " + str);
    if (astrValue[n] == "1") Fail(n, "Same switch specified twice: " + str);
    Take(n++, "1");
    for (; Kind(n) == 'A' && AtText(); n++) Assign(n, "Format error: ");
    if (Kind(n) == 'A' && acmdo[n].fMandatory) Fail(n, "Missing switch argument");
  }

  void SetDefaults() {
    for (size_t n = 0; Kind(n); n++) {
      astrValue[n] = acmdo[n].szDefaultValue;
      if (acmdo[n].ulTypeCode == ulNoType || astrValue[n] == "bad") throw Result(CMD_BAD_TABLE);
      if (acmdo[n].ulTypeCode <= CMD_TYPE_LONG && astrValue[n].empty()) astrValue[n] = "0";
    }
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
    for (size_t n = 0; Kind(n); n++) {
      const ULONG ulGroup = Kind(n) == 'S' && astrValue[n] == "1" ? acmdo[n].ulExclusiveGroup : 0;
      if (ulGroup && !given.insert(ulGroup).second)
        Fail(n, "Second instance of mutually exclusive switches");
    }
  }

  std::string Run() try {
    const ULONG ulDone = astrArg.empty() ? CMD_NO_ARGUMENTS : CMD_PARSED;
    SetDefaults();
    MatchPrefix();
    if (!astrArg.empty()) TakeFreePart();
    return Result(ulDone);
  } catch (const std::string &strResult) {
    return strResult;
  }

  std::string FirstFault() const { // the code, and the entry
    std::set<char> switches;
    std::set<ULONG> groups;
    ULONG ulRank = 0; // 0 in the prefix, 1 for optional positional arguments, 2 behind them
    for (size_t n = 0; Kind(n); n++) {
      const CMDOPTION &cmdo = acmdo[n];
      const bool fFree = Kind(n) == 'A' || !cmdo.fMandatory;
      const ULONG ulBefore = std::exchange(ulRank, ULONG{fFree} + (fFree && Kind(n) != 'P'));
      const bool fBegins = cmdo.ulExclusiveGroup && (n == 0 || !GroupGoesOn(n - 1)); // a group
      const bool fSame = n > 0 && acmdo[n - 1].chSwitchId == cmdo.chSwitchId;
      const std::pair<bool, int> aRule[] = {
          {cmdo.ulTypeCode == ulNoType, CMD_ERROR_TYPE},
          {cmdo.szDefaultValue == std::string("bad"), CMD_ERROR_DEFAULT},
          {Kind(n) == 'S' && !switches.insert(cmdo.chSwitchId).second, CMD_ERROR_SWITCH},
          {fBegins && !groups.insert(cmdo.ulExclusiveGroup).second, CMD_ERROR_GROUP},
          {ulRank < ulBefore, CMD_ERROR_ORDER},
          {Kind(n) == 'A' && (ulBefore < 2 || !fSame), CMD_ERROR_ORDER},
      };
      for (const auto &[fBroken, iCode] : aRule)
        if (fBroken) return std::to_string(iCode) + " " + std::to_string(n + 1);
    }
    return "0 0";
  }
};

class Cmd : public FileTest {
 protected:
  CMDOPTION RandomEntry(const std::string &strTyped) {
    constexpr ULONG aulType[] = {CMD_TYPE_LONG, CMD_TYPE_STRING, CMD_TYPE_BOOLEAN,
                                 CMD_TYPE_STRINGARRAY};
    const bool fSwitch = strTyped.find('-') != strTyped.npos;
    const ULONG ulType = fSwitch ? CMD_TYPE_LONG : OneOf(aulType);
    const bool fNumber = !fSwitch && ulType == CMD_TYPE_LONG;
    return Entry(strTyped.c_str(), ulType, "%ld", fNumber && Random(2) ? "-7" : "");
  }
  Table RandomTable() { // that keeps the rules
    Table acmdo;
    for (const char *psz : {"!-m1", "!-n1", "!", "''", "''", "-a2 a2 !a2", "-b2", "-c !c c", "-d"})
      for (const std::string &str : Random(2) ? Words(psz) : Texts())
        acmdo.push_back(RandomEntry(str));
    return acmdo;
  }
  void Disorder(Table &acmdo) {
    const auto Any = [&]() -> CMDOPTION & { return acmdo[Random(acmdo.size())]; };
    if (!Random(2)) std::swap(Any(), Any());
    if (!Random(3)) acmdo.push_back(Any());
    if (!Random(30)) Any().ulTypeCode = ulNoType;
    CMDOPTION &cmdo = Any();
    if (!Random(10) && cmdo.ulTypeCode == CMD_TYPE_LONG) std::strcpy(cmdo.szDefaultValue, "bad");
  }
};

TEST_F(Cmd, AgreesWithAModelOnRandomTablesAndArguments) {
  Texts astrPool = Words("-a -b -cx -m -n - 5 -5 yes TRUEx ONE no '' 99999999999 a--b");
  astrPool.push_back(std::string(90, 'q'));
  std::map<std::string, int> seen; // codes and messages, without what they quote
  for (int i = 0; i < 50000; i++) {
    Table acmdo = RandomTable();
    ASSERT_EQ(Check(acmdo), "0 0");
    if (!acmdo.empty() && Random(2)) Disorder(acmdo);
    Texts astrArg(Random(7));
    for (std::string &str : astrArg) str = OneOf(astrPool);
    SCOPED_TRACE(testing::PrintToString(astrArg));
    MODEL model = {acmdo, astrArg};

    std::string strResult = Parse(acmdo, astrArg);
    const std::string strFault = Check(acmdo);

    ASSERT_EQ(strFault, model.FirstFault());
    ASSERT_TRUE(strFault != "0 0" || strResult != Result(CMD_BAD_TABLE));
    ASSERT_EQ(strResult, model.Run());
    for (size_t n = 0; strResult != Result(CMD_BAD_TABLE) && n < acmdo.size(); n++)
      ASSERT_EQ(TakeValue(acmdo[n]), model.astrValue[n]) << "value " << n;
    if (strResult.find(' ') + 1 < strResult.size()) strResult.erase(0, strResult.find(' '));
    seen[strResult.substr(0, strResult.find_first_of(":."))]++;
    seen["fault " + strFault.substr(0, 1)]++;
  }
  EXPECT_EQ(seen.size(), 13u + 6u) << testing::PrintToString(seen);
  for (const auto &[strResult, cTimes] : seen) EXPECT_GT(cTimes, 5) << strResult;
}

TEST_F(Cmd, AnswersRequestsForHelpWithoutTouchingTheTable) {
  Table acmdo = Entries("'' -o o o '' -P P -");
  acmdo[0].ulTypeCode = ulNoType;
  const Table acmdoBefore = acmdo;
  const auto Ask = [&](Texts astrArg) { return Parse(acmdo, astrArg); };
  const Texts astrTopic = Words("arg1 -o o1 o2 ARG2 -p P1"); // of the entries

  for (size_t n = 0; n < astrTopic.size(); n++)
    EXPECT_EQ(Ask({"-h", astrTopic[n], "more"}), Result(acmdo[n].ulHelpKey)) << astrTopic[n];
  for (const char *psz : {"FULL", "", "P2", "-"})
    EXPECT_EQ(Ask({"-h", psz}), Result(CMD_SYNTAX)) << psz;
  EXPECT_EQ(Ask({"-h"}), Result(CMD_SYNTAX));
  EXPECT_EQ(Ask({"-h", "full"}), Result(CMD_FULL_HELP));

  EXPECT_EQ(std::memcmp(acmdo.data(), acmdoBefore.data(), acmdo.size() * sizeof(CMDOPTION)), 0);
  EXPECT_EQ(Ask({"-H"}), Result(CMD_BAD_TABLE));
}

TEST_F(Cmd, TakesAnyVectorAndRefusesBrokenTablesAndGroups) {
  CMDOPTION cmdo = Entry("", CMD_TYPE_LONG, "%ld", "7");
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
  cmdo = Entry("", CMD_TYPE_LONG, "%ld", std::string(41, '1')); // a text without its end
  EXPECT_EQ(Parse(1, apsz, &cmdo, 1), Result(CMD_BAD_TABLE));

  Table acmdo = Entries("!-m1 ! !-n1 ''"); // groups are compared after a free part
  acmdo[1].ulTypeCode = acmdo[3].ulTypeCode = CMD_TYPE_BOOLEAN;
  Texts astrPrefix = {"-m", "x", "-n"}, astrMore = {"-m", "x", "-n", "y"};
  const std::string strSecond = "Second instance of mutually exclusive switches";
  EXPECT_EQ(Parse(acmdo, astrPrefix), Result(CMD_PARSED));
  EXPECT_EQ(Parse(acmdo, astrMore), Result(acmdo[2].ulHelpKey, strSecond));
}

TEST_F(Cmd, ConvertsAsSscanfWithinTheWidthOfTheType) {
  constexpr size_t acb[] = {2, 2, 0, 4, 4, 8, 0, 1, 0, 4}; // by type; 0 is not scanned
  const std::vector<Texts> rows = Rows(R"(
types conversions that fit these types, and no others
01    %hd %hu %hi %5hX x%hd
234   %ld %lu %d %u %i %lx %3d x%d %d%%
5     %lf %9le
9     %f %5g
7     %c
none  '' %hhd %1s %7s %s %*d %d%d %n %lld d %1c %lc %Lf %-d %05d %.1f %%
)");
  for (int i = 0; i < 100000; i++) {
    const ULONG ulType = Random(10);
    const Texts &row = OneOf(rows);
    const std::string strConversion = row[1 + Random(row.size() - 1)];
    Texts astrArg = {SomeChars(i % 4 ? "0123456789--" : "01-+ .ex%79a", i % 2 ? 4 : 12)};
    SCOPED_TRACE(strConversion + " on " + astrArg[0]);
    Table acmdo = {Entry("!", ulType, strConversion)};
    CMDVALUE value = acmdo[0].value;
    char achScanned[64] = {}, achSecond[64];
    const bool fScanned =
        std::sscanf(astrArg[0].c_str(), acmdo[0].szConversion, achScanned, achSecond) == 1;
    if (acb[ulType] == 0) continue;

    const bool fFits = row[0].find(std::to_string(ulType)) != std::string::npos;
    ASSERT_EQ(Check(acmdo), fFits ? "0 0" : "4 1");
    ASSERT_EQ(Parse(acmdo, astrArg) == Result(CMD_PARSED), fScanned);
    std::memcpy(&value, achScanned, acb[ulType]);
    ASSERT_TRUE(!fScanned || std::memcmp(&acmdo[0].value, &value, sizeof value) == 0);
  }
  Texts astrLong = {std::string(100000, 'z')};
  for (const std::string &str : Words("%s %ls %99c %[z] %ms %5ms %2$s")) {
    Table acmdo = {Entry("", CMD_TYPE_CHARACTER, str)};
    const bool fConverts = str.find_first_of("m$") == str.npos;
    EXPECT_EQ(Parse(acmdo, astrLong) == Result(CMD_PARSED), fConverts) << str;
    EXPECT_TRUE(!fConverts || str == "%ls" || acmdo[0].value.chValue == 'z') << str;
  }
}

TEST_F(Cmd, ChecksWhatNoCommandLineShows) {
  CMDOPTION cmdoKey = Entry("-k"), cmdoName = cmdoKey;
  cmdoKey.ulHelpKey = CMD_SYNTAX;
  std::memset(cmdoName.szArgumentName, 'x', sizeof cmdoName.szArgumentName);
  const std::pair<ULONG, CMDOPTION> aCase[] = {
      {CMD_ERROR_TEXT, Entry("", CMD_TYPE_LONG, "%111d")},
      {CMD_ERROR_TEXT, cmdoName},
      {CMD_ERROR_TEXT, Entry("", CMD_TYPE_LONG, "%d", std::string(41, '1'))},
      {CMD_ERROR_CONVERSION, Entry("", CMD_TYPE_BOOLEAN, "%hd", "1")},
      {CMD_ERROR_DEFAULT, Entry("", CMD_TYPE_BOOLEAN, "%d", "on")},
      {CMD_ERROR_DEFAULT, Entry("-k", CMD_TYPE_DOUBLE, "%lf", "0.5")},
      {CMD_ERROR_DEFAULT, Entry("-k", CMD_TYPE_STRING)},
      {CMD_ERROR_SWITCH, Entry("-")},
      {CMD_ERROR_KEY, cmdoKey},
  };
  for (const auto &[ulCode, cmdo] : aCase) EXPECT_EQ(Check({cmdo}), std::to_string(ulCode) + " 1");
  EXPECT_EQ(Check({Entry("!-m"), Entry("m", CMD_TYPE_STRING)}), "7 2"); // no argument in the prefix
  EXPECT_EQ(CmdCheckTable(nullptr, 1, nullptr), ULONG{CMD_ERROR_ARGUMENT});
}

std::string Printed(const std::function<void(FILE *)> &print) { // to a file of the scratch folder
  FILE *pf = std::fopen("printed", "w");
  print(pf);
  std::fclose(pf);
  return Contents("printed");
}

std::string Syntax(const Table &acmdo, const char *pszProgram) {
  return Printed([&](FILE *pf) { CmdDisplaySyntax(pf, acmdo.data(), acmdo.size(), pszProgram); });
}

void TypeKeys(const std::string &strKeys) { // standard input from now on
  std::ofstream("keys", std::ios::binary) << strKeys;
  ASSERT_NE(std::freopen("keys", "rb", stdin), nullptr);
}

TEST_F(Cmd, PrintsUsageAndEntries) {
  // Behind the switch without a character, z stands apart from a switch, and so does the last y.
  Table acmdo = Entries("! '' -v -a1 -b1 !-c2 !-d2 -o o !o p - z '' y z");
  acmdo[0].ulTypeCode = CMD_TYPE_STRING;
  acmdo[1].ulTypeCode = CMD_TYPE_DOUBLE;
  acmdo[9].ulTypeCode = ulNoType;
  acmdo[10].ulTypeCode = CMD_TYPE_CHARACTER;
  acmdo[13].ulTypeCode = CMD_TYPE_STRINGARRAY;
  std::strcpy(acmdo[0].szArgumentName, "a name of exactly 29 charact.");
  EXPECT_EQ("\n" + Syntax(acmdo, "/usr/bin/tool.bin"), R"(
tool Arg1 [Arg2] [-v] [-a | -b] -c | -d [-o o1 o2 o3] [ z1] [Arg3] [ y1] 
    Arg1 - a name of exactly 29 charact. required argument (string)
    Arg2 - name optional argument (floating point)
    -v   - name optional switch
    -a   - name optional switch
    -b   - name optional switch
    -c   - name required switch
    -d   - name required switch
    -o   - name optional switch
     o1  -   name optional switch argument (integer)
     o2  -   name required switch argument (unknown)
     p3  -   name optional switch argument (single character)
    Arg3 - name optional argument (string array)

Type "-h" for syntax, "-h full" for full help, or "-h argid" for topical help.
)");
  CmdDisplaySyntax(nullptr, acmdo.data(), acmdo.size(), "tool");
  EXPECT_EQ(Printed([](FILE *pf) { CmdDisplaySyntax(pf, nullptr, 1, "tool"); }), "");
  const std::string strMany = Syntax(Table(1000, Entry("", CMD_TYPE_BOOLEAN)), nullptr);
  EXPECT_TRUE(strMany.starts_with(" [Arg1] [Arg2] "));
  EXPECT_NE(strMany.find("\n    Arg1000- name optional argument (boolean)\n"), strMany.npos);
}

TEST_F(Cmd, PausesBetweenPagesOfHelp) {
  const std::string strPause =
      "\n      ----<press any key to continue>-----\r" + std::string(42, ' ') + "\r";
  const CMDHELP acmdhelp[] = {
      {201, "\none\n"}, {202, "\ntwo\n2\n"}, {203, "three\n"}, {204, nullptr}, {0, "never\n"}};
  const std::tuple<ULONG, std::string, int> aCase[] = {
      // * for each pause, and the key behind
      {0, "\none\n\ntwo\n2\nthree\n", '\0'}, // no pages
      {1, "*one\n*two\n2\n*three\n*", EOF},  // the keys run out
      {4, "\none\n*two\n2\n*three\n", 'z'},  {6, "\none\n*two\n2\nthree\n", 'y'},
      {7, "\none\n\ntwo\n2\n*three\n", 'y'},
  };
  for (const auto &[ulLines, strPages, iNextKey] : aCase) {
    std::string strExpected;
    for (const char ch : strPages) strExpected += ch == '*' ? strPause : std::string(1, ch);
    TypeKeys(std::string("\0xyz", 4)); // the first key takes two characters
    const auto Print = [&, ul = ulLines](FILE *pf) { CmdDisplayFullHelp(pf, acmdhelp, ul); };
    EXPECT_EQ(Printed(Print), strExpected);
    EXPECT_EQ(std::getchar(), iNextKey) << ulLines;
  }
  EXPECT_EQ(CmdDisplayFullHelp(nullptr, acmdhelp, 0), 0u);
  EXPECT_EQ(Printed([](FILE *pf) { CmdDisplayFullHelp(pf, nullptr, 0); }), "");
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
  Texts astrEntry; // as shown, part by part
  for (size_t n = 0; n < rows[0].size(); n++) {
    acmdo.push_back(Entry("!", n, rows[1][n]));
    const std::string strKey = std::to_string(acmdo[n].ulHelpKey - HLP);
    astrEntry.push_back("CommandLine Argument~name~REQ'D~ARG~ ~NOCASE~0~HLP+" + strKey + "~" +
                        rows[0][n] + "~\"" + rows[1][n] + "\"~~" + rows[3][n]);
  }
  astrEntry[8] += "\n                    e2";
  Texts astrArg = rows[2];
  astrArg.insert(astrArg.begin() + 9, "e2"); // the array takes what is left up to a '-'
  EXPECT_EQ(Parse(acmdo, astrArg), Result(CMD_PARSED));
  acmdo.push_back(Entry("-V4000000000", CMD_TYPE_STRING, "%s", "none"));
  acmdo.push_back(Entry("V", ulNoType, "a"));
  acmdo[10].fCase = acmdo[10].value.ulValue = 1;
  acmdo[10].ulHelpKey = HLP - 1;
  acmdo[11].ulHelpKey = HLP;
  astrEntry.push_back(
      "Switch ~name~CMD'L~FLAG~V~CASE~4000000000~HLP+4294967295~STRING~\"%s\"~none~1");
  astrEntry.push_back(
      "Switch Argument~name~CMD'L~ARG~V~NOCASE~0~HLP+0~UNKNOWN~\"a\"~~Error! Unrecognized type");
  std::string strExpected;
  for (size_t n = 0; n < acmdo.size(); n++) {
    const Texts astr = Split(astrEntry[n]);
    strExpected += "\nCMDLINE STRUCTURE " + std::to_string(n + 1) + "  " + astr[0] + "\n";
    for (size_t m = 0; m < 11; m++) strExpected += "  " + astrLabel[m] + astr[m + 1] + "\n";
  }

  TypeKeys("k"); // for the first entry; then they are at their end
  const auto exits = testing::ExitedWithCode(0);
  const std::string strDump = Printed([&](FILE *pf) {
    EXPECT_EXIT(CmdDisplayOptionStruct(nullptr, acmdo.data(), 1), exits, "");
    EXPECT_EXIT(CmdDisplayOptionStruct(pf, nullptr, 1), exits, "");
    EXPECT_EXIT(CmdDisplayOptionStruct(pf, acmdo.data(), acmdo.size()), exits, "");
  });

  EXPECT_EQ(strDump, strExpected);
  MemFreeMem_(acmdo[8].value.apszValue);
}

// What a program comes to: its exit status (42 when it goes on), and what it prints.
using Ending = std::tuple<int, std::string, std::string>;

Ending RunTool(Table acmdo, Texts astrArg, const std::function<void()> &prepare = {}) {
  const CMDHELP acmdhelp[] = {{HLP - 1, "about\n"}, {HLP, "\nthe file\n"}, {0, nullptr}};
  char szProgram[] = "/bin/tool.x";
  std::vector<char *> apsz = Vector(szProgram, astrArg);
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
  Table acmdo = {Entry("!", CMD_TYPE_STRING), Entry("-n"), Entry("!n", CMD_TYPE_LONG, "%ld")};
  acmdo[0].ulHelpKey = HLP;
  const std::string strSyntax = Syntax(acmdo, "tool");
  const std::string strUsage = "\nUsage: " + strSyntax.substr(0, strSyntax.find('\n')) +
                               strSyntax.substr(strSyntax.find("\nType"));
  const std::pair<Texts, Ending> aCase[] = {
      {{"f", "-n", "5"}, {42, "", ""}},
      {{"-h"}, {0, strSyntax, ""}},
      {{"--help"}, {0, strSyntax, ""}},
      {{"-h", "full"}, {0, "about\n\nthe file\n", ""}},
      {{"--help", "ARG1"}, {0, "the file\n", ""}},
      {{"-h", "-n"}, {0, strSyntax, ""}}, // which has no text
      {{}, {2, "", "tool: Missing mandatory argument." + strUsage}},
      {{"f", "-x"}, {2, "", "tool: Unknown switch: -x" + strUsage}},
      {{"f", "--help"}, {2, "", "tool: Unknown switch: --" + strUsage}},
      {{"f", "-n", "a\tb"}, {2, "", "tool: Format error: a?b" + strUsage}},
  };
  for (const auto &[astrArg, ending] : aCase)
    EXPECT_EQ(RunTool(acmdo, astrArg), ending) << testing::PrintToString(astrArg);
  CmdParseOrExit(0, nullptr, nullptr, 0, nullptr);

  const auto FillDisk = [] { ASSERT_NE(std::freopen("/dev/full", "w", stdout), nullptr); };
  EXPECT_EQ(RunTool(acmdo, {"-h"}, FillDisk), Ending(1, "", "tool: the help cannot be written\n"));
  const auto TakeMemory = [&] {
    FillDisk(); // the report of the memory family
    new FailMalloc;
  };
  const Ending endingMemory = {1, "", "tool: no memory\n"}, endingGood = {42, "", ""};
  EXPECT_EQ(RunTool(acmdo, {"f"}, TakeMemory), FailMalloc::Works() ? endingMemory : endingGood);

  acmdo[2].chSwitchId = '\n';
  acmdo[2].ulTypeCode = ulNoType;
  const std::string strWrong = "tool: option table: entry 3 (?1): its type is unknown\n";
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
  char ach[100];
  for (ssize_t cb; (cb = read(fdTerminal, ach, sizeof ach)) > 0;)
    strShown.append(ach, static_cast<size_t>(cb));
  close(fdTerminal);
  EXPECT_NE(strShown.find("----<press any key to continue>-----"), strShown.npos) << strShown;
}
} // namespace
