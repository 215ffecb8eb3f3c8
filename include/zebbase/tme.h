/* tme.h: points in time and their text forms.
   A REALTIME is a double: seconds since 1970-01-01 00:00:00 UTC, with the fraction of a second. Every day has 86400
   seconds; there are no time zones and no leap seconds. The range is 1970-01-01 00:00:00 to 2106-02-07 06:28:15.9999,
   in steps of a ten-thousandth of a second: what is below it or not a number breaks down as its first moment, what is
   above it as its last.

   Nothing here has state, allocates or reports; all functions are reentrant. */
#ifndef ZEBBASE_TME_H
#define ZEBBASE_TME_H

#include <zebbase/types.h>

#ifdef __cplusplus
extern "C" {
#endif

#define TME_STRING_SIZE 25       /* bytes of the buffer of TmeRealTimeToString and Tme_ctime */
#define TME_ALT_STRING_SIZE 16   /* bytes of the buffer of TmeRealTimeToAltString */
#define TME_ISO_STRING_SIZE 26   /* bytes of the buffer of TmeRealTimeToIsoString */
#define TME_SECOND_IN_FLOAT 9999 /* a value of ulSecond: the seconds are in fltSeconds */

/* A broken-down time. */
typedef struct TIMESTRUCT {
  ULONG ulYear;      /* 1970..2106; on input 0..99 mean 1900..1999 */
  ULONG ulMonth;     /* 1..12 */
  ULONG ulDay;       /* 1..31 */
  ULONG ulHour;      /* 0..23 */
  ULONG ulMinute;    /* 0..59 */
  ULONG ulSecond;    /* 0..59; on input TME_SECOND_IN_FLOAT takes the seconds from fltSeconds */
  ULONG ulFraction;  /* ten-thousandths of a second, 0..9999 */
  float fltSeconds;  /* seconds of the minute with their fraction */
  ULONG ulDayOfYear; /* 1..366; output only */
  ULONG ulWeekDay;   /* 0 Sunday .. 6 Saturday; output only */
} TIMESTRUCT;

/* The time of the system's clock, in whole seconds. Tme_time stores it through its pointer too (null is ignored). */
ZEB_API REALTIME TmeGetRealTime(void);
ZEB_API REALTIME Tme_time(REALTIME *prt);

/* Result 0. The clock is not set: this operation changes nothing. */
ZEB_API ULONG TmeSetRealTime(REALTIME rt);

/* The Julian day number of a date: 2440588 for 1970-01-01. Dates before 15 October 1582 are counted in the Julian
   calendar; the year before year 1 is -1. Nothing is checked; a day number beyond 32 bits wraps. */
ZEB_API LONG DateToJulianDay(LONG lYear, LONG lMonth, LONG lDay);

/* The time that a record describes.
   pts      fields beyond their range add up (day 32 of January is 1 February); a year of 0 to 99 gets 1900 added, in
            the record too. ulDayOfYear and ulWeekDay are ignored, and fltSeconds unless ulSecond asks for it.
   Result   0.0 for dates before 1970; whole seconds modulo 2^32. */
ZEB_API REALTIME TmeStructToRealTime(TIMESTRUCT *pts);

/* Breaks a time down, rounded to the nearest ten-thousandth of a second (fltSeconds carries the half step that the
   rounding adds). Fills all ten fields. Result pts. */
ZEB_API TIMESTRUCT *TmeRealTimeToStruct(REALTIME rt, TIMESTRUCT *pts);

/* Three text forms, each terminated in the caller's buffer, which is the result.
   TmeRealTimeToString     1970-01-01_00:00:00.0000   25 bytes
   TmeRealTimeToAltString  19700101.000000            16 bytes
   Tme_ctime               Thu Jan 01 00:00:00 1970   25 bytes, no line feed */
ZEB_API char *TmeRealTimeToString(REALTIME rt, char *pszBuffer);
ZEB_API char *TmeRealTimeToAltString(REALTIME rt, char *pszBuffer);
ZEB_API char *Tme_ctime(const REALTIME *prt, char *pszBuffer);

/* Readers of a text. None fails: what the text does not give keeps the value it has in 1970-01-01 00:00:00.0000; fields
   beyond their range add up; dates before 1970 give 0.0. Null is taken as an empty text.

   Digit runs with one separator, any character, between them:
   TmeStringToRealTime        2003-01-15_10:23:45.5000   year, month, day, hour, minute, second, fraction; each value is
                                                         cut to its low 16 bits; the empty text gives 0.0
   TmeJulianStringToRealTime  2003.015.10.23.45          year, day of the year, hour, minute, second, fraction; ends at
                                                         the end of the text or at a tilde
   A run of any length is read, up to 2147483647; larger numbers are taken as this one. An empty run is 0. A fraction of
   one to three digits is a decimal fraction (.5 is half a second), one of four or more counts ten-thousandths as it
   stands. */
ZEB_API REALTIME TmeStringToRealTime(const char *psz);
ZEB_API REALTIME TmeJulianStringToRealTime(const char *psz);

/* Wed Jan 15 10:23:45 2003, the form of Tme_ctime. The weekday is not checked; names are taken in any case; a month
   that does not exist is taken as January. TmeMSTimeStringToLongSec gives whole seconds, at most 2147483647. */
ZEB_API REALTIME TmeMSTimeStringToRealTime(const char *psz);
ZEB_API LONG TmeMSTimeStringToLongSec(const char *psz);

/* Jan 15 2003 10:23PM, names as above. An hour of 12 is 0, and P adds 12; without a marker the hour counts as AM. */
ZEB_API REALTIME TmeSQLDateTimeToRealTime(const char *psz);

/* Reads a time and says whether the text is one: a date, which may be followed by a time of day with or without
   seconds, and that by an offset from UTC. White space around it is passed over. All of these are the same moment:
       2026-11-23_04:05:06.5      the standard form; the fraction has any number of digits, and is always a decimal one
       2026-11-23T04:05:06.5Z     that of ISO 8601, with T, _ or a blank before the time of day
       2026-11-23 05:05:06,5+01:00   also +0100 and +01
   psz      null is no time.
   prt      receives the time; null is allowed.
   Result   0; or, with *prt as it was, the position, counted from 1, of the first character at which the text is no
            time: a letter for a digit, the first digit of a number beyond its range (no 31 April, no second 60), the
            end of a text that is too short. A time before 1970 or after the last one of a REALTIME stops at its first
            character. */
ZEB_API_1_1 ULONG TmeTextToRealTime(const char *psz, REALTIME *prt);

/* The form of ISO 8601, to the second when there is no fraction: 2026-11-23T04:05:06Z or 2026-11-23T04:05:06.5000Z.
   Terminated in the caller's buffer of TME_ISO_STRING_SIZE bytes, which is the result. */
ZEB_API_1_1 char *TmeRealTimeToIsoString(REALTIME rt, char *pszBuffer);

#ifdef __cplusplus
}
#endif
#endif
