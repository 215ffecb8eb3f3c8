// inierror.h: what is wrong with a file, as a record for the program and a text for people.

#ifndef ZEBBASE_SRC_INIERROR_H
#define ZEBBASE_SRC_INIERROR_H

#include <cstdarg>

#include "output.h"
#include "zebbase/ini.h"

constexpr ULONG ulShownName = 256; // bytes of a file name in texts

// A file's name as texts show it: what is too long loses its beginning. Result: the text made.
const char *ShowName(char (&szShown)[ulShownName], const char *pszFile);

// Makes a text one line: what moves the cursor, in a name or a value, becomes a question mark.
void MakeOneLine(char *psz);

// The record of whoever asked for one. What is set gives its code.
class ErrorRecord {
 public:
  ErrorRecord(INIERROR *perr, const char *pszFile) : perr_(perr), pszFile_(pszFile) { Clear(); } // null: of no file
  void Clear() {
    if (perr_) *perr_ = {};
  }
  [[gnu::format(printf, 4, 5)]] ULONG Set(ULONG ulCode, ULONG ulLine, const char *pszFormat, ...);
  [[gnu::format(printf, 4, 0)]] ULONG SetList(ULONG ulCode, ULONG ulLine, const char *pszFormat, va_list args);
  ULONG SetSystem(int iError); // a code of errno

 private:
  INIERROR *const perr_;
  const char *const pszFile_;
};

using ErrorText = TextBuffer<sizeof INIERROR::szText>; // a part of the text

#endif
