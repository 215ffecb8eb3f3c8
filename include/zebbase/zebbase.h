/* zebbase.h: all of ZEBBASE. */
#ifndef ZEBBASE_ZEBBASE_H
#define ZEBBASE_ZEBBASE_H

#include <zebbase/base.h>
#include <zebbase/cmd.h>
#include <zebbase/err.h>
#include <zebbase/fil.h>
#include <zebbase/ini.h>
#include <zebbase/lst.h>
#include <zebbase/mem.h>
#include <zebbase/prs.h>
#include <zebbase/swp.h>
#include <zebbase/tag.h>
#include <zebbase/tme.h>
#include <zebbase/types.h>

#ifndef ZEBBASE_NO_MACROS
#include <zebbase/describe.h> /* nothing but macros */
#endif

#endif
