// input.h: files that a test writes for the library to read.
#pragma once

#include <filesystem>
#include <fstream>
#include <iterator>
#include <memory>
#include <random>
#include <sstream>
#include <string>
#include <vector>

#include "support.h"

// The parts of a text between tildes.
inline std::vector<std::string> Split(const std::string &str) {
  std::vector<std::string> astr;
  std::istringstream stream(str);
  for (std::string strPart; std::getline(stream, strPart, '~');) astr.push_back(strPart);
  return astr;
}

// A test with files, in a folder of its own, that may leave neither memory nor files open.
class FileTest : public NoLeak {
 protected:
  void SetUp() override {
    NoLeak::SetUp();
    iOpen_ = CountOpen();
  }
  void TearDown() override {
    NoLeak::TearDown();
    EXPECT_EQ(CountOpen(), iOpen_);
  }
  static void Write(const std::string &str) {
    std::filesystem::remove("input"); // a new file is faster than an old one cut to nothing
    std::ofstream("input", std::ios::binary) << str;
  }
  ULONG Random(ULONG ulBelow) { return static_cast<ULONG>(random_()) % ulBelow; }
  std::string Some(const std::vector<std::string> &astr, ULONG ulMost) { // of these, in any order
    std::string str;
    for (ULONG ul = Random(ulMost + 1); ul > 0; ul--) str += astr[Random(astr.size())];
    return str;
  }

 private:
  static std::ptrdiff_t CountOpen() {
    const std::filesystem::directory_iterator it("/proc/self/fd");
    return std::distance(begin(it), end(it));
  }
  std::mt19937 random_{1};
  ScratchFolder folder_;
  std::ptrdiff_t iOpen_ = 0;
};
