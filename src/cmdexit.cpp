// cmdexit.cpp: the command line of a program that leaves help and mistakes to the library.

#include <sys/ioctl.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <iterator>

#include "cmdtable.h"
#include "inierror.h"
#include "memory.h"

namespace {
[[noreturn]] void End(int iStatus, const char *pszProgram, const char *pszWhat, const char *pszWhy = "") {
  PutProgramName(stderr, pszProgram);
  std::fprintf(stderr, ": %s%s\n", pszWhat, pszWhy);
  std::exit(iStatus);
}

[[noreturn]] void EndWithMistake(ConstTable acmdo, const char *pszProgram, char *pszMessage) {
  const std::size_t cb = std::strlen(pszMessage);
  if (pszMessage[cb - 1] == '\n') pszMessage[cb - 1] = '\0'; // some end with one
  MakeOneLine(pszMessage);                                   // they quote arguments
  PutProgramName(stderr, pszProgram);
  std::fprintf(stderr, ": %s\nUsage: ", pszMessage);
  PutUsage(stderr, acmdo, pszProgram);
  std::fputs(szHowToGetHelp, stderr);
  std::exit(CMD_EXIT_USAGE);
}

// The lines of a page of help: those of the terminal, where there is one with somebody at it; or 0.
ULONG LinesOfPage() {
  constexpr ULONG ulUsual = 24; // of terminals that do not tell
  winsize ws;
  if (!isatty(STDIN_FILENO) || ioctl(STDOUT_FILENO, TIOCGWINSZ, &ws) != 0) return 0;
  return ws.ws_row ? ws.ws_row : ulUsual;
}

const char *TopicText(const CMDHELP *pcmdhelp, ULONG ulKey) { // null where there is none
  while (pcmdhelp->ulKey != 0 && pcmdhelp->ulKey != ulKey) pcmdhelp++;
  return pcmdhelp->ulKey != 0 ? pcmdhelp->pszText : nullptr;
}

void ShowHelp(ConstTable acmdo, const char *pszProgram, const CMDHELP *pcmdhelp, ULONG ulCode) {
  constexpr CMDHELP cmdhelpNone = {};
  if (!pcmdhelp) pcmdhelp = &cmdhelpNone;
  const char *pszTopic = ulCode >= HLP ? TopicText(pcmdhelp, ulCode) : nullptr;
  if (pszTopic)
    std::fputs(pszTopic + (*pszTopic == '\n'), stdout);
  else if (ulCode == CMD_FULL_HELP && pcmdhelp->ulKey != 0)
    CmdDisplayFullHelp(stdout, pcmdhelp, LinesOfPage());
  else
    CmdDisplaySyntax(stdout, acmdo.data(), acmdo.size(), pszProgram);
}

// Result: false without memory.
bool Parse(LONG argc, char **argv, CMDOPTION *pcmdo, ULONG ulCount, CMDRESULT &cmdresult) {
  const bool fHelp = argv && argc > 1 && argv[1] && std::strcmp(argv[1], "--help") == 0;
  char szHelp[] = "-h";
  char *apszHelp[] = {nullptr, szHelp, fHelp && argc > 2 ? argv[2] : nullptr}; // all of it that counts
  if (fHelp) argc = std::size(apszHelp);
  const Tracked<CMDRESULT> pcmdresult(CmdParseCmdLine(argc, fHelp ? apszHelp : argv, pcmdo, ulCount));
  if (pcmdresult) cmdresult = *pcmdresult;
  return pcmdresult != nullptr;
}
} // namespace

void CmdParseOrExit(LONG argc, char **argv, CMDOPTION *pcmdo, ULONG ulCount, const CMDHELP *pcmdhelp) {
  const char *pszProgram = argv && argc > 0 ? argv[0] : nullptr;
  CMDERROR err;
  if (CmdCheckTable(pcmdo, ulCount, &err) != 0) End(CMD_EXIT_TABLE, pszProgram, "option table: ", err.szText);
  const ConstTable acmdo(pcmdo, ulCount);
  CMDRESULT cmdresult;
  if (!Parse(argc, argv, pcmdo, ulCount, cmdresult)) End(CMD_EXIT_FAILURE, pszProgram, "no memory");
  if (*cmdresult.szMessage) EndWithMistake(acmdo, pszProgram, cmdresult.szMessage);
  if (cmdresult.ulCode == CMD_PARSED || cmdresult.ulCode == CMD_NO_ARGUMENTS) return;

  ShowHelp(acmdo, pszProgram, pcmdhelp, cmdresult.ulCode);
  if (std::fflush(stdout) != 0 || std::ferror(stdout)) End(CMD_EXIT_FAILURE, pszProgram, "the help cannot be written");
  std::exit(0);
}
