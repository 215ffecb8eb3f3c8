// inierror.h: what is wrong with a file, as a record for the program and a text for people.

#ifndef ZEBBASE_SRC_INIERROR_H
#define ZEBBASE_SRC_INIERROR_H

#include <algorithm>
#include <cstdarg>
#include <cstring>
#include <string_view>

#include "output.h"
#include "zebbase/ini.h"

constexpr ULONG ulShownName = 256; // bytes of a file name in texts

// A file's name as texts show it: what is too long loses its beginning.
void ShowName(char (&szShown)[ulShownName], const char *pszFile);

// Makes a text one line: what moves the cursor, in a name or a value, becomes a question mark.
void MakeOneLine(char *psz);

// Fills the record of whoever asked for one.
class ErrorRecord {
 public:
  ErrorRecord(INIERROR *perr, const char *pszFile) : perr_(perr), pszFile_(pszFile) { Clear(); }
  void Clear() {
    if (perr_) *perr_ = {};
  }
  [[gnu::format(printf, 4, 5)]] void Set(ULONG ulCode, ULONG ulLine, const char *pszFormat, ...);
  [[gnu::format(printf, 4, 0)]] void SetList(ULONG ulCode, ULONG ulLine, const char *pszFormat, va_list args);
  void SetSystem(int iError); // a code of errno

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
