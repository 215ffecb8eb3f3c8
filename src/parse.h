// parse.h: what the parser offers inside the library beside prs.h: texts where they lie, or with a limit, and whether
// they are all.

#ifndef ZEBBASE_SRC_PARSE_H
#define ZEBBASE_SRC_PARSE_H

#include <string_view>

#include "text.h"
#include "zebbase/prs.h"

// Where the text of a sentence goes; it is not terminated there. What does not fit is left out, and remembered.
class Sink {
 public:
  Sink(char *pch, ULONG ulRoom) : pch_(pch), pchStart_(pch), ulRoom_(ulRoom) {}
  void Put(std::string_view sv) {
    fCut_ |= sv.size() > ulRoom_;
    if (fCut_) return;
    CopyText(pch_, sv);
    pch_ += sv.size();
    ulRoom_ -= sv.size();
  }
  std::string_view View() const { return {pchStart_, pch_}; }
  bool IsCut() const { return fCut_; }

 private:
  char *pch_;
  char *const pchStart_;
  ULONG ulRoom_;
  bool fCut_ = false;
};

// Whether the input ended by a read error: what has been delivered is not all of it. Null has not.
bool HasFailedReading(const PARSECTX *pprs);

// PrsGetWord without a copy. The view has no address at the end of the input, and ends with the current line.
std::string_view TakeWord(PARSECTX *pprs);

// PrsGetSentence into a sink; also fails for a text that does not fit.
bool TakeSentence(PARSECTX *pprs, Sink &sink);

#endif
