/* err.h: error reporting.
   Every report goes through ErrPutError to one output channel, chosen for the whole process by ErrInitialize. Five
   small reporters test a value, report it when it shows a failure, and hand the value back, so that they fit around a
   call:
       if (!ErrNullError(__FILE__, __LINE__, p = MemAllocMem_(100, __LINE__, __FILE__))) return 0;
   Nothing here allocates tracked memory (mem.h). Texts are cut to the limits given below; nothing overruns.

   The error line of the console and log channels, for a report from line 429 of a file named memory at 13:45:02:
       134502(  memory:0429)E0009 message
   that is the time of day, the base name of the file in 8 columns (cut to 8), the line, the severity letter (E, W, I,
   D; a to l for Area 1 to 12; in general 'a' plus the position of the lowest bit set, '?' when none is), the kind and
   the message. The daily log is the file TASK.YYYYMMDD.log in the current directory; what cannot be written there is
   lost without notice, and a line that was begun is ended, with the next one on a line of its own. */
#ifndef ZEBBASE_ERR_H
#define ZEBBASE_ERR_H

#include <stddef.h>
#include <zebbase/base.h>
#include <zebbase/types.h>

#ifdef __cplusplus
extern "C" {
#endif

/* Output channels of ErrInitialize. Before it is called the channel is ERR_TYPE_POPUP without a display function.
   A report whose channel has no function registered is written as an error line to standard error instead. */
#define ERR_TYPE_REMOTE 1      /* a sender of the program's gets an ERRRESOURCE */
#define ERR_TYPE_POPUP 2       /* critical errors go to a display function, all others into the error table */
#define ERR_TYPE_CONSOLE 3     /* an error line on standard output */
#define ERR_TYPE_CALLBACK 4    /* the program's function gets severity and message */
#define ERR_TYPE_CONSOLE_LOG 5 /* an error line on standard output and in the daily log */
#define ERR_TYPE_LOG 6         /* an error line in the daily log */

/* Kinds of failure. Numbers 100 to 107 name a standard message (ErrGetMessage); any other number is only a number. */
#define ERR_KIND_WIN 1
#define ERR_KIND_GPI 2
#define ERR_KIND_DOS 3
#define ERR_KIND_NULL 4
#define ERR_KIND_ASSERT 5
#define ERR_KIND_RC 6
#define ERR_KIND_BOOLEAN 7
#define ERR_KIND_CRITICAL 8
#define ERR_KIND_MEMORY 9

#define ERR_MAX_MESSAGE 511 /* characters of a formatted message that are kept */

/* One record of the error table. */
typedef struct ERRORBLOCK {
  ULONG ulSeverity;    /* one bit of the verbosity word (base.h) */
  ULONG ulType;        /* kind or standard message number */
  char szMessage[256]; /* the message, cut to 255 characters */
  ULONG ulLine;        /* source line */
  const char *pszFile; /* base name of the source file: points into the reporter's text */
  ULONG ulLink;        /* number of the earlier record that this one follows from, or 0 */
} ERRORBLOCK;

/* What the remote sender gets. The texts are padded with zeros, and not terminated when they fill their field. */
typedef struct __attribute__((packed, aligned(4))) ERRRESOURCE {
  REALTIME dTime;   /* time of the report */
  ULONG ulSeverity; /* one bit of the verbosity word */
  ULONG ulType;     /* kind or standard message number */
  ULONG ulLine;     /* source line */
  char achFile[13]; /* base name of the source file */
  char achMessage[256];
  char achTask[9];
  BYTE abReserved[2]; /* zero */
} ERRRESOURCE;

/* Functions of the program's; the results of the display and of the callback are ignored. They return to the library:
   neither an exception nor a longjmp may leave them. A pop-up text is
       FILE:LINE KIND
       MESSAGE
       Press OK to continue or CANCEL to abort
   with the kind's name, such as "Null Error"; "Error" for those from 10 on. */
typedef ULONG (*PFNERRSEND)(ULONG ulReserved, ULONG ulLogClass, ULONG ulLogCat, ULONG ulLogType, ERRRESOURCE *perrres,
                            ULONG ulLength);                             /* 0 for success; ulReserved is 0 */
typedef ULONG (*PFNERRPOPUP)(const char *pszText);                       /* shows a text */
typedef ULONG (*PFNERRREPORT)(ULONG ulSeverity, const char *pszMessage); /* takes a report */

extern ZEB_API BOOL fErrBusyInit; /* 1 once the lock of the error table exists */
extern ZEB_API BOOL fPanicInit;   /* 1 once the lock of the panic log exists */

/* Chooses the output channel; may be called again to change it.
   ulErrType    one of ERR_TYPE_*.
   pszTask      default task name, which also names the daily log; the pointer is kept. Null keeps the one in force
                ("Unknown" at first).
   ...          ERR_TYPE_REMOTE: ULONG ulLogClass, ULONG ulLogCat, ULONG ulLogType, PFNERRSEND;
                ERR_TYPE_POPUP: ULONG habError, PFNERRPOPUP; ERR_TYPE_CALLBACK: PFNERRREPORT; the others: nothing.
   Result       1; 0 for any other ulErrType (said on standard output; no report goes anywhere from then on) and for a
                lock that cannot be created. */
ZEB_API BOOL ErrInitialize(ULONG ulErrType, const char *pszTask, ...);

/* Reports one error.
   pszTask      task name; null for the default.
   dTime        time of the report, for the remote channel; 0 for now. The error lines always carry the current time.
   ulSeverity   one bit of the verbosity word. It is not tested against flVerbosity: that is the caller's business.
   ulType       kind or standard message number.
   pszFile      source file, of which the part after the last '/' is shown; null for "Unknown". The table channel keeps
                the pointer.
   pulIndex     null, or a word that receives the result; the table channel links the new record to the record whose
                number the word holds on entry.
   pszFormat    message as for printf, with its arguments; null for an empty message. Cut to ERR_MAX_MESSAGE characters,
                error lines and the whole text of a pop-up to 511, standard messages to 127, the message of a table
                record to 255, that of an ERRRESOURCE to 256. A conversion that fails ends the message: what stands
                before it stays.
   Result       by channel. Remote: the sender's code (0 is success; 1 when no sender is registered). Pop-up: 0 after a
                critical error (severity VERB_ERROR and a kind of 1 to 99), which is shown and not kept; otherwise the
                number of the new table record, or 1 when the table is full. Console and log: 1. Callback, none: 0.
   Limits       the table holds 49 records, numbered 2 to 50. Once full it stays full. */
ZEB_API ULONG ErrPutError(const char *pszTask, REALTIME dTime, ULONG ulSeverity, ULONG ulType, const char *pszFile,
                          ULONG ulLine, ULONG *pulIndex, const char *pszFormat, ...)
    __attribute__((format(printf, 8, 9)));

/* The reporters: each tests a value and reports, with severity VERB_ERROR under the default task name:
       ErrDosError      a code other than 0   kind 3   "CODE : No error text available"
       ErrNullError     a null pointer        kind 4   "A NULL pointer was detected."
       ErrAssertError   always                kind 5   "Failed: CONDITION"; null is taken as empty
       ErrRcError       a code other than 0   kind 6   "CODE : Non-zero return code."
       ErrBoolError     0                     kind 6   "FALSE return code."
   They leave no record in the error table: what the channel answers is taken for the number of an entry, which is
   freed. On the remote channel this is the sender's code: one of 2 to 50 frees the entry of that number.
   Result   the value tested; of ErrAssertError 0, or the code of a lock request that failed. */
ZEB_API ULONG ErrDosError(const char *pszFile, ULONG ulLine, ULONG rc);
ZEB_API void *ErrNullError(const char *pszFile, ULONG ulLine, void *p);
ZEB_API ULONG ErrRcError(const char *pszFile, ULONG ulLine, ULONG rc);
ZEB_API BOOL ErrBoolError(const char *pszFile, ULONG ulLine, BOOL f);
ZEB_API ULONG ErrAssertError(const char *pszFile, ULONG ulLine, const char *pszCondition);

/* The record of an entry in use; for every other number the record "Out of error space". The library's; valid until
   the entry is filled again. */
ZEB_API const ERRORBLOCK *ErrGetError(ULONG ulEntry);

/* Frees an entry, replaces its severity, links it to an earlier one. Numbers of no entry in use change nothing, except
   that ErrLinkError(ulEarlier, 1) links the record "Out of error space" to any ulEarlier but 1.
   Result   0, or the code of a lock that could not be got or released. */
ZEB_API ULONG ErrClearError(ULONG ulEntry);
ZEB_API ULONG ErrChangeError(ULONG ulEntry, ULONG ulSeverity);
ZEB_API ULONG ErrLinkError(ULONG ulEarlier, ULONG ulEntry);

/* The standard message of a number from 100 to 107, as a format with at most one text argument; null for any other. */
ZEB_API const char *ErrGetMessage(ULONG ulMsg);

/* Appends a line with time, file, line and message to "panic.log" in the current directory, and prints the message on
   standard output on the two console channels. It does not end the program.
   pszMessage, pszFile   null is taken as empty.
   Result   0, also when the file cannot be written. */
ZEB_API ULONG ErrPanicError(const char *pszMessage, const char *pszFile, ULONG ulLine);

/* The handle word given with ERR_TYPE_POPUP; 0 until then. */
ZEB_API ULONG ErrGetHAB(void);

/* Has no effect. */
ZEB_API void ErrInitExceptions(void);

#ifndef ZEBBASE_NO_MACROS
/* Additions of version 1.1, where a program does not define ZEBBASE_NO_MACROS. The place of the call is filled in.
   ErrReport(ulSeverity, ulType, ...)  reports a message, formatted as by printf, when flVerbosity has a bit of the
                                       severity; otherwise the arguments of the format are not evaluated.
   ErrNull(p), ErrBool(f), ErrRc(rc), ErrDos(rc)  the reporters; ErrNull gives back the pointer in its own type.
   ErrAssert(fTrue)  reports the condition when it is false. Result: whether it is true. */
#define ErrReport(ulSeverity, ulType, ...) \
  ((flVerbosity & (ulSeverity)) == 0       \
       ? 0                                 \
       : ErrPutError(NULL, 0, ulSeverity, ulType, __FILE__, __LINE__, NULL, __VA_ARGS__))
#define ErrNull(p) ((__typeof__(p))ErrNullError(__FILE__, __LINE__, (void *)(size_t)(p)))
#define ErrBool(f) ErrBoolError(__FILE__, __LINE__, f)
#define ErrRc(rc) ErrRcError(__FILE__, __LINE__, rc)
#define ErrDos(rc) ErrDosError(__FILE__, __LINE__, rc)
#define ErrAssert(fTrue) ((fTrue) ? 1 : (ErrAssertError(__FILE__, __LINE__, #fTrue), 0))
#endif

#ifdef __cplusplus
}
#endif
#endif
