// describe_test.cpp: descriptions made from members. (describe.sh has the errors.)

#include "described.h"
#include "recorded.h"
#include "zebbase/zebbase.hpp"

extern "C" const FDSC *const pfdscRecordedInC;

namespace inmembers { // the same from members, without macros
using namespace zebbase;
using T = everything;
constexpr EDSC edscSize = names<ULONG>({{"Small", 1}, {"Big", 65535}});
constexpr EDSC edscColour = names<LONG>({{"Red", COLOUR_RED}, {"Blue", COLOUR_BLUE}, {"All", -2}});
constexpr SDSC sdscPlace = parts({{"Town", 3}, {"Rack", 4}});
constexpr auto sdscRoute =
    describe<ROUTE>(field("Target", &ROUTE::szTarget), field("Hops", &ROUTE::usHops));
constexpr auto fdscNumber = value<double>("Number").format("%lg");
constexpr auto fdscWord = value<char[12]>("Word");
extern const Structure<T> sdscAll;
constexpr Structure<T> sdscAll = describe<T>(
    field<FT_BOOL16>("Bool16", &T::ausBool), field<FT_BOOL32>("Bool32", &T::iBool),
    field("Byte", &T::ab), field("Short", &T::s), field("UShort", &T::us), field("Long", &T::l),
    field("Int", &T::ai), field("ULong", &T::ul).format("%lX").flags(FDSC_NOPACK).tag(7),
    field("Float", &T::aflt), field("Double", &T::d).format("%lg"), field("String", &T::sz),
    field("Psz", &T::apsz), field("Enum16", &T::usEnum, edscSize),
    field("Enum32", &T::acolour, edscColour), field<FT_REALTIME>("RealTime", &T::rt),
    field<FT_FIXEDSTRING>("Fixed", &T::achFixed), field("Dotted", &T::achDotted, sdscPlace),
    field<FT_VERBOSITY>("Verbosity", &T::flVerbosity),
    field<FT_INTERVAL>("Interval", &T::ulInterval), skipped(&T::abUnused),
    field(nullptr, &T::pszUnread).flags(FDSC_NOINI | FDSC_NOPACK),
    field("Next", &T::pnext, sdscAll).flags(FDSC_NOINI),
    field("Numbers", &T::plstNumber, fdscNumber), field("Words", &T::plstWord, fdscWord),
    field("Route", &T::aroute, sdscRoute), field("Routes", &T::plstRoute, sdscRoute));
constexpr auto fdscAll = record("Everything", sdscAll);
} // namespace inmembers

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
  EXPECT_EQ(Words(Show(inmembers::fdscAll.fdsc)), astrExpected);
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
