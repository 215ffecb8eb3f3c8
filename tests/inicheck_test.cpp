// inicheck_test.cpp: what is told of INI files that do not fit their description.

#include "described.h"

namespace {
using namespace std::string_literals;

class IniChecked : public IniTest {
 protected:
  static Ini OpenChecked(const std::string &str, ULONG ulMode) {
    Write(str);
    return Ini(IniOpenChecked("input", ulMode, nullptr));
  }

  // Reads what the plain reader reads too, and keeps what is told meanwhile.
  ULONG ReadChecked(const Ini &ini, const FDSC &fdsc) {
    Data data(fdsc), dataPlain(fdsc);
    texts_.clear();
    found_.clear();
    const ULONG ulResult = IniReadChecked(ini.get(), data.At(), &fdsc, Keep, this);
    if (ulResult != INI_REFUSED) IniRead(ini.get(), dataPlain.At(), &fdsc);
    EXPECT_EQ(data.Take(), dataPlain.Take()) << "nothing is stored when it is refused";
    return ulResult;
  }

  using FOUND = std::pair<std::string, ULONG>; // a key, and the class of what is wrong with it
  Texts texts_;
  std::vector<FOUND> found_;
  ULONG ulRefused_ = 0; // a class

 private:
  static ULONG Keep(const INIFINDING *pfinding, void *pvTest) {
    auto *ptest = static_cast<IniChecked *>(pvTest);
    EXPECT_EQ(pfinding->fMistake, pfinding->ulClass != INI_FINDING_MISSING) << pfinding->szText;
    ptest->texts_.emplace_back(pfinding->szText);
    ptest->found_.emplace_back(pfinding->pszKey ? pfinding->pszKey : "", pfinding->ulClass);
    return pfinding->ulClass == ptest->ulRefused_;
  }
};

TEST_F(IniChecked, TellsWhatAFileHasThatIsNotRead) {
  const FDSC fdscMem = Field("Mem", FT_PSZ);
  const SDSC sdscRoute = Describe({Field("Target", FT_PSZ), Field("Port", FT_USHORT)});
  const SDSC sdscServer = Describe(
      {Field("Port", FT_USHORT), Field("Load", FT_LONG, 3),
       Field("", FT_LONG, 1, nullptr, FDSC_NOINI), Field("Mems", FT_VALUELIST, 1, &fdscMem),
       Field("Route", FT_STRUCTLIST, 1, &sdscRoute), Field("Swap", FT_STRUCTPTR, 1, &sdscRoute)});
  const FDSC fdsc = Field("Server", sdscServer);
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
[ ServerSwap ]
Port = 2
; Port = 3
)";
  ulRefused_ = INI_FINDING_TWICE;

  EXPECT_EQ(ReadChecked(OpenChecked(strFile, INI_MODE_LENIENT), fdsc), 8u);
  EXPECT_EQ(texts_,
            Split("input: [Server] Port: not in the file~"
                  "input: [Server] Load2: not in the file~"
                  "input: [ServerRoute1] Port: not in the file~"
                  "input:10: [ServerRoute1]: not read, because its last field is missing~"
                  "input: [ServerSwap] Target: not in the file~"
                  "input:2: Port: unknown key~"
                  "input:4: [Server] Prot: unknown key, perhaps Port~"
                  "input:6: [Server] Load3: not read, because its number does not follow~"
                  "input:8: [Server] Mem3: not read, because its number does not follow~"
                  "input:9: [Server] meme1: unknown key, perhaps Mem1~"
                  "input:12: [ServerRoute2]: not read, because one before it or around it is not~"
                  "input:13: [ServerRuote3]: unknown section, perhaps ServerRoute3"))
      << "a line that looks like a comment is none";

  const Ini ini = OpenChecked(strFile + "[server]\n", INI_MODE_READ);
  EXPECT_EQ(ReadChecked(ini, fdsc), INI_REFUSED);
  EXPECT_EQ(texts_.back(),
            "input:17: [server]: a second one, which is not read; the first is in line 3");
  EXPECT_EQ(texts_.end()[-2], "input:16: [ServerSwap] ;Port: unknown key, perhaps Port");
  EXPECT_EQ(ReadChecked(OpenIni("input"), fdsc), INI_REFUSED);
  EXPECT_EQ(texts_.back(), "[server]: a second one, which is not read");
  Data data(fdsc);
  EXPECT_EQ(IniReadChecked(ini.get(), data.At(), &fdsc, nullptr, nullptr), 10u);
  EXPECT_EQ(IniReadChecked(nullptr, data.At(), &fdsc, nullptr, nullptr), INI_REFUSED);
}

// A field with texts that are good, wrong in a way, or beyond its range.
const EDSC edscColour = {3, {"Red", "Green", nullptr}, {1, 2, 3}};
const SDSC sdscParts = Describe({Field("a", FT_FIXEDSTRING, 2), Field("b", FT_FIXEDSTRING, 3)});
constexpr ULONG ulNumber = INI_FINDING_NUMBER, ulText = INI_FINDING_TEXT;
const struct {
  FDSC fdsc;
  const char *pszGood;
  ULONG ulClass;
  const char *pszBad, *pszBeyond;
} aSample[] = {
    {Field("", FT_BOOL16), "true~Truely~yes~NO~false ", INI_FINDING_TRUTH, "1~YES ~falsely", ""},
    {Field("", FT_BOOL32), "TRUE", INI_FINDING_TRUTH, "on~\"\"", ""},
    {Field("", FT_BYTE), "0~255~+7 ~-0", ulNumber, "0x1~1 2", "256~-1"},
    {Field("", FT_SHORT), "-32768~32767", ulNumber, "x~-", "-32769~32768"},
    {Field("", FT_USHORT), "65535~\"\t1\"", ulNumber, "1.5~\"\"", "65536"},
    {Field("", FT_LONG), "-2147483648", ulNumber, "", "2147483648~-99999999999999999999999"},
    {Field("", FT_ULONG), "4294967295", ulNumber, "", "4294967296~18446744073709551617~-1"},
    {Field("", FT_FLOAT), "1.5~-0.0~inf~1e38", ulNumber, "1,5", "1e39~-.1e-60"},
    {Field("", FT_DOUBLE), "1e308~0x1p4~nan", ulNumber, "e", "1e309~1e-400"},
    {Field("", FT_STRING, 4), "abc~\"\"", ulText, "abcd~\"abc \"", ""},
    {Field("", FT_PSZ), "anything", 0, "", ""},
    {Field("", FT_ENUM16, 1, &edscColour), "red~GREEN", INI_FINDING_NAME, "gren~red ", ""},
    {Field("", FT_ENUM32, 1, &edscColour), "Red", INI_FINDING_NAME, "1", ""},
    {Field("", FT_REALTIME), "2026-11-23T04:05:06.5Z", INI_FINDING_TIME, "2026-13-01~x", ""},
    {Field("", FT_REALTIME), "2026-11-23", INI_FINDING_TIME, "2026-11-23 04:05+01", ""},
    {Field("", FT_FIXEDSTRING, 3), "abc  ~a", ulText, "abcd~a\xC3\xA4", ""},
    {Field("", FT_DOTTED, 5, &sdscParts), "ab.cde~a~.b ", ulText, "abc.d~a.b.c~a.bcde", ""},
    {Field("", FT_VERBOSITY), "Error|area12", INI_FINDING_VERBOSITY, "Error,Info~Area13~Area", ""},
    {Field("", FT_VERBOSITY), "info Debug", INI_FINDING_VERBOSITY, "\"\"", ""},
    {Field("", FT_INTERVAL), "1d2h3m4s~90 ~1h 30m", INI_FINDING_INTERVAL, "2H~1 h~\"\"", "49711d"},
};

TEST_F(IniChecked, FindsTheMistakesThatWereMade) {
  for (int i = 0; i < 3000; i++) {
    SDSC sdsc = {};
    std::vector<FOUND> expected;
    std::string strFile = "[x]\n[Data]\n", astrName[20];
    for (std::string &strName : astrName) {
      const auto &[fdsc, pszGood, ulClass, pszBad, pszBeyond] = OneOf(aSample);
      const bool fBeyond = Random(2);
      const Texts good = Split(pszGood), bad = Split(fBeyond ? pszBeyond : pszBad);
      const ULONG ulMistake = Random(8);
      const bool fWrong = ulMistake == 0 && !bad.empty();
      strName = "Fields"s + static_cast<char>('a' + sdsc.ulFields);
      Add(sdsc, fdsc);
      sdsc.afdsc[sdsc.ulFields - 1].pszName = strName.c_str();
      if (ulMistake != INI_FINDING_MISSING)
        strFile += strName + " = " + OneOf(fWrong ? bad : good) + "\n";
      const std::string strSecond = strName + (ulMistake == INI_FINDING_UNKNOWN ? "x" : "");
      if (ulMistake == INI_FINDING_UNKNOWN || ulMistake == INI_FINDING_TWICE)
        strFile += strSecond + " = 1\n";
      if (ulMistake > 0 && ulMistake <= INI_FINDING_TWICE)
        expected.emplace_back(strSecond, ulMistake);
      if (fWrong) expected.emplace_back(strName, fBeyond ? INI_FINDING_RANGE : ulClass);
    }
    const auto IsMistake = [](const FOUND &found) { return found.second != INI_FINDING_MISSING; };
    const auto cMistakes = std::count_if(expected.begin(), expected.end(), IsMistake);

    const ULONG ulResult = ReadChecked(OpenChecked(strFile, INI_MODE_READ), Field("Data", sdsc));

    std::sort(expected.begin(), expected.end());
    std::sort(found_.begin(), found_.end());
    ASSERT_EQ(found_, expected) << strFile;
    ASSERT_EQ(ulResult, static_cast<ULONG>(cMistakes));
  }
}
} // namespace
