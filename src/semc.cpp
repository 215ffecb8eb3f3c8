// semc.cpp: the semaphore facade. Every operation succeeds at once and does nothing.

#include "zebbase/base.h"

ULONG SemCreateMutex(MTXSEM *, ULONG, ULONG, ULONG) { return 0; }
ULONG SemOpenMutex(MTXSEM *) { return 0; }
ULONG SemRequestMutex(MTXSEM *, ULONG) { return 0; }
ULONG SemReleaseMutex(MTXSEM *) { return 0; }
ULONG SemQueryMutex(MTXSEM *) { return 0; }
ULONG SemCloseMutex(MTXSEM *) { return 0; }

ULONG SemCreateCount(CNTSEM *, ULONG, ULONG, ULONG) { return 0; }
ULONG SemOpenCount(CNTSEM *) { return 0; }
ULONG SemChangeCount(CNTSEM *, LONG) { return 0; }
ULONG SemWaitCount(CNTSEM *, ULONG) { return 0; }
ULONG SemQueryCount(CNTSEM *) { return 0; }
ULONG SemCloseCount(CNTSEM *) { return 0; }

ULONG SemCreateEvent(EVTSEM *, ULONG, ULONG, ULONG) { return 0; }
ULONG SemOpenEvent(EVTSEM *) { return 0; }
ULONG SemResetEvent(EVTSEM *) { return 0; }
ULONG SemPostEvent(EVTSEM *) { return 0; }
ULONG SemWaitEvent(EVTSEM *, ULONG) { return 0; }
ULONG SemQueryEvent(EVTSEM *) { return 0; }
ULONG SemCloseEvent(EVTSEM *) { return 0; }
