// inierror.cpp: what is wrong with a file, as a record for the program and a text for people.

#include "inierror.h"

#include <cerrno>
#include <cstdio>
#include <cstring>

#include "output.h"

void ShowName(char (&szShown)[ulShownName], const char *pszFile) {
  const std::size_t cb = std::strlen(pszFile);
  const bool fWhole = cb < ulShownName;
  Format(szShown, "%s%s", fWhole ? "" : "...", fWhole ? pszFile : pszFile + cb - (ulShownName - 4));
}

void MakeOneLine(char *psz) {
  for (; *psz; psz++)
    if (static_cast<unsigned char>(*psz) < ' ' || *psz == 0x7F) *psz = '?';
}

void ErrorRecord::Set(ULONG ulCode, ULONG ulLine, const char *pszFormat, ...) {
  va_list args;
  va_start(args, pszFormat);
  SetList(ulCode, ulLine, pszFormat, args);
  va_end(args);
}

void ErrorRecord::SetList(ULONG ulCode, ULONG ulLine, const char *pszFormat, va_list args) {
  if (!perr_) return;
  char szShown[ulShownName], szText[sizeof perr_->szText];
  ShowName(szShown, pszFile_);
  std::vsnprintf(szText, sizeof szText, pszFormat, args);
  perr_->ulCode = ulCode;
  perr_->ulLine = ulLine;
  if (ulLine == 0)
    Format(perr_->szText, "%s: %s", szShown, szText);
  else
    Format(perr_->szText, "%s:%lu: %s", szShown, ulLine, szText);
  MakeOneLine(perr_->szText);
}

void ErrorRecord::SetSystem(int iError) {
  char szReason[128];
  if (iError == ENOMEM)
    Set(INI_ERROR_MEMORY, 0, "no memory");
  else
    Set(INI_ERROR_SYSTEM, 0, "%s", strerror_r(iError, szReason, sizeof szReason));
}
