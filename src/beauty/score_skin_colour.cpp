#include "beauty/score_skin_colour.h"

#include <cmath>
#include <cstring>

#include "base/buffer.h"

namespace qx {
namespace {

constexpr double kExponent = -0.3333333333333333;

uint8_t Score(double squares) {
  return static_cast<uint8_t>(TruncToInt32(std::min(std::exp(squares * kExponent) * 255, 255.0)));
}

// The score by the sum of the squared deviations, without the exponential: it falls by one at each of 255 thresholds,
// which lie farther apart than a cell is wide. Within a hair of a threshold the exponential itself decides.
class ScoreTable {
 public:
  ScoreTable() {
    for (int v = 0; v < 256; ++v) thresholds_[v] = v == 0 ? HUGE_VAL : std::log(v / 255.0) / kExponent;
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

}  // namespace

int ScoreSkinColour(const uint8_t* lab, int32_t width, int32_t height, const ColourModel& model, const SkinBox& box,
                    const uint8_t* region, uint8_t* score) {
  if (!(model.spread[0] > 0 && model.spread[1] > 0 && model.spread[2] > 0)) {
    std::memset(score, 0, ImageBytes(width, height, 1));
    return 0;
  }
  double squares[3][256];
  for (int c = 0; c < 3; ++c) {
    for (int i = 0; i < 256; ++i) {
      const double z = (model.mean[c] - i) / model.spread[c];
      squares[c][i] = z * z;
    }
  }
  const ScoreTable scores;
  const SkinBox area = ClipBox(box, width, height);
  for (int32_t y = area.top; y < area.bottom; ++y) {
    const size_t row = static_cast<size_t>(y) * static_cast<size_t>(width);
    for (int32_t x = area.left; x < area.right; ++x) {
      const size_t at = row + static_cast<size_t>(x);
      if (region[at] == 0) continue;
      const uint8_t* v = lab + at * 3;
      score[at] = scores.At(squares[0][v[0]] + squares[1][v[1]] + squares[2][v[2]]);
    }
  }
  return 0;
}

}  // namespace qx
