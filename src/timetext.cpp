// timetext.cpp: times in texts of other programs, as ISO 8601 has them.

#include <cstdint>
#include <cstring>
#include <string_view>

#include "calendar.h"
#include "text.h"
#include "zebbase/tme.h"

namespace {
// Reads a time of which nothing is to be wrong: at the first thing that is, reading stops, and stays there.
class StrictReader {
 public:
  explicit StrictReader(const char *psz) : psz_(psz) {}

  bool ReadAll(REALTIME &rt) {
    const char *pszTime = psz_ = AfterWhite();
    std::int64_t llSeconds = 0;
    double dFraction = 0;
    if (!ReadDate(llSeconds)) return false;
    const bool fOnlyDate = *AfterWhite() == '\0';
    if (!fOnlyDate && !(TakeOneOf("Tt_ ") && ReadTimeOfDay(llSeconds, dFraction) && ReadOffset(llSeconds)))
      return false;
    psz_ = AfterWhite();
    if (*psz_ != '\0') return false;
    const REALTIME rtRead = static_cast<double>(llSeconds) + dFraction;
    if (rtRead < 0 || rtRead >= dEndOfTime) {
      psz_ = pszTime;
      return false;
    }
    rt = rtRead;
    return true;
  }

  const char *Position() const { return psz_; }

 private:
  const char *AfterWhite() const {
    const char *psz = psz_;
    while (IsWhite(*psz)) psz++;
    return psz;
  }
  bool TakeOneOf(std::string_view svOneOf) {
    const bool fTaken = *psz_ != '\0' && svOneOf.find(*psz_) != svOneOf.npos;
    psz_ += fTaken;
    return fTaken;
  }

  // A number of just so many digits, within its range.
  bool ReadNumber(ULONG &ul, ULONG ulDigits, ULONG ulLeast, ULONG ulMost) {
    const char *pszNumber = psz_;
    for (ul = 0; ulDigits > 0; ulDigits--, psz_++) {
      if (!IsDigit(*psz_)) return false;
      ul = ul * 10 + static_cast<ULONG>(*psz_ - '0');
    }
    if (ul >= ulLeast && ul <= ulMost) return true;
    psz_ = pszNumber;
    return false;
  }

  bool ReadDate(std::int64_t &llSeconds) {
    ULONG ulYear, ulMonth, ulDay;
    if (!ReadNumber(ulYear, 4, 1, 9999) || !TakeOneOf("-")) return false;
    if (!ReadNumber(ulMonth, 2, 1, 12) || !TakeOneOf("-")) return false;
    if (!ReadNumber(ulDay, 2, 1, DaysOf(ulYear, ulMonth))) return false;
    llSeconds = std::int64_t{ulSecondsPerDay} * (DayNumber(ulYear, ulMonth, ulDay) - lEpochDay);
    return true;
  }

  static LONG DayNumber(ULONG ulYear, ULONG ulMonth, ULONG ulDay) {
    return DateToJulianDay(static_cast<LONG>(ulYear), static_cast<LONG>(ulMonth), static_cast<LONG>(ulDay));
  }
  static ULONG DaysOf(ULONG ulYear, ULONG ulMonth) {
    const ULONG ulDecember = ulMonth == 12;
    return static_cast<ULONG>(DayNumber(ulYear + ulDecember, ulMonth % 12 + 1, 1) - DayNumber(ulYear, ulMonth, 1));
  }

  bool ReadTimeOfDay(std::int64_t &llSeconds, double &dFraction) {
    ULONG ulHour, ulMinute, ulSecond = 0;
    if (!ReadNumber(ulHour, 2, 0, 23) || !TakeOneOf(":") || !ReadNumber(ulMinute, 2, 0, 59)) return false;
    if (TakeOneOf(":")) {
      if (!ReadNumber(ulSecond, 2, 0, 59)) return false;
      if (TakeOneOf(".,") && !ReadFraction(dFraction)) return false;
    }
    llSeconds += 3600 * ulHour + 60 * ulMinute + ulSecond;
    return true;
  }

  bool ReadFraction(double &dFraction) { // to a nanosecond
    if (!IsDigit(*psz_)) return false;
    ULONG ulDigits = 0, ulUnit = 1;
    for (; IsDigit(*psz_); psz_++) {
      if (ulUnit == 1000000000) continue;
      ulDigits = ulDigits * 10 + static_cast<ULONG>(*psz_ - '0');
      ulUnit *= 10;
    }
    dFraction = static_cast<double>(ulDigits) / static_cast<double>(ulUnit);
    return true;
  }

  bool ReadOffset(std::int64_t &llSeconds) { // Z, or what the text's time is ahead of UTC; none is UTC
    const bool fBehind = *psz_ == '-';
    ULONG ulHours, ulMinutes = 0;
    if (TakeOneOf("Zz") || !TakeOneOf("+-")) return true;
    if (!ReadNumber(ulHours, 2, 0, 23)) return false;
    if ((TakeOneOf(":") || IsDigit(*psz_)) && !ReadNumber(ulMinutes, 2, 0, 59)) return false;
    const std::int64_t llAhead = 3600 * ulHours + 60 * ulMinutes;
    llSeconds += fBehind ? llAhead : -llAhead;
    return true;
  }

  const char *psz_;
};
} // namespace

ULONG TmeTextToRealTime(const char *psz, REALTIME *prt) {
  const char *pszText = psz ? psz : "";
  StrictReader reader(pszText);
  REALTIME rt;
  if (!reader.ReadAll(rt)) return static_cast<ULONG>(reader.Position() - pszText) + 1;
  if (prt) *prt = rt;
  return 0;
}

char *TmeRealTimeToIsoString(REALTIME rt, char *pszBuffer) {
  TmeRealTimeToString(rt, pszBuffer); // 2026-11-23_04:05:06.0000
  char *pszFraction = pszBuffer + 19;
  pszBuffer[10] = 'T';
  std::strcpy(std::strcmp(pszFraction, ".0000") == 0 ? pszFraction : pszFraction + 5, "Z");
  return pszBuffer;
}
