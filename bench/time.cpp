// time.cpp: times to text and back. The floors do the calendar in integers and the digits by hand.

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <random>

#include "bench.h"
#include "floor.h"
#include "zebbase/tme.h"

namespace {
struct MOMENT {
  ULONG ulYear, ulMonth, ulDay;
  ULONG ulWeekDay;
  ULONG ulHour, ulMinute, ulSecond, ulFraction;
};

// Years begin in March, and 400 of them have 146097 days. Exact for all times of 31-bit seconds.
MOMENT BreakDown(REALTIME rt) {
  const double d = rt + 0.00005;
  const LONG lSeconds = static_cast<LONG>(d);
  const ULONG ulSeconds = static_cast<ULONG>(lSeconds) % 86400;
  const ULONG ulDays = static_cast<ULONG>(lSeconds) / 86400;
  const ULONG ulEra = (ulDays + 719468) / 146097;
  const ULONG ulDayOfEra = (ulDays + 719468) % 146097;
  const ULONG ulYear = (ulDayOfEra - ulDayOfEra / 1460 + ulDayOfEra / 36524 - ulDayOfEra / 146096) / 365;
  const ULONG ulDayOfYear = ulDayOfEra - (365 * ulYear + ulYear / 4 - ulYear / 100);
  const ULONG ulMonth = (5 * ulDayOfYear + 2) / 153;
  const ULONG ulNextYear = ulMonth >= 10;
  return {ulEra * 400 + ulYear + ulNextYear,
          ulMonth + 3 - 12 * ulNextYear,
          ulDayOfYear - (153 * ulMonth + 2) / 5 + 1,
          (ulDays + 4) % 7,
          ulSeconds / 3600,
          ulSeconds % 3600 / 60,
          ulSeconds % 60,
          static_cast<ULONG>(static_cast<LONG>((d - lSeconds) * 10000.0))};
}

[[gnu::noinline]] void FloorToString(const REALTIME *prt, char *pch) {
  const MOMENT mom = BreakDown(*prt);
  pch = PutChar(PutFour(pch, mom.ulYear), '-');
  pch = PutChar(PutTwo(pch, mom.ulMonth), '-');
  pch = PutChar(PutTwo(pch, mom.ulDay), '_');
  pch = PutChar(PutTwo(pch, mom.ulHour), ':');
  pch = PutChar(PutTwo(pch, mom.ulMinute), ':');
  pch = PutChar(PutTwo(pch, mom.ulSecond), '.');
  *PutFour(pch, mom.ulFraction) = '\0';
}

[[gnu::noinline]] void FloorToAltString(const REALTIME *prt, char *pch) {
  const MOMENT mom = BreakDown(*prt);
  pch = PutTwo(PutTwo(PutFour(pch, mom.ulYear), mom.ulMonth), mom.ulDay);
  pch = PutTwo(PutTwo(PutTwo(PutChar(pch, '.'), mom.ulHour), mom.ulMinute), mom.ulSecond);
  *pch = '\0';
}

[[gnu::noinline]] void FloorCtime(const REALTIME *prt, char *pch) {
  const MOMENT mom = BreakDown(*prt);
  std::memcpy(pch, &"Sun Mon Tue Wed Thu Fri Sat "[mom.ulWeekDay * 4], 4);
  std::memcpy(pch + 4, &"Jan Feb Mar Apr May Jun Jul Aug Sep Oct Nov Dec "[mom.ulMonth * 4 - 4], 4);
  pch = PutChar(PutTwo(pch + 8, mom.ulDay), ' ');
  pch = PutChar(PutTwo(pch, mom.ulHour), ':');
  pch = PutChar(PutTwo(pch, mom.ulMinute), ':');
  pch = PutChar(PutTwo(pch, mom.ulSecond), ' ');
  *PutFour(pch, mom.ulYear) = '\0';
}

void PeerToString(const REALTIME *prt, char *pch) {
  const REALTIME rt = *prt + 0.00005;
  const auto t = static_cast<time_t>(rt);
  tm tm;
  pch += std::strftime(pch, 32, "%Y-%m-%d_%H:%M:%S", gmtime_r(&t, &tm));
  *PutFour(PutChar(pch, '.'), static_cast<ULONG>((rt - static_cast<double>(t)) * 10000)) = '\0';
}

template <const char *pszFormat>
void PeerFormat(const REALTIME *prt, char *pch) {
  const auto t = static_cast<time_t>(*prt + 0.00005);
  tm tm;
  std::strftime(pch, 32, pszFormat, gmtime_r(&t, &tm));
}
constexpr char szAlt[] = "%Y%m%d.%H%M%S";
constexpr char szCtime[] = "%a %b %d %H:%M:%S %Y";

const std::vector<REALTIME> &Times() { // in steps of a ten-thousandth
  static const std::vector<REALTIME> art = [] {
    std::vector<REALTIME> artNew;
    std::mt19937 random(1);
    for (int i = 0; i < 64; i++) artNew.push_back(static_cast<double>(random() >> 1) + random() % 10000 * 0.0001);
    return artNew;
  }();
  return art;
}

using Converter = void (*)(const REALTIME *, char *);

void MeasureToText(const char *pszName, Converter library, Converter floor, Converter peer) {
  for (const REALTIME &rt : Times()) {
    char szLibrary[32], szFloor[32], szPeer[32];
    library(&rt, szLibrary);
    floor(&rt, szFloor);
    peer(&rt, szPeer);
    REQUIRE(std::string(szLibrary) == szFloor);
    REQUIRE(std::string(szLibrary) == szPeer);
  }
  const auto All = [](Converter convert) {
    return [=] {
      char sz[32];
      for (const REALTIME &rt : Times()) convert(&rt, sz);
    };
  };
  Measure({pszName, 1.25, 0.08}, {All(library)}, {All(floor)}, {{All(peer), {}, "strftime"}});
}
} // namespace

TEST_CASE("time: to text") {
  MeasureToText(
      "time: to text", [](const REALTIME *prt, char *pch) { TmeRealTimeToString(*prt, pch); }, FloorToString,
      PeerToString);
  MeasureToText(
      "time: to text, short form", [](const REALTIME *prt, char *pch) { TmeRealTimeToAltString(*prt, pch); },
      FloorToAltString, PeerFormat<szAlt>);
  MeasureToText(
      "time: to text, form of ctime", [](const REALTIME *prt, char *pch) { Tme_ctime(prt, pch); }, FloorCtime,
      PeerFormat<szCtime>);
}

namespace {
ULONG TakeField(const char *&psz) { // a run of digits and the character after it
  const ULONG ul = TakeDigits(psz);
  if (*psz) psz++;
  return ul;
}

[[gnu::noinline]] REALTIME FloorFromString(const char *psz) {
  const ULONG ulYear = TakeField(psz);
  const ULONG ulMonth = TakeField(psz);
  const ULONG ulDay = TakeField(psz);
  const ULONG ulHour = TakeField(psz);
  const ULONG ulMinute = TakeField(psz);
  const ULONG ulSecond = TakeField(psz);
  const ULONG ulFraction = TakeField(psz);
  const ULONG ulEarly = ulMonth <= 2; // years begin in March
  const ULONG ulMarchYear = ulYear - ulEarly;
  const ULONG ulDayOfYear = (153 * (ulMonth - 3 + 12 * ulEarly) + 2) / 5 + ulDay - 1;
  const ULONG ulDays =
      365 * ulMarchYear + ulMarchYear / 4 - ulMarchYear / 100 + ulMarchYear / 400 + ulDayOfYear - 719468;
  const ULONG ulSeconds = ((ulDays * 24 + ulHour) * 60 + ulMinute) * 60 + ulSecond;
  return static_cast<double>(static_cast<LONG>(ulSeconds)) + static_cast<LONG>(ulFraction) * 0.0001;
}

REALTIME PeerFromString(const char *psz) {
  tm tm = {};
  const char *pszFraction = strptime(psz, "%Y-%m-%d_%H:%M:%S", &tm);
  return static_cast<double>(timegm(&tm)) + static_cast<double>(std::strtoul(pszFraction + 1, nullptr, 10)) * 0.0001;
}
} // namespace

TEST_CASE("time: from text") {
  std::vector<std::string> astr;
  for (const REALTIME rt : Times()) {
    char sz[TME_STRING_SIZE];
    astr.push_back(TmeRealTimeToString(rt, sz));
    REQUIRE(TmeStringToRealTime(sz) == rt);
    REQUIRE(FloorFromString(sz) == rt);
    REQUIRE(PeerFromString(sz) == rt);
  }
  const auto All = [&](REALTIME (*pfnRead)(const char *)) {
    return [&astr, pfnRead] {
      for (const std::string &str : astr) Opaque(pfnRead(str.c_str()));
    };
  };
  Measure({"time: from text", 1.25, 0.15}, {All(TmeStringToRealTime)}, {All(FloorFromString)},
          {{All(PeerFromString), {}, "strptime, timegm"}});
}
