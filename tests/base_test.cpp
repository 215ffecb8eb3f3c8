// base_test.cpp: start-up, the settings, the empty facade, and character replacement.

#include "support.h"

namespace {
const char *const pszAtLoad = pszTaskName; // read before any test runs
const ULONG flAtLoad = flVerbosity;

TEST(BaseInit, SetsAndResetsTheSettings) {
  EXPECT_EQ(pszAtLoad, nullptr);
  EXPECT_EQ(flAtLoad, 0u);
  for (int iCall = 0; iCall < 2; iCall++) {
    BaseInit();
    EXPECT_STREQ(pszTaskName, "ZEBBASE");
    EXPECT_EQ(flVerbosity, 0xE000u);
    EXPECT_EQ(mtxsemMemory, 0u);
    pszTaskName = "other";
    BaseSetVerbosity(0xFFFF1234);
    EXPECT_EQ(flVerbosity, 0xFFFF1234u) << "is stored without a mask";
  }
}

TEST(Facade, SucceedsAndTouchesNothing) {
  MTXSEM sem = 0xA5A5A5A5;
  EXPECT_EQ(SemCreateMutex(&sem, 1, 2, 3) | SemOpenMutex(&sem) | SemRequestMutex(nullptr, 0), 0u);
  EXPECT_EQ(SemReleaseMutex(&sem) | SemQueryMutex(&sem) | SemCloseMutex(&sem), 0u);
  EXPECT_EQ(SemCreateCount(&sem, 1, 2, 3) | SemOpenCount(&sem) | SemChangeCount(&sem, -1), 0u);
  EXPECT_EQ(SemWaitCount(&sem, SEM_WAIT_FOREVER) | SemQueryCount(&sem) | SemCloseCount(&sem), 0u);
  EXPECT_EQ(SemCreateEvent(&sem, 1, 2, 3) | SemOpenEvent(&sem) | SemResetEvent(&sem) | SemPostEvent(&sem), 0u);
  EXPECT_EQ(SemWaitEvent(&sem, SEM_WAIT_FOREVER) | SemQueryEvent(&sem) | SemCloseEvent(&sem) | ThdInitialize(), 0u);
  EXPECT_EQ(sem, 0xA5A5A5A5);
}

TEST(MscReplaceChar, AgreesWithStdReplaceAndEnds) {
  std::mt19937 random(1);
  for (int i = 0; i < 2000; i++) {
    std::string str(random() % 20, ' ');
    for (char &ch : str) ch = "a/\\\xff"[random() % 4];
    std::string strExpected = str;
    const char chOld = "a/\\\xff"[random() % 5], chNew = "a/\\z"[random() % 4]; // a terminator is not replaced
    std::replace(strExpected.begin(), strExpected.end(), chOld, chNew);
    MscReplaceChar(str.data(), chOld, chNew);
    EXPECT_EQ(str, strExpected) << chOld << " by " << chNew;
  }
  MscReplaceChar(nullptr, 'a', 'b');
}
} // namespace
