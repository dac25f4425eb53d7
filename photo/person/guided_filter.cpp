#include "photo/person/guided_filter.h"

#include <algorithm>
#include <cstring>

namespace qx::photo {
namespace {

constexpr int kInputs = 4;  // guide (3), map
// Sums over a window: guide (3), the guide's products (6: 00 01 02 11 12 22), map, map times guide (3). Samples of at
// most 128 keep them whole numbers below 2^24 in the largest window, which float holds exactly: what leaves a running
// sum leaves no trace.
constexpr int kMoments = 13;
constexpr int kLine = GuidedFilter::kMostWidth + 4 * GuidedFilter::kMostRadius;
constexpr int kWindow = 2 * GuidedFilter::kMostRadius + 1;

using Line = float[kLine];

// to[x] = from[x] + ... + from[x + count - 1] for x below size, out of runs of 1, 2, 4 ... values.
void SumRuns(const float* from, int count, int size, float* to) {
  Line scratch[2];
  std::fill_n(to, size, 0.0f);
  const float* runs = from;
  int done = 0, next = 0;
  for (int run = 1; run <= count; run *= 2) {
    if (count & run) {
      for (int x = 0; x < size; ++x) to[x] += runs[done + x];
      done += run;
    }
    if (2 * run > count) break;
    float* twice = scratch[next];
    for (int x = 0; x < size + count - 2 * run; ++x) twice[x] = runs[x] + runs[x + run];
    runs = twice;
    next = 1 - next;
  }
}

template <bool kAdd>
void Accumulate(const Line* inputs, int size, Line* sums) {
  for (int x = 0; x < size; ++x) {
    const float g0 = inputs[0][x], g1 = inputs[1][x], g2 = inputs[2][x], p = inputs[3][x];
    const float s = kAdd ? 1.0f : -1.0f, h0 = s * g0, h1 = s * g1, h2 = s * g2;
    sums[0][x] += h0;
    sums[1][x] += h1;
    sums[2][x] += h2;
    sums[3][x] += h0 * g0;
    sums[4][x] += h0 * g1;
    sums[5][x] += h0 * g2;
    sums[6][x] += h1 * g1;
    sums[7][x] += h1 * g2;
    sums[8][x] += h2 * g2;
    sums[9][x] += s * p;
    sums[10][x] += h0 * p;
    sums[11][x] += h1 * p;
    sums[12][x] += h2 * p;
  }
}

// The lines that fit best: (covariance of the guide + epsilon) a = covariance of guide and map, by L D L', which stays
// exact enough in float where the guide is grey. `part`: one over the pixels of the window; 0 makes a line of zeros.
void Fit(const Line* sums, const float* part, float epsilon, int size, Line* lines) {
  for (int x = 0; x < size; ++x) {
    const float n = part[x];
    const float g0 = sums[0][x] * n, g1 = sums[1][x] * n, g2 = sums[2][x] * n, p = sums[9][x] * n;
    const float s00 = sums[3][x] * n - g0 * g0 + epsilon, s01 = sums[4][x] * n - g0 * g1;
    const float s02 = sums[5][x] * n - g0 * g2, s11 = sums[6][x] * n - g1 * g1 + epsilon;
    const float s12 = sums[7][x] * n - g1 * g2, s22 = sums[8][x] * n - g2 * g2 + epsilon;
    const float c0 = sums[10][x] * n - g0 * p, c1 = sums[11][x] * n - g1 * p, c2 = sums[12][x] * n - g2 * p;
    const float d0 = 1 / s00, l1 = s01 * d0, l2 = s02 * d0;
    const float d1 = 1 / (s11 - l1 * s01), t = s12 - l2 * s01, l3 = t * d1;
    const float d2 = 1 / (s22 - l2 * s02 - l3 * t);
    const float z1 = c1 - l1 * c0, z2 = c2 - l2 * c0 - l3 * z1;
    const float a2 = z2 * d2, a1 = z1 * d1 - l3 * a2, a0 = c0 * d0 - l1 * a1 - l2 * a2;
    lines[0][x] = a0;
    lines[1][x] = a1;
    lines[2][x] = a2;
    lines[3][x] = p - a0 * g0 - a1 * g1 - a2 * g2;
  }
}

// How many of the pixels at - radius ... at + radius lie in the picture; 0 where `at` itself does not.
int Count(int at, int radius, int size) {
  if (at < 0 || at >= size) return 0;
  return std::min(at + radius, size - 1) - std::max(at - radius, 0) + 1;
}

}  // namespace

// Rows of the box with a margin of two radii on both sides; lines have one of one radius. The last rows are kept in
// rings, by their number, to be taken out of the sums.
struct GuidedFilter::Rows {
  Line inputs[kWindow][kInputs], lines[kWindow][kPlanes];
  Line columns[kMoments], moments[kMoments], fitted[kPlanes], sums[kPlanes];
  Line part;
};

GuidedFilter::GuidedFilter(const Image& guide, const Mask& map, int radius, double epsilon)
    : guide_(guide),
      map_(map),
      radius_(radius),
      epsilon_(static_cast<float>(epsilon * 255 * 255)),
      rows_(std::make_unique<Rows>()) {}

GuidedFilter::~GuidedFilter() = default;

void GuidedFilter::AddInput(int y, bool add) {
  Line* inputs = rows_->inputs[y % (2 * radius_ + 1)];
  const int start = box_.left - 2 * radius_, size = box_.Width() + 4 * radius_;
  if (!add) return Accumulate<false>(inputs, size, rows_->columns);
  const int left = std::max(start, 0), right = std::min(start + size, map_.width);
  for (int i = 0; i < kInputs; ++i) {
    std::fill_n(inputs[i], left - start, 0.0f);
    std::fill(inputs[i] + (right - start), inputs[i] + size, 0.0f);
  }
  const uint8_t* bgr = guide_.At(left, y);
  const uint8_t* value = map_.Row(y) + left;
  for (int x = left - start; x < right - start; ++x, bgr += 3, ++value) {
    for (int i = 0; i < 3; ++i) inputs[i][x] = static_cast<float>(bgr[i] - 128);
    inputs[3][x] = static_cast<float>(*value - 128);
  }
  Accumulate<true>(inputs, size, rows_->columns);
}

void GuidedFilter::FitLines(int y) {
  const int size = box_.Width() + 2 * radius_, start = box_.left - radius_;
  for (int i = 0; i < kMoments; ++i) SumRuns(rows_->columns[i], 2 * radius_ + 1, size, rows_->moments[i]);
  const int count = Count(y, radius_, map_.height);
  for (int x = 0; x < size; ++x) {
    const int pixels = count * Count(start + x, radius_, map_.width);
    rows_->part[x] = pixels > 0 ? 1 / static_cast<float>(pixels) : 0.0f;
  }
  Fit(rows_->moments, rows_->part, epsilon_, size, rows_->fitted);
  Line* lines = rows_->lines[y % (2 * radius_ + 1)];
  for (int i = 0; i < kPlanes; ++i) SumRuns(rows_->fitted[i], 2 * radius_ + 1, box_.Width(), lines[i]);
}

void GuidedFilter::AddLines(int y, bool add) {
  const Line* lines = rows_->lines[y % (2 * radius_ + 1)];
  for (int i = 0; i < kPlanes; ++i) {
    float* sums = rows_->sums[i];
    const float* line = lines[i];
    if (add) {
      for (int x = 0; x < box_.Width(); ++x) sums[x] += line[x];
    } else {
      for (int x = 0; x < box_.Width(); ++x) sums[x] -= line[x];
    }
  }
}

void GuidedFilter::TakeMeans(int y, float* to) {
  const int count = Count(y, radius_, map_.height);
  for (int x = 0; x < box_.Width(); ++x) {
    rows_->part[x] = 1 / static_cast<float>(count * Count(box_.left + x, radius_, map_.width));
  }
  for (int i = 0; i < kPlanes; ++i, to += box_.Width()) {
    for (int x = 0; x < box_.Width(); ++x) to[x] = rows_->sums[i][x] * rows_->part[x];
  }
}

void GuidedFilter::Lines(const PixelBox& box, float* lines, size_t stride) {
  box_ = box;
  const int height = map_.height, first = std::max(0, box.top - radius_), firstInput = std::max(0, first - radius_);
  std::memset(rows_->columns, 0, sizeof rows_->columns);
  std::memset(rows_->sums, 0, sizeof rows_->sums);
  int input = firstInput;
  for (int y = first; y < box.bottom + radius_; ++y) {  // the row of lines that comes in
    if (y - 2 * radius_ - 1 >= first) AddLines(y - 2 * radius_ - 1, false);
    if (y < height) {
      if (y - radius_ - 1 >= firstInput) AddInput(y - radius_ - 1, false);
      for (; input <= std::min(y + radius_, height - 1); ++input) AddInput(input, true);
      FitLines(y);
      AddLines(y, true);
    }
    if (y - radius_ < box.top) continue;
    TakeMeans(y - radius_, lines);
    lines += stride;
  }
}

}  // namespace qx::photo
