// ini.cpp: structured data in INI files. The floors for reading start from the entries of the open file and know that
// each name stands where the one before it ended; they compare the name and convert the value as the library does. The
// floors for writing put the text together by hand and write it at once.

#include "zebbase/ini.h"

#include <fcntl.h>
#include <unistd.h>

#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string_view>

#include "bench.h"
#include "floor.h"
#include "peers.h"
#include "zebbase/lst.h"
#include "zebbase/mem.h"

namespace {
constexpr char szUnit[] = "bench";

// --- The data ---

struct KIND {
  const char *pszName;
  ULONG ulType;
  ULONG ulCount;
};
constexpr KIND aKind[] = {{"Active", FT_BOOL32, 1}, {"Small", FT_BYTE, 1},   {"Short", FT_SHORT, 1},
                          {"Word", FT_USHORT, 1},   {"Number", FT_LONG, 1},  {"Count", FT_ULONG, 1},
                          {"Value", FT_DOUBLE, 1},  {"Name", FT_STRING, 16}, {"Place", FT_STRING, 16},
                          {"Colour", FT_ENUM32, 1}};
constexpr ULONG aulSize[] = {4, 1, 2, 2, 4, 4, 8, 1, 1, 4}; // of an element of each
constexpr EDSC edscColour = {std::size(aColour),
                             {aColour[0].pszName, aColour[1].pszName, aColour[2].pszName},
                             {aColour[0].lValue, aColour[1].lValue, aColour[2].lValue}};

// The descriptors of the structure. The names are numbered by their group: Active1 to Colour6.
class RecordDescription {
 public:
  RecordDescription() {
    sdsc_.ulSize = sizeof(RECORD);
    for (ULONG ulGroup = 1; ulGroup <= ulGroups; ulGroup++)
      for (const KIND &kind : aKind) Add(kind, ulGroup);
  }
  RecordDescription(const RecordDescription &) = delete;
  RecordDescription &operator=(const RecordDescription &) = delete;
  const FDSC &Field() const { return fdsc_; }

 private:
  void Add(const KIND &kind, ULONG ulGroup) {
    char *pszName = aszName_[sdsc_.ulFields];
    std::snprintf(pszName, sizeof aszName_[0], "%s%lu", kind.pszName, ulGroup);
    void *pvDesc = kind.ulType == FT_ENUM32 ? const_cast<EDSC *>(&edscColour) : nullptr;
    sdsc_.afdsc[sdsc_.ulFields++] = {0, pszName, 0, kind.ulType, kind.ulCount, nullptr, pvDesc};
  }
  char aszName_[INI_MAX_FIELDS][16];
  SDSC sdsc_ = {};
  FDSC fdsc_ = {0, "Record", 0, FT_STRUCT, 1, nullptr, &sdsc_};
};

RECORD MakeRecord() {
  RECORD rec = {};
  for (ULONG ul = 0; ul < ulGroups; ul++)
    rec.agroup[ul] = {ul % 2,
                      static_cast<BYTE>(ul * 40),
                      static_cast<SHORT>(-1000 * static_cast<int>(ul)),
                      65000,
                      -123456789,
                      ul * 700000001,
                      ul * 1234.5625,
                      "some name",
                      "somewhere else",
                      ul % 3 * 10 + 10};
  return rec;
}

// --- The same record by hand ---

const char *ColourName(LONG lValue) {
  ULONG ul = 0;
  while (edscColour.alValue[ul] != lValue) ul++;
  return edscColour.apszName[ul];
}

bool IsNamed(const INIENTRY &entry, const char *pszName) { return strcasecmp(entry.pszName, pszName) == 0; }

void FloorRead(const INIFILE *pini, RECORD &rec, const FDSC &fdsc) {
  const auto *psdsc = static_cast<const SDSC *>(fdsc.pvDesc);
  const INIENTRY *pentry = pini->aentry;
  auto *pb = reinterpret_cast<BYTE *>(&rec);
  if (!IsNamed(*pentry++, fdsc.pszName)) return;
  for (ULONG ul = 0; ul < psdsc->ulFields; ul++, pentry++) {
    const FDSC &fdscField = psdsc->afdsc[ul];
    if (!IsNamed(*pentry, fdscField.pszName)) return;
    IniConvertFromString(&pb, pentry->pszValue, &fdscField, nullptr);
    pb += fdscField.ulCount * aulSize[ul % std::size(aulSize)];
  }
}

char *PutKey(char *pch, std::string_view svName, ULONG ulGroup) {
  return PutText(PutDecimal(PutText(PutText(pch, "  "), svName), ulGroup), " = ");
}

char *PutReal(char *pch, double d) { // six decimals, of a number that is exact to them
  const auto ll = std::llrint(d * 1e6);
  pch = PutChar(PutDecimal(pch, static_cast<ULONG>(ll / 1000000)), '.');
  const auto ulDecimals = static_cast<ULONG>(ll % 1000000);
  return PutFour(PutTwo(pch, ulDecimals / 10000), ulDecimals % 10000);
}

char *PutGroup(char *pch, const GROUP &group, ULONG ulGroup) {
  pch = PutText(PutKey(pch, "Active", ulGroup), group.fActive ? "TRUE\n" : "FALSE\n");
  pch = PutChar(PutDecimal(PutKey(pch, "Small", ulGroup), group.b), '\n');
  pch = PutChar(PutSigned(PutKey(pch, "Short", ulGroup), group.s), '\n');
  pch = PutChar(PutDecimal(PutKey(pch, "Word", ulGroup), group.us), '\n');
  pch = PutChar(PutSigned(PutKey(pch, "Number", ulGroup), group.l), '\n');
  pch = PutChar(PutDecimal(PutKey(pch, "Count", ulGroup), group.ul), '\n');
  pch = PutChar(PutReal(PutKey(pch, "Value", ulGroup), group.d), '\n');
  pch = PutText(PutText(PutChar(PutKey(pch, "Name", ulGroup), '"'), group.szName), "\"\n");
  pch = PutText(PutText(PutChar(PutKey(pch, "Place", ulGroup), '"'), group.szPlace), "\"\n");
  return PutChar(PutText(PutKey(pch, "Colour", ulGroup), ColourName(static_cast<LONG>(group.ulColour))), '\n');
}

void WriteAtOnce(const char *pszFile, std::string_view sv) {
  const int iFile = open(pszFile, O_WRONLY | O_CREAT | O_TRUNC, 0666);
  if (write(iFile, sv.data(), sv.size()) < 0) std::perror(pszFile);
  close(iFile);
}

void FloorWrite(const char *pszFile, const RECORD &rec) {
  char ach[8192];
  char *pch = PutText(ach, "[ record.ini ]\n\n[ Record ]\n");
  for (ULONG ul = 0; ul < ulGroups; ul++) pch = PutGroup(pch, rec.agroup[ul], ul + 1);
  WriteAtOnce(pszFile, {ach, pch});
}

void PeerWriteGroup(FILE *pf, const GROUP &group, ULONG ulGroup) {
  std::fprintf(pf, "  Active%lu = %s\n", ulGroup, group.fActive ? "TRUE" : "FALSE");
  std::fprintf(pf, "  Small%lu = %hhu\n", ulGroup, group.b);
  std::fprintf(pf, "  Short%lu = %hd\n", ulGroup, group.s);
  std::fprintf(pf, "  Word%lu = %hu\n", ulGroup, group.us);
  std::fprintf(pf, "  Number%lu = %ld\n", ulGroup, group.l);
  std::fprintf(pf, "  Count%lu = %lu\n", ulGroup, group.ul);
  std::fprintf(pf, "  Value%lu = %f\n", ulGroup, group.d);
  std::fprintf(pf, "  Name%lu = \"%s\"\n", ulGroup, group.szName);
  std::fprintf(pf, "  Place%lu = \"%s\"\n", ulGroup, group.szPlace);
  std::fprintf(pf, "  Colour%lu = %s\n", ulGroup, ColourName(static_cast<LONG>(group.ulColour)));
}

void PeerWrite(const char *pszFile, const RECORD &rec) {
  FILE *pf = std::fopen(pszFile, "w");
  std::fputs("[ record.ini ]\n\n[ Record ]\n", pf);
  for (ULONG ul = 0; ul < ulGroups; ul++) PeerWriteGroup(pf, rec.agroup[ul], ul + 1);
  std::fclose(pf);
}

// --- Through the library ---

void LibraryWrite(const char *pszFile, const void *pvData, const FDSC &fdsc) {
  INIFILE *pini = IniOpen(pszFile, 0);
  IniWrite(pini, pvData, &fdsc);
  IniClose(pini);
}

class OpenFile {
 public:
  explicit OpenFile(const char *pszFile) : pini_(IniOpen(pszFile, INI_MODE_READ)) { REQUIRE(pini_ != nullptr); }
  OpenFile(const OpenFile &) = delete;
  OpenFile &operator=(const OpenFile &) = delete;
  ~OpenFile() { IniClose(pini_); }
  INIFILE *get() const { return pini_; }

 private:
  INIFILE *pini_;
};

// Where writing is measured: the cost of the text is, not that of keeping it.
constexpr char szNoFile[] = "/dev/null";

template <typename Write>
std::string Written(const char *pszFile, Write write) {
  write(pszFile);
  return ReadFile(pszFile);
}
} // namespace

TEST_CASE("ini: 60 fields") {
  const RecordDescription description;
  const FDSC &fdsc = description.Field();
  const RECORD rec = MakeRecord();
  const std::string strFile = ScratchFile("record.ini");
  const char *pszFile = strFile.c_str();
  const auto Library = [&](const char *psz) { LibraryWrite(psz, &rec, fdsc); };
  const auto Floor = [&](const char *psz) { FloorWrite(psz, rec); };
  const auto Peer = [&](const char *psz) { PeerWrite(psz, rec); };
  const std::string strText = Written(pszFile, Library);
  REQUIRE(strText == Written(pszFile, Floor));
  REQUIRE(strText == Written(pszFile, Peer));
  const OpenFile file(pszFile);
  RECORD recRead = {};
  RECORD recFloor = {};
  IniRead(file.get(), &recRead, &fdsc);
  FloorRead(file.get(), recFloor, fdsc);
  REQUIRE(std::memcmp(&rec, &recRead, sizeof rec) == 0);
  REQUIRE(std::memcmp(&rec, &recFloor, sizeof rec) == 0);
  Measure({"ini: read of 60 fields", 2.2, 0.65}, {[&] { IniRead(file.get(), &recRead, &fdsc); }}, {[&] {
            FloorRead(file.get(), recFloor, fdsc);
            Touch(&recFloor);
          }},
          RecordPeers(pszFile, rec));
  Measure({"ini: write of 60 fields", 2.5, 0.45}, {[&] { Library(szNoFile); }}, {[&] { Floor(szNoFile); }},
          {{[&] { Peer(szNoFile); }, {}, "fprintf"}});
}

// --- Lists ---

namespace {
struct VALUE {
  ULONG ul;
};
constexpr SDSC sdscValue = {1, 0, sizeof(VALUE), 0, {{0, "Value", 0, FT_ULONG, 1, nullptr, nullptr}}};
constexpr FDSC fdscItems = {0, "Item", 0, FT_STRUCTLIST, 1, nullptr, const_cast<SDSC *>(&sdscValue)};

void FreeItems(LIST *plst) {
  LstDeleteAllBoth(plst);
  LstFreeList_(plst);
}

// Makes the list out of entries that are a title and a key by turns.
LIST *FloorReadItems(const INIFILE *pini) {
  LIST *plst = LstNewList(0);
  char szTitle[32] = "Item";
  for (ULONG ul = 0; ul + 1 < pini->ulEntries; ul += 2) {
    *PutDecimal(szTitle + 4, ul / 2 + 1) = '\0';
    const INIENTRY *pentry = &pini->aentry[ul];
    if (!IsNamed(pentry[0], szTitle) || !IsNamed(pentry[1], sdscValue.afdsc[0].pszName)) break;
    auto *pb = static_cast<BYTE *>(MemAllocMem_(sizeof(VALUE), __LINE__, szUnit));
    IniConvertFromString(&pb, pentry[1].pszValue, &sdscValue.afdsc[0], nullptr);
    LstInsert(plst, pb, LST_END);
  }
  return plst;
}

std::vector<ULONG> Values(const LIST *plst) {
  std::vector<ULONG> aul;
  for (const LISTITEM *pli = plst->pliFirst; pli; pli = pli->pliNext)
    aul.push_back(static_cast<VALUE *>(pli->pvData)->ul);
  return aul;
}

LIST *MakeItems(ULONG ulCount) {
  LIST *plst = LstNewList(0);
  for (ULONG ul = 0; ul < ulCount; ul++) {
    auto *pvalue = static_cast<VALUE *>(MemAllocMem_(sizeof(VALUE), __LINE__, szUnit));
    pvalue->ul = ul * 1234567;
    LstInsert(plst, pvalue, LST_END);
  }
  return plst;
}

void FloorWriteItems(const char *pszFile, const LIST *plst) {
  static char ach[1 << 18];
  char *pch = PutText(ach, "[ items.ini ]\n");
  ULONG ulNumber = 0;
  for (const LISTITEM *pli = plst->pliFirst; pli; pli = pli->pliNext) {
    pch = PutText(PutDecimal(PutText(pch, "\n[ Item "), ++ulNumber), " ]\n  Value = ");
    pch = PutChar(PutDecimal(pch, static_cast<VALUE *>(pli->pvData)->ul), '\n');
  }
  WriteAtOnce(pszFile, {ach, pch});
}

void PeerWriteItems(const char *pszFile, const LIST *plst) {
  FILE *pf = std::fopen(pszFile, "w");
  std::fprintf(pf, "[ items.ini ]\n");
  ULONG ulNumber = 0;
  for (const LISTITEM *pli = plst->pliFirst; pli; pli = pli->pliNext) {
    std::fprintf(pf, "\n[ Item %lu ]\n", ++ulNumber);
    std::fprintf(pf, "  Value = %lu\n", static_cast<VALUE *>(pli->pvData)->ul);
  }
  std::fclose(pf);
}

void MeasureReadItems(const ITEM &item, const char *pszFile) {
  const OpenFile file(pszFile);
  LIST *plst = nullptr;
  LIST *plstFloor = nullptr;
  const auto Library = [&] { IniRead(file.get(), &plst, &fdscItems); };
  const auto Floor = [&] { plstFloor = FloorReadItems(file.get()); };
  Library();
  Floor();
  REQUIRE(Values(plst) == Values(plstFloor));
  Measure(item, {Library, [&] { FreeItems(plst); }}, {Floor, [&] { FreeItems(plstFloor); }},
          ItemPeers(pszFile, Values(plst)));
  FreeItems(plst);
  FreeItems(plstFloor);
}

void MeasureItems(ULONG ulCount) {
  const std::string strFile = ScratchFile("items.ini");
  const char *pszFile = strFile.c_str();
  LIST *plst = MakeItems(ulCount);
  const auto Library = [&](const char *psz) { LibraryWrite(psz, &plst, fdscItems); };
  const auto Floor = [&](const char *psz) { FloorWriteItems(psz, plst); };
  const auto Peer = [&](const char *psz) { PeerWriteItems(psz, plst); };
  const std::string strText = Written(pszFile, Library);
  REQUIRE(strText == Written(pszFile, Floor));
  REQUIRE(strText == Written(pszFile, Peer));
  MeasureReadItems({"ini: read of a list of " + std::to_string(ulCount), 1.8, 0.6}, pszFile);
  Measure({"ini: write of a list of " + std::to_string(ulCount), 5, 0.17}, {[&] { Library(szNoFile); }},
          {[&] { Floor(szNoFile); }}, {{[&] { Peer(szNoFile); }, {}, "fprintf"}});
  FreeItems(plst);
}
} // namespace

TEST_CASE("ini: lists") {
  MeasureItems(1000);
  MeasureItems(2500);
}

// --- Opening ---

namespace {
std::string FullFile() { // 100 sections of 50 keys
  std::string str = "[ full.ini ]\n";
  for (int iSection = 1; iSection <= 100; iSection++) {
    str += "\n[ Section " + std::to_string(iSection) + " ]\n";
    for (int iKey = 1; iKey <= 50; iKey++)
      str +=
          "  Key" + std::to_string(iKey) + " = " + (iKey % 2 ? std::to_string(iKey * 12345) : "\"some text\"") + '\n';
  }
  return str;
}

ULONG FloorLines(const char *pszFile) {
  static char ach[1 << 18];
  const int iFile = open(pszFile, O_RDONLY);
  const auto cb = static_cast<std::size_t>(read(iFile, ach, sizeof ach));
  close(iFile);
  ULONG ulLines = 0;
  const char *pch = ach;
  while (const void *pv = std::memchr(pch, '\n', static_cast<std::size_t>(ach + cb - pch))) {
    pch = static_cast<const char *>(pv) + 1;
    ulLines++;
  }
  return ulLines;
}
} // namespace

TEST_CASE("ini: open") {
  const std::string strFile = ScratchFile("full.ini");
  WriteFile(strFile, FullFile());
  const char *pszFile = strFile.c_str();
  INIFILE *pini = IniOpen(pszFile, INI_MODE_READ);
  REQUIRE(pini != nullptr);
  REQUIRE(pini->ulEntries == INI_MAX_ENTRIES);
  REQUIRE(FloorLines(pszFile) == INI_MAX_ENTRIES + 1 + 100); // with the header and the empty lines
  Measure({"ini: open of 5,100 entries", 14, 0.35},
          {[&] { pini = IniOpen(pszFile, INI_MODE_READ); }, [&] { IniClose(pini); }},
          {[&] { Opaque(FloorLines(pszFile)); }}, IniOpenPeers(pszFile, 5000));
  IniClose(pini);
}
