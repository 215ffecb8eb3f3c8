// cpp.cpp: the C++ header. The floors are the plain calls that a C program makes.

#include "bench.h"
#include "zebbase/zebbase.hpp"

namespace {
constexpr ULONG ulElements = 2000;

struct VALUE {
  ULONG ulKey;
  ULONG ulSum;
};

ULONG KeyOf(ULONG ul) { return ul * 2654435761UL % 65536; } // shuffled

ULONG ListByHeader() {
  zebbase::List<VALUE> list;
  for (ULONG ul = 0; ul < ulElements; ul++) list.push_back({KeyOf(ul), ul});
  list.sort([](const VALUE &value1, const VALUE &value2) { return value1.ulKey < value2.ulKey; });
  ULONG ulSum = 0;
  for (const VALUE &value : list) ulSum = 3 * ulSum + value.ulSum;
  return ulSum;
}

BOOL IsBeforeOrEqual(void *pv1, void *pv2) {
  return static_cast<VALUE *>(pv1)->ulKey <= static_cast<VALUE *>(pv2)->ulKey;
}

ULONG ListByCalls() {
  LIST *plst = LstNewList(0);
  for (ULONG ul = 0; ul < ulElements; ul++) {
    VALUE *pvalue = MemNew(VALUE);
    *pvalue = {KeyOf(ul), ul};
    LstInsert(plst, pvalue, LST_END);
  }
  LstSort(plst, IsBeforeOrEqual);
  ULONG ulSum = 0;
  LstForEach(pli, plst) ulSum = 3 * ulSum + static_cast<VALUE *>(pli->pvData)->ulSum;
  LstDeleteAllBoth(plst);
  LstFreeList(plst);
  return ulSum;
}

constexpr auto sdscValue =
    zebbase::describe<VALUE>(zebbase::field("Key", &VALUE::ulKey), zebbase::field("Sum", &VALUE::ulSum));
constexpr auto fdscValue = zebbase::record("Value", sdscValue);

ULONG ReadByHeader(const char *pszFile) {
  const auto value = zebbase::Load(pszFile, fdscValue);
  return value ? (*value)->ulSum : 0;
}

ULONG ReadByCalls(const char *pszFile) {
  VALUE value = {};
  INIERROR err;
  INIFILE *pini = IniOpenChecked(pszFile, INI_MODE_LENIENT, &err);
  const auto Refuse = [](const INIFINDING *pfinding, void *) -> ULONG { return pfinding->fMistake; };
  const ULONG ulResult = pini ? IniReadChecked(pini, &value, fdscValue, Refuse, nullptr) : 1;
  IniClose(pini);
  return ulResult == 0 ? value.ulSum : 0;
}
} // namespace

TEST_CASE("cpp: lists") {
  REQUIRE(ListByHeader() == ListByCalls());
  Measure({"cpp: list of 2,000, filled, sorted, walked", 1.05}, {[] { Opaque(ListByHeader()); }},
          {[] { Opaque(ListByCalls()); }});
}

TEST_CASE("cpp: settings") {
  const std::string strFile = ScratchFile("value.ini");
  WriteFile(strFile, "[ value.ini ]\n[ Value ]\nKey = 5\nSum = 7\n");
  REQUIRE(ReadByHeader(strFile.c_str()) == 7);
  REQUIRE(ReadByCalls(strFile.c_str()) == 7);
  Measure({"cpp: load of settings", 1.05}, {[&] { Opaque(ReadByHeader(strFile.c_str())); }},
          {[&] { Opaque(ReadByCalls(strFile.c_str())); }});
}
