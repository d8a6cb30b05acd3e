#!/usr/bin/env bash
# Writes the input logs of the golden cases again, from the station data of
# examples/data (through tools/rinex2log) and from the synthetic generator
# (tools/golden_synthetic_logs). Run from the top folder after a build:
#
#   tests/golden/make-logs.sh [BUILD_DIR]      (default build)
#
# Each log comes out the same byte for byte; README.md beside this script
# lists the same commands case by case.
set -euo pipefail
cd "$(dirname "$0")/../.."
build="${1:-build}"
r2l="$build/tools/rinex2log"
obs=examples/data/ESBC_2020177_0600_2h_GRC.obs.rnx.gz
nav=examples/data/ESBC_2020177_GRC.nav.rnx.gz
bdut="-2.7939677238e-09,-5.329070518e-15,0,755"
g=tests/golden
tmp="$(mktemp -d)"
trap 'rm -rf "$tmp"' EXIT

# The GPS part of the station data; the second navigation file lacks G12.
gzip -dc "$obs" | python3 $g/gps_only.py >"$tmp/gps.obs"
gzip -dc "$nav" | python3 $g/gps_only.py >"$tmp/gps.nav"
gzip -dc "$nav" | python3 $g/gps_only.py --drop G12 >"$tmp/gps-no-g12.nav"

$r2l -g 96 -t 300 "$tmp/gps.obs" "$tmp/gps.nav" $g/gps-l1/input.log
$r2l -g 76 -t 300 "$tmp/gps.obs" "$tmp/gps.nav" $g/gps-dual/input.log
$r2l -g 76 -b decoded -t 120 "$obs" "$nav" $g/mixed-decoded-beidou/input.log
$r2l -g 96 -b raw -u "$bdut" -t 120 "$obs" "$nav" $g/mixed-raw-beidou/input.log
$r2l -g 76 -t 1200 "$tmp/gps.obs" "$tmp/gps.nav" $g/decimation/input.log
$r2l -g 96 -t 300 "$tmp/gps.obs" "$tmp/gps-no-g12.nav" $g/elevation-mask/input.log
$r2l -g 96 -t 150 "$tmp/gps.obs" "$tmp/gps.nav" $g/header-file/input.log
$r2l -g 76 -s -m -t 150 "$tmp/gps.obs" "$tmp/gps.nav" $g/site-records/input.log

# Junk between frames, then the log cut 40 bytes into its last BIN76.
$r2l -g 76 -b raw -u "$bdut" -d 7 -s -m -t 120 "$obs" "$nav" "$tmp/damaged.log"
cut="$(grep -obUaP '\$BIN\x4c\x00' "$tmp/damaged.log" | tail -n 1 | cut -d: -f1)"
head -c "$((cut + 40))" "$tmp/damaged.log" >$g/damaged/input.log

"$build/tools/golden_synthetic_logs" $g
