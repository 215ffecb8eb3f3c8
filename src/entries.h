// entries.h: the entries of an open INI file by name.

#ifndef ZEBBASE_SRC_ENTRIES_H
#define ZEBBASE_SRC_ENTRIES_H

#include <algorithm>
#include <cassert>
#include <cstring>
#include <string_view>

#include "bytes.h"
#include "fields.h"
#include "ininame.h"
#include "text.h"
#include "zebbase/ini.h"

// Whether a field can be the element of a value list. Only values can be told apart by number: the list would not end
// with elements that are found again and again.
inline bool IsListable(FieldView field) {
  const bool fHasText = field.Type() <= FT_INTERVAL && !(field.Flags() & FDSC_NOINI);
  return fHasText && field.Count() > 0 && !(field.Elements() > 1 && field.Type() == FT_PSZ);
}

// Finds titles, or the keys of a section, by name; of equal names the first. A program mostly asks in the order of the
// file, so the next entry is nearly always the one sought. What a search passes on its way goes into a hash table, and
// later searches begin there: looking up all names of a file takes time in proportion to the file, in whatever order.
// This lives on the stack for the time of one call.
class Lookup {
 public:
  Lookup(const INIFILE &ini, bool fTitles)
      : ini_(ini), ulEntries_(std::min<ULONG>(ini.ulEntries, INI_MAX_ENTRIES)), fTitles_(fTitles) {}

  // From entry ulStart on: among all titles, or among the keys up to the next title. Null when there is none.
  const INIENTRY *Find(std::string_view svName, ULONG ulStart) {
    const ULONG ulHash = Hash(svName);
    Begin(ulStart);
    const ULONG ulSlot = SlotOf(svName, ulHash);
    if (IsPassed(aslot_[ulSlot])) return &ini_.aentry[aslot_[ulSlot].usEntry - 1];
    const INIENTRY *pentry;
    while ((pentry = Next()) != nullptr && !EqualNoCase(pentry->pszName, svName)) {
      const ULONG ulOther = Hash(pentry->pszName);
      AddPassed(ulOther & ulMask_, ulOther);
    }
    if (pentry) AddPassed(ulSlot, ulHash);
    return pentry;
  }

 private:
  struct SLOT {
    USHORT usEntry; // its number + 1
    USHORT usHash;
  };
  static constexpr ULONG ulSlots = 8192; // a power of two, well above INI_MAX_ENTRIES

  // Equal for names that differ in case. The last four characters are weighted so that names that end in numbers do not
  // collide; what stands before them is taken four at a time.
  static ULONG Hash(std::string_view sv) {
    ULONG ulHash = 0;
    const char *pch = sv.data();
    const char *pchEnd = pch + sv.size();
    for (; pchEnd - pch > 4; pch += 4) ulHash = (ulHash + (Load<ULONG>(pch) | 0x20202020)) * 0x9E3779B1;
    ulHash ^= ulHash >> 16;
    for (; pch < pchEnd; pch++) ulHash = ulHash * 31 + (static_cast<unsigned char>(*pch) | 0x20U);
    return ulHash;
  }

  void Begin(ULONG ulStart) { // another section: all that was passed is forgotten
    if (ulMask_ == 0) Clear();
    if (ulStart != ulStart_) ulNext_ = ulStart_ = ulStart;
  }

  void Clear() {
    ulMask_ = 15;
    while (ulMask_ < 2 * ulEntries_ && ulMask_ < ulSlots - 1) ulMask_ = 2 * ulMask_ + 1;
    std::memset(aslot_, 0, (ulMask_ + 1) * sizeof(SLOT));
  }

  // A slot of another section counts as free: its entry is not among those passed.
  bool IsPassed(const SLOT &slot) const { return slot.usEntry > ulStart_ && slot.usEntry <= ulNext_; }

  // The slot of a name, or the free one where the looking ends.
  ULONG SlotOf(std::string_view svName, ULONG ulHash) {
    ULONG ul = ulHash & ulMask_;
    while (IsPassed(aslot_[ul]) && !(aslot_[ul].usHash == static_cast<USHORT>(ulHash) &&
                                     EqualNoCase(ini_.aentry[aslot_[ul].usEntry - 1].pszName, svName)))
      ul = (ul + 1) & ulMask_;
    return ul;
  }

  const INIENTRY *Next() { // the next entry to look at; null at the end
    while (fTitles_ && ulNext_ < ulEntries_ && !ini_.aentry[ulNext_].flTitle) ulNext_++;
    if (ulNext_ >= ulEntries_ || (ini_.aentry[ulNext_].flTitle != 0) != fTitles_) return nullptr;
    return &ini_.aentry[ulNext_];
  }

  // Adds the entry that Next gave, from a slot on; behind others of its name, which are found first.
  void AddPassed(ULONG ul, ULONG ulHash) {
    assert(ulNext_ < ulEntries_);
    while (IsPassed(aslot_[ul])) ul = (ul + 1) & ulMask_;
    ulNext_++;
    aslot_[ul] = {static_cast<USHORT>(ulNext_), static_cast<USHORT>(ulHash)};
  }

  const INIFILE &ini_;
  const ULONG ulEntries_;
  const bool fTitles_;
  ULONG ulStart_ = 0;
  ULONG ulNext_ = 0; // the entries from ulStart_ up to here have been passed
  ULONG ulMask_ = 0;
  SLOT aslot_[ulSlots];
};

#endif
