// scratch.h: an empty folder of a test's own, so that tests that write files can run side by side.
#pragma once

#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <stdexcept>
#include <string>
#include <system_error>

// Stands in a new folder for one scope; then goes back, and removes the folder with all that is in it.
class ScratchFolder {
 public:
  ScratchFolder() : pathBefore_(std::filesystem::current_path()) {
    char szPath[] = "/tmp/zebbase_test.XXXXXX";
    if (!mkdtemp(szPath)) throw std::runtime_error("no scratch folder");
    path_ = szPath;
    std::filesystem::current_path(path_);
  }
  ~ScratchFolder() {
    std::error_code ec;
    std::filesystem::current_path(pathBefore_, ec);
    std::filesystem::remove_all(path_, ec);
  }
  ScratchFolder(const ScratchFolder &) = delete;
  ScratchFolder &operator=(const ScratchFolder &) = delete;
  const std::filesystem::path &path() const { return path_; }

 private:
  std::filesystem::path pathBefore_;
  std::filesystem::path path_;
};

inline std::string Contents(const std::filesystem::path &path) {
  std::ostringstream text;
  text << std::ifstream(path, std::ios::binary).rdbuf();
  return text.str();
}
