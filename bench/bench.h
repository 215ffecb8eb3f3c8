// bench.h: how the benchmarks measure.
// An item is one piece of work that several contenders do: the library, a floor (the least work that could give the
// same result, written by hand for this one case), and peers (what libc, the C++ library and others offer for it). The
// contenders take turns, many short ones, and only the ratios within one round of turns count: what else the machine
// does then weighs on all of them alike. Time is CPU time, and the result is the median of the rounds' ratios.

#ifndef ZEBBASE_BENCH_BENCH_H
#define ZEBBASE_BENCH_BENCH_H

#include <catch2/catch.hpp>
#include <functional>
#include <string>
#include <vector>

double ThreadTime(); // seconds of CPU time of this thread

// What is measured, and the most that the library's time may be as a multiple of the floor's and of the best peer's
// time; 0 where there is no goal.
struct ITEM {
  std::string strName;
  double dGoalFloor;
  double dGoalPeer = 0;
  double (*pfnClock)() = ThreadTime;
};

struct CONTENDER {
  std::function<void()> run;
  std::function<void()> prepare = {}; // before each run, outside the time
  const char *pszName = "";           // of a peer
};

// Measures an item and prints its line. That all contenders give the same answer is checked before, with REQUIRE.
void Measure(const ITEM &item, const CONTENDER &library, const CONTENDER &floor,
             const std::vector<CONTENDER> &peers = {});

// Prints the line of an item that is a quantity, and no time.
void PrintQuantity(const std::string &strName, double dValue, double dGoal);

void BeginReport();
void EndReport(); // also removes the directory of the run's files

// The same value, unknown to the compiler.
template <typename T>
T Opaque(T t) {
  asm volatile("" : "+g"(t));
  return t;
}

// The compiler has to believe that what p points to is read and written here. Without it an allocation and its clearing
// become one call, and a clearing before a release is dropped.
inline void Touch(void *p) { asm volatile("" : : "g"(p) : "memory"); }

// The path of a file in a directory of this run, in memory where the machine has such a place.
std::string ScratchFile(const char *pszName);
std::string ReadFile(const std::string &strFile);
void WriteFile(const std::string &strFile, const std::string &strText);

#endif
