// output.h: text that is put together piece by piece.

#ifndef ZEBBASE_SRC_OUTPUT_H
#define ZEBBASE_SRC_OUTPUT_H

#include <algorithm>
#include <cassert>
#include <climits>
#include <cstdarg>
#include <cstddef>
#include <cstdio>
#include <cstring>
#include <limits>
#include <string_view>

#include "digits.h"
#include "guard.h"
#include "print.h"
#include "text.h"

// Appends to a place in memory, or through a buffer to a stream. What has no room in memory is cut there, and
// remembered; a stream takes any length, in few large writes, and shows its errors itself.
class Output {
 public:
  static constexpr std::size_t cbUnknown = std::numeric_limits<std::size_t>::max(); // only the caller knows the room

  Output(char *pch, std::size_t cbRoom) : pch_(pch), pchStart_(pch), cbRoom_(cbRoom) {}
  Output(FILE *pf, char *pchBuffer, std::size_t cbBuffer)
      : pf_(pf), pch_(pchBuffer), pchStart_(pchBuffer), cbRoom_(cbBuffer) {}
  Output(const Output &) = delete;
  Output &operator=(const Output &) = delete;

  Output &Put(std::string_view sv) {
    if (sv.size() > cbRoom_) return PutFar(sv);
    if (!sv.empty()) std::memcpy(pch_, sv.data(), sv.size()); // an empty one need not have an address
    return Advance(sv.size());
  }
  Output &Put(char ch) {
    if (cbRoom_ == 0) return PutFar({&ch, 1});
    *pch_ = ch;
    return Advance(1);
  }
  Output &PutPadded(std::string_view sv, std::size_t cbWidth) { // blanks first
    for (std::size_t cb = sv.size(); cb < cbWidth; cb++) Put(' ');
    return Put(sv);
  }
  Output &PutNumber(ULONG ul, ULONG ulWidth = 1) { // with at least ulWidth digits
    if (cbRoom_ >= ulMostDigits) return Took(PutDecimal(pch_, ul, ulWidth));
    char ach[ulMostDigits];
    return Put({ach, PutDecimal(ach, ul, ulWidth)});
  }

  // Prints through a format of the program's, with a decimal point in every locale. In memory it takes a byte more than
  // its text, for a terminator.
  void Print(const char *pszFormat, ...) {
    const PlainLocale locale;
    va_list args, argsAgain;
    va_start(args, pszFormat);
    va_copy(argsAgain, args);
    const std::size_t cbMost = std::min<std::size_t>(cbRoom_, INT_MAX);
    const int iLength = PrintTo(pch_, cbMost, pszFormat, args);
    const bool fFits = iLength >= 0 && static_cast<std::size_t>(iLength) < cbMost;
    if (fFits) Advance(static_cast<std::size_t>(iLength));
    if (!fFits && pf_) { // too long for what is left: the stream has room
      Flush();
      PrintTo(pf_, pszFormat, argsAgain);
    }
    fCut_ |= !fFits && !pf_;
    va_end(argsAgain);
    va_end(args);
  }

  // Where the next cb characters can be put directly, fewer than a stream's buffer has. Their end goes to Took.
  char *Room(std::size_t cb) {
    if (cbRoom_ < cb) Flush();
    assert(cb <= cbRoom_);
    return pch_;
  }
  Output &Took(char *pchEnd) { return Advance(static_cast<std::size_t>(pchEnd - pch_)); }

  // Writes to the stream what is in the buffer.
  void Flush() {
    if (!pf_) return;
    std::fwrite(pchStart_, 1, Length(), pf_);
    Shorten(0);
  }

  // What is in memory. A text is terminated in the byte behind its room.
  std::string_view View() const { return {pchStart_, pch_}; }
  std::size_t Length() const { return View().size(); }
  bool IsCut() const { return fCut_; }
  const char *Text() {
    *pch_ = '\0';
    return pchStart_;
  }
  void Shorten(std::size_t cb) { // to a length that it had
    assert(cb <= Length());
    cbRoom_ += Length() - cb;
    pch_ = pchStart_ + cb;
    fCut_ = false;
  }

 private:
  Output &Advance(std::size_t cb) {
    assert(cb <= cbRoom_);
    pch_ += cb;
    cbRoom_ -= cb;
    return *this;
  }
  [[gnu::noinline]] Output &PutFar(std::string_view sv) { // what there is no room for
    Flush();
    if (sv.size() <= cbRoom_) return Put(sv);
    if (pf_)
      std::fwrite(sv.data(), 1, sv.size(), pf_);
    else
      Put(UpTo(sv, cbRoom_));
    fCut_ = !pf_;
    return *this;
  }

  FILE *const pf_ = nullptr;
  char *pch_;
  char *const pchStart_;
  std::size_t cbRoom_;
  bool fCut_ = false;
};

// A text of at most N - 1 characters, in memory of its own.
template <std::size_t N>
class TextBuffer : public Output {
 public:
  TextBuffer() : Output(ach_, N - 1) {}

 private:
  char ach_[N];
};

// Formats into a buffer, which is terminated either way. Result: whether all of it fitted.
template <std::size_t N>
[[gnu::format(printf, 2, 3)]] inline bool Format(char (&szDest)[N], const char *pszFormat, ...) {
  va_list args;
  va_start(args, pszFormat);
  const int iLength = std::vsnprintf(szDest, N, pszFormat, args);
  va_end(args);
  if (iLength < 0) szDest[0] = '\0';
  return iLength >= 0 && static_cast<std::size_t>(iLength) < N;
}

#endif
