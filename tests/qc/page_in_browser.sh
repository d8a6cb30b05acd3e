#!/usr/bin/env bash
# The report's page in a real browser. The built obsforge-qc writes the
# report of the shipped sample log; headless Chromium (Debian's package)
# opens its report.html twice:
#  - once for a screenshot, with a net log of every request: the page must
#    load without any network request, and the screenshot must show a page
#    with its coloured plots, not a blank or an error page;
#  - once for its loaded DOM, with a few lines of script appended to a copy
#    of the page that measure what the browser laid out: the page's six plots
#    (qc/HtmlReport.cpp, WritePlots) must all be there, each with marks that
#    have a size and lie inside the plot, and the page itself runs no script.
# Without Chromium the test is skipped (exit 77) and says so.
#
# usage: page_in_browser.sh OBSFORGE_QC SAMPLE_LOG WORK_DIR
set -euo pipefail
qc="$1"
log="$2"
work="$3"

browser="$(command -v chromium || command -v chromium-browser || true)"
if [ -z "$browser" ]; then
    echo "SKIPPED: no Chromium installed (apt-get install chromium); the report page was not opened in a browser"
    exit 77
fi

rm -rf "$work"
mkdir -p "$work"
"$qc" -o "$work/report" "$log" >"$work/summary.txt"
page="$work/report/report.html"

# No request may leave the machine even if the page made one: every host
# name fails to resolve, and the request still shows in the net log.
flags=(--headless --no-sandbox --disable-gpu --disable-background-networking --disable-component-update
       --disable-sync --no-first-run --disable-default-apps --hide-scrollbars --force-color-profile=srgb
       "--host-resolver-rules=MAP * ~NOTFOUND" --window-size=1280,1800)

timeout 120 "$browser" "${flags[@]}" --user-data-dir="$work/profile1" --log-net-log="$work/net.json" \
    --screenshot="$work/report.png" "file://$page" >"$work/browser.log" 2>&1
for file in net.json report.png; do
    if [ ! -s "$work/$file" ]; then
        echo "FAILED: Chromium wrote no $file for the page; its messages are in $work/browser.log"
        exit 1
    fi
done

# The copy that measures itself once loaded: per plot, the shapes among its
# marks that the browser drew with a size, on screen, inside the plot's
# frame. A dot is a zero-length stroke with round caps, so a shape's box
# grows by half its stroke width.
cat >"$work/measure.js" <<'JS'
(function () {
  var plots = [];
  document.querySelectorAll('figure.plot').forEach(function (figure) {
    var svg = figure.querySelector('svg');
    var frame = svg ? svg.getBoundingClientRect() : { left: 0, top: 0, right: 0, bottom: 0, width: 0, height: 0 };
    var shapes = 0, drawn = 0;
    var laidOut = frame.width > 0 && frame.height > 0;
    figure.querySelectorAll('g.marks').forEach(function (marks) {
      marks.querySelectorAll('rect,circle,ellipse,line,polyline,polygon,path').forEach(function (shape) {
        shapes++;
        var style = getComputedStyle(shape);
        var m = shape.getScreenCTM();
        if (!laidOut || !m || style.visibility !== 'visible' || parseFloat(style.opacity) === 0 ||
            (style.fill === 'none' && style.stroke === 'none')) return;
        var box = shape.getBBox();
        var pad = style.stroke === 'none' ? 0 : parseFloat(style.strokeWidth) / 2;
        var xs = [], ys = [];
        [[box.x - pad, box.y - pad], [box.x + box.width + pad, box.y - pad],
         [box.x - pad, box.y + box.height + pad], [box.x + box.width + pad, box.y + box.height + pad]]
          .forEach(function (p) {
            xs.push(m.a * p[0] + m.c * p[1] + m.e);
            ys.push(m.b * p[0] + m.d * p[1] + m.f);
          });
        var x0 = Math.min.apply(null, xs), x1 = Math.max.apply(null, xs);
        var y0 = Math.min.apply(null, ys), y1 = Math.max.apply(null, ys);
        if (!(x1 > x0 && y1 > y0) || x1 <= frame.left || x0 >= frame.right || y1 <= frame.top || y0 >= frame.bottom)
          return;
        drawn++;
      });
    });
    plots.push({ id: figure.id, width: frame.width, height: frame.height, shapes: shapes, drawn: drawn });
  });
  var out = document.createElement('pre');
  out.id = 'measured';
  out.textContent = JSON.stringify({ plots: plots, scripts: document.scripts.length - 1 });
  document.body.appendChild(out);
})();
JS
python3 - "$page" "$work/measure.js" "$work/report/measured.html" <<'PY'
import sys
page, script, out = sys.argv[1:]
text = open(page, encoding="utf-8").read()
end = text.rfind("</body>")
if end < 0:
    sys.exit("the page has no </body>")
open(out, "w", encoding="utf-8").write(text[:end] + "<script>" + open(script).read() + "</script>\n" + text[end:])
PY
timeout 120 "$browser" "${flags[@]}" --user-data-dir="$work/profile2" --dump-dom "file://$work/report/measured.html" \
    >"$work/dom.html" 2>>"$work/browser.log"

python3 - "$work" <<'PY'
import html, json, re, struct, sys, zlib
work = sys.argv[1]
failures = []

# Every request in the net log that the page made. The browser's own
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

# The loaded page: the six plots, in the page's order, each drawn.
expected = ["plot-timeline", "plot-sky", "plot-strength", "plot-count", "plot-multipath", "plot-intervals"]
dom = open(f"{work}/dom.html", encoding="utf-8").read()
found = re.search(r'<pre id="measured">(.*?)</pre>', dom, re.S)
if not found:
    failures.append("the loaded page was not measured (no page, or its layout failed)")
    measured = {"plots": [], "scripts": 0}
else:
    measured = json.loads(html.unescape(found.group(1)))
plots = measured["plots"]
ids = [p["id"] for p in plots]
if ids != expected:
    failures.append(f"{len(ids)} plots in the loaded page, {ids}, not the six {expected}")
for p in plots:
    if p["width"] < 100 or p["height"] < 100:
        failures.append(f"{p['id']} is laid out {p['width']:.0f} x {p['height']:.0f} px")
    if p["drawn"] == 0:
        failures.append(f"{p['id']} has no drawn marks ({p['shapes']} shapes among its marks, none with a size "
                        "inside the plot)")
if measured["scripts"] != 0:
    failures.append(f"the page runs {measured['scripts']} scripts of its own")

# The screenshot, decoded: a page of many colours, with a fair share of ink
# and of strong colours (the plots' bars, tracks and lines), where a blank
# page has one colour and an error page a few greys.
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
colours, pixels, ink, strong = set(), 0, 0, 0
for row in range(height):
    line = raw[row * (stride + 1):(row + 1) * (stride + 1)]
    f, cur = line[0], bytearray(line[1:])
    if f == 2:
        cur = bytearray((x + y) & 255 for x, y in zip(cur, prev))
    elif f != 0:
        for i in range(stride):
            a = cur[i - bpp] if i >= bpp else 0
            b = prev[i]
            if f == 1:
                cur[i] = (cur[i] + a) & 255
            elif f == 3:
                cur[i] = (cur[i] + (a + b) // 2) & 255
            elif f == 4:
                c = prev[i - bpp] if i >= bpp else 0
                p = a + b - c
                pa, pb, pc = abs(p - a), abs(p - b), abs(p - c)
                cur[i] = (cur[i] + (a if pa <= pb and pa <= pc else b if pb <= pc else c)) & 255
    if row % 3 == 0:
        for x in range(0, stride, bpp * 3):
            r, g, b = cur[x], cur[x + 1], cur[x + 2]
            colours.add((r, g, b))
            pixels += 1
            ink += r + g + b < 600
            strong += max(r, g, b) - min(r, g, b) > 80
    prev = cur
if len(colours) < 20 or ink < pixels // 50 or strong < pixels // 200:
    failures.append(f"the screenshot looks blank: {len(colours)} colours, {ink} of {pixels} sampled pixels "
                    f"with ink, {strong} in strong colours")

if failures:
    print("FAILED: " + "; ".join(failures))
    sys.exit(1)
print(f"page loaded without a request; {len(plots)} plots with drawn marks ("
      + ", ".join(f"{p['id']} {p['drawn']}" for p in plots) + f"); screenshot {width}x{height} with "
      f"{len(colours)} colours, {100 * ink // pixels}% ink, {100 * strong // pixels}% strong colours")
PY
