// iniwrite_test.cpp: writing INI files, and reading back what was written.

#include <array>
#include <deque>

#include "described.h"
#include "input.h"

namespace {
template <typename T>
void Set(BYTE *pb, T t) {
  std::memcpy(pb, &t, sizeof t);
}

// Files that are written; and descriptors of random structures, with data that fit them. Names have four letters, so
// that joined names never collide.
class IniWriting : public FileTest {
 protected:
  static std::string Written(std::initializer_list<std::pair<void *, const FDSC *>> fields) { // the file's text
    INIFILE *pini = IniOpen("config.ini", 2);
    if (!pini) return "not opened";
    for (const auto &[pv, pfdsc] : fields) EXPECT_EQ(IniWrite(pini, pv, pfdsc), 0u);
    EXPECT_EQ(IniClose(pini), 0u);
    return Contents("config.ini");
  }

  FDSC Named(ULONG ulType, ULONG ulCount, const void *pvDesc) {
    std::string &strName = names_.emplace_back("Faaa");
    for (ULONG ul = 0, ulName = names_.size(); ul < 3; ul++, ulName /= 26)
      strName[ul + 1] = static_cast<char>('a' + ulName % 26);
    return Field(strName.c_str(), ulType, ulCount, pvDesc);
  }

  const SDSC *Structure(int iDepth) {
    SDSC &sdsc = sdscs_.emplace_back();
    for (ULONG ul = Random(9); ul > 0; ul--) Add(sdsc, Value(3));
    if (Random(2)) Add(sdsc, Named(FT_VALUELIST, 1, &elements_.emplace_back(Value(1))));
    for (ULONG ul = iDepth > 0 ? Random(4) : 0; ul > 0; ul--) {
      const ULONG ulType = std::to_array<ULONG>({FT_STRUCT, FT_STRUCT, FT_STRUCTLIST, FT_STRUCTPTR})[Random(4)];
      Add(sdsc, Named(ulType, ulType == FT_STRUCT ? 1 + Random(3) : 1, Structure(iDepth - 1)));
    }
    return &sdsc;
  }

  void Fill(const SDSC &sdsc, BYTE *pb) {
    for (ULONG ul = 0; ul < sdsc.ulFields; pb += Extent(sdsc.afdsc[ul++])) FillField(sdsc.afdsc[ul], pb);
  }

 private:
  FDSC Value(ULONG ulMostElements) {
    FDSC fdsc = Named(Random(FT_INTERVAL + 1), 1, nullptr);
    fdsc.ulCount = 1 + Random(IsText(fdsc) ? 31 : ulMostElements);
    if (fdsc.ulType == FT_ENUM16 || fdsc.ulType == FT_ENUM32) fdsc.pvDesc = &edsc_;
    if (fdsc.ulType == FT_DOTTED) {
      sdscDotted_ = {2, 0, 7, 0, {Field("", FT_FIXEDSTRING, 3), Field("", FT_FIXEDSTRING, 4)}};
      fdsc.ulCount = 7;
      fdsc.pvDesc = &sdscDotted_;
    }
    if (Random(10) == 0 && ulMostElements > 1) fdsc.flFlags = FDSC_NOINI;
    return fdsc;
  }

  std::string Text(ULONG ulLength) { // may begin and end with blanks: it is quoted
    constexpr char achText[] = "ab XY09[]=#;%.,-_\\\xE4";
    std::string str(ulLength, ' ');
    for (char &ch : str) ch = achText[Random(sizeof achText - 1)];
    return str;
  }

  void FillField(const FDSC &fdsc, BYTE *pb) {
    if (fdsc.flFlags & FDSC_NOINI) return;
    for (ULONG ul = 0; ul < Elements(fdsc); ul++, pb += ElementSize(fdsc)) FillElement(fdsc, pb);
  }

  void FillElement(const FDSC &fdsc, BYTE *pb) {
    const ULONG ulType = fdsc.ulType, cb = ElementSize(fdsc);
    if (ulType == FT_STRUCT) return Fill(StructureOf(fdsc), pb);
    if (ulType == FT_STRUCTPTR) return Set(pb, Random(2) ? NewStructure(fdsc) : nullptr);
    if (ulType > FT_STRUCT) return Set(pb, NewList(fdsc));
    if (ulType == FT_PSZ) return Set(pb, NewText());
    if (ulType == FT_STRING) return void(std::memcpy(pb, Text(cb - 1).c_str(), cb));
    if (ulType == FT_FIXEDSTRING) return void(std::memset(pb, static_cast<int>('a' + Random(21)), cb));
    if (ulType == FT_DOTTED) return void(std::memcpy(pb, Random(2) ? "a  bcde" : "abc    ", cb));
    const LONG lChoice = fdsc.pvDesc ? edsc_.alValue[Random(3)] : static_cast<LONG>(Random(2));
    if (ulType == FT_BOOL16 || ulType == FT_ENUM16) return Set(pb, static_cast<USHORT>(lChoice));
    if (ulType == FT_BOOL32 || ulType == FT_ENUM32) return Set(pb, lChoice);
    if (ulType == FT_FLOAT) return Set(pb, static_cast<float>(Random(100001)) / 64 - 500);
    if (ulType == FT_DOUBLE) return Set(pb, static_cast<double>(Random(0xFFFFFFFF)) / 64 - 1e6);
    if (ulType == FT_REALTIME) return Set(pb, static_cast<REALTIME>(Random(0xFFFFFFFF)) + 0.5);
    if (ulType >= FT_VERBOSITY) return Set(pb, 1 + Random(ulType == FT_INTERVAL ? 0xFFFFFFFF : 0xFFFF));
    for (ULONG ul = 0; ul < cb; ul++) pb[ul] = static_cast<BYTE>(Random(256));
  }

  void *NewStructure(const FDSC &fdsc) {
    void *pv = MemAllocMem_(StructureOf(fdsc).ulSize, __LINE__, "test");
    return Fill(StructureOf(fdsc), static_cast<BYTE *>(pv)), pv;
  }

  char *NewText() { return MemAllocString_(Text(Random(INI_MAX_TEXT + 1)).c_str(), __LINE__, "test"); }

  void *NewValue(const FDSC &fdsc) {
    if (fdsc.ulType == FT_PSZ) return NewText();
    void *pv = MemAllocMem_(Extent(fdsc), __LINE__, "test");
    return FillField(fdsc, static_cast<BYTE *>(pv)), pv;
  }

  LIST *NewList(const FDSC &fdsc) {
    const ULONG ulItems = Random(5);
    LIST *plst = ulItems ? LstNewList(0) : nullptr;
    for (ULONG ul = 0; ul < ulItems; ul++)
      LstInsert(plst, fdsc.ulType == FT_STRUCTLIST ? NewStructure(fdsc) : NewValue(ItemOf(fdsc)), LST_END);
    return plst;
  }

  std::deque<SDSC> sdscs_;
  std::deque<FDSC> elements_;
  std::deque<std::string> names_;
  SDSC sdscDotted_ = {};
  EDSC edsc_ = {3, {"One", "Two", "Three"}, {1, -2, 40000}};
};

TEST_F(IniWriting, IsReadBackByIniRead) {
  LiftLimits();
  for (int i = 0; i < 300; i++) {
    const SDSC *psdsc = Structure(3);
    const FDSC fdsc = Named(FT_STRUCT, 1, psdsc);
    std::vector<BYTE> ab(psdsc->ulSize + 1), abRead = ab; // written and read at odd addresses
    Fill(*psdsc, &ab[1]);
    const std::string strText = Written({{&ab[1], &fdsc}});
    INIFILE *pini = IniOpen("config.ini", INI_MODE_READ);
    ASSERT_TRUE(pini) << strText;
    EXPECT_EQ(IniRead(pini, &abRead[1], &fdsc), 0u) << strText;
    IniClose(pini);
    ASSERT_EQ(TakeApart(fdsc, &abRead[1]), TakeApart(fdsc, &ab[1])) << strText;
  }
}

TEST_F(IniWriting, WritesKeysThenSectionsUnderTheirPath) {
  const SDSC sdscRoute = Describe({Field("Target", FT_STRING, 6)});
  const FDSC fdscText = Field("Text", FT_PSZ), fdscVerbose = Field("Verbose", FT_BOOL32);
  const FDSC fdscPort = {0, "Port", 0, FT_ULONG, 2, "%lX", nullptr}, fdscItem = Field("Item", FT_STRUCT, 2, &sdscRoute);
  const SDSC sdscServer =
      Describe({Field("Name", FT_STRING, 6), Field("Route", FT_STRUCTLIST, 1, &sdscRoute),
                Field("Texts", FT_VALUELIST, 1, &fdscText), Field("None", FT_STRUCTPTR, 1, &sdscRoute), fdscPort,
                Field("Fixed", FT_FIXEDSTRING, 8)});
  const FDSC fdscServer = Field("Server", FT_STRUCT, 1, &sdscServer);
  LIST *aplst[] = {LstNewList(0), LstNewList(0), nullptr}; // the routes, the texts, and none
  for (const char *psz : {"north", "south"})
    for (LIST *plst : {aplst[0], aplst[1]}) LstInsert(plst, MemAllocString_(psz, __LINE__, "test"), LST_END);
  const ULONG aulPort[] = {80, 8080};
  BYTE abServer[34] = "alpha";
  std::memcpy(abServer + 6, aplst, sizeof aplst);
  std::memcpy(abServer + 18, aulPort, sizeof aulPort);
  std::memcpy(abServer + 26, "ab      ", 8);
  ULONG fVerbose = 1;
  char aszItem[2][6] = {"one", "two"};
  EXPECT_EQ(Written({{&fVerbose, &fdscVerbose}, {abServer, &fdscServer}, {aszItem, &fdscItem}}),
            "[ config.ini ]\n  Verbose = TRUE\n"
            "\n[ Server ]\n  Name = \"alpha\"\n  Port 1 = 50\n  Port 2 = 1F90\n  Fixed = \"ab      \"\n"
            "\n[ Server Route 1 ]\n  Target = \"north\"\n\n[ Server Route 2 ]\n  Target = \"south\"\n"
            "  Text 1 = \"north\"\n  Text 2 = \"south\"\n"
            "\n[ Item 1 ]\n  Target = \"one\"\n\n[ Item 2 ]\n  Target = \"two\"\n");
  TakeApart(fdscServer, abServer);
}

TEST_F(IniWriting, CutsNothingAndSurvivesFailure) {
  std::string strLong(100000, 'x');
  char *pszLong = strLong.data();
  const FDSC fdscLong = Field("Long", FT_PSZ), fdscFormatted = {0, "Long", 0, FT_PSZ, 1, "<%s>", nullptr};
  EXPECT_EQ(Written({{&pszLong, &fdscLong}, {&pszLong, &fdscFormatted}}),
            "[ config.ini ]\n  Long = \"" + strLong + "\"\n  Long = \"<" + strLong + ">\"\n");
  INIFILE *pini = IniOpen("/dev/full", 2);
  ASSERT_TRUE(pini);
  EXPECT_EQ(IniWrite(pini, &pszLong, &fdscLong), 0u);
  EXPECT_EQ(IniClose(pini), 0u);
  for (const std::string &str : {std::string("no/such/folder/config.ini"), std::string(300, 'p'), std::string(".")})
    EXPECT_EQ(IniOpen(str.c_str(), 2), nullptr) << str;
  SDSC sdsc = {1, 0, sizeof(void *), 0, {Field("Next", FT_STRUCTPTR, 1, &sdsc)}};
  void *pvSelf = &pvSelf;
  const std::string strText = Written({{&pvSelf, &sdsc.afdsc[0]}});
  EXPECT_EQ(std::count(strText.begin(), strText.end(), '['), 1 + 127) << "of data that refer to themselves";
}
} // namespace
