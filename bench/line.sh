#!/usr/bin/env bash
# What the serial link costs and how close it comes to the line's speed, measured against
# ecrsim over a pseudo-terminal. Run by hand on a Release build (ctest does not run it):
#
#   bench/line.sh [BUILD_DIR]          (default "build"; takes about two minutes)
#
# It prints, for Send and Read of article records:
#   - system calls per record: strace -c -f of a 10,000-record run minus a 1-record run,
#     divided by 9,999 (only when strace is installed);
#   - tavo's CPU time (user + system) per record and the records per second of a 10,000-record
#     run against an unpaced ecrsim, medians of 3 runs;
#   - the bytes one record takes on the line, both directions together (the exchange is half
#     duplex, so both count), from TraceFile runs;
#   - records per second against ecrsim --baud 38400 and 115200 as a percentage of the limit
#     those bytes allow: baud / 10 bits per byte / bytes per record (median of 3);
#   - records per second with --turnaround 16 (the delay a USB adapter adds between the PC's
#     last byte and the answer) at 38400 baud: Send with RecordsInPacket 1 and 10, and Read.
# Rates are taken between a 1-record and an N-record run, so that starting the program and the
# session does not count.
set -euo pipefail
cd "$(dirname "$0")/.."
build="${1:-build}"
tavo="$build/tavo"
ecrsim="$build/tools/ecrsim"
work="$(mktemp -d)"
sim_pid=""
tty=""
bits_per_byte=10

stop_sim() {
    if [ -n "$sim_pid" ]; then
        kill "$sim_pid" 2>/dev/null || true
        wait "$sim_pid" 2>/dev/null || true
        sim_pid=""
    fi
}
trap 'stop_sim; rm -rf "$work"' EXIT

start_sim() { # ecrsim options...
    stop_sim
    : >"$work/tty"
    "$ecrsim" --quiet "$@" >"$work/tty" 2>/dev/null &
    sim_pid=$!
    for _ in $(seq 50); do [ -s "$work/tty" ] && break; sleep 0.1; done
    tty="$(head -n 1 "$work/tty")"
    [ -n "$tty" ] || { echo "ecrsim did not start" >&2; exit 1; }
}

articles() { # count: writes $work/plu<count>.csv
    local count=$1
    [ -f "$work/plu$count.csv" ] && return
    for ((key = 1; key <= count; key++)); do
        printf '%d,"Article %d",%d.99,%d,1,0x0a1b2c3d4e5f\r\n' $key $key $((key % 100)) \
            $((key % 9 + 1))
    done >"$work/plu$count.csv"
}

# One tavo run: command (send, read or clear), record count, then /Name=Value parameters.
# Send sends plu<count>.csv; read reads the whole section into back.csv.
tavo_args() {
    local command=$1 count=$2
    shift 2
    case "$command" in
    send) args=(send 3 "$work/plu$count.csv") ;;
    read) args=(read 3 "$work/back.csv") ;;
    *) args=("$command" 3) ;;
    esac
    args+=(/TTY="$tty" /ConfigFilePath="$work/none.ini" /LogFilePath="$work/log" "$@")
}
run() { # [wrapper...] -- command count parameters...
    local wrapper=()
    while [ "$1" != -- ]; do wrapper+=("$1"); shift; done
    shift
    tavo_args "$@"
    if ! "${wrapper[@]}" "$tavo" "${args[@]}" >"$work/out" 2>&1; then
        echo "tavo ${args[*]} failed:" >&2
        cat "$work/out" >&2
        exit 1
    fi
}

# Seconds (wall, user, system) of one run, appended to $work/times.
timed() { # command count parameters...
    local TIMEFORMAT='%3R %3U %3S'
    { time run -- "$@"; } 2>>"$work/times"
}
last_wall() { tail -n 1 "$work/times" | awk '{print $1}'; }

# Four runs against the running ecrsim: Send of 1 record into an empty section, Read of it,
# Send of count records, Read of them. Calls measure (a function) with command, count,
# parameters for each run and prints what it prints, as "send1 read1 sendN readN".
four_runs() { # measure count parameters...
    local measure=$1 count=$2
    shift 2
    articles 1
    articles "$count"
    run -- clear 0 "$@"
    local send1 read1 sendN readN
    send1=$($measure send 1 "$@")
    read1=$($measure read 1 "$@")
    sendN=$($measure send "$count" "$@")
    readN=$($measure read "$count" "$@")
    echo "$send1 $read1 $sendN $readN"
}

per_record() { # "a1 b1 aN bN" count: the Send and Read differences per record
    echo "$1" | awk -v n="$2" '{ printf "%.2f %.2f", ($3 - $1) / (n - 1), ($4 - $2) / (n - 1) }'
}
rates() { # "send1 read1 sendN readN" count: records per second of Send and Read
    echo "$1" | awk -v n="$2" '{ printf "%.1f %.1f", (n - 1) / ($3 - $1), (n - 1) / ($4 - $2) }'
}

wall_seconds() { # command count parameters...
    timed "$@"
    last_wall
}

syscalls() { # command count parameters...
    run strace -c -f -o "$work/strace" -- "$@"
    awk '$NF == "total" { print $4 }' "$work/strace"
}

# Bytes that crossed the line in one run, both ways. The trace's lines read
# "<time> PC->ECR  42 bytes in ..."; garbage lines repeat bytes of a read block and are skipped.
line_bytes() { # command count parameters...
    rm -f "$work/trace"
    run -- "$@" /TraceFile="$work/trace"
    awk '!/\(ignored by STCP\)/ && match($0, /(PC->ECR|PC<-ECR) *[0-9]+ bytes/) {
             sum += substr($0, RSTART + 7, RLENGTH - 13) } END { print sum + 0 }' "$work/trace"
}

median() { sort -g | awk '{ v[NR] = $1 } END { print v[int((NR + 1) / 2)] }'; }

median_rates() { # count parameters...: median Send and Read rates of 3 rounds of four runs
    local count=$1
    shift
    for _ in 1 2 3; do
        rates "$(four_runs wall_seconds "$count" "$@")" "$count"
        echo
    done >"$work/rates"
    echo "$(awk '{ print $1 }' "$work/rates" | median) $(awk '{ print $2 }' "$work/rates" | median)"
}

start_sim --packet 1
big=10000
if command -v strace >/dev/null; then
    read -r send_calls read_calls <<<"$(per_record "$(four_runs syscalls $big)" $big)"
    printf 'System calls per record:   Send %5.2f   Read %5.2f\n' "$send_calls" "$read_calls"
else
    echo "System calls per record:   strace is not installed"
fi

# The section holds the big file now; each Send replaces the same records.
articles $big
: >"$work/times"
for _ in 1 2 3; do
    timed send $big
    timed read $big
done
for command in Send Read; do
    [ $command = Send ] && rows='NR % 2 == 1' || rows='NR % 2 == 0'
    wall=$(awk "$rows"' { print $1 }' "$work/times" | median)
    cpu=$(awk "$rows"' { print $2 + $3 }' "$work/times" | median)
    awk -v c=$command -v n=$big -v w="$wall" -v u="$cpu" 'BEGIN {
        printf "%-4s %d records, unpaced: %8.0f records/s, tavo CPU %6.1f us/record\n",
               c, n, n / w, u * 1e6 / n }'
done

line_records=600
read -r send_bytes read_bytes <<<"$(per_record "$(four_runs line_bytes $line_records)" \
    $line_records)"
printf 'Bytes on the line per record (both ways):   Send %6.2f   Read %6.2f\n' "$send_bytes" \
    "$read_bytes"

for baud in 38400 115200; do
    start_sim --baud $baud --bits-per-byte $bits_per_byte --packet 1
    read -r send_rate read_rate <<<"$(median_rates $line_records)"
    for command in Send Read; do
        [ $command = Send ] && rate=$send_rate bytes=$send_bytes || rate=$read_rate bytes=$read_bytes
        awk -v c=$command -v b=$baud -v bits=$bits_per_byte -v r="$rate" -v n="$bytes" 'BEGIN {
            limit = b / bits / n
            printf "%-4s at %6d baud: %7.1f records/s of %7.1f the line allows = %5.1f %%\n",
                   c, b, r, limit, 100 * r / limit }'
    done
done

# Only Send groups its records in packets.
turnaround_records=200
for packet in 1 10; do
    start_sim --baud 38400 --bits-per-byte $bits_per_byte --turnaround 16 --packet $packet
    read -r send_rate read_rate <<<"$(rates "$(four_runs wall_seconds $turnaround_records \
        /RecordsInPacket=$packet)" $turnaround_records)"
    printf 'Turnaround 16 ms at 38400 baud: Send, RecordsInPacket %2d: %6.1f records/s\n' \
        $packet "$send_rate"
done
printf 'Turnaround 16 ms at 38400 baud: Read: %6.1f records/s\n' "$read_rate"
