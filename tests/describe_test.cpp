// describe_test.cpp: descriptions made from members, against the same written by hand. (describe.sh has the errors.)

#include "described.h"
#include "recorded.h"

extern "C" const FDSC *const pfdscRecordedInC;

namespace {
using Descriptions = IniTest;

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
  if (IsEnumeration(fdsc)) return Show(*static_cast<EDSC *>(fdsc.pvDesc));
  if (fdsc.ulType == FT_VALUELIST) return Show(TargetOf(fdsc));
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

TEST_F(Descriptions, OfCAndOfCppReadAndWriteTheSame) {
  for (int i = 0; i < 20; i++) {
    const std::string str = "[ data.ini ]\n" + AnySection(sdscEverything, " Everything");
    struct everything all = {};

    EXPECT_EQ(IniRead(Open(str).get(), &all, &fdscEverything), 0u);

    EXPECT_EQ(Written({{&all, *pfdscRecordedInC}}), str);
    for (const std::string &strKey :
         {"UShort = " + std::to_string(all.us), "Long = " + std::to_string(all.l),
          "Psz 2 = \"" + std::string(all.apsz[1]) + "\"",
          "Hops = " + std::to_string(all.aroute[1].usHops)})
      EXPECT_NE(str.find("  " + strKey + "\n"), str.npos) << strKey << " in\n" << str;
    TakeApart(fdscEverything, &all);
  }
}
} // namespace
