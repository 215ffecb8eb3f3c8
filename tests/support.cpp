// support.cpp: the test program's own malloc and read, which can be told to fail.

#include "support.h"

#include <sys/syscall.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>

#include "input.h"

#ifndef __SANITIZE_ADDRESS__ // which has a malloc of its own
extern "C" void *__libc_malloc(std::size_t cb);

extern "C" void *malloc(std::size_t cb) noexcept {
  if (!FailMalloc::IsDue()) return __libc_malloc(cb);
  errno = ENOMEM;
  return nullptr;
}
#endif

bool FailMalloc::Works() {
  const FailMalloc fail;
  void *(*volatile pfnMalloc)(std::size_t) = std::malloc; // a call that no compiler leaves out
  void *pv = pfnMalloc(1);
  std::free(pv);
  return !pv;
}

extern "C" ssize_t read(int fd, void *pv, std::size_t cb) {
  const ssize_t cbRead = syscall(SYS_read, fd, pv, cb);
  if (cbRead != 0 || !FailRead::IsOn()) return cbRead;
  errno = EIO;
  return -1;
}
