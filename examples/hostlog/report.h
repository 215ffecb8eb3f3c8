/* report.h: telling a person, and the error channel, what the readings are. */
#ifndef HOSTLOG_REPORT_H
#define HOSTLOG_REPORT_H

#include "readings.h"

typedef enum { REPORT_USUAL, REPORT_BRIEF, REPORT_FULL } REPORTKIND;

/* Prints the heading, the table of all readings and the files that watched paths stand for; the full report has the
   folders, too, and the brief one is a single line. */
void ReportPrint(const READINGS *prds, const SETTINGS *pset, REPORTKIND kind);

/* Reports each reading beyond its limit as one error, if flVerbosity wants its severity. Result: how many readings are
   beyond their limit, reported or not; 0 when the settings say not to check, or not yet. */
ULONG ReportLimits(const READINGS *prds, const SETTINGS *pset);

#endif
