"""usage: ppm.py PHOTO.png PHOTO.ppm: writes a PNG file of eight bits, red, green and blue, as the example reads it."""

import struct
import sys
import zlib


def unfiltered(data, width, height):
    """Rows of the picture (ISO/IEC 15948, 9.2)."""
    size, above = 3 * width, bytes(3 * width)
    for y in range(height):
        kind, row = data[y * (size + 1)], bytearray(data[y * (size + 1) + 1:(y + 1) * (size + 1)])
        for x in range(size):
            left, corner = (row[x - 3], above[x - 3]) if x >= 3 else (0, 0)
            estimate = left + above[x] - corner
            paeth = min((left, above[x], corner), key=lambda value: abs(estimate - value))
            row[x] = (row[x] + (0, left, above[x], (left + above[x]) // 2, paeth)[kind]) % 256
        yield row
        above = row


def main():
    with open(sys.argv[1], "rb") as file:
        png = file.read()
    at, data = 8, b""
    while at < len(png):
        size, kind = struct.unpack(">I4s", png[at:at + 8])
        if kind == b"IHDR":
            width, height, depth, colour, _, _, interlaced = struct.unpack(">IIBBBBB", png[at + 8:at + 21])
            assert (depth, colour, interlaced) == (8, 2, 0)
        if kind == b"IDAT":
            data += png[at + 8:at + 8 + size]
        at += 12 + size
    with open(sys.argv[2], "wb") as file:
        file.write(b"P6\n%d %d\n255\n" % (width, height))
        file.writelines(unfiltered(zlib.decompress(data), width, height))


main()
