#!/usr/bin/env bash
# Golden whole runs: each case folder holds a log and whatever else the run
# reads, its command line (`args`, the words after the program name, file
# names relative to the run folder) and `expected/`, every file the run
# writes plus its error stream (`stderr`; also `stdout` and `exit-status`
# when they aren't empty and 0). The date of the PGM / RUN BY / DATE lines
# (columns 41 to 60) is masked on both sides; everything else must match
# byte for byte, and no file may be missing or extra.
#
#   golden.sh check OBSFORGE CASE...          runs the cases, prints a unified
#                                             diff for each mismatch
#   golden.sh regenerate [--write] OBSFORGE CASE...
#                                             shows the same diffs, then writes
#                                             the changed expected files (asks
#                                             first unless --write is given)
#   golden.sh compare EXPECTED_DIR OUT_DIR    compares a folder of outputs
#                                             made elsewhere (no stderr)
#
# Each file's diff stops after GOLDEN_DIFF_LINES lines (150).
set -euo pipefail
set -f # the words of `args` are taken as they stand

label="PGM / RUN BY / DATE"
max_diff_lines="${GOLDEN_DIFF_LINES:-150}" # per file; the rest is counted
scratch="$(mktemp -d)"
trap 'rm -rf "$scratch"' EXIT

# Prints the file with the run date blanked out.
masked() {
    sed -E "s|^(.{40}).{20}($label)|\1<run date masked>   \2|" "$1"
}

# The files under a folder, one relative path a line.
files_in() {
    (cd "$1" && find . -type f -o -type l | sed 's|^\./||' | LC_ALL=C sort)
}

# Compares every file of $1 with its twin in $2; prints what differs.
# Returns 1 on any difference. With $3 set, `stderr` isn't expected.
compare_dirs() {
    local expected="$1" actual="$2" skip_stderr="${3:-}" differ=0 f
    while IFS= read -r f; do
        [[ -n "$skip_stderr" && "$f" == stderr ]] && continue
        if [[ ! -e "$actual/$f" ]]; then
            echo "missing: $f (expected, not written)"
            differ=1
        elif ! cmp -s <(masked "$expected/$f") <(masked "$actual/$f"); then
            diff -u --text --label "expected/$f" --label "actual/$f" \
                <(masked "$expected/$f") <(masked "$actual/$f") >"$scratch/diff" || true
            head -n "$max_diff_lines" "$scratch/diff"
            local lines
            lines=$(wc -l <"$scratch/diff")
            ((lines <= max_diff_lines)) || echo "... $((lines - max_diff_lines)) more lines of diff for $f"
            differ=1
        fi
    done < <(files_in "$expected")
    while IFS= read -r f; do
        if [[ ! -e "$expected/$f" ]]; then
            echo "unexpected: $f (written, not expected), $(wc -c <"$actual/$f") bytes:"
            head -c 2000 "$actual/$f" | head -n 20 | sed 's/^/+ /'
            differ=1
        fi
    done < <(files_in "$actual")
    return $differ
}

# Runs case $2 with the executable $1; its outputs go to folder $3.
run_case() {
    local exe="$1" case="$2" out="$3" run="$3.run" status=0 f
    mkdir -p "$out" "$run"
    while IFS= read -r f; do
        case "$(basename "$f")" in args | expected) ;; *) cp -rL "$f" "$run/" ;; esac
    done < <(find "$case/" -mindepth 1 -maxdepth 1)
    local inputs
    inputs="$(files_in "$run")"
    read -r -a words <"$case/args"
    (cd "$run" && "$exe" "${words[@]}" </dev/null >"$out/stdout" 2>"$out/stderr") || status=$?
    [[ -s "$out/stdout" ]] || rm "$out/stdout"
    [[ $status -eq 0 ]] || echo "$status" >"$out/exit-status"
    while IFS= read -r f; do
        grep -qxF -- "$f" <<<"$inputs" && continue
        mkdir -p "$out/$(dirname "$f")"
        mv "$run/$f" "$out/$f"
    done < <(files_in "$run")
}

exe_path() {
    [[ -x "$1" ]] || { echo "golden.sh: no executable at $1" >&2; exit 2; }
    realpath "$1"
}

command="${1:-}"
shift || true
case "$command" in
check)
    exe="$(exe_path "$1")"
    shift
    failed=()
    for case in "${@%/}"; do
        name="$(basename "$case")"
        run_case "$exe" "$case" "$scratch/$name"
        if compare_dirs "$case/expected" "$scratch/$name" >"$scratch/$name.report"; then
            echo "golden $name: ok"
        else
            echo "golden $name: DIFFERS from $case/expected"
            cat "$scratch/$name.report"
            failed+=("$name")
        fi
    done
    echo "$(($# - ${#failed[@]})) passed, ${#failed[@]} failed"
    [[ ${#failed[@]} -eq 0 ]]
    ;;
regenerate)
    write=""
    [[ "${1:-}" == --write ]] && { write=1; shift; }
    exe="$(exe_path "$1")"
    shift
    changed=()
    for case in "${@%/}"; do
        name="$(basename "$case")"
        mkdir -p "$case/expected"
        run_case "$exe" "$case" "$scratch/$name"
        if ! compare_dirs "$case/expected" "$scratch/$name" >"$scratch/$name.report"; then
            echo "golden $name: changed"
            cat "$scratch/$name.report"
            changed+=("$case")
        fi
    done
    if [[ ${#changed[@]} -eq 0 ]]; then
        echo "golden: every expected file is up to date"
        exit 0
    fi
    echo "golden: changed: ${changed[*]}"
    if [[ -z "$write" ]]; then
        [[ -t 0 ]] || { echo "golden: nothing written; run with --write (make golden WRITE=1) to write" >&2; exit 1; }
        read -r -p "Write the new expected files? [y/N] " answer
        [[ "$answer" == [yY]* ]] || { echo "golden: nothing written"; exit 1; }
    fi
    for case in "${changed[@]}"; do
        name="$(basename "$case")"
        # Files whose masked text is unchanged keep their bytes (and date).
        while IFS= read -r f; do
            [[ -e "$scratch/$name/$f" ]] || rm "$case/expected/$f"
        done < <(files_in "$case/expected")
        while IFS= read -r f; do
            if [[ ! -e "$case/expected/$f" ]] ||
                ! cmp -s <(masked "$case/expected/$f") <(masked "$scratch/$name/$f"); then
                mkdir -p "$case/expected/$(dirname "$f")"
                cp "$scratch/$name/$f" "$case/expected/$f"
            fi
        done < <(files_in "$scratch/$name")
        echo "golden: wrote $case/expected"
    done
    ;;
compare)
    if compare_dirs "$1" "$2" skip-stderr; then
        echo "golden: $2 matches $1"
    else
        echo "golden: $2 differs from $1"
        exit 1
    fi
    ;;
*)
    sed -n '2,/^set -euo/p' "$0" | sed '$d; s/^# \{0,1\}//' >&2
    exit 2
    ;;
esac
