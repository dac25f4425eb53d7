#include "beauty/skin/skin_score.h"

#include <cmath>

#include "base/buffer.h"
#include "base/exact_math.h"

namespace qx {
namespace {

constexpr double kExponent = -0.3333333333333333;

uint8_t Score(double squares) {
  return static_cast<uint8_t>(TruncToInt32(std::min(exact::Exp(squares * kExponent) * 255, 255.0)));
}

// The score by the sum of the squared deviations, without the exponential: it falls by one at each of 255 thresholds,
// which lie farther apart than a cell is wide. Within a hair of a threshold the exponential itself decides.
class ScoreTable {
 public:
  ScoreTable() {
    for (int v = 0; v < 256; ++v) thresholds_[v] = v == 0 ? HUGE_VAL : exact::Log(v / 255.0) / kExponent;
    int v = 255;
    for (int cell = 0; cell < kCells; ++cell) {
      while (cell / kCellsPerUnit > thresholds_[v] + kHair) --v;
      first_[cell] = static_cast<uint8_t>(v);
    }
  }

  // squares: 0 or more.
  uint8_t At(double squares) const {
    if (!(squares < kEnd)) return 0;
    int v = first_[static_cast<size_t>(squares * kCellsPerUnit)];
    v -= squares > thresholds_[v] + kHair ? 1 : 0;
    return v > 0 && squares > thresholds_[v] - kHair ? Score(squares) : static_cast<uint8_t>(v);
  }

 private:
  static constexpr int kEnd = 17;  // beyond -3 log(1 / 255)
  static constexpr double kCellsPerUnit = 256;
  static constexpr int kCells = kEnd * 256;
  static constexpr double kHair = 1e-9;

  double thresholds_[256];  // the largest sum that scores v or more
  uint8_t first_[kCells];   // the score at the start of each cell
};

constexpr int32_t kFullSize = 70;  // twice the side from which on a face has full weight

// Three rows of a plane, and what is left of them column by column.
struct Rows {
  const uint8_t *above, *here, *below;

  Rows(const uint8_t* plane, int32_t y, size_t stride)
      : above(plane + static_cast<size_t>(y - 1) * stride), here(above + stride), below(here + stride) {}
};

// The least of the 3 x 3 square around columns begin to end - 1. column: scratch of the row's length.
void Erode(const Rows& rows, int32_t begin, int32_t end, uint8_t* column, uint8_t* out) {
  for (int32_t x = begin - 1; x < end + 1; ++x) column[x] = std::min({rows.above[x], rows.here[x], rows.below[x]});
  for (int32_t x = begin; x < end; ++x) out[x] = std::min({column[x - 1], column[x], column[x + 1]});
}

// The truncated mean of the square.
void Average(const Rows& rows, int32_t begin, int32_t end, uint16_t* column, uint8_t* out) {
  for (int32_t x = begin - 1; x < end + 1; ++x) {
    column[x] = static_cast<uint16_t>(rows.above[x] + rows.here[x] + rows.below[x]);
  }
  for (int32_t x = begin; x < end; ++x) {
    const auto sum = static_cast<uint16_t>(column[x - 1] + column[x] + column[x + 1]);
    out[x] = static_cast<uint8_t>(sum / 9);
  }
}

}  // namespace

void ScoreSkinColour(const ImageView& lab, const ColourModel& model, const SkinBox& box, const uint8_t* region,
                     uint8_t* score) {
  if (!(model.spread[0] > 0 && model.spread[1] > 0 && model.spread[2] > 0)) {
    FillBytes(score, 0, lab.Pixels());
    return;
  }
  double squares[3][256];
  for (int c = 0; c < 3; ++c) {
    for (int i = 0; i < 256; ++i) {
      const double z = (model.mean[c] - i) / model.spread[c];
      squares[c][i] = z * z;
    }
  }
  const ScoreTable scores;
  const SkinBox area = ClipBox(box, lab.width, lab.height);
  for (int32_t y = area.top; y < area.bottom; ++y) {
    const size_t row = static_cast<size_t>(y) * static_cast<size_t>(lab.width);
    for (int32_t x = area.left; x < area.right; ++x) {
      const size_t at = row + static_cast<size_t>(x);
      if (region[at] == 0) continue;
      const uint8_t* v = lab.pixels + at * 3;
      score[at] = scores.At(squares[0][v[0]] + squares[1][v[1]] + squares[2][v[2]]);
    }
  }
}

Status RefineSkinScore(const MutableImage& score, const SkinBox& box, int32_t rounds) {
  ByteBuffer eroded, least;
  Buffer<uint16_t> sums;
  const auto stride = static_cast<size_t>(std::max(score.width, 0));
  if (!eroded.AllocateZeroed(score.Pixels()) || !least.Allocate(stride) || !sums.Allocate(stride)) {
    return Status::kMemoryShort;
  }
  const SkinBox area = ClipBox(box, score.width, score.height);
  for (int32_t round = 0; round < rounds; ++round) {
    for (int32_t y = area.top + 1; y < area.bottom - 1; ++y) {
      if (area.left + 1 >= area.right - 1) break;
      Erode(Rows(score.pixels, y, stride), area.left + 1, area.right - 1, least.data(),
            eroded.data() + static_cast<size_t>(y) * stride);
    }
    for (int32_t y = area.top + 2; y < area.bottom - 2; ++y) {
      if (area.left + 2 >= area.right - 2) break;
      Average(Rows(eroded.data(), y, stride), area.left + 2, area.right - 2, sums.data(), score.Row(y));
    }
  }
  uint8_t curve[256];
  for (int v = 0; v < 256; ++v) {
    const double missing = 1 - v / 255.0;
    curve[v] = static_cast<uint8_t>(TruncToInt32((1 - missing * missing) * 255));
  }
  for (int32_t y = area.top; y < area.bottom; ++y) {
    uint8_t* row = score.Row(y);
    for (int32_t x = area.left; x < area.right; ++x) row[x] = curve[row[x]];
  }
  return Status::kOk;
}

void ComposeSkinMask(const MutableImage& mask, Point corner0, Point corner1, const SkinBox& box, const uint8_t* region,
                     const uint8_t* score) {
  const double size = 2.0 * TruncatedDistance(corner0, corner1);
  const double factor = size < kFullSize ? size / kFullSize : 1.0;
  uint8_t weights[256];
  for (int v = 0; v < 256; ++v) weights[v] = static_cast<uint8_t>(TruncToInt32(std::clamp(v * factor, 1.0, 255.0)));
  for (int32_t y = box.top; y < box.bottom; ++y) {
    const size_t row = static_cast<size_t>(y) * static_cast<size_t>(mask.width);
    for (int32_t x = box.left; x < box.right; ++x) {
      const size_t at = row + static_cast<size_t>(x);
      if (region[at] != 0) mask.pixels[at] = std::max(mask.pixels[at], weights[score[at] * region[at] / 255]);
    }
  }
}

}  // namespace qx
