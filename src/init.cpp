// init.cpp: the settings of the running program and their start-up values.

#include "init.h"

#include <cstdio>

#include "zebbase/base.h"

constinit const char *pszTaskName = nullptr;
constinit ULONG flVerbosity = 0;
constinit MTXSEM mtxsemMemory = 0;

void CreateMemoryLock() {
  const ULONG rc = SemCreateMutex(&mtxsemMemory, 0, 0, 0);
  if (rc != 0) std::printf("Error creating Memory mutex sem %ld\n", static_cast<LONG>(rc));
}

void BaseInit(void) {
  flVerbosity = VERB_DEFAULT;
  pszTaskName = "ZEBBASE";
  CreateMemoryLock();
}

void BaseSetVerbosity(ULONG flNew) { flVerbosity = flNew; }
