// init.h: start-up steps that more than one unit takes.

#ifndef ZEBBASE_SRC_INIT_H
#define ZEBBASE_SRC_INIT_H

// Creates the lock of tracked memory. One that cannot be created is said on standard output.
void CreateMemoryLock();

#endif
