#include "photo/drawing/label_font.h"

#include <algorithm>
#include <array>
#include <cstdint>

#include "photo/base/text.h"

namespace qx::photo {
namespace {

struct Glyph {
  int32_t code;
  int32_t advance;    // in kFine parts of a pixel at kEm pixels an em
  int32_t left, top;  // of its box, from the pen on the base line
  int32_t width, height;
  const char* runs;
};
constexpr int32_t kFine = 64;

#include "photo/drawing/label_font.inc"

const Glyph& GlyphOf(int32_t code) {
  const auto find = [](int32_t wanted) {
    return std::lower_bound(std::begin(kGlyphs), std::end(kGlyphs), wanted,
                            [](const Glyph& glyph, int32_t c) { return glyph.code < c; });
  };
  const Glyph* glyph = find(code);
  return glyph != std::end(kGlyphs) && glyph->code == code ? *glyph : *find('?');
}

// Takes the first character off a text that is not empty.
int32_t TakeCharacter(std::string_view* text) {
  const size_t length = Utf8Length(*text);
  const auto byte = [text](size_t i) { return static_cast<uint8_t>((*text)[i]); };
  constexpr std::array<int32_t, 5> kFirstBits = {0, 0x7F, 0x1F, 0x0F, 0x07};
  int32_t code = length == 0 ? '?' : byte(0) & kFirstBits[length];
  for (size_t i = 1; i < length; ++i) code = code << 6 | (byte(i) & 0x3F);
  text->remove_prefix(std::max<size_t>(length, 1));
  return code;
}

// Coverage of each pixel of the glyph's box, 0 to 15.
std::vector<uint8_t> Levels(const Glyph& glyph) {
  std::vector<uint8_t> levels;
  for (const char* run = glyph.runs; *run != '\0';) {
    const auto level = static_cast<uint8_t>(*run++ - 'a');
    size_t count = 0;
    while (*run >= '0' && *run <= '9') count = 10 * count + static_cast<size_t>(*run++ - '0');
    levels.insert(levels.end(), std::max<size_t>(count, 1), level);
  }
  return levels;
}

int64_t FloorDivide(int64_t a, int64_t b) {
  return a >= 0 ? a / b : -((-a + b - 1) / b);
}

// Where a glyph's pixels lie, counted in kEm parts of a pixel of the canvas: there both the glyph's pixels (`size`
// parts wide) and the canvas's have whole edges, so that area averaging is exact.
class ScaledGlyph {
 public:
  ScaledGlyph(const Glyph& glyph, int size, int64_t penX, int64_t baseY)
      : glyph_(glyph),
        levels_(Levels(glyph)),
        size_(size),
        left_(penX + int64_t{glyph.left} * size),
        top_(baseY + int64_t{glyph.top} * size) {}

  void Draw(Canvas* canvas, Ink ink) const {
    const int64_t right = left_ + int64_t{glyph_.width} * size_, bottom = top_ + int64_t{glyph_.height} * size_;
    const int64_t lastX = std::min<int64_t>(FloorDivide(right - 1, kEm), canvas->Width() - 1);
    const int64_t lastY = std::min<int64_t>(FloorDivide(bottom - 1, kEm), canvas->Height() - 1);
    for (int64_t y = std::max<int64_t>(FloorDivide(top_, kEm), 0); y <= lastY; ++y) {
      for (int64_t x = std::max<int64_t>(FloorDivide(left_, kEm), 0); x <= lastX; ++x) {
        canvas->Mix(static_cast<int32_t>(x), static_cast<int32_t>(y), ink, Coverage(x, y));
      }
    }
  }

 private:
  // Of a pixel of the canvas, 0 to 256.
  int Coverage(int64_t x, int64_t y) const {
    int64_t sum = 0;
    ForOverlaps(y * kEm - top_, glyph_.height, [&](int64_t row, int64_t rowPart) {
      ForOverlaps(x * kEm - left_, glyph_.width, [&](int64_t column, int64_t part) {
        sum += rowPart * part * levels_[static_cast<size_t>(row * glyph_.width + column)];
      });
    });
    constexpr int64_t kFull = int64_t{15} * kEm * kEm;
    return static_cast<int>((256 * sum + kFull / 2) / kFull);
  }

  // Calls use(i, length) for the glyph's pixels that the kEm parts from `from` on overlap.
  template <typename Use>
  void ForOverlaps(int64_t from, int64_t count, Use use) const {
    const int64_t last = std::min(FloorDivide(from + kEm - 1, size_), count - 1);
    for (int64_t i = std::max<int64_t>(FloorDivide(from, size_), 0); i <= last; ++i) {
      use(i, std::min((i + 1) * size_, from + kEm) - std::max(i * size_, from));
    }
  }

  const Glyph& glyph_;
  const std::vector<uint8_t> levels_;
  int64_t size_, left_, top_;
};

// In kFine * kEm parts of a pixel of the canvas.
int64_t Advance(std::string_view text, int size) {
  int64_t advance = 0;
  while (!text.empty()) advance += int64_t{GlyphOf(TakeCharacter(&text)).advance} * size;
  return advance;
}

// The length of the text's beginning that is at most `width` wide, at least one character.
size_t FittingLength(std::string_view text, int size, int width) {
  std::string_view rest = text;
  int64_t advance = 0;
  size_t length = 0;
  while (!rest.empty()) {
    advance += int64_t{GlyphOf(TakeCharacter(&rest)).advance} * size;
    if (length > 0 && advance > int64_t{width} * kFine * kEm) break;
    length = text.size() - rest.size();
  }
  return length;
}

}  // namespace

std::string_view CharacterWithoutGlyph(std::string_view text) {
  while (!text.empty()) {
    const std::string_view rest = text;
    const bool isText = Utf8Length(text) > 0;
    const int32_t code = TakeCharacter(&text);
    if (!isText || GlyphOf(code).code != code) return rest.substr(0, rest.size() - text.size());
  }
  return {};
}

int LineHeight(int size) {
  return (size * 5 + 3) / 4;
}

int TextWidth(std::string_view text, int size) {
  return static_cast<int>((Advance(text, size) + kFine * kEm - 1) / (kFine * kEm));
}

void DrawText(Canvas* canvas, int left, int top, std::string_view text, int size, Ink ink) {
  // Ascenders and descenders together in the middle of the line.
  const int64_t baseY =
      (int64_t{top} * kEm) + (int64_t{LineHeight(size)} * kEm + int64_t{kAscent - kDescent} * size) / 2;
  int64_t pen = int64_t{left} * kFine * kEm;
  while (!text.empty()) {
    const Glyph& glyph = GlyphOf(TakeCharacter(&text));
    ScaledGlyph(glyph, size, FloorDivide(pen + kFine / 2, kFine), baseY).Draw(canvas, ink);
    pen += int64_t{glyph.advance} * size;
  }
}

std::vector<std::string> WrapText(std::string_view text, int size, int width) {
  std::vector<std::string> lines;
  const auto skipBlanks = [&text] { text.remove_prefix(std::min(text.find_first_not_of(' '), text.size())); };
  for (skipBlanks(); !text.empty(); skipBlanks()) {
    size_t length = FittingLength(text, size, width);
    if (length < text.size() && text[length] != ' ') {
      const size_t blank = text.substr(0, length).rfind(' ');
      if (blank != std::string_view::npos) length = blank;
    }
    std::string_view line = text.substr(0, length);
    text.remove_prefix(length);
    while (!line.empty() && line.back() == ' ') line.remove_suffix(1);
    lines.emplace_back(line);
  }
  return lines;
}

}  // namespace qx::photo
