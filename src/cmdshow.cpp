// cmdshow.cpp: the displays of an option table: names, syntax, help and the dump of all its fields.

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <iterator>

#include "cmdtable.h"
#include "guard.h"
#include "output.h"
#include "rows.h"
#include "zebbase/fil.h"

namespace {
// --- Types ---

// Prints one member of a value; numbers take the type that their format wants.
template <auto pMember, typename T>
void PutMember(FILE *pf, const char *pszFormat, const CMDVALUE &value) {
  std::fprintf(pf, pszFormat, static_cast<T>(value.*pMember));
}

void PutString(FILE *pf, const char *pszFormat, const CMDVALUE &value) {
  std::fprintf(pf, pszFormat, value.pszValue ? value.pszValue : "");
}

void PutArray(FILE *pf, const char *pszFormat, const CMDVALUE &value) {
  constexpr ULONG ulMaxElements = 10000;
  char **ppsz = value.apszValue;
  if (!ppsz || !*ppsz) std::fputs("\n", pf);
  for (ULONG ul = 0; ppsz && ppsz[ul] && ul < ulMaxElements; ul++)
    std::fprintf(pf, pszFormat, ul == 0 ? "" : "                    ", ppsz[ul]);
}

void PutNothing(FILE *pf, const char *pszFormat, const CMDVALUE &) { std::fputs(pszFormat, pf); }

struct OPTIONTYPE {
  ULONG ulType;
  char szName[12];
  char szHelp[21];
  void (*pfnPut)(FILE *pf, const char *pszFormat, const CMDVALUE &value);
  char szFormat[27];
};
constexpr OPTIONTYPE aType[] = {
    {CMD_TYPE_SHORT, "SHORT", "(integer)", PutMember<&CMDVALUE::sValue, int>, "%i\n"},
    {CMD_TYPE_USHORT, "USHORT", "(integer)", PutMember<&CMDVALUE::usValue, int>, "%hu\n"},
    {CMD_TYPE_BOOLEAN, "BOOLEAN", "(boolean)", PutMember<&CMDVALUE::fValue, ULONG>, "%lu\n"},
    {CMD_TYPE_LONG, "LONG", "(integer)", PutMember<&CMDVALUE::lValue, LONG>, "%li\n"},
    {CMD_TYPE_ULONG, "ULONG", "(integer)", PutMember<&CMDVALUE::ulValue, ULONG>, "%lu\n"},
    {CMD_TYPE_DOUBLE, "DOUBLE", "(floating point)", PutMember<&CMDVALUE::dValue, double>, "%lf\n"},
    {CMD_TYPE_STRING, "STRING", "(string)", PutString, "%s\n"},
    {CMD_TYPE_CHARACTER, "CHARACTER", "(single character)", PutMember<&CMDVALUE::chValue, int>, "%c\n"},
    {CMD_TYPE_STRINGARRAY, "STRINGARRAY", "(string array)", PutArray, "%s%s\n"},
    {CMD_TYPE_FLOAT, "FLOAT", "(floating point)", PutMember<&CMDVALUE::fltValue, double>, "%f\n"},
    {ulOptionTypes, "UNKNOWN", "(unknown)", PutNothing, "Error! Unrecognized type\n"},
};
static_assert(AreRowsOf(aType, 0, ulOptionTypes));

const OPTIONTYPE &TypeOf(const CMDOPTION &cmdo) { return aType[std::min(cmdo.ulTypeCode, ulOptionTypes)]; }

// --- Syntax ---

// What stands together in the usage line: a positional argument; a switch with the arguments behind it; or, in a table
// that breaks the order, an argument apart from a switch, which is not shown, with those behind it.
struct PHRASE {
  const CMDOPTION &cmdo;
  ConstTable acmdoArguments;
  ULONG ulPositional; // the number of a positional argument
  bool fGroupGoesOn;
};

template <typename OnPhrase>
void ForPhrases(ConstTable acmdo, OnPhrase onPhrase) {
  ULONG ulPositional = 0;
  for (ULONG ulNext = 0; ulNext < acmdo.size();) {
    const ULONG ulFirst = ulNext++;
    const bool fPositional = KindOf(acmdo[ulFirst]) == Kind::Positional;
    while (!fPositional && ArgumentFollows(acmdo, ulNext - 1)) ulNext++;
    if (fPositional) ulPositional++;
    onPhrase(PHRASE{acmdo[ulFirst], acmdo.subspan(ulFirst + 1, ulNext - ulFirst - 1), ulPositional,
                    GroupGoesOn(acmdo, ulNext - 1)});
  }
}

void PutUsagePhrase(FILE *pf, const PHRASE &phrase) {
  const char chSwitch = phrase.cmdo.chSwitchId; // by which its arguments go, whatever their own is
  if (KindOf(phrase.cmdo) == Kind::Positional) std::fprintf(pf, "Arg%lu", phrase.ulPositional);
  if (IsSwitch(phrase.cmdo)) std::fprintf(pf, "-%c", chSwitch);
  ULONG ulNumber = 0;
  for (const CMDOPTION &cmdo : phrase.acmdoArguments)
    std::fprintf(pf, " %c%lu", chSwitch ? chSwitch : cmdo.chSwitchId, ++ulNumber);
}

void PutUsageLine(FILE *pf, ConstTable acmdo) {
  bool fBracket = false; // stays open over a whole group
  ForPhrases(acmdo, [&](const PHRASE &phrase) {
    if (!fBracket && !phrase.cmdo.fMandatory) {
      std::fputs("[", pf);
      fBracket = true;
    }
    PutUsagePhrase(pf, phrase);
    std::fputs(phrase.fGroupGoesOn ? " | " : fBracket ? "] " : " ", pf);
    fBracket = fBracket && phrase.fGroupGoesOn;
  });
  std::fputs("\n", pf);
}

// pszWhat says what the entry is, pszType of which type.
void PutEntryLine(FILE *pf, const char *pszLabel, const char *pszDash, const CMDOPTION &cmdo, const char *pszWhat,
                  const char *pszType) {
  constexpr int cbName = sizeof cmdo.szArgumentName;
  std::fprintf(pf, "%-9s%s%.*s %s %s%s\n", pszLabel, pszDash, cbName, cmdo.szArgumentName,
               cmdo.fMandatory ? "required" : "optional", pszWhat, pszType);
}

void PutArgumentLines(FILE *pf, ConstTable acmdo) { // of one switch
  ULONG ulNumber = 0;
  for (const CMDOPTION &cmdo : acmdo) {
    char szLabel[24];
    Format(szLabel, "     %c%lu", cmdo.chSwitchId, ++ulNumber);
    PutEntryLine(pf, szLabel, "-   ", cmdo, "switch argument ", TypeOf(cmdo).szHelp);
  }
}

// Prints a line for each entry, but none for a switch argument that stands apart from a switch.
void PutEntryLines(FILE *pf, ConstTable acmdo) {
  ForPhrases(acmdo, [pf](const PHRASE &phrase) {
    char szLabel[24];
    if (KindOf(phrase.cmdo) == Kind::Positional) {
      Format(szLabel, "    Arg%lu", phrase.ulPositional);
      PutEntryLine(pf, szLabel, "- ", phrase.cmdo, "argument ", TypeOf(phrase.cmdo).szHelp);
    }
    if (!IsSwitch(phrase.cmdo)) return;
    Format(szLabel, "    -%c", phrase.cmdo.chSwitchId);
    PutEntryLine(pf, szLabel, "- ", phrase.cmdo, "switch", "");
    PutArgumentLines(pf, phrase.acmdoArguments);
  });
}

// --- Help ---

// Waits for a key, which is one character, or two when the first is 0. At the end of the input there is nothing to wait
// for.
void WaitForKey(FILE *pf) {
  std::fflush(pf); // what the user is to see before pressing one
  if (std::getchar() == 0) std::getchar();
}

ULONG CountLines(const char *psz) {
  ULONG ul = 0;
  while ((psz = std::strchr(psz, '\n')) != nullptr) {
    ul++;
    psz++;
  }
  return ul;
}

// --- Dump ---

void PutHeading(FILE *pf, const CMDOPTION &cmdo, ULONG ulNumber) {
  std::fprintf(pf, "\nCMDLINE STRUCTURE %lu  ", ulNumber);
  if (KindOf(cmdo) == Kind::Positional)
    std::fputs("CommandLine Argument\n", pf);
  else
    std::fprintf(pf, "Switch %s", cmdo.fFlag ? "\n" : "Argument\n");
}

void PutFields(FILE *pf, const CMDOPTION &cmdo) {
  constexpr int cbName = sizeof cmdo.szArgumentName;
  constexpr int cbConversion = sizeof cmdo.szConversion;
  constexpr int cbDefault = sizeof cmdo.szDefaultValue;
  std::fprintf(pf, "  Argument Name     %.*s\n", cbName, cmdo.szArgumentName);
  std::fprintf(pf, "  Mandatory Flag    %s\n", cmdo.fMandatory ? "REQ'D" : "CMD'L");
  std::fprintf(pf, "  Argument Flag     %s\n", cmdo.fFlag ? "FLAG" : "ARG");
  std::fprintf(pf, "  Switch ID         %c\n", cmdo.chSwitchId ? cmdo.chSwitchId : ' ');
  std::fprintf(pf, "  Case Flag         %s\n", cmdo.fCase ? "CASE" : "NOCASE");
  std::fprintf(pf, "  Exclusive Group   %lu\n", cmdo.ulExclusiveGroup);
  std::fprintf(pf, "  Help Key          HLP+%lu\n", cmdo.ulHelpKey - HLP);
  std::fprintf(pf, "  Type Code         %s\n", TypeOf(cmdo).szName);
  std::fprintf(pf, "  Conversion String \"%.*s\"\n", cbConversion, cmdo.szConversion);
  std::fprintf(pf, "  Default Value     %.*s\n", cbDefault, cmdo.szDefaultValue);
}

bool IsPointer(const CMDOPTION &cmdo) {
  return cmdo.ulTypeCode == CMD_TYPE_STRING || cmdo.ulTypeCode == CMD_TYPE_STRINGARRAY;
}

void PutAssignedValue(FILE *pf, const CMDOPTION &cmdo) {
  const PlainLocale plain;
  std::fputs("  Assigned Value    ", pf);
  if (IsSwitch(cmdo) && IsPointer(cmdo) && cmdo.value.ulValue == 1) // given: this is no pointer
    std::fputs("1\n", pf);
  else
    TypeOf(cmdo).pfnPut(pf, TypeOf(cmdo).szFormat, cmdo.value);
}
} // namespace

const char *TopicNames::NameNext(const CMDOPTION &cmdo) {
  switch (KindOf(cmdo)) {
    case Kind::Positional:
      Format(szName_, "arg%lu", ++ulPositional_);
      break;
    case Kind::Switch:
      ulArgument_ = 0;
      Format(szName_, "-%c", cmdo.chSwitchId);
      break;
    case Kind::SwitchArgument:
      Format(szName_, "%c%lu", cmdo.chSwitchId, ++ulArgument_);
      break;
    case Kind::None:
      *szName_ = '\0';
  }
  return szName_;
}

void PutProgramName(FILE *pf, const char *pszProgram) {
  char szName[FIL_MAX_PATH];
  FilGetNameOfFileName(szName, pszProgram);
  std::fputs(szName, pf);
}

void PutUsage(FILE *pf, ConstTable acmdo, const char *pszProgram) {
  PutProgramName(pf, pszProgram);
  std::fputs(" ", pf);
  PutUsageLine(pf, acmdo);
}

void CmdDisplaySyntax(FILE *pf, const CMDOPTION *pcmdo, ULONG ulCount, const char *pszProgram) {
  if (!pf || (!pcmdo && ulCount > 0)) return;
  const ConstTable acmdo(pcmdo, ulCount);
  PutUsage(pf, acmdo, pszProgram);
  PutEntryLines(pf, acmdo);
  std::fprintf(pf, "\n%s", szHowToGetHelp);
}

ULONG CmdDisplayFullHelp(FILE *pf, const CMDHELP *pcmdhelp, ULONG ulPageLines) {
  if (!pf || !pcmdhelp) return 0;
  const ULONG ulLimit = ulPageLines - 1; // 0 wraps to no limit
  ULONG ulShown = 0;
  for (; pcmdhelp->ulKey != 0; pcmdhelp++) {
    const char *pszText = pcmdhelp->pszText ? pcmdhelp->pszText : "";
    const ULONG ulLines = CountLines(pszText);
    if (ulShown + ulLines < ulLimit) {
      ulShown += ulLines;
    } else {
      std::fputs("\n      ----<press any key to continue>-----\r", pf);
      WaitForKey(pf);
      std::fprintf(pf, "%42s\r", "");
      ulShown = ulLines;
      if (*pszText == '\n') pszText++; // the prompt began a line
    }
    std::fputs(pszText, pf);
  }
  return 0;
}

void CmdDisplayOptionStruct(FILE *pf, const CMDOPTION *pcmdo, ULONG ulCount) {
  if (!pf || !pcmdo) ulCount = 0;
  for (ULONG ul = 0; ul < ulCount; ul++) {
    PutHeading(pf, pcmdo[ul], ul + 1);
    PutFields(pf, pcmdo[ul]);
    PutAssignedValue(pf, pcmdo[ul]);
    WaitForKey(pf);
  }
  std::exit(0);
}
