#!/usr/bin/env python3
"""Keeps the GPS part of a RINEX 3 observation or navigation file (standard
input to standard output), for the golden cases whose logs hold GPS alone.

Observation files lose the observation types, the satellite lines and the
epoch counts of the other systems; navigation files lose their records.
--drop G07 also leaves out that satellite's navigation records, so that a
log holds a satellite without an ephemeris."""
import sys

drop = set(sys.argv[sys.argv.index("--drop") + 1].split(",")) if "--drop" in sys.argv else set()
lines = sys.stdin.read().splitlines()
end = next(i for i, line in enumerate(lines) if line[60:73] == "END OF HEADER")
observation = lines[0][20:21] == "O"
out, system = [], None
for line in lines[: end + 1]:
    if line[60:79] == "SYS / # / OBS TYPES":
        system = line[0] if line[0] != " " else system
        if system != "G":
            continue
    out.append(line)

body, keep = lines[end + 1 :], True
if observation:
    i = 0
    while i < len(body):
        count = int(body[i][32:35])
        sats = [s for s in body[i + 1 : i + 1 + count] if s[0] == "G"]
        out.append(body[i][:32] + "%3d" % len(sats) + body[i][35:])
        out.extend(sats)
        i += 1 + count
else:
    for line in body:
        if line[0] != " ":
            keep = line[0] == "G" and line[:3] not in drop
        if keep:
            out.append(line)
sys.stdout.write("\n".join(out) + "\n")
