// bench.cpp: the turns and the report.

#include "bench.h"

#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <filesystem>
#include <fstream>
#include <iterator>

namespace {
constexpr double dTurn = 0.001;   // seconds that a turn takes at least
constexpr double dBudget = 0.500; // seconds that an item takes, about
constexpr double dFewestRounds = 9;
constexpr double dMostRounds = 101;

int iGoals = 0;
int iMissed = 0;

// One contender with the times of its turns, each the mean time of a run.
struct PLAYER {
  const CONTENDER &contender;
  double (*pfnClock)();
  int iRuns = 1; // a turn
  double dTurnTime = 0;
  std::vector<double> adTime = {};
};

template <typename Run>
double TimeOf(double (*pfnClock)(), const Run &run) {
  const double dStart = pfnClock();
  run();
  return std::max(pfnClock() - dStart, 1e-9);
}

double TakeTurn(const PLAYER &player) {
  const CONTENDER &con = player.contender;
  if (!con.prepare)
    return TimeOf(player.pfnClock, [&] {
      for (int i = 0; i < player.iRuns; i++) con.run();
    });
  double dSum = 0;
  for (int i = 0; i < player.iRuns; i++) {
    con.prepare();
    dSum += TimeOf(player.pfnClock, con.run);
  }
  return dSum;
}

// Finds how many runs make a turn long enough for the clock. The first one only warms up.
PLAYER Enter(const CONTENDER &contender, double (*pfnClock)()) {
  PLAYER player = {contender, pfnClock};
  TakeTurn(player);
  while ((player.dTurnTime = TakeTurn(player)) < dTurn)
    player.iRuns = static_cast<int>(player.iRuns * std::clamp(1.3 * dTurn / player.dTurnTime, 1.2, 10.0)) + 1;
  return player;
}

void Play(std::vector<PLAYER> &players) {
  double dRound = 0;
  for (const PLAYER &player : players) dRound += player.dTurnTime;
  const auto uRounds = static_cast<std::size_t>(std::clamp(dBudget / dRound, dFewestRounds, dMostRounds));
  for (std::size_t uRound = 0; uRound < uRounds; uRound++) {
    for (std::size_t u = 0; u < players.size(); u++) { // another one begins each round
      PLAYER &player = players[(uRound + u) % players.size()];
      player.adTime.push_back(TakeTurn(player) / player.iRuns);
    }
  }
}

double Median(std::vector<double> ad) {
  const auto it = ad.begin() + static_cast<std::ptrdiff_t>(ad.size() / 2);
  std::nth_element(ad.begin(), it, ad.end());
  return *it;
}

double Ratio(const PLAYER &player1, const PLAYER &player2) {
  std::vector<double> adRatio;
  std::transform(player1.adTime.begin(), player1.adTime.end(), player2.adTime.begin(), std::back_inserter(adRatio),
                 [](double d1, double d2) { return d1 / d2; });
  return Median(adRatio);
}

// A value beside its goal, with a mark where it misses it; a negative value stands for none.
std::string Against(double dValue, double dGoal) {
  if (dValue < 0) return "       -      ";
  const bool fMissed = dGoal > 0 && dValue > dGoal;
  iGoals += dGoal > 0;
  iMissed += fMissed;
  char szValue[32];
  char szGoal[32] = "";
  std::snprintf(szValue, sizeof szValue, "%8.*f%c", dValue < 100 ? 2 : 0, dValue, fMissed ? '!' : ' ');
  if (dGoal > 0) std::snprintf(szGoal, sizeof szGoal, "%.4g", dGoal);
  std::string str = std::string(szValue) + szGoal;
  str.resize(14, ' ');
  return str;
}

const std::filesystem::path &ScratchDirectory() {
  static const std::filesystem::path path = [] {
    const bool fShared = access("/dev/shm", W_OK) == 0;
    std::string str = fShared ? "/dev/shm" : std::filesystem::temp_directory_path().string();
    str += "/zebbase_bench.XXXXXX";
    return mkdtemp(str.data()) ? str : "";
  }();
  return path;
}

void PrintLine(const std::string &strName, const std::string &strFloor, const std::string &strPeer,
               const std::string &strPeerName) {
  std::printf("%-46s %s %s  %s\n", strName.c_str(), strFloor.c_str(), strPeer.c_str(), strPeerName.c_str());
  std::fflush(stdout);
}

std::string PeerName(const PLAYER &peer, const PLAYER &floor) {
  char sz[32];
  std::snprintf(sz, sizeof sz, " %.2f", Ratio(peer, floor));
  return peer.contender.pszName + std::string(sz);
}

} // namespace

double ThreadTime() {
  timespec ts;
  clock_gettime(CLOCK_THREAD_CPUTIME_ID, &ts);
  return static_cast<double>(ts.tv_sec) + static_cast<double>(ts.tv_nsec) * 1e-9;
}

void Measure(const ITEM &item, const CONTENDER &library, const CONTENDER &floor, const std::vector<CONTENDER> &peers) {
  std::vector<PLAYER> players = {Enter(library, item.pfnClock), Enter(floor, item.pfnClock)};
  for (const CONTENDER &peer : peers) players.push_back(Enter(peer, item.pfnClock));
  Play(players);
  const std::string strFloor = Against(Ratio(players[0], players[1]), item.dGoalFloor);
  const auto best = std::min_element(players.begin() + 2, players.end(), [&](const PLAYER &p1, const PLAYER &p2) {
    return Ratio(p1, players[1]) < Ratio(p2, players[1]);
  });
  if (best == players.end())
    PrintLine(item.strName, strFloor, Against(-1, 0), item.dGoalPeer > 0 ? "peers not installed" : "");
  else
    PrintLine(item.strName, strFloor, Against(Ratio(players[0], *best), item.dGoalPeer), PeerName(*best, players[1]));
}

void PrintQuantity(const std::string &strName, double dValue, double dGoal) {
  PrintLine(strName, Against(dValue, dGoal), Against(-1, 0), "");
}

void BeginReport() {
  std::printf("xF, xP: the library's time as a multiple of the floor's and of the best peer's; ! misses the goal\n\n");
  PrintLine("item", "      xF goal ", "      xP goal ", "best peer, its xF");
}

void EndReport() {
  std::printf("%d of %d goals missed\n", iMissed, iGoals);
  std::filesystem::remove_all(ScratchDirectory());
}

std::string ScratchFile(const char *pszName) { return ScratchDirectory() / pszName; }

std::string ReadFile(const std::string &strFile) {
  std::ifstream stream(strFile, std::ios::binary);
  return {std::istreambuf_iterator<char>(stream), {}};
}

void WriteFile(const std::string &strFile, const std::string &strText) {
  std::ofstream(strFile, std::ios::binary) << strText;
}
