#!/usr/bin/env python3
"""Writes src/base/exact_math_tables.inc, the constants of src/base/exact_math.cpp.

Each is a pair of doubles: the nearest to the true value, and the nearest to what that leaves. Values are computed as
whole numbers of 2^-420 by their power series, so every machine writes the same file.

usage: make_exact_math_tables.py OUTPUT
"""
import sys
from fractions import Fraction

BITS = 420
ONE = 1 << BITS


def times(a, b):
    """Product, toward zero so that series end."""
    product = abs(a * b) >> BITS
    return product if (a < 0) == (b < 0) else -product


def power_series(first, factor, divisor):
    """first + first factor / divisor(1) + first factor^2 / (divisor(1) divisor(2)) + ..."""
    total, term, n = 0, first, 0
    while term:
        total += term
        n += 1
        product = times(term, factor)
        term = product // divisor(n) if product >= 0 else -(-product // divisor(n))
    return total


def odd_series(x, sign):
    """x + sign x^3 / 3 + x^5 / 5 + ...: atanh(x) for sign 1, atan(x) for -1."""
    total, power, n = 0, x, 1
    while power:
        total += power // n
        power = sign * times(times(power, x), x)
        n += 2
    return total


def ratio_of(a, b):
    return (a << BITS) // b


def exp(x):
    return power_series(ONE, x, lambda n: n)


def log(a, b):
    """Natural logarithm of a / b."""
    return 2 * odd_series(ratio_of(a - b, a + b), 1)


PI = 4 * (4 * odd_series(ratio_of(1, 5), -1) - odd_series(ratio_of(1, 239), -1))  # Machin
LN2 = log(2, 1)


def sine(x):
    return power_series(x, -times(x, x), lambda n: 2 * n * (2 * n + 1))


def cosine(x):
    return power_series(ONE, -times(x, x), lambda n: 2 * n * (2 * n - 1))


def atan(a, b):
    """Of a / b from 0 to 1: seen from 1 or from 0, whichever is nearer."""
    if 2 * a > b:
        return PI // 4 + odd_series(ratio_of(a - b, a + b), -1)
    return odd_series(ratio_of(a, b), -1)


def pair(fixed):
    value = Fraction(fixed, ONE)
    high = float(value)
    return "{%s, %s}" % (high.hex(), float(value - Fraction(high)).hex())


def parts(fixed, bits):
    """The number as two doubles of so many bits each, whose products with small whole numbers are exact, and the rest."""
    heads = []
    for _ in range(2):
        shift = fixed.bit_length() - bits
        head = fixed >> shift << shift
        heads.append(float(Fraction(head, ONE)).hex())
        fixed -= head
    return heads[0], heads[1], pair(fixed)


def main():
    lines = ["// Written by scripts/make_exact_math_tables.py: true values as the sums of two doubles.\n"]

    def table(comment, name, values):
        lines.append("// %s\nconstexpr Pair %s[] = {" % (comment, name))
        lines.extend("    %s," % pair(v) for v in values)
        lines.append("};\n")

    def split(comment, name, value):
        a, b, rest = parts(value, 34)
        lines.append("// %s\nconstexpr Split %s = {%s, %s, %s};\n" % (comment, name, a, b, rest))

    factorial = [1]
    for n in range(1, 24):
        factorial.append(factorial[-1] * n)
    split("ln 2 / 64", "kExpStep", LN2 // 64)
    split("ln 2", "kLn2", LN2)
    split("pi / 64", "kTurnStep", PI // 64)
    lines.append("constexpr Pair kPi = %s, kHalfPi = %s;\n" % (pair(PI), pair(PI // 2)))
    table("2^(j / 64)", "kExpTable", [exp(LN2 * j // 64) for j in range(64)])
    table("log(j / 64), j from 45 on", "kLogTable", [log(j, 64) for j in range(45, 92)])
    table("sin(pi j / 64)", "kSinTable", [sine(PI * j // 64) for j in range(17)])
    table("cos(pi j / 64)", "kCosTable", [cosine(PI * j // 64) for j in range(17)])
    table("atan(j / 64)", "kAtanTable", [atan(j, 64) for j in range(65)])
    table("(exp(r) - 1 - r) / r^2 by powers of r", "kExpSeries", [ONE // factorial[n] for n in range(2, 14)])
    table("(sin(r) / r - 1) / r^2 by powers of r^2", "kSinSeries",
          [(-1)**n * ONE // factorial[2 * n + 1] for n in range(1, 9)])
    table("(2 (1 - cos(r)) / r^2 - 1) / r^2 by powers of r^2", "kCosSeries",
          [2 * (-1)**n * ONE // factorial[2 * n + 2] for n in range(1, 9)])
    table("(atanh(r) / r - 1) / r^2 by powers of r^2", "kAtanhSeries", [ONE // (2 * n + 1) for n in range(1, 9)])
    table("(atan(r) / r - 1) / r^2 by powers of r^2", "kAtanSeries", [(-1)**n * ONE // (2 * n + 1) for n in range(1, 9)])
    with open(sys.argv[1], "w", encoding="ascii") as out:
        out.write("\n".join(lines))


if __name__ == "__main__":
    main()
