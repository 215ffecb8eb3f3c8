// growth_test.cpp: what operations cost as that grows which they work among. The cost is counted in
// instructions, not in time: a test tells the same on every machine, and on a busy one.

#include <sys/ptrace.h>
#include <sys/wait.h>

#include <csignal>

#include "described.h"

namespace {
// The instructions that a function takes, in a process of its own that its parent steps through.
// 0 where that cannot be had.
template <typename Run>
long CountSteps(Run run) {
  const pid_t pid = fork();
  if (pid == 0) {
    if (ptrace(PTRACE_TRACEME, 0, nullptr, nullptr) != 0) _exit(1);
    raise(SIGSTOP); // from here
    run();
    raise(SIGSTOP); // to here
    _exit(0);
  }
  const auto StopSignal = [pid] { // of the child, when it stops again; 0 when it has ended
    int iStatus;
    return waitpid(pid, &iStatus, 0) == pid && WIFSTOPPED(iStatus) ? WSTOPSIG(iStatus) : 0;
  };
  if (StopSignal() != SIGSTOP) return 0;
  long lSteps = 0;
  do ptrace(PTRACE_SINGLESTEP, pid, nullptr, nullptr);
  while (StopSignal() == SIGTRAP && ++lSteps);
  kill(pid, SIGKILL);
  waitpid(pid, nullptr, 0);
  return lSteps;
}

class Growth : public IniTest {
 protected:
  void SetUp() override {
    IniTest::SetUp();
    LiftLimits();
    if (!FailMalloc::Works() || CountSteps([] {}) == 0) GTEST_SKIP() << "no steps to count here";
  }
};

TEST_F(Growth, ABlockCostsTheSameAmongThousands) {
  const auto Pairs = [] {
    for (int i = 0; i < 5; i++) MemFreeMem_(MemAllocMem_(16, 1, "growth"));
  };
  const long lAlone = CountSteps(Pairs);
  std::vector<void *> apv;
  for (ULONG ul = 0; ul < 5000; ul++) apv.push_back(MemAllocMem_(ul % 256, 1, "growth"));
  EXPECT_LE(CountSteps(Pairs), 1.1 * lAlone);
  for (void *pv : apv) MemFreeMem_(pv);
}

TEST_F(Growth, AStructureCostsTheSameInALongerList) {
  const SDSC sdsc = Describe({Field("Value", FT_ULONG)});
  const FDSC fdsc = Field("Item", FT_STRUCTLIST, 1, &sdsc);
  const auto StepsForEachOf = [&](ULONG ulItems) {
    std::string str = "[ list ]\n";
    for (ULONG ul = 1; ul <= ulItems; ul++)
      str += "[ Item " + std::to_string(ul) + " ]\nValue = 1\n";
    const Ini ini = Open(str);
    LIST *plst = nullptr;
    const auto Read = [&] { IniRead(ini.get(), &plst, &fdsc); };
    const double dSteps = CountSteps(Read);
    Read(); // here, too: what is counted reads all
    EXPECT_EQ(plst->ulCount, ulItems);
    IniFreeData(&plst, &fdsc);
    return dSteps / ulItems;
  };
  EXPECT_LE(StepsForEachOf(40), 1.25 * StepsForEachOf(10));
}
} // namespace
