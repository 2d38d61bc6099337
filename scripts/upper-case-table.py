#!/usr/bin/env python3
"""Writes base/upper_case_table.h anew, from what the C library of this machine knows of Unicode."""

import ctypes
import locale
import pathlib

HEADER = pathlib.Path(__file__).resolve().parents[1] / "base" / "upper_case_table.h"

locale.setlocale(locale.LC_CTYPE, "C.UTF-8")
upper = ctypes.CDLL(None).towupper
distance = {code: upper(code) - code for code in range(0x80, 0x110000) if upper(code) != code}
codes = sorted(distance)
rows = []
while codes:
    best = 1, 1
    for step in (1, 2):
        count = 1
        while (count < len(codes) and codes[count] - codes[count - 1] == step
               and distance[codes[count]] == distance[codes[0]]):
            count += 1
        best = max(best, (count, step), key=lambda row: row[0])
    count, step = best
    rows.append(f"{{0x{codes[0]:X}, 0x{codes[count - 1]:X}, {step}, {distance[codes[0]]}}},")
    del codes[:count]

lines = ["   "]
for row in rows:
    if len(lines[-1] + " " + row) > 118:
        lines.append("   ")
    lines[-1] += " " + row
text = HEADER.read_text()
begin, end = text.index("kUpperCase[] = {\n") + len("kUpperCase[] = {\n"), text.index("};\n// clang-format on")
HEADER.write_text(text[:begin] + "\n".join(lines) + "\n" + text[end:])
