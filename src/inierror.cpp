// inierror.cpp: what is wrong with a file, as a record for the program and a text for people.

#include "inierror.h"

#include <cerrno>
#include <cstdio>
#include <cstring>

#include "output.h"

const char *ShowName(char (&szShown)[ulShownName], const char *pszFile) {
  const std::size_t cb = std::strlen(pszFile);
  const bool fWhole = cb < ulShownName;
  Format(szShown, "%s%s", fWhole ? "" : "...", fWhole ? pszFile : pszFile + cb - (ulShownName - 4));
  return szShown;
}

void MakeOneLine(char *psz) {
  for (; *psz; psz++)
    if (static_cast<unsigned char>(*psz) < ' ' || *psz == 0x7F) *psz = '?';
}

ULONG ErrorRecord::Set(ULONG ulCode, ULONG ulLine, const char *pszFormat, ...) {
  va_list args;
  va_start(args, pszFormat);
  SetList(ulCode, ulLine, pszFormat, args);
  va_end(args);
  return ulCode;
}

ULONG ErrorRecord::SetList(ULONG ulCode, ULONG ulLine, const char *pszFormat, va_list args) {
  if (!perr_) return ulCode;
  char szShown[ulShownName];
  Output text(perr_->szText, sizeof perr_->szText - 1);
  perr_->ulCode = ulCode;
  perr_->ulLine = ulLine;
  if (pszFile_) text.Put(ShowName(szShown, pszFile_));
  if (ulLine != 0) text.Put(':').PutNumber(ulLine);
  if (pszFile_) text.Put(": ");
  std::vsnprintf(perr_->szText + text.Length(), sizeof perr_->szText - text.Length(), pszFormat, args);
  MakeOneLine(perr_->szText);
  return ulCode;
}

ULONG ErrorRecord::SetSystem(int iError) {
  char szReason[128];
  if (iError == ENOMEM) return Set(INI_ERROR_MEMORY, 0, "no memory");
  return Set(INI_ERROR_SYSTEM, 0, "%s", strerror_r(iError, szReason, sizeof szReason));
}
