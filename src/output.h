// output.h: text on its way to a caller's buffer or to a file.

#ifndef ZEBBASE_SRC_OUTPUT_H
#define ZEBBASE_SRC_OUTPUT_H

#include <climits>
#include <cstdarg>
#include <cstddef>
#include <cstdio>
#include <cstring>
#include <string_view>

#include "guard.h"
#include "text.h"

// Appends text to a buffer of the caller's, whose size only the caller knows, or to a file, in few large writes.
class Output {
 public:
  explicit Output(char *psz) : pch_(psz), pchStart_(psz), cbRoom_(INT_MAX) {}
  Output(FILE *pf, char *pchBuffer, std::size_t cbBuffer)
      : pf_(pf), pch_(pchBuffer), pchStart_(pchBuffer), cbRoom_(cbBuffer) {}
  Output(const Output &) = delete;
  Output &operator=(const Output &) = delete;

  void Put(std::string_view sv) {
    if (sv.size() > cbRoom_) return PutFar(sv);
    CopyText(pch_, sv);
    Advance(sv.size());
  }

  void Put(char ch) {
    if (cbRoom_ == 0) Flush();
    *pch_++ = ch;
    cbRoom_--;
  }

  void PutNumber(ULONG ul, ULONG ulWidth = 1) { Took(PutDecimal(Room(ulMostDigits), ul, ulWidth)); }

  // Where the next cb characters can be put directly, fewer than a file's buffer has. Their end goes to Took.
  char *Room(std::size_t cb) {
    if (cbRoom_ < cb) Flush();
    return pch_;
  }
  void Took(char *pchEnd) { Advance(static_cast<std::size_t>(pchEnd - pch_)); }

  // Prints through a format of the program's, with a decimal point in every locale.
  void Print(const char *pszFormat, ...) {
    const PlainLocale locale;
    va_list args, argsAgain;
    va_start(args, pszFormat);
    va_copy(argsAgain, args);
    const int iLength = std::vsnprintf(pch_, cbRoom_, pszFormat, args);
    if (iLength >= 0 && static_cast<std::size_t>(iLength) < cbRoom_) {
      Advance(static_cast<std::size_t>(iLength));
    } else if (pf_) { // too long for what is left: the stream has room
      Flush();
      std::vfprintf(pf_, pszFormat, argsAgain);
    }
    va_end(argsAgain);
    va_end(args);
  }

  // Writes out what is in the buffer; output errors show on the stream.
  void Flush() {
    if (!pf_) return;
    std::fwrite(pchStart_, 1, static_cast<std::size_t>(pch_ - pchStart_), pf_);
    cbRoom_ += static_cast<std::size_t>(pch_ - pchStart_);
    pch_ = pchStart_;
  }

  void Terminate() { *pch_ = '\0'; } // the caller's buffer

 private:
  void Advance(std::size_t cb) {
    pch_ += cb;
    cbRoom_ -= cb;
  }
  void PutFar(std::string_view sv) { // what the buffer has no room for
    Flush();
    if (sv.size() <= cbRoom_) return Put(sv);
    if (pf_) std::fwrite(sv.data(), 1, sv.size(), pf_);
  }

  FILE *const pf_ = nullptr;
  char *pch_;
  char *const pchStart_;
  std::size_t cbRoom_;
};

#endif
