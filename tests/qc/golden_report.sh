#!/usr/bin/env bash
# The golden report of the shipped sample: obsforge-qc's summary on standard
# output and its report.csv, compared byte for byte with
# examples/expected-qc/ (the page and the JSON carry the same numbers and
# are checked by their own tests).
#
#   golden_report.sh check OBSFORGE_QC            prints a unified diff for
#                                                 each mismatch
#   golden_report.sh regenerate [--write] OBSFORGE_QC
#                                                 shows the same diffs, then
#                                                 writes the changed files
#                                                 (asks first unless --write)
set -euo pipefail
mode="$1"
shift
write=""
if [[ "$mode" == regenerate && "${1:-}" == --write ]]; then
    write=yes
    shift
fi
qc="$(realpath "$1")"
root="$(cd "$(dirname "$0")/../.." && pwd)"
expected="$root/examples/expected-qc"
scratch="$(mktemp -d)"
trap 'rm -rf "$scratch"' EXIT

(cd "$root" && "$qc" -o "$scratch/report" examples/sample.log </dev/null >"$scratch/summary.txt")
cp "$scratch/report/report.csv" "$scratch/report.csv"

changed=()
for f in summary.txt report.csv; do
    if ! cmp -s "$expected/$f" "$scratch/$f" 2>/dev/null; then
        diff -u --label "expected/$f" --label "actual/$f" "$expected/$f" "$scratch/$f" 2>/dev/null | head -n 150 || true
        [[ -e "$expected/$f" ]] || echo "missing: examples/expected-qc/$f"
        changed+=("$f")
    fi
done
if [[ ${#changed[@]} -eq 0 ]]; then
    echo "sample report: as expected"
    exit 0
fi
if [[ "$mode" == check ]]; then
    echo "sample report: ${changed[*]} differ"
    exit 1
fi
if [[ -z "$write" ]]; then
    read -r -p "write ${changed[*]} to examples/expected-qc/? [y/N] " answer
    [[ "$answer" == y* ]] || exit 1
fi
mkdir -p "$expected"
for f in "${changed[@]}"; do cp "$scratch/$f" "$expected/$f"; done
echo "written: ${changed[*]}"
