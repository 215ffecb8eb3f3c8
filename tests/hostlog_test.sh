#!/bin/sh
# Runs the example program hostlog on good and bad command lines, settings and record files.
# usage: [RUN=emulator] hostlog_test.sh PROGRAM   (with hostlog.ini and strict.ini beside it)
# shellcheck source=tests/script.sh
. "$(dirname "$0")/script.sh"

program=$(realpath "$1")
shipped=$(dirname "$program")
cd "$work"

# Hostlog STATUS [ARGUMENT...]: runs it, with its output in `out` and `err`, and expects a status.
Hostlog() {
  expected=$1 status=0
  shift
  Run "$program" "$@" >out 2>err || status=$?
  [ "$status" -eq "$expected" ] || Fail "hostlog $*: status $status: $(cat out err)"
}

# Refuses WORDS ARGUMENT...: expects one message with these words about the last argument.
Refuses() {
  words=$1
  shift
  Hostlog 1 "$@"
  for file; do :; done
  { [ ! -s out ] && [ "$(wc -l <err)" -eq 1 ]; } || Fail "$*: not one message: $(cat out err)"
  grep -q "^hostlog: $file: .*$words" err || Fail "$*: $(cat err)"
}

# Matches WHAT 3<<EXPECTED: compares its input with what is expected.
Matches() { diff - /dev/fd/3 || Fail "$1"; }

IsWhole() { # expects that the last run came to its end
  [ "$(tail -n 1 out)" = "Blocks of memory not given back: 0" ] || Fail "$1: $(tail -n 5 out)"
  [ ! -s err ] || Fail "$1: $(cat err)"
}

CheckShippedSettings() { # found beside the program
  Hostlog 0
  IsWhole "shipped settings"
  sed -n '1,3p; 7,9p' out | sed 's/ *$//' | Matches "shipped settings" 3<<'EOT'
Hostlog: a look at this machine
===============================
Site       LAB      ber.r12.07
Busy time  over 1s
Errors     Error|Warning
Remark     Settings as shipped: a quiet machine is within all limits.
EOT
  grep -q '^Taken .* (UTC+01:00)$' out || Fail "no time in the zone of hostlog.ini"
  grep -q '^Active(anon)  *[0-9]*\.[0-9][0-9] MiB$' out || Fail "no memory as hostlog.ini names it"
}

CheckStrictSettings() { # found in the current directory
  cp "$shipped/strict.ini" hostlog.ini
  Hostlog 0
  IsWhole "strict settings"
  grep '^[0-9]\{6\}(' out >lines || true
  cat hostlog.*.log | diff lines - || Fail "console and daily log differ"
  sed 's/^[0-9]*(report.c:[0-9]*)//; s/ on \/ ([^)]*)/ on \//; s/: [0-9.]*/: N/' lines |
    Matches "unexpected error lines" 3<<'EOT'
W0200 Processors busy: N %, at most -1.0 wanted
W0200 Load per processor, 1 minute: N, at most -1.0 wanted
W0200 Load per processor, 5 minutes: N, at most -1.0 wanted
W0200 Load per processor, 15 minutes: N, at most -1.0 wanted
W0200 Tasks: N, at most 0.0 wanted
W0200 Memory available: N GiB, at least 2097152.0 wanted
E0200 Free on /: N %, at least 101.0 wanted
EOT
  rm hostlog.ini
}

CheckRefusals() {
  mkdir folder
  : >empty
  Refuses 'No such file' missing
  Refuses 'Is a directory' folder
  Refuses '\[Hostlog\]: not in the file' empty
  while IFS='~' read -r text messages; do # of settings, and what is said of them, line by line
    printf %b "$text" >wrong
    Hostlog 1 wrong
    sed 's/^hostlog: wrong//' err | tr '\n' ';' | grep -qx "$messages" || Fail "$text: $(cat err)"
    [ ! -s out ] || Fail "$text: $(cat out)"
  done <<'EOT'
Title = x                                           ~: .*not in the file;:1: Title: unknown key;
[ x ]\n[ Server ]\nTitle = x                        ~: .*not in the file;:2: .*unknown section;
[ x ]\n\n[ Hostlog ]\nTitle = "x\n                  ~:4: a quoted text is not closed;
[ x ]\n[ Hostlog ]\n# mine\nUnit=MB\nWidht=5        ~:4: .*perhaps MiB;:5: .*perhaps Width;
[ x ]\n[ Hostlog ]\nTitle = x\n[ Hostlog Watch 1 ]\n~:4: .*not read, because .*;
EOT
}

CheckCommandLine() {
  for topic in '' full arg1 -v w1; do
    # shellcheck disable=SC2086 # no topic is no argument
    Hostlog 0 -h $topic
    { [ -s out ] && [ ! -s err ]; } || Fail "-h $topic: $(cat out err)"
  done
  grep -q '^w1: the paths' out || Fail "-h w1: $(cat out)"
  for mistake in '-x' '-b -f' '-v -v' '-n x' '-s' 'a b' '-w a -w b'; do
    # shellcheck disable=SC2086 # several arguments
    Hostlog 2 $mistake
    head -n 1 err | grep -q '^hostlog: [A-Z]' || Fail "no message for $mistake: $(cat err)"
    grep -q '^Usage: hostlog \[Arg1\] \[-v\] \[-b | -f\]' err || Fail "no syntax for $mistake: $(cat err)"
  done
}

CheckWatchedPaths() {
  mkdir -p watched/below watched/deep
  printf 12345 >watched/five.txt
  truncate -s 5000000000 watched/large.txt
  : >watched/other.c
  Hostlog 0 -f -w 'watched/*.txt' "$work/watched/" '/no/such/*'
  IsWhole "watched paths"
  sed -n "/^FILE/,\$ s|^$work||p" out | sed 's/  */ /g; s/ *$//' | sort |
    Matches "watched paths" 3<<'EOT'
/watched/below/
/watched/deep/
/watched/five.txt 5
/watched/large.txt 5000000000
EOT
}

CheckWrittenSettings() {
  printf '[ x.ini ]\n[ Hostlog ]\nVerbosity = Warning\nSite = A b\n' >odd.ini
  printf 'Memory 1 = Cached\nMemory 2 = MemFree\n[ Hostlog Limits ]\nLoad 1 = 0.1\n' >>odd.ini
  printf 'Busy = 1e-9\n[ Hostlog Swap ]\nUsed = 0.3\n' >>odd.ini
  mkdir copy
  for file in odd.ini "$shipped/hostlog.ini" "$shipped/strict.ini"; do
    Hostlog 0 "$file" -n 0 -s first.ini -w 'watched/*.txt'
    Hostlog 0 first.ini -n 0 -s copy/first.ini
    diff first.ini copy/first.ini || Fail "$file: written settings do not read back"
    grep -q '^  Path = "watched/\*.txt"' first.ini || Fail "$file: $(cat first.ini)"
  done
  Refuses . -n 0 -s /dev/full
  Refuses 'no header' -n 0 -s a_b.ini
  Refuses 'double quote' -n 0 -w 'a"b' -s quote.ini
  { [ ! -e a_b.ini ] && [ ! -e quote.ini ]; } || Fail "a file was made that cannot be read back"
}

CheckRecordFile() {
  cp "$shipped/strict.ini" .
  Hostlog 0 strict.ini -r a.rec
  sed -n '/^Hostlog/,/^$/p; /^READING/,/^$/p' out >taken
  Hostlog 0 -p a.rec
  IsWhole "printed records"
  sed -n '/^Hostlog/,/^$/p; /^READING/,/^$/p' out | Matches "printed as taken" 3<taken
  Hostlog 0 strict.ini -n 2 -i 0 -b -r a.rec
  Hostlog 0 -b -p a.rec
  sed -n 's/^\([0-9]\)  .*readings.*/\1/p' out | tr '\n' ' ' | grep -qx '1 2 3 ' || Fail "not in order: $(cat out)"
  if Run "$program" -p a.rec >/dev/full 2>err; then Fail "a full disk was not noticed"; fi
  grep -q 'No space' err || Fail "full disk: $(cat err)"
}

# Damage NAME OFFSET BYTES: makes a copy of the records with other bytes from there on.
Damage() {
  cp a.rec "$1"
  printf %b "$3" | dd of="$1" bs=1 seek="$2" conv=notrunc 2>/dev/null
}

CheckDamagedRecords() { # which are neither printed nor added to
  head -c 10 a.rec >header
  head -c 100 a.rec >description
  head -c $(($(wc -c <a.rec) - 1)) a.rec >snapshot
  Damage magic 0 x
  Damage lying 56 '\377\377\377'
  Damage none 4 '\000\000\000\000' # the size of the first record
  Damage most 4 '\377\377\377\377'
  Damage many 4 '\000\077\077\000'
  while read -r records message; do
    Refuses "$message" -p "$records"
    [ -f "$records" ] || continue
    cp "$records" before
    Hostlog 1 strict.ini -b -r "$records"
    cmp "$records" before || Fail "$records was changed"
  done <<'EOT'
header      Ends within
description Ends within
snapshot    Ends within
magic       no record file
lying       cannot be right
none        .
most        .
many        .
folder      directory
/dev/full   regular
missing.rec No such file
EOT
}

CheckShippedSettings
CheckStrictSettings
CheckRefusals
CheckCommandLine
CheckWatchedPaths
CheckWrittenSettings
CheckRecordFile
CheckDamagedRecords
