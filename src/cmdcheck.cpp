// cmdcheck.cpp: checking option tables that programs write by hand.
// Entries are judged in the order of the table, so each can take it that those before it are right.

#include <bit>
#include <cstdarg>
#include <cstdint>
#include <cstdio>
#include <cstring>

#include "cmdtable.h"
#include "convert.h"
#include "inierror.h"
#include "rows.h"
#include "text.h"

static_assert(sizeof(CMDERROR) == 136);

namespace {
struct FAULT {
  ULONG ulCode = 0;
  const char *pszText = nullptr;
};

// --- An entry by itself ---

FAULT CheckTexts(const CMDOPTION &cmdo) {
  if (!IsTerminated(cmdo.szConversion)) return {CMD_ERROR_TEXT, "its szConversion has no end"};
  if (!IsTerminated(cmdo.szArgumentName)) return {CMD_ERROR_TEXT, "its szArgumentName has no end"};
  if (!IsTerminated(cmdo.szDefaultValue)) return {CMD_ERROR_TEXT, "its szDefaultValue has no end"};
  return {};
}

// The described fields that hold what the types of the command line do; FT_TYPES where there is none.
struct SCANNED {
  ULONG ulType;
  ULONG ulFieldType;
};
constexpr SCANNED aScanned[] = {
    {CMD_TYPE_SHORT, FT_SHORT},  {CMD_TYPE_USHORT, FT_USHORT},   {CMD_TYPE_BOOLEAN, FT_ULONG},
    {CMD_TYPE_LONG, FT_LONG},    {CMD_TYPE_ULONG, FT_ULONG},     {CMD_TYPE_DOUBLE, FT_DOUBLE},
    {CMD_TYPE_STRING, FT_TYPES}, {CMD_TYPE_CHARACTER, FT_TYPES}, {CMD_TYPE_STRINGARRAY, FT_TYPES},
    {CMD_TYPE_FLOAT, FT_FLOAT},
};
static_assert(AreRowsOf(aScanned, 0, ulOptionTypes - 1));

bool HasFittingConversion(const CMDOPTION &cmdo) {
  if (cmdo.ulTypeCode != CMD_TYPE_CHARACTER) return IsScanFor(aScanned[cmdo.ulTypeCode].ulFieldType, cmdo.szConversion);
  return std::strcmp(SkipSpace(cmdo.szConversion), "%c") == 0;
}

bool UsesConversion(const CMDOPTION &cmdo) {
  if (cmdo.ulTypeCode == CMD_TYPE_STRING || cmdo.ulTypeCode == CMD_TYPE_STRINGARRAY) return false;
  return *cmdo.szDefaultValue != '\0' || (!cmdo.fFlag && cmdo.ulTypeCode != CMD_TYPE_BOOLEAN);
}

FAULT CheckValue(const CMDOPTION &cmdo) {
  if (UsesConversion(cmdo) && !HasFittingConversion(cmdo))
    return {CMD_ERROR_CONVERSION, "its conversion does not fit its type"};
  CMDOPTION cmdoTried = cmdo;
  cmdoTried.value = {.dValue = 0}; // all of it
  if (!SetDefault(cmdoTried)) return {CMD_ERROR_DEFAULT, "its default does not convert"};
  if (cmdo.fFlag && std::bit_cast<std::uint64_t>(cmdoTried.value) != 0)
    return {CMD_ERROR_DEFAULT, "the default of a switch is not zero"};
  return {};
}

FAULT CheckEntry(const CMDOPTION &cmdo) {
  if (cmdo.ulTypeCode >= ulOptionTypes) return {CMD_ERROR_TYPE, "its type is unknown"};
  if (cmdo.ulHelpKey < HLP) return {CMD_ERROR_KEY, "its help key is below HLP"};
  if (KindOf(cmdo) == Kind::None) return {CMD_ERROR_SWITCH, "a switch without a character"};
  const FAULT fault = CheckTexts(cmdo);
  return fault.ulCode != 0 ? fault : CheckValue(cmdo);
}

// --- An entry among those before it ---

FAULT CheckOrder(const CMDOPTION &cmdo, const CMDOPTION &cmdoBefore) {
  const bool fPrefix = cmdoBefore.fMandatory && KindOf(cmdoBefore) != Kind::SwitchArgument; // ends with the one before
  if (KindOf(cmdo) == Kind::SwitchArgument) {
    if (cmdoBefore.chSwitchId != cmdo.chSwitchId) return {CMD_ERROR_ORDER, "it stands behind no switch of its own"};
    if (fPrefix) return {CMD_ERROR_ORDER, "its switch is mandatory, and cannot have arguments"};
    return {};
  }
  if (fPrefix) return {};
  if (cmdo.fMandatory) return {CMD_ERROR_ORDER, "it is mandatory, and stands behind optional entries"};
  if (KindOf(cmdo) == Kind::Positional && KindOf(cmdoBefore) != Kind::Positional)
    return {CMD_ERROR_ORDER, "a positional argument behind optional switches"};
  return {};
}

FAULT CheckAmong(const CMDOPTION &cmdo, ConstTable acmdoBefore) {
  CMDOPTION cmdoStart = {}; // stands before the first entry, so that everything can begin a table but an argument
  cmdoStart.fMandatory = 1;
  const CMDOPTION &cmdoBefore = acmdoBefore.empty() ? cmdoStart : acmdoBefore.back();
  bool fSameGroup = false;
  for (const CMDOPTION &c : acmdoBefore) {
    if (IsSwitch(cmdo) && IsSwitch(c) && c.chSwitchId == cmdo.chSwitchId)
      return {CMD_ERROR_SWITCH, "its switch is there already"};
    fSameGroup = fSameGroup || c.ulExclusiveGroup == cmdo.ulExclusiveGroup;
  }
  if (fSameGroup && cmdo.ulExclusiveGroup != 0 && cmdo.ulExclusiveGroup != cmdoBefore.ulExclusiveGroup)
    return {CMD_ERROR_GROUP, "it stands apart from its exclusive group"};
  return CheckOrder(cmdo, cmdoBefore);
}

// --- The record ---

// Result: the code.
[[gnu::format(printf, 4, 5)]] ULONG Tell(CMDERROR *perr, ULONG ulCode, ULONG ulEntry, const char *pszFormat, ...) {
  if (!perr) return ulCode;
  perr->ulCode = ulCode;
  perr->ulEntry = ulEntry;
  va_list args;
  va_start(args, pszFormat);
  std::vsnprintf(perr->szText, sizeof perr->szText, pszFormat, args);
  va_end(args);
  MakeOneLine(perr->szText); // the character of a switch can be any
  return ulCode;
}
} // namespace

ULONG CmdCheckTable(const CMDOPTION *pcmdo, ULONG ulCount, CMDERROR *perr) {
  if (!pcmdo && ulCount > 0) return Tell(perr, CMD_ERROR_ARGUMENT, 0, "a null table that is said to have entries");
  const ConstTable acmdo(pcmdo, ulCount);
  TopicNames names;
  for (ULONG ul = 0; ul < ulCount; ul++) {
    const char *pszTopic = names.NameNext(acmdo[ul]);
    FAULT fault = CheckEntry(acmdo[ul]);
    if (fault.ulCode == 0) fault = CheckAmong(acmdo[ul], acmdo.first(ul));
    const bool fNamed = *pszTopic != '\0';
    if (fault.ulCode != 0)
      return Tell(perr, fault.ulCode, ul + 1, "entry %lu%s%s%s: %s", ul + 1, fNamed ? " (" : "", pszTopic,
                  fNamed ? ")" : "", fault.pszText);
  }
  return Tell(perr, 0, 0, "%s", "");
}
