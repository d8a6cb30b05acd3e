#!/usr/bin/env bash
# The converter's subsystems form layers, and includes only go down:
#
#   platform, gnsstime -> logio -> navstate -> obsconv -> rinex -> driver
#                                                      -> qc    ->
#
# (the order the top CMakeLists.txt links the subsystems in).
# A subsystem may include its own headers and those of the layers below it,
# nothing else (not the tools, tests or benches beside them). Prints every
# include that breaks this and fails; run from anywhere:
#
#   tests/layers.sh [SOURCE_DIR]
set -euo pipefail
root="${1:-$(dirname "$0")/..}"

declare -A below=(
    [platform]=""
    [gnsstime]=""
    [logio]="platform gnsstime"
    [navstate]="platform gnsstime logio"
    [obsconv]="platform gnsstime logio navstate"
    [rinex]="platform gnsstime logio navstate obsconv"
    [qc]="platform gnsstime logio navstate obsconv"
    [driver]="platform gnsstime logio navstate obsconv rinex qc"
)

broken=0
for layer in "${!below[@]}"; do
    allowed=" $layer ${below[$layer]} "
    while IFS=: read -r file line text; do
        target="$(sed -E 's/^[[:space:]]*#[[:space:]]*include[[:space:]]*"([^"]*)".*/\1/' <<<"$text")"
        folder="${target%%/*}"
        if [[ "$target" != */* || "$allowed" != *" $folder "* ]]; then
            echo "${file#"$root"/}:$line: $layer includes \"$target\""
            broken=1
        fi
    done < <(grep -nE '^[[:space:]]*#[[:space:]]*include[[:space:]]*"' -r --include='*.h' --include='*.cpp' \
                 "$root/$layer" /dev/null || true)
done
if ((broken)); then
    echo "includes must go down the layers: platform, gnsstime -> logio -> navstate -> obsconv -> rinex, qc -> driver"
    exit 1
fi
echo "every include goes down the layers"
