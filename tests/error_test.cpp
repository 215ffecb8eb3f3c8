// error_test.cpp: the output channels, the reporters, the error table and the panic log.

#include "zebbase/err.h"

#include <sys/resource.h>

#include <csignal>
#include <ctime>
#include <map>

#include "input.h"
#include "zebbase/tme.h"

namespace {
namespace fs = std::filesystem;
using Numbers = std::vector<ULONG>;

// What the program's functions have been given.
std::vector<std::string> astrShown;
std::vector<std::string> astrSent; // the bytes of the records
Numbers aulSentWith;
ULONG ulSendResult;

ULONG Show(const char *pszText) { return astrShown.emplace_back(pszText).size(); }
ULONG Send(ULONG ulReserved, ULONG ulClass, ULONG ulCat, ULONG ulType, ERRRESOURCE *perrres,
           ULONG ulLength) {
  aulSentWith = {ulReserved, ulClass, ulCat, ulType};
  astrSent.emplace_back(reinterpret_cast<const char *>(perrres), ulLength);
  return ulSendResult;
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
struct LOADSTATE {
  ULONG ulSettings = fErrBusyInit | fPanicInit | ErrGetHAB();
  ULONG ulEntry = PutRecord(0, 1);
  ULONG ulResult = Initialize(ERR_TYPE_REMOTE) ? PutRecord(0, 1) : 1;
  std::string strSent = astrSent[0];
} const loadState;

std::string BytesOf(const auto &value) {
  return {reinterpret_cast<const char *>(&value), sizeof value};
}

// A text whose lines begin with the time, in a form of strftime, with an '@' for each time of the last minute.
std::string Lines(const std::string &strText, const char *pszFormat = "%H%M%S") {
  std::istringstream text(strText);
  std::string strResult;
  for (std::string strLine; std::getline(text, strLine);
       strResult += text.eof() ? strLine : strLine + '\n') {
    for (std::time_t t = std::time(nullptr), tLast = t - 60; t > tLast; t--) {
      char sz[32];
      const std::size_t cb = std::strftime(sz, sizeof sz, pszFormat, std::gmtime(&t));
      if (strLine.compare(0, cb, sz) == 0) strLine.replace(0, cb, "@");
    }
  }
  return strResult;
}

class ErrorTest : public FileTest {
 protected:
  void SetUp() override {
    FileTest::SetUp();
    ulSendResult = 0;
    for (ULONG ul = 2; ul <= 50; ul++) ErrClearError(ul);
  }
  std::string Line() { return Lines(out_.Take()); }

  Capture out_{stdout};
  Capture err_{stderr};
};

TEST_F(ErrorTest, ChannelsBeginWithTheTableAndServeOnlyWhatTheyCan) {
  EXPECT_EQ(loadState.ulSettings, 0u);
  EXPECT_EQ(loadState.ulEntry, 2u);
  EXPECT_STREQ(loadState.strSent.c_str() + 289, "Unknown");
  for (const ULONG ulChannel : Numbers{ERR_TYPE_REMOTE, ERR_TYPE_POPUP, ERR_TYPE_CALLBACK}) {
    Initialize(ulChannel, nullptr, nullptr);
    ErrBoolError("file", 1, 0);
    EXPECT_NE(err_.Take().find("(    file:0001)E0006 FALSE return code.\n"), std::string::npos);
  }
  EXPECT_EQ(Initialize(ERR_TYPE_POPUP), 1u);
  for (const ULONG ulChannel : {0UL, 7UL, 0xFFFFFFFFUL}) {
    EXPECT_EQ(ErrInitialize(ulChannel, nullptr), 0u);
    EXPECT_EQ(out_.Take(), "Unrecognized error type\n");
    EXPECT_EQ(PutRecord(7, 1), 0u);
    EXPECT_EQ(ErrDosError("file", 1, 5), 5u);
  }
  EXPECT_EQ(out_.Take() + err_.Take(), "");
  EXPECT_EQ(fErrBusyInit & fPanicInit, 1u);
  EXPECT_EQ(ErrGetHAB(), 77u) << "the settings of another channel stay";
  Initialize(ERR_TYPE_REMOTE);
  for (REALTIME rt : {0.0, -5.0}) { // sent with the time of now
    const REALTIME rtBefore = TmeGetRealTime();
    ErrPutError(nullptr, rt, VERB_ERROR, 1, nullptr, 1, nullptr, nullptr);
    std::memcpy(&rt, astrSent.back().data(), sizeof rt);
    EXPECT_TRUE(rt >= rtBefore && rt <= TmeGetRealTime()) << rt;
  }
}

TEST_F(ErrorTest, LinesShowEveryPartOfAReport) {
  const struct {
    ULONG ulSeverity, ulType;
    const char *pszFile;
    ULONG ulLine;
    const char *pszLine;
  } aCases[] = {
      {VERB_ERROR, 9, "memory", 429, "@(  memory:0429)E0009 x\n"},
      {VERB_WARNING, 0, "src/dir/inipack.cpp", 12345, "@(inipack.:12345)W0000 x\n"},
      {VERB_INFO, 99, nullptr, 0xFFFFFFFF, "@( Unknown:4294967295)I0099 x\n"},
      {VERB_DEBUG, 108, "dir/", 0, "@(        :0000)D0108 x\n"},
      {VERB_AREA1, 4294967295, "/a", 1, "@(       a:0001)a4294967295 x\n"},
      {VERB_AREA12, 100, "a", 1, "@(       a:0001)l0100 Open failed on file: x\n"},
      {0x0060, 101, "a", 1, "@(       a:0001)f0101 Read failed on file: x\n"},
      {0xC000, 102, "a", 1, "@(       a:0001)o0102 Write failed on file: x\n"},
      {VERB_ERROR, 103, "a", 1, "@(       a:0001)E0103 Malloc failed\n"},
      {VERB_ERROR, 104, "a", 1, "@(       a:0001)E0104 Thread start failed for thread: x\n"},
      {VERB_ERROR, 105, "a", 1, "@(       a:0001)E0105 Font load failed for font: x\n"},
      {VERB_ERROR, 106, "a", 1, "@(       a:0001)E0106 Internal error\n"},
      {0, 107, "a", 1, "@(       a:0001)?0107 Bad format in file: x\n"},
  };
  for (const auto &c : aCases) {
    EXPECT_EQ(
        ErrPutError("task", 1, c.ulSeverity, c.ulType, c.pszFile, c.ulLine, nullptr, "%c", 'x'),
        1u);
    EXPECT_EQ(Line(), c.pszLine);
  }
  for (const ULONG ul : {0UL, 99UL, 108UL, 0xFFFFFFFFUL})
    EXPECT_EQ(ErrGetMessage(ul), nullptr) << ul;
  EXPECT_TRUE(fs::is_empty("."));
}

TEST_F(ErrorTest, ReportersHandTheirValueBack) {
  EXPECT_EQ(ErrDosError("f", 1, 0) + ErrRcError("f", 1, 0), 0u);
  EXPECT_EQ(ErrNullError("f", 1, this), this);
  EXPECT_EQ(ErrBoolError("f", 1, 0x100), 0x100u);
  EXPECT_EQ(out_.Take(), "");
  EXPECT_EQ(ErrDosError("f", 1, 4294967295), 4294967295);
  EXPECT_EQ(ErrRcError("f", 2, 5), 5u);
  EXPECT_EQ(ErrNullError("f", 3, nullptr), nullptr);
  EXPECT_EQ(ErrBoolError("f", 4, 0) + ErrAssertError("f", 5, "i == 1%s"), 0u);
  EXPECT_EQ(Line(),
            "@(       f:0001)E0003 4294967295 : No error text available\n"
            "@(       f:0002)E0006 5 : Non-zero return code.\n"
            "@(       f:0003)E0004 A NULL pointer was detected.\n"
            "@(       f:0004)E0006 FALSE return code.\n"
            "@(       f:0005)E0005 Failed: i == 1%s\n");
}

TEST_F(ErrorTest, TheDailyLogIsOneFileForTaskAndDay) {
  for (const ULONG ulChannel : Numbers{ERR_TYPE_CONSOLE_LOG, ERR_TYPE_LOG}) {
    ErrInitialize(ulChannel, ulChannel == ERR_TYPE_LOG ? nullptr : "task"); // null keeps the name
    for (const char *pszTask : {"", "task", "other"})
      ErrPutError(*pszTask ? pszTask : nullptr, 0, VERB_INFO, ulChannel, "file", 1, nullptr,
                  "text");
  }
  const std::string str5 = "@(    file:0001)I0005 text\n", str6 = "@(    file:0001)I0006 text\n";
  EXPECT_EQ(Line(), str5 + str5 + str5);
  std::map<std::string, std::string> files; // by name, where the date follows the task
  for (const auto &entry : fs::directory_iterator(".")) {
    const std::string strName = entry.path().filename(),
                      strTask = strName.substr(0, strName.find('.'));
    files[strTask + Lines(strName.substr(strTask.size()), ".%Y%m%d")] =
        Lines(Contents(entry.path()));
  }
  EXPECT_EQ(files, (decltype(files){{"task@.log", str5 + str5 + str6 + str6},
                                    {"other@.log", str5 + str6}}));
}

TEST_F(ErrorTest, ALineThatDoesNotFitLeavesTheNextOneItsOwn) {
  const auto PutBelow = [](ULONG ulMost, bool fPanic) { // with so many bytes in the file at most
    const rlimit limit = {ulMost, RLIM_INFINITY}, limitNone = {RLIM_INFINITY, RLIM_INFINITY};
    setrlimit(RLIMIT_FSIZE, &limit);
    if (fPanic)
      ErrPanicError("text", "file", 1);
    else
      ErrPutError(nullptr, 0, VERB_INFO, 1, "file", 1, nullptr, "text");
    setrlimit(RLIMIT_FSIZE, &limitNone);
  };
  const auto pfnBefore = std::signal(SIGXFSZ, SIG_IGN);
  Initialize(ERR_TYPE_LOG);
  for (const bool fPanic : {false, true}) {
    std::size_t cbLine = 1;
    for (std::size_t cb = 0; cb < cbLine; cb++) { // of the second line
      PutBelow(1000, fPanic);
      const fs::path path = fs::directory_iterator(".")->path();
      cbLine = Contents(path).size();
      PutBelow(cbLine + cb, fPanic);
      PutBelow(1000, fPanic);
      const std::string str = Contents(path);
      EXPECT_EQ(str.size(), 2 * cbLine + cb);
      for (const std::size_t cbEnd : {cbLine, cbLine + cb, str.size()})
        EXPECT_EQ(str[cbEnd - 1], '\n') << str;
      EXPECT_EQ(std::count(str.begin(), str.end(), '\n'), cb > 0 ? 3 : 2) << str;
      fs::remove(path);
    }
  }
  std::signal(SIGXFSZ, pfnBefore);
}

TEST_F(ErrorTest, MessagesAreFormattedAsTheRuntimeDoes) {
  Reports reports;
  const auto Formatted = [&](const char *pszFormat, auto... args) {
    ErrPutError(nullptr, 0, VERB_ERROR, 1, nullptr, 1, nullptr, pszFormat, args...);
    return reports.Take()[0];
  };
  char szCounting[] = "abc%n%d"; // in memory that can be written to
  int iCount = 0;
  EXPECT_EQ(Formatted(szCounting, &iCount, 5), "abc5");
  EXPECT_EQ(iCount, 3);
  EXPECT_EQ(Formatted("at %2$s", "one", "two"), "at two");
  EXPECT_EQ(Formatted("user %s failed: %ls!", "x", L"\x20AC"), "user x failed: ")
      << "not a character of this locale";
  EXPECT_EQ(Formatted("%ls", L"\x20AC"), "");
}

TEST_F(ErrorTest, TextsOfAnyLengthAreCutToFit) {
  const std::string strTask(10000, 'T');
  const double dTime = 1234567890.25;
  for (const ULONG cb :
       Numbers{0, 1, 12, 13, 14, 105, 106, 107, 255, 256, 257, 478, 479, 480, 511, 512, 10000}) {
    const std::string str(cb, 'x'), strFile = strTask + '/' + str, strMessage = str.substr(0, 511);
    const auto Put = [&](ULONG ulChannel, ULONG ulSeverity, ULONG ulType) {
      Initialize(ulChannel);
      return ErrPutError(strTask.c_str(), dTime, ulSeverity, ulType, strFile.c_str(), 0x12345678,
                         nullptr, "%s", str.c_str());
    };
    const std::string strHead =
        '(' + std::string(cb < 8 ? 8 - cb : 0, ' ') + str.substr(0, 8) + ":305419896)I0001 ";
    EXPECT_EQ(Put(ERR_TYPE_LOG, VERB_INFO, 1) & Put(ERR_TYPE_CONSOLE_LOG, VERB_INFO, 1), 1u);
    EXPECT_EQ(Line(), '@' + (strHead + strMessage).substr(0, 511 - 6) + '\n');
    EXPECT_TRUE(fs::is_empty(".")) << "no file system takes this name";
    Put(ERR_TYPE_CONSOLE, VERB_INFO, 100);
    EXPECT_EQ(Line().substr(strHead.size() + 1),
              ("Open failed on file: " + str).substr(0, 127) + '\n');
    Reports reports;
    ErrPutError(nullptr, 0, VERB_ERROR, 1, nullptr, 1, nullptr, "%s", str.c_str());
    EXPECT_EQ(reports.Take(), std::vector<std::string>{strMessage});
    EXPECT_EQ(Put(ERR_TYPE_POPUP, VERB_ERROR, 1), 0u);
    const std::string strText =
        str + ":305419896 Win Error\n" + strMessage + "\nPress OK to continue or CANCEL to abort";
    EXPECT_EQ(astrShown.back(), strText.substr(0, 511));
    const ULONG ulEntry = Put(ERR_TYPE_POPUP, VERB_INFO, 1);
    EXPECT_EQ(ErrGetError(ulEntry)->szMessage, str.substr(0, 255));
    ErrClearError(ulEntry);
    ulSendResult = 7;
    EXPECT_EQ(Put(ERR_TYPE_REMOTE, VERB_ERROR, 6), 7u);
    const auto Padded = [](std::string strField, std::size_t cbField) {
      return strField.resize(cbField), strField;
    };
    const std::uint32_t auHead[] = {VERB_ERROR, 6, 0x12345678};
    EXPECT_EQ(astrSent.back().substr(0, 298), BytesOf(dTime) + BytesOf(auHead) + Padded(str, 13) +
                                                  Padded(strMessage, 256) + "TTTTTTTTT");
    EXPECT_EQ(astrSent.back().size(), 300u);
    EXPECT_EQ(aulSentWith, (Numbers{0, 11, 22, 33}));
    EXPECT_EQ(out_.Take(),
              "DdaSendResource failed with error 7\nThe following error was not sent:\n  Task: " +
                  strTask + "\n  File: " + str +
                  "\n  Line: 305419896\n  Time: 1234567890.250000\n  Sev : 32768\n  Err : 6\n" +
                  "  Msg : " + strMessage + "\n\n");
  }
}

TEST_F(ErrorTest, CriticalErrorsAreShownAndNotKept) {
  const auto astrKinds = Split(
      "Win Error~Gpi Error~Dos Error~Null Error~Assert Error~RC Error~Boolean Error~Critical "
      "Error~Memory Corrupt");
  Initialize(ERR_TYPE_POPUP);
  for (ULONG ulType = 0; ulType <= 100; ulType++) {
    astrShown = {"nothing"};
    const ULONG ulResult =
        ErrPutError(nullptr, 0, VERB_ERROR, ulType, "a/file", 12, nullptr, "text");
    EXPECT_EQ(astrShown.size(), ulType >= 1 && ulType <= 99 ? 2u : 1u) << ulType;
    EXPECT_EQ(ulResult == 0, ulType >= 1 && ulType <= 99) << ulType;
    const std::string strName =
        ulType >= 1 && ulType <= 9 ? astrKinds[ulType - 1] : "Error"; // or no name
    EXPECT_EQ(astrShown.back().find("file:12 " + strName + "\ntext\nPress OK to") == 0,
              astrShown.size() == 2)
        << ulType;
  }
  EXPECT_GE(ErrPutError(nullptr, 0, VERB_ERROR | VERB_INFO, 1, "", 1, nullptr, "-"), 2u);
}

TEST_F(ErrorTest, TheTableHandsOutFreeEntriesInTurn) {
  Initialize(ERR_TYPE_POPUP);
  std::map<ULONG, ERRORBLOCK> model; // the entries in use
  ULONG ulNext = 0;                  // the next free one; not known at first
  for (ULONG i = 1; i <= 5000; i++) {
    const ULONG ul1 = Random(53), ul2 = Random(53);
    if (const auto uChoice = Random(5); uChoice == 0) {
      EXPECT_EQ(ErrClearError(ul1), 0u);
      model.erase(ul1);
    } else if (uChoice == 1) {
      EXPECT_EQ(ErrChangeError(ul1, i), 0u);
      if (model.count(ul1)) model[ul1].ulSeverity = i;
    } else if (uChoice == 2) {
      EXPECT_EQ(ErrLinkError(ul1, ul2), 0u);
      if (model.count(ul1) && model.count(ul2)) model[ul2].ulLink = ul1;
    } else if (model.size() < 40) {
      const ULONG ulEntry = PutRecord(ul1, i);
      ASSERT_TRUE(ulNext == 0 || ulEntry == ulNext) << ulEntry;
      model[ulEntry] = {VERB_INFO, 100,    "",
                        i,         "file", model.count(ul1) && ul1 != ulEntry ? ul1 : 0};
      for (ulNext = ulEntry; model.count(ulNext);) ulNext = ulNext < 50 ? ulNext + 1 : 2;
    }
    const ERRORBLOCK &erb = *ErrGetError(ul2);
    ASSERT_EQ(&erb == ErrGetError(1), model.count(ul2) == 0) << ul2;
    if (model.count(ul2) == 0) continue;
    ASSERT_EQ(erb.szMessage, "text " + std::to_string(model[ul2].ulLine));
    ASSERT_TRUE(erb.ulSeverity == model[ul2].ulSeverity && erb.ulType == 100 &&
                erb.ulLine == model[ul2].ulLine)
        << ul2;
    ASSERT_TRUE(erb.ulLink == model[ul2].ulLink && std::string(erb.pszFile) == "file") << ul2;
  }
}

TEST_F(ErrorTest, AFullTableStaysFull) {
  Initialize(ERR_TYPE_POPUP);
  const auto Fill = [] {
    const ULONG ulFirst = PutRecord(0, 0);
    for (ULONG ul = 1; ul < 49; ul++) EXPECT_EQ(PutRecord(0, ul), (ulFirst - 2 + ul) % 49 + 2);
    for (const ULONG ulCleared : {0UL, 2UL, 50UL})
      EXPECT_EQ((ErrClearError(ulCleared), PutRecord(3, 1)), 1u);
    EXPECT_EQ(ErrLinkError(77, 1) + ErrLinkError(1, 1), 0u);
    const ERRORBLOCK &erb = *ErrGetError(0);
    EXPECT_TRUE(erb.ulSeverity == VERB_ERROR && erb.ulType == 8 && erb.ulLine == 0 &&
                erb.ulLink == 77);
    EXPECT_EQ(std::string(erb.szMessage) + '/' + erb.pszFile, "Out of error space/error");
    _exit(HasFailure());
  };
  EXPECT_EXIT(Fill(), testing::ExitedWithCode(0),
              ""); // in a process of its own: the table is full for good
}

TEST_F(ErrorTest, PanicsAreAppendedToTheirLog) {
  const std::string strHuge(10000, 'x');
  std::string strExpected;
  for (ULONG ulChannel = 0; ulChannel <= 6; ulChannel++) {
    Initialize(ulChannel);
    out_.Take();
    EXPECT_EQ(ErrPanicError(strHuge.c_str(), "a/file", ulChannel), 0u);
    EXPECT_EQ(out_.Take(), ulChannel == 3 || ulChannel == 5 ? "Panic: " + strHuge + '\n' : "")
        << ulChannel;
    strExpected += "@  - a/file:" + std::to_string(ulChannel) + " - " + strHuge + '\n';
  }
  ErrPanicError(nullptr, nullptr, 1);
  EXPECT_EQ(Lines(Contents("panic.log"), "%Y%m%d.%H%M%S"), strExpected + "@  - :1 - \n");
}
} // namespace
