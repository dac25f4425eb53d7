// Text on a canvas, in one antialiased font that comes with the library.
#ifndef QX_PHOTO_DRAWING_LABEL_FONT_H
#define QX_PHOTO_DRAWING_LABEL_FONT_H

#include <string>
#include <string_view>
#include <vector>

#include "photo/drawing/canvas.h"

namespace qx::photo {

// `size` is the height of an em in pixels, at least 1; up to 40 the letters are smooth. Text is UTF-8 of printable
// Latin-1 and a few marks; a character without a glyph, and each byte that is not UTF-8, is drawn as "?".

// The first character of the text that is drawn as "?" in place of its own glyph; empty when there is none.
std::string_view CharacterWithoutGlyph(std::string_view text);
// Of one line, from its upper edge to that of the next.
int LineHeight(int size);
// Pixels that a line of text takes.
int TextWidth(std::string_view text, int size);
// The upper left corner of the line's box at (left, top); clipped to the canvas.
void DrawText(Canvas* canvas, int left, int top, std::string_view text, int size, Ink ink);
// Lines of at most `width` pixels, broken at blanks and, where a word is wider, inside of it; each has at least a
// character. Without text none.
std::vector<std::string> WrapText(std::string_view text, int size, int width);

}  // namespace qx::photo

#endif  // QX_PHOTO_DRAWING_LABEL_FONT_H
