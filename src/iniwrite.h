// iniwrite.h: the writing half of INI files, for IniOpen.

#ifndef ZEBBASE_SRC_INIWRITE_H
#define ZEBBASE_SRC_INIWRITE_H

#include "inierror.h"
#include "zebbase/ini.h"

// Creates a file, writes its header, and gives a handle for IniWrite; null when that fails, with the reason in the
// record.
INIFILE *OpenForWriting(const char *pszFile, ErrorRecord &error);

#endif
