// calendar.h: the measures of the calendar and of a REALTIME.

#ifndef ZEBBASE_SRC_CALENDAR_H
#define ZEBBASE_SRC_CALENDAR_H

#include "zebbase/types.h"

constexpr ULONG ulSecondsPerDay = 86400;
constexpr LONG lEpochDay = 2440588;         // Julian day number of 1970-01-01
constexpr double dEndOfTime = 4294967296.0; // the first second that a REALTIME does not have

#endif
