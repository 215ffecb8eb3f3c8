// thread.cpp: the thread facade. There are no threads; nothing has any effect.

#include "zebbase/base.h"

ULONG ThdInitialize(void) { return 0; }
void ThdTerminate(void) {}
void ThdSetPmThreadStartup(void) {}
