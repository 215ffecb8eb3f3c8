// ini_test.cpp: INI files: their format, what is read out of them, limits, damage and lack of memory.

#include "zebbase/ini.h"

#include <strings.h>

#include <deque>
#include <optional>

#include "described.h"
#include "input.h"

namespace {
using Ini = std::unique_ptr<INIFILE, decltype([](INIFILE *pini) { IniClose(pini); })>;

// Reading in plain steps. The position after an entry, or 0.
ULONG Find(const INIFILE *pini, ULONG flTitle, const std::string &strName, ULONG ul) {
  for (; ul < pini->ulEntries && (flTitle || !pini->aentry[ul].flTitle); ul++)
    if (pini->aentry[ul].flTitle == flTitle &&
        !strcasecmp(pini->aentry[ul].pszName, strName.c_str()))
      return ul + 1;
  return 0;
}
ULONG Read(const INIFILE *pini, const FDSC &fdsc, void *pv, const std::string &strSection,
           ULONG ulStart, ULONG ulNumber);
ULONG ReadStruct(const INIFILE *pini, const SDSC &sdsc, void *pv, const std::string &strName) {
  const ULONG ulStart = Find(pini, 1, strName, 0);
  ULONG ulResult = !ulStart;
  for (ULONG ul = 0; ulStart && ul < 2 * sdsc.ulFields; ul++) { // the keys, then the sections
    const FDSC &fdsc = sdsc.afdsc[ul % sdsc.ulFields];
    auto *pb = static_cast<BYTE *>(pv);
    for (const FDSC *pfdsc = sdsc.afdsc; pfdsc != &fdsc; pfdsc++) pb += Extent(*pfdsc);
    if ((fdsc.ulType >= FT_STRUCT) == (ul >= sdsc.ulFields))
      ulResult = Read(pini, fdsc, pb, strName, ulStart, 0);
  }
  return ulResult;
}
void ReadReference(const INIFILE *pini, const FDSC &fdsc, void *pv, const std::string &strName,
                   ULONG ulStart) {
  LIST *plst = nullptr;
  const bool fValues = fdsc.ulType == FT_VALUELIST;
  const bool fArray = fValues && Elements(ItemOf(fdsc)) > 1,
             fText = fValues && ItemOf(fdsc).ulType == FT_PSZ;
  if (fValues && (ItemOf(fdsc).ulType > FT_INTERVAL || ItemOf(fdsc).flFlags ||
                  !ItemOf(fdsc).ulCount || (fArray && fText)))
    return;
  for (ULONG ul = 1; ul == 1 || (plst && !fArray); ul++) {
    void *pvNew =
             MemAllocMem_(fValues ? Extent(ItemOf(fdsc)) : StructureOf(fdsc).ulSize, 0, nullptr),
         *pvBlock = pvNew;
    if (fValues ? Read(pini, ItemOf(fdsc), pvNew, "", ulStart, ul)
                : ReadStruct(pini, StructureOf(fdsc), pvNew,
                             strName + (fdsc.ulType == FT_STRUCTLIST ? std::to_string(ul) : ""))) {
      if (!fValues) TakeApart(StructureOf(fdsc), pvNew);
      return MemFreeMem_(pvNew);
    }
    if (fText) std::memcpy(&pvNew, pvBlock, sizeof pvNew), MemFreeMem_(pvBlock);
    if (fdsc.ulType == FT_STRUCTPTR) return void(std::memcpy(pv, &pvNew, sizeof pvNew));
    if (!plst) plst = LstNewList(0);
    LstInsert(plst, pvNew, LST_END);
    std::memcpy(pv, &plst, sizeof plst);
  }
}
ULONG Read(const INIFILE *pini, const FDSC &fdsc, void *pv, const std::string &strSection,
           ULONG ulStart, ULONG ulNumber) {
  auto *pb = static_cast<BYTE *>(pv);
  if (fdsc.flFlags & FDSC_NOINI) return 0;
  if (fdsc.ulType > FT_STRUCT)
    return ReadReference(pini, fdsc, pv, strSection + fdsc.pszName, ulStart), 0;
  for (ULONG ul = 0; ul < Elements(fdsc); ul++, pb += ElementSize(fdsc)) {
    if (Elements(fdsc) > 1) ulNumber = ul + 1;
    const std::string strName = fdsc.pszName + (ulNumber ? std::to_string(ulNumber) : "");
    if (fdsc.ulType == FT_STRUCT && ReadStruct(pini, StructureOf(fdsc), pb, strSection + strName))
      return 1;
    const ULONG ulKey = Find(pini, 0, strName, ulStart);
    if (fdsc.ulType < FT_STRUCT && !ulKey) return 1;
    if (fdsc.ulType < FT_STRUCT)
      IniConvertFromString(&pb, pini->aentry[ulKey - 1].pszValue, &fdsc, nullptr);
  }
  return 0;
}

class IniFiles : public FileTest {
 protected:
  static Ini Open(const std::string &str) {
    Write(str);
    return Ini(IniOpen("input", INI_MODE_READ));
  }
  static std::string TextOf(const Ini &ini) { // "[title]name=value;"
    std::string str = ini ? "" : "refused";
    for (ULONG ul = 0; ini && ul < ini->ulEntries; ul++) {
      const INIENTRY &entry = ini->aentry[ul];
      str += (entry.flTitle ? "[" : "") + std::string(entry.pszName) +
             (entry.flTitle ? "]" : "=" + std::string(entry.pszValue) + ";");
    }
    return str;
  }
  // An entry as a file may have it, and as TextOf gives it.
  void AddEntry(std::string &strFile, std::string &strText) {
    const bool fTitle = Random(3) == 0;
    const std::string strName = (fTitle ? "" : "a") + Some({"A", "b", "1"}, 3),
                      strValue = std::to_string(Random(100));
    const std::string astrForm[] = {strValue + "\n", "\n" + strValue + "\r\n",
                                    "\"" + strValue + "\"", "\"\" \"" + strValue + "\n\"\n\t\"\" "};
    strText += fTitle ? "[" + strName + "]" : strName + "=" + strValue + ";";
    strFile += std::string(fTitle ? "[ " : "") + strName;
    strFile.insert(strFile.size() - Random(strName.size() + 1), Random(2) ? "\n" : "");
    strFile += fTitle ? Random(2) ? "]" : " ]\n" : " = " + astrForm[Random(4)];
  }
  FDSC RandomField(ULONG ulDepth) { // with structures up to a depth
    static const SDSC sdscEmpty = {};
    FDSC fdsc = Field(Random(2) ? "A" : "AB", Random(2) ? FT_PSZ : Random(FT_INTERVAL + 1),
                      Random(3) + 1, &sdscEmpty, Random(8) ? 0 : FDSC_NOINI);
    if (ulDepth && Random(2)) fdsc.ulType = FT_STRUCT + Random(4);
    if (fdsc.ulType > FT_STRUCT) fdsc.ulCount = 1;
    if (fdsc.ulType == FT_VALUELIST)
      fdsc.pvDesc = &afdsc_.emplace_back(
          Field("A", Random(FT_TYPES), Random(4), &sdscEmpty, Random(8) ? 0 : FDSC_NOINI));
    if (fdsc.ulType < FT_STRUCT || fdsc.ulType == FT_VALUELIST) return fdsc;
    SDSC sdsc = {};
    for (ULONG ul = Random(4); ul > 0; ul--) Add(sdsc, RandomField(ulDepth - 1));
    fdsc.pvDesc = &asdsc_.emplace_back(sdsc);
    return fdsc;
  }
  std::deque<FDSC> afdsc_;
  std::deque<SDSC> asdsc_;
};

TEST_F(IniFiles, AreReadAsInPlainSteps) {
  for (int i = 0; i < 3000; i++) {
    std::string strFile = "\n[ my.ini ] ignored\n", strText;
    for (ULONG ul = Random(40); ul > 0; ul--) AddEntry(strFile, strText);
    SCOPED_TRACE(strFile);
    const Ini ini = Open(strFile);
    ASSERT_EQ(TextOf(ini), strText);
    ASSERT_EQ(FindStructure(ini.get(), "ab"), Find(ini.get(), 1, "ab", 0));
    const ULONG ulKey = Find(ini.get(), 0, "ab", 1);
    ASSERT_EQ(FindTitle(ini.get(), "ab", 1), ulKey ? ini->aentry[ulKey - 1].pszValue : nullptr);
    for (int iField = 0; iField < 10; iField++) {
      const FDSC fdsc = RandomField(3);
      std::vector<BYTE> ab(Extent(fdsc) + 1), abPlain = ab; // data at odd addresses
      TakeApart(fdsc, &ab[1]), TakeApart(fdsc, &abPlain[1]);
      ASSERT_EQ(IniRead(ini.get(), &ab[1], &fdsc), Read(ini.get(), fdsc, &abPlain[1], "", 0, 0));
      ASSERT_EQ(TakeApart(fdsc, &ab[1]), TakeApart(fdsc, &abPlain[1]))
          << fdsc.pszName << " of type " << fdsc.ulType;
      const ULONG ulBlocks = Blocks();
      IniRead(ini.get(), &ab[1], &fdsc), IniFreeData(&ab[1], &fdsc);
      ASSERT_EQ(Blocks(), ulBlocks)
          << "all is freed of " << fdsc.pszName << " of type " << fdsc.ulType;
      TakeApart(fdsc, &ab[1]);
    }
    asdsc_.clear();
  }
}

TEST_F(IniFiles, AreOpenedOnlyInTheirFormat) {
  const auto astrGood = Split( // files after their first word, and their entries
      "]~~]y = 1\n~~] y = 1\nz =2~z=2;~]\na = b  ~a=b  ;~]\nName =\n\n[ Next ]\nb = 1~Name=[ Next "
      "];b=1;~]\na =~a=;~"
      "]\na = \"b\n c\" \n\"d\" e = \"\"f = g\"~a=bcd;e=;f=g\";~]\n[ Config\nServer 2 "
      "][]~[ConfigServer2][]~"
      "]\n= = 5~==5;~]\na = = 5~a== 5;~]\na b=c = d~ab=c=d;~");
  for (std::size_t i = 0; i + 1 < astrGood.size(); i += 2) {
    EXPECT_EQ(TextOf(Open("[x" + astrGood[i])), astrGood[i + 1]) << astrGood[i];
    EXPECT_EQ(TextOf(Open("\n [ " + astrGood[i])), astrGood[i + 1]) << astrGood[i];
  }
  for (const std::string &str :
       Split("~ b]~_file.ini]~]\nPort=80~]\na~]\na b~]\na b c = 1~]\n[ Server-Route ]~]\n[ -a "
             "]~]\n[a~]\n[~"
             "]\na = \"b~]\na = \"b\" \"c~]\na-b = 1~]\n]~]\n; c\n~]\na -= 1~]\na = 1\nb"))
    EXPECT_FALSE(Open("[x" + str)) << str;
  EXPECT_TRUE(!Open("x]") && !Open(""));
  EXPECT_FALSE(IniOpen("missing", INI_MODE_READ));
}

TEST_F(IniFiles, AreOpenedWithinTheLimits) {
  for (const std::string &strPlace :
       Split("%]~x]\n[%]~x]\n[1 2%]~x]\n% = 1~x]\n1 2% = 1~x]\na = %~x]\na = \"\n1\" \"2%\""))
    for (const ULONG ulLength : {INI_MAX_TEXT + 0UL, INI_MAX_TEXT + 1UL}) {
      std::string str = "[" + strPlace;
      str.replace(str.find('%'), 1, str.find('2') == str.npos ? ulLength : ulLength - 2, 'c');
      EXPECT_EQ(Open(str) != nullptr, ulLength == INI_MAX_TEXT) << str;
    }
  std::string strLong = "[x]\na = \"", strMany = "[x]\n[t]\n";
  for (int i = 0; i < 10000; i++) strLong += "123456789\n";
  EXPECT_FALSE(Open(strLong + "\""));
  MemSetLimits(0xFFFFFFFF, 0xFFFFFFFF, 1);
  for (ULONG ul = 1; ul < INI_MAX_ENTRIES; ul++) strMany += "k = 1\n";
  EXPECT_TRUE(Open(strMany));
  EXPECT_FALSE((FailRead(), Open(strMany))) << "not read to its end";
  EXPECT_FALSE(Open(strMany + "k = 1\n"));
  EXPECT_FALSE(Open(strMany + "[t]"));
}

TEST_F(IniFiles, DecideOnReferences) {
  const SDSC sdsc = Describe({Field("L", FT_LONG), Field("M", FT_LONG)});
  const FDSC fdsc = Field("P", FT_STRUCTPTR, 1, &sdsc),
             fdscList = Field("Q", FT_STRUCTLIST, 1, &sdsc);
  for (const char *psz : {"[x]\n[P]\nL = 5\nM = 6", "[x]\n[P]\nL = 5", "[x]\nL = 5\nM = 6"}) {
    void *pvOwn = MemAllocMem_(8, 0, nullptr), *pv = pvOwn;
    EXPECT_EQ(IniRead(Open(psz).get(), &pv, &fdsc), 0u);
    EXPECT_EQ(pv, std::strchr(psz, '6') && std::strchr(psz, 'P') ? pvOwn : nullptr)
        << "freed when it is not read whole";
    if (pv) MemFreeMem_(pv);
    pv = &pv;
    EXPECT_EQ(IniRead(Open(psz).get(), &pv, &fdscList), 0u);
    EXPECT_EQ(pv, &pv) << "a list stays without its first element";
  }
  SDSC sdscSelf = {1, 0, 4, 0, {Field("", FT_STRUCTPTR)}};
  sdscSelf.afdsc[0].pvDesc = &sdscSelf;
  void *pv = nullptr;
  EXPECT_EQ(IniRead(Open("[x]\n[]").get(), &pv, sdscSelf.afdsc), 0u);
  EXPECT_EQ(TakeApart(sdscSelf.afdsc[0], &pv).size(), 127 * 3 + 5u)
      << "a structure that holds itself ends";
  auto *ppvSelf = static_cast<void **>(MemAllocMem_(sizeof(void *), 0, nullptr));
  *ppvSelf = ppvSelf;
  EXPECT_EQ(IniRead(Open("[x]").get(), ppvSelf, sdscSelf.afdsc), 0u);
  EXPECT_TRUE(Blocks() == 1 && !*ppvSelf)
      << "a structure is not freed that holds the very reference";
  MemFreeMem_(ppvSelf);
}

TEST_F(IniFiles, AreForgottenWhole) {
  const FDSC fdscText = Field("T", FT_PSZ);
  SDSC sdsc = Describe({Field("N", FT_PSZ, 1, nullptr, FDSC_NOINI), Field("T", FT_PSZ, 2),
                        Field("P", FT_STRUCTPTR, 2), Field("Q", FT_STRUCTLIST),
                        Field("V", FT_VALUELIST, 1, &fdscText)});
  sdsc.afdsc[2].pvDesc = sdsc.afdsc[3].pvDesc = &sdsc;
  const FDSC fdsc = Field("S", FT_STRUCT, 1, &sdsc);
  struct RECORD {
    char *pszOther, *apsz[2];
    RECORD *aprec[2];
    LIST *plst, *plstTexts;
  } rec = {}, recNothing = {};
  const auto Text = [] { return MemAllocString_("text", 0, nullptr); };
  auto *prec = static_cast<RECORD *>(MemAllocMem_(sizeof rec, 0, nullptr));
  auto *precItem = static_cast<RECORD *>(MemAllocMem_(sizeof rec, 0, nullptr));
  rec = {recNothing.pszOther = Text(), {nullptr, Text()}, {&rec, prec}, nullptr, LstNewList(0)};
  *prec = {rec.pszOther, {Text(), nullptr}, {prec, &rec}, LstNewList(0), nullptr};
  *precItem = {nullptr, {Text(), Text()}, {prec, precItem}, prec->plst, nullptr};
  LstInsert(prec->plst, precItem, LST_END), LstInsert(prec->plst, nullptr, LST_END);
  LstInsert(rec.plstTexts, Text(), LST_END), LstInsert(rec.plstTexts, nullptr, LST_END);

  IniFreeData(&rec, &fdsc), IniFreeData(nullptr, &fdsc), IniFreeData(&rec, nullptr);

  EXPECT_EQ(std::memcmp(&rec, &recNothing, sizeof rec), 0) << "what no file has stays";
  EXPECT_EQ(Blocks(), 1u) << "data that lead back in every way are freed once";
  MemFreeMem_(rec.pszOther);
}

const std::string strWhole =
    "[x]\n[S]\nL = 1\nT = a\nT1 = x\nT2 = y\nV 1 = g\nV2 = h\n[SI1]\nL = 2\nT = \"b\" "
    "\"c\"\n[SI2]\nL = 3\nT = "
    "d\n[SP]\nL = 4\nT = e\n";
const SDSC sdscInner = Describe({Field("L", FT_BYTE), Field("T", FT_PSZ)});
const FDSC fdscText = Field("V", FT_PSZ), fdscList = Field("I", FT_STRUCTLIST, 1, &sdscInner);
const FDSC fdscValues = Field("V", FT_VALUELIST, 1, &fdscText),
           fdscPointer = Field("P", FT_STRUCTPTR, 1, &sdscInner);
const SDSC sdscWhole =
    Describe({fdscList, fdscValues, fdscPointer, Field("T", FT_PSZ), Field("L", FT_BYTE)});
const FDSC fdscWhole = Field("S", FT_STRUCT, 1, &sdscWhole);

TEST_F(IniFiles, SurviveDamage) {
  int cOpened = 0;
  for (int i = 0; i < 4000; i++) {
    std::string str = i % 4 ? strWhole : "[x]\n";
    for (ULONG ul = i % 4 ? Random(4) : 100; ul > 0; ul--) {
      const ULONG ulAt = Random(str.size() + 1);
      if (i % 4 && Random(2)) str.erase(ulAt, Random(9));
      str.insert(std::min<std::size_t>(ulAt, str.size()),
                 Random(2) ? std::string(1, static_cast<char>(Random(256)))
                           : Some({"[", "]", "=", "\"", "\n", " "}, 2));
    }
    BYTE ab[17] = {};
    const Ini ini = Open(str);
    if (ini) IniRead(ini.get(), ab, &fdscWhole);
    TakeApart(fdscWhole, ab);
    cOpened += ini != nullptr;
  }
  EXPECT_TRUE(cOpened > 500 && cOpened < 3500) << cOpened;
}

TEST_F(IniFiles, NeedMemoryAndLeakNone) {
  const Reports reports;
  const Ini ini = Open(strWhole);
  BYTE ab[17] = {};
  EXPECT_EQ(IniRead(ini.get(), ab, &fdscWhole), 0u);
  const std::string strRead = TakeApart(fdscWhole, ab);
  EXPECT_EQ(strRead, "{({\2,bc,}{\3,d,}),(g,h,),{\4,e,},a,\1,},");
  if (!FailMalloc::Works()) GTEST_SKIP() << "malloc is not the test's own";
  int cOpened = 0, cRead = 0;
  for (unsigned u = 1; u <= 50; u++) { // the call that fails, when there are that many
    std::optional<FailMalloc> fail(u);
    cOpened += Ini(IniOpen("input", INI_MODE_READ)) != nullptr;
    fail.emplace(u);
    IniRead(ini.get(), ab, &fdscWhole);
    fail.reset();
    cRead += TakeApart(fdscWhole, ab) == strRead;
  }
  EXPECT_TRUE(cOpened > 0 && cOpened < 30 && cRead > 0 && cRead < 40)
      << cOpened << " and " << cRead;
}
} // namespace
