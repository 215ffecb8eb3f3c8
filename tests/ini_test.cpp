// ini_test.cpp: INI files: their format, why they are refused, what is read out of them, limits,
// damage and lack of memory.

#include <strings.h>

#include <optional>

#include "described.h"

namespace {
using namespace std::string_literals;

class IniFiles : public IniTest {
 protected:
  Ini OpenChecked(const std::string &str, ULONG ulMode) {
    Write(str);
    return Ini(IniOpenChecked("input", ulMode, &err_));
  }
  std::string Error() const { // "code text"
    const std::string str = std::to_string(err_.ulCode) + " " + err_.szText;
    const std::string strLine = ":" + std::to_string(err_.ulLine) + ": ";
    EXPECT_EQ(str.find(strLine) != str.npos, err_.ulLine != 0) << str << " in " << err_.ulLine;
    return str;
  }
  void ExpectRefused(const std::string &str, ULONG ulCode, const std::string &strText) {
    EXPECT_FALSE(Open(str) || OpenChecked(str, INI_MODE_READ)) << str;
    EXPECT_EQ(Error(), std::to_string(ulCode) + " input:" + strText) << str;
  }

  // An entry as a file may have it, and as EntriesOf gives it.
  void AddEntry(std::string &strFile, std::string &strEntries) {
    const bool fTitle = Random(3) == 0;
    const std::string strName = (fTitle ? "" : "a") + Some({"A", "b", "1"}, 3),
                      strValue = std::to_string(Random(100)), strEnd = Random(2) ? "\n" : "\r\n";
    const std::string astrForm[] = {strValue + strEnd, strEnd + strValue + strEnd,
                                    "\"" + strValue + "\"",
                                    "\"\" \"" + strValue + strEnd + "\"" + strEnd + "\t\"\" "};
    strEntries += fTitle ? "[" + strName + "]" : strName + "=" + strValue + ";";
    strFile += (fTitle ? "[ " : "") + strName;
    strFile.insert(strFile.size() - Random(strName.size() + 1), Random(2) ? strEnd : "");
    if (fTitle)
      strFile += Random(2) ? "]" : " ]" + strEnd;
    else
      strFile += " = " + OneOf(astrForm);
  }

  // Names that are often found, and items of lists that no list can have.
  void Redescribe(FDSC &fdsc) {
    static const SDSC sdscEmpty = {};
    fdsc.pszName = Random(2) ? "A" : "AB";
    if (Random(8) == 0) fdsc.flFlags = FDSC_NOINI;
    if (fdsc.ulType != FT_VALUELIST) return;
    auto &fdscItem = *static_cast<FDSC *>(fdsc.pvDesc);
    fdscItem.pszName = "A";
    if (Random(2))
      fdscItem = Field("A", Random(FT_TYPES), Random(4), &sdscEmpty, Random(8) ? 0 : FDSC_NOINI);
  }

  std::string Pieces() {
    std::string str = "[x]\n";
    for (ULONG ul = Random(4); ul > 0; ul--)
      str += Some({"a", "b=1", "#", ";", "\n", " ", "-"}, 3) +
             Some({" = 1\n", " =\n", " = \"c\n\" ", "[t]", "[t\n u]\n"}, 2);
    return str;
  }
  std::string Damaged(std::string str) {
    for (ULONG ul = Random(4); ul > 0; ul--) {
      const ULONG ulAt = Random(str.size());
      if (Random(2)) str.erase(ulAt, Random(9));
      str.insert(ulAt, Random(2) ? std::string(1, static_cast<char>(Random(256)))
                                 : Some({"[", "]", "=", "\"", "\n", " "}, 2));
    }
    return str;
  }

  INIERROR err_ = {};
};

TEST_F(IniFiles, AreOpenedInTheirFormatInEveryWay) {
  const struct {
    const char *pszFile, *pszEntries; // behind the word of the header
  } aCase[] = {
      {"]", ""},
      {"]y = 1\n", ""},
      {"] y = 1\nz =2", "z=2;"},
      {"]\na = b  ", "a=b  ;"},
      {"]\na =", "a=;"},
      {"]\r\na\nb = 5\r\nc =\r\n6\r\n", "ab=5;c=6;"},
      {"]\nName =\n\n[ Next ]\nb = 1", "Name=[ Next ];b=1;"},
      {"]\na = \"b\n c\" \n\"d\" e = \"\"f = g\"", "a=bcd;e=;f=g\";"},
      {"]\n[ Config\nServer 2 ][]", "[ConfigServer2][]"},
      {"]\n= = 5", "==5;"},
      {"]\na = = 5", "a== 5;"},
      {"]\na b=c = d", "ab=c=d;"},
      {"]\nA=1\nB = 2\n;C = 1\n", "A=1B=2;;C=1;"},
  };
  for (const auto &[pszFile, pszEntries] : aCase)
    for (const char *pszHeader : {"[x", "\n [ x"}) {
      const std::string str = pszHeader + std::string(pszFile);
      EXPECT_EQ(EntriesOf(Open(str)), pszEntries) << str;
      for (const ULONG ulMode : {ULONG{INI_MODE_READ}, ULONG{INI_MODE_LENIENT}})
        EXPECT_EQ(EntriesOf(OpenChecked(str, ulMode)), pszEntries) << str << err_.szText;
    }
}

TEST_F(IniFiles, AreRefusedForAReason) {
  const struct {
    std::string strFile;
    ULONG ulCode;
    const char *pszText; // behind "input:"
  } aCase[] = {
      {"", INI_ERROR_HEADER, " the file is empty"},
      {"\n\nA = 1\n", INI_ERROR_HEADER, "3: no header such as [ settings.ini ]"},
      {"[ my_file.ini ]\n", INI_ERROR_HEADER, "1: a header cannot hold '_'"},
      {"[ my file ]\n", INI_ERROR_HEADER, "1: a header is one word and a ']'"},
      {"[ x", INI_ERROR_HEADER, "1: a header is one word and a ']'"},
      {"\xEF\xBB\xBF[ x ]\n", INI_ERROR_MARK, "1: a byte-order mark before the header"},
      {"\xFF\xFE[\0 x ]\n", INI_ERROR_MARK, "1: a byte-order mark of UTF-16, which cannot be read"},
      {"[x]\nPort=80\nB = 2 3\n\n4\nC D = 1\n", INI_ERROR_KEY, "5: no '=' behind '4'"},
      {"[x]\nA = 1\n\nPort=80\n[T]\n", INI_ERROR_KEY, "4: '=' needs a blank before it"},
      {"[x]\nPort 2=80\n", INI_ERROR_KEY, "2: '=' needs a blank before it"},
      {"[x]\nFlag\n\nPort=80\n", INI_ERROR_KEY, "2: no '=' behind 'Flag'"},
      {"[x]\na b c = 1\n", INI_ERROR_KEY, "2: no '=' behind 'a'"},
      {"[x]\n\nmy_key = 80\n", INI_ERROR_KEY, "3: a name cannot hold '_'"},
      {"[x]\na -= 1\n", INI_ERROR_KEY, "2: a name cannot hold '-'"},
      {"[x]\n# text\n", INI_ERROR_KEY, "2: '#' begins no comment"},
      {"[x]\n; a text\n", INI_ERROR_KEY, "2: ';' begins no comment"},
      {"[x]\n] = 1\n", INI_ERROR_KEY, "2: no key begins with ']'"},
      {"[x]\n\tb\x01\n\n", INI_ERROR_KEY, "2: no '=' behind 'b?'"},
      {"[x]\n[", INI_ERROR_TITLE, "2: the title is not closed by a ']'"},
      {"[x]\n[ Server\nA = 1\n", INI_ERROR_TITLE, "2: the title is not closed by a ']'"},
      {"[x]\n[ Server\n" + std::string(128, 'c'), INI_ERROR_TITLE,
       "2: the title is not closed by a ']'"},
      {"[x]\n[ a - b ]\n", INI_ERROR_TITLE, "2: a title cannot hold '-'"},
      {"[x]\nA = \"b\"\n\n\"c\nB = 1\n", INI_ERROR_QUOTE, "4: a quoted text is not closed"},
  };
  for (const auto &[strFile, ulCode, pszText] : aCase) ExpectRefused(strFile, ulCode, pszText);
}

TEST_F(IniFiles, AreOpenedWithinTheLimits) {
  const struct {
    const char *pszFile, *pszText; // with a name or value that ends in '*'
  } aCase[] = {
      {"[*]", "1: a header of more than 127 characters"},
      {"[x]\n[*]", "2: a title of more than 127 characters"},
      {"[x]\n[1 2*]", "2: a title of more than 127 characters"},
      {"[x]\n* = 1", "2: a name of more than 127 characters"},
      {"[x]\n1 2* = 1", "2: a name of more than 127 characters"},
      {"[x]\na = *", "2: a value of more than 127 characters, or without an end"},
      {"[x]\na = \"\n1\" \"2*\"", "2: a value of more than 127 characters, or without an end"},
  };
  for (const auto &[pszFile, pszText] : aCase) {
    std::string str = pszFile;
    const ULONG ulRest = str.find('2') == str.npos ? 0 : 2;
    str.replace(str.find('*'), 1, INI_MAX_TEXT - ulRest, 'c');
    EXPECT_TRUE(Open(str) && OpenChecked(str, INI_MODE_READ)) << str;
    ExpectRefused(str.insert(str.find('c'), "c"), INI_ERROR_LENGTH, pszText);
  }
  std::string strMany = "[x]\n[t]\n", strLong = "[x]\na = \"";
  for (int i = 0; i < 10000; i++) strLong += "123456789\n";
  for (ULONG ul = 1; ul < INI_MAX_ENTRIES; ul++) strMany += "k = 1\n";
  MemSetLimits(0xFFFFFFFF, 0xFFFFFFFF, 1);
  EXPECT_FALSE(Open(strLong + "\""));
  EXPECT_TRUE(Open(strMany));
  ExpectRefused(strMany + "\n[t]", INI_ERROR_ENTRIES, "5103: more than 5100 titles and keys");
  EXPECT_FALSE(OpenChecked(strMany + "k=1\n[\n", INI_MODE_LENIENT));
  EXPECT_EQ(Error(), "10 input:5102: more than 5100 titles and keys");
}

TEST_F(IniFiles, AreRefusedForTheReasonOfTheSystem) {
  const std::string strLong(600, 'x'), strShown = "..." + strLong.substr(0, 252);
  const auto ErrorOf = [this](const char *pszFile, ULONG ulMode) {
    EXPECT_FALSE(IniOpenChecked(pszFile, ulMode, &err_)) << pszFile;
    EXPECT_FALSE(IniOpenChecked(pszFile, ulMode, nullptr)) << pszFile;
    return Error();
  };
  for (const ULONG ulMode : {ULONG{INI_MODE_READ}, ULONG{INI_MODE_LENIENT}}) {
    EXPECT_EQ(ErrorOf("missing", ulMode), "1 missing: No such file or directory");
    EXPECT_EQ(ErrorOf(".", ulMode), "1 .: Is a directory");
    EXPECT_EQ(ErrorOf(strLong.c_str(), ulMode), "1 " + strShown + ": File name too long");
    EXPECT_EQ(ErrorOf(nullptr, ulMode), "3 (null): no file name");
    Write("[x]\nA = 1\nB");
    const FailRead fail;
    EXPECT_EQ(ErrorOf("input", ulMode), "1 input: Input/output error") << "nor what is missing";
    EXPECT_FALSE(OpenIni("input"));
  }
  EXPECT_FALSE(OpenIni("missing"));
  EXPECT_EQ(ErrorOf("missing/file", 0), "1 missing/file: No such file or directory");
  EXPECT_EQ(ErrorOf(strLong.c_str(), 0), "3 " + strShown + ": the name is too long");

  EXPECT_TRUE(OpenChecked("[x]\nA = 1", 0));
  EXPECT_EQ(Error(), "0 ");
  EXPECT_EQ(Contents("input"), "[ input ]\n") << "opened for writing";
}

TEST_F(IniFiles, AreTakenAsPeopleWriteThem) {
  const struct {
    const char *pszFile, *pszEntries;
  } aCase[] = {
      {"", ""},
      {" \n\t\n# only a comment", ""},
      {"A=1\nB = 2\n", "A=1;B=2;"},
      {"\xEF\xBB\xBF; text\n[ my-file_1.ini ] ignored\nA=1", "A=1;"},
      {"[ a b ]\nA=1\n[c]\n", "[ab]A=1;[c]"},
      {"A=\nB= 2 ; 3\nC =x y\nD = \n z\n", "A=;B=2 ; 3;C=x y;D=z;"},
      {"a-b_c.d=1\nE 1=\"f \n g\" \"h\" # text\nF==\n", "a-b_c.d=1;E1=f gh;F==;"},
      {"A=1\n  ; [ text ]\n[ a-b_c.d ] ; text\n", "A=1;[a-b_c.d]"},
      {"[x]\n#\nA = 1\n; B = 2\n", "A=1;"},
      {"A\n", "refused"},
      {"=1", "refused"},
      {"A b c=1", "refused"},
      {"[x]\n#\n[a", "refused"},
      {"A=\"b", "refused"},
      {"A!=1", "refused"},
      {"[a b", "refused"},
  };
  for (const auto &[pszFile, pszEntries] : aCase) {
    const Ini ini = OpenChecked(pszFile, INI_MODE_LENIENT);

    EXPECT_EQ(EntriesOf(ini), pszEntries) << pszFile << "\n" << err_.szText;
    EXPECT_EQ(err_.ulCode == 0, ini != nullptr) << err_.szText;
    EXPECT_EQ(err_.ulLine == 0, ini != nullptr) << err_.szText;
  }
}

// --- Random files ---

const SDSC sdscItem = Describe({Field("L", FT_BYTE), Field("T", FT_PSZ)});
const FDSC fdscText = Field("V", FT_PSZ);
const SDSC sdscWhole =
    Describe({Field("I", FT_STRUCTLIST, 1, &sdscItem), Field("V", FT_VALUELIST, 1, &fdscText),
              Field("P", FT_STRUCTPTR, 1, &sdscItem), Field("T", FT_PSZ), Field("L", FT_BYTE)});
const FDSC fdscWhole = Field("S", sdscWhole);
const std::string strWhole = R"([x]
[S]
L = 1
T = a
T1 = x
T2 = y
V 1 = g
V2 = h
[SI1]
L = 2
T = "b" "c"
[SI2]
L = 3
T = d
[SP]
L = 4
T = e
)";

// Files of pieces, and damaged ones: what the plain reader takes, the others take alike.
TEST_F(IniFiles, AreTakenAlikeByAllReaders) {
  int cTaken = 0;
  for (int i = 0; i < 12000; i++) {
    const std::string str = i % 4 ? Pieces() : Damaged(strWhole);
    SCOPED_TRACE(str);

    const Ini iniPlain = Open(str), iniChecked = OpenChecked(str, INI_MODE_READ);
    const ULONG ulCode = err_.ulCode;
    const Ini iniLenient = OpenChecked(str, INI_MODE_LENIENT);

    const std::string strEntries = EntriesOf(iniPlain);
    ASSERT_EQ(EntriesOf(iniChecked), strEntries);
    ASSERT_EQ(ulCode == 0, iniChecked != nullptr);
    ASSERT_EQ(err_.ulCode == 0, iniLenient != nullptr) << err_.szText;
    ASSERT_TRUE(!iniPlain || EntriesOf(iniLenient) == strEntries);
    Data data(fdscWhole);
    if (iniLenient) IniRead(iniLenient.get(), data.At(), &fdscWhole);
    cTaken += iniPlain != nullptr;
  }
  EXPECT_TRUE(cTaken > 3000 && cTaken < 9000) << cTaken;
}

TEST_F(IniFiles, NeedMemoryAndLeakNone) {
  const Reports reports;
  const Ini ini = Open(strWhole);
  Data data(fdscWhole);
  EXPECT_EQ(IniRead(ini.get(), data.At(), &fdscWhole), 0u);
  const std::string strRead = data.Take();
  EXPECT_EQ(strRead, "{\2,bc,}{\3,d,},{g,}{h,},{\4,e,},a,\1,");
  if (!FailMalloc::Works()) GTEST_SKIP() << "malloc is not the test's own";
  std::ofstream("lenient") << "[x]\n# text\nA=1\n[T]\nB=2\n";
  ULONG aulDone[3] = {};
  for (unsigned u = 1; u <= 50; u++) { // the call that fails, when there are that many
    std::optional<FailMalloc> fail(u);
    const Ini iniPlain = OpenIni("input");
    fail.emplace(u);
    const Ini iniLenient(IniOpenChecked("lenient", INI_MODE_LENIENT, &err_));
    fail.emplace(u);
    IniRead(ini.get(), data.At(), &fdscWhole);
    fail.reset();

    ASSERT_EQ(err_.ulCode, iniLenient ? 0u : INI_ERROR_MEMORY) << err_.szText;
    ASSERT_EQ(EntriesOf(iniLenient), iniLenient ? "A=1;[T]B=2;" : "refused");
    aulDone[0] += iniPlain != nullptr;
    aulDone[1] += iniLenient != nullptr;
    aulDone[2] += data.Take() == strRead;
  }
  for (const ULONG ul : aulDone) EXPECT_TRUE(ul > 10 && ul < 45) << ul;
}

// --- Reading ---

// In plain steps. The position after an entry, or 0.
ULONG Find(const INIFILE *pini, ULONG flTitle, const std::string &strName, ULONG ul) {
  for (; ul < pini->ulEntries && (flTitle || !pini->aentry[ul].flTitle); ul++)
    if (pini->aentry[ul].flTitle == flTitle &&
        !strcasecmp(pini->aentry[ul].pszName, strName.c_str()))
      return ul + 1;
  return 0;
}
ULONG Read(const INIFILE *pini, const FDSC &fdsc, BYTE *pb, const std::string &strSection,
           ULONG ulStart, ULONG ulNumber);
ULONG ReadSection(const INIFILE *pini, const SDSC &sdsc, BYTE *pb, const std::string &strName) {
  const ULONG ulStart = Find(pini, 1, strName, 0);
  ULONG ulResult = !ulStart;
  for (const bool fSections : {false, true}) {
    BYTE *pbField = pb;
    for (const FDSC &fdsc : FieldsOf(sdsc)) {
      if (ulStart && (fdsc.ulType >= FT_STRUCT) == fSections)
        ulResult = Read(pini, fdsc, pbField, strName, ulStart, 0);
      pbField += Extent(fdsc);
    }
  }
  return ulResult;
}
void ReadReference(const INIFILE *pini, const FDSC &fdsc, BYTE *pb, const std::string &strSection,
                   ULONG ulStart) {
  const FDSC fdscTarget = TargetOf(fdsc);
  const bool fText = fdscTarget.ulType == FT_PSZ, fArray = Elements(fdscTarget) > 1;
  if (fdsc.ulType == FT_VALUELIST && (fdscTarget.ulType > FT_INTERVAL || fdscTarget.flFlags ||
                                      !fdscTarget.ulCount || (fArray && fText)))
    return;
  LIST *plst = nullptr;
  for (ULONG ul = 1; ul == 1 || (plst && !fArray); ul++) {
    auto *pbTarget = static_cast<BYTE *>(MemAllocMem_(Extent(fdscTarget), 0, nullptr));
    if (Read(pini, fdscTarget, pbTarget, strSection, ulStart, IsList(fdsc) ? ul : 0)) {
      TakeApart(fdscTarget, pbTarget);
      return MemFreeMem_(pbTarget);
    }
    if (!IsList(fdsc)) return PutPointer(pb, pbTarget);
    if (!plst) plst = LstNewList(0);
    PutPointer(pb, plst);
    LstInsert(plst, fText ? PointerAt(pbTarget) : pbTarget, LST_END);
    if (fText) MemFreeMem_(pbTarget);
  }
}
ULONG Read(const INIFILE *pini, const FDSC &fdsc, BYTE *pb, const std::string &strSection,
           ULONG ulStart, ULONG ulNumber) {
  if (fdsc.flFlags & FDSC_NOINI) return 0;
  if (fdsc.ulType > FT_STRUCT) {
    ReadReference(pini, fdsc, pb, strSection, ulStart);
    return 0;
  }
  for (ULONG ul = 0; ul < Elements(fdsc); ul++, pb += ElementSize(fdsc)) {
    if (Elements(fdsc) > 1) ulNumber = ul + 1;
    const std::string strName = fdsc.pszName + (ulNumber ? std::to_string(ulNumber) : "");
    const bool fSection = fdsc.ulType == FT_STRUCT;
    if (fSection && ReadSection(pini, StructureOf(fdsc), pb, strSection + strName)) return 1;
    const ULONG ulKey = fSection ? 0 : Find(pini, 0, strName, ulStart);
    if (!fSection && !ulKey) return 1;
    BYTE *pbValue = pb;
    if (ulKey) IniConvertFromString(&pbValue, pini->aentry[ulKey - 1].pszValue, &fdsc, nullptr);
  }
  return 0;
}

TEST_F(IniFiles, AreReadAsInPlainSteps) {
  for (int i = 0; i < 3000; i++) {
    std::string strFile = "\n[ my.ini ] ignored\n", strEntries;
    for (ULONG ul = Random(40); ul > 0; ul--) AddEntry(strFile, strEntries);
    SCOPED_TRACE(strFile);
    const Ini ini = Open(strFile);
    const ULONG ulKey = Find(ini.get(), 0, "ab", 1);

    ASSERT_EQ(EntriesOf(ini), strEntries);
    ASSERT_EQ(FindStructure(ini.get(), "ab"), Find(ini.get(), 1, "ab", 0));
    ASSERT_EQ(FindTitle(ini.get(), "ab", 1), ulKey ? ini->aentry[ulKey - 1].pszValue : nullptr);

    FDSC fdscTop = NewDescription(3);
    std::vector<FDSC *> apfdsc = Fields();
    apfdsc.push_back(&fdscTop);
    for (FDSC *pfdsc : apfdsc) Redescribe(*pfdsc);
    for (int iField = 0; iField < 10; iField++) {
      const FDSC &fdsc = *OneOf(apfdsc);
      SCOPED_TRACE(fdsc.pszName + " of type "s + std::to_string(fdsc.ulType));
      Data data(fdsc), dataPlain(fdsc);
      data.Take(); // what stays is seen
      dataPlain.Take();

      ASSERT_EQ(IniRead(ini.get(), data.At(), &fdsc),
                Read(ini.get(), fdsc, dataPlain.At(), "", 0, 0));
      ASSERT_EQ(data.Take(), dataPlain.Take());

      const ULONG ulBlocks = Blocks();
      IniRead(ini.get(), data.At(), &fdsc);
      IniFreeData(data.At(), &fdsc);
      ASSERT_EQ(Blocks(), ulBlocks) << "all is freed";
    }
  }
}

TEST_F(IniFiles, DecideOnReferences) {
  const SDSC sdsc = Describe({Field("L", FT_LONG), Field("M", FT_LONG)});
  const FDSC fdsc = Field("P", FT_STRUCTPTR, 1, &sdsc),
             fdscList = Field("Q", FT_STRUCTLIST, 1, &sdsc);
  for (const char *psz : {"[x]\n[P]\nL = 5\nM = 6", "[x]\n[P]\nL = 5", "[x]\nL = 5\nM = 6"}) {
    void *pvOwn = MemAllocMem_(8, 0, nullptr), *pv = pvOwn, *pvList = &pv;
    const bool fWhole = std::strchr(psz, 'P') && std::strchr(psz, '6');

    EXPECT_EQ(IniRead(Open(psz).get(), &pv, &fdsc), 0u);
    EXPECT_EQ(IniRead(Open(psz).get(), &pvList, &fdscList), 0u);

    EXPECT_EQ(pv, fWhole ? pvOwn : nullptr) << "freed when it is not read whole";
    EXPECT_EQ(pvList, &pv) << "a list stays without its first element";
    if (pv) MemFreeMem_(pv);
  }
}

TEST_F(IniFiles, EndWhereReferencesDoNot) {
  const SDSC sdsc = Describe({Field("", FT_STRUCTPTR, 1, &sdsc)});
  Data data(sdsc.afdsc[0]);
  auto *ppvSelf = static_cast<void **>(MemAllocMem_(sizeof(void *), 0, nullptr));
  *ppvSelf = ppvSelf;

  EXPECT_EQ(IniRead(Open("[x]\n[]").get(), data.At(), sdsc.afdsc), 0u);
  EXPECT_EQ(IniRead(Open("[x]").get(), ppvSelf, sdsc.afdsc), 0u);

  EXPECT_EQ(data.Take().size(), 127 * 3 + 5u) << "a structure that holds itself";
  EXPECT_FALSE(*ppvSelf) << "but it is not freed, as it holds the very reference";
  EXPECT_EQ(Blocks(), 1u);
  MemFreeMem_(ppvSelf);
}

TEST_F(IniFiles, AreForgottenWhole) {
  struct RECORD {
    char *pszOther, *apsz[2];
    RECORD *aprec[2];
    LIST *plst, *plstTexts;
  };
  const SDSC sdsc =
      Describe({Field("N", FT_PSZ, 1, nullptr, FDSC_NOINI), Field("T", FT_PSZ, 2),
                Field("P", FT_STRUCTPTR, 2, &sdsc), Field("Q", FT_STRUCTLIST, 1, &sdsc),
                Field("V", FT_VALUELIST, 1, &fdscText)});
  const FDSC fdsc = Field("S", sdsc);
  const auto NewText = [] { return MemAllocString_("text", 0, nullptr); };
  const auto NewRecord = [] {
    return static_cast<RECORD *>(MemAllocMem_(sizeof(RECORD), 0, nullptr));
  };
  RECORD rec = {}, recNothing = {}, *prec = NewRecord(), *precItem = NewRecord();
  recNothing.pszOther = NewText();
  rec = {recNothing.pszOther, {nullptr, NewText()}, {&rec, prec}, nullptr, LstNewList(0)};
  *prec = {rec.pszOther, {NewText(), nullptr}, {prec, &rec}, LstNewList(0), nullptr};
  *precItem = {nullptr, {NewText(), NewText()}, {prec, precItem}, prec->plst, nullptr};
  LstInsert(prec->plst, precItem, LST_END);
  LstInsert(prec->plst, nullptr, LST_END);
  LstInsert(rec.plstTexts, NewText(), LST_END);
  LstInsert(rec.plstTexts, nullptr, LST_END);

  IniFreeData(&rec, &fdsc);
  IniFreeData(nullptr, &fdsc);
  IniFreeData(&rec, nullptr);

  EXPECT_EQ(std::memcmp(&rec, &recNothing, sizeof rec), 0) << "what no file has stays";
  EXPECT_EQ(Blocks(), 1u) << "data that lead back in every way are freed once";
  MemFreeMem_(rec.pszOther);
}
} // namespace
