/* recorded.c: the descriptions of recorded.h as C makes them. */
#include "recorded.h"

extern const FDSC *const pfdscRecordedInC;
const FDSC *const pfdscRecordedInC = &fdscEverything;
