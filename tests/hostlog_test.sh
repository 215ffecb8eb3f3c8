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

IsWhole() { # expects that the last run came to its end
  [ "$(tail -n 1 out)" = "Blocks of memory not given back: 0" ] || Fail "$1: $(tail -n 5 out)"
  [ ! -s err ] || Fail "$1: $(cat err)"
}

# The shipped settings, found beside the program.
Hostlog 0
IsWhole "shipped settings"
sed -n '1,3p; 7,9p' out | sed 's/ *$//' | diff - /dev/fd/3 3<<'EOT' || Fail "shipped settings"
Hostlog: a look at this machine
===============================
Site       LAB      ber.r12.07
Busy time  over 1s
Errors     Error|Warning
Remark     Settings as shipped: a quiet machine is within all limits.
EOT
grep -q '^Taken .* (UTC+01:00)$' out || Fail "no time in the zone of hostlog.ini"
grep -q '^Active(anon)  *[0-9]*\.[0-9][0-9] MiB$' out || Fail "no memory as hostlog.ini names it"

# Settings with limits that nothing keeps, found in the current directory.
cp "$shipped/strict.ini" .
cp strict.ini hostlog.ini
Hostlog 0
IsWhole "strict settings"
grep '^[0-9]\{6\}(' out >lines || true
cat hostlog.*.log | diff lines - || Fail "console and daily log differ"
sed 's/^[0-9]*(report.c:[0-9]*)//; s/ on \/ ([^)]*)/ on \//; s/: [0-9.]*/: N/' lines |
  diff - /dev/fd/3 3<<'EOT' || Fail "unexpected error lines"
W0200 Processors busy: N %, at most -1.0 wanted
W0200 Load per processor, 1 minute: N, at most -1.0 wanted
W0200 Load per processor, 5 minutes: N, at most -1.0 wanted
W0200 Load per processor, 15 minutes: N, at most -1.0 wanted
W0200 Tasks: N, at most 0.0 wanted
W0200 Memory available: N GiB, at least 2097152.0 wanted
E0200 Free on /: N %, at least 101.0 wanted
EOT
rm hostlog.ini

# Settings that are refused, and what is said of them, line by line.
mkdir folder
Refuses 'No such file' missing
Refuses 'Is a directory' folder
while IFS='~' read -r text messages; do
  printf %b "$text" >wrong
  Hostlog 1 wrong
  sed 's/^hostlog: wrong//' err | tr '\n' ';' | grep -qx "$messages" || Fail "$text: $(cat err)"
  [ ! -s out ] || Fail "$text: $(cat out)"
done <<'EOT'
[ x ]\n[ Server ]                                   ~: .Hostlog.: not in the file;:2: .*unknown section;
[ x ]\n[ Hostlog ]\n# mine\nUnit=MB\nWidht=5        ~:4: .*perhaps MiB;:5: .*perhaps Width;
[ x ]\n[ Hostlog ]\nTitle = x\n[ Hostlog Watch 1 ]\n~:4: .*not read, because .*;
EOT

# Help, and command lines that the program's table refuses.
for topic in '' full arg1 -v w1; do
  # shellcheck disable=SC2086 # no topic is no argument
  Hostlog 0 -h $topic
  { [ -s out ] && [ ! -s err ]; } || Fail "-h $topic: $(cat out err)"
done
grep -q '^w1: the paths' out || Fail "-h w1: $(cat out)"
for mistake in '-b -f' '-n x' '-s' 'a b' '-w a -w b'; do
  # shellcheck disable=SC2086 # several arguments
  Hostlog 2 $mistake
  tr '\n' ' ' <err | grep -q '^hostlog: [A-Z].* Usage: hostlog \[Arg1\] \[-v\] \[-b | -f\]' ||
    Fail "no message or no syntax for $mistake: $(cat err)"
done

# Watched paths.
mkdir -p watched/below watched/deep
printf 12345 >watched/five.txt
truncate -s 5000000000 watched/large.txt
: >watched/other.c
Hostlog 0 -f -w 'watched/*.txt' "$work/watched/" '/no/such/*'
IsWhole "watched paths"
sed -n "/^FILE/,\$ s|^$work||p" out | sed 's/  */ /g; s/ *$//' | sort | diff - /dev/fd/3 3<<'EOT' || Fail "watched paths"
/watched/below/
/watched/deep/
/watched/five.txt 5
/watched/large.txt 5000000000
EOT

# Written settings read back as the same.
printf '[ x.ini ]\n[ Hostlog ]\nVerbosity = Warning\nSite = A b\n' >odd.ini
printf 'Memory 1 = Cached\nMemory 2 = MemFree\n[ Hostlog Limits ]\nLoad 1 = 0.1\n' >>odd.ini
printf 'Busy = 1e-9\n[ Hostlog Swap ]\nUsed = 0.3\n' >>odd.ini
mkdir copy
for file in odd.ini "$shipped/hostlog.ini" strict.ini; do
  Hostlog 0 "$file" -n 0 -s first.ini -w 'watched/*.txt'
  Hostlog 0 first.ini -n 0 -s copy/first.ini
  diff first.ini copy/first.ini || Fail "$file: written settings do not read back"
  grep -q '^  Path = "watched/\*.txt"' first.ini || Fail "$file: $(cat first.ini)"
done
Refuses 'not a regular file' -n 0 -s /dev/full
Refuses 'no header' -n 0 -s a_b.ini
Refuses 'double quote' -n 0 -w 'a"b' -s quote.ini
{ [ ! -e a_b.ini ] && [ ! -e quote.ini ]; } || Fail "a file was made that cannot be read back"

# Records are printed as they were taken, those of several runs in their order.
Hostlog 0 strict.ini -r a.rec
sed -n '/^Hostlog/,/^$/p; /^READING/,/^$/p' out >taken
Hostlog 0 -p a.rec
IsWhole "printed records"
sed -n '/^Hostlog/,/^$/p; /^READING/,/^$/p' out | diff - taken || Fail "printed as taken"
Hostlog 0 strict.ini -n 2 -i 0 -b -r a.rec
Hostlog 0 -b -p a.rec
sed -n 's/^\([0-9]\)  .*readings.*/\1/p' out | tr '\n' ' ' | grep -qx '1 2 3 ' || Fail "order: $(cat out)"
if Run "$program" -p a.rec >/dev/full 2>err; then Fail "a full disk was not noticed"; fi
grep -q 'No space' err || Fail "full disk: $(cat err)"

# Records that end early, or have other bytes at an offset (at 4 the first size), are neither printed nor added to.
Refuses directory -p folder
Refuses regular -p /dev/full
Refuses 'No such file' -p missing.rec
while read -r size offset bytes message; do
  head -c "$size" a.rec >wrong
  printf %b "$bytes" | dd of=wrong bs=1 seek="$offset" conv=notrunc 2>/dev/null
  cp wrong before
  Refuses "$message" -p wrong
  Hostlog 1 strict.ini -b -r wrong
  cmp wrong before || Fail "$size $offset $bytes: records were added"
done <<'EOT'
10  0  \c               Ends within
100 0  \c               Ends within
-1  0  \c               Ends within
-0  0  x                no record file
-0  56 \377\377\377     cannot be right
-0  4  \000\000\000\000 cannot be right
-0  4  \377\377\377\377 Ends within
EOT
