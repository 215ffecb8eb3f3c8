// nearest.h: the name that somebody may have meant, among those that there are.

#ifndef ZEBBASE_SRC_NEAREST_H
#define ZEBBASE_SRC_NEAREST_H

#include <algorithm>
#include <string_view>

#include "ininame.h"
#include "text.h"
#include "zebbase/ini.h"

// The number of characters that one name has to lose, gain, change or exchange with their neighbour to become another,
// without regard to case. Line i of the table has the distances of the first i characters to all beginnings of the
// other name, and only the last three lines are kept.
inline ULONG Distance(std::string_view sv1, std::string_view sv2) {
  USHORT aaus[3][INI_MAX_TEXT + 1];
  for (std::size_t n2 = 0; n2 <= sv2.size(); n2++) aaus[0][n2] = static_cast<USHORT>(n2);
  for (std::size_t n1 = 1; n1 <= sv1.size(); n1++) {
    USHORT *paus = aaus[n1 % 3];
    const USHORT *pausBefore = aaus[(n1 - 1) % 3], *pausTwoBefore = aaus[(n1 - 2) % 3];
    paus[0] = static_cast<USHORT>(n1);
    for (std::size_t n2 = 1; n2 <= sv2.size(); n2++) {
      const bool fSame = IsEqualNoCase(sv1[n1 - 1], sv2[n2 - 1]);
      const bool fExchanged =
          n1 > 1 && n2 > 1 && IsEqualNoCase(sv1[n1 - 1], sv2[n2 - 2]) && IsEqualNoCase(sv1[n1 - 2], sv2[n2 - 1]);
      int iBest = std::min(std::min(pausBefore[n2], paus[n2 - 1]) + 1, pausBefore[n2 - 1] + !fSame);
      if (fExchanged) iBest = std::min(iBest, pausTwoBefore[n2 - 2] + 1);
      paus[n2] = static_cast<USHORT>(iBest);
    }
  }
  return aaus[sv1.size() % 3][sv2.size()];
}

inline std::string_view WithoutDigits(std::string_view sv) { // at its end
  while (!sv.empty() && IsDigit(sv.back())) sv.remove_suffix(1);
  return sv;
}

inline bool IsNumber(std::string_view sv) { return !sv.empty() && WithoutDigits(sv).empty(); }

inline bool StartsWithNoCase(std::string_view sv, std::string_view svStart) {
  return sv.size() >= svStart.size() && EqualNoCase(UpTo(sv, svStart.size()), svStart);
}

// Looks among names that are offered for one that is sought.
class Nearest {
 public:
  explicit Nearest(std::string_view svSought) : svSought_(svSought) {}

  // A name that stands behind the first characters of the one sought. A numbered one is any with a number behind it.
  void Offer(std::size_t cbBefore, std::string_view svName, bool fNumbered) {
    const std::string_view sv = From(svSought_, cbBefore);
    const bool fEqual =
        fNumbered ? StartsWithNoCase(sv, svName) && IsNumber(From(sv, svName.size())) : EqualNoCase(sv, svName);
    fDescribed_ |= fEqual;
    const std::string_view svStem = fNumbered ? WithoutDigits(sv) : sv;
    const ULONG ulLimit = std::min<ULONG>((svStem.size() + 1) / 3, 3);
    if (fEqual || svName.size() > INI_MAX_TEXT || svSought_.size() > INI_MAX_TEXT) return;
    const ULONG ulDistance = Distance(svStem, svName);
    if (ulDistance > ulLimit || ulDistance >= ulDistance_) return;
    ulDistance_ = ulDistance;
    near_.Shorten(0);
    near_.Put(UpTo(svSought_, cbBefore)).Put(svName).Put(From(sv, svStem.size()));
    if (fNumbered && svStem.size() == sv.size()) near_.Put('1');
  }

  bool IsDescribed() const { return fDescribed_; } // one of those offered was it
  const char *Text() { return near_.Text(); }      // empty for none

 private:
  const std::string_view svSought_;
  Name near_;
  ULONG ulDistance_ = 0xFFFFFFFF;
  bool fDescribed_ = false;
};

#endif
