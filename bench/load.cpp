// load.cpp: what the library costs a program that only starts and ends, and what its file holds.

#include <elf.h>
#include <spawn.h>
#include <sys/resource.h>
#include <sys/wait.h>

#include <cstring>

#include "bench.h"

extern char **environ;

namespace {
double ChildrenTime() {
  rusage usage;
  getrusage(RUSAGE_CHILDREN, &usage);
  const auto Seconds = [](const timeval &tv) {
    return static_cast<double>(tv.tv_sec) + static_cast<double>(tv.tv_usec) * 1e-6;
  };
  return Seconds(usage.ru_utime) + Seconds(usage.ru_stime);
}

bool Run(const char *pszProgram) { // whether it ended well
  char *apszArguments[] = {const_cast<char *>(pszProgram), nullptr};
  pid_t pid;
  int iStatus = -1;
  return posix_spawn(&pid, pszProgram, nullptr, nullptr, apszArguments, environ) == 0 &&
         waitpid(pid, &iStatus, 0) == pid && iStatus == 0;
}

struct DYNAMIC {
  unsigned long ulRelocations = 0;
  bool fTextRelocations = false;
};

DYNAMIC ReadDynamic(const std::string &strElf) {
  DYNAMIC dynamic;
  Elf32_Ehdr ehdr;
  std::memcpy(&ehdr, strElf.data(), sizeof ehdr);
  for (std::size_t u = 0; u < ehdr.e_phnum; u++) {
    Elf32_Phdr phdr;
    std::memcpy(&phdr, strElf.data() + ehdr.e_phoff + u * ehdr.e_phentsize, sizeof phdr);
    for (std::size_t cb = 0; phdr.p_type == PT_DYNAMIC && cb < phdr.p_filesz; cb += sizeof(Elf32_Dyn)) {
      Elf32_Dyn dyn;
      std::memcpy(&dyn, strElf.data() + phdr.p_offset + cb, sizeof dyn);
      if (dyn.d_tag == DT_RELSZ || dyn.d_tag == DT_PLTRELSZ)
        dynamic.ulRelocations += dyn.d_un.d_val / sizeof(Elf32_Rel);
      dynamic.fTextRelocations |= dyn.d_tag == DT_TEXTREL || (dyn.d_tag == DT_FLAGS && (dyn.d_un.d_val & DF_TEXTREL));
    }
  }
  return dynamic;
}
} // namespace

TEST_CASE("load: load and exit of a program") {
  REQUIRE(Run(LOAD_WITH));
  REQUIRE(Run(LOAD_WITHOUT));
  Measure({"load: load and exit of a program", 1.3, 0, ChildrenTime}, {[] { Run(LOAD_WITH); }},
          {[] { Run(LOAD_WITHOUT); }});
}

TEST_CASE("load: the stripped library") {
  const std::string strElf = ReadFile(STRIPPED_LIBRARY);
  const DYNAMIC dynamic = ReadDynamic(strElf);
  CHECK_FALSE(dynamic.fTextRelocations);
  PrintQuantity("load: KB of the stripped library", static_cast<double>(strElf.size()) / 1024, 150);
  PrintQuantity("load: relocations of the library", dynamic.ulRelocations, 250);
}
