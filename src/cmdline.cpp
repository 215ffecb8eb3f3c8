// cmdline.cpp: the command-line parser, driven by the caller's option table.

#include "zebbase/cmd.h"

#include <algorithm>
#include <cstddef>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <iterator>
#include <span>
#include <type_traits>

#include "cmdtable.h"
#include "digits.h"
#include "fraction.h"
#include "guard.h"
#include "memory.h"
#include "output.h"
#include "text.h"
#include "zebbase/fil.h"

static_assert(sizeof(CMDVALUE) == 8);
static_assert(sizeof(CMDOPTION) == 112 && offsetof(CMDOPTION, chSwitchId) == 8 && offsetof(CMDOPTION, fCase) == 12);
static_assert(offsetof(CMDOPTION, ulTypeCode) == 24 && offsetof(CMDOPTION, szConversion) == 28);
static_assert(offsetof(CMDOPTION, szArgumentName) == 33 && offsetof(CMDOPTION, szDefaultValue) == 63);
static_assert(offsetof(CMDOPTION, value) == 104);
static_assert(sizeof(CMDRESULT) == 84 && sizeof(CMDHELP) == 8);

namespace {
constexpr SOURCE source = "cmdline"; // in allocations

using Table = std::span<CMDOPTION>;

std::size_t ValueSize(const CMDOPTION &cmdo) { // by its type
  switch (cmdo.ulTypeCode) {
    case CMD_TYPE_CHARACTER:
      return sizeof(char);
    case CMD_TYPE_SHORT:
    case CMD_TYPE_USHORT:
      return sizeof(SHORT);
    case CMD_TYPE_DOUBLE:
      return sizeof(double);
    default:
      return sizeof(LONG);
  }
}

// Whether a conversion stores all it reads where it is told to: none with 'm', which allocates, or '$', which counts
// targets.
bool IsContained(const char *psz) {
  while ((psz = std::strchr(psz, '%')) != nullptr) {
    psz++;
    if (*psz == '%') {
      psz++;
      continue;
    }
    psz += std::strspn(psz, "*'I0123456789");
    if (*psz == 'm' || *psz == '$') return false;
  }
  return true;
}

// The program chooses the conversion, and four characters of it can store a long text, or have two targets ("%d%s"). So
// it stores into two targets with room for every text that it is shown, be it of wide characters. Plain conversions do
// without that room: it is not on their stack.
[[gnu::noinline]] bool ScanAnything(const char *pszText, const char *pszConversion, void *pvValue) {
  if (!IsContained(pszConversion)) return false;
  TextBuffer<FIL_MAX_PATH> text;
  if (std::strpbrk(pszConversion, "scSC[")) pszText = text.Put(pszText).Text();
  struct {
    alignas(std::max_align_t) char ach[FIL_MAX_PATH * sizeof(wchar_t)];
  } aTarget[2];
  std::memcpy(aTarget[0].ach, pvValue, sizeof(CMDVALUE));
  const PlainLocale plain;
  if (std::sscanf(pszText, pszConversion, aTarget[0].ach, aTarget[1].ach) != 1) return false;
  std::memcpy(pvValue, aTarget[0].ach, sizeof(CMDVALUE));
  return true;
}

// Zero in every member. The widest one says so: an empty list would clear the first alone.
constexpr CMDVALUE valueNone = {.dValue = 0};
static_assert(sizeof(valueNone.dValue) == sizeof(CMDVALUE));

// Stores as much of a value as the entry's type has.
void Store(CMDOPTION &cmdo, const CMDVALUE &value) {
  const std::size_t cb = ValueSize(cmdo);
  if (cb == sizeof(LONG)) // of most types
    cmdo.value.lValue = value.lValue;
  else
    std::memcpy(&cmdo.value, &value, cb);
}

// Stores what one of the library's scanners reads into one member of a value.
template <typename T, bool (*pfnScan)(const char *&psz, T &t), auto pMember>
bool ScanInto(const char *pszText, CMDVALUE &value) {
  T t;
  pszText = SkipSpace(pszText);
  if (!pfnScan(pszText, t)) return false;
  value.*pMember = static_cast<std::remove_reference_t<decltype(value.*pMember)>>(t);
  return true;
}

bool ScanCharacter(const char *pszText, CMDVALUE &value) {
  value.chValue = *pszText;
  return *pszText != '\0';
}

// The conversions that nearly every table has: they do as sscanf does, in a tenth of its time.
struct SCANNER {
  char szText[4];
  bool (*pfnScan)(const char *pszText, CMDVALUE &value);
};
constexpr SCANNER aScanner[] = {
    {"%ld", ScanInto<LONG, ScanLong, &CMDVALUE::lValue>},
    {"%lu", ScanInto<ULONG, ScanULong, &CMDVALUE::ulValue>},
    {"%lx", ScanInto<ULONG, ScanHex, &CMDVALUE::ulValue>},
    {"%lf", ScanInto<double, ScanReal, &CMDVALUE::dValue>},
    {"%f", ScanInto<float, ScanReal, &CMDVALUE::fltValue>},
    {"%hd", ScanInto<LONG, ScanLong, &CMDVALUE::sValue>},
    {"%hu", ScanInto<ULONG, ScanULong, &CMDVALUE::usValue>},
    {"%d", ScanInto<LONG, ScanLong, &CMDVALUE::lValue>},
    {"%u", ScanInto<ULONG, ScanULong, &CMDVALUE::ulValue>},
    {"%x", ScanInto<ULONG, ScanHex, &CMDVALUE::ulValue>},
    {"%c", ScanCharacter},
};

// Converts a text into an entry's value as sscanf would.
bool Scan(const char *pszText, CMDOPTION &cmdo) {
  CMDVALUE value = cmdo.value;
  const auto *pscanner = std::find_if(std::begin(aScanner), std::end(aScanner), [&](const SCANNER &c) {
    return std::memcmp(c.szText, cmdo.szConversion, sizeof c.szText) == 0;
  });
  const bool fPlain = pscanner != std::end(aScanner);
  if (!(fPlain ? pscanner->pfnScan(pszText, value) : ScanAnything(pszText, cmdo.szConversion, &value))) return false;
  Store(cmdo, value);
  return true;
}

} // namespace

bool SetDefault(CMDOPTION &cmdo) {
  if (cmdo.ulTypeCode >= ulOptionTypes) return false;
  if (!IsTerminated(cmdo.szConversion) || !IsTerminated(cmdo.szDefaultValue)) return false;
  if (cmdo.ulTypeCode == CMD_TYPE_STRING) {
    cmdo.value.pszValue = cmdo.szDefaultValue;
    return true;
  }
  Store(cmdo, valueNone);
  if (IsSwitch(cmdo)) cmdo.value.ulValue = 0; // read whole, also where the type is narrower
  return cmdo.ulTypeCode == CMD_TYPE_STRINGARRAY || *cmdo.szDefaultValue == '\0' || Scan(cmdo.szDefaultValue, cmdo);
}

namespace {
BOOLEAN IsYes(const char *psz) {
  constexpr std::string_view asvYes[] = {"true", "yes", "on"};
  for (const std::string_view sv : asvYes)
    if (CompareNoCase(psz, sv.data(), sv.size()) == 0) return 1;
  return 0;
}

// One parse. The steps give false where it ends early; the result record then says why.
class Matcher {
 public:
  Matcher(std::span<char *> apszArg, Table acmdo, CMDRESULT &cmdresult)
      : apszArg_(apszArg), acmdo_(acmdo), cmdresult_(cmdresult) {}

  void Run() {
    if (apszArg_.empty()) cmdresult_.ulCode = CMD_NO_ARGUMENTS;
    if (!AtEnd() && std::strcmp(Argument(), "-h") == 0)
      cmdresult_.ulCode = HelpCode();
    else if (SetDefaults() && MatchPrefix() && !AtEnd() && TakeFreePart())
      CheckGroups();
  }

 private:
  bool AtEnd() const { return ulArgument_ == apszArg_.size(); }
  char *Argument() const { return apszArg_[ulArgument_]; }
  bool AtSwitch() const { return *Argument() == '-'; }

  bool Fail(ULONG ulCode, const char *pszText, const char *pszArgument = "") {
    cmdresult_.ulCode = ulCode;
    Format(cmdresult_.szMessage, "%s%s", pszText, pszArgument);
    return false;
  }

  bool FailUnknown(char chSwitch) {
    const char szSwitch[] = {chSwitch, '\n', '\0'};
    return Fail(CMD_SYNTAX, "Unknown switch: -", szSwitch);
  }

  ULONG HelpCode() const {
    if (apszArg_.size() == 1) return CMD_SYNTAX;
    const char *pszTopic = apszArg_[1];
    if (std::strcmp(pszTopic, "full") == 0) return CMD_FULL_HELP;
    TopicNames names;
    for (const CMDOPTION &cmdo : acmdo_) {
      const char *pszName = names.NameNext(cmdo);
      if (*pszName && EqualNoCase(pszName, pszTopic)) return cmdo.ulHelpKey;
    }
    return CMD_SYNTAX;
  }

  bool SetDefaults() {
    for (CMDOPTION &cmdo : acmdo_)
      if (!SetDefault(cmdo)) return Fail(CMD_BAD_TABLE, "");
    return true;
  }

  // Takes the run of arguments up to the next switch as the array of an entry.
  bool AssignRun(CMDOPTION &cmdo) {
    ULONG ulRun = 0;
    while (ulArgument_ + ulRun < apszArg_.size() && *apszArg_[ulArgument_ + ulRun] != '-') ulRun++;
    if (ulRun == 0) return false;
    auto **ppsz = static_cast<char **>(AllocateMem((ulRun + 1) * sizeof(char *), source));
    if (!ppsz) return false;
    std::memcpy(ppsz, &apszArg_[ulArgument_], ulRun * sizeof(char *)); // the block ends with a null pointer
    cmdo.value.apszValue = ppsz;
    ulArgument_ += ulRun;
    return true;
  }

  // Takes the next argument, or the run that starts there, as the value of an entry.
  bool Assign(CMDOPTION &cmdo) {
    switch (cmdo.ulTypeCode) {
      case CMD_TYPE_STRINGARRAY:
        return AssignRun(cmdo);
      case CMD_TYPE_STRING:
        if (AtSwitch()) return false;
        cmdo.value.pszValue = Argument();
        break;
      case CMD_TYPE_BOOLEAN:
        cmdo.value.fValue = IsYes(Argument());
        break;
      default:
        if (!Scan(Argument(), cmdo)) return false;
    }
    ulArgument_++;
    return true;
  }

  bool AssignPositional(CMDOPTION &cmdo) {
    const char *pszArgument = Argument();
    return Assign(cmdo) || Fail(cmdo.ulHelpKey, "Error converting: ", pszArgument);
  }

  bool MatchPrefix() {
    while (ulEntry_ < acmdo_.size() && acmdo_[ulEntry_].fMandatory) {
      if (AtEnd()) return Fail(CMD_SYNTAX, "Missing mandatory argument.");
      if (!MatchMandatory()) return false;
      while (GroupGoesOn(acmdo_, ulEntry_)) ulEntry_++;
      ulEntry_++;
    }
    return true;
  }

  // Matches the next argument with the current entry, or else with the first of its group that it suits.
  bool MatchMandatory() {
    for (;; ulEntry_++) {
      CMDOPTION &cmdo = acmdo_[ulEntry_];
      if (AtSwitch() && IsSwitch(cmdo) && Argument()[1] == cmdo.chSwitchId) {
        cmdo.value.ulValue = 1;
        ulArgument_++;
        return true;
      }
      if (KindOf(cmdo) == Kind::Positional) return AssignPositional(cmdo);
      if (!GroupGoesOn(acmdo_, ulEntry_)) return Fail(CMD_SYNTAX, "Unexpected parameter: ", Argument());
    }
  }

  // Notes the first switch of each character among the entries behind the prefix. From there on the current entry only
  // moves over positional arguments, so no switch drops out.
  void IndexSwitches() {
    std::memset(aulSwitch_, 0, sizeof aulSwitch_);
    for (ULONG ulNumber = acmdo_.size(); ulNumber > ulEntry_; ulNumber--) {
      const CMDOPTION &cmdo = acmdo_[ulNumber - 1];
      if (IsSwitch(cmdo)) aulSwitch_[static_cast<unsigned char>(cmdo.chSwitchId)] = ulNumber;
    }
  }

  bool TakeFreePart() {
    IndexSwitches();
    while (!AtEnd())
      if (!(AtSwitch() ? TakeSwitch() : TakePositional())) return false;
    return true;
  }

  bool TakePositional() {
    if (ulEntry_ == acmdo_.size() || KindOf(acmdo_[ulEntry_]) != Kind::Positional)
      return Fail(CMD_SYNTAX, "Bad parameter: ", Argument());
    return AssignPositional(acmdo_[ulEntry_++]);
  }

  bool TakeSwitch() {
    const char *pszArgument = Argument();
    const ULONG ulNumber = aulSwitch_[static_cast<unsigned char>(pszArgument[1])];
    if (ulNumber == 0) return FailUnknown(pszArgument[1]);
    CMDOPTION &cmdo = acmdo_[ulNumber - 1];
    if (cmdo.fMandatory) return Fail(cmdo.ulHelpKey, "Invalid use of mandatory switch: ", pszArgument);
    if (cmdo.value.ulValue) return Fail(cmdo.ulHelpKey, "Same switch specified twice: ", pszArgument);
    cmdo.value.ulValue = 1;
    ulArgument_++;
    return TakeSwitchArguments(ulNumber - 1);
  }

  bool TakeSwitchArguments(ULONG ulSwitch) {
    for (ULONG ul = ulSwitch; ArgumentFollows(acmdo_, ul); ul++) {
      CMDOPTION &cmdo = acmdo_[ul + 1];
      if (AtEnd() || AtSwitch()) return !cmdo.fMandatory || Fail(cmdo.ulHelpKey, "Missing switch argument");
      const char *pszArgument = Argument();
      if (!Assign(cmdo)) return Fail(cmdo.ulHelpKey, "Format error: ", pszArgument);
    }
    return true;
  }

  bool CheckGroups() {
    for (ULONG ul = 0; ul < acmdo_.size(); ul++) {
      if (!IsGivenOfGroup(acmdo_[ul])) continue;
      for (const CMDOPTION &cmdo : acmdo_.subspan(ul + 1))
        if (IsGivenOfGroup(cmdo) && cmdo.ulExclusiveGroup == acmdo_[ul].ulExclusiveGroup)
          return Fail(cmdo.ulHelpKey, "Second instance of mutually exclusive switches");
    }
    return true;
  }

  static bool IsGivenOfGroup(const CMDOPTION &cmdo) {
    return cmdo.ulExclusiveGroup != 0 && cmdo.value.ulValue != 0 && IsSwitch(cmdo);
  }

  const std::span<char *> apszArg_; // without the program's name
  const Table acmdo_;
  CMDRESULT &cmdresult_;
  ULONG ulArgument_ = 0; // the next argument
  ULONG ulEntry_ = 0;    // the current entry of the prefix, then of the positional arguments
  ULONG aulSwitch_[256]; // the numbers of entries, counted from 1, by the characters of switches; 0 for none
};

std::span<char *> ArgumentsOf(LONG argc, char **argv) {
  if (!argv || argc < 1) return {};
  ULONG ulEnd = 1; // argc may be larger than the vector
  while (ulEnd < static_cast<ULONG>(argc) && argv[ulEnd]) ulEnd++;
  return {argv + 1, ulEnd - 1};
}

} // namespace

CMDRESULT *CmdParseCmdLine(LONG argc, char **argv, CMDOPTION *pcmdo, ULONG ulCount) {
  auto *pcmdresult = New<CMDRESULT>(source);
  if (!pcmdresult) return nullptr;
  if (pcmdo || ulCount == 0)
    Matcher(ArgumentsOf(argc, argv), Table(pcmdo, ulCount), *pcmdresult).Run();
  else
    pcmdresult->ulCode = CMD_BAD_TABLE;
  return pcmdresult;
}
