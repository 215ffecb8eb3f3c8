// cmdtable.h: what the parser of the command line and its displays both know of an option table.

#ifndef ZEBBASE_SRC_CMDTABLE_H
#define ZEBBASE_SRC_CMDTABLE_H

#include <span>

#include "zebbase/cmd.h"

constexpr ULONG ulOptionTypes = CMD_TYPE_FLOAT + 1;

using ConstTable = std::span<const CMDOPTION>;

enum class Kind { Positional, SwitchArgument, Switch, None }; // None: a switch without a character

inline bool IsSwitch(const CMDOPTION &cmdo) { return cmdo.fFlag && cmdo.chSwitchId; }

inline Kind KindOf(const CMDOPTION &cmdo) {
  if (cmdo.fFlag) return IsSwitch(cmdo) ? Kind::Switch : Kind::None;
  return cmdo.chSwitchId ? Kind::SwitchArgument : Kind::Positional;
}

// Whether the entry behind ulEntry is in the same exclusive group.
inline bool GroupGoesOn(ConstTable acmdo, ULONG ulEntry) {
  const ULONG ulGroup = acmdo[ulEntry].ulExclusiveGroup;
  return ulGroup != 0 && ulEntry + 1 < acmdo.size() && acmdo[ulEntry + 1].ulExclusiveGroup == ulGroup;
}

// Whether the entry behind ulEntry is a switch argument.
inline bool ArgumentFollows(ConstTable acmdo, ULONG ulEntry) {
  return ulEntry + 1 < acmdo.size() && KindOf(acmdo[ulEntry + 1]) == Kind::SwitchArgument;
}

#endif
