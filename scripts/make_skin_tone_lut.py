#!/usr/bin/env python3
"""Writes src/beauty/skin_tone_lut.bin, the colour table of the skin tone stage.

32 x 32 x 32 entries of three bytes, output red, green, blue; red is the slowest axis and blue the fastest. Grid
coordinate i stands for the input value 8 i.

Each output channel is a monotone tone curve of its own input channel through the grey entries below, lifted by the
square of how far another channel exceeds it (which keeps pure colours from going harsh), with two small smooth bumps
that bring skin to its tones. Only the four operations of arithmetic are used, so every machine gives the same bytes.

usage: make_skin_tone_lut.py OUTPUT
"""
import sys

SIZE = 32

# Grid coordinate to (red, green, blue) along the grey axis.
GREYS = [(0, (0, 0, 0)), (8, (107, 103, 108)), (10, (137, 131, 137)), (16, (184, 180, 185)),
         (24, (224, 222, 225)), (31, (249, 249, 249))]

# LIFT[c][k]: what channel c of a pure colour of channel k becomes.
LIFT = [[0, 107, 9], [28, 0, 9], [29, 108, 0]]

# Skin at (red, green, blue) and the tones it is to have; the bumps end before the grey axis and do not meet.
SKIN = [((20, 14, 10), (199, 166, 152)), ((28, 20, 16), (237, 203, 191))]
BUMP_RADIUS = 6.9


def tone_curve(points):
    """Monotone cubic interpolation (Fritsch and Butland) at all grid coordinates."""
    x = [p[0] for p in points]
    y = [p[1] for p in points]
    n = len(points)
    secant = [(y[i + 1] - y[i]) / (x[i + 1] - x[i]) for i in range(n - 1)]
    slope = [secant[0]] + [0.0] * (n - 2) + [secant[-1]]
    for i in range(1, n - 1):
        h0, h1 = x[i] - x[i - 1], x[i + 1] - x[i]
        w0, w1 = 2 * h1 + h0, h1 + 2 * h0
        slope[i] = (w0 + w1) / (w0 / secant[i - 1] + w1 / secant[i])
    curve = []
    for v in range(SIZE):
        i = max(k for k in range(n - 1) if x[k] <= v)
        h = x[i + 1] - x[i]
        t = (v - x[i]) / h
        curve.append(y[i] * (1 + 2 * t) * (1 - t) * (1 - t) + h * slope[i] * t * (1 - t) * (1 - t)
                     + y[i + 1] * t * t * (3 - 2 * t) + h * slope[i + 1] * t * t * (t - 1))
    return curve


def bump(p, centre):
    """1 at the centre, 0 from BUMP_RADIUS on, smooth in between."""
    d2 = sum((a - b) * (a - b) for a, b in zip(p, centre)) / (BUMP_RADIUS * BUMP_RADIUS)
    return 0.0 if d2 >= 1 else (1 - d2) * (1 - d2) * (1 - d2)


def main():
    curves = [tone_curve([(x, rgb[c]) for x, rgb in GREYS]) for c in range(3)]

    def base(p, c):
        value = curves[c][p[c]]
        for k in range(3):
            t = max(0, p[k] - p[c]) / (SIZE - 1)
            value += LIFT[c][k] * t * t
        return value

    corrections = [(centre, [tones[c] - base(centre, c) for c in range(3)]) for centre, tones in SKIN]
    table = bytearray()
    for r in range(SIZE):
        for g in range(SIZE):
            for b in range(SIZE):
                p = (r, g, b)
                for c in range(3):
                    value = base(p, c) + sum(bump(p, centre) * d[c] for centre, d in corrections)
                    table.append(min(255, max(0, int(value + 0.5))))
    with open(sys.argv[1], "wb") as output:
        output.write(table)


if __name__ == "__main__":
    if len(sys.argv) != 2:
        sys.exit(__doc__)
    main()
