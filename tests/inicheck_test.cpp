// inicheck_test.cpp: what is told of INI files that do not fit their description.

#include "described.h"

namespace {
using namespace std::string_literals;

class IniChecked : public IniTest {
 protected:
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
    {Field("a", FT_BOOL16), "true~Truely~yes~NO~false ", INI_FINDING_TRUTH, "1~YES ~falsely", ""},
    {Field("b", FT_BOOL32), "TRUE", INI_FINDING_TRUTH, "on~\"\"", ""},
    {Field("c", FT_BYTE), "0~255~+7 ~-0", ulNumber, "0x1~1 2", "256~-1"},
    {Field("d", FT_SHORT), "-32768~32767", ulNumber, "x~-", "-32769~32768"},
    {Field("e", FT_USHORT), "65535~\"\t1\"", ulNumber, "1.5~\"\"", "65536"},
    {Field("f", FT_LONG), "-2147483648", ulNumber, "", "2147483648~-99999999999999999999999"},
    {Field("g", FT_ULONG), "4294967295", ulNumber, "", "4294967296~18446744073709551617~-1"},
    {Field("h", FT_FLOAT), "1.5~-0.0~inf~1e38", ulNumber, "1,5", "1e39~-.1e-60"},
    {Field("i", FT_DOUBLE), "1e308~0x1p4~nan", ulNumber, "e", "1e309~1e-400"},
    {Field("j", FT_STRING, 4), "abc~\"\"", ulText, "abcd~\"abc \"", ""},
    {Field("k", FT_PSZ), "anything", 0, "", ""},
    {Field("l", FT_ENUM16, 1, &edscColour), "red~GREEN", INI_FINDING_NAME, "gren~red ", ""},
    {Field("m", FT_ENUM32, 1, &edscColour), "Red", INI_FINDING_NAME, "1", ""},
    {Field("n", FT_REALTIME), "2026-11-23T04:05:06.5Z", INI_FINDING_TIME, "2026-13-01~x", ""},
    {Field("o", FT_REALTIME), "2026-11-23", INI_FINDING_TIME, "2026-11-23 04:05+01", ""},
    {Field("p", FT_FIXEDSTRING, 3), "abc  ~a", ulText, "abcd~a\xC3\xA4", ""},
    {Field("q", FT_DOTTED, 5, &sdscParts), "ab.cde~a~.b ", ulText, "abc.d~a.b.c~a.bcde", ""},
    {Field("r", FT_VERBOSITY), "Error|area12", INI_FINDING_VERBOSITY, "Error,Info~Area13~Area", ""},
    {Field("s", FT_VERBOSITY), "info Debug", INI_FINDING_VERBOSITY, "\"\"", ""},
    {Field("t", FT_INTERVAL), "1d2h3m4s~90 ~1h 30m", INI_FINDING_INTERVAL, "2H~1 h~\"\"", "49711d"},
};

TEST_F(IniChecked, FindsTheMistakesThatWereMade) {
  SDSC sdsc = {};
  for (const auto &sample : aSample) Add(sdsc, sample.fdsc);
  for (int i = 0; i < 3000; i++) {
    std::vector<FOUND> expected;
    std::string strFile = "[x]\n[Data]\n";
    ULONG ulMissing = 0;
    for (const auto &[fdsc, pszGood, ulClass, pszBad, pszBeyond] : aSample) {
      const bool fBeyond = Random(2);
      const Texts good = Split(pszGood), bad = Split(fBeyond ? pszBeyond : pszBad);
      const ULONG ulMistake = Random(8);
      const bool fWrong = ulMistake == 0 && !bad.empty(),
                 fMissing = ulMistake == INI_FINDING_MISSING;
      std::string strName = fdsc.pszName;
      if (!fMissing) strFile += strName + " = " + OneOf(fWrong ? bad : good) + "\n";
      if (fWrong) expected.emplace_back(strName, fBeyond ? INI_FINDING_RANGE : ulClass);
      if (ulMistake == 0 || ulMistake > INI_FINDING_TWICE) continue;
      if (ulMistake == INI_FINDING_UNKNOWN) strName += "x";
      if (!fMissing) strFile += strName + " = 1\n";
      expected.emplace_back(strName, ulMistake);
      ulMissing += fMissing;
    }

    const ULONG ulResult = ReadChecked(OpenChecked(strFile, INI_MODE_READ), Field("Data", sdsc));

    std::sort(expected.begin(), expected.end());
    std::sort(found_.begin(), found_.end());
    ASSERT_EQ(found_, expected) << strFile;
    ASSERT_EQ(ulResult, expected.size() - ulMissing);
  }
}
} // namespace
