#!/usr/bin/env bash
# The report's page in a real browser: headless Chromium (Debian's package)
# opens report.html of the station data, written by rinex2qc, with a net log
# of every request. The page must load without any network request, every
# plot must have drawn marks in the loaded page, and the screenshot must not
# be blank. Without Chromium the test is skipped (exit 77) and says so.
#
# usage: page_in_browser.sh RINEX2QC DATA_DIR WORK_DIR
set -euo pipefail
rinex2qc="$1"
data="$2"
work="$3"

browser=""
for name in chromium chromium-browser; do
    if command -v "$name" >/dev/null 2>&1; then
        browser="$(command -v "$name")"
        break
    fi
done
if [ -z "$browser" ]; then
    echo "SKIPPED: no Chromium installed (apt-get install chromium); the report page was not opened in a browser"
    exit 77
fi

rm -rf "$work"
mkdir -p "$work/report"
"$rinex2qc" -o "$work/report" -A "$data/ESBC_2020177_0600_2h_GRC.obs.rnx.gz" "$data/ESBC_2020177_GRC.nav.rnx.gz" >/dev/null
page="file://$work/report/report.html"
flags=(--headless --no-sandbox --disable-gpu --disable-background-networking --disable-component-update
       --disable-sync --no-first-run --disable-default-apps --hide-scrollbars)

timeout 120 "$browser" "${flags[@]}" --user-data-dir="$work/profile1" --log-net-log="$work/net.json" \
    --window-size=1200,3000 --screenshot="$work/report.png" "$page" >"$work/browser.log" 2>&1
timeout 120 "$browser" "${flags[@]}" --user-data-dir="$work/profile2" --dump-dom "$page" >"$work/dom.html" 2>>"$work/browser.log"

python3 - "$work" <<'PY'
import json, re, struct, sys, zlib
work = sys.argv[1]
failures = []

# Every request in the net log that a page made. The browser's own
# background requests (updates, accounts) have no origin as initiator; a
# request of the page has the page's origin ("null" for a file).
net = json.load(open(f"{work}/net.json", encoding="utf-8", errors="replace"))
urls = set()
for event in net.get("events", []):
    params = event.get("params", {})
    if "url" in params and params.get("initiator", "not an origin") != "not an origin":
        urls.add(params["url"])
if urls:
    failures.append("requests of the page: " + ", ".join(sorted(urls)[:10]))

# The loaded page: six plots, each with drawn marks.
dom = open(f"{work}/dom.html", encoding="utf-8").read()
figures = re.findall(r'<figure class="plot" id="([^"]+)">(.*?)</figure>', dom, re.S)
if len(figures) != 6:
    failures.append(f"{len(figures)} plots in the loaded page, not 6")
for name, body in figures:
    marks = re.search(r'<g class="marks">(.*?)</g>', body, re.S)
    if not marks or not re.search(r"<(rect|circle|polyline|path|line)\b", marks.group(1)):
        failures.append(f"{name} has no drawn marks")

# The screenshot: decoded, it must hold many colours, not one.
data = open(f"{work}/report.png", "rb").read()
pos, width, height, idat = 8, 0, 0, b""
while pos < len(data):
    length, kind = struct.unpack(">I4s", data[pos:pos + 8])
    chunk = data[pos + 8:pos + 8 + length]
    if kind == b"IHDR":
        width, height, depth, colour = struct.unpack(">IIBB", chunk[:10])
    elif kind == b"IDAT":
        idat += chunk
    pos += 12 + length
raw = zlib.decompress(idat)
bpp = {2: 3, 6: 4}.get(colour, 4)
stride = width * bpp
prev = bytearray(stride)
colours = set()
for row in range(height):
    line = raw[row * (stride + 1):(row + 1) * (stride + 1)]
    f, cur = line[0], bytearray(line[1:])
    for i in range(stride):
        a = cur[i - bpp] if i >= bpp else 0
        b = prev[i]
        c = prev[i - bpp] if i >= bpp else 0
        if f == 1: cur[i] = (cur[i] + a) & 255
        elif f == 2: cur[i] = (cur[i] + b) & 255
        elif f == 3: cur[i] = (cur[i] + (a + b) // 2) & 255
        elif f == 4:
            p = a + b - c
            pa, pb, pc = abs(p - a), abs(p - b), abs(p - c)
            cur[i] = (cur[i] + (a if pa <= pb and pa <= pc else b if pb <= pc else c)) & 255
    if row % 7 == 0:
        for x in range(0, stride, bpp * 3):
            colours.add(bytes(cur[x:x + 3]))
    prev = cur
if len(colours) < 20:
    failures.append(f"the screenshot looks blank: {len(colours)} colours")

if failures:
    print("FAILED: " + "; ".join(failures))
    sys.exit(1)
print(f"page loaded without a request, {len(figures)} plots with marks, screenshot {width}x{height} with {len(colours)}+ colours")
PY
