// cmdtable.h: what the parser of the command line, its displays and its checks share of an option table.

#ifndef ZEBBASE_SRC_CMDTABLE_H
#define ZEBBASE_SRC_CMDTABLE_H

#include <cstddef>
#include <cstdio>
#include <cstring>
#include <span>

#include "output.h"
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

// Gives the entries of a table, taken in order, the names under which they are asked for help.
class TopicNames {
 public:
  const char *NameNext(const CMDOPTION &cmdo); // empty for an entry without a name

 private:
  char szName_[16];
  ULONG ulPositional_ = 0;
  ULONG ulArgument_ = 0;
};

template <std::size_t N>
bool IsTerminated(const char (&sz)[N]) {
  return sz[N - 1] == '\0' || std::memchr(sz, '\0', N);
}

// Gives an entry its default. Result: false when the entry is faulty.
bool SetDefault(CMDOPTION &cmdo);

constexpr char szHowToGetHelp[] =
    "Type \"-h\" for syntax, \"-h full\" for full help, or \"-h argid\" for topical help.\n";

// Prints a program's name, without directory and extension; and the same with the usage line behind it.
void PutProgramName(FILE *pf, const char *pszProgram);
void PutUsage(FILE *pf, ConstTable acmdo, const char *pszProgram);

#endif
