#include "photo/sheet/layout.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstdlib>

#include "photo/document/paper.h"
#include "photo/sheet/sheet.h"
#include "support/test_files.h"

namespace qx::photo {
namespace {

using namespace qx::test;

SheetSpec Spec(const std::string& paper, double margin = 3, double gap = 2, int32_t dpi = 300) {
  return {ParsePaper(paper), margin, gap, dpi};
}

std::vector<PixelBox> Places(const SheetLayout& layout) {
  std::vector<PixelBox> places;
  for (const Tile& tile : layout.tiles) places.push_back(tile.place);
  return places;
}

bool Meet(const PixelBox& a, const PixelBox& b) {
  return std::max(a.left, b.left) < std::min(a.right, b.right) && std::max(a.top, b.top) < std::min(a.bottom, b.bottom);
}

// What must hold for every sheet: all on the paper, off its margin but for rounding, apart by the gap but for a pixel,
// ticks on the paper and off the photographs.
void ExpectSound(const SheetLayout& layout, double margin, double gap) {
  const std::vector<PixelBox> places = Places(layout);
  for (size_t i = 0; i < places.size(); ++i) {
    const PixelBox& a = places[i];
    EXPECT_GE(a.left, margin - 2);
    EXPECT_GE(a.top, margin - 2);
    EXPECT_LE(a.right, layout.width - margin + 2);
    EXPECT_LE(a.bottom, layout.height - margin + 2);
    for (size_t j = 0; j < i; ++j) {
      const int32_t more = std::max(0, static_cast<int32_t>(gap) - 1);
      EXPECT_FALSE(Meet({a.left - more, a.top - more, a.right + more, a.bottom + more}, places[j])) << i << j;
    }
    for (const PixelBox& tick : layout.ticks) EXPECT_FALSE(Meet(tick, a));
  }
  for (const PixelBox& tick : layout.ticks) {
    EXPECT_TRUE(tick.Width() > 0 && tick.Height() > 0 && tick.left >= 0 && tick.top >= 0 &&
                tick.right <= layout.width && tick.bottom <= layout.height);
  }
}

std::string FailureOfLayout(const SheetSpec& spec, const std::vector<TileKind>& kinds) {
  return FailureOf([&] { LayOutSheet(spec, kinds); });
}

TEST(SheetLayout, PutsEightOnSixByFourInches) {
  // 35 x 45 mm are 413 x 531 pixels, the gap 23.622; the block is 1722.866 x 1085.622 on 1800 x 1200.
  for (const char* paper : {"4x6", "6x4"}) {
    const SheetLayout layout = LayOutSheet(Spec(paper), {{"a", 413, 531, {}}});
    EXPECT_EQ(1800, layout.width);
    EXPECT_EQ(1200, layout.height);
    ASSERT_EQ(8u, layout.tiles.size());
    const int32_t lefts[] = {39, 475, 912, 1348}, tops[] = {57, 612};
    for (size_t i = 0; i < 8; ++i) {
      EXPECT_EQ(lefts[i % 4], layout.tiles[i].place.left);
      EXPECT_EQ(tops[i / 4], layout.tiles[i].place.top);
      EXPECT_EQ(413, layout.tiles[i].place.Width());
      EXPECT_EQ(531, layout.tiles[i].place.Height());
    }
    ExpectSound(layout, 35.4, 23.6);
    EXPECT_EQ(64u, layout.ticks.size());  // two at each corner
  }
}

TEST(SheetLayout, DoesNotLetRoundingAddUp) {
  // A strip of 50 tiles of 10 pixels with gaps of 0.3: each edge is within half a pixel of its place.
  const SheetSpec spec{{700 * 25.4 / 254, 20 * 25.4 / 254, Unit::kMillimetre}, 0, 0.3 * 25.4 / 254, 254};
  const SheetLayout layout = LayOutSheet(spec, {{"a", 10, 15, 50}});
  ASSERT_EQ(50u, layout.tiles.size());
  const double left = (700 - (50 * 10 + 49 * 0.3)) / 2;
  for (size_t i = 0; i < 50; ++i) {
    EXPECT_LE(std::abs(layout.tiles[i].place.left - (left + static_cast<double>(i) * 10.3)), 0.5 + 1e-9);
  }
}

TEST(SheetLayout, MixesKindsOnShelves) {
  // Paper 100 x 100, gap 10: the two tall ones and a small one side by side, the others on a shelf below.
  const SheetSpec spec{{10, 10, Unit::kMillimetre}, 0, 1, 254};
  const SheetLayout layout = LayOutSheet(spec, {{"small", 20, 30, 4}, {"tall", 30, 50, 2}});
  const std::vector<PixelBox> places = Places(layout);
  const int32_t expected[][4] = {{0, 5, 30, 50},  {40, 5, 30, 50},  {80, 5, 20, 30},
                                 {0, 65, 20, 30}, {30, 65, 20, 30}, {60, 65, 20, 30}};
  ASSERT_EQ(std::size(expected), places.size());
  for (size_t i = 0; i < places.size(); ++i) {
    EXPECT_EQ(expected[i][0], places[i].left) << i;
    EXPECT_EQ(expected[i][1], places[i].top) << i;
    EXPECT_EQ(expected[i][2], places[i].Width()) << i;
    EXPECT_EQ(i < 2 ? 1u : 0u, layout.tiles[i].kind);
  }
  ExpectSound(layout, 0, 10);
}

TEST(SheetLayout, StaysSoundForManySizes) {
  for (const char* paper : {"4x6", "A4", "10x15cm", "letter", "89x127mm"}) {
    for (const double gap : {0.0, 0.37, 2.0, 5.0}) {
      for (const int32_t dpi : {96, 300, 601}) {
        const double scale = dpi / 25.4;
        const std::vector<TileKind> kinds = {{"a", ToPixels(35, dpi), ToPixels(45, dpi), {}},
                                             {"b", ToPixels(50.8, dpi), ToPixels(50.8, dpi), 1},
                                             {"c", ToPixels(26, dpi), ToPixels(32, dpi), {}}};
        const SheetLayout layout = LayOutSheet(Spec(paper, 3, gap, dpi), kinds);
        ExpectSound(layout, 3 * scale, gap * scale);
        for (size_t kind = 0; kind < kinds.size(); ++kind) {
          EXPECT_GE(std::count_if(layout.tiles.begin(), layout.tiles.end(),
                                  [&](const Tile& tile) { return tile.kind == kind; }),
                    1);
        }
      }
    }
  }
}

TEST(SheetLayout, SaysWithNumbersWhatDoesNotFit) {
  EXPECT_EQ(
      "only 8 of 9 photographs fit on 101.6 x 152.4 mm paper with a margin of 3 mm and gaps of 2 mm; take larger "
      "paper or fewer copies",
      FailureOfLayout(Spec("4x6"), {{"a", 413, 531, 9}}));
  EXPECT_EQ(
      "b.jpg is 152.4 x 101.6 mm and does not fit on 101.6 x 152.4 mm paper with a margin of 3 mm; take larger "
      "paper or check the dpi in its file",
      FailureOfLayout(Spec("4x6"), {{"a", 413, 531, {}}, {"b.jpg", 1800, 1200, {}}}));
  EXPECT_EQ("(no failure)", FailureOfLayout(Spec("4x6", 0), {{"b.jpg", 1800, 1200, {}}}));
}

TEST(SheetLayout, BoundsThePhotographsOfAllKindsTogether) {
  const SheetSpec spec = Spec("A3", 0, 0, 50);
  EXPECT_EQ("4000 photographs on one sheet are more than the 1000 that are possible; take fewer copies",
            FailureOfLayout(spec, {{"a", 5, 5, 1000}, {"b", 5, 5, 1000}, {"c", 5, 5, 1000}, {"d", 5, 5, 1000}}));
  EXPECT_EQ(1000u, LayOutSheet(spec, {{"a", 5, 5, 600}, {"b", 5, 5, 400}}).tiles.size());
  EXPECT_EQ(1000u, LayOutSheet(spec, {{"a", 5, 5, {}}, {"b", 6, 5, {}}}).tiles.size());
}

TEST(SheetLayout, DrawsTicksOnlyWhereNothingIsInTheirWay) {
  // Four that fill the paper leave room for none; over a gap of 10 pixels a tick above two goes on past both.
  const SheetLayout close = LayOutSheet({{10, 10, Unit::kMillimetre}, 0, 0, 254}, {{"a", 50, 50, 4}});
  for (const PixelBox& tick : close.ticks) ADD_FAILURE() << tick.left << ", " << tick.top;
  const SheetLayout apart = LayOutSheet({{11, 20, Unit::kMillimetre}, 0, 1, 254}, {{"a", 50, 50, 2}});
  ASSERT_EQ(2u, apart.tiles.size());
  const int32_t right = apart.tiles[0].place.right, top = apart.tiles[0].place.top;
  EXPECT_EQ(10, apart.tiles[1].place.left - right);
  const auto found = std::find(apart.ticks.begin(), apart.ticks.end(), PixelBox{right, top - 1, right + 20, top});
  EXPECT_NE(apart.ticks.end(), found);
}

// The rectangle of the picture, which must equal the other picture, unmirrored.
void ExpectCopied(const Image& sheet, const PixelBox& place, const Image& picture) {
  ASSERT_EQ(place.Width(), picture.width);
  for (int32_t y = 0; y < picture.height; ++y) {
    const auto row = picture.bgr.begin() + 3 * y * picture.width;
    ASSERT_TRUE(
        std::equal(row, row + 3 * picture.width, sheet.bgr.begin() + 3 * ((place.top + y) * sheet.width + place.left)));
  }
}

TEST(Sheet, CopiesPixelsOfItsOwnDpiAndResamplesOthersToTheSameMillimetres) {
  const Image own = GradientImage(413, 531), fine = GradientImage(827, 1063);
  const std::vector<SheetPhotograph> photographs = {{"own", own, {300, 300}, 2}, {"fine", fine, {600, 600}, 1}};
  EXPECT_EQ(600, OwnDpi(photographs));
  const SheetLayout layout = LayOutPhotographs(Spec("4x6"), photographs);
  const std::vector<Image> pictures = ScaleToSheet(photographs, 300);
  EXPECT_EQ(own.bgr, pictures[0].bgr);
  EXPECT_EQ(414, pictures[1].width);
  EXPECT_EQ(532, pictures[1].height);
  const Image sheet = DrawSheet(layout, pictures);
  ASSERT_EQ(3u, layout.tiles.size());
  for (const Tile& tile : layout.tiles) ExpectCopied(sheet, tile.place, pictures[tile.kind]);
  // Resampling moved nothing: the gradient is the same in millimetres.
  for (const size_t at : {size_t{3 * (100 * 414 + 100)}, size_t{3 * (400 * 414 + 300)}}) {
    const size_t x = at / 3 % 414, y = at / 3 / 414, source = 3 * (y * 2 * 827 + x * 2);
    for (size_t c = 0; c < 3; ++c) EXPECT_NEAR(fine.bgr[source + c], pictures[1].bgr[at + c], 2);
  }
  // Everything else is paper or tick.
  size_t others = 0;
  for (size_t i = 0; i < sheet.bgr.size(); i += 3) others += sheet.bgr[i] != 255 && sheet.bgr[i] != 96;
  EXPECT_EQ(static_cast<size_t>(2 * 413 * 531 + 414 * 532), others);
}

}  // namespace
}  // namespace qx::photo
