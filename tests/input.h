// input.h: a folder of each test's own, and files in it for the library to read.
#pragma once

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <memory>
#include <sstream>

#include "support.h"

// Stands in a new folder for one scope; then goes back, and removes the folder with all that is in
// it. So tests that write files can run side by side.
class ScratchFolder {
 public:
  ScratchFolder() {
    char szPath[] = "/tmp/zebbase_test.XXXXXX";
    EXPECT_NE(mkdtemp(szPath), nullptr);
    std::filesystem::current_path(path_ = szPath);
  }
  ~ScratchFolder() {
    std::error_code ec;
    std::filesystem::current_path(pathBefore_, ec);
    std::filesystem::remove_all(path_, ec);
  }
  ScratchFolder(const ScratchFolder &) = delete;
  const std::filesystem::path &path() const { return path_; }

 private:
  std::filesystem::path pathBefore_ = std::filesystem::current_path();
  std::filesystem::path path_;
};

inline std::string Contents(const std::filesystem::path &path) {
  std::ostringstream text;
  text << std::ifstream(path, std::ios::binary).rdbuf();
  return text.str();
}

using Texts = std::vector<std::string>;

inline Texts Words(const std::string &str) { // with blanks between them; '' is an empty one
  Texts astr;
  std::istringstream stream(str);
  for (std::string strWord; stream >> strWord;) astr.push_back(strWord == "''" ? "" : strWord);
  return astr;
}

inline std::vector<Texts> Rows(const std::string &strTable) { // of words, below the table's head
  std::vector<Texts> rows;
  std::istringstream stream(strTable);
  for (std::string str; std::getline(stream, str);) rows.push_back(Words(str));
  rows.erase(rows.begin(), rows.begin() + 2); // the rest of the line that opens the text; the head
  return rows;
}

// The parts of a text between tildes.
inline std::vector<std::string> Split(const std::string &str) {
  std::vector<std::string> astr;
  std::istringstream stream(str);
  for (std::string strPart; std::getline(stream, strPart, '~');) astr.push_back(strPart);
  return astr;
}

// In its scope, reading fails where a file ends.
class FailRead {
 public:
  FailRead() { fOn_ = true; }
  ~FailRead() { fOn_ = false; }
  FailRead(const FailRead &) = delete;
  static bool IsOn() { return fOn_; } // asked by read

 private:
  static inline bool fOn_ = false;
};

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

 private:
  static std::ptrdiff_t CountOpen() {
    const std::filesystem::directory_iterator it("/proc/self/fd");
    return std::distance(begin(it), end(it));
  }
  ScratchFolder folder_;
  std::ptrdiff_t iOpen_ = 0;
};
