// inicheck_test.cpp: what is told of INI files that are wrong, and of files as people write them.

#include <optional>
#include <tuple>

#include "described.h"
#include "input.h"
#include "zebbase/ini.h"

namespace {
using Ini = std::unique_ptr<INIFILE, decltype([](INIFILE *pini) { IniClose(pini); })>;

class IniChecked : public FileTest {
 protected:
  static std::string Entries(const Ini &ini) { // "[title]name=value;"
    std::string str;
    for (ULONG ul = 0; ini && ul < ini->ulEntries; ul++) {
      const INIENTRY &entry = ini->aentry[ul];
      str += (entry.flTitle ? "[" : "") + std::string(entry.pszName) +
             (entry.flTitle ? "]" : "=" + std::string(entry.pszValue) + ";");
    }
    return ini ? str : "refused";
  }
  Ini Open(const std::string &str, ULONG ulMode) {
    Write(str);
    return Ini(IniOpenChecked("input", ulMode, &err_));
  }
  INIERROR err_ = {};
};

TEST_F(IniChecked, TellsWhyAFileIsRefused) {
  const std::string strLong(INI_MAX_TEXT + 1, 'c');
  const struct {
    std::string strFile;
    ULONG ulCode, ulLine;
    const char *pszText;
  } aBad[] = {
      {"", INI_ERROR_HEADER, 0, "input: the file is empty"},
      {"\n\nA = 1\n", INI_ERROR_HEADER, 3, "input:3: no header such as [ settings.ini ]"},
      {"[ my_file.ini ]\n", INI_ERROR_HEADER, 1, "input:1: a header cannot hold '_'"},
      {"[ my file ]\n", INI_ERROR_HEADER, 1, "input:1: a header is one word and a ']'"},
      {"[" + strLong + "]", INI_ERROR_LENGTH, 1, "input:1: a header of more than 127 characters"},
      {"\xEF\xBB\xBF[ x ]\n", INI_ERROR_MARK, 1, "input:1: a byte-order mark before the header"},
      {"\xFF\xFE[\0 x ]\n", INI_ERROR_MARK, 1,
       "input:1: a byte-order mark of UTF-16, which cannot be read"},
      {"[x]\nPort=80\nB = 2 3\n\n4\nC D = 1\n", INI_ERROR_KEY, 5, "input:5: no '=' behind '4'"},
      {"[x]\nA = 1\n\nPort=80\n[T]\n", INI_ERROR_KEY, 4, "input:4: '=' needs a blank before it"},
      {"[x]\nPort 2=80\n", INI_ERROR_KEY, 2, "input:2: '=' needs a blank before it"},
      {"[x]\nFlag\n\nPort=80\n", INI_ERROR_KEY, 2, "input:2: no '=' behind 'Flag'"},
      {"[x]\n\nmy_key = 80\n", INI_ERROR_KEY, 3, "input:3: a name cannot hold '_'"},
      {"[x]\n# text\n", INI_ERROR_KEY, 2, "input:2: '#' begins no comment"},
      {"[x]\n; a text\n", INI_ERROR_KEY, 2, "input:2: ';' begins no comment"},
      {"[x]\n] = 1\n", INI_ERROR_KEY, 2, "input:2: no key begins with ']'"},
      {"[x]\n\tb\x01\n\n", INI_ERROR_KEY, 2, "input:2: no '=' behind 'b?'"},
      {"[x]\n[ Server\nA = 1\n", INI_ERROR_TITLE, 2, "input:2: the title is not closed by a ']'"},
      {"[x]\n[ Server\n" + strLong, INI_ERROR_TITLE, 2,
       "input:2: the title is not closed by a ']'"},
      {"[x]\n[ a - b ]\n", INI_ERROR_TITLE, 2, "input:2: a title cannot hold '-'"},
      {"[x]\n[ 1 " + strLong, INI_ERROR_LENGTH, 2, "input:2: a title of more than 127 characters"},
      {"[x]\n" + strLong, INI_ERROR_LENGTH, 2, "input:2: a name of more than 127 characters"},
      {"[x]\nA = " + strLong, INI_ERROR_LENGTH, 2,
       "input:2: a value of more than 127 characters, or without an end"},
      {"[x]\nA = \"b\"\n\n\"c\nB = 1\n", INI_ERROR_QUOTE, 4,
       "input:4: a quoted text is not closed"},
  };
  for (const auto &bad : aBad) {
    EXPECT_FALSE(Open(bad.strFile, INI_MODE_READ)) << bad.strFile;
    EXPECT_EQ(err_.szText, std::string(bad.pszText)) << bad.strFile;
    EXPECT_TRUE(err_.ulCode == bad.ulCode && err_.ulLine == bad.ulLine)
        << err_.ulCode << " in " << err_.ulLine;
  }
}

TEST_F(IniChecked, TellsTheReasonOfTheSystem) {
  const auto Text = [this](const char *pszFile, ULONG ulMode) {
    EXPECT_FALSE(IniOpenChecked(pszFile, ulMode, &err_) || IniOpenChecked(pszFile, ulMode, nullptr))
        << pszFile;
    return std::to_string(err_.ulCode) + " " + std::to_string(err_.ulLine) + " " + err_.szText;
  };
  const std::string strLong(600, 'x');
  for (const ULONG ulMode : {INI_MODE_READ + 0UL, INI_MODE_LENIENT + 0UL}) {
    EXPECT_EQ(Text("missing", ulMode), "1 0 missing: No such file or directory");
    EXPECT_EQ(Text(".", ulMode), "1 0 .: Is a directory");
    EXPECT_EQ(Text(strLong.c_str(), ulMode),
              "1 0 ..." + strLong.substr(0, 252) + ": File name too long");
    EXPECT_EQ(Text(nullptr, ulMode), "3 0 (null): no file name");
    EXPECT_FALSE((FailRead(), Open("[x]\nA = 1\nB", ulMode)));
    EXPECT_STREQ(err_.szText, "input: Input/output error") << "and not what is missing behind it";
  }
  EXPECT_EQ(Text("missing/file", 0), "1 0 missing/file: No such file or directory");
  EXPECT_EQ(Text(strLong.c_str(), 0),
            "3 0 ..." + strLong.substr(0, 252) + ": the name is too long");
  EXPECT_TRUE(Open("[x]\nA = 1", 0) && err_.ulCode == 0 && !*err_.szText);
  EXPECT_EQ(Contents("input"), "[ input ]\n") << "opened for writing";
  MemSetLimits(0xFFFFFFFF, 0xFFFFFFFF, 1);
  std::string strMany = "[x]\n";
  for (ULONG ul = 0; ul < INI_MAX_ENTRIES; ul++) strMany += "k = 1\n";
  EXPECT_TRUE(Open(strMany, INI_MODE_READ));
  EXPECT_FALSE(Open(strMany + "\nk=1\n[\n", INI_MODE_LENIENT));
  EXPECT_TRUE(err_.ulCode == INI_ERROR_ENTRIES && err_.ulLine == INI_MAX_ENTRIES + 3)
      << err_.szText;
}

TEST_F(IniChecked, TakesFilesAsPeopleWriteThem) {
  const char *const aapszFile[][2] = {
      {"", ""},
      {" \n\t\n# only a comment", ""},
      {"A=1\nB = 2\n", "A=1;B=2;"},
      {"\xEF\xBB\xBF; text\n[ my-file_1.ini ] ignored\nA=1", "A=1;"},
      {"[ a b ]\nA=1\n[c]\n", "[ab]A=1;[c]"},
      {"A=\nB= 2 ; 3\nC =x y\nD = \n z\n", "A=;B=2 ; 3;C=x y;D=z;"},
      {"a-b_c.d=1\nE 1=\"f \n g\" \"h\" # text\n  ; [ text ]\n[ a-b_c.d ] ; text\nA==\n",
       "a-b_c.d=1;E1=f gh;[a-b_c.d]A==;"},
      {"[x]\n#\nA = 1\n; B = 2\n", "A=1;"},
      {"[x]\nA=1\nB = 2\n;C = 1\n", "A=1B=2;;C=1;"}, // which the format takes
  };
  for (const auto &[pszFile, pszEntries] : aapszFile) {
    EXPECT_EQ(Entries(Open(pszFile, INI_MODE_LENIENT)), pszEntries) << pszFile << "\n"
                                                                    << err_.szText;
    EXPECT_EQ(err_.ulCode, 0u) << err_.szText;
  }
  for (const char *pszFile : {"A\n", "=1", "A b c=1", "[x]\n#\n[a", "A=\"b", "A!=1", "[a b"})
    EXPECT_FALSE(Open(pszFile, INI_MODE_LENIENT) || err_.ulCode == 0 || err_.ulLine == 0)
        << pszFile;
}

TEST_F(IniChecked, TakesWhatThePlainReaderTakes) {
  int cTaken = 0;
  for (int i = 0; i < 20000; i++) {
    std::string str = "[x]\n";
    for (ULONG ul = Random(4); ul > 0; ul--)
      str += Some({"a", "b=1", "#", ";", "\n", " ", "-"}, 3) +
             Some({" = 1\n", " =\n", " = \"c\n\" ", "[t]", "[t\n u]\n"}, 2);
    const Ini iniPlain = (Write(str), Ini(IniOpen("input", INI_MODE_READ)));
    const std::string strEntries = Entries(iniPlain);
    ASSERT_EQ(Entries(Open(str, INI_MODE_READ)), strEntries) << str;
    ASSERT_EQ(err_.ulCode == 0, iniPlain != nullptr) << str << err_.szText;
    const Ini iniLenient = Open(str, INI_MODE_LENIENT);
    ASSERT_EQ(err_.ulCode == 0, iniLenient != nullptr) << str << err_.szText;
    ASSERT_TRUE(!iniPlain || Entries(iniLenient) == strEntries) << str;
    cTaken += iniPlain != nullptr;
  }
  EXPECT_TRUE(cTaken > 5000 && cTaken < 15000) << cTaken;
}

TEST_F(IniChecked, OpensWithoutMemoryForNone) {
  if (!FailMalloc::Works()) GTEST_SKIP() << "malloc is not the test's own";
  const Reports reports;
  Write("[x]\n# text\nA=1\n[T]\nB=2\n");
  ULONG ulFailed = 0;
  for (unsigned u = 1; u < 30; u++) {
    std::optional<FailMalloc> fail(u);
    const Ini ini(IniOpenChecked("input", INI_MODE_LENIENT, &err_));
    fail.reset();
    ASSERT_EQ(ini ? 0u : INI_ERROR_MEMORY, err_.ulCode) << err_.szText;
    ASSERT_EQ(Entries(ini), ini ? "A=1;[T]B=2;" : "refused");
    ulFailed += !ini;
  }
  EXPECT_TRUE(ulFailed > 5 && ulFailed < 20) << ulFailed;
}

// --- Findings ---

ULONG Collect(const INIFINDING *pfinding, void *pvTexts) {
  static_cast<std::vector<std::string> *>(pvTexts)->push_back(pfinding->szText);
  EXPECT_EQ(pfinding->fMistake, pfinding->ulClass != INI_FINDING_MISSING) << pfinding->szText;
  return pfinding->ulClass == INI_FINDING_TWICE; // the one that is refused
}

TEST_F(IniChecked, TellsWhatAFileHasThatIsNotRead) {
  const FDSC fdscMem = Field("Mem", FT_PSZ);
  const SDSC sdscRoute = Describe({Field("Target", FT_PSZ), Field("Port", FT_USHORT)});
  const SDSC sdscServer = Describe(
      {Field("Port", FT_USHORT), Field("Load", FT_LONG, 3),
       Field("", FT_LONG, 1, nullptr, FDSC_NOINI), Field("Mems", FT_VALUELIST, 1, &fdscMem),
       Field("Route", FT_STRUCTLIST, 1, &sdscRoute), Field("Swap", FT_STRUCTPTR, 1, &sdscRoute)});
  const FDSC fdsc = Field("Server", FT_STRUCT, 1, &sdscServer);
  const std::string strFile = R"([x]
Port = 1
[ Server ]
Prot = 80
Load 1 = 1
Load 3 = 3
Mem 1 = a
Mem 3 = c
meme 1 = d
[ Server Route 1 ]
Target = a
[ Server Route 2 ]
[ Server Ruote 3 ]
Port = 1
[ Sevrer ]
[ ServerSwap ]
Port = 2
; Port = 3
)";
  const std::vector<std::string> astrExpected = {
      "input: [Server] Port: not in the file",
      "input: [Server] Load2: not in the file",
      "input: [ServerRoute1] Port: not in the file",
      "input:10: [ServerRoute1]: not read, because its last field is missing",
      "input: [ServerSwap] Target: not in the file",
      "input:2: Port: unknown key",
      "input:4: [Server] Prot: unknown key, perhaps Port",
      "input:6: [Server] Load3: not read, because its number does not follow",
      "input:8: [Server] Mem3: not read, because its number does not follow",
      "input:9: [Server] meme1: unknown key, perhaps Mem1",
      "input:12: [ServerRoute2]: not read, because one before it or around it is not",
      "input:13: [ServerRuote3]: unknown section, perhaps ServerRoute3",
      "input:15: [Sevrer]: unknown section, perhaps Server",
  };
  std::vector<BYTE> ab(Extent(fdsc)), abPlain = ab;
  std::vector<std::string> astr;

  EXPECT_EQ(IniReadChecked(Open(strFile, INI_MODE_LENIENT).get(), ab.data(), &fdsc, Collect, &astr),
            9u);
  IniRead(Open(strFile, INI_MODE_LENIENT).get(), abPlain.data(), &fdsc);
  EXPECT_EQ(astr, astrExpected) << "a line that looks like a comment is none";
  EXPECT_EQ(TakeApart(fdsc, ab.data()), TakeApart(fdsc, abPlain.data()));

  const Ini ini = Open(strFile + "[server]\n", INI_MODE_READ);
  std::fill(ab.begin(), ab.end(), 0);
  abPlain = ab, astr.clear();
  EXPECT_EQ(IniReadChecked(ini.get(), ab.data(), &fdsc, Collect, &astr), INI_REFUSED);
  EXPECT_EQ(astr.back(),
            "input:19: [server]: a second one, which is not read; the first is in line 3");
  EXPECT_EQ(astr[astr.size() - 2], "input:18: [ServerSwap] ;Port: unknown key, perhaps Port");
  EXPECT_EQ(ab, abPlain) << "nothing is stored";
  EXPECT_EQ(IniReadChecked(ini.get(), ab.data(), &fdsc, nullptr, nullptr), 11u);
  IniFreeData(ab.data(), &fdsc);
  const Ini iniPlain(IniOpen("input", INI_MODE_READ));
  astr.clear();
  EXPECT_EQ(IniReadChecked(iniPlain.get(), ab.data(), &fdsc, Collect, &astr), INI_REFUSED);
  EXPECT_EQ(astr.back(), "[server]: a second one, which is not read");
  EXPECT_EQ(IniReadChecked(nullptr, ab.data(), &fdsc, Collect, &astr), INI_REFUSED);
}

// A field of a type, whose values are good, or wrong in a way.
struct SAMPLE {
  FDSC fdsc;
  std::vector<const char *> apszGood;
  std::vector<std::pair<const char *, ULONG>> abad;
};
const EDSC edscColour = {3, {"Red", "Green", nullptr}, {1, 2, 3}};
const SDSC sdscParts = Describe({Field("a", FT_FIXEDSTRING, 2), Field("b", FT_FIXEDSTRING, 3)});
constexpr ULONG ulNum = INI_FINDING_NUMBER, ulRange = INI_FINDING_RANGE, ulText = INI_FINDING_TEXT;
const SAMPLE aSample[] = {
    {Field("", FT_BOOL16),
     {"true", "Truely", "yes", "NO", "false "},
     {{"1", 9}, {"YES ", 9}, {"falsely", 9}, {"\"\"", 9}}},
    {Field("", FT_BOOL32), {"TRUE"}, {{"on", 9}}},
    {Field("", FT_BYTE),
     {"0", "255", "+7 ", "-0"},
     {{"256", ulRange}, {"-1", ulRange}, {"0x1", ulNum}, {"1 2", ulNum}}},
    {Field("", FT_SHORT),
     {"-32768", "32767"},
     {{"-32769", ulRange}, {"32768", ulRange}, {"x", ulNum}, {"-", ulNum}}},
    {Field("", FT_USHORT),
     {"65535", "\"\t1\""},
     {{"65536", ulRange}, {"1.5", ulNum}, {"\"\"", ulNum}}},
    {Field("", FT_LONG),
     {"-2147483648"},
     {{"2147483648", ulRange}, {"-99999999999999999999999", ulRange}}},
    {Field("", FT_ULONG),
     {"4294967295"},
     {{"4294967296", ulRange}, {"18446744073709551617", ulRange}, {"-1", ulRange}}},
    {Field("", FT_FLOAT),
     {"1.5", "-0.0", "inf", "1e38"},
     {{"1e39", ulRange}, {"-.1e-60", ulRange}, {"1,5", ulNum}}},
    {Field("", FT_DOUBLE),
     {"1e308", "0x1p4", "nan"},
     {{"1e309", ulRange}, {"1e-400", ulRange}, {"e", ulNum}}},
    {Field("", FT_STRING, 4), {"abc", "\"\""}, {{"abcd", ulText}, {"\"abc \"", ulText}}},
    {Field("", FT_PSZ), {"anything"}, {}},
    {Field("", FT_ENUM16, 1, &edscColour),
     {"red", "GREEN"},
     {{"gren", INI_FINDING_NAME}, {"red ", INI_FINDING_NAME}}},
    {Field("", FT_ENUM32, 1, &edscColour), {"Red"}, {{"1", INI_FINDING_NAME}}},
    {Field("", FT_REALTIME),
     {"2026-11-23", "2026-11-23T04:05:06.5Z"},
     {{"2026-13-01", 12}, {"2026-11-23 04:05+01", 12}, {"x", 12}}},
    {Field("", FT_FIXEDSTRING, 3), {"abc  ", "a"}, {{"abcd", ulText}, {"a\xC3\xA4", ulText}}},
    {Field("", FT_DOTTED, 5, &sdscParts),
     {"ab.cde", "a", ".b "},
     {{"abc.d", ulText}, {"a.b.c", ulText}, {"a.bcde", ulText}}},
    {Field("", FT_VERBOSITY),
     {"Error|area12", "info Debug"},
     {{"Error,Info", 8}, {"Area13", 8}, {"Area", 8}, {"\"\"", 8}}},
    {Field("", FT_INTERVAL),
     {"1d2h3m4s", "90 ", "1h 30m"},
     {{"2H", 11}, {"1 h", 11}, {"\"\"", 11}, {"49711d", ulRange}}},
};

struct FOUND {
  std::string strKey;
  ULONG ulClass;
  bool operator==(const FOUND &) const = default;
  bool operator<(const FOUND &other) const {
    return std::tie(strKey, ulClass) < std::tie(other.strKey, other.ulClass);
  }
};
ULONG Note(const INIFINDING *pfinding, void *pvFound) {
  static_cast<std::vector<FOUND> *>(pvFound)->push_back(
      {pfinding->pszKey ? pfinding->pszKey : "", pfinding->ulClass});
  return 0;
}

TEST_F(IniChecked, FindsTheMistakesThatWereMade) {
  for (int i = 0; i < 3000; i++) {
    SDSC sdsc = {};
    std::vector<FOUND> aExpected, aFound;
    std::string strFile = "[x]\n[Data]\n", astrName[20];
    for (ULONG ul = 0; ul < 20; ul++) {
      const SAMPLE &sample = aSample[Random(std::size(aSample))];
      const std::string strName = astrName[ul] =
          std::string("Fields") + static_cast<char>('a' + ul);
      const ULONG ulMistake = Random(8);
      Add(sdsc, sample.fdsc);
      sdsc.afdsc[ul].pszName = astrName[ul].c_str();
      if (ulMistake == 0) {
        aExpected.push_back({strName, INI_FINDING_MISSING});
        continue;
      }
      const auto bad =
          sample.abad.empty() ? std::pair("x", 0UL) : sample.abad[Random(sample.abad.size())];
      if (ulMistake == 1 && bad.second) aExpected.push_back({strName, bad.second});
      strFile += strName + " = " +
                 (ulMistake == 1 ? bad.first : sample.apszGood[Random(sample.apszGood.size())]) +
                 "\n";
      if (ulMistake == 2)
        aExpected.push_back({strName, INI_FINDING_TWICE}), strFile += strName + " = 1\n";
      if (ulMistake == 3)
        aExpected.push_back({strName + "x", INI_FINDING_UNKNOWN}), strFile += strName + "x = 1\n";
    }
    const FDSC fdsc = Field("Data", FT_STRUCT, 1, &sdsc);
    std::vector<BYTE> ab(sdsc.ulSize), abPlain = ab;
    const Ini ini = Open(strFile, INI_MODE_READ);

    const ULONG ulResult = IniReadChecked(ini.get(), ab.data(), &fdsc, Note, &aFound);

    std::sort(aExpected.begin(), aExpected.end()), std::sort(aFound.begin(), aFound.end());
    ASSERT_EQ(aFound, aExpected) << strFile;
    const auto IsMistake = [](const FOUND &found) { return found.ulClass != INI_FINDING_MISSING; };
    ASSERT_EQ(ulResult, static_cast<ULONG>(std::count_if(aFound.begin(), aFound.end(), IsMistake)));
    IniRead(ini.get(), abPlain.data(), &fdsc);
    ASSERT_EQ(TakeApart(fdsc, ab.data()), TakeApart(fdsc, abPlain.data())) << strFile;
  }
}
} // namespace
