#!/usr/bin/env python3
"""Decodes an 8-bit RGB PNG (all five row filters) and prints its size, then the pixel at each
X,Y given as RRGGBB; fails on anything it cannot decode. Usage: png_pixels.py FILE [X,Y ...]"""
import struct
import sys
import zlib


def decode(path):
    data = open(path, "rb").read()
    assert data[:8] == b"\x89PNG\r\n\x1a\n", "not a PNG"
    i, idat, header = 8, b"", None
    while i < len(data):
        n, kind = struct.unpack(">I4s", data[i:i + 8])
        body = data[i + 8:i + 8 + n]
        assert len(body) == n, "cut short"
        if kind == b"IHDR":
            header = struct.unpack(">IIBBBBB", body)
        elif kind == b"IDAT":
            idat += body
        i += 12 + n
    width, height, depth, colour = header[:4]
    channels = {2: 3, 6: 4, 0: 1}[colour]
    assert depth == 8, "only 8-bit images"
    raw, stride, rows, prev = zlib.decompress(idat), width * channels, [], bytearray(width * channels)
    for y in range(height):
        kind, line = raw[y * (stride + 1)], bytearray(raw[y * (stride + 1) + 1:(y + 1) * (stride + 1)])
        for x in range(stride):
            a = line[x - channels] if x >= channels else 0
            b, c = prev[x], prev[x - channels] if x >= channels else 0
            if kind == 1:
                line[x] = (line[x] + a) & 255
            elif kind == 2:
                line[x] = (line[x] + b) & 255
            elif kind == 3:
                line[x] = (line[x] + (a + b) // 2) & 255
            elif kind == 4:
                p = a + b - c
                pa, pb, pc = abs(p - a), abs(p - b), abs(p - c)
                line[x] = (line[x] + (a if pa <= pb and pa <= pc else b if pb <= pc else c)) & 255
        rows.append(line)
        prev = line
    return width, height, channels, rows


def main():
    width, height, channels, rows = decode(sys.argv[1])
    print(f"{width}x{height}")
    for point in sys.argv[2:]:
        x, y = map(int, point.split(","))
        print("%02x%02x%02x" % tuple(rows[y][x * channels:x * channels + 3]) if channels >= 3
              else "%02x%02x%02x" % ((rows[y][x],) * 3))


if __name__ == "__main__":
    main()
