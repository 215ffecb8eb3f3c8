// time.cpp: points in time, the calendar, and the text forms of both.
// There is no state. The calendar of a REALTIME is computed in integers, which gives the dates of the classic formulas.

#include "zebbase/tme.h"

#ifdef __SSE2__
#include <emmintrin.h>
#endif

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <ctime>
#include <iterator>
#include <limits>

#include "calendar.h"
#include "digits.h"
#include "text.h"

static_assert(sizeof(TIMESTRUCT) == 40 && offsetof(TIMESTRUCT, fltSeconds) == 28);

namespace {
constexpr char aszMonth[][4] = {"Jan", "Feb", "Mar", "Apr", "May", "Jun", "Jul", "Aug", "Sep", "Oct", "Nov", "Dec"};
constexpr char aszWDay[][4] = {"Sun", "Mon", "Tue", "Wed", "Thu", "Fri", "Sat"};

constexpr double dHalfRange = 2147483648.0;
constexpr double dHalfStep = 0.00005;
constexpr double dLastTime = 4294967295.9999; // the last step that a REALTIME of 32-bit seconds has

struct DATE {
  ULONG ulYear;
  ULONG ulMonth;
  ULONG ulDay;
};

// The Julian day number of a date, computed in integers that are wide enough for it.
template <typename Int>
Int JulianDay(Int year, Int month, Int day) {
  if (year < 0) year++; // there is no year 0
  const Int y = month <= 2 ? year - 1 : year;
  const Int m = month <= 2 ? month + 13 : month + 1;
  Int julian = 365 * y + y / 4 + 306001 * m / 10000 + day + 1720995;
  if (31 * (month + 12 * year) + day > 588828) { // the Gregorian calendar, from 15 October 1582 on
    const Int a = y / 100;
    julian += 2 - a + a / 4;
  }
  return julian;
}

[[gnu::noinline]] LONG WideJulianDay(LONG lYear, LONG lMonth, LONG lDay) {
  return static_cast<LONG>(JulianDay<std::int64_t>(lYear, lMonth, lDay));
}

// The Julian day number of whatever is given as a date.
inline LONG AnyJulianDay(LONG lYear, LONG lMonth, LONG lDay) {
  const bool fOrdinary = lYear > 0 && lYear < 10000 && lMonth > 0 && lMonth <= 12 && lDay > 0 && lDay < 10000;
  return fOrdinary ? JulianDay<LONG>(lYear, lMonth, lDay) : WideJulianDay(lYear, lMonth, lDay);
}

// Without a call, so that a reader's fields stay in registers: the way through memory takes as long as the rest.
[[gnu::always_inline]] inline REALTIME ToRealTime(TIMESTRUCT &ts) {
  if (ts.ulYear <= 99) ts.ulYear += 1900;
  const LONG lDay =
      AnyJulianDay(static_cast<LONG>(ts.ulYear), static_cast<LONG>(ts.ulMonth), static_cast<LONG>(ts.ulDay));
  if (lDay < lEpochDay) return 0.0;
  const ULONG ulBase = ulSecondsPerDay * static_cast<ULONG>(lDay - lEpochDay) + 3600 * ts.ulHour + 60 * ts.ulMinute;
  if (ts.ulSecond == TME_SECOND_IN_FLOAT) return ulBase + static_cast<double>(ts.fltSeconds);
  return static_cast<double>(ulBase + ts.ulSecond) + ts.ulFraction * 0.0001;
}

// The date of a day counted from 1970-01-01, up to the last one of a REALTIME, in 2106. Years are taken to begin on 1
// March, so that the leap day ends them. Every fourth has one but that of 2100, which is counted as if it had: the days
// behind it are moved by one.
inline DATE CalendarDate(ULONG ulDays) {
  constexpr ULONG ulDaysToEpoch = 671;                                                     // from 1 March 1968
  constexpr ULONG ulAfterFebruary = 47541;                                                 // 1 March 2100
  const ULONG ulQuarters = 4 * (ulDays + ulDaysToEpoch + (ulDays >= ulAfterFebruary)) + 3; // of days
  const ULONG ulYear = ulQuarters / 1461;
  const ULONG ulDayOfYear = ulQuarters % 1461 / 4;
  const ULONG ulScaled = 2141 * ulDayOfYear + 197913; // a month has 2^16 / 2141 days, nearly; March begins at 3
  const ULONG ulMonth = ulScaled >> 16;
  const ULONG ulJanuary = ulMonth > 12; // January and February belong to the next year
  return {1968 + ulYear + ulJanuary, ulMonth - 12 * ulJanuary, (ulScaled & 0xFFFF) / 2141 + 1};
}

// A double argument arrives as two words pushed one by one; one load of both would have to wait for the two stores.
inline REALTIME LoadArgument(const REALTIME &rt) {
#ifdef __SSE2__
  const auto *pb = reinterpret_cast<const BYTE *>(&rt);
  return _mm_cvtsd_f64(_mm_castsi128_pd(_mm_unpacklo_epi32(_mm_loadu_si32(pb), _mm_loadu_si32(pb + 4))));
#else
  return rt;
#endif
}

// A time as whole seconds and the rest, rounded to ten-thousandths by the half step that the rest carries.
struct SPLITTIME {
  ULONG ulSeconds;
  double dRest;
  explicit SPLITTIME(REALTIME rt) {
    double d = rt > 0 ? rt : 0; // also for what is not a number
    if (d + dHalfStep >= dEndOfTime) d = dLastTime;
    d += dHalfStep;
    const double dUpper = d >= dHalfRange ? dHalfRange : 0.0; // the processor converts signed numbers only
    const auto lSeconds = static_cast<LONG>(d - dUpper);
    ulSeconds = static_cast<ULONG>(lSeconds) + (static_cast<ULONG>(d >= dHalfRange) << 31);
    dRest = d - dUpper - lSeconds;
  }
  ULONG Day() const { return ulSeconds / ulSecondsPerDay; }
  ULONG SecondOfDay() const { return ulSeconds % ulSecondsPerDay; }
  ULONG Fraction() const { return static_cast<ULONG>(static_cast<LONG>(dRest * 10000.0)); }
};

char *Put4(char *pch, ULONG ul) { return PutPair(PutPair(pch, ul / 100), ul % 100); }

char *PutName(char *pch, const char (&sz)[4]) {
  std::memcpy(pch, sz, 3);
  return pch + 3;
}

char *PutSeparator(char *pch, char ch) { // a zero is none
  *pch = ch;
  return pch + (ch != '\0');
}

inline char *PutDate(char *pch, const DATE &date, char chSeparator) {
  pch = PutSeparator(Put4(pch, date.ulYear), chSeparator);
  pch = PutSeparator(PutPair(pch, date.ulMonth), chSeparator);
  return PutPair(pch, date.ulDay);
}

inline char *PutTimeOfDay(char *pch, ULONG ulSecondOfDay, char chSeparator) {
  const ULONG ulMinutes = ulSecondOfDay / 60;
  pch = PutSeparator(PutPair(pch, ulMinutes / 60), chSeparator);
  pch = PutSeparator(PutPair(pch, ulMinutes % 60), chSeparator);
  return PutPair(pch, ulSecondOfDay % 60);
}

ULONG WeekDay(ULONG ulDays) { return (ulDays + 4) % 7; } // the first day was a Thursday

// Where every reader of a text starts.
constexpr TIMESTRUCT tsEpoch = {1970, 1, 1, 0, 0, 0, 0, 0.0F, 0, 0};

// Reads fields that are digit runs with one character between them.
class FieldReader {
 public:
  FieldReader(const char *psz, char chEnd) : psz_(psz), chEnd_(chEnd) {}

  // Reads the next field into a word; at the end it stays as it was.
  FieldReader &Read(ULONG &ul, ULONG ulMask) {
    if (fEnd_) return *this;
    const char *pszField = psz_;
    ul = ReadDigits(psz_, std::numeric_limits<LONG>::max()) & ulMask;
    cDigits_ = psz_ - pszField;
    fEnd_ = *psz_ == '\0' || *psz_ == chEnd_;
    if (!fEnd_) psz_++;
    return *this;
  }

  // Reads the last field. One to three digits are a decimal fraction; others count ten-thousandths.
  void ReadFraction(TIMESTRUCT &ts, ULONG ulMask) {
    if (fEnd_) return;
    static constexpr ULONG aulScale[] = {1, 1000, 100, 10};
    Read(ts.ulFraction, ulMask);
    if (cDigits_ < 4) ts.ulFraction *= aulScale[cDigits_];
    if (ts.ulSecond == TME_SECOND_IN_FLOAT) ts.fltSeconds = static_cast<float>(ts.ulSecond + ts.ulFraction * 0.0001);
  }

 private:
  const char *psz_;
  const char chEnd_;
  bool fEnd_ = false;
  std::ptrdiff_t cDigits_ = 0;
};

// The text forms with names, as the runtime scans them; fields that it does not reach keep their values.
struct NAMEDTIME {
  char szWeekDay[4] = "";
  char szMonth[4] = "";
  LONG lDay = 1;
  LONG lHour = 0;
  LONG lMinute = 0;
  LONG lSecond = 0;
  LONG lYear = 1970;
  char szMarker[3] = "";
};

ULONG MonthOf(const char *pszName) { // counted from 1; an unknown name is January, where every reader starts
  for (ULONG ul = 0; ul < std::size(aszMonth); ul++)
    if (EqualNoCase(aszMonth[ul], pszName)) return ul + 1;
  return tsEpoch.ulMonth;
}

REALTIME Compose(const NAMEDTIME &nt) {
  TIMESTRUCT ts = tsEpoch;
  ts.ulYear = static_cast<ULONG>(nt.lYear);
  ts.ulMonth = MonthOf(nt.szMonth);
  ts.ulDay = static_cast<ULONG>(nt.lDay);
  ts.ulHour = static_cast<ULONG>(nt.lHour);
  ts.ulMinute = static_cast<ULONG>(nt.lMinute);
  ts.ulSecond = static_cast<ULONG>(nt.lSecond);
  return TmeStructToRealTime(&ts);
}
} // namespace

REALTIME TmeGetRealTime(void) { return static_cast<REALTIME>(std::time(nullptr)); }

REALTIME Tme_time(REALTIME *prt) {
  const REALTIME rt = TmeGetRealTime();
  if (prt) *prt = rt;
  return rt;
}

ULONG TmeSetRealTime(REALTIME) { return 0; }

LONG DateToJulianDay(LONG lYear, LONG lMonth, LONG lDay) { return AnyJulianDay(lYear, lMonth, lDay); }

REALTIME TmeStructToRealTime(TIMESTRUCT *pts) { return ToRealTime(*pts); }

TIMESTRUCT *TmeRealTimeToStruct(REALTIME rt, TIMESTRUCT *pts) {
  const SPLITTIME st(LoadArgument(rt));
  const DATE date = CalendarDate(st.Day());
  pts->ulYear = date.ulYear;
  pts->ulMonth = date.ulMonth;
  pts->ulDay = date.ulDay;
  pts->ulHour = st.SecondOfDay() / 3600;
  pts->ulMinute = st.ulSeconds % 3600 / 60;
  pts->ulSecond = st.ulSeconds % 60;
  pts->ulFraction = st.Fraction();
  pts->fltSeconds = static_cast<float>(pts->ulSecond + st.dRest);
  const LONG lDay = static_cast<LONG>(st.Day()) + lEpochDay;
  pts->ulDayOfYear = static_cast<ULONG>(lDay - DateToJulianDay(static_cast<LONG>(date.ulYear), 1, 1) + 1);
  pts->ulWeekDay = WeekDay(st.Day());
  return pts;
}

char *TmeRealTimeToString(REALTIME rt, char *pszBuffer) {
  const SPLITTIME st(LoadArgument(rt));
  char *pch = PutSeparator(PutDate(pszBuffer, CalendarDate(st.Day()), '-'), '_');
  pch = PutSeparator(PutTimeOfDay(pch, st.SecondOfDay(), ':'), '.');
  *Put4(pch, st.Fraction()) = '\0';
  return pszBuffer;
}

char *TmeRealTimeToAltString(REALTIME rt, char *pszBuffer) {
  const SPLITTIME st(LoadArgument(rt));
  char *pch = PutSeparator(PutDate(pszBuffer, CalendarDate(st.Day()), '\0'), '.');
  *PutTimeOfDay(pch, st.SecondOfDay(), '\0') = '\0';
  return pszBuffer;
}

char *Tme_ctime(const REALTIME *prt, char *pszBuffer) {
  const SPLITTIME st(*prt);
  const DATE date = CalendarDate(st.Day());
  char *pch = PutSeparator(PutName(pszBuffer, aszWDay[WeekDay(st.Day())]), ' ');
  pch = PutSeparator(PutName(pch, aszMonth[date.ulMonth - 1]), ' ');
  pch = PutSeparator(PutPair(pch, date.ulDay), ' ');
  pch = PutSeparator(PutTimeOfDay(pch, st.SecondOfDay(), ':'), ' ');
  *Put4(pch, date.ulYear) = '\0';
  return pszBuffer;
}

REALTIME TmeStringToRealTime(const char *psz) {
  constexpr ULONG ulMask = 0xFFFF;
  TIMESTRUCT ts = tsEpoch;
  FieldReader reader(psz ? psz : "", '\0');
  reader.Read(ts.ulYear, ulMask).Read(ts.ulMonth, ulMask).Read(ts.ulDay, ulMask);
  reader.Read(ts.ulHour, ulMask).Read(ts.ulMinute, ulMask).Read(ts.ulSecond, ulMask);
  reader.ReadFraction(ts, ulMask);
  return ToRealTime(ts);
}

REALTIME TmeJulianStringToRealTime(const char *psz) {
  constexpr ULONG ulMask = 0xFFFFFFFF;
  if (!psz || *psz == '\0' || *psz == '~') return 0.0;
  TIMESTRUCT ts = tsEpoch;
  FieldReader reader(psz, '~');
  reader.Read(ts.ulYear, ulMask).Read(ts.ulDay, ulMask); // the day of the year is that day of January
  reader.Read(ts.ulHour, ulMask).Read(ts.ulMinute, ulMask).Read(ts.ulSecond, ulMask);
  reader.ReadFraction(ts, ulMask);
  return TmeStructToRealTime(&ts);
}

REALTIME TmeMSTimeStringToRealTime(const char *psz) {
  NAMEDTIME nt;
  std::sscanf(psz ? psz : "", "%3s%3s%2ld%2ld:%2ld:%2ld%4ld", nt.szWeekDay, nt.szMonth, &nt.lDay, &nt.lHour,
              &nt.lMinute, &nt.lSecond, &nt.lYear);
  return Compose(nt);
}

LONG TmeMSTimeStringToLongSec(const char *psz) {
  return static_cast<LONG>(std::min<REALTIME>(TmeMSTimeStringToRealTime(psz), std::numeric_limits<LONG>::max()));
}

REALTIME TmeSQLDateTimeToRealTime(const char *psz) {
  NAMEDTIME nt;
  std::sscanf(psz ? psz : "", "%3s %3ld %4ld %2ld:%2ld%2s", nt.szMonth, &nt.lDay, &nt.lYear, &nt.lHour, &nt.lMinute,
              nt.szMarker);
  if (nt.lHour == 12) nt.lHour = 0;
  if (ToLower(nt.szMarker[0]) == 'p') nt.lHour += 12;
  return Compose(nt);
}
