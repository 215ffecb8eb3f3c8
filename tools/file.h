// file.h: whole files as texts, and their replacement.
#ifndef ZEBBASE_TOOLS_FILE_H
#define ZEBBASE_TOOLS_FILE_H

#include <fcntl.h>
#include <limits.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string_view>
#include <utility>
#include <zebbase/zebbase.hpp>

// A text that grows, in tracked memory. Once there was no memory it stays empty, and says so.
class Buffer {
 public:
  bool Put(std::string_view sv) {
    if (sv.empty()) return true;
    if (sv.size() > cbRoom_ - cb_ && !Grow(sv.size())) return false;
    std::memcpy(block_.get() + cb_, sv.data(), sv.size());
    cb_ += sv.size();
    return true;
  }
  std::string_view View() const { return {block_.get(), cb_}; }

 private:
  bool Grow(std::size_t cb) {
    if (cbRoom_ > cbMost) return false;
    const std::size_t cbRoom = 2 * cbRoom_ + cb;
    auto block = zebbase::NewArray<char>(cbRoom);
    if (!block) return false;
    if (cb_ > 0) std::memcpy(block.get(), block_.get(), cb_);
    block_ = std::move(block);
    cbRoom_ = cbRoom;
    return true;
  }
  static constexpr std::size_t cbMost = 1U << 30; // twice as much and a piece more are a size still
  zebbase::Block<char[]> block_;
  std::size_t cb_ = 0, cbRoom_ = 0;
};

inline bool ReadAll(int iFile, Buffer &buffer) {
  constexpr std::size_t cbMost = 1U << 26; // a file that is edited is a text in memory
  char ach[65536];
  ssize_t cb;
  while ((cb = read(iFile, ach, sizeof ach)) > 0) {
    if (buffer.View().size() > cbMost) return errno = EFBIG, false;
    if (!buffer.Put({ach, static_cast<std::size_t>(cb)})) return errno = ENOMEM, false;
  }
  return cb == 0;
}

inline bool WriteAll(int iFile, std::string_view sv) {
  while (!sv.empty()) {
    const ssize_t cb = write(iFile, sv.data(), sv.size());
    if (cb < 0) return false;
    sv.remove_prefix(static_cast<std::size_t>(cb));
  }
  return true;
}

class File { // a descriptor
 public:
  explicit File(int iFile) : iFile_(iFile) {}
  ~File() {
    if (iFile_ >= 0) close(iFile_);
  }
  File(const File &) = delete;
  File &operator=(const File &) = delete;
  int get() const { return iFile_; }
  explicit operator bool() const { return iFile_ >= 0; }

 private:
  int iFile_;
};

inline bool ReadFile(const char *pszFile, Buffer &buffer) {
  const File file(open(pszFile, O_RDONLY | O_CLOEXEC));
  return file && ReadAll(file.get(), buffer);
}

// Writes a new file beside the old one, with its mode and owner, and gives it the name once it is on the disk. Result:
// 0, or the error, after which the old file is as it was.
inline int ReplaceFile(const char *pszFile, std::string_view sv) {
  char szPath[PATH_MAX], szNew[PATH_MAX + 8];
  if (!realpath(pszFile, szPath)) return errno;
  char *pszName = std::strrchr(szPath, '/') + 1;
  std::snprintf(szNew, sizeof szNew, "%.*s%.200s.XXXXXX", static_cast<int>(pszName - szPath), szPath, pszName);
  struct stat st;
  if (stat(szPath, &st) != 0) return errno;
  const File file(mkostemp(szNew, O_CLOEXEC));
  if (!file) return errno;
  static_cast<void>(!fchown(file.get(), st.st_uid, st.st_gid)); // where the system allows it
  const bool fGood = access(szPath, W_OK) == 0 && fchmod(file.get(), st.st_mode & 07777) == 0 &&
                     WriteAll(file.get(), sv) && fsync(file.get()) == 0 && rename(szNew, szPath) == 0;
  const int iError = fGood ? 0 : errno;
  if (!fGood) unlink(szNew);
  *pszName = '\0';
  const File folder(open(szPath, O_RDONLY | O_DIRECTORY | O_CLOEXEC));
  if (fGood) fsync(folder.get());
  return iError;
}

#endif
