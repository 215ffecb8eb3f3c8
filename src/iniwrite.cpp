// iniwrite.cpp: writing INI files.

#include "iniwrite.h"

#include <cerrno>
#include <cstdio>

#include "convert.h"
#include "guard.h"
#include "iniwriter.h"
#include "memory.h"
#include "output.h"
#include "zebbase/fil.h"

namespace {
constexpr SOURCE source = "ini"; // in allocations
} // namespace

void WriteHeader(FILE *pf, std::string_view svName) {
  TextBuffer<FIL_MAX_PATH + 8> header;
  header.Put("[ ").Put(svName).Put(" ]\n");
  std::fwrite(header.Text(), 1, header.Length(), pf);
}

INIFILE *OpenForWriting(const char *pszFile, ErrorRecord &error) {
  char szName[FIL_MAX_PATH];
  if (!FilGetFileNameOf(szName, pszFile)) return error.Set(INI_ERROR_ARGUMENT, 0, "the name is too long"), nullptr;
  File file(std::fopen(pszFile, "w"));
  if (!file) return error.SetSystem(errno), nullptr;
  WriteHeader(file.get(), szName);
  auto *pini = New<INIFILE>(source);
  if (!pini) return error.SetSystem(ENOMEM), nullptr;
  pini->pfile = file.release();
  return pini;
}

ULONG IniWrite(INIFILE *pini, const void *pvData, const FDSC *pfdsc) {
  if (!pini || !pini->pfile || !pvData || !pfdsc) return 0;
  FileWriter<PutValue> writer(pini->pfile);
  WalkInFileOrder(writer, pvData, pfdsc);
  return 0;
}
