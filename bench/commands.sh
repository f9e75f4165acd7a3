#!/usr/bin/env bash
# Measures Send and Read of 10,000 records against ecrsim over a pseudo-terminal: records per
# second (wall clock) and tavo's own CPU time (user + system) per record, medians of 5 runs.
#   bench/commands.sh [BUILD_DIR]     (a Release build; default "build")
set -euo pipefail
cd "$(dirname "$0")/.."
build="${1:-build}"
records=10000
runs=5
work="$(mktemp -d)"
trap 'kill "$sim_pid" 2>/dev/null; wait "$sim_pid" 2>/dev/null; rm -rf "$work"' EXIT

for ((key = 1; key <= records; key++)); do
    printf '%d,"Article %d",%d.99,%d,1,0x0a1b2c3d4e5f\r\n' $key $key $((key % 100)) $((key % 9 + 1))
done >"$work/plu.csv"

"$build/tools/ecrsim" --quiet >"$work/tty" 2>/dev/null &
sim_pid=$!
for _ in $(seq 50); do [ -s "$work/tty" ] && break; sleep 0.1; done
tty="$(head -n 1 "$work/tty")"
settings=(/TTY="$tty" /ConfigFilePath="$work/none.ini" /LogFilePath="$work/log" /RecordsInPacket=1)

median() { sort -g | awk '{v[NR] = $1} END {print v[int((NR + 1) / 2)]}'; }

measure() { # name, tavo arguments...
    local name="$1"
    shift
    : >"$work/times"
    for ((run = 0; run < runs; run++)); do
        /usr/bin/time -f "%e %U %S" -a -o "$work/times" "$build/tavo" "$@" "${settings[@]}" >/dev/null
    done
    local wall cpu
    wall=$(awk '{print $1}' "$work/times" | median)
    cpu=$(awk '{print $2 + $3}' "$work/times" | median)
    awk -v n="$name" -v r="$records" -v w="$wall" -v c="$cpu" 'BEGIN {
        printf "%-5s %6d records: %7.2f s wall, %8.0f records/s, tavo CPU %6.2f s = %5.1f us/record\n",
               n, r, w, r / w, c, c * 1e6 / r }'
}

measure Send send 3 "$work/plu.csv"
measure Read read 3 "$work/back.csv"
cmp -s "$work/plu.csv" "$work/back.csv" || { echo "records read back differ"; exit 1; }
