// cmdline.cpp: a command line of 20 arguments for a table of 30 entries.

#include <getopt.h>

#include <algorithm>
#include <array>
#include <cstdlib>
#include <cstring>
#include <utility>

#include "bench.h"
#include "zebbase/cmd.h"
#include "zebbase/mem.h"

namespace {
// What a program of the family has on its command line: two files, flags, and switches with a value of each kind, most
// of which have a default.
constexpr int iPositional = 2;
constexpr int iFlags = 8;   // -A to -H
constexpr int iNumbers = 4; // -a to -d: %ld
constexpr int iMasks = 2;   // -e and -f: %lx
constexpr int iReals = 2;   // -g and -h: %lf
constexpr int iLetters = 1; // -i: %c
constexpr int iTexts = 1;   // -j
constexpr ULONG ulEntries = iPositional + iFlags + 2 * (iNumbers + iMasks + iReals + iLetters + iTexts);
static_assert(ulEntries == 30);

struct SETTINGS {
  std::array<const char *, iPositional> apszFile = {};
  std::array<bool, iFlags> afFlag = {};
  std::array<LONG, iNumbers> alNumber = {10, 20, 30, 40};
  std::array<ULONG, iMasks> aulMask = {0xFF, 0xFF};
  std::array<double, iReals> adReal = {0.5, 0.5};
  char chLetter = 'x';
  const char *pszText = "none";
};

bool operator==(const SETTINGS &s1, const SETTINGS &s2) {
  return s1.apszFile == s2.apszFile && s1.afFlag == s2.afFlag && s1.alNumber == s2.alNumber &&
         s1.aulMask == s2.aulMask && s1.adReal == s2.adReal && s1.chLetter == s2.chLetter &&
         std::strcmp(s1.pszText, s2.pszText) == 0;
}

constexpr std::array<const char *, 21> apszArguments = {
    "program", "input.txt", "output.txt", "-A", "-c", "12345", "-B", "-e",   "7F", "-a", "1",
    "-H",      "-g",        "0.25",       "-G", "-i", "q",     "-h", "99.5", "-C", "-D"};

CMDOPTION Entry(bool fFlag, char chSwitchId, ULONG ulType, const char *pszConversion, const char *pszDefault = "") {
  CMDOPTION cmdo = {};
  cmdo.fFlag = fFlag;
  cmdo.chSwitchId = chSwitchId;
  cmdo.ulHelpKey = HLP;
  cmdo.ulTypeCode = ulType;
  std::strcpy(cmdo.szConversion, pszConversion);
  std::strcpy(cmdo.szDefaultValue, pszDefault);
  return cmdo;
}

std::vector<CMDOPTION> MakeTable() {
  std::vector<CMDOPTION> acmdo(iPositional, Entry(false, '\0', CMD_TYPE_STRING, "%s"));
  for (int i = 0; i < iFlags; i++) acmdo.push_back(Entry(true, static_cast<char>('A' + i), CMD_TYPE_BOOLEAN, "%lu"));
  char ch = 'a';
  const auto Add = [&](ULONG ulType, const char *pszConversion, const char *pszDefault) {
    acmdo.push_back(Entry(true, ch, CMD_TYPE_BOOLEAN, "%lu"));
    acmdo.push_back(Entry(false, ch++, ulType, pszConversion, pszDefault));
  };
  for (const char *psz : {"10", "20", "30", "40"}) Add(CMD_TYPE_LONG, "%ld", psz);
  for (const char *psz : {"FF", "FF"}) Add(CMD_TYPE_ULONG, "%lx", psz);
  for (const char *psz : {"0.5", "0.5"}) Add(CMD_TYPE_DOUBLE, "%lf", psz);
  Add(CMD_TYPE_CHARACTER, "%c", "x");
  Add(CMD_TYPE_STRING, "%s", "none");
  return acmdo;
}

// The vector of one parse, which may be changed.
class Arguments {
 public:
  Arguments() {
    for (std::size_t u = 0; u < apszArguments.size(); u++) apsz_[u] = const_cast<char *>(apszArguments[u]);
  }
  char **get() { return apsz_.data(); }
  static int Count() { return apszArguments.size(); }

 private:
  std::array<char *, apszArguments.size() + 1> apsz_ = {};
};

ULONG LibraryParse(std::vector<CMDOPTION> &acmdo) {
  Arguments arguments;
  CMDRESULT *pcmdr = CmdParseCmdLine(Arguments::Count(), arguments.get(), acmdo.data(), acmdo.size());
  const ULONG ulCode = pcmdr->ulCode;
  MemFreeMem_(pcmdr);
  return ulCode;
}

SETTINGS SettingsOf(const std::vector<CMDOPTION> &acmdo) {
  SETTINGS settings;
  std::size_t u = 0;
  for (const char *&psz : settings.apszFile) psz = acmdo[u++].value.pszValue;
  for (bool &f : settings.afFlag) f = acmdo[u++].value.ulValue;
  const auto Next = [&] { return acmdo[std::exchange(u, u + 2) + 1].value; }; // behind its switch
  for (LONG &l : settings.alNumber) l = Next().lValue;
  for (ULONG &ul : settings.aulMask) ul = Next().ulValue;
  for (double &d : settings.adReal) d = Next().dValue;
  settings.chLetter = Next().chValue;
  settings.pszText = Next().pszValue;
  return settings;
}

// Stores the value of a switch.
void Take(SETTINGS &settings, int iSwitch, const char *pszValue) {
  const auto Offset = [iSwitch](char chFirst) { return static_cast<std::size_t>(iSwitch - chFirst); };
  if (iSwitch < 'a')
    settings.afFlag[Offset('A')] = true;
  else if (iSwitch < 'e')
    settings.alNumber[Offset('a')] = std::strtol(pszValue, nullptr, 10);
  else if (iSwitch < 'g')
    settings.aulMask[Offset('e')] = std::strtoul(pszValue, nullptr, 16);
  else if (iSwitch < 'i')
    settings.adReal[Offset('g')] = std::strtod(pszValue, nullptr);
  else if (iSwitch == 'i')
    settings.chLetter = *pszValue;
  else
    settings.pszText = pszValue;
}

SETTINGS FloorParse() {
  Arguments arguments;
  SETTINGS settings;
  std::size_t uFiles = 0;
  for (char **ppsz = arguments.get() + 1; *ppsz; ppsz++) {
    if (**ppsz != '-') {
      settings.apszFile[uFiles++] = *ppsz;
    } else {
      const char ch = (*ppsz)[1];
      Take(settings, ch, ch >= 'a' ? *++ppsz : nullptr);
    }
  }
  return settings;
}

SETTINGS PeerParse() {
  static constexpr option aLong[] = {{"help", no_argument, nullptr, '?'}, {}};
  Arguments arguments;
  SETTINGS settings;
  optind = 0; // begins anew
  for (int i;
       (i = getopt_long(Arguments::Count(), arguments.get(), "ABCDEFGHa:b:c:d:e:f:g:h:i:j:", aLong, nullptr)) >= 0;)
    Take(settings, i, optarg);
  std::copy_n(arguments.get() + optind, iPositional, settings.apszFile.begin());
  return settings;
}
} // namespace

TEST_CASE("cmdline: 20 arguments") {
  auto acmdo = MakeTable();
  REQUIRE(LibraryParse(acmdo) == CMD_PARSED);
  REQUIRE(SettingsOf(acmdo) == FloorParse());
  REQUIRE(SettingsOf(acmdo) == PeerParse());
  const auto Run = [](SETTINGS (*pfnParse)()) {
    return [pfnParse] {
      SETTINGS settings = pfnParse();
      Touch(&settings);
    };
  };
  Measure({"cmdline: 20 arguments, 30 entries", 2.0, 0.7}, {[&] { LibraryParse(acmdo); }}, {Run(FloorParse)},
          {{Run(PeerParse), {}, "getopt_long"}});
}
