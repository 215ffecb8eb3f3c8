// describe_test.cpp: descriptions made from members, against the same written by hand. (describe.sh has the errors.)

#include "described.h"
#include "input.h"
#include "recorded.h"

extern "C" const FDSC *const pfdscRecordedInC;

namespace {
class Descriptions : public FileTest {};

std::string Show(const FDSC &fdsc);
std::string Show(const EDSC &edsc) {
  std::string str;
  for (ULONG ul = 0; ul < edsc.ulCount; ul++)
    str += edsc.apszName[ul] + std::to_string(edsc.alValue[ul]) + ' ';
  return str;
}
std::string Show(const SDSC &sdsc) {
  std::string str = std::to_string(sdsc.ulSize) + " bytes\n";
  for (ULONG ul = 0; ul < sdsc.ulFields; ul++) str += Show(sdsc.afdsc[ul]);
  return str + "end\n";
}
std::string ShowNested(const FDSC &fdsc) {
  if (!fdsc.pvDesc) return "";
  if (fdsc.ulType == FT_ENUM16 || fdsc.ulType == FT_ENUM32)
    return Show(*static_cast<EDSC *>(fdsc.pvDesc));
  if (fdsc.ulType == FT_VALUELIST) return Show(ItemOf(fdsc));
  return fdsc.ulType == FT_STRUCTPTR && fdsc.flFlags ? "itself" : Show(StructureOf(fdsc));
}
std::string Show(const FDSC &fdsc) {
  std::ostringstream str;
  str << (fdsc.pszName ? fdsc.pszName : "-") << ' ' << fdsc.ulTag << ' ' << fdsc.flFlags << ' '
      << fdsc.ulType << ' ' << fdsc.ulCount << ' ' << (fdsc.pszFormat ? fdsc.pszFormat : "-") << ' '
      << ShowNested(fdsc) << '\n';
  return str.str();
}

TEST_F(Descriptions, AreThoseThatAProgramWouldWrite) {
  const EDSC edsc = {2, {"Small", "Big"}, {1, 65535}},
             edscHues = {3, {"Red", "Blue", "All"}, {-1, 70000, -2}};
  const SDSC sdscParts =
      Describe({Field("Town", FT_FIXEDSTRING, 3), Field("Rack", FT_FIXEDSTRING, 4)});
  const SDSC sdscWay = Describe({Field("Target", FT_STRING, 9), Field("Hops", FT_USHORT)});
  const FDSC fdsc = {0, "Number", 0, FT_DOUBLE, 1, "%lg", nullptr},
             fdscText = Field("Word", FT_STRING, 12);
  const SDSC sdsc = Describe({Field("Bool16", FT_BOOL16, 2),
                              Field("Bool32", FT_BOOL32),
                              Field("Byte", FT_BYTE, 3),
                              Field("Short", FT_SHORT),
                              Field("UShort", FT_USHORT),
                              Field("Long", FT_LONG),
                              Field("Int", FT_LONG, 2),
                              {7, "ULong", FDSC_NOPACK, FT_ULONG, 1, "%lX", nullptr},
                              Field("Unsigned", FT_ULONG, 2),
                              Field("Float", FT_FLOAT, 3),
                              {0, "Double", 0, FT_DOUBLE, 1, "%lg", nullptr},
                              Field("String", FT_STRING, 21),
                              Field("Psz", FT_PSZ, 2),
                              Field("Enum16", FT_ENUM16, 1, &edsc),
                              Field("Enum32", FT_ENUM32, 2, &edscHues),
                              Field("RealTime", FT_REALTIME),
                              Field("Fixed", FT_FIXEDSTRING, 1),
                              Field("Dotted", FT_DOTTED, 7, &sdscParts),
                              Field("Verbosity", FT_VERBOSITY),
                              Field("Interval", FT_INTERVAL),
                              Field(nullptr, FT_BYTE, 5, nullptr, FDSC_NOINI),
                              Field(nullptr, FT_BYTE, 4, nullptr, FDSC_NOINI),
                              Field(nullptr, FT_PSZ, 1, nullptr, FDSC_NOINI | FDSC_NOPACK),
                              Field("Next", FT_STRUCTPTR, 1, &sdsc, FDSC_NOINI),
                              Field("Numbers", FT_VALUELIST, 1, &fdsc),
                              Field("Words", FT_VALUELIST, 1, &fdscText),
                              Field("Route", FT_STRUCT, 2, &sdscWay),
                              Field("Routes", FT_STRUCTLIST, 1, &sdscWay),
                              Field("Last", FT_STRUCTPTR, 1, &sdscWay)});
  const std::string strExpected = Show(Field("Everything", FT_STRUCT, 1, &sdsc));
  EXPECT_EQ(Show(fdscEverything), strExpected);
  EXPECT_EQ(Show(*pfdscRecordedInC), strExpected);
  EXPECT_EQ(sdscEverything.afdsc[23].pvDesc, &sdscEverything);
}

LIST *ListOf(const void *pv, ULONG ulCount, ULONG ulSize) { // of copies
  LIST *plst = LstNewList(0);
  for (auto *pb = static_cast<const BYTE *>(pv); ulCount > 0; ulCount--, pb += ulSize)
    LstInsert(plst, std::memcpy(MemAllocMem_(ulSize, __LINE__, "test"), pb, ulSize), LST_END);
  return plst;
}

TEST_F(Descriptions, OfCAndOfCppReadAndWriteTheSame) {
  const double ad[] = {0.5, -1e300};
  const char aszWord[][12] = {"first", "second"};
  const ROUTE aroute[] = {{"one", 1}, {"two", 2}, {"three", 3}};
  struct everything all = {{1, 0},
                           1,
                           {1, 2, 255},
                           -3,
                           65535,
                           -70000,
                           {-1, 2},
                           0xABCDEF12,
                           {3, 4294967295U},
                           {0.5F, 1e9F, -2},
                           -123456,
                           "a [text] = of 20 ch.",
                           {MemAllocString_("x", 1, "test"), MemAllocString_("", 1, "test")},
                           65535,
                           {COLOUR_RED, COLOUR_BLUE},
                           1e9 + 0.5,
                           {'f'},
                           {'a', 'b', ' ', 'c', 'd', 'e', ' '},
                           VERB_ERROR | VERB_AREA1,
                           90061,
                           {},
                           nullptr,
                           nullptr,
                           nullptr,
                           ListOf(ad, 2, sizeof ad[0]),
                           ListOf(aszWord, 2, sizeof aszWord[0]),
                           {aroute[0], aroute[1]},
                           ListOf(aroute, 3, sizeof aroute[0]),
                           static_cast<ROUTE *>(MemAllocMem_(sizeof(ROUTE), 1, "test"))};
  *all.proute = aroute[2];
  INIFILE *pini = IniOpen("all.ini", 2);
  IniWrite(pini, &all, pfdscRecordedInC);
  IniClose(pini);
  struct everything allRead = {};
  pini = IniOpen("all.ini", INI_MODE_READ);
  ASSERT_TRUE(pini) << Contents("all.ini");
  EXPECT_EQ(IniRead(pini, &allRead, &fdscEverything), 0u);
  IniClose(pini);
  EXPECT_EQ(TakeApart(*pfdscRecordedInC, &allRead), TakeApart(fdscEverything, &all));
}
} // namespace
