// cmdline.cpp: a command line of 20 arguments for a table of 30 entries.

#include <getopt.h>

#include <algorithm>
#include <array>
#include <cstdlib>
#include <cstring>

#include "bench.h"
#include "zebbase/cmd.h"
#include "zebbase/mem.h"

namespace {
constexpr int iFlags = 8;      // -A to -H
constexpr int iValues = 10;    // -a number to -j number
constexpr int iPositional = 2; // the names of files
constexpr ULONG ulEntries = iPositional + iFlags + 2 * iValues;
static_assert(ulEntries == 30);

struct SETTINGS {
  std::array<const char *, iPositional> apszFile = {};
  std::array<bool, iFlags> afFlag = {};
  std::array<LONG, iValues> alValue = {};
  bool operator==(const SETTINGS &) const = default;
};

constexpr std::array<const char *, 21> apszArguments = {
    "program", "input.txt", "output.txt", "-A", "-c", "12345", "-B", "-e",  "7",  "-a", "1",
    "-H",      "-j",        "1000000",    "-G", "-d", "42",    "-f", "800", "-C", "-D"};

CMDOPTION Entry(bool fFlag, char chSwitchId, ULONG ulType, const char *pszConversion) {
  CMDOPTION cmdo = {};
  cmdo.fFlag = fFlag;
  cmdo.chSwitchId = chSwitchId;
  cmdo.ulHelpKey = HLP;
  cmdo.ulTypeCode = ulType;
  std::strcpy(cmdo.szConversion, pszConversion);
  return cmdo;
}

std::vector<CMDOPTION> MakeTable() {
  std::vector<CMDOPTION> acmdo(iPositional, Entry(false, '\0', CMD_TYPE_STRING, "%s"));
  for (int i = 0; i < iFlags; i++) acmdo.push_back(Entry(true, static_cast<char>('A' + i), CMD_TYPE_BOOLEAN, "%lu"));
  for (int i = 0; i < iValues; i++) {
    acmdo.push_back(Entry(true, static_cast<char>('a' + i), CMD_TYPE_BOOLEAN, "%lu"));
    acmdo.push_back(Entry(false, static_cast<char>('a' + i), CMD_TYPE_LONG, "%ld"));
  }
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
  for (std::size_t u = 0; u < iPositional; u++) settings.apszFile[u] = acmdo[u].value.pszValue;
  for (std::size_t u = 0; u < iFlags; u++) settings.afFlag[u] = acmdo[iPositional + u].value.ulValue;
  for (std::size_t u = 0; u < iValues; u++) settings.alValue[u] = acmdo[iPositional + iFlags + 2 * u + 1].value.lValue;
  return settings;
}

void Take(SETTINGS &settings, int iSwitch, const char *pszValue) {
  if (iSwitch >= 'a')
    settings.alValue[static_cast<std::size_t>(iSwitch - 'a')] = std::strtol(pszValue, nullptr, 10);
  else
    settings.afFlag[static_cast<std::size_t>(iSwitch - 'A')] = true;
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
