#!/bin/sh
# Compiles the descriptions of recorded.h: as they are, which must be silent in every language; and with mistakes, each
# of which must be an error that says what is wrong.
# usage: CC=... CXX=... describe.sh INCLUDE_FOLDER
# shellcheck source=tests/script.sh
. "$(dirname "$0")/script.sh"

include=$1
good=$(dirname "$0")/recorded.h
clang=
if command -v clang >/dev/null; then clang="clang --target=$("$CC" -dumpmachine) -ferror-limit=0"; fi

# Compilers STANDARD...: one to a line; clang is one of each standard, where it is there.
Compilers() {
  for standard in "$@"; do
    case $standard in c++*) compiler=$CXX language=c++ ;; *) compiler=$CC language=c ;; esac
    echo "$compiler -x $language -std=$standard"
    [ -z "$clang" ] || echo "$clang -x $language -std=$standard"
  done
}

# Check COMPILER FILE: its messages are the output.
Check() { Compile "$1 -Wconversion -Wshadow" -fsyntax-only -I"$include" "$2" 2>&1; }

# Refuses [STANDARD...]: reads a table, whose parts are divided by blank lines, and makes all the mistakes of a part in
# one program. A line has the change, for sed, and what one of the errors is to match (a basic regular expression).
Refuses() {
  [ $# -gt 0 ] || set -- c99 c++17
  awk -v table="$work/table" 'BEGIN { RS = "" } { print >(table NR) }'
  for table in "$work"/table*; do
    sed 's/ *~ .*//' "$table" >"$work/changes"
    sed -f "$work/changes" "$good" >"$work/wrong.c"
    Compilers "$@" | while read -r compiler; do
      ! Check "$compiler" "$work/wrong.c" >"$work/output" || Fail "$compiler accepts: $(cat "$table")"
      sed 's/.* ~ //' "$table" | while read -r message; do
        grep -q "error.*$message" "$work/output" || Fail "$compiler has no error: $message"
      done
    done
    rm "$table"
  done
}

# The example of the header; and all that there is, with descriptions made within a function.
{
  echo '#include <zebbase/zebbase.h>'
  sed -n '/^       typedef/,/^       INI_FIELD(fdscServer/p' "$include/zebbase/describe.h"
  echo 'const FDSC *Use(void); const FDSC *Use(void) { return &fdscServer; }'
} >"$work/example.c"
cat "$good" - >"$work/good.c" <<'EOF'
const FDSC *Use(void);
const FDSC *Use(void) {
  INI_ENUMERATION(edscLocal, SIZE_NAMES);
  INI_SUBFIELDS(sdscParts, PLACE_PARTS);
  INI_DESCRIBE(sdscWay, ROUTE, ROUTE_FIELDS);
  INI_FIELD(fdscWay, ROUTE[3], "Way", STRUCT(sdscWay));
  return edscLocal.ulCount == sdscParts.ulFields ? &fdscWay : &fdscEverything;
}
EOF
Compilers c99 c11 c++17 c++20 c++2b | while read -r compiler; do
  for program in example good; do
    Check "$compiler" "$work/$program.c" >&2 || Fail "$compiler has something to say of $program.c"
  done
done

# Members of another size or class, of each class that types have; nested descriptions of something else, enumerations
# and subfields; a type that there is not; another order, fields that are left out, listed twice, no members, or too many,
# and gaps.
Refuses <<'EOF'
s/USHORT ausBool/ULONG ausBool/        ~ everything.ausBool: BOOL16 is for integers of 16 bits
s/int iBool/float iBool/               ~ everything.iBool: BOOL32 is for integers of 32 bits
s/BYTE ab\[/char ab[/                  ~ everything.ab: BYTE is for unsigned chars
s/ SHORT s;/ USHORT s;/                ~ everything.s: SHORT is for shorts
s/USHORT us;/SHORT us;/                ~ everything.us: USHORT is for unsigned shorts
s/int ai\[2\]/int ai[2][2]/            ~ everything.ai: LONG is for longs and ints
s/ULONG ul;/LONG ul;/                  ~ everything.ul: ULONG is for unsigned longs and ints
s/float aflt/ULONG aflt/               ~ everything.aflt: FLOAT is for floats
s/double d;/long long d;/              ~ everything.d: DOUBLE is for doubles
s/char \*apsz/const char *apsz/        ~ everything.apsz: PSZ is for pointers to char
s/USHORT usEnum/ULONG usEnum/          ~ everything.usEnum: ENUM16 is for values of 16 bits
s/COLOUR acolour/float acolour/        ~ everything.acolour: ENUM32 is for values of 32 bits
s/REALTIME rt/long long rt/            ~ everything.rt: REALTIME is for doubles
s/char achFixed/BYTE achFixed/         ~ everything.achFixed: FIXEDSTRING is for arrays of char
s/char achDotted\[7/char achDotted[8/  ~ everything.achDotted: DOTTED is for arrays of char as long as sdscPlace
s/ULONG flVerbosity/LONG flVerbosity/  ~ everything.flVerbosity: VERBOSITY is for unsigned longs and ints
s/unsigned ulI/short ulI/                ~ everything.ulInterval: INTERVAL is for unsigned longs and ints
s/\*pnext;/*pnext[2];/                 ~ everything.pnext: STRUCTPTR is for one pointer to the record
s/LIST \*plstNumber/void *plstNumber/  ~ everything.plstNumber: VALUELIST is for one LIST pointer
s/ROUTE aroute/REALTIME aroute/        ~ everything.aroute: STRUCT is for the record of sdscRoute
s/LIST \*plstRoute/LIST *plstRoute[2]/ ~ everything.plstRoute: STRUCTLIST is for one LIST pointer
s/fdscWord, char\[12\]/fdscWord, char/ ~ fdscWord: STRING is for arrays of char

s/fdscNumber, double,/fdscNumber, double[2],/  ~ everything.plstNumber: VALUELIST is for .* single values
s/char\[12\],\(.*\)STRING/ROUTE,\1STRUCT(sdscRoute)/ ~ everything.plstWord: VALUELIST is for .* single values
s/65535UL/65536/                       ~ everything.usEnum: ENUM16 is for values .* all those of edscSize
s/0xFFFFFFFEUL/0x100000000LL/                  ~ edscColour: has a value that 32 bits do not hold
s/NAME("Small", 1)/&&&&&&&&&&&&&&&&/           ~ edscSize: has more than INI_MAX_NAMES names
s/"Town", 3/"Town", 0/                         ~ sdscPlace: has a subfield without a width

s/(NAME) NAME("Small".*/(NAME)/                ~ edscSize: has no names
s/STRUCTLIST(sdscRoute)/STRUCTLIST(edscSize)/  ~ edscSize_RECORD
s/__attribute__((packed)) ROUTE/ROUTE/         ~ ROUTE.usHops: is not next in the record
s/"Long", LONG/"Long", INT/                    ~ INI_TYPE_INT

/ SHORT s;/{ N; s/\(.*\)\n\(.*\)/\2\1/; }      ~ everything.s: is not next in the record
s/FIELD(T, usHops.*//                          ~ ROUTE: goes on behind the last field
/FIELD(T, us,/p                                ~ re.*sdscEverything_at_us
s/USHORT usEnum;//                             ~ no member named .*usEnum

s/FIELD(T, usH.*/&&&&/; s/FIELD(T, usH[^)]*)/&&&&&&&&&&&&&&&&/g ~ ROUTE: has more than INI_MAX_FIELDS
EOF
# Members of a base and of the class derived from it.
Refuses c++17 <<'EOF'
s/^} ROUTE;/& struct BASE { int i; };/; s/everything {/everything : BASE {/ ~ everything: members have an order only in
EOF
