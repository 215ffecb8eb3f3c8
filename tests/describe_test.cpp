// describe_test.cpp: descriptions made from members. (describe.sh has the errors.)

#include "described.h"
#include "recorded.h"

extern "C" const FDSC *const pfdscRecordedInC;

namespace {
using Descriptions = IniTest;

// Name, type by its code, count, and what there is of tag, flags, format and nested description.
std::string Show(const FDSC &fdsc, const void *pvWithin = nullptr) {
  std::ostringstream str;
  str << (fdsc.pszName ? fdsc.pszName : "-") << ':' << fdsc.ulType << '*' << fdsc.ulCount;
  if (fdsc.ulTag != 0) str << '#' << fdsc.ulTag;
  if (fdsc.flFlags != 0) str << '!' << fdsc.flFlags;
  if (fdsc.pszFormat) str << fdsc.pszFormat;
  if (!fdsc.pvDesc) return str.str() + " ";
  if (fdsc.pvDesc == pvWithin) return str.str() + "=itself ";
  str << "( ";
  if (IsEnumeration(fdsc)) {
    const EDSC &edsc = *static_cast<EDSC *>(fdsc.pvDesc);
    for (ULONG ul = 0; ul < edsc.ulCount; ul++)
      str << edsc.apszName[ul] << '=' << edsc.alValue[ul] << ' ';
  } else if (fdsc.ulType == FT_VALUELIST) {
    str << Show(TargetOf(fdsc));
  } else {
    for (const FDSC &fdscIn : FieldsOf(StructureOf(fdsc))) str << Show(fdscIn, fdsc.pvDesc);
    str << StructureOf(fdsc).ulSize << " bytes ";
  }
  return str.str() + ") ";
}

TEST_F(Descriptions, AreThoseThatAProgramWouldWrite) {
  const Texts astrExpected = Words(R"(
Everything:25*1(
  Bool16:0*2 Bool32:1*1 Byte:2*3 Short:3*1 UShort:4*1 Long:5*1 Int:5*2 ULong:6*1#7!16%lX
  Float:7*3 Double:8*1%lg String:9*21 Psz:10*2
  Enum16:11*1( Small=1 Big=65535 ) Enum32:12*2( Red=-1 Blue=70000 All=-2 )
  RealTime:13*1 Fixed:14*1 Dotted:15*7( Town:14*3 Rack:14*4 7 bytes )
  Verbosity:16*1 Interval:17*1 -:2*5!4 -:10*1!20 Next:28*1!4=itself
  Numbers:27*1( Number:8*1%lg ) Words:27*1( Word:9*12 )
  Route:25*2( Target:9*9 Hops:4*1 11 bytes ) Routes:26*1( Target:9*9 Hops:4*1 11 bytes )
  161 bytes )
)");

  EXPECT_EQ(Words(Show(fdscEverything)), astrExpected);
  EXPECT_EQ(Words(Show(*pfdscRecordedInC)), astrExpected);
}

TEST_F(Descriptions, OfCAndOfCppReadAndWriteTheSame) {
  for (int i = 0; i < 20; i++) {
    const std::string str = "[ data.ini ]\n" + AnySection(sdscEverything, " Everything");
    struct everything all = {};

    EXPECT_EQ(IniRead(Open(str).get(), &all, &fdscEverything), 0u);

    EXPECT_EQ(Written({{&all, *pfdscRecordedInC}}), str);
    EXPECT_NE(str.find("  UShort = " + std::to_string(all.us) + "\n"), str.npos) << str;
    EXPECT_NE(str.find("  Hops = " + std::to_string(all.aroute[1].usHops) + "\n"), str.npos) << str;
    TakeApart(fdscEverything, &all);
  }
}
} // namespace
