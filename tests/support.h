// support.h: what the tests of all families share.
#pragma once

#include <gtest/gtest.h>
#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <random>
#include <string>
#include <utility>
#include <vector>

#include "zebbase/base.h"
#include "zebbase/err.h"
#include "zebbase/mem.h"

template <typename T>
std::string BytesOf(const T &t) {
  return {reinterpret_cast<const char *>(&t), sizeof t};
}

// Takes what is written to stdout or stderr, at the file descriptor, for one scope. What is left at
// the end (a test's failure, perhaps) goes where it was meant to go.
class Capture {
 public:
  explicit Capture(FILE *pf) : pf_(pf), pfTaken_(std::tmpfile()) {
    std::fflush(pf_);
    fdSaved_ = dup(fileno(pf_));
    dup2(fileno(pfTaken_), fileno(pf_));
  }
  ~Capture() {
    const std::string strRest = Take();
    dup2(fdSaved_, fileno(pf_));
    close(fdSaved_);
    std::fclose(pfTaken_);
    std::fputs(strRest.c_str(), pf_);
  }
  Capture(const Capture &) = delete;
  std::string Take() { // what has come since the last call
    std::fflush(pf_);
    std::string str;
    char ach[4096];
    for (ssize_t cb; (cb = pread(fileno(pfTaken_), ach, sizeof ach, offTaken_)) > 0;
         offTaken_ += cb)
      str.append(ach, static_cast<std::size_t>(cb));
    return str;
  }

 private:
  FILE *pf_;
  FILE *pfTaken_;
  int fdSaved_;
  off_t offTaken_ = 0;
};

// Takes the messages of all error reports for one scope.
class Reports {
 public:
  Reports() { ErrInitialize(ERR_TYPE_CALLBACK, nullptr, &Keep); }
  ~Reports() {
    ErrInitialize(ERR_TYPE_CONSOLE, nullptr);
    Take();
  }
  Reports(const Reports &) = delete;
  std::vector<std::string> Take() {
    return std::exchange(astrMessages_, {});
  } // those since the last call

 private:
  static ULONG Keep(ULONG, const char *pszMessage) {
    astrMessages_.emplace_back(pszMessage);
    return 0;
  }
  static inline std::vector<std::string> astrMessages_;
};

// Makes one call of malloc in its scope fail: the uCall-th, counted from 1; with 0 none.
class FailMalloc {
 public:
  explicit FailMalloc(unsigned uCall = 1) { uCallsLeft_ = uCall; }
  ~FailMalloc() { uCallsLeft_ = 0; }
  FailMalloc(const FailMalloc &) = delete;
  static bool Works(); // not where a sanitizer or Valgrind keeps malloc, and watches freed memory
  static bool IsDue() { return uCallsLeft_ > 0 && --uCallsLeft_ == 0; } // asked by malloc

 private:
  static inline unsigned uCallsLeft_ = 0;
};

// A test that starts with the settings of a fresh program, and fails when it leaves tracked memory
// behind. Its random numbers are always the same ones; --gtest_random_seed=N gives others.
class NoLeak : public testing::Test {
 protected:
  void SetUp() override {
    BaseInit();
    ErrInitialize(ERR_TYPE_CONSOLE, "Unknown");
    MemQueryStatus(&ulAmount_, &ulBlocks_);
  }
  void TearDown() override {
    MemSetLimits(10000000, 10000, 1);
    EXPECT_EQ(Blocks(), 0u);
    EXPECT_EQ(Amount(), 0u);
  }
  ULONG Amount() const {
    return MemQueryMemoryAllocated() - ulAmount_;
  } // of the test: bytes, and blocks
  ULONG Blocks() const {
    ULONG ulBlocks;
    MemQueryStatus(nullptr, &ulBlocks);
    return ulBlocks - ulBlocks_;
  }
  static void LiftLimits() { MemSetLimits(0xFFFFFFFF, 0xFFFFFFFF, 0); }

  ULONG Random(ULONG ulBelow) { return static_cast<ULONG>(random_()) % ulBelow; }
  template <typename Of>
  auto OneOf(const Of &of) { // an element of an array, a vector or a text
    return std::data(of)[Random(std::size(of))];
  }
  std::string Some(const std::vector<std::string> &astr, ULONG ulMost) { // of these, in any order
    std::string str;
    for (ULONG ul = Random(ulMost + 1); ul > 0; ul--) str += OneOf(astr);
    return str;
  }
  std::string SomeChars(std::string_view sv, ULONG ulMost) {
    std::string str(Random(ulMost + 1), ' ');
    for (char &ch : str) ch = OneOf(sv);
    return str;
  }

 private:
  const unsigned uSeed_ = static_cast<unsigned>(GTEST_FLAG_GET(random_seed));
  const testing::ScopedTrace trace_{__FILE__, __LINE__, "seed " + std::to_string(uSeed_)};
  std::mt19937 random_{1 + uSeed_};
  ULONG ulAmount_;
  ULONG ulBlocks_;
};
