#!/bin/sh
# Measures "kvproj convert" of longitude/latitude lines to UTM, file to file,
# against PROJ's cs2cs on the same file in the same run (same axis order,
# three decimals). Usage: tools/throughput.sh KVPROJ [LINES] [ROUNDS]
#   KVPROJ  the tool (a release build: build/kvproj)
#   LINES   points in the input (default 10000000)
#   ROUNDS  runs of each case; the best is kept (default 3)
# Cases: one core (taskset -c 0) for both tools, and kvproj with two threads
# on two cores (taskset -c 0,1). The tools run alternately, so a machine
# loaded by other work slows both alike. Prints points per second and the
# ratio to cs2cs, and checks that the one-thread and two-thread outputs are
# the same bytes.
set -eu
tool=${1:?the kvproj tool}
lines=${2:-10000000}
rounds=${3:-3}
work=${TMPDIR:-/tmp}/kvproj-throughput.$$
mkdir -p "$work"
trap 'rm -rf "$work"' EXIT INT TERM
in="$work/lonlat.txt"
# Points over UTM zone 33 (12..18 E, 0..80 N), a spread of digits.
awk -v n="$lines" 'BEGIN { srand(1); for (i = 0; i < n; i++)
    printf "%.7f %.7f\n", 12 + 6 * rand(), 80 * rand() }' > "$in"
now() { date +%s.%N; }
# Seconds for one run of "$@" reading $in into $2's output file.
timed() {
    out=$1; shift
    t0=$(now); "$@" < "$in" > "$out"; t1=$(now)
    echo "$t0 $t1" | awk '{ printf "%.3f", $2 - $1 }'
}
best() { printf '%s\n' "$@" | sort -n | head -n 1; }
k1="" ; k2="" ; c1=""
for r in $(seq "$rounds"); do
    c1="$c1 $(timed "$work/cs2cs.txt" taskset -c 0 cs2cs -f %.3f +proj=longlat +datum=WGS84 +to +proj=utm +zone=33 +datum=WGS84)"
    k1="$k1 $(timed "$work/k1.txt" taskset -c 0 "$tool" convert --fwd --utm 33N --precision 3)"
    k2="$k2 $(timed "$work/k2.txt" taskset -c 0,1 "$tool" convert --fwd --utm 33N --precision 3 --threads 2)"
done
cmp -s "$work/k1.txt" "$work/k2.txt" || { echo "one and two threads differ" >&2; exit 1; }
# cs2cs writes "x<TAB>y 0.000": compare the coordinates only, and say by how much they differ.
awk 'NR == FNR { x[FNR] = $1; y[FNR] = $2; next }
    { dx = $1 - x[FNR]; dy = $2 - y[FNR]; if (dx < 0) dx = -dx; if (dy < 0) dy = -dy
      if (dx > 0 || dy > 0) n++; if (dx > m) m = dx; if (dy > m) m = dy }
    END { printf "kvproj and cs2cs: %d of %d lines differ, by at most %.3f m\n", n, FNR, m }' \
    "$work/cs2cs.txt" "$work/k1.txt"
c=$(best $c1); a=$(best $k1); b=$(best $k2)
load=$(cut -d' ' -f1-3 /proc/loadavg)
echo "$lines points, best of $rounds, load average $load"
printf '%-28s %8s %12s %8s\n' case seconds points/s "x cs2cs"
for row in "cs2cs, 1 core:$c" "kvproj, 1 core:$a" "kvproj, 2 threads, 2 cores:$b"; do
    name=${row%:*}; s=${row##*:}
    echo "$name $s $lines $c" | awk -F' ' '{ n = NF; s = $(n - 2); p = $(n - 1); c = $n
        name = $1; for (i = 2; i <= n - 3; i++) name = name " " $i
        printf "%-28s %8.2f %12.0f %8.1f\n", name, s, p / s, c / s }'
done
