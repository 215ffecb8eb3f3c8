// cmdline_test.cpp: the option parser against a model of its own, and the displays as whole outputs.

#include <functional>
#include <map>

#include "input.h"
#include "zebbase/cmd.h"

namespace {
using Texts = std::vector<std::string>;
using Table = std::vector<CMDOPTION>;

CMDOPTION Entry(BOOL fMandatory, BOOL fFlag, char chSwitchId, ULONG ulGroup, ULONG ulTypeCode,
                const char *pszConversion = "", const char *pszDefault = "",
                const char *pszName = "name") {
  static ULONG ulKeys = HLP;
  CMDOPTION cmdo = {fMandatory, fFlag, chSwitchId, 0,  ulGroup, ++ulKeys,
                    ulTypeCode, "",    "",         "", {}};
  std::strcpy(cmdo.szConversion, pszConversion);
  std::strcpy(cmdo.szArgumentName, pszName);
  std::strcpy(cmdo.szDefaultValue, pszDefault);
  std::memset(&cmdo.value, 0xA5, sizeof cmdo.value);
  return cmdo;
}

std::string Result(ULONG ulCode, const std::string &strMessage = "") {
  return std::to_string(ulCode) + " " + strMessage.substr(0, 79);
}

std::string Parse(LONG lArgc, char **ppszArgv, CMDOPTION *pcmdo, ULONG ulCount) {
  CMDRESULT *pcmdresult = CmdParseCmdLine(lArgc, ppszArgv, pcmdo, ulCount);
  std::string strResult = Result(pcmdresult->ulCode, pcmdresult->szMessage);
  MemFreeMem_(pcmdresult);
  return strResult;
}

std::string Parse(Table &acmdo, Texts &astrArg) { // the values point into astrArg
  std::vector<char *> apsz(1);                    // the program's name is not looked at
  for (std::string &str : astrArg) apsz.push_back(str.data());
  return Parse(static_cast<LONG>(apsz.size()), apsz.data(), acmdo.data(), acmdo.size());
}

std::string TakeValue(CMDOPTION &cmdo) { // as text; what it holds is given back
  if (cmdo.fFlag || cmdo.ulTypeCode == CMD_TYPE_BOOLEAN) return std::to_string(cmdo.value.ulValue);
  if (cmdo.ulTypeCode == CMD_TYPE_LONG) return std::to_string(cmdo.value.lValue);
  if (cmdo.ulTypeCode == CMD_TYPE_STRING) return cmdo.value.pszValue;
  std::string str;
  for (char **ppsz = cmdo.value.apszValue; ppsz && *ppsz; ppsz++) str += std::string(*ppsz) + ",";
  if (cmdo.value.apszValue) MemFreeMem_(cmdo.value.apszValue);
  return str;
}

// The rules once more, over texts: what ends a parse early is thrown.
struct Model {
  const Table &acmdo;
  Texts astrArg; // those not yet taken
  Texts astrValue = Texts(acmdo.size());
  size_t i = 0;

  char Kind(size_t n) const {
    return n >= acmdo.size() ? '\0' : acmdo[n].fFlag ? 'S' : acmdo[n].chSwitchId ? 'A' : 'P';
  }
  bool AtSwitch() const { return astrArg[0][0] == '-'; }
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
    LONG lValue = 0;
    if (ulType == CMD_TYPE_LONG ? std::sscanf(str.c_str(), "%ld", &lValue) != 1
                                : ulType != CMD_TYPE_BOOLEAN && AtSwitch())
      throw Result(acmdo[n].ulHelpKey, strError + str);
    if (ulType == CMD_TYPE_LONG) return Take(n, std::to_string(lValue));
    if (ulType == CMD_TYPE_BOOLEAN)
      return Take(n, str == "yes" || str == "TRUEx" || str == "ONE" ? "1" : "0");
    if (ulType == CMD_TYPE_STRING) return Take(n, str);
    for (astrValue[n] = ""; !astrArg.empty() && !AtSwitch();)
      Take(n, astrValue[n] + astrArg[0] + ",");
  }

  void TakeSwitch() {
    const std::string str = astrArg[0];
    size_t n = i;
    while (n < acmdo.size() && !Names(n)) n++;
    if (!Kind(n))
      throw Result(100, "Unknown switch: -" + str.substr(1, 1) + (str.size() > 1 ? "\n" : ""));
    if (acmdo[n].fMandatory)
      throw Result(acmdo[n].ulHelpKey, "Invalid use of mandatory switch: " + str);
    if (astrValue[n] == "1")
      throw Result(acmdo[n].ulHelpKey, "Same switch specified twice: " + str);
    for (Take(n++, "1"); Kind(n) == 'A' && !astrArg.empty() && !AtSwitch(); n++)
      Assign(n, "Format error: ");
    if (Kind(n) == 'A' && acmdo[n].fMandatory)
      throw Result(acmdo[n].ulHelpKey, "Missing switch argument");
  }

  std::string Run() try {
    const bool fNone = astrArg.empty();
    for (size_t n = 0; n < acmdo.size(); n++) {
      const std::string strDefault = acmdo[n].szDefaultValue;
      if (acmdo[n].ulTypeCode > 9 || strDefault == "bad") throw Result(CMD_BAD_TABLE);
      const bool fNumber = acmdo[n].ulTypeCode <= CMD_TYPE_LONG;
      astrValue[n] = fNumber && strDefault.empty() ? "0" : strDefault;
    }
    for (; i < acmdo.size() && acmdo[i].fMandatory; i++) {
      if (astrArg.empty()) throw Result(100, "Missing mandatory argument.");
      while (!Names(i) && Kind(i) != 'P' && GroupGoesOn(i)) i++;
      if (!Names(i) && Kind(i) != 'P') throw Result(100, "Unexpected parameter: " + astrArg[0]);
      Kind(i) == 'P' ? Assign(i, "Error converting: ") : Take(i, "1");
      while (GroupGoesOn(i)) i++;
    }
    if (astrArg.empty()) return Result(fNone ? 102 : 0);
    while (!astrArg.empty()) {
      if (!AtSwitch() && Kind(i) != 'P') throw Result(100, "Bad parameter: " + astrArg[0]);
      AtSwitch() ? TakeSwitch() : Assign(i++, "Error converting: ");
    }
    std::map<ULONG, int> given;
    for (size_t n = 0; n < acmdo.size(); n++)
      if (Kind(n) == 'S' && acmdo[n].ulExclusiveGroup && astrValue[n] == "1" &&
          given[acmdo[n].ulExclusiveGroup]++)
        throw Result(acmdo[n].ulHelpKey, "Second instance of mutually exclusive switches");
    return Result(0);
  } catch (const std::string &strResult) {
    return strResult;
  }
};

Table RandomTable(std::mt19937 &random) { // mostly in the order that a table should have
  constexpr ULONG aulType[] = {CMD_TYPE_LONG, CMD_TYPE_STRING, CMD_TYPE_BOOLEAN,
                               CMD_TYPE_STRINGARRAY};
  Table acmdo;
  const auto Chance = [&](unsigned u) { return random() % u == 0; };
  const auto Add = [&](BOOL fMandatory, BOOL fFlag, char ch, ULONG ulGroup) {
    const ULONG ulType = fFlag ? CMD_TYPE_SHORT : aulType[random() % 4];
    const char *pszDefault = ulType != CMD_TYPE_LONG || Chance(2) ? "" : Chance(20) ? "bad" : "-7";
    acmdo.push_back(
        Entry(fMandatory, fFlag, ch, ulGroup, Chance(200) ? 10 : ulType, "%ld", pszDefault));
  };
  if (Chance(3)) Add(1, 1, 'm', 1);
  if (Chance(3)) Add(1, 0, 0, 0);
  if (Chance(3)) Add(Chance(2), 1, 'n', 1);
  if (Chance(9)) Add(1, 0, 'x', 0);
  for (auto u = random() % 3; u > 0; u--) Add(0, 0, 0, 0);
  for (const char ch : {'a', 'b', 'c'}) {
    Add(Chance(20), 1, ch, Chance(2) ? 2 : 0);
    for (auto u = random() % 3; u > 0; u--) Add(Chance(3), 0, ch, acmdo.back().ulExclusiveGroup);
  }
  return acmdo;
}

using CommandLine = FileTest;

TEST_F(CommandLine, AgreesWithAModelOnRandomTablesAndArguments) {
  const Texts astrPool = {
      "-a",  "-b",    "-cx", "-m", "-n", "-",           "5",    "-5",
      "yes", "TRUEx", "ONE", "no", "",   "99999999999", "a  b", std::string(90, 'q')};
  std::mt19937 random(91);
  std::map<std::string, int> seen; // codes and messages, without what they quote
  for (int i = 0; i < 50000; i++) {
    Table acmdo = RandomTable(random);
    Texts astrArg(random() % 7);
    for (std::string &str : astrArg) str = astrPool[random() % astrPool.size()];
    Model model = {acmdo, astrArg};
    std::string strResult = Parse(acmdo, astrArg);
    ASSERT_EQ(strResult, model.Run()) << testing::PrintToString(astrArg);
    for (size_t n = 0; strResult != Result(CMD_BAD_TABLE) && n < acmdo.size(); n++)
      ASSERT_EQ(TakeValue(acmdo[n]), model.astrValue[n])
          << testing::PrintToString(astrArg) << " value " << n;
    if (strResult.find(' ') + 1 < strResult.size()) strResult.erase(0, strResult.find(' '));
    seen[strResult.substr(0, strResult.find_first_of(":."))]++;
  }
  EXPECT_EQ(seen.size(), 13u) << testing::PrintToString(seen);
  for (const auto &[strResult, cTimes] : seen) EXPECT_GT(cTimes, 5) << strResult;
}

TEST_F(CommandLine, AnswersRequestsForHelpWithoutTouchingTheTable) {
  Table acmdo = {Entry(1, 0, 0, 0, 99),  Entry(0, 1, 'o', 0, 0), Entry(0, 0, 'o', 0, 0),
                 Entry(0, 0, 'o', 0, 0), Entry(0, 0, 0, 0, 0),   Entry(0, 1, 'P', 0, 0),
                 Entry(0, 0, 'P', 0, 0), Entry(0, 1, 0, 0, 0)};
  const Table acmdoBefore = acmdo;
  const auto Ask = [&](const std::string &strTopic) {
    Texts astrArg = {"-h", strTopic, "more"};
    return Parse(acmdo, astrArg);
  };
  const std::map<std::string, size_t> topics = {{"arg1", 0}, {"-o", 1}, {"o2", 3},
                                                {"ARG2", 4}, {"-p", 5}, {"P1", 6}};
  for (const auto &[strTopic, n] : topics)
    EXPECT_EQ(Ask(strTopic), Result(acmdo[n].ulHelpKey)) << strTopic;
  for (const char *psz : {"FULL", "", "P2", "-"}) EXPECT_EQ(Ask(psz), Result(CMD_SYNTAX)) << psz;
  EXPECT_EQ(Ask("full"), Result(CMD_FULL_HELP));
  Texts astrHelp = {"-h"}, astrOther = {"-H"};
  EXPECT_EQ(Parse(acmdo, astrHelp), Result(CMD_SYNTAX));
  EXPECT_EQ(std::memcmp(acmdo.data(), acmdoBefore.data(), acmdo.size() * sizeof(CMDOPTION)), 0);
  EXPECT_EQ(Parse(acmdo, astrOther), Result(CMD_BAD_TABLE));
}

TEST_F(CommandLine, TakesAnyVectorAndRefusesBrokenTablesAndGroups) {
  CMDOPTION cmdo = Entry(0, 0, 0, 0, CMD_TYPE_LONG, "%ld", "7");
  CMDOPTION cmdoOpen = cmdo; // a text without its end
  std::memset(cmdoOpen.szDefaultValue, '1', sizeof cmdoOpen.szDefaultValue);
  char szOne[] = "1", szTwo[] = "2";
  char *apsz[] = {szOne, nullptr, szTwo, szOne};
  EXPECT_EQ(Parse(1, apsz, nullptr, 1), Result(CMD_BAD_TABLE));
  EXPECT_EQ(Parse(1, apsz, &cmdoOpen, 1), Result(CMD_BAD_TABLE));
  EXPECT_EQ(Parse(2, apsz + 1, nullptr, 0), Result(CMD_SYNTAX, "Bad parameter: 2"));
  EXPECT_EQ(Parse(3, nullptr, &cmdo, 1), Result(CMD_NO_ARGUMENTS));
  for (const LONG lArgc : {0, -5, 3})
    EXPECT_EQ(Parse(lArgc, apsz, &cmdo, 1), Result(CMD_NO_ARGUMENTS)) << lArgc;
  EXPECT_EQ(cmdo.value.lValue, 7);
  EXPECT_EQ(Parse(2, apsz + 1, &cmdo, 1), Result(CMD_PARSED));
  EXPECT_EQ(cmdo.value.lValue, 2);
  Table acmdo = {Entry(1, 1, 'm', 1, 2), Entry(1, 0, 0, 0, 2), Entry(1, 1, 'n', 1, 2),
                 Entry(0, 0, 0, 0, 2)};
  Texts astrPrefix = {"-m", "x", "-n"},
        astrMore = {"-m", "x", "-n", "y"}; // groups are compared after a free part
  EXPECT_EQ(Parse(acmdo, astrPrefix), Result(CMD_PARSED));
  EXPECT_EQ(Parse(acmdo, astrMore),
            Result(acmdo[2].ulHelpKey, "Second instance of mutually exclusive switches"));
}

TEST_F(CommandLine, ConvertsAsSscanfWithinTheWidthOfTheTypeHoweverMuchIsStored) {
  constexpr size_t acb[] = {2, 2, 0, 4, 4, 8, 0, 1, 0, 4}; // by type
  constexpr const char *apszConversion[] = {
      "%ld", "%lu", "%d",  "%u", "%hd", "%hu", "%hhd", "%i", "%lx",  "%3d",  "%lf", "%f",
      "%c",  "%1s", "%7s", "%s", "%*d", "x%d", "%d%d", "%n", "%lld", "%d%%", "d",   ""};
  std::mt19937 random(92);
  for (int i = 0; i < 100000; i++) {
    Texts astrArg(1, std::string(random() % (i % 2 ? 5 : 13), ' '));
    for (char &ch : astrArg[0]) ch = (i % 4 ? "0123456789--" : "01-+ .ex%79a")[random() % 12];
    const ULONG ulType = random() % 10;
    if (acb[ulType] == 0) continue;
    Table acmdo = {Entry(1, 0, 0, 0, ulType, apszConversion[random() % std::size(apszConversion)])};
    char achExpected[64] = {}, achSecond[64], achBefore[8], achAfter[8];
    std::memcpy(achBefore, &acmdo[0].value, 8);
    const bool fConverts =
        std::sscanf(astrArg[0].c_str(), acmdo[0].szConversion, achExpected, achSecond) == 1;
    ASSERT_EQ(Parse(acmdo, astrArg) == Result(0), fConverts)
        << acmdo[0].szConversion << " on " << astrArg[0];
    if (!fConverts) continue;
    std::memcpy(achBefore, achExpected, acb[ulType]);
    std::memcpy(achAfter, &acmdo[0].value, 8);
    EXPECT_EQ(std::memcmp(achAfter, achBefore, 8), 0)
        << acmdo[0].szConversion << " on " << astrArg[0];
  }
  for (const std::string strConversion : {"%s", "%ls", "%99c", "%[z]", "%ms", "%5ms", "%2$s"}) {
    Table acmdo = {Entry(1, 0, 0, 0, CMD_TYPE_CHARACTER, strConversion.c_str())};
    Texts astrArg = {std::string(100000, 'z')};
    const bool fConverts = strConversion.find_first_of("m$") == std::string::npos;
    EXPECT_EQ(Parse(acmdo, astrArg) == Result(0), fConverts) << strConversion;
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

TEST_F(CommandLine, PrintsUsageAndEntries) {
  Table acmdo = {Entry(1, 0, 0, 0, CMD_TYPE_STRING, "", "", "input file"),
                 Entry(0, 0, 0, 0, CMD_TYPE_DOUBLE)};
  for (const char ch : {'v', 'a', 'b', 'c', 'd'})
    acmdo.push_back(Entry(ch >= 'c' && ch <= 'd', 1, ch, ch == 'v' ? 0 : ch < 'c' ? 1 : 2, 0));
  acmdo.push_back(Entry(0, 1, 'o', 0, 0, "", "", "a name of exactly 29 charact."));
  acmdo.push_back(Entry(0, 0, 'o', 0, CMD_TYPE_SHORT, "", "", "count"));
  acmdo.push_back(Entry(1, 0, 'o', 0, 77));
  acmdo.push_back(Entry(0, 0, 'p', 0, 0)); // behind a switch of another character
  acmdo.push_back(Entry(0, 1, 0, 0, 0));   // a switch without a character
  acmdo.push_back(Entry(0, 0, 'z', 0, 0)); // so this stands apart from a switch
  for (const char ch : {'\0', 'y', 'z'}) acmdo.push_back(Entry(0, 0, ch, 0, 9)); // and so do these
  const std::string strClosing =
      "\nType \"-h\" for syntax, \"-h full\" for full help, or \"-h argid\" for topical help.\n";
  EXPECT_EQ(Printed([&](FILE *pf) {
              CmdDisplaySyntax(pf, acmdo.data(), acmdo.size(), "/usr/bin/tool.bin");
            }),
            "tool Arg1 [Arg2] [-v] [-a | -b] -c | -d [-o o1 o2 o3] [ z1] [Arg3] [ y1] \n"
            "    Arg1 - input file required argument (string)\n"
            "    Arg2 - name optional argument (floating point)\n"
            "    -v   - name optional switch\n    -a   - name optional switch\n    -b   - name "
            "optional switch\n"
            "    -c   - name required switch\n    -d   - name required switch\n"
            "    -o   - a name of exactly 29 charact. optional switch\n"
            "     o1  -   count optional switch argument (integer)\n"
            "     o2  -   name required switch argument (unknown)\n"
            "     p3  -   name optional switch argument (integer)\n"
            "    Arg3 - name optional argument (floating point)\n" +
                strClosing);
  const Table acmdoMany(1000, Entry(1, 0, 0, 0, CMD_TYPE_STRING));
  const std::string strMany =
      Printed([&](FILE *pf) { CmdDisplaySyntax(pf, acmdoMany.data(), 1000, "prog"); });
  EXPECT_NE(strMany.find("\n    Arg1000- name required argument (string)\n"), std::string::npos);
  EXPECT_EQ(Printed([](FILE *pf) { CmdDisplaySyntax(pf, nullptr, 0, nullptr); }),
            " \n" + strClosing);
}

TEST_F(CommandLine, PausesBetweenPagesOfHelp) {
  const std::string strPause =
      "\n      ----<press any key to continue>-----\r" + std::string(42, ' ') + "\r";
  const CMDHELP acmdhelp[] = {
      {201, "\none\n"}, {202, "\ntwo\n2\n"}, {203, "three\n"}, {204, nullptr}, {0, "never\n"}};
  const std::map<ULONG, std::string> pages = {
      {0, "\none\n\ntwo\n2\nthree\n"},
      {1, strPause + "one\n" + strPause + "two\n2\n" + strPause + "three\n" + strPause},
      {4, "\none\n" + strPause + "two\n2\n" + strPause + "three\n"},
      {6, "\none\n" + strPause + "two\n2\nthree\n"},
      {7, "\none\n\ntwo\n2\n" + strPause + "three\n"}};
  for (const auto &[ulLines, strPages] : pages) {
    TypeKeys(
        std::string("\0xyz", 4)); // the first key takes two characters; in the end the keys run out
    EXPECT_EQ(Printed([&, ul = ulLines](FILE *pf) {
                EXPECT_EQ(CmdDisplayFullHelp(pf, acmdhelp, ul), 0u);
              }),
              strPages);
    const auto cPauses = std::count(strPages.begin(), strPages.end(), '<');
    EXPECT_EQ(std::getchar(), cPauses == 0 ? '\0' : cPauses < 3 ? "xyz"[cPauses] : EOF) << ulLines;
  }
}

TEST_F(CommandLine, DumpsEveryFieldAndEndsTheProcess) {
  TypeKeys("k");
  const Texts astrLabel = Split(
      "\nCMDLINE STRUCTURE ~  Argument Name     ~  Mandatory Flag    ~  Argument Flag     ~  "
      "Switch ID         ~"
      "  Case Flag         ~  Exclusive Group   ~  Help Key          ~  Type Code         ~  "
      "Conversion String ~"
      "  Default Value     ~  Assigned Value    ");
  Table acmdo;
  std::string strExpected;
  const auto Add = [&](const CMDOPTION &cmdo, ULONG ulHelpKey, const std::string &strFields) {
    acmdo.push_back(cmdo);
    acmdo.back().ulHelpKey = ulHelpKey;
    const Texts astrField = Split(std::to_string(acmdo.size()) + strFields);
    for (size_t n = 0; n < astrLabel.size(); n++) strExpected += astrLabel[n] + astrField[n] + "\n";
  };
  // By type code: name, conversion, argument, and the value as it is shown. The array takes what is left.
  const Texts astr = Split(
      "SHORT~%hd~-5~-5~USHORT~%hu~65535~65535~BOOLEAN~~on~1~LONG~%ld~-2000000000~-2000000000~ULONG~"
      "%lu~4000000000~"
      "4000000000~DOUBLE~%lf~1.5~1.500000~STRING~~text~text~CHARACTER~%c~z~z~FLOAT~%f~-0.25~-0."
      "250000~"
      "STRINGARRAY~~e1~e1\n                    e2");
  Texts astrArg;
  for (size_t n = 0; n < astr.size(); n += 4) {
    astrArg.push_back(astr[n + 2]);
    Add(Entry(1, 0, 0, 0, n < 32 ? n / 4 : 17 - n / 4, astr[n + 1].c_str()), 205,
        "  CommandLine Argument~name~REQ'D~ARG~ ~NOCASE~0~HLP+5~" + astr[n] + "~\"" + astr[n + 1] +
            "\"~~" + astr[n + 3]);
  }
  astrArg.push_back("e2");
  ASSERT_EQ(Parse(acmdo, astrArg), Result(0));
  CMDOPTION cmdoGiven = Entry(0, 1, 'V', 4000000000, CMD_TYPE_STRING, "%s", "none");
  cmdoGiven.fCase = cmdoGiven.value.ulValue = 1;
  Add(cmdoGiven, 199,
      "  Switch ~name~CMD'L~FLAG~V~CASE~4000000000~HLP+4294967295~STRING~\"%s\"~none~1");
  Add(Entry(0, 0, 'V', 0, 10, "abcd"), HLP,
      "  Switch Argument~name~CMD'L~ARG~V~NOCASE~0~HLP+0~UNKNOWN~\"abcd\"~~Error! Unrecognized "
      "type");
  const auto Dump = [&](FILE *pf) {
    EXPECT_EXIT(CmdDisplayOptionStruct(pf, acmdo.data(), acmdo.size()), testing::ExitedWithCode(0),
                "");
  };
  EXPECT_EQ(Printed(Dump), strExpected);
  MemFreeMem_(acmdo[9].value.apszValue);
  EXPECT_EXIT(CmdDisplayOptionStruct(stdout, nullptr, 0), testing::ExitedWithCode(0), "");
}
} // namespace
