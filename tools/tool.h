// tool.h: what the command-line tools have in common: commands in a table, messages, exit statuses.
#ifndef ZEBBASE_TOOLS_TOOL_H
#define ZEBBASE_TOOLS_TOOL_H

#include <algorithm>
#include <cerrno>
#include <cstdarg>
#include <cstdio>
#include <cstring>
#include <zebbase/zebbase.hpp>

enum STATUS : int { statusGood = 0, statusNo = 1, statusTrouble = 2 }; // No: a mistake, a difference, nothing found

struct COMMAND {
  const char *pszName;
  const char *pszArguments; // as the usage has them
  int iLeast, iMost;        // how many there are
  STATUS (*pfnRun)(char **ppszArguments, int iCount);
};

struct TOOL {
  const char *pszName;
  const char *pszAbout;
  const COMMAND *pcmd; // ended by a null name
};

__attribute__((format(printf, 2, 3))) inline STATUS Trouble(const char *pszFile, const char *pszFormat, ...) {
  std::va_list va;
  va_start(va, pszFormat);
  std::fprintf(stderr, "%s: ", pszFile);
  std::vfprintf(stderr, pszFormat, va);
  std::fputc('\n', stderr);
  va_end(va);
  return statusTrouble;
}

inline STATUS SystemTrouble(const char *pszFile, int iError) { return Trouble(pszFile, "%s", std::strerror(iError)); }

// The worst that a command comes to for several files.
inline STATUS ForFiles(char **ppszFile, int iCount, STATUS (*pfnFile)(const char *pszFile)) {
  STATUS status = statusGood;
  for (int i = 0; i < iCount; i++) status = std::max(status, pfnFile(ppszFile[i]));
  return status;
}

inline void PutUsage(FILE *pf, const TOOL &tool) {
  const char *pszBefore = "usage:";
  for (const COMMAND *pcmd = tool.pcmd; pcmd->pszName; pcmd++) {
    std::fprintf(pf, "%-6s %s %s %s\n", pszBefore, tool.pszName, pcmd->pszName, pcmd->pszArguments);
    pszBefore = "";
  }
}

inline const COMMAND *FindCommand(const TOOL &tool, const char *pszName) {
  const COMMAND *pcmd = tool.pcmd;
  while (pcmd->pszName && std::strcmp(pcmd->pszName, pszName) != 0) pcmd++;
  return pcmd->pszName ? pcmd : nullptr;
}

inline STATUS Run(const TOOL &tool, int argc, char **argv) {
  const char *pszCommand = argc > 1 ? argv[1] : "";
  if (std::strcmp(pszCommand, "--help") == 0 || std::strcmp(pszCommand, "-h") == 0) {
    PutUsage(stdout, tool);
    std::printf("\n%s", tool.pszAbout);
    return statusGood;
  }
  const COMMAND *pcmd = FindCommand(tool, pszCommand);
  const int iCount = argc - 2;
  if (pcmd && iCount >= pcmd->iLeast && iCount <= pcmd->iMost) return pcmd->pfnRun(argv + 2, iCount);
  PutUsage(stderr, tool);
  return statusTrouble;
}

// The whole of a tool: files of any number of entries are read, and output that got lost is trouble.
inline int Main(const TOOL &tool, int argc, char **argv) {
  BaseInit();
  MemSetLimits(0xFFFFFFFF, 0xFFFFFFFF, 0);
  ErrInitialize(
      ERR_TYPE_CALLBACK, tool.pszName, +[](ULONG, const char *) -> ULONG { return 0; }); // the tool says it
  const STATUS status = Run(tool, argc, argv);
  if (std::fflush(stdout) == 0 && !std::ferror(stdout)) return status;
  return Trouble(tool.pszName, "the output cannot be written");
}

#endif
