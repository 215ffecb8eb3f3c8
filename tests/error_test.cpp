// error_test.cpp: the output channels, the reporters, the error table and the panic log.

#include "zebbase/err.h"

#include <sys/resource.h>

#include <csignal>
#include <ctime>
#include <map>
#include <set>

#include "input.h"
#include "zebbase/tme.h"

namespace {
namespace fs = std::filesystem;
using Numbers = std::vector<ULONG>;

// What the program's functions have been given: texts, and the bytes of records.
Texts astrShown, astrSent;
Numbers aulSentWith;

ULONG Show(const char *pszText) { return astrShown.emplace_back(pszText).size(); }
ULONG Send(ULONG ulReserved, ULONG ulClass, ULONG ulCat, ULONG ulType, ERRRESOURCE *perrres,
           ULONG ulLength) {
  aulSentWith = {ulReserved, ulClass, ulCat, ulType, ulLength};
  astrSent.push_back(BytesOf(*perrres));
  return perrres->ulType;
}
BOOL Initialize(ULONG ulChannel, PFNERRPOPUP pfnShow = Show, PFNERRSEND pfnSend = Send) {
  if (ulChannel == ERR_TYPE_REMOTE)
    return ErrInitialize(ulChannel, nullptr, 11UL, 22UL, 33UL, pfnSend);
  if (ulChannel == ERR_TYPE_POPUP) return ErrInitialize(ulChannel, nullptr, 77UL, pfnShow);
  return ErrInitialize(ulChannel, nullptr, nullptr);
}

ULONG PutRecord(ULONG ulLink, ULONG ulLine) {
  ErrPutError(nullptr, 0, VERB_INFO, 100, "file", ulLine, &ulLink, "text %lu", ulLine);
  return ulLink;
}

// What holds before any test runs.
const ULONG ulSettingsAtLoad = fErrBusyInit | fPanicInit | ErrGetHAB();
const ULONG ulEntryAtLoad = PutRecord(0, 1);
const ULONG ulSentAtLoad =
    Initialize(ERR_TYPE_REMOTE) ? ErrPutError(nullptr, 0, 0, 0, "", 0, nullptr, nullptr) : 1;

// With an '@' for each time of the last minute, in a form of strftime.
std::string Timed(std::string str, const char *pszFormat = "%H%M%S") {
  for (std::time_t t = std::time(nullptr), tLast = t - 60; t > tLast; t--) {
    char sz[32];
    const std::size_t cb = std::strftime(sz, sizeof sz, pszFormat, std::gmtime(&t));
    for (std::size_t n; (n = str.find(sz)) != str.npos;) str.replace(n, cb, "@");
  }
  return str;
}

class ErrorTest : public FileTest {
 protected:
  std::string Line() { return Timed(out_.Take()); }

  Capture out_{stdout};
  Capture err_{stderr};
};

TEST_F(ErrorTest, ChannelsBeginWithTheTableAndAreThoseThatThereAre) {
  EXPECT_EQ(ulSettingsAtLoad + ulSentAtLoad, 0u);
  EXPECT_EQ(ulEntryAtLoad, 2u);
  EXPECT_STREQ(astrSent[0].c_str() + 289, "Unknown");
  EXPECT_EQ(Initialize(ERR_TYPE_POPUP), 1u);
  for (const ULONG ulChannel : {0UL, 7UL, 0xFFFFFFFFUL}) {
    EXPECT_EQ(ErrInitialize(ulChannel, nullptr) + PutRecord(7, 1), 0u);
    EXPECT_EQ(ErrDosError("file", 1, 5), 5u);
    EXPECT_EQ(out_.Take() + err_.Take(), "Unrecognized error type\n");
  }
  EXPECT_EQ(fErrBusyInit & fPanicInit, 1u);
  EXPECT_EQ(ErrGetHAB(), 77u) << "the settings of another channel stay";
  Initialize(ERR_TYPE_REMOTE);
  for (REALTIME rt : {0.0, -5.0}) { // sent with the time of now
    const REALTIME rtBefore = TmeGetRealTime();
    ErrPutError(nullptr, rt, VERB_ERROR, 0, nullptr, 1, nullptr, nullptr);
    std::memcpy(&rt, astrSent.back().data(), sizeof rt);
    EXPECT_TRUE(rt >= rtBefore && rt <= TmeGetRealTime()) << rt;
  }
}

TEST_F(ErrorTest, LinesShowEveryPartOfAReport) {
  const std::tuple<ULONG, ULONG, const char *, ULONG, const char *> aCase[] = {
      {VERB_ERROR, 9, "memory", 429, "@(  memory:0429)E0009 x\n"},
      {VERB_WARNING, 0, "src/dir/inipack.cpp", 12345, "@(inipack.:12345)W0000 x\n"},
      {VERB_INFO, 99, nullptr, 0xFFFFFFFF, "@( Unknown:4294967295)I0099 x\n"},
      {VERB_DEBUG, 4294967295, "dir/", 0, "@(        :0000)D4294967295 x\n"},
      {VERB_AREA1, 100, "/a", 1, "@(       a:0001)a0100 Open failed on file: x\n"},
      {VERB_AREA12, 101, "a", 1, "@(       a:0001)l0101 Read failed on file: x\n"},
      {0x0060, 102, "a", 1, "@(       a:0001)f0102 Write failed on file: x\n"},
      {0xC000, 103, "a", 1, "@(       a:0001)o0103 Malloc failed\n"},
      {0, 104, "a", 1, "@(       a:0001)?0104 Thread start failed for thread: x\n"},
      {VERB_ERROR, 105, "a", 1, "@(       a:0001)E0105 Font load failed for font: x\n"},
      {VERB_ERROR, 106, "a", 1, "@(       a:0001)E0106 Internal error\n"},
      {VERB_ERROR, 107, "a", 1, "@(       a:0001)E0107 Bad format in file: x\n"},
  };
  for (const auto &[ulSeverity, ulType, pszFile, ulLine, pszLine] : aCase) {
    EXPECT_EQ(ErrPutError("task", 1, ulSeverity, ulType, pszFile, ulLine, nullptr, "%c", 'x'), 1u);
    EXPECT_EQ(Line(), pszLine);
  }
  EXPECT_TRUE(!ErrGetMessage(0) && !ErrGetMessage(99) && !ErrGetMessage(108));
  EXPECT_TRUE(fs::is_empty("."));
}

TEST_F(ErrorTest, ReportersHandTheirValueBackAndAreHeardOnUnservedChannels) {
  for (const ULONG ulChannel : Numbers{ERR_TYPE_REMOTE, ERR_TYPE_POPUP, ERR_TYPE_CALLBACK}) {
    Initialize(ulChannel, nullptr, nullptr);
    EXPECT_EQ(ErrDosError("f", 1, 0) + ErrRcError("f", 1, 0), 0u);
    EXPECT_EQ(ErrNullError("f", 1, this), this);
    EXPECT_EQ(ErrBoolError("f", 1, 0x100), 0x100u);
    EXPECT_EQ(ErrDosError("f", 1, 4294967295), 4294967295);
    EXPECT_EQ(ErrRcError("f", 2, 5), 5u);
    EXPECT_EQ(ErrNullError("f", 3, nullptr), nullptr);
    EXPECT_EQ(ErrBoolError("f", 4, 0) + ErrAssertError("f", 5, "i == 1%s"), 0u);
    EXPECT_EQ("\n" + Timed(err_.Take()), R"(
@(       f:0001)E0003 4294967295 : No error text available
@(       f:0002)E0006 5 : Non-zero return code.
@(       f:0003)E0004 A NULL pointer was detected.
@(       f:0004)E0006 FALSE return code.
@(       f:0005)E0005 Failed: i == 1%s
)");
  }
}

TEST_F(ErrorTest, TheDailyLogIsOneFileForTaskAndDay) {
  for (const ULONG ulChannel : Numbers{ERR_TYPE_CONSOLE_LOG, ERR_TYPE_LOG}) {
    ErrInitialize(ulChannel, ulChannel == ERR_TYPE_LOG ? nullptr : "task"); // null keeps the name
    for (const char *pszTask : {static_cast<const char *>(nullptr), "task", "other"})
      ErrPutError(pszTask, 0, VERB_INFO, ulChannel, "file", 1, nullptr, "text");
  }
  const std::string str5 = "@(    file:0001)I0005 text\n", str6 = "@(    file:0001)I0006 text\n";
  EXPECT_EQ(Line(), str5 + str5 + str5);
  std::set<std::string> files; // names and contents
  for (const auto &entry : fs::directory_iterator("."))
    files.insert(Timed(entry.path(), "%Y%m%d") + "\n" + Timed(Contents(entry)));
  EXPECT_EQ(files, (std::set<std::string>{"./task.@.log\n" + str5 + str5 + str6 + str6,
                                          "./other.@.log\n" + str5 + str6}));
}

// Writes a line to the one file of the folder, with so many bytes in it at most. Result: all that
// is in it, with a '#' for each digit of the time.
std::string PutBelow(std::size_t cbMost, bool fPanic) {
  const rlimit limit = {cbMost, RLIM_INFINITY}, limitNone = {RLIM_INFINITY, RLIM_INFINITY};
  setrlimit(RLIMIT_FSIZE, &limit);
  fPanic ? ErrPanicError("text", "file", 1) : PutRecord(0, 1);
  setrlimit(RLIMIT_FSIZE, &limitNone);
  std::string str = Contents(*fs::directory_iterator("."));
  std::replace_if(str.begin(), str.end(), isdigit, '#');
  return str;
}

TEST_F(ErrorTest, ALineThatDoesNotFitLeavesTheNextOneItsOwn) {
  const auto pfnBefore = std::signal(SIGXFSZ, SIG_IGN);
  Initialize(ERR_TYPE_LOG);
  for (const bool fPanic : {false, true})
    for (std::size_t cb = 0, cbLine = 1; cb < cbLine; cb++) { // of the second line
      const std::string strLine = PutBelow(1000, fPanic);
      cbLine = strLine.size();
      PutBelow(cbLine + cb, fPanic);
      const std::string strTorn = cb > 0 ? strLine.substr(0, cb - 1) + "\n" : "";
      EXPECT_EQ(PutBelow(1000, fPanic), strLine + strTorn + strLine);
      fs::remove(*fs::directory_iterator("."));
    }
  std::signal(SIGXFSZ, pfnBefore);
}

TEST_F(ErrorTest, MessagesAreFormattedAsTheRuntimeDoes) {
  Reports reports;
  const auto Put = [](const char *pszFormat, auto... args) {
    ErrPutError(nullptr, 0, VERB_ERROR, 1, nullptr, 1, nullptr, pszFormat, args...);
  };
  char szCounting[] = "abc%n%d"; // in memory that can be written to
  int iCount = 0;
  Put(szCounting, &iCount, 5);
  EXPECT_EQ(iCount, 3);
  Put("at %2$s", "one", "two");
  Put("user %s failed: %ls!", "x", L"\x20AC"); // not a character of this locale
  Put("%ls", L"\x20AC");
  EXPECT_EQ(reports.Take(), (Texts{"abc5", "at two", "user x failed: ", ""}));
}

TEST_F(ErrorTest, TextsOfAnyLengthAreCutToFit) {
  const std::string strTask(10000, 'T');
  for (const ULONG cb :
       Numbers{0, 1, 12, 13, 14, 105, 106, 107, 255, 256, 257, 478, 479, 480, 511, 512, 10000}) {
    const std::string str(cb, 'x'), strFile = strTask + '/' + str, strMessage = str.substr(0, 511);
    const auto Put = [&](ULONG ulChannel, ULONG ulSeverity, ULONG ulType) {
      Initialize(ulChannel);
      return ErrPutError(strTask.c_str(), 1234567890.25, ulSeverity, ulType, strFile.c_str(),
                         0x12345678, nullptr, "%s", str.c_str());
    };
    EXPECT_EQ(Put(ERR_TYPE_CONSOLE_LOG, VERB_INFO, 1), 1u); // and no file system takes its name
    EXPECT_EQ(Line().substr(10), (":305419896)I0001 " + strMessage).substr(0, 511 - 15) + '\n');
    Put(ERR_TYPE_CONSOLE, VERB_INFO, 100);
    EXPECT_EQ(Line().substr(26), (" Open failed on file: " + str).substr(0, 128) + '\n');
    EXPECT_EQ(Put(ERR_TYPE_POPUP, VERB_ERROR, 1), 0u);
    EXPECT_EQ(astrShown.back(), (str + ":305419896 Win Error\n" + strMessage +
                                 "\nPress OK to continue or CANCEL to abort")
                                    .substr(0, 511));
    const ULONG ulEntry = Put(ERR_TYPE_POPUP, VERB_INFO, 1);
    EXPECT_EQ(ErrGetError(ulEntry)->szMessage, str.substr(0, 255));
    ErrClearError(ulEntry);
    EXPECT_EQ(Put(ERR_TYPE_REMOTE, VERB_ERROR, 6), 6u);
    ERRRESOURCE err = {1234567890.25, VERB_ERROR, 6, 0x12345678, "", "", "TTTTTTTT", {}};
    str.copy(err.achFile, sizeof err.achFile);
    strMessage.copy(err.achMessage, sizeof err.achMessage);
    err.achTask[8] = 'T';
    EXPECT_EQ(astrSent.back(), BytesOf(err));
    EXPECT_EQ(aulSentWith, (Numbers{0, 11, 22, 33, 300}));
    EXPECT_EQ(out_.Take(),
              "DdaSendResource failed with error 6\nThe following error was not sent:\n  Task: " +
                  strTask + "\n  File: " + str +
                  "\n  Line: 305419896\n  Time: 1234567890.250000\n  Sev : 32768\n  Err : 6\n" +
                  "  Msg : " + strMessage + "\n\n");
  }
  EXPECT_TRUE(fs::is_empty("."));
}

TEST_F(ErrorTest, CriticalErrorsAreShownAndNotKept) {
  const Texts astrKind = Split(
      "~Win Error~Gpi Error~Dos Error~Null Error~Assert Error~RC Error~Boolean Error~"
      "Critical Error~Memory Corrupt");
  Initialize(ERR_TYPE_POPUP);
  for (ULONG ulType = 0; ulType <= 100; ulType++) {
    astrShown = {""};
    const ULONG ul = ErrPutError(nullptr, 0, VERB_ERROR, ulType, "a/file", 12, nullptr, "text");
    const std::string strKind = ulType <= 9 ? astrKind[ulType] : "Error";
    const bool fCritical = ulType >= 1 && ulType <= 99;
    EXPECT_EQ(ul == 0, fCritical) << ulType;
    EXPECT_EQ(astrShown.back().find("file:12 " + strKind + "\ntext\nPress") == 0, fCritical);
  }
  EXPECT_GE(ErrPutError(nullptr, 0, VERB_ERROR | VERB_INFO, 1, "", 1, nullptr, "-"), 2u);
}

TEST_F(ErrorTest, TheTableHandsOutFreeEntriesInTurnUntilItIsFull) {
  Initialize(ERR_TYPE_POPUP);
  std::map<ULONG, Numbers> model; // the entries in use: severity, line and link
  ULONG ulNext = 0;               // the next free one; not known at first
  for (ULONG ul = 2; ul <= 50; ul++) ErrClearError(ul);
  for (ULONG i = 1; i <= 5000; i++) {
    const ULONG ul1 = Random(53), ul2 = Random(53);
    if (const auto uChoice = Random(5); uChoice == 0) {
      EXPECT_EQ(ErrClearError(ul1), 0u);
      model.erase(ul1);
    } else if (uChoice == 1) {
      EXPECT_EQ(ErrChangeError(ul1, i), 0u);
      if (model.count(ul1)) model[ul1][0] = i;
    } else if (uChoice == 2) {
      EXPECT_EQ(ErrLinkError(ul1, ul2), 0u);
      if (model.count(ul1) && model.count(ul2)) model[ul2][2] = ul1;
    } else if (model.size() < 40) {
      const ULONG ulLink = model.count(ul1) ? ul1 : 0, ulEntry = PutRecord(ul1, i);
      ASSERT_TRUE(ulNext == 0 || ulEntry == ulNext) << ulEntry;
      model[ulEntry] = {VERB_INFO, i, ulLink};
      for (ulNext = ulEntry; model.count(ulNext);) ulNext = ulNext < 50 ? ulNext + 1 : 2;
    }
    const ERRORBLOCK &erb = *ErrGetError(ul2);
    ASSERT_EQ(&erb == ErrGetError(1), model.count(ul2) == 0) << ul2;
    if (model.count(ul2) == 0) continue;
    ASSERT_EQ((Numbers{erb.ulSeverity, erb.ulLine, erb.ulLink}), model[ul2]) << ul2;
    ASSERT_EQ(erb.szMessage + std::to_string(erb.ulType) + erb.pszFile,
              "text " + std::to_string(erb.ulLine) + "100file");
  }
  const auto Fill = [&] {
    for (std::size_t n = model.size(); n < 49; n++) EXPECT_GE(PutRecord(0, 1), 2u);
    ErrClearError(2);
    EXPECT_EQ(PutRecord(3, 1), 1u);
    EXPECT_EQ(ErrLinkError(77, 1) + ErrLinkError(1, 1), 0u);
    const ERRORBLOCK &erb = *ErrGetError(0);
    EXPECT_EQ((Numbers{erb.ulSeverity, erb.ulType, erb.ulLine, erb.ulLink}),
              (Numbers{VERB_ERROR, 8, 0, 77}));
    EXPECT_EQ(std::string(erb.szMessage) + '/' + erb.pszFile, "Out of error space/error");
    _exit(HasFailure());
  };
  EXPECT_EXIT(Fill(), testing::ExitedWithCode(0), ""); // in another process: it is full for good
}

TEST_F(ErrorTest, PanicsAreAppendedToTheirLog) {
  const std::string strHuge(10000, 'x');
  std::string strExpected;
  for (ULONG ulChannel = 0; ulChannel <= 6; ulChannel++) {
    Initialize(ulChannel);
    out_.Take();
    EXPECT_EQ(ErrPanicError(strHuge.c_str(), "a/file", ulChannel), 0u);
    EXPECT_EQ(out_.Take(), ulChannel == 3 || ulChannel == 5 ? "Panic: " + strHuge + '\n' : "");
    strExpected += "@  - a/file:" + std::to_string(ulChannel) + " - " + strHuge + '\n';
  }
  ErrPanicError(nullptr, nullptr, 1);
  EXPECT_EQ(Timed(Contents("panic.log"), "%Y%m%d.%H%M%S"), strExpected + "@  - :1 - \n");
}
} // namespace
