// time_test.cpp: points in time, against the C library's calendar and the classic formulas.

#include "zebbase/tme.h"

#include <cmath>
#include <cstdint>
#include <ctime>

#include "support.h"

namespace {
static_assert(sizeof(std::time_t) == 8, "the calendar to compare with must reach 2106");
constexpr double dSeconds = 4294967296.0; // of the range

std::string Text(const char *pszFormat, double dTime) {
  const auto t = static_cast<std::time_t>(dTime);
  std::tm tm;
  gmtime_r(&t, &tm);
  char sz[64];
  std::strftime(sz, sizeof sz, pszFormat, &tm);
  return sz;
}

// One of the text forms, of which not a byte more than cb may be written.
template <typename Time>
std::string Render(char *(*pfnForm)(Time, char *), Time time, std::size_t cb) {
  char sz[32];
  std::memset(sz, '#', sizeof sz);
  EXPECT_EQ(pfnForm(time, sz), sz);
  EXPECT_EQ(std::string(sz + cb, sizeof sz - cb), std::string(sizeof sz - cb, '#'));
  return std::string(sz, cb).c_str();
}
std::string TimeString(REALTIME rt) { return Render(TmeRealTimeToString, rt, 25); }
std::string CTime(REALTIME rt) { return Render(Tme_ctime, static_cast<const REALTIME *>(&rt), 25); }

// The classic formula of the day number, with its quotients truncated towards zero.
std::int64_t JulianDay(std::int64_t year, std::int64_t month, std::int64_t day) {
  if (year < 0) year++;
  const std::int64_t y = month <= 2 ? year - 1 : year;
  const std::int64_t m = month <= 2 ? month + 13 : month + 1;
  std::int64_t j =
      365 * y + y / 4 + static_cast<std::int64_t>(30.6001 * static_cast<double>(m)) + day + 1720995;
  if (31 * (month + 12 * year) + day > 588828) j += 2 - y / 100 + y / 100 / 4;
  return j;
}

// Expects every field of a breakdown, and every text form of it.
void ExpectTime(REALTIME rt) {
  const double t = (rt < 0 ? 0 : rt) + 0.00005;
  const double s = std::floor(t);
  TIMESTRUCT ts;
  std::memset(&ts, 0xEE, sizeof ts);
  ASSERT_EQ(TmeRealTimeToStruct(rt, &ts), &ts);
  char sz[64];
  std::snprintf(sz, sizeof sz, "%04lu-%02lu-%02lu_%02lu:%02lu:%02lu %03lu %lu", ts.ulYear,
                ts.ulMonth, ts.ulDay, ts.ulHour, ts.ulMinute, ts.ulSecond, ts.ulDayOfYear,
                ts.ulWeekDay);
  ASSERT_EQ(sz, Text("%Y-%m-%d_%H:%M:%S %j %w", s)) << rt;
  ASSERT_EQ(ts.ulFraction, static_cast<ULONG>((t - s) * 10000.0)) << rt;
  ASSERT_EQ(ts.fltSeconds, static_cast<float>(std::fmod(s, 60) + (t - s))) << rt;
  std::snprintf(sz, sizeof sz, ".%04lu", ts.ulFraction);
  ASSERT_EQ(TimeString(rt), Text("%Y-%m-%d_%H:%M:%S", s) + sz) << rt;
  ASSERT_EQ(Render(TmeRealTimeToAltString, rt, 16), Text("%Y%m%d.%H%M%S", s)) << rt;
  ASSERT_EQ(CTime(rt), Text("%a %b %d %H:%M:%S %Y", s)) << rt;
}

TEST(TmeRealTimeToStruct, AgreesWithTheCalendarOnEveryDayAndEndsWithTheRange) {
  std::mt19937 random(1);
  std::uniform_real_distribution<double> second(0, 86400);
  for (int iDay = 0; iDay < 49710 && !HasFatalFailure(); iDay++)
    ExpectTime(86400.0 * iDay + second(random));
  for (const double d :
       {0.0, -0.0, -1.0, 59.99996, 1.23456, 86399.99994, 86399.99996, 951782400.0, 4294967295.0})
    ExpectTime(d);
  for (const double d : {-1e300, -HUGE_VAL, std::nan("")})
    EXPECT_EQ(TimeString(d), "1970-01-01_00:00:00.0000") << d;
  for (const double d : {dSeconds - 0.0001, dSeconds, 1e300, HUGE_VAL})
    EXPECT_EQ(TimeString(d), "2106-02-07_06:28:15.9999") << d;
}

TEST(TmeStructToRealTime, AddsUpAnyFields) {
  std::mt19937 random(2);
  const auto Any = [&](ULONG ulOften) {
    return random() % 8 ? random() % ulOften : random() % 1000000;
  };
  for (int i = 0; i < 100000; i++) {
    const ULONG ulYear = random() % 5 ? 1960 + random() % 160 : Any(120);
    const float flt = static_cast<float>(Any(60)) / 8;
    TIMESTRUCT ts = {ulYear, Any(14), Any(34), Any(26), random(), Any(70), Any(10000), flt, 0, 0};
    if (random() % 3 == 0) ts.ulSecond = TME_SECOND_IN_FLOAT;
    const REALTIME rt = TmeStructToRealTime(&ts);
    ASSERT_EQ(ts.ulYear, ulYear <= 99 ? ulYear + 1900 : ulYear);
    const std::int64_t llDays = JulianDay(ts.ulYear, ts.ulMonth, ts.ulDay) - 2440588;
    const auto ulBase =
        static_cast<std::uint32_t>(86400 * llDays + 3600LL * ts.ulHour + 60LL * ts.ulMinute);
    const double d =
        ts.ulSecond == TME_SECOND_IN_FLOAT
            ? ulBase + static_cast<double>(ts.fltSeconds)
            : static_cast<std::uint32_t>(ulBase + ts.ulSecond) + ts.ulFraction * 0.0001;
    ASSERT_DOUBLE_EQ(rt, llDays < 0 ? 0.0 : d) << ulYear << ' ' << ts.ulMonth << ' ' << ts.ulDay;
  }
}

TEST(DateToJulianDay, FollowsTheFormulaOnAnyNumbers) {
  EXPECT_EQ(DateToJulianDay(1582, 10, 4), 2299160);
  EXPECT_EQ(DateToJulianDay(1582, 10, 15), 2299161);
  EXPECT_EQ(DateToJulianDay(2000, 1, 1), 2451545);
  std::mt19937 random(3);
  const auto Any = [&] { return static_cast<LONG>(random()) >> random() % 32; };
  for (int i = 0; i < 100000; i++) {
    const LONG lYear = Any(), lMonth = Any(), lDay = Any();
    ASSERT_EQ(DateToJulianDay(lYear, lMonth, lDay),
              static_cast<LONG>(JulianDay(lYear, lMonth, lDay)))
        << lYear << ' ' << lMonth << ' ' << lDay;
  }
}

TEST(TimeTexts, AreReadBack) {
  std::mt19937 random(4);
  std::uniform_real_distribution<double> time(0, dSeconds - 1);
  for (int i = 0; i < 30000; i++) {
    const REALTIME rt = time(random);
    const double dSecond = std::floor(rt + 0.00005);
    const double dMinute = dSecond - std::fmod(dSecond, 60);
    ASSERT_NEAR(TmeStringToRealTime(TimeString(rt).c_str()), rt, 0.000051);
    ASSERT_EQ(TmeMSTimeStringToRealTime(CTime(rt).c_str()), dSecond) << CTime(rt);
    ASSERT_EQ(TmeMSTimeStringToLongSec(CTime(rt).c_str()), std::fmin(dSecond, 2147483647.0))
        << CTime(rt);
    ASSERT_EQ(TmeJulianStringToRealTime(Text("%Y.%j.%H/%M %S", rt + 0.00005).c_str()), dSecond);
    ASSERT_EQ(TmeSQLDateTimeToRealTime(Text("%b %d %Y %I:%M%p", rt + 0.00005).c_str()), dMinute);
  }
}

TEST(TimeTexts, GiveWhatTheyContain) {
  const struct {
    REALTIME (*pfn)(const char *);
    std::vector<std::string> astr; // each with the time that it gives
  } aCases[] = {
      {TmeStringToRealTime, // month 0 is December
       {"2003-01-15_10:23:45.5=1042626225.5", "2003-01-15_10:23:45.050~=1042626225.05",
        "2003-01-15_10:23:45.50000=1042626230", "99~1~2=915235200", "2003-01-15  10:23=1042589423",
        "67506-1-2=86400", "1970-1-1_0:0:9999.25=9999.25", "1970-1-1_0:0:00000000000000000000007=7",
        "2003-=1038700800", "x=0", "=0", "1969-12-31_23:59:59=0"}},
      {TmeJulianStringToRealTime,
       {"2003.015.10.23.45.25=1042626225.25", "2004-060=1078012800", "2003.015~junk=1042588800",
        "1970.1.0.0.2147483649=2147483647", "~2003.015=0", "=0"}},
      {TmeMSTimeStringToRealTime,
       {"SunJAN15 10:23:45 2003=1042626225", "Wed mar 2 10.23:45 2003=5220000",
        "Wed Foo 15=1209600", "Wed Jan 15 10:23:45 69=0", "=0"}},
      {TmeSQLDateTimeToRealTime,
       {"jan 15 2003 10:23 pm=1042669380", "Jan 15 2003 12:05AM=1042589100",
        "Jan 15 2003 12:05PM=1042632300", "Jan 15 2003 13:05=1042635900", "Jan 032 99=917827200",
        "=0"}},
  };
  for (const auto &[pfn, astr] : aCases) {
    for (const std::string &str : astr) {
      const std::size_t cb = str.find('=');
      EXPECT_DOUBLE_EQ(pfn(str.substr(0, cb).c_str()), std::stod(str.substr(cb + 1))) << str;
    }
    EXPECT_EQ(pfn(nullptr), 0.0);
  }
}

TEST(TimeTexts, AreReadStrictlyInEveryFormOfOneMoment) {
  std::mt19937 random(5);
  for (int i = 0; i < 20000; i++) {
    const std::int64_t llTime = random(), llAhead = 60 * (random() % 2880 - 1440);
    const ULONG ulDigits = random() % 10000, ulAhead = static_cast<ULONG>(std::llabs(llAhead) / 60);
    const bool fSeconds = random() % 4, fZoned = random() % 2;
    char szOffset[16], szFraction[16];
    std::snprintf(szOffset, sizeof szOffset, random() % 2 ? "%c%02lu:%02lu" : "%c%02lu%02lu",
                  llAhead < 0 ? '-' : '+', ulAhead / 60, ulAhead % 60);
    std::snprintf(szFraction, sizeof szFraction, "%c%04lu", ".,"[random() % 2], ulDigits);
    const std::int64_t llShown = llTime + (fZoned ? llAhead : 0);
    const std::string strText =
        Text("%Y-%m-%d", static_cast<double>(llShown)) + "T_ "[random() % 3] +
        Text(fSeconds ? "%H:%M:%S" : "%H:%M", static_cast<double>(llShown)) +
        (fSeconds ? szFraction : "") +
        (fZoned         ? szOffset
         : random() % 2 ? "Z"
                        : "");
    REALTIME rt = -1;
    if (llShown < 0 || ulAhead >= 24 * 60) continue;
    ASSERT_EQ(TmeTextToRealTime((" " + strText + "\n").c_str(), &rt), 0u) << strText;
    const double dRest = fSeconds ? ulDigits / 1e4 : -std::fmod(static_cast<double>(llTime), 60);
    ASSERT_DOUBLE_EQ(rt, static_cast<double>(llTime) + dRest) << strText;
    REALTIME rtAgain = -1;
    ASSERT_EQ(TmeTextToRealTime(Render(TmeRealTimeToIsoString, rt, 26).c_str(), &rtAgain), 0u);
    ASSERT_NEAR(rtAgain, rt, 0.000051) << strText;
  }
  EXPECT_EQ(Render(TmeRealTimeToIsoString, 1042626225.0, 26), "2003-01-15T10:23:45Z");
  EXPECT_EQ(Render(TmeRealTimeToIsoString, 1042626225.5, 26), "2003-01-15T10:23:45.5000Z");
}

TEST(TimeTexts, AreRefusedWhereTheyAreNoTimes) {
  const struct {
    const char *pszText;
    ULONG ulPosition; // of what is wrong
  } aCase[] = {
      {"", 1},
      {"2003", 5},
      {"2003-1-15", 7},
      {"2003-13-15", 6},
      {"2003-04-31", 9},
      {"2003-02-29", 9},
      {"2004-02-29", 0},
      {"2100-02-29", 9},
      {"2003-01-15x", 11},
      {"2003-01-15T", 12},
      {"2003-01-15 \n", 0},
      {"2003-01-15 10", 14},
      {"2003-01-15 24:00", 12},
      {"2003-01-15 10:60", 15},
      {"2003-01-15 10:23:60", 18},
      {"2003-01-15 10:23:45.", 21},
      {"2003-01-15 10:23:45.5x", 22},
      {"2003-01-15 10:23:45+1", 22},
      {"2003-01-15 10:23:45Z+01", 21},
      {" 1969-12-31 23:59:59", 2},
      {"1970-01-01 00:30+01:00", 1},
      {"2106-02-07 06:28:15.9999", 0},
      {"2106-02-07 06:28:16", 1},
  };
  for (const auto &[pszText, ulPosition] : aCase) {
    REALTIME rt = -1;
    EXPECT_EQ(TmeTextToRealTime(pszText, &rt), ulPosition) << pszText;
    EXPECT_EQ(rt == -1, ulPosition != 0) << pszText;
  }
  REALTIME rt = -1;
  EXPECT_EQ(TmeTextToRealTime(nullptr, &rt), 1u);
}

TEST(TmeGetRealTime, IsTheClockInWholeSeconds) {
  const std::time_t tBefore = std::time(nullptr);
  REALTIME rt = 0;
  EXPECT_EQ(Tme_time(&rt) - rt, static_cast<double>(TmeSetRealTime(0)));
  EXPECT_TRUE(rt >= static_cast<double>(tBefore) && rt <= Tme_time(nullptr) && rt == std::floor(rt))
      << rt;
}
} // namespace
