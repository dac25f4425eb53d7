#include "bench/loops.h"

#include <memory>
#include <random>

#include "beauty/skin_tone.h"

namespace qx::bench {
namespace {

constexpr size_t kCount = 1024;
constexpr int32_t kSide = 1100, kRows = 40;  // of the picture to sample from
constexpr size_t kTaps = 21;

// Inputs and outputs of all loops. Pixels look like noise; positions advance as those of a slightly turned picture.
struct Rows {
  Rows() {
    std::mt19937 random(1);
    const auto byte = [&] { return static_cast<uint8_t>(random()); };
    for (uint8_t& b : picture) b = byte();
    for (uint8_t& m : mask) m = static_cast<uint8_t>(byte() | 1);
    for (double& d : sums) d = byte() / 7.0;
    for (double& w : weights) w = byte() / 256.0;
    for (size_t i = 0; i < 256; ++i) overFull[i] = static_cast<double>(i) / 255;
    for (size_t k = 0; k < kCount; ++k) {
      const auto x = static_cast<double>(k);
      first[k] = static_cast<int32_t>(x * 0.8);
      fraction[k] = x * 0.8 - first[k];
      guide[k] = byte() / 255.0;
      sx[k] = static_cast<float>(3 + x * 0.99);
      sy[k] = static_cast<float>(20 + x * 0.01);
    }
  }

  std::vector<uint8_t> picture = std::vector<uint8_t>(kSide * kRows * 3), mask = std::vector<uint8_t>(kSide * kRows);
  std::vector<uint8_t> out = std::vector<uint8_t>(kCount * 3 * 16), maskOut = std::vector<uint8_t>(kCount);
  std::vector<double> weights = std::vector<double>(256 * kTaps), overFull = std::vector<double>(256);
  std::vector<double> sums = std::vector<double>((kCount + kTaps) * kDetailLanes), scratch = sums, mean = sums;
  std::vector<double> fraction = std::vector<double>(kCount), guide = fraction;
  std::vector<int32_t> first = std::vector<int32_t>(kCount);
  std::vector<float> sx = std::vector<float>(kCount), sy = sx, xs = sx, ys = sx;
  std::vector<float> radii = std::vector<float>(600 * 600, 100);
  double sum = 0;
};

using Data = std::shared_ptr<Rows>;

template <typename Call>
Loop OnPixels(const char* name, size_t pixels, Call call) {
  return {name, pixels, [=](const Kernels& loops, const BeautyKernels&) { call(loops); }};
}
template <typename Call>
Loop OnFaces(const char* name, Call call) {
  return {name, kCount, [=](const Kernels&, const BeautyKernels& loops) { call(loops); }};
}

std::vector<Loop> CropLoops(const Data& r) {
  const uint8_t* row = r->picture.data();
  uint8_t* out = r->out.data();
  const BlendRun run = {row, row + kSide * 3, kSide, r->first.data(), r->fraction.data(), 0.3};
  const auto addChannels = [=](const Kernels& k) {
    uint64_t sums[3] = {};
    k.addChannels(row, kCount, sums);
    r->sum += static_cast<double>(sums[0]);
  };
  const auto addDistances = [=](const Kernels& k) {
    const double colour[] = {100.5, 20.25, 200};
    r->sum += k.addDistances(row, kCount, colour);
  };
  return {OnPixels("grey", kCount, [=](const Kernels& k) { k.greyRow(row, kCount, out); }),
          OnPixels("blend", kCount, [=](const Kernels& k) { k.blendRow(run, kCount, 3, out); }),
          OnPixels("reverse", kCount, [=](const Kernels& k) { k.reverseRow(row, kCount, 3, out); }),
          OnPixels("turn", kCount * 16, [=](const Kernels& k) { k.turnTile(row, kSide * 3, kCount, 16, 3, out, 48); }),
          OnPixels("sums of channels", kCount, addChannels),
          OnPixels("distances", kCount, addDistances)};
}

std::vector<Loop> SampleLoops(const Data& r) {
  const SampleSource source = {r->picture.data(), kSide, kRows};
  const AffineRun run = {99, 0, 300, 1, 0, 1500, 100, 0};
  const auto tone = [=](const BeautyKernels& k) {
    k.toneRow(SkinToneLut, source.pixels, kCount, 0.4, 0.6, r->out.data());
  };
  const auto lensPositions = [=](const BeautyKernels& k) {
    k.lensPositions(r->radii.data(), -512, 40, 600, 20, kCount, r->xs.data(), r->ys.data());
  };
  const auto lensSamples = [=](const BeautyKernels& k) {
    k.lensSamples(source, r->sx.data(), r->sy.data(), kCount, r->out.data());
  };
  const auto affineSamples = [=](const BeautyKernels& k) {
    k.affineSamples(source, r->mask.data(), run, kCount, r->out.data(), r->maskOut.data());
  };
  return {OnFaces("tone", tone), OnFaces("lens: positions", lensPositions), OnFaces("lens: samples", lensSamples),
          OnFaces("affine samples, mask", affineSamples)};
}

std::vector<Loop> SkinLoops(const Data& r) {
  const uint8_t* row = r->picture.data();
  const double *sums = r->sums.data(), *guide = r->guide.data(), *table = r->overFull.data();
  double *mean = r->mean.data(), *scratch = r->scratch.data();
  uint8_t* out = r->out.data();
  const auto means = [=](const BeautyKernels& k) { k.detailMeans(sums, nullptr, kCount, 17, scratch, mean); };
  const auto boost = [=](const BeautyKernels& k) { k.detailBoost(sums, guide, table, row, kCount, out); };
  const auto masked = [=](const BeautyKernels& k) {
    k.maskedMeans(sums, r->mask.data(), r->weights.data(), kTaps, kCount, out, 3);
  };
  return {OnFaces("detail: guide", [=](const BeautyKernels& k) { k.detailGuide(row, kCount, mean); }),
          OnFaces("detail: sums", [=](const BeautyKernels& k) { k.detailAccumulate(row, guide, table, kCount, mean); }),
          OnFaces("detail: means", means),
          OnFaces("detail: coefficients",
                  [=](const BeautyKernels& k) { k.detailCoefficients(sums, 0.01, kCount, sums, mean); }),
          OnFaces("detail: boost", boost),
          OnFaces("masked means, 21 taps", masked),
          OnFaces("mix", [=](const BeautyKernels& k) { k.mixRow(sums, guide, 0.3, kCount, out); })};
}

}  // namespace

std::vector<Loop> AllLoops() {
  const auto data = std::make_shared<Rows>();
  std::vector<Loop> all = CropLoops(data);
  for (auto* more : {SampleLoops, SkinLoops}) {
    const std::vector<Loop> loops = more(data);
    all.insert(all.end(), loops.begin(), loops.end());
  }
  return all;
}

}  // namespace qx::bench
