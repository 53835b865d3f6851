#!/usr/bin/env python3
"""Finds lines of text on a printed receipt (a PNG, dark pixels are ink): each TEXT drawn with the
SDK's 16x24 glyphs, taken from the library itself. Prints the receipt's size, then where each
text's top left corner is as X,Y; fails when a text is not on the receipt.
Usage: receipt_text.py LIBPOS_SDK RECEIPT TEXT..."""
import ctypes
import os
import sys

sys.path.insert(0, os.path.dirname(os.path.abspath(__file__)))
from png_pixels import decode  # noqa: E402

GLYPH_WIDTH, GLYPH_HEIGHT = 16, 24


def glyph_rows(font, text):
    """TEXT as GLYPH_HEIGHT strings of '0' and '1', one character a dot."""
    rows = []
    for y in range(GLYPH_HEIGHT):
        row = ""
        for ch in text.encode():
            bits = font[ch * 48 + y * 2] << 8 | font[ch * 48 + y * 2 + 1]
            row += format(bits, "016b")
        rows.append(row)
    return rows


def find(paper, wanted):
    """The first X, Y where WANTED's rows all lie on PAPER, or None."""
    anchor = next((i for i, row in enumerate(wanted) if "1" in row), 0)
    for y in range(len(paper) - len(wanted) + 1):
        x = paper[y + anchor].find(wanted[anchor])
        while x >= 0:
            if all(paper[y + i][x:x + len(row)] == row for i, row in enumerate(wanted)):
                return x, y
            x = paper[y + anchor].find(wanted[anchor], x + 1)
    return None


def main():
    library, receipt, texts = sys.argv[1], sys.argv[2], sys.argv[3:]
    font = (ctypes.c_ubyte * 12288).in_dll(ctypes.CDLL(library), "FontSystem16x24")
    width, height, channels, rows = decode(receipt)
    paper = ["".join("1" if row[x * channels] < 128 else "0" for x in range(width)) for row in rows]
    print(f"{width}x{height}")
    missing = []
    for text in texts:
        place = find(paper, glyph_rows(font, text))
        if place is None:
            missing.append(text)
        else:
            print(f"{text}: {place[0]},{place[1]}")
    if missing:
        sys.exit("not on the receipt: " + ", ".join(missing))


if __name__ == "__main__":
    main()
