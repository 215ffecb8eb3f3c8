/* base.h: start-up, the settings of the running program, and the facade of semaphores and threads.
   A program calls BaseInit first and ErrInitialize (err.h) next; nothing needs to be shut down.

   The semaphore and thread facade is empty: every operation succeeds at once, reads none of its arguments and changes
   nothing. The library brackets its shared state with it all the same, but is not thread-safe: a program that uses it
   from several threads serialises its calls. */
#ifndef ZEBBASE_BASE_H
#define ZEBBASE_BASE_H

#include <zebbase/types.h>

#ifdef __cplusplus
extern "C" {
#endif

/* Bits of the verbosity word, and severities of a reported error (err.h). Only the low 16 bits carry meaning. */
#define VERB_ERROR 0x8000UL
#define VERB_WARNING 0x4000UL
#define VERB_INFO 0x2000UL
#define VERB_DEBUG 0x1000UL
#define VERB_AREA1 0x0001UL /* Area n is this value shifted left by n - 1, up to Area 12 */
#define VERB_AREA12 0x0800UL
#define VERB_AREA(n) (VERB_AREA1 << ((n)-1)) /* Area n, an addition of version 1.1 */
#define VERB_DEFAULT (VERB_ERROR | VERB_WARNING | VERB_INFO)

/* The name of the running task, for the program's own use; the library never reads it. Null until BaseInit. */
extern ZEB_API const char *pszTaskName;

/* Which classes of messages are wanted. The library itself tests VERB_ERROR alone: the tracked allocator reports limit
   breaches and damage only while that bit is set. 0 until BaseInit. */
extern ZEB_API ULONG flVerbosity;

/* The lock of the tracked allocator (mem.h). */
extern ZEB_API MTXSEM mtxsemMemory;

/* Gives the settings their working values (flVerbosity VERB_DEFAULT, pszTaskName "ZEBBASE") and creates the memory
   lock. A lock that cannot be created is said on standard output, and start-up goes on. Calling it again resets both
   settings. */
ZEB_API void BaseInit(void);

/* Stores flNew in flVerbosity as it is, without masking. */
ZEB_API void BaseSetVerbosity(ULONG flNew);

/* Replaces every chOld of a text by chNew, in place.
   psz      zero-terminated, the caller's; null does nothing.
   Limits   chOld equal to chNew, or equal to the terminating zero, leaves the text as it is. A chNew of zero ends the
            text at the first chOld. */
ZEB_API void MscReplaceChar(char *psz, char chOld, char chNew);

#define SEM_WAIT_FOREVER 0xFFFFFFFFUL /* a time limit, in milliseconds, that never runs out */

typedef ULONG CNTSEM; /* handle of a counting semaphore */
typedef ULONG EVTSEM; /* handle of an event semaphore */

/* Mutex semaphores. All answer 0, success. */
ZEB_API ULONG SemCreateMutex(MTXSEM *pmtxsem, ULONG ulName, ULONG flOptions, ULONG fOwned);
ZEB_API ULONG SemOpenMutex(MTXSEM *pmtxsem);
ZEB_API ULONG SemRequestMutex(MTXSEM *pmtxsem, ULONG ulTimeout);
ZEB_API ULONG SemReleaseMutex(MTXSEM *pmtxsem);
ZEB_API ULONG SemQueryMutex(MTXSEM *pmtxsem);
ZEB_API ULONG SemCloseMutex(MTXSEM *pmtxsem);

/* Counting semaphores. All answer 0, success. */
ZEB_API ULONG SemCreateCount(CNTSEM *pcntsem, ULONG ulName, ULONG flOptions, ULONG ulCount);
ZEB_API ULONG SemOpenCount(CNTSEM *pcntsem);
ZEB_API ULONG SemChangeCount(CNTSEM *pcntsem, LONG lChange);
ZEB_API ULONG SemWaitCount(CNTSEM *pcntsem, ULONG ulTimeout);
ZEB_API ULONG SemQueryCount(CNTSEM *pcntsem);
ZEB_API ULONG SemCloseCount(CNTSEM *pcntsem);

/* Event semaphores. All answer 0, success. */
ZEB_API ULONG SemCreateEvent(EVTSEM *pevtsem, ULONG ulName, ULONG flOptions, ULONG fPosted);
ZEB_API ULONG SemOpenEvent(EVTSEM *pevtsem);
ZEB_API ULONG SemResetEvent(EVTSEM *pevtsem);
ZEB_API ULONG SemPostEvent(EVTSEM *pevtsem);
ZEB_API ULONG SemWaitEvent(EVTSEM *pevtsem, ULONG ulTimeout);
ZEB_API ULONG SemQueryEvent(EVTSEM *pevtsem);
ZEB_API ULONG SemCloseEvent(EVTSEM *pevtsem);

/* Threads. ThdInitialize answers 0; the two others have no effect. */
ZEB_API ULONG ThdInitialize(void);
ZEB_API void ThdTerminate(void);
ZEB_API void ThdSetPmThreadStartup(void);

#ifdef __cplusplus
}
#endif
#endif
