// inifile.h: open INI files that know more of themselves than their entries.

#ifndef ZEBBASE_SRC_INIFILE_H
#define ZEBBASE_SRC_INIFILE_H

#include "inierror.h"
#include "zebbase/ini.h"

// The block of a handle of IniOpenChecked. That of IniOpen ends with the INIFILE.
struct CHECKEDFILE {
  INIFILE ini;
  const CHECKEDFILE *pchkSelf;
  bool fLenient;
  ULONG aulLine[INI_MAX_ENTRIES]; // of the entries: where their names begin
  char szFile[ulShownName];
};

// The whole block of a handle of IniOpenChecked; null for one of IniOpen. The handle tells by its block: it is large
// enough, and holds its own address where a program that has an INIFILE in a larger record will hardly have it.
const CHECKEDFILE *CheckedFile(INIFILE *pini);

#endif
