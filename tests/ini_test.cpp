// ini_test.cpp: INI files: their format, why they are refused, what is read out of them, limits,
// damage and lack of memory.

#include <strings.h>

#include "described.h"

namespace {
using namespace std::string_literals;

class IniFiles : public IniTest {
 protected:
  std::string Error() const { // "CODE line: text"; other files than the input have a name
    static const Texts codes =
        Words("OK SYSTEM MEMORY ARGUMENT HEADER MARK TITLE KEY QUOTE LENGTH ENTRIES");
    const std::string strLine = ":" + std::to_string(err_.ulLine) + ": ", str = err_.szText;
    EXPECT_EQ(str.find(strLine) != str.npos, err_.ulLine != 0) << str << " in " << err_.ulLine;
    return codes.at(err_.ulCode) + " " + str.substr(str.starts_with("input:") ? 6 : 0);
  }
  std::string Opened(const std::string &str, ULONG ulMode) { // the entries, or why there are none
    const Ini ini = OpenChecked(str, ulMode);
    return ini ? EntriesOf(ini) : Error();
  }

  // An entry as a file may have it, and as EntriesOf gives it.
  void AddEntry(std::string &strFile, std::string &strEntries) {
    const bool fTitle = Random(4) == 0;
    const std::string strName = (fTitle ? "" : "a") + Some({"A", "1", "2"}, 2),
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
  void Damage(std::string &str) {
    for (ULONG ul = 1 + Random(3); ul > 0; ul--) {
      const ULONG ulAt = Random(str.size());
      if (Random(2)) str.erase(ulAt, Random(9));
      str.insert(ulAt, Random(2) ? std::string(1, static_cast<char>(Random(256)))
                                 : Some({"[", "]", "=", "\"", "\n", " ", "#", ";", "-"}, 3));
    }
  }

  // Names that are often found, and items of lists that no list can have.
  void Redescribe(FDSC &fdsc) {
    static const SDSC sdscEmpty = {};
    fdsc.pszName = Random(2) ? "A" : "AA";
    if (Random(8) == 0) fdsc.flFlags = FDSC_NOINI;
    if (fdsc.ulType != FT_VALUELIST) return;
    auto &fdscItem = *static_cast<FDSC *>(fdsc.pvDesc);
    fdscItem.pszName = "A";
    if (Random(2))
      fdscItem = Field("A", Random(FT_TYPES), Random(4), &sdscEmpty, Random(8) ? 0 : FDSC_NOINI);
  }

  template <typename Run>
  auto RunPoor(Run run) { // with a call of malloc that fails, if it makes so many
    const FailMalloc fail(Random(2) ? Random(10) : Random(100));
    return run();
  }
};

TEST_F(IniFiles, AreOpenedInTheirFormatAndAsPeopleWriteThem) {
  const std::string strPlain = R"([ x] y = 1
= = 5
a = = 5
a b=c = d
A=1
B = 2
;C = 1
Name =

[ Next ]
f = "b
 c" 
"d" g = ""h = i"
[ Config
Server 2 ][]
end = e  )";
  const std::string strLenient = R"(# a comment
A=1
B = 2 ; 3
C =x y
D=
E = 
 z
a-b_c.d=1
F 1="f 
 g" "h" # text
G==
  ; [ text ]
[ a-b_c.d ] ; text
)";
  EXPECT_EQ(EntriesOf(Open(strPlain)),
            "==5;a== 5;ab=c=d;A=1B=2;;C=1;Name=[ Next ];f=bcd;g=;h=i\";"
            "[ConfigServer2][]end=e  ;");
  EXPECT_EQ(Opened(strLenient, INI_MODE_LENIENT),
            "A=1;B=2 ; 3;C=x y;D=;E=z;a-b_c.d=1;F1=f gh;G==;[a-b_c.d]");
}

TEST_F(IniFiles, AreRefusedForAReason) {
  const std::string strOpen = "[x]\n[ Server\n" + std::string(128, 'c');
  const struct {
    const char *pszFile, *pszPlain, *pszLenient; // null: the same
  } aCase[] = {
      {"", "HEADER  the file is empty", ""},
      {"[x", "HEADER 1: a header is one word and a ']'",
       "TITLE 1: the title is not closed by a ']'"},
      {"[ my file ]\n", "HEADER 1: a header is one word and a ']'", "[myfile]"},
      {"[ my-file_1.ini ] # x", "HEADER 1: a header cannot hold '-'", ""},
      {"\n\nA = 1\n", "HEADER 3: no header such as [ settings.ini ]", "A=1;"},
      {"\xEF\xBB\xBF; x\n[ x ] y\nA=1", "MARK 1: a byte-order mark before the header", "A=1;"},
      {"\xFF\xFE[", "MARK 1: a byte-order mark of UTF-16, which cannot be read",
       "KEY 1: no '=' behind '\xFF\xFE['"},
      {"[x]\n\nB = 2 3\n4\nC D = 1\n", "KEY 4: no '=' behind '4'", nullptr},
      {"[x]\nA = 1\n\nPort=80\n[T]\n", "KEY 4: '=' needs a blank before it", "A=1;Port=80;[T]"},
      {"[x]\nPort 2=80\n", "KEY 2: '=' needs a blank before it", "Port2=80;"},
      {"[x]\nFlag\n\nPort=80\n", "KEY 2: no '=' behind 'Flag'", "FlagPort=80;"},
      {"[x]\n\nmy_key = 80\n", "KEY 3: a name cannot hold '_'", "my_key=80;"},
      {"[x]\n# text\n", "KEY 2: '#' begins no comment", ""},
      {"[x]\n; a text\n", "KEY 2: ';' begins no comment", ""},
      {"[x]\n] = 1\n", "KEY 2: no key begins with ']'", nullptr},
      {"[x]\n\tb\x01\n\n", "KEY 2: no '=' behind 'b?'", nullptr},
      {"[x]\n[ Server\nA = 1\n", "TITLE 2: the title is not closed by a ']'", nullptr},
      {strOpen.c_str(), "TITLE 2: the title is not closed by a ']'", nullptr},
      {"[x]\n[ a - b ]\n", "TITLE 2: a title cannot hold '-'", "[a-b]"},
      {"[x]\nA = \"b\"\n\n\"c\nB = 1\n", "QUOTE 4: a quoted text is not closed", nullptr},
  };
  for (const auto &[pszFile, pszPlain, pszLenient] : aCase) {
    EXPECT_EQ(Opened(pszFile, INI_MODE_READ), pszPlain) << pszFile;
    EXPECT_EQ(Opened(pszFile, INI_MODE_LENIENT), pszLenient ? pszLenient : pszPlain) << pszFile;
  }
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
      {"[x]\na = \"\n1\" \"2*\"", "2: a value of more than 127 characters, or without an end"},
  };
  for (const auto &[pszFile, pszText] : aCase) {
    std::string str = pszFile;
    const ULONG ulRest = str.find('2') == str.npos ? 0 : 2;
    str.replace(str.find('*'), 1, INI_MAX_TEXT - ulRest, 'c');
    EXPECT_TRUE(Open(str)) << str;
    EXPECT_EQ(Opened(str.insert(str.find('c'), "c"), INI_MODE_READ), "LENGTH "s + pszText);
  }
  std::string strMany = "[x]\n[t]\n";
  for (ULONG ul = 1; ul < INI_MAX_ENTRIES; ul++) strMany += "k = 1\n";
  LiftLimits();
  EXPECT_TRUE(Open(strMany));
  EXPECT_EQ(Opened(strMany + "\n[t]", INI_MODE_READ),
            "ENTRIES 5103: more than 5100 titles and keys");
}

TEST_F(IniFiles, AreRefusedForTheReasonOfTheSystem) {
  const std::string strLong(600, 'x'), strShown = "..." + strLong.substr(0, 252);
  const auto ErrorOf = [this](const char *pszFile, ULONG ulMode) {
    EXPECT_FALSE(IniOpenChecked(pszFile, ulMode, &err_)) << pszFile;
    EXPECT_FALSE(IniOpenChecked(pszFile, ulMode, nullptr)) << pszFile;
    return Error();
  };
  for (const ULONG ulMode : {ULONG{INI_MODE_READ}, ULONG{INI_MODE_LENIENT}}) {
    EXPECT_EQ(ErrorOf("missing", ulMode), "SYSTEM missing: No such file or directory");
    EXPECT_EQ(ErrorOf(strLong.c_str(), ulMode), "SYSTEM " + strShown + ": File name too long");
    EXPECT_EQ(ErrorOf(nullptr, ulMode), "ARGUMENT (null): no file name");
    Write("[x]\nA = 1\nB");
    const FailRead fail;
    EXPECT_EQ(ErrorOf("input", ulMode), "SYSTEM  Input/output error") << "no mistake in it";
    EXPECT_FALSE(OpenIni("input"));
  }
  EXPECT_FALSE(OpenIni("missing"));
  EXPECT_EQ(ErrorOf("missing/file", 0), "SYSTEM missing/file: No such file or directory");
  EXPECT_EQ(ErrorOf(strLong.c_str(), 0), "ARGUMENT " + strShown + ": the name is too long");
  EXPECT_EQ(Opened("[x]\nA = 1", 0), "") << "opened for writing";
  EXPECT_EQ(Contents("input"), "[ input ]\n");
}

// --- Reading ---

// What reading makes of a field, in the steps that the library offers: as text.
struct PART {
  std::string str;
  bool fLast; // whether the file has the last of it
};
struct Model {
  INIFILE *pini;
  bool fNew; // data of zeros; not such as have been taken apart

  PART Value(const FDSC &fdsc, const char *psz) const { // without a text, as it was
    Data data(fdsc);
    BYTE *pb = data.At();
    if (!fNew) data.Take();
    if (psz) IniConvertFromString(&pb, psz, &fdsc, nullptr);
    return {data.Take(), psz != nullptr};
  }
  PART Section(const FDSC &fdsc, const std::string &strName) const {
    const ULONG ulStart = FindStructure(pini, strName.c_str());
    if (!ulStart) return Value(fdsc, nullptr);
    PART all = {"", true};
    bool fSections = false; // which are read behind all values
    for (const FDSC &fdscIn : FieldsIn(fdsc)) {
      const auto [str, fLast] = Read(fdscIn, strName, ulStart, "");
      const bool fSection = fdscIn.ulType >= FT_STRUCT;
      fSections |= fSection;
      all = {all.str + str, fSection == fSections ? fLast : all.fLast};
    }
    return all;
  }
  PART Reference(const FDSC &fdsc, const std::string &strSection, ULONG ulStart) const {
    const FDSC fdscTarget = TargetOf(fdsc);
    const bool fArray = Elements(fdscTarget) > 1, fText = fdscTarget.ulType == FT_PSZ;
    if (fdsc.ulType == FT_VALUELIST && (fdscTarget.ulType > FT_INTERVAL || fdscTarget.flFlags ||
                                        !fdscTarget.ulCount || (fArray && fText)))
      return {"null,", true};
    std::string strItems;
    for (ULONG ul = 1; ul == 1 || (IsList(fdsc) && !fArray); ul++) {
      const std::string strNumber = IsList(fdsc) ? std::to_string(ul) : "";
      const auto [str, fLast] = Model{pini, true}.Read(fdscTarget, strSection, ulStart, strNumber);
      if (!fLast) break;
      strItems += "{" + str + "}";
    }
    return {(strItems.empty() ? "null" : strItems) + ",", true};
  }
  PART Read(FDSC fdsc, const std::string &strSection, ULONG ulStart, std::string strNumber) const {
    if (fdsc.flFlags & FDSC_NOINI) return {Value(fdsc, nullptr).str, true};
    if (fdsc.ulType > FT_STRUCT) return Reference(fdsc, strSection, ulStart);
    PART all = {"", true};
    const ULONG ulElements = Elements(fdsc);
    if (!IsText(fdsc)) fdsc.ulCount = 1;
    for (ULONG ul = 1; ul <= ulElements; ul++) {
      if (ulElements > 1) strNumber = std::to_string(ul);
      const std::string strName = fdsc.pszName + strNumber;
      const bool fSection = all.fLast && fdsc.ulType == FT_STRUCT;
      const char *psz = all.fLast ? FindTitle(pini, strName.c_str(), ulStart) : nullptr;
      const PART part = fSection ? Section(fdsc, strSection + strName) : Value(fdsc, psz);
      all = {all.str + part.str, part.fLast};
    }
    return all;
  }
};

// What the plain reader takes, the others take alike. When a call of malloc fails, nothing leaks.
TEST_F(IniFiles, AreReadAsInPlainSteps) {
  const Reports reports;
  int acTaken[2] = {};
  for (int i = 0; i < 6000; i++) {
    std::string strFile = "\n[ my.ini ] ignored\n", strEntries;
    for (ULONG ul = Random(40); ul > 0; ul--) AddEntry(strFile, strEntries);
    if (i % 2) Damage(strFile);
    SCOPED_TRACE(strFile);

    const std::string strPlain = EntriesOf(Open(strFile));
    const bool fTaken = strPlain != "refused";
    acTaken[fTaken]++;
    ASSERT_TRUE(i % 2 || strPlain == strEntries);
    ASSERT_EQ(EntriesOf(OpenChecked(strFile, INI_MODE_READ)), strPlain);
    const Ini ini = OpenChecked(strFile, INI_MODE_LENIENT);
    ASSERT_TRUE(!fTaken || EntriesOf(ini) == strPlain);
    if (!ini) continue;
    const Ini iniPoor(RunPoor([&] { return IniOpenChecked("input", INI_MODE_LENIENT, &err_); }));
    ASSERT_EQ(err_.ulCode, iniPoor ? 0u : INI_ERROR_MEMORY);
    ASSERT_EQ(EntriesOf(iniPoor ? iniPoor : ini), EntriesOf(ini));
    RunPoor([] { return OpenIni("input"); });

    NewDescription(3);
    for (FDSC *pfdsc : Fields()) Redescribe(*pfdsc);
    for (int iField = 0; iField < 10 && !Fields().empty(); iField++) {
      const FDSC &fdsc = *OneOf(Fields());
      SCOPED_TRACE(fdsc.pszName + " of type "s + std::to_string(fdsc.ulType));
      const auto [str, fLast] = Model{ini.get(), false}.Read(fdsc, "", 0, "");
      Data data(fdsc);
      data.Take(); // what stays is seen

      ASSERT_EQ(IniRead(ini.get(), data.At(), &fdsc), !fLast);
      ASSERT_EQ(data.Take(), str);

      const ULONG ulBlocks = Blocks();
      RunPoor([&] { return IniRead(ini.get(), data.At(), &fdsc); });
      IniFreeData(data.At(), &fdsc);
      ASSERT_EQ(Blocks(), ulBlocks) << "all is freed";
    }
  }
  EXPECT_GT(std::min(acTaken[0], acTaken[1]), 1000);
}

TEST_F(IniFiles, DecideOnReferences) {
  const SDSC sdsc = Describe({Field("", FT_STRUCTPTR, 1, &sdsc)});
  const FDSC fdscList = Field("", FT_STRUCTLIST, 1, &sdsc);
  Data data(sdsc.afdsc[0]);
  auto *ppvSelf = static_cast<void **>(MemAllocMem_(sizeof(void *), 0, nullptr));
  void *pvList = *ppvSelf = ppvSelf;

  EXPECT_EQ(IniRead(Open("[x]\n[]").get(), data.At(), sdsc.afdsc), 0u);
  EXPECT_EQ(IniRead(Open("[x]").get(), &pvList, &fdscList), 0u);
  EXPECT_EQ(IniRead(OpenIni("input").get(), ppvSelf, sdsc.afdsc), 0u);

  EXPECT_EQ(data.Take().size(), 127 * 3 + 5u) << "a structure that holds itself";
  EXPECT_EQ(pvList, ppvSelf) << "a list stays without its first element";
  EXPECT_FALSE(*ppvSelf) << "but it is not freed, as it holds the very reference";
  EXPECT_EQ(Blocks(), 1u);
  MemFreeMem_(ppvSelf);
}

TEST_F(IniFiles, AreForgottenWhole) {
  const SDSC sdsc = Describe({Field("N", FT_PSZ, 1, nullptr, FDSC_NOINI), Field("T", FT_PSZ, 2),
                              Field("Q", FT_STRUCTLIST, 1, &sdsc)});
  Reports reports;
  struct RECORD {
    char *pszOther, *apsz[2];
    LIST *plst;
  };
  const FDSC fdsc = Field("S", sdsc);
  const auto NewText = [] { return MemAllocString_("text", 0, nullptr); };
  auto *precItem = static_cast<RECORD *>(MemAllocMem_(sizeof(RECORD), 0, nullptr));
  const RECORD recNothing = {NewText(), {}, nullptr};
  RECORD rec = {recNothing.pszOther, {nullptr, NewText()}, LstNewList(0)};
  *precItem = {rec.pszOther, {NewText(), NewText()}, rec.plst};
  for (RECORD *prec : {precItem, &rec}) LstInsert(rec.plst, prec, LST_END);

  IniFreeData(&rec, &fdsc);
  IniFreeData(nullptr, &fdsc);
  IniFreeData(&rec, nullptr);

  EXPECT_EQ(std::memcmp(&rec, &recNothing, sizeof rec), 0) << "what no file has stays";
  EXPECT_EQ(Blocks(), 1u);
  EXPECT_EQ(reports.Take(), Texts()) << "data that lead back are freed once";
  MemFreeMem_(rec.pszOther);
}
} // namespace
