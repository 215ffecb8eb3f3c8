/* snapshot.h: readings as a record without pointers, which can leave the machine. Its description travels with it, and
   decides how it is read: a program of another version may know other fields. */
#ifndef HOSTLOG_SNAPSHOT_H
#define HOSTLOG_SNAPSHOT_H

#include "readings.h"
#include "report.h"

#define SNAPSHOT_READINGS 64 /* further ones are left out */

typedef struct __attribute__((packed)) SNAPSHOT {
  char szTitle[48];
  char achSite[8];
  char achPlace[8];
  char szRemark[128];
  ULONG flVerbosity;
  ULONG ulInterval;
  REALTIME rtTaken;
  SHORT sZone;
  double dUptime;
  ULONG ulCpus;
  USHORT fShowLimits;
  USHORT usWidth;
  BYTE bDecimals;
  ULONG ulReadings;
  READING ard[SNAPSHOT_READINGS];
} SNAPSHOT;

extern const FDSC *const pfdscSnapshot;

void SnapshotFill(SNAPSHOT *psnp, const READINGS *prds, const SETTINGS *pset);

/* Prints a snapshot as the readings it was made from would be. */
void SnapshotReport(const SNAPSHOT *psnp, REPORTKIND kind);

/* Whether data of both descriptions lie alike and go by the same names. */
BOOL SnapshotIsLike(const FDSC *pfdsc, const FDSC *pfdscOther);

/* Fills a snapshot from data of another description: what both have, by name. A number of another type is converted,
   what is missing is 0. The description may come from anywhere, if IniCheckFdsc accepts it: its formats are not used,
   nor its pointers. It has at most SNAPSHOT_MAX_FDSC bytes. */
#define SNAPSHOT_MAX_FDSC 16384UL
void SnapshotConvert(SNAPSHOT *psnp, const FDSC *pfdscTheirs, BYTE *pbTheirs);

#endif
