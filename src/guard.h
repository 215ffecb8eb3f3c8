// guard.h: what is taken is given back, on every way out of a scope.

#ifndef ZEBBASE_SRC_GUARD_H
#define ZEBBASE_SRC_GUARD_H

#include <locale.h>

#include <cstdio>
#include <memory>
#include <utility>

#include "zebbase/base.h"

// Holds a lock for one scope; only a lock that was got is released. A null lock is none, and always got.
class [[nodiscard]] Lock {
 public:
  Lock(MTXSEM *pmtxsem, ULONG ulTimeout) : pmtxsem_(pmtxsem), rc_(pmtxsem ? SemRequestMutex(pmtxsem, ulTimeout) : 0) {}
  ~Lock() { Release(); }
  Lock(const Lock &) = delete;
  Lock &operator=(const Lock &) = delete;
  ULONG rc() const { return rc_; }
  ULONG Release() { // at most once; gives the code of the release
    if (!pmtxsem_ || rc_ != 0) return 0;
    return SemReleaseMutex(std::exchange(pmtxsem_, nullptr));
  }

 private:
  MTXSEM *pmtxsem_;
  const ULONG rc_;
};

// The "C" locale for one scope and this thread: numbers have a decimal point. The runtime's "C" locale is static.
class [[nodiscard]] PlainLocale {
 public:
  PlainLocale() : locale_(uselocale(newlocale(LC_ALL_MASK, "C", nullptr))) {}
  ~PlainLocale() { uselocale(locale_); }
  PlainLocale(const PlainLocale &) = delete;
  PlainLocale &operator=(const PlainLocale &) = delete;

 private:
  const locale_t locale_;
};

struct CloseFile {
  void operator()(FILE *pf) const { std::fclose(pf); }
};
using File = std::unique_ptr<FILE, CloseFile>;

#endif
