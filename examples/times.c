/* times.c: points in time, taken apart, put together, and in their text forms. */
#include <stdio.h>
#include <zebbase/tme.h>

int main(void) {
  char sz[TME_ISO_STRING_SIZE];
  TIMESTRUCT ts = {2028, 2, 28, 23, 59, 59, 5000, 0, 0, 0};
  REALTIME rt = TmeStructToRealTime(&ts);
  printf("%s\n", TmeRealTimeToString(rt, sz));
  printf("%s\n", TmeRealTimeToAltString(rt, sz));
  printf("%s\n", TmeRealTimeToIsoString(rt, sz));
  rt += 0.5; /* seconds */
  TmeRealTimeToStruct(rt, &ts);
  printf("%s, day %lu of the year, day %lu of the week\n", Tme_ctime(&rt, sz), ts.ulDayOfYear, ts.ulWeekDay);

  static const char *const apszText[] = {"2026-11-23T05:05:06.5+01:00", "2026-11-23", "2026-11-31 04:05"};
  for (int i = 0; i < 3; i++) {
    const ULONG ulPosition = TmeTextToRealTime(apszText[i], &rt);
    if (ulPosition == 0)
      printf("%s is %s\n", apszText[i], TmeRealTimeToIsoString(rt, sz));
    else
      printf("%s is no time, from character %lu on\n", apszText[i], ulPosition);
  }
  const LONG lDays = DateToJulianDay(2026, 12, 24) - DateToJulianDay(2026, 11, 23);
  printf("%ld days to go\n", lDays);
  return 0;
}

/* prints
2028-02-28_23:59:59.5000
20280228.235959
2028-02-28T23:59:59.5000Z
Tue Feb 29 00:00:00 2028, day 60 of the year, day 2 of the week
2026-11-23T05:05:06.5+01:00 is 2026-11-23T04:05:06.5000Z
2026-11-23 is 2026-11-23T00:00:00Z
2026-11-31 04:05 is no time, from character 9 on
31 days to go
*/
