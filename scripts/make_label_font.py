#!/usr/bin/python3
# usage: scripts/make_label_font.py > photo/drawing/label_font.inc
# Draws the characters of labels once, so that no machine needs a font: DejaVu Sans (Debian's fonts-dejavu-core 2.37)
# by python3-pil, 40 pixels an em. photo/drawing/label_font.cpp reads the result.
from PIL import ImageFont

FONT = '/usr/share/fonts/truetype/dejavu/DejaVuSans.ttf'
EM = 40
# Printable Latin-1, and: en dash, quotes, bullet, ellipsis, at most, at least, warning sign, tick, cross.
CODES = list(range(0x20, 0x7F)) + list(range(0xA1, 0x100)) + [
    0x2013, 0x2018, 0x2019, 0x201C, 0x201D, 0x2022, 0x2026, 0x2264, 0x2265, 0x26A0, 0x2713, 0x2717]
SOFT_HYPHEN = 0xAD


def runs(levels):
    """'a' to 'p' for 16 levels of coverage, each with how often it stands in a row unless that is once."""
    text, start = '', 0
    for i in range(1, len(levels) + 1):
        if i == len(levels) or levels[i] != levels[start]:
            text += chr(ord('a') + levels[start]) + (str(i - start) if i - start > 1 else '')
            start = i
    return text


def glyph(font, code):
    mask, (left, top) = font.getmask2(chr(code), mode='L', anchor='ls')
    width, height = mask.size
    levels = [(value * 15 + 127) // 255 for value in mask]
    advance = round(font.getlength(chr(code)) * 64)
    return '    {0x%04X, %d, %d, %d, %d, %d, "%s"},' % (code, advance, left, top, width, height, runs(levels))


def main():
    font = ImageFont.truetype(FONT, EM, layout_engine=ImageFont.Layout.BASIC)
    ascent, descent = font.getmetrics()
    print('// Made by scripts/make_label_font.py from DejaVu Sans; its licence is in THIRD_PARTY.md. Per character: code,')
    print('// advance in 64ths of a pixel, the left and upper edge of its box from the pen on the base line, width, height,')
    print('// rows of coverage: a to p, a number being how often in a row.')
    print('constexpr int kEm = %d, kAscent = %d, kDescent = %d;' % (EM, ascent, descent))
    print('constexpr Glyph kGlyphs[] = {')
    for code in CODES:
        if code != SOFT_HYPHEN:
            print(glyph(font, code))
    print('};')


main()
