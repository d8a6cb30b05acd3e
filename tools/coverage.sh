#!/usr/bin/env bash
# How much of what a receiver recorded reaches the RINEX files: builds a log
# from a RINEX observation and navigation file with rinex2log, converts it
# with obsforge, and prints per system the locked satellite-epochs the log
# carries (rinex2log's count of satellites sent with the lock flag on a
# signal by which they are listed), those that stand in the observation file,
# and the difference; then the BeiDou satellites of the observation and
# navigation files.
#
# usage: tools/coverage.sh RINEX2LOG OBSFORGE OBS NAV [rinex2log options]
#   e.g. tools/coverage.sh build/tools/rinex2log build/obsforge \
#            examples/data/ESBC_2020177_0600_2h_GRC.obs.rnx.gz examples/data/ESBC_2020177_GRC.nav.rnx.gz -b raw
set -euo pipefail

if [[ $# -lt 4 ]]; then
    sed -n '2,13p' "$0" >&2
    exit 2
fi
RINEX2LOG=$(realpath "$1")
OBSFORGE=$(realpath "$2")
OBS=$(realpath "$3")
NAV=$(realpath "$4")
shift 4

WORK=$(mktemp -d)
trap 'rm -rf "$WORK"' EXIT
cd "$WORK"
"$RINEX2LOG" "$@" "$OBS" "$NAV" real.log 2>built.txt
"$OBSFORGE" real.log out.obs gps.nav glo.nav bds.nav 2>converted.txt

# "  G: ... observations N in, M sent (L of them locked), ..."
locked() { sed -n "s/^  $1:.* sent (\([0-9]*\) of them locked).*/\1/p" built.txt; }
# Satellite lines of the observation file's body.
written() { awk -v s="$1" 'body && substr($0, 1, 1) == s && substr($0, 2, 2) ~ /^[0-9][0-9]$/ { n++ }
                           /END OF HEADER/ { body = 1 } END { print n + 0 }' out.obs; }
# Distinct satellites of a file's body, with the count of lines of each.
satellites() { awk -v s="$2" 'body && $0 ~ "^" s "[0-9][0-9] " { seen[substr($0, 1, 3)] = 1 }
                              /END OF HEADER/ { body = 1 }
                              END { n = 0; for (k in seen) { n++; list = list " " k }; print n ":" list }' "$1" |
                  { IFS=: read -r n list; echo "$n ($(echo "$list" | tr ' ' '\n' | sort | tr '\n' ' ' | sed 's/^ *//;s/ *$//'))"; }; }

printf '%-8s %12s %12s %12s\n' system "in the log" "in the file" lost
for system in G R C; do
    in_log=$(locked "$system")
    in_file=$(written "$system")
    printf '%-8s %12s %12s %12s\n' "$system" "$in_log" "$in_file" "$((in_log - in_file))"
done
echo "BeiDou satellites in the observation file: $(satellites out.obs C)"
echo "BeiDou satellites in the navigation file:  $(satellites bds.nav C)"
