#!/bin/sh
# Has two builds of hostlog, for machines of different byte order, read and continue each other's record files.
# usage: [RUN_A=emulator] [RUN_B=emulator] exchange.sh PROGRAM_A PROGRAM_B   (with strict.ini beside each)
# shellcheck source=tests/script.sh
. "$(dirname "$0")/script.sh"

a=$(realpath "$1")
b=$(realpath "$2")
cd "$work"
cp "$(dirname "$a")/strict.ini" .

A() { RUN=${RUN_A-} Run "$a" "$@"; }
B() { RUN=${RUN_B-} Run "$b" "$@"; }

# PrintsAlike FILE SNAPSHOTS
PrintsAlike() {
  A -p "$1" >printed_by_a
  B -p "$1" >printed_by_b
  diff printed_by_a printed_by_b || Fail "$1 is not the same on both machines"
  [ "$(grep -c '^Hostlog: limits that no machine keeps$' printed_by_a)" -eq "$2" ] || Fail "$1: $(cat printed_by_a)"
}

A strict.ini -b -n 2 -i 0 -r a.rec >out
B strict.ini -b -n 2 -i 0 -r b.rec >out
[ "$(head -c 1 a.rec)" != "$(head -c 1 b.rec)" ] || Fail "both programs have one byte order"
cp a.rec ab.rec # two files of both: begun by one, continued by the other
cp b.rec ba.rec
B strict.ini -b -r ab.rec >out
A strict.ini -b -r ba.rec >out
PrintsAlike a.rec 2
PrintsAlike b.rec 2
PrintsAlike ab.rec 3
PrintsAlike ba.rec 3
