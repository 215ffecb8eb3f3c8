// inierror.h: what is wrong with a file, as a record for the program and a text for people.

#ifndef ZEBBASE_SRC_INIERROR_H
#define ZEBBASE_SRC_INIERROR_H

#include <algorithm>
#include <cerrno>
#include <cstdarg>
#include <cstddef>
#include <cstdio>
#include <cstring>
#include <string_view>

#include "output.h"
#include "zebbase/ini.h"

constexpr ULONG ulShownName = 256; // bytes of a file name in texts

// A file's name as texts show it: what is too long loses its beginning.
inline void ShowName(char (&szShown)[ulShownName], const char *pszFile) {
  const std::size_t cb = std::strlen(pszFile);
  const bool fWhole = cb < ulShownName;
  Format(szShown, "%s%s", fWhole ? "" : "...", fWhole ? pszFile : pszFile + cb - (ulShownName - 4));
}

// Makes a text one line: what moves the cursor, in a name or a value, becomes a question mark.
inline void MakeOneLine(char *psz) {
  for (; *psz; psz++)
    if (static_cast<unsigned char>(*psz) < ' ' || *psz == 0x7F) *psz = '?';
}

// Fills the record of whoever asked for one.
class ErrorRecord {
 public:
  ErrorRecord(INIERROR *perr, const char *pszFile) : perr_(perr), pszFile_(pszFile) { Clear(); }

  void Clear() {
    if (perr_) *perr_ = {};
  }

  [[gnu::format(printf, 4, 0)]] void SetList(ULONG ulCode, ULONG ulLine, const char *pszFormat, va_list args) {
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
  [[gnu::format(printf, 4, 5)]] void Set(ULONG ulCode, ULONG ulLine, const char *pszFormat, ...) {
    va_list args;
    va_start(args, pszFormat);
    SetList(ulCode, ulLine, pszFormat, args);
    va_end(args);
  }
  void SetSystem(int iError) { // a code of errno
    char szReason[128];
    if (iError == ENOMEM)
      Set(INI_ERROR_MEMORY, 0, "no memory");
    else
      Set(INI_ERROR_SYSTEM, 0, "%s", strerror_r(iError, szReason, sizeof szReason));
  }

 private:
  INIERROR *const perr_;
  const char *const pszFile_;
};

using ErrorText = TextBuffer<sizeof INIERROR::szText>;

// Fills a record of which the text is made already. Result: the code.
inline ULONG Tell(INIERROR *perr, ULONG ulCode, std::string_view svText) {
  if (!perr) return ulCode;
  *perr = {};
  perr->ulCode = ulCode;
  std::memcpy(perr->szText, svText.data(), std::min(svText.size(), sizeof perr->szText - 1));
  MakeOneLine(perr->szText);
  return ulCode;
}

#endif
