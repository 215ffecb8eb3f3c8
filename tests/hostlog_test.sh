#!/bin/sh
# Runs the example program hostlog on good and bad command lines, settings and record files.
# usage: [RUN=emulator] hostlog_test.sh PROGRAM   (with hostlog.ini and strict.ini beside it)
set -eu

program=$(realpath "$1")
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
cd "$work"
failed=0

Fail() {
  echo "FAILED: $*" >&2
  failed=1
}

# Hostlog STATUS [ARGUMENT...]: runs the program, with its output in `out` and `err`, and expects an exit status.
Hostlog() {
  expected=$1 status=0
  shift
  # shellcheck disable=SC2046 # an emulator and its options
  $(echo "${RUN-}" | tr ';' ' ') "$program" "$@" >out 2>err || status=$?
  [ "$status" -eq "$expected" ] || Fail "hostlog $*: status $status: $(cat out err)"
}

CheckIsWhole() {
  [ "$(tail -n 1 out)" = "Blocks of memory not given back: 0" ] || Fail "$1: $(tail -n 5 out)"
  [ ! -s err ] || Fail "$1: $(cat err)"
}

CheckShippedSettings() { # found beside the program
  Hostlog 0
  CheckIsWhole "shipped settings"
  sed -n '1,3p; 7,9p' out | sed 's/ *$//' | diff - /dev/fd/3 3<<'EOT' || Fail "settings are not what hostlog.ini says"
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
  cp "$(dirname "$program")/strict.ini" hostlog.ini
  Hostlog 0
  CheckIsWhole "strict settings"
  grep '^[0-9]\{6\}(' out >lines || true
  cat hostlog.*.log | diff lines - || Fail "console and daily log differ"
  sed 's/^[0-9]*(report.c:[0-9]*)//; s/ on \/ ([^)]*)/ on \//; s/: [0-9.]*/: N/' lines | diff - /dev/fd/3 3<<'EOT' ||
W0200 Processors busy: N %, at most -1.0 wanted
W0200 Load per processor, 1 minute: N, at most -1.0 wanted
W0200 Load per processor, 5 minutes: N, at most -1.0 wanted
W0200 Load per processor, 15 minutes: N, at most -1.0 wanted
W0200 Tasks: N, at most 0.0 wanted
W0200 Memory available: N GiB, at least 2097152.0 wanted
E0200 Free on /: N %, at least 101.0 wanted
EOT
    Fail "unexpected error lines"
  rm hostlog.ini
}

# Refuses FILE WORDS: expects one message, with these words about this file.
Refuses() {
  Hostlog 1 "$1"
  [ ! -s out ] || Fail "$1: $(cat out)"
  [ "$(wc -l <err)" -eq 1 ] || Fail "$1: not one message: $(cat err)"
  grep -q "^hostlog: $1: .*$2" err || Fail "$1: $(cat err)"
}

CheckRefusals() {
  mkdir folder
  : >empty
  printf 'Title = x\n' >noheader
  printf '[ x.ini ]\n[ Server ]\nTitle = x\n' >nosection
  printf '[ x.ini ]\n\n[ Hostlog ]\nTitle = x\nWidth=5\n\n[ Hostlog Limits ]\n' >together
  printf '[ x.ini ]\n[ Hostlog ]\nTitle = "x\n' >quote
  Refuses missing 'No such file'
  Refuses folder 'Is a directory'
  Refuses empty 'header'
  Refuses noheader 'header'
  Refuses nosection 'no section'
  Refuses together 'line 7'
  Refuses quote 'quote'
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
    Hostlog 1 $mistake
    head -n 1 err | grep -q '^hostlog: [A-Z]' || Fail "no message for $mistake: $(cat err)"
    grep -q '^hostlog \[Arg1\] \[-v\] \[-b | -f\]' err || Fail "no syntax for $mistake: $(cat err)"
  done
}

CheckWatchedPaths() {
  mkdir -p watched/below watched/deep
  printf 12345 >watched/five.txt
  truncate -s 5000000000 watched/large.txt
  : >watched/other.c
  Hostlog 0 -f -w 'watched/*.txt' "$work/watched/" '/no/such/*'
  CheckIsWhole "watched paths"
  sed -n '/^FILE/,$p' out | sed "s|$work||; s/  */ /g; s/ *\$//" | grep '^/watched' | sort | diff - /dev/fd/3 3<<'EOT' ||
/watched/below/
/watched/deep/
/watched/five.txt 5
/watched/large.txt 5000000000
EOT
    Fail "watched paths"
}

CheckWrittenSettings() {
  printf '[ x.ini ]\n[ Hostlog ]\nVerbosity = Warning\nSite = A b\nMemory 1 = Cached\nMemory 2 = MemFree\n' >odd.ini
  printf '[ Hostlog Limits ]\nLoad 1 = 0.1\nBusy = 1e-9\n[ Hostlog Swap ]\nUsed = 0.3\n' >>odd.ini
  mkdir copy
  for file in odd.ini "$(dirname "$program")/hostlog.ini" "$(dirname "$program")/strict.ini"; do
    Hostlog 0 "$file" -n 0 -s first.ini -w 'watched/*.txt'
    Hostlog 0 first.ini -n 0 -s copy/first.ini
    diff first.ini copy/first.ini || Fail "$file: written settings do not read back"
    grep -q '^  Path = "watched/\*.txt"' first.ini || Fail "$file: $(cat first.ini)"
  done
  for refused in /dev/full a_b.ini; do Hostlog 1 -n 0 -s $refused; done
  Hostlog 1 -n 0 -s quote.ini -w 'a"b'
  { [ ! -e a_b.ini ] && [ ! -e quote.ini ]; } || Fail "a file was made that cannot be read back"
}

# RefusesRecords FILE WORDS: a file that is neither printed nor added to.
RefusesRecords() {
  Hostlog 1 -p "$1"
  { [ ! -s out ] && [ "$(wc -l <err)" -eq 1 ]; } || Fail "-p $1: $(cat out err)"
  grep -q "^hostlog: $1: .*$2" err || Fail "-p $1: $(cat err)"
  [ -f "$1" ] || return 0
  cp "$1" before
  Hostlog 1 strict.ini -b -r "$1"
  cmp "$1" before || Fail "$1 was changed"
}

CheckRecordFile() {
  cp "$(dirname "$program")/strict.ini" .
  Hostlog 0 strict.ini -r a.rec
  sed -n '/^Hostlog/,/^$/p; /^READING/,/^$/p' out >taken
  Hostlog 0 -p a.rec
  CheckIsWhole "printed records"
  sed -n '/^Hostlog/,/^$/p; /^READING/,/^$/p' out | diff taken - || Fail "printed otherwise than taken"
  Hostlog 0 strict.ini -n 2 -i 0 -b -r a.rec
  Hostlog 0 -b -p a.rec
  [ "$(sed -n 's/^\([0-9]\)  .*readings.*/\1/p' out | tr '\n' ' ')" = "1 2 3 " ] || Fail "not in order: $(cat out)"

  head -c 10 a.rec >header
  head -c 100 a.rec >description
  head -c $(($(wc -c <a.rec) - 1)) a.rec >snapshot
  { printf x && tail -c +2 a.rec; } >magic
  { head -c 56 a.rec && printf '\377\377\377' && tail -c +60 a.rec; } >lying
  RefusesRecords header 'Ends within'
  RefusesRecords description 'Ends within'
  RefusesRecords snapshot 'Ends within'
  RefusesRecords magic 'no record file'
  RefusesRecords lying 'cannot be right'
  RefusesRecords folder 'directory'
  RefusesRecords /dev/full 'regular'
  RefusesRecords missing.rec 'No such file'
  for size in '\000\000\000\000' '\377\377\377\377' '\000\077\077\000'; do # of the first record
    { head -c 4 a.rec && printf %b "$size" && tail -c +9 a.rec; } >size
    RefusesRecords size .
  done
  # shellcheck disable=SC2046 # an emulator and its options
  if $(echo "${RUN-}" | tr ';' ' ') "$program" -p a.rec >/dev/full 2>err; then Fail "a full disk was not noticed"; fi
  grep -q 'No space' err || Fail "full disk: $(cat err)"
}

CheckShippedSettings
CheckStrictSettings
CheckRefusals
CheckCommandLine
CheckWatchedPaths
CheckWrittenSettings
CheckRecordFile
exit $failed
