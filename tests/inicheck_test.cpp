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
Port = 1
[ Sevrer ]
[ ServerSwap ]
Port = 2
; Port = 3
)";
  ulRefused_ = INI_FINDING_TWICE;

  EXPECT_EQ(ReadChecked(OpenChecked(strFile, INI_MODE_LENIENT), fdsc), 9u);
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
                  "input:13: [ServerRuote3]: unknown section, perhaps ServerRoute3~"
                  "input:15: [Sevrer]: unknown section, perhaps Server"))
      << "a line that looks like a comment is none";

  const Ini ini = OpenChecked(strFile + "[server]\n", INI_MODE_READ);
  EXPECT_EQ(ReadChecked(ini, fdsc), INI_REFUSED);
  EXPECT_EQ(texts_.back(),
            "input:19: [server]: a second one, which is not read; the first is in line 3");
  EXPECT_EQ(texts_[texts_.size() - 2], "input:18: [ServerSwap] ;Port: unknown key, perhaps Port");
  EXPECT_EQ(ReadChecked(OpenIni("input"), fdsc), INI_REFUSED);
  EXPECT_EQ(texts_.back(), "[server]: a second one, which is not read");
  Data data(fdsc);
  EXPECT_EQ(IniReadChecked(ini.get(), data.At(), &fdsc, nullptr, nullptr), 11u);
  EXPECT_EQ(IniReadChecked(nullptr, data.At(), &fdsc, nullptr, nullptr), INI_REFUSED);
}

// A field with texts that are good, wrong in a way, or beyond its range.
const EDSC edscColour = {3, {"Red", "Green", nullptr}, {1, 2, 3}};
const SDSC sdscParts = Describe({Field("a", FT_FIXEDSTRING, 2), Field("b", FT_FIXEDSTRING, 3)});
const struct {
  FDSC fdsc;
  const char *pszGood;
  ULONG ulClass;
  const char *pszBad, *pszBeyond;
} aSample[] = {
    {Field("", FT_BOOL16), "true~Truely~yes~NO~false ", INI_FINDING_TRUTH, "1~YES ~falsely~\"\"",
     ""},
    {Field("", FT_BOOL32), "TRUE", INI_FINDING_TRUTH, "on", ""},
    {Field("", FT_BYTE), "0~255~+7 ~-0", INI_FINDING_NUMBER, "0x1~1 2", "256~-1"},
    {Field("", FT_SHORT), "-32768~32767", INI_FINDING_NUMBER, "x~-", "-32769~32768"},
    {Field("", FT_USHORT), "65535~\"\t1\"", INI_FINDING_NUMBER, "1.5~\"\"", "65536"},
    {Field("", FT_LONG), "-2147483648", INI_FINDING_NUMBER, "",
     "2147483648~-99999999999999999999999"},
    {Field("", FT_ULONG), "4294967295", INI_FINDING_NUMBER, "",
     "4294967296~18446744073709551617~-1"},
    {Field("", FT_FLOAT), "1.5~-0.0~inf~1e38", INI_FINDING_NUMBER, "1,5", "1e39~-.1e-60"},
    {Field("", FT_DOUBLE), "1e308~0x1p4~nan", INI_FINDING_NUMBER, "e", "1e309~1e-400"},
    {Field("", FT_STRING, 4), "abc~\"\"", INI_FINDING_TEXT, "abcd~\"abc \"", ""},
    {Field("", FT_PSZ), "anything", 0, "", ""},
    {Field("", FT_ENUM16, 1, &edscColour), "red~GREEN", INI_FINDING_NAME, "gren~red ", ""},
    {Field("", FT_ENUM32, 1, &edscColour), "Red", INI_FINDING_NAME, "1", ""},
    {Field("", FT_REALTIME), "2026-11-23~2026-11-23T04:05:06.5Z", INI_FINDING_TIME,
     "2026-13-01~2026-11-23 04:05+01~x", ""},
    {Field("", FT_FIXEDSTRING, 3), "abc  ~a", INI_FINDING_TEXT, "abcd~a\xC3\xA4", ""},
    {Field("", FT_DOTTED, 5, &sdscParts), "ab.cde~a~.b ", INI_FINDING_TEXT, "abc.d~a.b.c~a.bcde",
     ""},
    {Field("", FT_VERBOSITY), "Error|area12~info Debug", INI_FINDING_VERBOSITY,
     "Error,Info~Area13~Area~\"\"", ""},
    {Field("", FT_INTERVAL), "1d2h3m4s~90 ~1h 30m", INI_FINDING_INTERVAL, "2H~1 h~\"\"", "49711d"},
};

TEST_F(IniChecked, FindsTheMistakesThatWereMade) {
  for (int i = 0; i < 3000; i++) {
    SDSC sdsc = {};
    std::vector<FOUND> expected;
    std::string strFile = "[x]\n[Data]\n", astrName[20];
    for (std::string &strName : astrName) {
      const auto &[fdscSample, pszGood, ulClass, pszBad, pszBeyond] = OneOf(aSample);
      const ULONG ulMistake = Random(8), ulWrong = Random(2) ? ulClass : INI_FINDING_RANGE;
      const Texts good = Split(pszGood), bad = Split(ulWrong == ulClass ? pszBad : pszBeyond);
      const bool fMissing = ulMistake == INI_FINDING_MISSING,
                 fWrong = ulMistake == 0 && !bad.empty();
      strName = "Fields"s + static_cast<char>('a' + sdsc.ulFields);
      Add(sdsc, fdscSample);
      sdsc.afdsc[sdsc.ulFields - 1].pszName = strName.c_str();
      if (!fMissing) strFile += strName + " = " + (fWrong ? OneOf(bad) : OneOf(good)) + "\n";
      if (fMissing) expected.emplace_back(strName, ulMistake);
      if (fWrong) expected.emplace_back(strName, ulWrong);
      if (ulMistake != INI_FINDING_TWICE && ulMistake != INI_FINDING_UNKNOWN) continue;
      const std::string strSecond = strName + (ulMistake == INI_FINDING_TWICE ? "" : "x");
      strFile += strSecond + " = 1\n";
      expected.emplace_back(strSecond, ulMistake);
    }
    const auto IsMistake = [](const FOUND &found) { return found.second != INI_FINDING_MISSING; };
    const auto ulMistakes = std::count_if(expected.begin(), expected.end(), IsMistake);

    const ULONG ulResult = ReadChecked(OpenChecked(strFile, INI_MODE_READ), Field("Data", sdsc));

    std::sort(expected.begin(), expected.end());
    std::sort(found_.begin(), found_.end());
    ASSERT_EQ(found_, expected) << strFile;
    ASSERT_EQ(ulResult, static_cast<ULONG>(ulMistakes));
  }
}
} // namespace
