#include "beauty/skin/skin_colour_mask.h"

#include <cstdlib>
#include <cstring>

#include "base/buffer.h"
#include "beauty/skin/robust_colour_stats.h"
#include "beauty/skin/skin_region.h"
#include "beauty/skin/skin_score.h"

namespace qx {
namespace {

constexpr uint8_t kKeyColour[3] = {0, 140, 100};  // left out of the statistics
constexpr double kOutlierSpreads = 2.0;
constexpr double kSpreadGain = 4.0;

// The middle of the face: a quarter of its box in each direction. Pixels outside the image are left out and the next
// ones move up; what is missing in the end stays 0.
struct Patch {
  ByteBuffer triples;
  int32_t width, height;

  bool Cut(const ImageView& lab, const Point* c) {
    width = TruncatedDistance(c[0], c[1]) / 4;
    height = TruncatedDistance(c[0], c[2]) / 4;
    const int32_t left = (c[0].x + c[1].x + c[2].x + c[3].x) / 4 - width / 2;
    const int32_t top = (c[0].y + c[1].y + c[2].y + c[3].y) / 4 - height / 2;
    if (!triples.AllocateZeroed(ImageBytes(width, height, 3))) return false;
    const int32_t from = std::max(left, 0), to = std::min(left + width, lab.width);
    if (from >= to) return true;
    uint8_t* out = triples.data();
    for (int32_t y = std::max(top, 0); y < std::min(top + height, lab.height); ++y) {
      const auto bytes = static_cast<size_t>(to - from) * 3;
      std::memcpy(out, lab.Row(y) + static_cast<size_t>(from) * 3, bytes);
      out += bytes;
    }
    return true;
  }
};

// How often the score is cleaned: 1 or 2.
int32_t RefineRounds(const Point* c, int32_t diagonal) {
  const int32_t x = std::max(std::abs(c[1].x - c[0].x), std::abs(c[2].x - c[0].x));
  const int32_t y = std::max(std::abs(c[1].y - c[0].y), std::abs(c[2].y - c[0].y));
  // The root of a plain sum, on purpose.
  const int32_t rounds = TruncToInt32(std::sqrt(static_cast<double>(x + y))) * 5 / std::max(diagonal, 1);
  return std::clamp(rounds, 1, 2);
}

}  // namespace

Status BuildSkinColourMask(const LabTables& tables, const ImageView& image, const Point* corners, int32_t faceCount,
                           const Point* eye0, const Point* eye1, SkinBox* boxes, uint8_t* mask) {
  const int32_t width = image.width / 2, height = image.height / 2;
  const uint64_t pixels = ImageBytes(width, height, 1);
  ByteBuffer labBytes, region, score;
  if (!tables.HasColours() || !labBytes.Allocate(pixels * 3)) return Status::kMemoryShort;
  ConvertHalfLab(tables, image, labBytes.data());
  const ImageView lab = {labBytes.data(), width, height, 3};
  FillBytes(mask, 0, pixels);
  if (!region.Allocate(pixels) || !score.Allocate(pixels)) return Status::kMemoryShort;
  const SkinTaper taper;
  const int32_t diagonal = TruncatedDistance({0, 0}, {width, height});
  for (int32_t f = 0; f < faceCount; ++f, corners += 4) {
    FillBytes(region.data(), 0, pixels);
    FillBytes(score.data(), 0, pixels);
    const auto halved = [](Point p) { return Point{p.x / 2, p.y / 2}; };
    BuildSkinRegion(halved(eye0[f]), halved(eye1[f]), taper, {region.data(), width, height, 1}, &boxes[f]);
    const SkinBox area = ClipBox(boxes[f], width, height);
    Patch patch;
    if (!patch.Cut(lab, corners)) return Status::kMemoryShort;
    ColourModel model;
    RobustColourStats({patch.triples.data(), patch.width, patch.height, 3}, kKeyColour, kOutlierSpreads, &model);
    patch.triples.Release();
    for (double& spread : model.spread) spread *= kSpreadGain;
    ScoreSkinColour(lab, model, area, region.data(), score.data());
    const Status status = RefineSkinScore({score.data(), width, height, 1}, area, RefineRounds(corners, diagonal));
    if (status != Status::kOk) return status;
    ComposeSkinMask({mask, width, height, 1}, corners[0], corners[1], area, region.data(), score.data());
  }
  return Status::kOk;
}

}  // namespace qx
