// error.cpp: error reporting: one entry point, the output channels behind it, and the error table.
// A report is formatted once (REPORT) and handed to the channel that ErrInitialize chose.

#include "zebbase/err.h"

#include <fcntl.h>
#include <sys/uio.h>
#include <unistd.h>

#include <bit>
#include <cerrno>
#include <climits>
#include <cstdarg>
#include <cstddef>
#include <cstdio>
#include <cstring>
#include <iterator>
#include <span>

#include "guard.h"
#include "init.h"
#include "output.h"
#include "print.h"
#include "severity.h"
#include "text.h"
#include "zebbase/tme.h"

static_assert(sizeof(ERRORBLOCK) == 276 && offsetof(ERRORBLOCK, ulLine) == 264);
static_assert(sizeof(ERRRESOURCE) == 300 && offsetof(ERRRESOURCE, achFile) == 20);
static_assert(offsetof(ERRRESOURCE, achMessage) == 33 && offsetof(ERRRESOURCE, achTask) == 289);

constinit BOOL fErrBusyInit = 0;
constinit BOOL fPanicInit = 0;

namespace {
constexpr char szUnit[] = "error";
constexpr ULONG ulTableTimeout = 1000; // milliseconds

struct REPORT {
  const char *pszTask;
  REALTIME dTime;
  ULONG ulSeverity;
  ULONG ulType;
  const char *pszFile; // base name
  ULONG ulLine;
  const char *pszMessage;
};

struct ENTRY {
  ULONG fInUse;
  ERRORBLOCK erb;
};

// Number 0 means no error and number 1 the table-full record; the entries from 2 on are filled.
constexpr ULONG ulTableFull = 1;
constexpr ULONG ulFirstEntry = 2;
constexpr ULONG ulEntries = 51;
constinit ENTRY aerbBlock[ulEntries] = {};
constinit ERRORBLOCK erbTableFull = {VERB_ERROR, ERR_KIND_CRITICAL, "Out of error space", 0, szUnit, 0};
constinit ULONG ulIndex = ulFirstEntry; // the next free entry, or ulTableFull for good

constinit ULONG ulErrType = ERR_TYPE_POPUP;
constinit const char *pszDefaultTaskName = "Unknown";
constinit MTXSEM mtxsemErrBusy = 0;
constinit MTXSEM mtxsemPanic = 0;
constinit PFNERRREPORT pfnReport = nullptr;
constinit ULONG habError = 0;
constinit PFNERRPOPUP pfnErrDisplayPopup = nullptr;
constinit ULONG ulLogClass = 0;
constinit ULONG ulLogCat = 0;
constinit ULONG ulLogType = 0;
constinit PFNERRSEND pfnDdaSendResource = nullptr;

constexpr const char *apszCriticalError[] = {"Win Error",     "Gpi Error",      "Dos Error",
                                             "Null Error",    "Assert Error",   "RC Error",
                                             "Boolean Error", "Critical Error", "Memory Corrupt"};

constexpr ULONG ulFirstMessage = 100;
constexpr const char *apszErrMessage[] = {"Open failed on file: %s",
                                          "Read failed on file: %s",
                                          "Write failed on file: %s",
                                          "Malloc failed",
                                          "Thread start failed for thread: %s",
                                          "Font load failed for font: %s",
                                          "Internal error",
                                          "Bad format in file: %s"};

bool IsEntry(ULONG ulEntry) { return ulEntry >= ulFirstEntry && ulEntry < ulEntries && aerbBlock[ulEntry].fInUse; }

const char *KindName(ULONG ulType) { // the pop-up also shows kinds that have no name
  return ulType >= 1 && ulType <= std::size(apszCriticalError) ? apszCriticalError[ulType - 1] : "Error";
}

char SeverityLetter(ULONG ulSeverity) {
  for (const SEVERITY &severity : aSeverity)
    if (severity.fl == ulSeverity) return severity.chLetter;
  return ulSeverity != 0 ? static_cast<char>('a' + std::countr_zero(ulSeverity)) : '?';
}

constexpr size_t cbLine = 512;
using ErrorLine = TextBuffer<cbLine>;

void PutMessage(ErrorLine &line, const REPORT &report) {
  const char *pszStandard = ErrGetMessage(report.ulType);
  if (!pszStandard) {
    line.Put(report.pszMessage);
    return;
  }
  char szMessage[128];
  std::snprintf(szMessage, sizeof szMessage, pszStandard, report.pszMessage);
  line.Put(szMessage);
}

// szNow is YYYYMMDD.hhmmss
void BuildErrorLine(ErrorLine &line, const char *szNow, const REPORT &report) {
  line.Put(szNow + 9).Put('(').PutPadded(std::string_view(report.pszFile, strnlen(report.pszFile, 8)), 8);
  line.Put(':').PutNumber(report.ulLine, 4).Put(')').Put(SeverityLetter(report.ulSeverity));
  line.PutNumber(report.ulType, 4).Put(' ');
  PutMessage(line, report);
}

// What is left to write of pieces when the first cb characters have been.
std::span<iovec> Rest(std::span<iovec> aiov, std::size_t cb) {
  for (; !aiov.empty() && cb >= aiov.front().iov_len; aiov = aiov.subspan(1)) cb -= aiov.front().iov_len;
  if (!aiov.empty()) {
    aiov.front().iov_base = static_cast<char *>(aiov.front().iov_base) + cb;
    aiov.front().iov_len -= cb;
  }
  return aiov;
}

// Ends a line of which only the beginning could be written. Its last character becomes the line feed: this takes no
// room that may be lacking, and whoever writes next, be it another program, begins a line of its own.
void EndTornLine(int fd) {
  const off_t offEnd = lseek(fd, 0, SEEK_CUR); // of what this program wrote, in a file that others append to as well
  if (offEnd <= 0 || fcntl(fd, F_SETFL, 0) != 0) return; // no longer at the end of the file
  [[maybe_unused]] const ssize_t cb = pwrite(fd, "\n", 1, offEnd - 1);
}

// What cannot be written is lost.
void WriteLine(int fd, std::span<iovec> aiov) {
  bool fBegun = false;
  while (!aiov.empty()) {
    const ssize_t cb = writev(fd, aiov.data(), static_cast<int>(aiov.size()));
    if (cb < 0 && errno == EINTR) continue;
    if (cb <= 0) break;
    fBegun = true;
    aiov = Rest(aiov, static_cast<std::size_t>(cb));
  }
  if (fBegun && !aiov.empty()) EndTornLine(fd);
}

// Appends a line, given in pieces, to a file. Mostly it is one open, one write and one close: nothing is allocated,
// nothing stays open between reports, and the lines of several programs do not mix.
template <std::size_t N>
void AppendToFile(const char *pszFile, const std::string_view (&asv)[N]) {
  const int fd = open(pszFile, O_WRONLY | O_CREAT | O_APPEND | O_CLOEXEC, 0666);
  if (fd < 0) return;
  iovec aiov[N];
  for (std::size_t i = 0; i < N; i++) aiov[i] = {const_cast<char *>(asv[i].data()), asv[i].size()};
  WriteLine(fd, aiov);
  close(fd);
}

void AppendToDailyLog(const char *pszTask, const char *szNow, std::string_view svLine) {
  TextBuffer<PATH_MAX> name;
  name.Put(pszTask).Put('.').Put(std::string_view(szNow, 8)).Put(".log");
  if (!name.IsCut()) AppendToFile(name.Text(), {svLine});
}

void PutErrorLine(const REPORT &report, FILE *pfConsole, bool fLog) {
  char szNow[TME_ALT_STRING_SIZE];
  TmeRealTimeToAltString(TmeGetRealTime(), szNow);
  ErrorLine line;
  BuildErrorLine(line, szNow, report);
  TextBuffer<cbLine + 1> text; // the line with its line feed
  text.Put(line.Text()).Put('\n');
  const std::string_view sv = text.View();
  if (pfConsole) std::fwrite(sv.data(), 1, sv.size(), pfConsole);
  if (fLog) AppendToDailyLog(report.pszTask, szNow, sv);
}

// A report whose channel has no function is not lost.
void PutUnserved(const REPORT &report) { PutErrorLine(report, stderr, false); }

ULONG PutConsoleLog(const REPORT &report) {
  PutErrorLine(report, ulErrType == ERR_TYPE_LOG ? nullptr : stdout, ulErrType != ERR_TYPE_CONSOLE);
  return 1;
}

void SayNotSent(const REPORT &report, ULONG rc) {
  const PlainLocale locale;
  std::printf("DdaSendResource failed with error %lu\n", rc);
  std::printf("The following error was not sent:\n");
  std::printf("  Task: %s\n", report.pszTask);
  std::printf("  File: %s\n", report.pszFile);
  std::printf("  Line: %lu\n", report.ulLine);
  std::printf("  Time: %lf\n", report.dTime);
  std::printf("  Sev : %lu\n", report.ulSeverity);
  std::printf("  Err : %lu\n", report.ulType);
  std::printf("  Msg : %s\n\n", report.pszMessage);
}

ULONG PutRemote(const REPORT &report) {
  if (!pfnDdaSendResource) {
    PutUnserved(report);
    return 1;
  }
  ERRRESOURCE errres = {};
  errres.dTime = report.dTime > 0 ? report.dTime : TmeGetRealTime();
  errres.ulSeverity = report.ulSeverity;
  errres.ulType = report.ulType;
  errres.ulLine = report.ulLine;
  CopyPadded(errres.achFile, report.pszFile);
  CopyPadded(errres.achMessage, report.pszMessage);
  CopyPadded(errres.achTask, report.pszTask);
  const ULONG rc = pfnDdaSendResource(0, ulLogClass, ulLogCat, ulLogType, &errres, sizeof errres);
  if (rc != 0) SayNotSent(report, rc);
  return rc;
}

void ShowPopup(const REPORT &report) {
  if (!pfnErrDisplayPopup) return PutUnserved(report);
  char szText[512];
  Format(szText, "%s:%lu %s\n%s\nPress OK to continue or CANCEL to abort", report.pszFile, report.ulLine,
         KindName(report.ulType), report.pszMessage);
  pfnErrDisplayPopup(szText);
}

ULONG NextFreeEntry(ULONG ulFilled) {
  ULONG ul = ulFilled;
  do {
    ul = ul + 1 < ulEntries ? ul + 1 : ulFirstEntry;
    if (!aerbBlock[ul].fInUse) return ul;
  } while (ul != ulFilled);
  return ulTableFull;
}

ULONG FillEntry(const REPORT &report, ULONG ulLink) {
  const ULONG ulEntry = ulIndex;
  if (ulEntry == ulTableFull) return ulTableFull;
  ERRORBLOCK &erb = aerbBlock[ulEntry].erb;
  erb.ulSeverity = report.ulSeverity;
  erb.ulType = report.ulType;
  Format(erb.szMessage, "%s", report.pszMessage);
  erb.ulLine = report.ulLine;
  erb.pszFile = report.pszFile;
  erb.ulLink = IsEntry(ulLink) ? ulLink : 0;
  aerbBlock[ulEntry].fInUse = 1;
  ulIndex = NextFreeEntry(ulEntry);
  return ulEntry;
}

ULONG PutTable(const REPORT &report, ULONG ulLink) {
  const Lock lock(&mtxsemErrBusy, ulTableTimeout);
  if (lock.rc() != 0) return ulTableFull;
  if (report.ulSeverity == VERB_ERROR && report.ulType >= 1 && report.ulType <= 99) {
    ShowPopup(report);
    return 0;
  }
  return FillEntry(report, ulLink);
}

ULONG PutCallback(const REPORT &report) {
  if (pfnReport)
    pfnReport(report.ulSeverity, report.pszMessage);
  else
    PutUnserved(report);
  return 0;
}

ULONG PutToChannel(const REPORT &report, ULONG ulLink) {
  switch (ulErrType) {
    case ERR_TYPE_REMOTE:
      return PutRemote(report);
    case ERR_TYPE_POPUP:
      return PutTable(report, ulLink);
    case ERR_TYPE_CONSOLE:
    case ERR_TYPE_CONSOLE_LOG:
    case ERR_TYPE_LOG:
      return PutConsoleLog(report);
    case ERR_TYPE_CALLBACK:
      return PutCallback(report);
    default:
      return 0;
  }
}

// Formats the message and completes what the caller left out. What was formatted before a conversion that fails, such
// as that of a wide text which the locale cannot show, is in the buffer and stays.
ULONG PutError(REPORT report, ULONG *pulIndex, const char *pszFormat, va_list args) {
  char szMessage[ERR_MAX_MESSAGE + 1] = "";
  if (pszFormat) PrintTo(szMessage, sizeof szMessage, pszFormat, args);
  report.pszMessage = szMessage;
  if (!report.pszTask) report.pszTask = pszDefaultTaskName;
  report.pszFile = report.pszFile ? BaseName(report.pszFile) : "Unknown";
  const ULONG ulResult = PutToChannel(report, pulIndex ? *pulIndex : 0);
  if (pulIndex) *pulIndex = ulResult;
  return ulResult;
}

// A report of one of the reporters, which leaves no record: what the channel answers is taken for the number of one, on
// every channel. Result 0, or the code of a lock request that failed.
[[gnu::format(printf, 4, 5)]] ULONG Report(const char *pszFile, ULONG ulLine, ULONG ulType, const char *pszFormat,
                                           ...) {
  ULONG ulEntry = 0;
  va_list args;
  va_start(args, pszFormat);
  PutError({nullptr, 0, VERB_ERROR, ulType, pszFile, ulLine, nullptr}, &ulEntry, pszFormat, args);
  va_end(args);
  const Lock lock(&mtxsemErrBusy, ulTableTimeout);
  if (lock.rc() == 0 && IsEntry(ulEntry)) aerbBlock[ulEntry].fInUse = 0;
  return lock.rc();
}

// Changes the table under its lock.
template <typename Change>
ULONG ChangeTable(Change change) {
  Lock lock(&mtxsemErrBusy, ulTableTimeout);
  if (lock.rc() != 0) return lock.rc();
  change();
  return lock.Release();
}

// Creates a lock once. Result: whether it exists.
bool CreateOnce(BOOL &fCreated, MTXSEM &mtxsem) {
  if (!fCreated && SemCreateMutex(&mtxsem, 0, 0, 0) != 0) return false;
  fCreated = 1;
  return true;
}

// Keeps the settings that follow the task name. Result: whether the channel is ready.
bool RegisterChannel(va_list args) {
  switch (ulErrType) {
    case ERR_TYPE_REMOTE:
      ulLogClass = va_arg(args, ULONG);
      ulLogCat = va_arg(args, ULONG);
      ulLogType = va_arg(args, ULONG);
      pfnDdaSendResource = va_arg(args, PFNERRSEND);
      return true;
    case ERR_TYPE_POPUP:
      habError = va_arg(args, ULONG);
      pfnErrDisplayPopup = va_arg(args, PFNERRPOPUP);
      return CreateOnce(fErrBusyInit, mtxsemErrBusy);
    case ERR_TYPE_CALLBACK:
      pfnReport = va_arg(args, PFNERRREPORT);
      return true;
    default:
      return true;
  }
}
} // namespace

BOOL ErrInitialize(ULONG ulNewType, const char *pszTask, ...) {
  CreateMemoryLock();
  ulErrType = ulNewType;
  if (pszTask) pszDefaultTaskName = pszTask;
  if (ulErrType < ERR_TYPE_REMOTE || ulErrType > ERR_TYPE_LOG) {
    std::printf("Unrecognized error type\n");
    return 0;
  }
  va_list args;
  va_start(args, pszTask);
  const bool fReady = RegisterChannel(args);
  va_end(args);
  return fReady && CreateOnce(fPanicInit, mtxsemPanic);
}

ULONG ErrPutError(const char *pszTask, REALTIME dTime, ULONG ulSeverity, ULONG ulType, const char *pszFile,
                  ULONG ulLine, ULONG *pulIndex, const char *pszFormat, ...) {
  va_list args;
  va_start(args, pszFormat);
  const ULONG ulResult =
      PutError({pszTask, dTime, ulSeverity, ulType, pszFile, ulLine, nullptr}, pulIndex, pszFormat, args);
  va_end(args);
  return ulResult;
}

ULONG ErrDosError(const char *pszFile, ULONG ulLine, ULONG rc) {
  if (rc != 0) Report(pszFile, ulLine, ERR_KIND_DOS, "%lu : %s", rc, "No error text available");
  return rc;
}

void *ErrNullError(const char *pszFile, ULONG ulLine, void *p) {
  if (!p) Report(pszFile, ulLine, ERR_KIND_NULL, "A NULL pointer was detected.");
  return p;
}

ULONG ErrRcError(const char *pszFile, ULONG ulLine, ULONG rc) {
  if (rc != 0) Report(pszFile, ulLine, ERR_KIND_RC, "%lu : %s", rc, "Non-zero return code.");
  return rc;
}

BOOL ErrBoolError(const char *pszFile, ULONG ulLine, BOOL f) {
  if (!f) Report(pszFile, ulLine, ERR_KIND_RC, "FALSE return code.");
  return f;
}

ULONG ErrAssertError(const char *pszFile, ULONG ulLine, const char *pszCondition) {
  return Report(pszFile, ulLine, ERR_KIND_ASSERT, "Failed: %s", pszCondition ? pszCondition : "");
}

const ERRORBLOCK *ErrGetError(ULONG ulEntry) { return IsEntry(ulEntry) ? &aerbBlock[ulEntry].erb : &erbTableFull; }

ULONG ErrClearError(ULONG ulEntry) {
  return ChangeTable([=] {
    if (IsEntry(ulEntry)) aerbBlock[ulEntry].fInUse = 0;
  });
}

ULONG ErrChangeError(ULONG ulEntry, ULONG ulSeverity) {
  return ChangeTable([=] {
    if (IsEntry(ulEntry)) aerbBlock[ulEntry].erb.ulSeverity = ulSeverity;
  });
}

ULONG ErrLinkError(ULONG ulEarlier, ULONG ulEntry) {
  return ChangeTable([=] {
    if (ulEntry == ulTableFull && ulEarlier != ulTableFull)
      erbTableFull.ulLink = ulEarlier;
    else if (IsEntry(ulEarlier) && IsEntry(ulEntry))
      aerbBlock[ulEntry].erb.ulLink = ulEarlier;
  });
}

const char *ErrGetMessage(ULONG ulMsg) {
  const ULONG ul = ulMsg - ulFirstMessage; // wraps below the first
  return ul < std::size(apszErrMessage) ? apszErrMessage[ul] : nullptr;
}

ULONG ErrPanicError(const char *pszMessage, const char *pszFile, ULONG ulLine) {
  if (!pszMessage) pszMessage = "";
  if (!pszFile) pszFile = "";
  if (ulErrType == ERR_TYPE_CONSOLE || ulErrType == ERR_TYPE_CONSOLE_LOG) std::printf("Panic: %s\n", pszMessage);
  const Lock lock(fPanicInit ? &mtxsemPanic : nullptr, SEM_WAIT_FOREVER);
  char szNow[TME_ALT_STRING_SIZE];
  TextBuffer<ulMostDigits + 1> number;
  number.PutNumber(ulLine);
  AppendToFile("panic.log", {TmeRealTimeToAltString(TmeGetRealTime(), szNow), "  - ", pszFile, ":", number.View(),
                             " - ", pszMessage, "\n"});
  return 0;
}

ULONG ErrGetHAB(void) { return habError; }

void ErrInitExceptions(void) {}
