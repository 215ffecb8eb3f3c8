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
bool fFailSync = false;

// What is wrong, or "".
std::string TextOf(ULONG ulResult, const INIERROR &error) {
  EXPECT_EQ(ulResult, error.ulCode);
  EXPECT_EQ(error.ulCode == 0, *error.szText == '\0') << error.szText;
  return error.szText;
}
std::string Saved(const FDSC &fdsc, const void *pv, const char *pszFile = "data.ini") {
  INIERROR error = {99, 0, ""};
  return TextOf(IniSave(pszFile, pv, &fdsc, &error), error);
}
std::string Checked(const FDSC &fdsc, ULONG ulSizeof) {
  INIERROR error = {99, 0, ""};
  return TextOf(IniCheckDescription(&fdsc, ulSizeof, &error), error);
}

class IniSaving : public IniTest {
 protected:
  // Changes some values to any others, which the field can hold or not, and drops some references.
  void Change(const FDSC &fdscAll, BYTE *pbAll) {
    ForElements(fdscAll, pbAll, [&](const FDSC &fdsc, BYTE *pb) {
      const bool fValue = fdsc.ulType < FT_STRUCT;
      if (fdsc.flFlags) return;
      if (Random(fValue ? 60 : 10) == 0) return ChangeElement(fdsc, pb);
      if (fValue || !PointerAt(pb)) return;
      ForTargets(fdsc, PointerAt(pb),
                 [this](const FDSC &fdscTarget, BYTE *pbTarget) { Change(fdscTarget, pbTarget); });
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
  void ChangeElement(const FDSC &fdsc, BYTE *pb) {
    const ULONG cb = ElementSize(fdsc);
    const std::string strChars = std::string(70, 'x') + " .\"\n\r\t\xE4]=\\";
    const std::string str = SomeChars(strChars, fdsc.ulType == FT_PSZ ? 130 : cb);
    const double d = std::ldexp(1 + Random(10), static_cast<int>(Random(20)) - 10) / 10;
    const auto flt = static_cast<float>(d);
    if (IsReference(fdsc)) TakeReferenceApart(fdsc, pb);
    if (fdsc.ulType == FT_PSZ) PutPointer(pb, MemAllocString_(str.c_str(), 0, nullptr));
    if (IsReference(fdsc)) return;
    std::generate_n(pb, cb, [this] { return BYTE(Random(3) ? Random(2) : Random(256)); });
    if (fdsc.ulType == FT_FLOAT && Random(2)) std::memcpy(pb, &flt, cb);
    if (fdsc.ulType == FT_DOUBLE && Random(2)) std::memcpy(pb, &d, cb);
    if (!IsText(fdsc)) return;
    std::memset(pb, fdsc.ulType == FT_STRING ? 0 : ' ', cb);
    std::memcpy(pb, str.data(), str.size());
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

TEST_F(IniSaving, WritesValuesSoThatTheyReadBackAndSaysWhichWouldNot) {
  const EDSC edsc = {2, {"One", " Two"}, {1, 2}};
  const std::string strLong(4 * 5101, 'x');
  const FDSC fdscText = Field("L", FT_PSZ);
  const SDSC sdscText = Describe({Field("T", FT_PSZ)});
  const SDSC sdscSections =
      Describe({Field("S", FT_STRUCTPTR, 1, &sdscText), Field("V", FT_VALUELIST, 1, &fdscText)});
  const SDSC sdscSelf = Describe({Field("Next", FT_STRUCTPTR, 1, &sdscSelf)});
  LIST *plst = LstNewList(0);
  LstInsert(plst, nullptr, LST_END);
  char szEmpty[] = "", *pszEmpty = szEmpty;
  void *apvSections[] = {&pszEmpty, plst}, *pvSelf = &pvSelf, *apvNext[40] = {};
  for (void **ppv = apvNext; ppv + 1 < std::end(apvNext); ppv++) *ppv = ppv + 1;
  const struct {
    FDSC fdsc;
    std::string strData, strExpected; // how the file, or the text of what is wrong, ends
  } aCase[] = {
      {Field("K", FT_DOUBLE), BytesOf(0.1), "K = 0.1\n"},
      {Field("K", FT_DOUBLE), BytesOf(1.0 / 3), "K = 0.3333333333333333\n"},
      {Field("K", FT_DOUBLE), BytesOf(4.9406564584124654e-324), "K = 4.94065645841247e-324\n"},
      {Field("K", FT_DOUBLE), BytesOf(-0.0), "K = -0\n"},
      {Field("K", FT_FLOAT), BytesOf(0.1F), "K = 0.1\n"},
      {Field("K", FT_FLOAT), BytesOf(3.4028235e38F), "K = 3.4028235e+38\n"},
      {Field("K", FT_FLOAT), BytesOf(std::numeric_limits<float>::quiet_NaN()), "K = nan\n"},
      {Field("K", FT_INTERVAL), BytesOf(0UL), "K = 0s\n"},
      {Field("K", FT_VERBOSITY), BytesOf(0UL), "K = Area0\n"},
      {Field("K", FT_REALTIME), BytesOf(1.00001), "K: its text would not read back the same"},
      {Field("K", FT_STRING, 4), "abcd", "K: its text would not read back the same"},
      {Formatted(Field("K", FT_ULONG), "%#lx"), "abcd", "K: its text would not read back the same"},
      {Field("K", FT_STRING, 4), "a\"\0\0"s, "K: it has a double quote"},
      {Field("K", FT_STRING, 4), "a\n\0\0"s, "K: it has a line end"},
      {Field("K", FT_FIXEDSTRING, 128), strLong, "K: it is longer than 127 characters"},
      {Field("K", FT_VALUELIST, 1, &fdscText), BytesOf(plst),
       "L 1: a null text reads back as an empty one"},
      {Field("K", FT_STRUCTLIST, 1, &sdscText), BytesOf(plst),
       "K 1: an item of a list without data is not written"},
      {Field("K", FT_ENUM32, 1, &edsc), BytesOf(0), "K: the value has no name"},
      {Field("K", FT_ULONG, 5101), strLong,
       "K 5101: a file has no more than 5100 sections and keys"},
      {Field(nullptr, FT_BYTE), "x", "(no name): it has no name"},
      {Field("K", 19), "x", "K: its type is reserved"},
      {Field("K", sdscSections), BytesOf(apvSections),
       "[ K ] L 1: it comes after a structure, and would stand in its section"},
      {sdscSelf.afdsc[0], BytesOf(&pvSelf),
       "[ Next ] Next: it leads back to data that it is a part of"},
      {sdscSelf.afdsc[0], BytesOf(apvNext),
       "Next Next ] Next: its name is longer than 127 characters"},
  };
  for (const auto &[fdsc, strData, strExpected] : aCase) {
    const std::string strWrong = Saved(fdsc, strData.data());
    const std::string str = strWrong.empty() ? Contents("data.ini") : strWrong;
    EXPECT_TRUE(str.ends_with(" " + strExpected)) << str << " is not " << strExpected;
  }
  LstDeleteAll(plst);
  LstFreeList_(plst);
}

TEST_F(IniSaving, ReplacesAFileAsAWhole) {
  const ULONG ul = 7;
  const auto ModeOf = [](const char *pszFile) { return fs::status(pszFile).permissions(); };
  umask(022);
  fs::create_directory("folder");
  std::ofstream("folder/file.ini") << "old";
  fs::permissions("folder/file.ini", fs::perms{0640});
  fs::create_symlink("folder/file.ini", "data.ini");
  fs::create_symlink("new.ini", "folder/link.ini");
  strSynced.clear();

  EXPECT_EQ(Saved(Field("K", FT_ULONG), &ul), "");
  EXPECT_EQ(Saved(Field("K", FT_ULONG), &ul, "folder/link.ini"), "");

  EXPECT_TRUE(fs::is_symlink("data.ini") && fs::is_symlink("folder/link.ini")) << "a link stays";
  EXPECT_EQ(Contents("folder/file.ini"), "[ data.ini ]\n  K = 7\n");
  EXPECT_EQ(Contents("folder/new.ini"), "[ link.ini ]\n  K = 7\n");
  EXPECT_EQ(ModeOf("folder/file.ini"), fs::perms{0640});
  EXPECT_EQ(ModeOf("folder/new.ini"), fs::perms{0644});
  EXPECT_EQ(strSynced, "file folder file folder ") << "a file, before it has its name; the name";
}

TEST_F(IniSaving, LeavesAFileAloneWhenItFails) {
  const FDSC fdsc = Field("K", FT_ULONG, 3000);
  const std::vector<ULONG> aul(3000, 7);
  std::ofstream("data.ini") << "old";
  fs::create_directory("folder.ini");
  fs::create_symlink("loop.ini", "loop.ini");
  mkfifo("fifo.ini", 0600);

  for (const char *pszFile : {"folder.ini", "loop.ini", "fifo.ini", "no/such.ini", "a_b.ini"})
    EXPECT_EQ(Saved(fdsc, aul.data(), pszFile).find(pszFile + ": "s), 0u);
  EXPECT_EQ(Saved(fdsc, aul.data(), std::string(256, 'x').c_str()), "the file's name is too long");
  EXPECT_EQ(Saved(fdsc, nullptr), "a null pointer");
  EXPECT_EQ(IniSave("data.ini", nullptr, &fdsc, nullptr), ULONG{INI_ERROR_ARGUMENT});
  if (FailMalloc::Works()) {
    const FailMalloc fail;
    EXPECT_EQ(Saved(fdsc, aul.data()), "data.ini: no memory");
  }
  fFailSync = true;
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
  EXPECT_EQ(Contents("data.ini"), "old");
  EXPECT_TRUE(fs::is_symlink("loop.ini") && fs::is_fifo("fifo.ini"));
  EXPECT_EQ(std::distance(fs::directory_iterator("."), {}), 4) << "nothing is left beside them";
}

// --- Descriptions ---

// Random descriptions are fine until a field of them, at any depth, is spoilt.
TEST_F(IniSaving, ChecksDescriptionsByField) {
  const SDSC sdscSelf = Describe(
      {Field("Next", FT_STRUCTPTR, 1, &sdscSelf), Field("List", FT_STRUCTLIST, 1, &sdscSelf)});
  SDSC sdscEndless = {1, 0, 0, 0, {}};
  sdscEndless.afdsc[0] = Field("In", sdscEndless);
  const FDSC fdscArray = Field("L", FT_ULONG, 2);
  const SDSC sdscMany = {61, 0, 0, 0, {}}, sdscWrong = {1, 0, 5, 0, {Field("L", FT_LONG)}},
             sdscOne = Describe({Field("L", FT_LONG)}),
             sdscDotted = Describe({Field("", FT_FIXEDSTRING, 3)});
  const EDSC edscMany = {17, {}, {}}, edscNull = {2, {"One"}, {}},
             edscTwice = {2, {"One", "ONE"}, {}}, edscBlank = {1, {" One"}, {}};
  const struct {
    FDSC fdsc;
    const char *pszExpected; // behind the path to the structure
  } aCase[] = {
      {Field("K", 20, 1, nullptr, FDSC_NOINI), "K: its type is reserved"},
      {Field("K", FT_BYTE, 0), "K: its ulCount is 0"},
      {Field("a b", FT_BYTE),
       "a b: the name has a blank or one of the characters ]-!@#$%&*<>_|\\:"},
      {Formatted(Field("K", FT_LONG), "%d %d"), "K: its format does not fit its type"},
      {Formatted(Field("K", FT_DOUBLE), "%.3lf"),
       "K: its format gives texts that do not read back"},
      {Formatted(Field("K", FT_PSZ), "%.9s"), "K: its format gives texts that do not read back"},
      {Field("K", FT_LONG, 1, &sdscSelf), "K: its type takes no pvDesc"},
      {Field("K", FT_ENUM16), "K: its pvDesc is missing"},
      {Field("K", FT_STRUCTPTR, 2, &sdscOne), "K: it is an array of references"},
      {Field("K", FT_VALUELIST, 1, &fdscArray), "K: its elements are no single values"},
      {Field("K", FT_ULONG, 0x20000000), "K: it takes more than 2147483647 bytes"},
      {Field("K", FT_STRUCTPTR, 1, &sdscWrong),
       "K: the ulSize of its structure is 5 bytes, its fields take 4"},
      {Field("K", sdscMany), "K: its structure has more than 60 fields"},
      {Field("K", sdscEndless), "K.In: the structure lies within itself"},
      {Field("K", FT_DOTTED, 4, &sdscDotted), "K: its ulCount is not the sum of its subfields"},
      {Field("K", FT_ENUM16, 1, &edscMany), "K: its enumeration has no names or too many"},
      {Field("K", FT_ENUM16, 1, &edscNull), "K: its enumeration has a null name"},
      {Field("K", FT_ENUM32, 1, &edscTwice), "K: its enumeration has a name twice"},
      {Field("K", FT_ENUM32, 1, &edscBlank), "K: its enumeration has a name that no file can have"},
      {Field("K", FT_FIXEDSTRING, 128), "K: it is longer than 127 characters"},
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
    ASSERT_TRUE(str.ends_with("."s + pszExpected)) << str << " is not " << pszExpected;
  }
}

TEST_F(IniSaving, ChecksThatNamesAreThereAndTheirOwn) {
  const SDSC sdscOne = Describe({Field("L", FT_LONG)});
  const FDSC fdscText = Field("L", FT_PSZ), fdscLists = Field("V", FT_VALUELIST, 1, &fdscText);
  const struct {
    std::vector<FDSC> fields;
    const char *pszTwice; // the field with a name that another has
  } aCase[] = {
      {{Field(nullptr, FT_STRUCTPTR, 2, nullptr, FDSC_NOINI)}, nullptr},
      {{Field("V", sdscOne), Field("v", FT_BYTE), fdscLists}, nullptr},
      {{Field("Port", FT_BYTE, 3), Field("port2", FT_BYTE)}, "port2"},
      {{Field("Port", FT_BYTE, 3), Field("port4", FT_BYTE)}, nullptr},
      {{Field("Port", FT_BYTE, 3), Field("port02", FT_BYTE)}, nullptr},
      {{Field("P", FT_BYTE, 30), Field("P2", FT_BYTE, 2)}, "P2"},
      {{Field("P", FT_BYTE, 20), Field("P2", FT_BYTE, 2)}, nullptr},
      {{Field("L9", FT_BYTE), fdscLists}, "V"},
  };
  for (const auto &[fields, pszTwice] : aCase) {
    SDSC sdsc = {};
    for (const FDSC &fdsc : fields) Add(sdsc, fdsc);
    EXPECT_EQ(Checked(Field("S", sdsc), sdsc.ulSize),
              pszTwice ? "S."s + pszTwice + ": a file would have its name twice" : "");
  }
  const SDSC sdscNoName = Describe({Field("A", FT_BYTE), Field(nullptr, FT_BYTE)});
  EXPECT_EQ(Checked(Field("S", sdscNoName), 2), "S.#2: it has no name");
  EXPECT_EQ(Checked(Field("S", sdscOne, 2), 12), "S: the data takes 12 bytes, its description 8");
  EXPECT_EQ(IniCheckDescription(nullptr, 0, nullptr), ULONG{INI_ERROR_ARGUMENT});
}
} // namespace

// The test program's own: it waits for no disk.
extern "C" int fsync(int fd) {
  struct stat st;
  strSynced += fstat(fd, &st) == 0 && S_ISDIR(st.st_mode) ? "folder " : "file ";
  if (!std::exchange(fFailSync, false)) return 0;
  errno = EIO;
  return -1;
}
