#!/usr/bin/env bash
# Checks the bash completion of tavo: for each line of the table below, the words bash would
# pass for that line (cursor at its end) go to _tavo, and its answer must be exactly the
# expected list, in any order.
#   completion-test.sh PATH_TO_COMPLETION_FILE
set -uo pipefail
completion=$(realpath "$1")

work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
cd "$work" || exit 1
mkdir -p data/sub dev/pts dev/serial/by-id dev/serial/by-path
touch data/plu.csv data/plu-old.csv data/receipt.csv data/-fiscal.csv data/sub/z.csv
touch dev/ttyS0 dev/ttyS1 dev/ttyUSB0 dev/ttyACM0 dev/tty1 dev/null dev/ptmx dev/pts/0 \
    dev/pts/3 dev/pts/ptmx dev/serial/by-id/usb-Maker_Adapter-if00-port0 \
    "dev/serial/by-path/pci-0000:00:14.0-usb-0:1:1.0-port0"
export TAVO_DEV_DIR=$work/dev
# shellcheck source=/dev/null
source "$completion"
cd data || exit 1

settings="/ConfigFilePath= /ECR= /DefaultECR= /TTY= /ComSettings= /ComByteTimeMult= /IpAddress=
    /ComNumber= /WithTC= /Password= /Delimiter= /RetryCount= /RecordsInPacket=
    /IgnoreDuplicates= /SortInputFileLines= /FileType= /StandardLog= /DbgErrorLog=
    /LogFilePath= /TraceFile= /SerialProtocolVersion= /SerialProtocolRetryCount=
    /SerialProtocolResponseMaxTime= /SerialProtocolByteMaxTime= /EcrOperationMaxTime=
    /EcrCommMaxTime= /EcrDisconnectTime= /EcrRecoveryTime= /ProtocolSet=
    /SkipInstanceChecking= /ServerPortFrom= /ServerPortTo= /ConnectionTimeout="

# Line typed, "_" for a blank before the cursor | completions expected ("$settings": all settings)
cases=$(
    cat <<'EOF'
tavo se                                      | send
tavo SE                                      | SEND
tavo Se                                      | Send
tavo reada                                   | readandclear
tavo READ                                    | READ READANDCLEAR READEFTSTATUS READFISCALSTATUS
tavo c                                       | clear clearandsend
tavo readf                                   | readfiscalstatus
tavo sent                                    |
tavo send _                                  |
tavo send 3 p                                | plu.csv plu-old.csv
tavo readandclear 20 s                       | sub
tavo ClearAndSend 3 sub/                     | sub/z.csv
tavo executefiscal r                         | receipt.csv
tavo READEFTSTATUS -                         | -fiscal.csv
tavo delete 3 plu.csv p                      |
tavo clear 3 _                               | $settings
tavo init 3 /                                | $settings
tavo send 3 plu.csv /Serial                  | /SerialProtocolVersion= /SerialProtocolRetryCount= /SerialProtocolResponseMaxTime= /SerialProtocolByteMaxTime=
tavo executefiscal receipt.csv -Ecr          | -ECR= -EcrOperationMaxTime= -EcrCommMaxTime= -EcrDisconnectTime= -EcrRecoveryTime=
tavo clear 1 /T                              | /TTY= /TraceFile=
tavo clear 1 /tty                            | /TTY=
tavo clear 1 /TTY=                           | ttyS0 ttyS1 ttyUSB0 ttyACM0 pts/0 pts/3 serial/by-id/usb-Maker_Adapter-if00-port0 serial/by-path/pci-0000:00:14.0-usb-0:1:1.0-port0
tavo clear 1 /TTY=ttyU                       | ttyUSB0
tavo clear 1 -TTY:pts/                       | pts/0 pts/3
tavo clear 1 /TTY=serial/by-path/pci-0000:00 | 00:14.0-usb-0:1:1.0-port0
tavo clear 1 /TTY= /Ret                      | /RetryCount=
tavo clear 1 /Delimiter=                     |
tavo send 3 plu.csv /LogFilePath=su          | sub
tavo clear 1 /TraceFile=sub/                 | sub/z.csv
EOF
)

# Sets COMP_* as bash does for $1 typed with the cursor at its end: words are cut at blanks,
# and runs of "=" and ":" are words of their own.
split_line() {
    local word
    COMP_LINE=$1 COMP_POINT=${#1} COMP_WORDS=()
    for word in $1; do
        while [[ $word =~ ^([=:]+|[^=:]+)(.*)$ ]]; do
            COMP_WORDS+=("${BASH_REMATCH[1]}")
            word=${BASH_REMATCH[2]}
        done
    done
    [[ $1 == *[[:blank:]] ]] && COMP_WORDS+=("")
    COMP_CWORD=$((${#COMP_WORDS[@]} - 1))
}

sorted() { printf '%s\n' "$@" | sed '/^$/d' | sort; }

failures=0
while IFS='|' read -r typed expected; do
    typed=$(sed -e 's/ *$//' -e 's/ _$/ /' <<<"$typed")
    expected=${expected//\$settings/$settings}
    split_line "$typed"
    COMPREPLY=()
    _tavo
    # shellcheck disable=SC2086
    if [[ "$(sorted "${COMPREPLY[@]}")" != "$(sorted $expected)" ]]; then
        echo "FAIL: '$typed' gave: ${COMPREPLY[*]}"
        echo "      expected: $(echo $expected)"
        failures=$((failures + 1))
    fi
done <<<"$cases"
echo "$(wc -l <<<"$cases") cases, $failures failed"
((failures == 0))
