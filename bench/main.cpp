// main.cpp: the start of the benchmark program, on Catch2. Its arguments are Catch2's: a name, in which '*' at either
// end stands for anything, chooses the items that are measured.

#define CATCH_CONFIG_RUNNER
#include <limits>

#include "bench.h"
#include "zebbase/base.h"
#include "zebbase/mem.h"

int main(int argc, char **argv) {
  constexpr ULONG ulNoLimit = std::numeric_limits<ULONG>::max();
  BaseInit();
  MemSetLimits(ulNoLimit, ulNoLimit, 0);
  BeginReport();
  const int iFailed = Catch::Session().run(argc, argv);
  EndReport();
  return iFailed;
}
