// error.cpp: an error line to the daily log. The floor has the line ready; it only opens, writes and closes.

#include <fcntl.h>
#include <unistd.h>

#include <cstdio>
#include <ctime>
#include <filesystem>
#include <string_view>

#include "bench.h"
#include "zebbase/err.h"
#include "zebbase/tme.h"

namespace {
constexpr ULONG ulLine = 1234;
constexpr ULONG ulKind = 42;
constexpr char szArgument[] = "config.ini";
constexpr std::string_view svLine = "000000(error.cp:1234)W0042 Value out of range in file: config.ini\n";

void LibraryReport() {
  ErrPutError(nullptr, 0, VERB_WARNING, ulKind, "src/error.cp", ulLine, nullptr, "Value out of range in file: %s",
              szArgument);
}

void FloorReport() {
  const int iFile = open("floor.log", O_WRONLY | O_CREAT | O_APPEND, 0666);
  if (write(iFile, svLine.data(), svLine.size()) < 0) std::perror("floor.log");
  close(iFile);
}

void PeerReport() {
  const time_t t = std::time(nullptr);
  tm tm;
  gmtime_r(&t, &tm);
  char szLog[32], szTime[16];
  std::strftime(szLog, sizeof szLog, "peer.%Y%m%d.log", &tm);
  std::strftime(szTime, sizeof szTime, "%H%M%S", &tm);
  FILE *pf = std::fopen(szLog, "a");
  std::fprintf(pf, "%s(%8.8s:%04lu)%c%04lu Value out of range in file: %s\n", szTime, "error.cp", ulLine, 'W', ulKind,
               szArgument);
  std::fclose(pf);
}

std::string DailyLog(const char *pszTask) {
  char szNow[TME_ALT_STRING_SIZE];
  return pszTask + std::string(TmeRealTimeToAltString(TmeGetRealTime(), szNow), 8) + ".log";
}

std::string WithoutTime(const std::string &strFile) { return ReadFile(strFile).substr(6); }
} // namespace

TEST_CASE("error: line to the daily log") {
  const auto pathBefore = std::filesystem::current_path();
  std::filesystem::current_path(std::filesystem::path(ScratchFile("x")).parent_path());
  ErrInitialize(ERR_TYPE_LOG, "bench");
  LibraryReport();
  FloorReport();
  PeerReport();
  REQUIRE(WithoutTime(DailyLog("bench.")) == svLine.substr(6));
  REQUIRE(WithoutTime("floor.log") == svLine.substr(6));
  REQUIRE(WithoutTime(DailyLog("peer.")) == svLine.substr(6));
  Measure({"error: line to the daily log", 1.35, 0.45}, {LibraryReport}, {FloorReport},
          {{PeerReport, {}, "fopen, fprintf, fclose"}});
  std::filesystem::current_path(pathBefore);
}
