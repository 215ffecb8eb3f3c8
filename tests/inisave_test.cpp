// inisave_test.cpp: saving described data so that it reads back, or not at all; and checking descriptions.

#include <sys/resource.h>
#include <sys/stat.h>

#include <cerrno>
#include <cmath>
#include <csignal>
#include <limits>
#include <map>

#include "generated.h"

namespace {
namespace fs = std::filesystem;

std::string strSynced; // what was
int iFailSync = 0;     // the call that fails, counted from 1

std::string FolderText() { // the names in the current folder, with the contents of files
  std::map<std::string, std::string> texts;
  for (const auto &entry : fs::directory_iterator("."))
    texts[entry.path().filename()] =
        entry.symlink_status().type() == fs::file_type::regular ? Contents(entry) : "";
  std::string str;
  for (const auto &[strName, strText] : texts) str += strName + ":" + strText + ";";
  return str;
}

class IniSaving : public Generated {
 protected:
  void TearDown() override {
    iFailSync = 0;
    Generated::TearDown();
  }
  static std::string Saved(const FDSC &fdsc, const void *pv,
                           const char *pszFile = "saved.ini") { // what is wrong, or ""
    INIERROR error;
    error.ulCode = 99;
    EXPECT_EQ(IniSave(pszFile, pv, &fdsc, &error), error.ulCode);
    EXPECT_EQ(error.ulCode == 0, *error.szText == '\0') << error.szText;
    return error.szText;
  }

  static std::string ReadApart(const FDSC &fdsc, ULONG ulBytes) {
    std::vector<BYTE> ab(ulBytes + 1);
    INIFILE *pini = IniOpen("saved.ini", INI_MODE_READ);
    EXPECT_TRUE(pini) << Contents("saved.ini");
    EXPECT_EQ(IniRead(pini, &ab[1], &fdsc), 0u);
    IniClose(pini);
    return TakeApart(fdsc, &ab[1]);
  }

  std::string SomeText(ULONG ulMost) {
    std::string str(Random(ulMost + 1), ' ');
    for (char &ch : str) ch = Random(8) ? 'x' : " .\"\n\r\t\xE4]=\\"[Random(10)];
    return str;
  }

  // Changes some values to any others, which the field can hold or not.
  void Change(const FDSC &fdsc, BYTE *pb) {
    if (fdsc.flFlags) return;
    for (ULONG ul = 0; ul < Elements(fdsc); ul++, pb += ElementSize(fdsc)) {
      if (fdsc.ulType == FT_STRUCT) Change(StructureOf(fdsc), pb);
      if (fdsc.ulType >= FT_STRUCT) ChangeReference(fdsc, pb);
      if (fdsc.ulType < FT_STRUCT && Random(60) == 0) ChangeValue(fdsc, pb);
    }
  }
  void Change(const SDSC &sdsc, BYTE *pb) {
    for (ULONG ul = 0; ul < sdsc.ulFields; pb += Extent(sdsc.afdsc[ul++]))
      Change(sdsc.afdsc[ul], pb);
  }

  // Gives a field another name, or another format. Names that may collide are no other faults.
  void Redescribe(FDSC &fdsc, bool fCollide) {
    static const char *const apszNames[] = {"A", "a",   "A1", "A2",  "A3", "A11",  "AA",
                                            "1", "A 1", "[A", "\"A", "",   nullptr};
    static const char *const apszFormats[] = {"%s",  "%hX",  "%ld", "%lx", "%g",
                                              "%lg", "%.3f", "%le", "%7s", "<%s>"};
    if (Random(fCollide ? 3 : 20) == 0)
      fdsc.pszName = apszNames[Random(fCollide ? 8 : std::size(apszNames))];
    if (Random(fCollide ? 100 : 20) == 0)
      fdsc.pszFormat = apszFormats[Random(std::size(apszFormats))];
  }

 private:
  void ChangeReference(const FDSC &fdsc, BYTE *pb) {
    void *pv;
    if (fdsc.ulType == FT_STRUCT || (std::memcpy(&pv, pb, sizeof pv), !pv)) return;
    if (Random(10) == 0) return void((TakeReferenceApart(fdsc, pv), std::memset(pb, 0, sizeof pv)));
    if (fdsc.ulType == FT_STRUCTPTR) return Change(StructureOf(fdsc), static_cast<BYTE *>(pv));
    for (LISTITEM *pli = static_cast<LIST *>(pv)->pliFirst; pli; pli = pli->pliNext) {
      const bool fText = fdsc.ulType == FT_VALUELIST && ItemOf(fdsc).ulType == FT_PSZ;
      auto *pbItem =
          fText ? reinterpret_cast<BYTE *>(&pli->pvData) : static_cast<BYTE *>(pli->pvData);
      fdsc.ulType == FT_VALUELIST ? Change(ItemOf(fdsc), pbItem)
                                  : Change(StructureOf(fdsc), pbItem);
    }
  }
  void ChangeValue(const FDSC &fdsc, BYTE *pb) {
    const ULONG cb = ElementSize(fdsc);
    if (fdsc.ulType == FT_PSZ) {
      char *psz;
      std::memcpy(&psz, pb, sizeof psz);
      if (psz) MemFreeString_(psz);
      psz = MemAllocString_(SomeText(130).c_str(), 0, nullptr);
      return void(std::memcpy(pb, &psz, sizeof psz));
    }
    const double d = std::ldexp(1 + Random(10), static_cast<int>(Random(20)) - 10) / 10;
    const float flt = static_cast<float>(d);
    const std::string str = SomeText(cb);
    const bool fNice = Random(2) && cb >= 4;
    if (IsText(fdsc))
      return void((std::memset(pb, fdsc.ulType == FT_STRING ? 0 : ' ', cb),
                   std::memcpy(pb, str.data(), str.size())));
    for (ULONG ul = 0; ul < cb; ul++)
      pb[ul] = static_cast<BYTE>(Random(3) ? Random(2) : Random(256));
    if (fNice && fdsc.ulType == FT_FLOAT) std::memcpy(pb, &flt, cb);
    if (fNice && fdsc.ulType == FT_DOUBLE) std::memcpy(pb, &d, cb);
  }
};

// Data of all kinds under names of all kinds: what is accepted reads back, all of it; and what a file held before is
// accepted.
TEST_F(IniSaving, KeepsWhatItAccepts) {
  LiftLimits();
  int acResult[2] = {};
  for (int i = 0; i < 1500; i++) {
    sdscs_.clear(), elements_.clear();
    const SDSC *psdsc = Structure(3);
    const FDSC fdsc = Named(FT_STRUCT, 1, psdsc);
    std::string str = "[ saved.ini ]\n";
    PutStructure(str, *psdsc, std::string(" ") + fdsc.pszName);
    fs::remove("saved.ini"); // a new file is faster
    std::ofstream("saved.ini", std::ios::binary) << str;
    std::vector<BYTE> ab(psdsc->ulSize + 1); // at odd addresses
    INIFILE *pini = IniOpen("saved.ini", INI_MODE_READ);
    EXPECT_EQ(IniRead(pini, &ab[1], &fdsc), 0u) << str;
    IniClose(pini);
    if (i % 3 == 1) Change(fdsc, &ab[1]);
    if (i % 3 == 2) {
      for (FDSC &fdscAny : elements_) Redescribe(fdscAny, i % 2);
      for (SDSC &sdsc : sdscs_)
        for (FDSC &fdscAny : std::span(sdsc.afdsc, sdsc.ulFields)) Redescribe(fdscAny, i % 2);
    }
    const std::string strWrong = Saved(fdsc, &ab[1]), strData = TakeApart(fdsc, &ab[1]);
    SCOPED_TRACE(strWrong + "\n" + Contents("saved.ini"));
    acResult[strWrong.empty()]++;
    ASSERT_TRUE(i % 3 != 0 || strWrong.empty());
    if (strWrong.empty()) {
      ASSERT_EQ(ReadApart(fdsc, psdsc->ulSize), strData);
    } else {
      ASSERT_EQ(Contents("saved.ini"), str);
      ASSERT_EQ(strWrong.find("saved.ini: [ " + std::string(fdsc.pszName)), 0u);
    }
  }
  EXPECT_TRUE(acResult[0] > 200 && acResult[1] > 700) << acResult[0] << " and " << acResult[1];
}

TEST_F(IniSaving, WritesFractionsAndZerosSoThatTheyReadBack) {
  using Limits = std::numeric_limits<double>;
  double ad[] = {0.1,        1e300, -0.0, 1.0 / 3, 4.9406564584124654e-324, Limits::infinity(),
                 123456.789, 100};
  float aflt[] = {0.1F, 16777216.0F, 3.4028235e38F, 1e-45F,
                  std::numeric_limits<float>::quiet_NaN()};
  ULONG aulZero[] = {0, 0};
  EXPECT_EQ(Saved(Field("D", FT_DOUBLE, std::size(ad)), ad), "");
  EXPECT_EQ(Contents("saved.ini"),
            "[ saved.ini ]\n  D 1 = 0.1\n  D 2 = 1e+300\n  D 3 = -0\n  D 4 = 0.3333333333333333\n"
            "  D 5 = 4.94065645841247e-324\n  D 6 = inf\n  D 7 = 123456.789\n  D 8 = 100\n");
  EXPECT_EQ(Saved(Field("F", FT_FLOAT, std::size(aflt)), aflt), "");
  EXPECT_EQ(Contents("saved.ini"),
            "[ saved.ini ]\n  F 1 = 0.1\n  F 2 = 16777216\n  F 3 = 3.4028235e+38\n  F 4 = "
            "1.4013e-45\n  F 5 = nan\n");
  EXPECT_EQ(Saved(Field("I", FT_INTERVAL, 2), aulZero), "");
  EXPECT_EQ(Contents("saved.ini"), "[ saved.ini ]\n  I 1 = 0s\n  I 2 = 0s\n");
  EXPECT_EQ(Saved(Field("V", FT_VERBOSITY, 1), aulZero), "");
  EXPECT_EQ(Contents("saved.ini"), "[ saved.ini ]\n  V = Area0\n");
}

TEST_F(IniSaving, SaysWhatWouldNotReadBack) {
  const EDSC edsc = {2, {"One", " Two"}, {1, 2}};
  const SDSC sdscDotted = {1, 0, 4, 0, {Field("", FT_FIXEDSTRING, 4)}},
             sdscText = Describe({Field("T", FT_PSZ)});
  const FDSC fdscText = Field("L", FT_PSZ), fdscArray = Field("L", FT_ULONG, 2);
  const FDSC fdscFormat = {0, "K", 0, FT_ULONG, 1, "%#lx", nullptr};
  const double dTime = 1.00001;
  LIST *plst = LstNewList(0);
  LstInsert(plst, nullptr, LST_END);
  const struct {
    FDSC fdsc;
    std::string strData; // of the field, or the text that it refers to
    const char *pszExpected;
  } aCase[] = {
      {Field("K", FT_BOOL32), {"\2\2\2\2", 4}, "K: its text would not read back the same"},
      {Field("K", FT_ENUM32, 1, &edsc), {"\0\0\0\0", 4}, "K: the value has no name"},
      {Field("K", FT_VERBOSITY), {"\1\0\0\1", 4}, "K: its text would not read back the same"},
      {Field("K", FT_REALTIME),
       {reinterpret_cast<const char *>(&dTime), 8},
       "K: its text would not read back the same"},
      {Field("K", FT_FIXEDSTRING, 4), {"ab\0\0", 4}, "K: its text would not read back the same"},
      {Field("K", FT_DOTTED, 4, &sdscDotted), "a.b ", "K: its text would not read back the same"},
      {Field("K", FT_STRING, 4), "abcd", "K: its text would not read back the same"},
      {Field("K", FT_STRING, 4), {"a\"\0\0", 4}, "K: it has a double quote"},
      {Field("K", FT_STRING, 4), {"a\n\0\0", 4}, "K: it has a line end"},
      {Field("K", FT_PSZ), {"\0\0\0\0", 4}, "K: a null text reads back as an empty one"},
      {fdscFormat, "abcd", "K: its text would not read back the same"},
      {Field("K", FT_FIXEDSTRING, 128), std::string(128, 'x'),
       "K: it is longer than 127 characters"},
      {Field("K", FT_ULONG, 5101), std::string(20404, 'x'),
       "K 5101: a file has no more than 5100 sections and keys"},
      {Field("K K", FT_BYTE), "x",
       "K K: the name has a blank or one of the characters ]-!@#$%&*<>_|\\:"},
      {Field(nullptr, FT_BYTE), "x", "(no name): it has no name"},
      {Field("K", 19), "x", "K: its type is reserved"},
      {Field("K", FT_STRUCTPTR, 2, &sdscText), std::string(8, '\0'),
       "K: it is an array of references"},
      {Field("K", FT_VALUELIST, 1, &fdscArray), std::string(4, '\0'),
       "K: its elements are no single values"},
      {Field("K", FT_VALUELIST, 1, &fdscText),
       {reinterpret_cast<char *>(&plst), 4},
       "L 1: a null text reads back as an empty one"},
      {Field("K", FT_STRUCTLIST, 1, &sdscText),
       {reinterpret_cast<char *>(&plst), 4},
       "K 1: an item of a list without data is not written"},
  };
  for (const auto &[fdsc, strData, pszExpected] : aCase)
    EXPECT_EQ(Saved(fdsc, strData.data()), std::string("saved.ini: ") + pszExpected);

  const SDSC sdscSections =
      Describe({Field("S", FT_STRUCTPTR, 1, &sdscText), Field("V", FT_VALUELIST, 1, &fdscText)});
  char szText[] = "", *psz = szText;
  void *apv[] = {&psz, plst};
  EXPECT_EQ(Saved(Field("Top", FT_STRUCT, 1, &sdscSections), apv),
            "saved.ini: [ Top ] L 1: it comes after a structure, and would stand in its section");
  SDSC sdscSelf = {1, 0, sizeof(void *), 0, {Field("Next", FT_STRUCTPTR, 1, &sdscSelf)}};
  void *pvSelf = &pvSelf, *apvNext[40] = {};
  EXPECT_EQ(Saved(sdscSelf.afdsc[0], &pvSelf),
            "saved.ini: [ Next ] Next: it leads back to data that it is a part of");
  for (void **ppv = apvNext; ppv + 1 < std::end(apvNext); ppv++) *ppv = ppv + 1;
  EXPECT_NE(Saved(sdscSelf.afdsc[0], apvNext).find("Next: its name is longer than 127 characters"),
            std::string::npos);
  LstDeleteAll(plst), LstFreeList_(plst);
}

TEST_F(IniSaving, ReplacesAFileAsAWhole) {
  const FDSC fdsc = Field("K", FT_ULONG, 3000);
  std::vector<ULONG> aul(3000, 7);
  umask(022);
  EXPECT_EQ(Saved(fdsc, aul.data()), "");
  struct stat st;
  EXPECT_TRUE(stat("saved.ini", &st) == 0 && (st.st_mode & 07777) == 0644);
  fs::create_directory("folder");
  fs::rename("saved.ini", "folder/file.ini");
  chmod("folder/file.ini", 0640);
  const std::string strOld = Contents("folder/file.ini");
  fs::create_symlink("folder/file.ini", "saved.ini");
  fs::create_symlink("new.ini", "folder/link.ini");
  strSynced.clear();
  aul[0] = 8;
  EXPECT_EQ(Saved(fdsc, aul.data()) + Saved(fdsc, aul.data(), "folder/link.ini"), "");
  EXPECT_TRUE(fs::is_symlink("saved.ini") && fs::is_symlink("folder/link.ini")) << "a link stays";
  EXPECT_TRUE(stat("folder/file.ini", &st) == 0 && (st.st_mode & 07777) == 0640);
  EXPECT_NE(Contents("folder/file.ini").find("K 1 = 8\n"), std::string::npos);
  EXPECT_EQ(Contents("folder/new.ini").substr(0, 13), "[ link.ini ]\n");
  EXPECT_EQ(strSynced, "file folder file folder ")
      << "the file, before it has its name; then the name";
}

TEST_F(IniSaving, LeavesAFileAloneWhenItFails) {
  const FDSC fdsc = Field("K", FT_ULONG, 3000);
  const std::vector<ULONG> aul(3000, 7);
  std::ofstream("saved.ini") << "old";
  fs::create_directory("folder.ini");
  fs::create_symlink("loop.ini", "loop.ini");
  mkfifo("fifo.ini", 0600);
  const std::string strBefore = FolderText();

  for (const char *pszFile :
       {"folder.ini", "loop.ini", "fifo.ini", "no/such.ini", "a_b.ini", "a b.ini", "folder.ini/"})
    EXPECT_EQ(Saved(fdsc, aul.data(), pszFile).find(std::string(pszFile) + ": "), 0u);
  EXPECT_EQ(Saved(fdsc, aul.data(), std::string(256, 'x').c_str()), "the file's name is too long");
  EXPECT_EQ(Saved(fdsc, nullptr), "a null pointer");
  EXPECT_EQ(IniSave("saved.ini", nullptr, &fdsc, nullptr), static_cast<ULONG>(INI_ERROR_ARGUMENT));
  if (FailMalloc::Works()) {
    const FailMalloc fail;
    EXPECT_EQ(Saved(fdsc, aul.data()), "saved.ini: no memory");
  }
  iFailSync = 1;
  EXPECT_EQ(Saved(fdsc, aul.data()), "saved.ini: Input/output error");
  rlimit limitOld, limit = {1000, RLIM_INFINITY}; // a disk that is full, as near as it goes
  getrlimit(RLIMIT_FSIZE, &limitOld);
  limit.rlim_max = limitOld.rlim_max;
  const auto pfnOld = std::signal(SIGXFSZ, SIG_IGN);
  setrlimit(RLIMIT_FSIZE, &limit);
  const std::string strWrong = Saved(fdsc, aul.data());
  setrlimit(RLIMIT_FSIZE, &limitOld);
  std::signal(SIGXFSZ, pfnOld);
  EXPECT_EQ(strWrong, "saved.ini: File too large");
  EXPECT_EQ(FolderText(), strBefore);
}

std::string Checked(const FDSC &fdsc, ULONG ulSizeof) { // what is wrong, or ""
  INIERROR error;
  EXPECT_EQ(IniCheckDescription(&fdsc, ulSizeof, &error), error.ulCode);
  EXPECT_EQ(error.ulCode == 0, *error.szText == '\0') << error.szText;
  return error.szText;
}

// Random descriptions are fine until a field of them, at any depth, is spoilt.
TEST_F(IniSaving, ChecksDescriptionsByField) {
  SDSC sdscSelf = {
      2,
      0,
      8,
      0,
      {Field("Next", FT_STRUCTPTR, 1, &sdscSelf), Field("List", FT_STRUCTLIST, 1, &sdscSelf)}};
  const struct {
    void (*pfnSpoil)(FDSC &fdsc);
    const char *pszExpected;
  } aCase[] = {
      {[](FDSC &fdsc) { fdsc.ulType = 20; }, "its type is reserved"},
      {[](FDSC &fdsc) { fdsc.ulCount = 0; }, "its ulCount is 0"},
      {[](FDSC &fdsc) { fdsc = Field("a b", FT_BYTE); },
       "the name has a blank or one of the characters ]-!@#$%&*<>_|\\:"},
      {[](FDSC &fdsc) { fdsc = {0, "K", 0, FT_LONG, 1, "%d %d", nullptr}; },
       "its format does not fit its type"},
      {[](FDSC &fdsc) { fdsc = {0, "K", 0, FT_DOUBLE, 1, "%.3lf", nullptr}; },
       "its format gives texts that do not read back"},
      {[](FDSC &fdsc) { fdsc = {0, "K", 0, FT_LONG, 1, "%5ld", nullptr}; },
       "its format gives texts that do not read back"},
      {[](FDSC &fdsc) { fdsc = {0, "K", 0, FT_PSZ, 1, "%.9s", nullptr}; },
       "its format gives texts that do not read back"},
      {[](FDSC &fdsc) { fdsc = Field("K", FT_LONG, 1, &fdsc); }, "its type takes no pvDesc"},
      {[](FDSC &fdsc) { fdsc = Field("K", FT_ENUM16); }, "its pvDesc is missing"},
      {[](FDSC &fdsc) { fdsc = Field("K", FT_ULONG, 0x20000000); },
       "it takes more than 2147483647 bytes"},
  };
  EXPECT_EQ(Checked(sdscSelf.afdsc[0], 4), "") << "a structure may refer to itself";
  for (int i = 0; i < 500; i++) {
    sdscs_.clear();
    const SDSC *psdsc = Structure(3);
    const FDSC fdsc = Named(FT_STRUCT, 1 + Random(3), psdsc);
    ASSERT_EQ(Checked(fdsc, Extent(fdsc)), "");
    SDSC &sdsc = sdscs_[Random(sdscs_.size())];
    if (sdsc.ulFields == 0) continue;
    FDSC &fdscSpoilt = sdsc.afdsc[Random(sdsc.ulFields)];
    const auto &[pfnSpoil, pszExpected] = aCase[Random(std::size(aCase))];
    pfnSpoil(fdscSpoilt);
    fdscSpoilt.flFlags = 0;
    const std::string str = Checked(fdsc, Extent(fdsc)),
                      strPlace = "." + std::string(fdscSpoilt.pszName) + ": ";
    ASSERT_EQ(str.substr(0, 4), fdsc.pszName);
    ASSERT_NE((str + ";").find(strPlace + pszExpected + ";"), std::string::npos)
        << str << " for " << pszExpected;
  }
}

TEST_F(IniSaving, ChecksDescriptionsAsAWhole) {
  const SDSC sdscOne = Describe({Field("L", FT_LONG)}),
             sdscWrong = {1, 0, 5, 0, {Field("L", FT_LONG)}};
  const SDSC sdscMany = {61, 0, 0, 0, {}},
             sdscDotted = {1, 0, 3, 0, {Field("", FT_FIXEDSTRING, 3)}};
  SDSC sdscEndless = {1, 0, 0, 0, {Field("In", FT_STRUCT, 1, &sdscEndless)}};
  const FDSC fdscText = Field("L", FT_PSZ), fdscLists = Field("V", FT_VALUELIST, 1, &fdscText);
  const EDSC aedsc[] = {{17, {}, {}}, {2, {"One"}, {}}, {2, {"One", "ONE"}, {}}, {1, {" One"}, {}}};
  const auto CheckedIn = [](std::initializer_list<FDSC> fields) {
    const SDSC sdsc = Describe(fields);
    return Checked(Field("S", FT_STRUCT, 1, &sdsc), sdsc.ulSize);
  };
  const struct {
    std::string str;
    const char *pszExpected;
  } aCase[] = {
      {Checked(Field("S", FT_STRUCT, 2, &sdscOne), 12),
       "S: the data takes 12 bytes, its description 8"},
      {Checked(Field("S", FT_STRUCTPTR, 1, &sdscWrong), 4),
       "S: the ulSize of its structure is 5 bytes, its fields take 4"},
      {Checked(Field("S", FT_STRUCT, 1, &sdscMany), 0), "S: its structure has more than 60 fields"},
      {Checked(Field("S", FT_STRUCT, 1, &sdscEndless), 0),
       "S.In: the structure lies within itself"},
      {CheckedIn({Field("D", FT_DOTTED, 4, &sdscDotted)}),
       "S.D: its ulCount is not the sum of its subfields"},
      {CheckedIn({Field("E", FT_ENUM16, 1, &aedsc[0])}),
       "S.E: its enumeration has no names or too many"},
      {CheckedIn({Field("E", FT_ENUM16, 1, &aedsc[1])}), "S.E: its enumeration has a null name"},
      {CheckedIn({Field("E", FT_ENUM32, 1, &aedsc[2])}), "S.E: its enumeration has a name twice"},
      {CheckedIn({Field("E", FT_ENUM32, 1, &aedsc[3])}),
       "S.E: its enumeration has a name that no file can have"},
      {CheckedIn({Field("A", FT_BYTE), Field(nullptr, FT_BYTE)}), "S.#2: it has no name"},
      {CheckedIn({Field(nullptr, FT_PSZ, 1, nullptr, FDSC_NOINI),
                  Field(nullptr, FT_STRUCTPTR, 2, nullptr, FDSC_NOINI)}),
       ""},
      {CheckedIn({Field("F", FT_FIXEDSTRING, 128)}), "S.F: it is longer than 127 characters"},
      {CheckedIn({Field("V", FT_STRUCT, 1, &sdscOne), Field("v", FT_BYTE), fdscLists}), ""},
      {CheckedIn({Field("Port", FT_BYTE, 3), Field("port2", FT_BYTE)}),
       "S.port2: a file would have its name twice"},
      {CheckedIn({Field("Port", FT_BYTE, 3), Field("port4", FT_BYTE)}), ""},
      {CheckedIn({Field("Port", FT_BYTE, 3), Field("port02", FT_BYTE)}), ""},
      {CheckedIn({Field("P", FT_BYTE, 30), Field("P2", FT_BYTE, 2)}),
       "S.P2: a file would have its name twice"},
      {CheckedIn({Field("P", FT_BYTE, 20), Field("P2", FT_BYTE, 2)}), ""},
      {CheckedIn({Field("L9", FT_BYTE), fdscLists}), "S.V: a file would have its name twice"},
  };
  for (const auto &[str, pszExpected] : aCase) EXPECT_EQ(str, pszExpected);
  EXPECT_EQ(IniCheckDescription(nullptr, 0, nullptr), static_cast<ULONG>(INI_ERROR_ARGUMENT));
}
} // namespace

// The test program's own: it waits for no disk.
extern "C" int fsync(int fd) {
  struct stat st;
  strSynced += fstat(fd, &st) == 0 && S_ISDIR(st.st_mode) ? "folder " : "file ";
  if (iFailSync == 0 || --iFailSync > 0) return 0;
  errno = EIO;
  return -1;
}
