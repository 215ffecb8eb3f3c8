// time_test.cpp: points in time, against the C library's calendar and the classic formula.

#include "zebbase/tme.h"

#include <cmath>
#include <cstdint>
#include <ctime>

#include "support.h"

namespace {
static_assert(sizeof(std::time_t) == 8, "the calendar to compare with must reach 2106");
constexpr double dEnd = 4294967296.0; // of the range

class Tme : public NoLeak {
 protected:
  LONG AnyLong() { return static_cast<LONG>(Random(~0UL)) >> Random(32); } // of any length
  double AnyBelow(double d) { return d * Random(~0UL) / dEnd; }
};

std::string Text(const char *pszFormat, double dTime) { // as the C library writes it
  const auto t = static_cast<std::time_t>(std::floor(dTime));
  std::tm tm;
  char sz[64];
  std::strftime(sz, sizeof sz, pszFormat, gmtime_r(&t, &tm));
  return sz;
}

// One of the text forms, of which not a byte more than cb may be written.
template <typename Time>
std::string Render(char *(*pfnForm)(Time, char *), Time time, std::size_t cb) {
  std::string str(32, '#');
  EXPECT_EQ(pfnForm(time, str.data()), str.data());
  EXPECT_EQ(str.substr(cb), std::string(str.size() - cb, '#'));
  return str.c_str();
}
std::string TimeString(REALTIME rt) { return Render(TmeRealTimeToString, rt, 25); }
std::string IsoString(REALTIME rt) { return Render(TmeRealTimeToIsoString, rt, 26); }
std::string CTime(const REALTIME &rt) { return Render(Tme_ctime, &rt, 25); }

void ExpectTime(REALTIME rt) { // every field and every text form of it, which is read back
  const double t = std::max(rt, 0.0) + 0.00005, dFraction = t - std::floor(t);
  TIMESTRUCT ts;
  std::memset(&ts, 0xEE, sizeof ts);
  ASSERT_EQ(TmeRealTimeToStruct(rt, &ts), &ts);

  char sz[64];
  std::snprintf(sz, sizeof sz, "%04lu-%02lu-%02lu_%02lu:%02lu:%02lu.%04lu %03lu %lu", ts.ulYear,
                ts.ulMonth, ts.ulDay, ts.ulHour, ts.ulMinute, ts.ulSecond, ts.ulFraction,
                ts.ulDayOfYear, ts.ulWeekDay);
  const auto ulFraction = static_cast<ULONG>(dFraction * 10000.0);
  const std::string strTime =
      Text("%F_%T.", t) + std::to_string(10000 + ulFraction).substr(1) + Text(" %j %w", t);
  ASSERT_EQ(sz, strTime) << rt;
  ASSERT_EQ(ts.fltSeconds, static_cast<float>(std::fmod(std::floor(t), 60) + dFraction)) << rt;
  ASSERT_EQ(TimeString(rt), strTime.substr(0, 24)) << rt;
  ASSERT_EQ(Render(TmeRealTimeToAltString, rt, 16), Text("%Y%m%d.%H%M%S", t)) << rt;
  ASSERT_EQ(CTime(rt), Text("%a %b %d %H:%M:%S %Y", t)) << rt;

  const double dSecond = std::floor(t), dMinute = std::floor(t / 60) * 60;
  ASSERT_NEAR(TmeStringToRealTime(strTime.substr(0, 24).c_str()), t, 0.000101);
  ASSERT_EQ(TmeMSTimeStringToRealTime(CTime(rt).c_str()), dSecond) << rt;
  ASSERT_EQ(TmeMSTimeStringToLongSec(CTime(rt).c_str()), std::fmin(dSecond, 2147483647.0)) << rt;
  ASSERT_EQ(TmeJulianStringToRealTime(Text("%Y.%j.%H/%M %S", t).c_str()), dSecond) << rt;
  ASSERT_EQ(TmeSQLDateTimeToRealTime(Text("%b %d %Y %I:%M%p", t).c_str()), dMinute) << rt;
}

TEST_F(Tme, AgreesWithTheCalendarOnEveryDayAndEndsWithTheRange) {
  for (int iDay = 0; iDay < 49710 && !HasFatalFailure(); iDay++)
    ExpectTime(86400.0 * iDay + AnyBelow(86400));
  for (const double d : {0.0, -0.0, -1.0, 59.99996, 1.23456, 86399.99994, 86399.99996, dEnd / 2,
                         951782400.0, 4294967295.0})
    ExpectTime(d);
  for (const double d : {-1e300, -HUGE_VAL, std::nan("")})
    EXPECT_EQ(TimeString(d), "1970-01-01_00:00:00.0000") << d;
  for (const double d : {dEnd - 0.0001, dEnd - 0.00004, dEnd, 1e300, HUGE_VAL})
    EXPECT_EQ(TimeString(d), "2106-02-07_06:28:15.9999") << d;
}

// The classic formula of the day number, with its quotients truncated towards zero.
std::int64_t JulianDay(std::int64_t year, std::int64_t month, std::int64_t day) {
  if (year < 0) year++;
  const std::int64_t y = month <= 2 ? year - 1 : year;
  const std::int64_t m = month <= 2 ? month + 13 : month + 1;
  const bool fGregorian = 31 * (month + 12 * year) + day > 588828;
  return 365 * y + y / 4 + static_cast<std::int64_t>(30.6001 * static_cast<double>(m)) + day +
         1720995 + (fGregorian ? 2 - y / 100 + y / 100 / 4 : 0);
}

TEST_F(Tme, CountsDaysByTheFormulaOnAnyNumbers) {
  EXPECT_EQ(DateToJulianDay(1582, 10, 4), 2299160);
  EXPECT_EQ(DateToJulianDay(1582, 10, 15), 2299161);
  EXPECT_EQ(DateToJulianDay(2000, 1, 1), 2451545);
  for (int i = 0; i < 100000; i++) {
    const LONG lYear = AnyLong(), lMonth = AnyLong(), lDay = AnyLong();
    ASSERT_EQ(DateToJulianDay(lYear, lMonth, lDay),
              static_cast<LONG>(JulianDay(lYear, lMonth, lDay)))
        << lYear << ' ' << lMonth << ' ' << lDay;
  }
}

TEST_F(Tme, AddsUpAnyFields) {
  for (int i = 0; i < 100000; i++) {
    const auto Any = [&](ULONG ulOften) { return Random(Random(8) ? ulOften : 1000000); };
    const ULONG ulYear = Random(5) ? 1960 + Random(160) : Any(120);
    TIMESTRUCT ts = {ulYear, Any(14), Any(34), Any(26), Any(~0UL), Any(70), Any(10000), 0, 0, 0};
    ts.fltSeconds = static_cast<float>(Any(60)) / 8;
    if (Random(3) == 0) ts.ulSecond = TME_SECOND_IN_FLOAT;

    const REALTIME rt = TmeStructToRealTime(&ts);

    ASSERT_EQ(ts.ulYear, ulYear <= 99 ? ulYear + 1900 : ulYear);
    const std::int64_t llDays = JulianDay(ts.ulYear, ts.ulMonth, ts.ulDay) - 2440588;
    const bool fFloat = ts.ulSecond == TME_SECOND_IN_FLOAT;
    const auto ulWhole = static_cast<std::uint32_t>(86400 * llDays + 3600LL * ts.ulHour +
                                                    60LL * ts.ulMinute + !fFloat * ts.ulSecond);
    const double dRest = fFloat ? static_cast<double>(ts.fltSeconds) : ts.ulFraction * 0.0001;
    ASSERT_DOUBLE_EQ(rt, llDays < 0 ? 0.0 : ulWhole + dRest)
        << ulYear << ' ' << ts.ulMonth << ' ' << ts.ulDay;
  }
}

TEST_F(Tme, ReadsWhatTextsContain) {
  const struct {
    REALTIME (*pfn)(const char *);
    const char *pszText;
    REALTIME rt;
  } aCase[] = {
      // A month that is missing is month 0, which is December.
      {TmeStringToRealTime, "2003-01-15_10:23:45.050~", 1042626225.05},
      {TmeStringToRealTime, "2003-01-15_10:23:45.50000", 1042626230},
      {TmeStringToRealTime, "2003-01-15  10:23", 1042589423},
      {TmeStringToRealTime, "67506-1-2", 86400},
      {TmeStringToRealTime, "1970-1-1_0:0:00000000000000009999.25", 9999.25},
      {TmeStringToRealTime, "2003-", 1038700800},
      {TmeJulianStringToRealTime, "2003.015.10.23.45.25", 1042626225.25},
      {TmeJulianStringToRealTime, "2003.015~junk", 1042588800},
      {TmeJulianStringToRealTime, "1970.1.0.0.2147483649", 2147483647},
      {TmeJulianStringToRealTime, "~2003.015", 0},
      {TmeMSTimeStringToRealTime, "SunJAN15 10:23:45 2003", 1042626225},
      {TmeMSTimeStringToRealTime, "Wed mar 2 10.23:45 2003", 5220000},
      {TmeMSTimeStringToRealTime, "Wed Foo 15", 1209600},
      {TmeMSTimeStringToRealTime, "Wed Jan 15 10:23:45 69", 0},
      {TmeSQLDateTimeToRealTime, "jan 15 2003 10:23 pm", 1042669380},
      {TmeSQLDateTimeToRealTime, "Jan 15 2003 13:05", 1042635900},
      {TmeSQLDateTimeToRealTime, "Jan 032 99", 917827200},
  };
  for (const auto &[pfn, pszText, rt] : aCase) {
    EXPECT_DOUBLE_EQ(pfn(pszText), rt) << pszText;
    EXPECT_EQ(pfn("") + pfn(nullptr), 0.0);
  }
}

TEST_F(Tme, ReadsEveryFormOfOneMomentStrictly) {
  EXPECT_EQ(IsoString(1042626225.0), "2003-01-15T10:23:45Z");
  const std::pair<const char *, int> aOffset[] = {
      {"", 0},         {"Z", 0},           {"z", 0},       {"+01", 3600}, // in seconds
      {"+0130", 5400}, {"-23:59", -86340}, {"-0001", -60}, {"+23:00", 82800}};
  for (int i = 0; i < 20000; i++) {
    const auto &[pszOffset, iAhead] = OneOf(aOffset);
    const ULONG ulTime = 86400 + Random(~0UL - 86400), ulDigits = Random(10000);
    const double dShown = static_cast<double>(ulTime) + iAhead;
    const std::string strFraction = std::to_string(10000 + ulDigits).substr(1),
                      strDay = Text(" %F", dShown) + OneOf(std::string_view("T_ t")),
                      strMinute = strDay + Text("%H:%M", dShown) + pszOffset + "\n",
                      strText = strDay + Text("%T", dShown) + OneOf(std::string_view(".,")) +
                                strFraction + pszOffset;
    REALTIME rt = -1, rtMinute = -1, rtAgain = -1;

    ASSERT_EQ(TmeTextToRealTime(strMinute.c_str(), &rtMinute), 0u) << strMinute;
    ASSERT_EQ(TmeTextToRealTime(strText.c_str(), &rt), 0u) << strText;
    const std::string strIso = IsoString(rt);
    ASSERT_EQ(TmeTextToRealTime(strIso.c_str(), &rtAgain), 0u) << strIso;

    ASSERT_EQ(rtMinute, ulTime - ulTime % 60) << strMinute;
    ASSERT_DOUBLE_EQ(rt, ulTime + ulDigits / 1e4) << strText;
    ASSERT_NEAR(rtAgain, rt, 0.000051) << strText;
    ASSERT_EQ(strIso, Text("%FT%T", rtAgain) + (ulDigits ? "." + strFraction : "") + "Z");
  }
}

TEST_F(Tme, RefusesTextsThatAreNoTimes) {
  // A ^ stands before the character that is wrong.
  for (std::string str : {"^",
                          "^0000-01-01",
                          "2003^",
                          "2003-1^-15",
                          "2003-^13-15",
                          "2003-04-^31",
                          "2003-02-^29",
                          "2004-02-29",
                          "2100-02-^29",
                          "2003-01-15^x",
                          "2003-01-15T^",
                          "2003-01-15 \n",
                          "2003-01-15 10^",
                          "2003-01-15 ^24:00",
                          "2003-01-15 10:^60",
                          "2003-01-15 10:23:^60",
                          "2003-01-15 10:23:45.^",
                          "2003-01-15 10:23:45.5^x",
                          "2003-01-15 10:23:45+1^",
                          "2003-01-15 10:23:45Z^+01",
                          " ^1969-12-31 23:59:59",
                          "^1970-01-01 00:30+01:00",
                          "2106-02-07 06:28:15.9999",
                          "^2106-02-07 06:28:16"}) {
    const std::size_t nPosition = str.find('^') + 1; // or 0
    if (nPosition > 0) str.erase(nPosition - 1, 1);
    REALTIME rt = -1;
    EXPECT_EQ(TmeTextToRealTime(str.c_str(), &rt), nPosition) << str;
    EXPECT_EQ(rt == -1, nPosition != 0) << str;
  }
  EXPECT_EQ(TmeTextToRealTime(nullptr, nullptr), 1u);
}

TEST_F(Tme, IsTheClockInWholeSeconds) {
  const auto dBefore = static_cast<double>(std::time(nullptr));
  REALTIME rt = 0;
  EXPECT_EQ(Tme_time(&rt) - rt, static_cast<double>(TmeSetRealTime(0)));
  EXPECT_TRUE(rt >= dBefore && rt <= Tme_time(nullptr) && rt == std::floor(rt)) << rt;
}
} // namespace
