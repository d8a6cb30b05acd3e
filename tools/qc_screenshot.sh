#!/usr/bin/env bash
# The picture of the quality report that the README and doc/quality-report.md
# show: the report of examples/sample.log, written by the given obsforge-qc,
# as headless Chromium shows it on a laptop screen 1400 pixels wide, from the
# top of the page to the end of the plots (the summary, the headline numbers
# and all six plots). With pngquant installed the PNG is reduced to a palette,
# which makes it about a third of the size.
#
# usage: tools/qc_screenshot.sh OBSFORGE_QC [OUTPUT.png]
#        (default output: doc/qc-report.png)
set -euo pipefail
if [ $# -lt 1 ] || [ $# -gt 2 ]; then
    echo "usage: $0 OBSFORGE_QC [OUTPUT.png]" >&2
    exit 2
fi
qc="$1"
root="$(cd "$(dirname "$0")/.." && pwd)"
out="${2:-$root/doc/qc-report.png}"
width=1400

browser="$(command -v chromium || command -v chromium-browser || true)"
if [ -z "$browser" ]; then
    echo "$0: no Chromium installed (apt-get install chromium)" >&2
    exit 1
fi

work="$(mktemp -d)"
trap 'rm -rf "$work"' EXIT
"$qc" -o "$work/report" "$root/examples/sample.log" >/dev/null
flags=(--headless --no-sandbox --disable-gpu --disable-background-networking --disable-component-update
       --disable-sync --no-first-run --disable-default-apps --hide-scrollbars --force-color-profile=srgb
       --force-device-scale-factor=1 "--host-resolver-rules=MAP * ~NOTFOUND")

# Where the plots end at this width: a copy of the page tells it once loaded.
python3 - "$work/report/report.html" "$work/report/measure.html" <<'PY'
import sys
page, out = sys.argv[1:]
text = open(page, encoding="utf-8").read()
end = text.rfind("</body>")
script = ("<script>var p = document.getElementById('plots');"
          "document.body.insertAdjacentHTML('beforeend', '<pre id=\"plots-end\">' + "
          "Math.ceil(p.getBoundingClientRect().bottom + window.scrollY) + '</pre>');</script>\n")
open(out, "w", encoding="utf-8").write(text[:end] + script + text[end:])
PY
bottom="$(timeout 120 "$browser" "${flags[@]}" --user-data-dir="$work/profile1" --window-size="$width,1000" \
    --dump-dom "file://$work/report/measure.html" 2>/dev/null | sed -n 's|.*<pre id="plots-end">\([0-9]*\)</pre>.*|\1|p')"
if [ -z "$bottom" ]; then
    echo "$0: the page's plots could not be found in Chromium" >&2
    exit 1
fi
height=$((bottom + 8))

timeout 120 "$browser" "${flags[@]}" --user-data-dir="$work/profile2" --window-size="$width,$height" \
    --screenshot="$work/shot.png" "file://$work/report/report.html" >/dev/null 2>&1
if [ ! -s "$work/shot.png" ]; then
    echo "$0: Chromium wrote no screenshot" >&2
    exit 1
fi
if command -v pngquant >/dev/null 2>&1; then
    pngquant --quality=80-98 --speed=1 --strip --force --output "$work/small.png" "$work/shot.png"
    mv "$work/small.png" "$work/shot.png"
else
    echo "$0: no pngquant (apt-get install pngquant): the picture is left at full colour" >&2
fi
mkdir -p "$(dirname "$out")"
cp "$work/shot.png" "$out"
echo "$out: ${width}x${height}, $(wc -c <"$out") bytes"
