// inisave_test.cpp: saving described data so that it reads back, or not at all; and checking
// descriptions.

#include <sys/resource.h>
#include <sys/stat.h>

#include <cerrno>
#include <cmath>
#include <csignal>
#include <limits>

#include "described.h"

namespace {
namespace fs = std::filesystem;
using namespace std::string_literals;

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

// What is wrong, or "".
std::string TextOf(const INIERROR &error, ULONG ulResult) {
  EXPECT_EQ(ulResult, error.ulCode);
  EXPECT_EQ(error.ulCode == 0, *error.szText == '\0') << error.szText;
  return error.szText;
}
std::string Saved(const FDSC &fdsc, const void *pv, const char *pszFile = "data.ini") {
  INIERROR error = {99, 0, ""};
  const ULONG ulResult = IniSave(pszFile, pv, &fdsc, &error);
  return TextOf(error, ulResult);
}
std::string Checked(const FDSC &fdsc, ULONG ulSizeof) {
  INIERROR error = {99, 0, ""};
  const ULONG ulResult = IniCheckDescription(&fdsc, ulSizeof, &error);
  return TextOf(error, ulResult);
}

class IniSaving : public IniTest {
 protected:
  void TearDown() override {
    iFailSync = 0;
    IniTest::TearDown();
  }

  // Changes some values to any others, which the field can hold or not, and drops some references.
  void Change(const FDSC &fdscAll, BYTE *pbAll) {
    ForElements(fdscAll, pbAll, [&](const FDSC &fdsc, BYTE *pb) {
      if (fdsc.flFlags) return;
      if (fdsc.ulType < FT_STRUCT) {
        if (Random(60) == 0) ChangeValue(fdsc, pb);
      } else if (Random(10) == 0) {
        TakeReferenceApart(fdsc, pb);
      } else if (PointerAt(pb)) {
        ForTargets(fdsc, PointerAt(pb), [this](const FDSC &fdscTarget, BYTE *pbTarget) {
          Change(fdscTarget, pbTarget);
        });
      }
    });
  }

  // Gives a field another name, or another format. Names that may collide are no other faults.
  void Redescribe(FDSC &fdsc, bool fCollide) {
    static const char *const apszColliding[] = {"A", "a", "A1", "A2", "A3", "A11", "AA", "1"};
    static const char *const apszWrong[] = {"A 1", "[A", "\"A", "", nullptr};
    static const char *const apszFormat[] = {"%s",  "%hX",  "%ld", "%lx", "%g",
                                             "%lg", "%.3f", "%le", "%7s", "<%s>"};
    const bool fWrong = !fCollide && Random(3) == 0;
    if (fdsc.ulType == FT_VALUELIST) Redescribe(*static_cast<FDSC *>(fdsc.pvDesc), fCollide);
    if (Random(fCollide ? 3 : 20) == 0)
      fdsc.pszName = fWrong ? OneOf(apszWrong) : OneOf(apszColliding);
    if (Random(fCollide ? 100 : 20) == 0) fdsc.pszFormat = OneOf(apszFormat);
  }

 private:
  void ChangeValue(const FDSC &fdsc, BYTE *pb) {
    const ULONG cb = ElementSize(fdsc);
    const std::string strChars = std::string(70, 'x') + " .\"\n\r\t\xE4]=\\";
    const std::string str = SomeChars(strChars, fdsc.ulType == FT_PSZ ? 130 : cb);
    if (fdsc.ulType == FT_PSZ) {
      TakeReferenceApart(fdsc, pb);
      PutPointer(pb, MemAllocString_(str.c_str(), 0, nullptr));
    } else if (IsText(fdsc)) {
      std::memset(pb, fdsc.ulType == FT_STRING ? 0 : ' ', cb);
      std::memcpy(pb, str.data(), str.size());
    } else {
      ChangeNumber(fdsc.ulType, pb, cb);
    }
  }
  void ChangeNumber(ULONG ulType, BYTE *pb, ULONG cb) {
    const double d = std::ldexp(1 + Random(10), static_cast<int>(Random(20)) - 10) / 10;
    const auto flt = static_cast<float>(d);
    for (ULONG ul = 0; ul < cb; ul++)
      pb[ul] = static_cast<BYTE>(Random(3) ? Random(2) : Random(256));
    if (Random(2) && ulType == FT_FLOAT) std::memcpy(pb, &flt, cb);
    if (Random(2) && ulType == FT_DOUBLE) std::memcpy(pb, &d, cb);
  }
};

// Data of all kinds under names of all kinds: IniWrite gives the file that they are from; and
// IniSave accepts them. Of changed ones, what is accepted reads back, and else the file stays.
TEST_F(IniSaving, KeepsWhatItAccepts) {
  LiftLimits();
  int acResult[2] = {};
  for (int i = 0; i < 1500; i++) {
    const FDSC fdsc = NewDescription(3);
    const std::string strBefore =
        "[ data.ini ]\n" + AnySection(StructureOf(fdsc), " "s + fdsc.pszName);
    Data data(fdsc), dataRead(fdsc);
    ASSERT_EQ(IniRead(Open(strBefore).get(), data.At(), &fdsc), 0u) << strBefore;
    ASSERT_EQ(Written({{data.At(), fdsc}}), strBefore);
    if (i % 3 == 1) Change(fdsc, data.At());
    if (i % 3 == 2)
      for (FDSC *pfdsc : Fields()) Redescribe(*pfdsc, i % 2);

    const std::string strWrong = Saved(fdsc, data.At()), strFile = Contents("data.ini");

    SCOPED_TRACE(strWrong + "\n" + strFile);
    acResult[strWrong.empty()]++;
    if (strWrong.empty()) {
      ASSERT_EQ(IniRead(OpenIni("data.ini").get(), dataRead.At(), &fdsc), 0u);
      ASSERT_EQ(dataRead.Take(), data.Take());
    } else {
      ASSERT_NE(i % 3, 0);
      ASSERT_EQ(strFile, strBefore);
      ASSERT_EQ(strWrong.find("data.ini: [ "s + fdsc.pszName), 0u);
    }
  }
  EXPECT_TRUE(acResult[0] > 200 && acResult[1] > 700) << acResult[0] << " and " << acResult[1];
}

TEST_F(IniSaving, WritesFractionsAndZerosSoThatTheyReadBack) {
  const struct {
    ULONG ulType;
    std::string strData;
    const char *pszText;
  } aCase[] = {
      {FT_DOUBLE, BytesOf(0.1), "0.1"},
      {FT_DOUBLE, BytesOf(1e300), "1e+300"},
      {FT_DOUBLE, BytesOf(-0.0), "-0"},
      {FT_DOUBLE, BytesOf(1.0 / 3), "0.3333333333333333"},
      {FT_DOUBLE, BytesOf(4.9406564584124654e-324), "4.94065645841247e-324"},
      {FT_DOUBLE, BytesOf(HUGE_VAL), "inf"},
      {FT_DOUBLE, BytesOf(123456.789), "123456.789"},
      {FT_DOUBLE, BytesOf(100.0), "100"},
      {FT_FLOAT, BytesOf(0.1F), "0.1"},
      {FT_FLOAT, BytesOf(16777216.0F), "16777216"},
      {FT_FLOAT, BytesOf(3.4028235e38F), "3.4028235e+38"},
      {FT_FLOAT, BytesOf(1e-45F), "1.4013e-45"},
      {FT_FLOAT, BytesOf(std::numeric_limits<float>::quiet_NaN()), "nan"},
      {FT_INTERVAL, BytesOf(0UL), "0s"},
      {FT_VERBOSITY, BytesOf(0UL), "Area0"},
  };
  for (const auto &[ulType, strData, pszText] : aCase) {
    EXPECT_EQ(Saved(Field("K", ulType), strData.data()), "");
    EXPECT_EQ(Contents("data.ini"), "[ data.ini ]\n  K = "s + pszText + "\n");
  }
}

TEST_F(IniSaving, SaysWhatWouldNotReadBack) {
  const EDSC edsc = {2, {"One", " Two"}, {1, 2}};
  const FDSC fdscText = Field("L", FT_PSZ), fdscArray = Field("L", FT_ULONG, 2);
  const SDSC sdscText = Describe({Field("T", FT_PSZ)});
  const SDSC sdscSections =
      Describe({Field("S", FT_STRUCTPTR, 1, &sdscText), Field("V", FT_VALUELIST, 1, &fdscText)});
  const SDSC sdscSelf = Describe({Field("Next", FT_STRUCTPTR, 1, &sdscSelf)});
  LIST *plst = LstNewList(0);
  LstInsert(plst, nullptr, LST_END);
  char szEmpty[] = "", *pszEmpty = szEmpty;
  void *apvSections[] = {&pszEmpty, plst}, *pvSelf = &pvSelf, *apvNext[40] = {};
  for (void **ppv = apvNext; ppv + 1 < std::end(apvNext); ppv++) *ppv = ppv + 1;
  std::string strNexts;
  for (int i = 0; i < 31; i++) strNexts += " Next";
  const std::string strOther = "K: its text would not read back the same";
  const struct {
    FDSC fdsc;
    std::string strData, strExpected;
  } aCase[] = {
      {Field("K", FT_BOOL32), "\2\2\2\2", strOther},
      {Field("K", FT_REALTIME), BytesOf(1.00001), strOther},
      {Field("K", FT_STRING, 4), "abcd", strOther},
      {Formatted(Field("K", FT_ULONG), "%#lx"), "abcd", strOther},
      {Field("K", FT_STRING, 4), "a\"\0\0"s, "K: it has a double quote"},
      {Field("K", FT_STRING, 4), "a\n\0\0"s, "K: it has a line end"},
      {Field("K", FT_FIXEDSTRING, 128), std::string(128, 'x'),
       "K: it is longer than 127 characters"},
      {Field("K", FT_PSZ), BytesOf(0), "K: a null text reads back as an empty one"},
      {Field("K", FT_VALUELIST, 1, &fdscText), BytesOf(plst),
       "L 1: a null text reads back as an empty one"},
      {Field("K", FT_STRUCTLIST, 1, &sdscText), BytesOf(plst),
       "K 1: an item of a list without data is not written"},
      {Field("K", FT_ENUM32, 1, &edsc), BytesOf(0), "K: the value has no name"},
      {Field("K", FT_ULONG, 5101), std::string(20404, 'x'),
       "K 5101: a file has no more than 5100 sections and keys"},
      {Field("K K", FT_BYTE), "x",
       "K K: the name has a blank or one of the characters ]-!@#$%&*<>_|\\:"},
      {Field(nullptr, FT_BYTE), "x", "(no name): it has no name"},
      {Field("K", 19), "x", "K: its type is reserved"},
      {Field("K", FT_STRUCTPTR, 2, &sdscText), std::string(8, '\0'),
       "K: it is an array of references"},
      {Field("K", FT_VALUELIST, 1, &fdscArray), BytesOf(0), "K: its elements are no single values"},
      {Field("K", sdscSections), BytesOf(apvSections),
       "[ K ] L 1: it comes after a structure, and would stand in its section"},
      {sdscSelf.afdsc[0], BytesOf(&pvSelf),
       "[ Next ] Next: it leads back to data that it is a part of"},
      {sdscSelf.afdsc[0], BytesOf(apvNext),
       "[" + strNexts + " ] Next: its name is longer than 127 characters"},
  };
  for (const auto &[fdsc, strData, strExpected] : aCase)
    EXPECT_EQ(Saved(fdsc, strData.data()), "data.ini: " + strExpected);
  LstDeleteAll(plst);
  LstFreeList_(plst);
}

TEST_F(IniSaving, ReplacesAFileAsAWhole) {
  const FDSC fdsc = Field("K", FT_ULONG, 3000);
  std::vector<ULONG> aul(3000, 7);
  const auto ModeOf = [](const char *pszFile) { return fs::status(pszFile).permissions(); };
  umask(022);
  fs::create_directory("folder");
  std::ofstream("folder/file.ini") << "old";
  fs::permissions("folder/file.ini", fs::perms{0640});
  fs::create_symlink("folder/file.ini", "data.ini");
  fs::create_symlink("new.ini", "folder/link.ini");
  strSynced.clear();

  EXPECT_EQ(Saved(fdsc, aul.data()), "");
  EXPECT_EQ(Saved(fdsc, aul.data(), "folder/link.ini"), "");

  EXPECT_TRUE(fs::is_symlink("data.ini") && fs::is_symlink("folder/link.ini")) << "a link stays";
  EXPECT_EQ(ModeOf("folder/file.ini"), fs::perms{0640});
  EXPECT_EQ(ModeOf("folder/new.ini"), fs::perms{0644});
  EXPECT_EQ(Contents("folder/file.ini").substr(0, 23), "[ data.ini ]\n  K 1 = 7\n");
  EXPECT_EQ(Contents("folder/new.ini").substr(0, 23), "[ link.ini ]\n  K 1 = 7\n");
  EXPECT_EQ(strSynced, "file folder file folder ")
      << "the file, before it has its name; then the name";
}

TEST_F(IniSaving, LeavesAFileAloneWhenItFails) {
  const FDSC fdsc = Field("K", FT_ULONG, 3000);
  const std::vector<ULONG> aul(3000, 7);
  std::ofstream("data.ini") << "old";
  fs::create_directory("folder.ini");
  fs::create_symlink("loop.ini", "loop.ini");
  mkfifo("fifo.ini", 0600);
  const std::string strBefore = FolderText();

  for (const char *pszFile :
       {"folder.ini", "loop.ini", "fifo.ini", "no/such.ini", "a_b.ini", "a b.ini", "folder.ini/"})
    EXPECT_EQ(Saved(fdsc, aul.data(), pszFile).find(pszFile + ": "s), 0u);
  EXPECT_EQ(Saved(fdsc, aul.data(), std::string(256, 'x').c_str()), "the file's name is too long");
  EXPECT_EQ(Saved(fdsc, nullptr), "a null pointer");
  EXPECT_EQ(IniSave("data.ini", nullptr, &fdsc, nullptr), ULONG{INI_ERROR_ARGUMENT});
  if (FailMalloc::Works()) {
    const FailMalloc fail;
    EXPECT_EQ(Saved(fdsc, aul.data()), "data.ini: no memory");
  }
  iFailSync = 1;
  EXPECT_EQ(Saved(fdsc, aul.data()), "data.ini: Input/output error");
  rlimit limitOld; // a disk that is full, as near as it goes
  getrlimit(RLIMIT_FSIZE, &limitOld);
  const rlimit limit = {1000, limitOld.rlim_max};
  const auto pfnOld = std::signal(SIGXFSZ, SIG_IGN);
  setrlimit(RLIMIT_FSIZE, &limit);
  const std::string strWrong = Saved(fdsc, aul.data());
  setrlimit(RLIMIT_FSIZE, &limitOld);
  std::signal(SIGXFSZ, pfnOld);

  EXPECT_EQ(strWrong, "data.ini: File too large");
  EXPECT_EQ(FolderText(), strBefore);
}

// --- Descriptions ---

// Random descriptions are fine until a field of them, at any depth, is spoilt.
TEST_F(IniSaving, ChecksDescriptionsByField) {
  const SDSC sdscSelf = Describe(
      {Field("Next", FT_STRUCTPTR, 1, &sdscSelf), Field("List", FT_STRUCTLIST, 1, &sdscSelf)});
  const char *const pszFormat = "its format gives texts that do not read back";
  const struct {
    FDSC fdsc;
    const char *pszExpected;
  } aCase[] = {
      {Field("K", 20, 1, nullptr, FDSC_NOINI), "its type is reserved"},
      {Field("K", FT_BYTE, 0), "its ulCount is 0"},
      {Field("a b", FT_BYTE), "the name has a blank or one of the characters ]-!@#$%&*<>_|\\:"},
      {Formatted(Field("K", FT_LONG), "%d %d"), "its format does not fit its type"},
      {Formatted(Field("K", FT_DOUBLE), "%.3lf"), pszFormat},
      {Formatted(Field("K", FT_LONG), "%5ld"), pszFormat},
      {Formatted(Field("K", FT_PSZ), "%.9s"), pszFormat},
      {Field("K", FT_LONG, 1, &sdscSelf), "its type takes no pvDesc"},
      {Field("K", FT_ENUM16), "its pvDesc is missing"},
      {Field("K", FT_ULONG, 0x20000000), "it takes more than 2147483647 bytes"},
  };
  EXPECT_EQ(Checked(sdscSelf.afdsc[0], 4), "") << "a structure may refer to itself";
  for (int i = 0; i < 500; i++) {
    FDSC fdsc = NewDescription(3);
    fdsc.ulCount = 1 + Random(3);
    ASSERT_EQ(Checked(fdsc, Extent(fdsc)), "");
    const auto &[fdscSpoilt, pszExpected] = OneOf(aCase);
    if (Fields().empty()) continue;
    *OneOf(Fields()) = fdscSpoilt;

    const std::string str = Checked(fdsc, Extent(fdsc));

    ASSERT_EQ(str.substr(0, 4), fdsc.pszName);
    ASSERT_NE((str + ";").find("."s + fdscSpoilt.pszName + ": " + pszExpected + ";"), str.npos)
        << str << " for " << pszExpected;
  }
}

TEST_F(IniSaving, ChecksDescriptionsAsAWhole) {
  const SDSC sdscOne = Describe({Field("L", FT_LONG)}), sdscMany = {61, 0, 0, 0, {}};
  SDSC sdscEndless = {1, 0, 0, 0, {}};
  sdscEndless.afdsc[0] = Field("In", sdscEndless);
  const SDSC sdscWrong = {1, 0, 5, 0, {Field("L", FT_LONG)}};
  const SDSC sdscDotted = Describe({Field("", FT_FIXEDSTRING, 3)});
  const FDSC fdscText = Field("L", FT_PSZ), fdscLists = Field("V", FT_VALUELIST, 1, &fdscText);
  const EDSC aedsc[] = {{17, {}, {}}, {2, {"One"}, {}}, {2, {"One", "ONE"}, {}}, {1, {" One"}, {}}};
  const struct {
    std::vector<FDSC> fields; // of S
    const char *pszExpected;
  } aCase[] = {
      {{Field("P", FT_STRUCTPTR, 1, &sdscWrong)},
       "S.P: the ulSize of its structure is 5 bytes, its fields take 4"},
      {{Field("M", sdscMany)}, "S.M: its structure has more than 60 fields"},
      {{Field("E", sdscEndless)}, "S.E.In: the structure lies within itself"},
      {{Field("D", FT_DOTTED, 4, &sdscDotted)}, "S.D: its ulCount is not the sum of its subfields"},
      {{Field("E", FT_ENUM16, 1, &aedsc[0])}, "S.E: its enumeration has no names or too many"},
      {{Field("E", FT_ENUM16, 1, &aedsc[1])}, "S.E: its enumeration has a null name"},
      {{Field("E", FT_ENUM32, 1, &aedsc[2])}, "S.E: its enumeration has a name twice"},
      {{Field("E", FT_ENUM32, 1, &aedsc[3])},
       "S.E: its enumeration has a name that no file can have"},
      {{Field("F", FT_FIXEDSTRING, 128)}, "S.F: it is longer than 127 characters"},
      {{Field("A", FT_BYTE), Field(nullptr, FT_BYTE)}, "S.#2: it has no name"},
      {{Field(nullptr, FT_PSZ, 1, nullptr, FDSC_NOINI)}, ""},
      {{Field(nullptr, FT_STRUCTPTR, 2, nullptr, FDSC_NOINI)}, ""},
      {{Field("V", sdscOne), Field("v", FT_BYTE), fdscLists}, ""},
      {{Field("Port", FT_BYTE, 3), Field("port2", FT_BYTE)},
       "S.port2: a file would have its name twice"},
      {{Field("Port", FT_BYTE, 3), Field("port4", FT_BYTE)}, ""},
      {{Field("Port", FT_BYTE, 3), Field("port02", FT_BYTE)}, ""},
      {{Field("P", FT_BYTE, 30), Field("P2", FT_BYTE, 2)},
       "S.P2: a file would have its name twice"},
      {{Field("P", FT_BYTE, 20), Field("P2", FT_BYTE, 2)}, ""},
      {{Field("L9", FT_BYTE), fdscLists}, "S.V: a file would have its name twice"},
  };
  for (const auto &[fields, pszExpected] : aCase) {
    SDSC sdsc = {};
    for (const FDSC &fdsc : fields) Add(sdsc, fdsc);
    EXPECT_EQ(Checked(Field("S", sdsc), sdsc.ulSize), pszExpected);
  }
  EXPECT_EQ(Checked(Field("S", sdscOne, 2), 12), "S: the data takes 12 bytes, its description 8");
  EXPECT_EQ(IniCheckDescription(nullptr, 0, nullptr), ULONG{INI_ERROR_ARGUMENT});
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
