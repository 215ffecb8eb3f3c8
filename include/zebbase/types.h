/* types.h: the basic types that every family of ZEBBASE shares.
   The library is built for 32-bit Linux only: its records cross the interface with the widths and offsets that this
   platform gives them. ULONG and LONG are unsigned long and long, so %lu and %ld print them without a cast. */
#ifndef ZEBBASE_TYPES_H
#define ZEBBASE_TYPES_H

#if !defined(__SIZEOF_POINTER__) || __SIZEOF_POINTER__ != 4 || __SIZEOF_LONG__ != 4
#error "ZEBBASE needs a 32-bit compiler (pointers and longs of 4 bytes), such as i686-linux-gnu-g++"
#endif

#ifdef __cplusplus
extern "C" {
#endif

/* Marks what the shared library exports. */
#define ZEB_API __attribute__((visibility("default")))
#define ZEB_API_1_1 ZEB_API /* an addition of version 1.1: a program that uses it needs that version or a later one */

/* Marks what the compiler can check: results that it is always a mistake to ignore; and, where the compiler knows it,
   which function gives back what another hands out. */
#define ZEB_RESULT __attribute__((warn_unused_result))
#if defined(__GNUC__) && __GNUC__ >= 11 && !defined(__clang__)
#define ZEB_FREED_BY(pfnFree) __attribute__((malloc(pfnFree, 1)))
#else
#define ZEB_FREED_BY(pfnFree)
#endif

/* The version of these headers, as one number that grows: 10203 for 1.2.3. */
#define ZEBBASE_VERSION 10100

typedef unsigned long ULONG;   /* unsigned, 32 bits */
typedef long LONG;             /* signed, 32 bits */
typedef unsigned short USHORT; /* unsigned, 16 bits */
typedef short SHORT;           /* signed, 16 bits */
typedef unsigned char BYTE;    /* unsigned, 8 bits */
typedef ULONG BOOL;            /* a truth word: 0 false, 1 true */
typedef BOOL BOOLEAN;
typedef ULONG MTXSEM;    /* handle of a mutex semaphore (base.h) */
typedef double REALTIME; /* a point in time: seconds since 1970-01-01 00:00:00 UTC (tme.h) */

#ifndef FALSE
#define FALSE 0
#endif
#ifndef TRUE
#define TRUE 1
#endif

#ifdef __cplusplus
}
#endif
#endif
