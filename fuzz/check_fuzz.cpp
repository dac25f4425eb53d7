// What is measured on a face: meshes, pictures and masks of the fuzzer's choosing, measured as a finished photograph
// and as the source of one, and drawn.
#include <fuzzer/FuzzedDataProvider.h>

#include <cmath>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <memory>
#include <vector>

#include "photo/check/measures.h"
#include "photo/check/source_check.h"
#include "photo/drawing/draw_check.h"
#include "tests/support/flat_face.h"

namespace {

using namespace qx::photo;

double Place(FuzzedDataProvider& input) {
  switch (input.ConsumeIntegralInRange(0, 7)) {
    case 6: return input.ConsumeFloatingPointInRange(-3e3, 3e3);
    case 7: return input.ConsumeFloatingPointInRange(-1e30, 1e30);  // as far as the engine's floats go
    default: return input.ConsumeFloatingPointInRange(-50.0, 700.0);
  }
}

// A usual face, small or large, of which some points are elsewhere.
std::vector<ProbedFace> Faces(FuzzedDataProvider& input) {
  qx::test::FlatFace face;
  face.mesh.hasDepth = input.ConsumeBool();
  for (double& depth : face.mesh.depth) depth = input.ConsumeFloatingPointInRange(-60.0, 60.0);
  for (int i = input.ConsumeIntegralInRange(0, 12); i > 0; --i) {
    const int index = input.ConsumeIntegralInRange(0, QX_FACE_MESH_POINTS - 1);
    const double x = Place(input);
    face.Set(index, x, Place(input));
  }
  if (input.ConsumeBool()) face.mesh.irises[0].fill({Place(input), Place(input)});
  const bool usual = input.ConsumeBool();
  const double scale = usual ? 0.15 : input.ConsumeFloatingPointInRange(0.0, 2.0);
  const double left = usual ? 0 : input.ConsumeFloatingPointInRange(-300.0, 600.0);
  const double top = usual ? 0 : input.ConsumeFloatingPointInRange(-300.0, 600.0);
  std::vector<ProbedFace> faces = face.Faces(scale, left, top);
  faces[0].presence = input.ConsumeIntegralInRange(0, 7) == 0 ? 100 : 1000;
  if (input.ConsumeIntegralInRange(0, 7) == 0) faces[0].mesh = nullptr;
  if (input.ConsumeBool()) faces.push_back(face.Faces(scale / 2, left, top)[0]);
  return faces;
}

template <typename Paint>
void Boxes(FuzzedDataProvider& input, int width, int height, Paint paint) {
  for (int i = input.ConsumeIntegralInRange(0, 5); i > 0; --i) {
    const int left = input.ConsumeIntegralInRange(0, width - 1), top = input.ConsumeIntegralInRange(0, height - 1);
    const int right = input.ConsumeIntegralInRange(left, width - 1);
    const int bottom = input.ConsumeIntegralInRange(top, height - 1);
    const auto value = input.ConsumeIntegral<uint32_t>();
    for (int y = top; y <= bottom; ++y) {
      for (int x = left; x <= right; ++x) paint(x, y, value);
    }
  }
}

Image Picture(FuzzedDataProvider& input, int width, int height) {
  Image picture(width, height);
  const uint32_t noise = input.ConsumeBool() ? 1 : input.ConsumeIntegralInRange<uint32_t>(1, 255);
  const auto ground = input.ConsumeIntegral<uint8_t>();
  uint32_t random = 1;
  for (uint8_t& byte : picture.bgr) {
    random = random * 1664525 + 1013904223;
    byte = static_cast<uint8_t>(ground + (random >> 16) % noise);
  }
  Boxes(input, width, height, [&](int x, int y, uint32_t value) {
    for (int c = 0; c < 3; ++c) picture.At(x, y)[c] = static_cast<uint8_t>(value >> (8 * c));
  });
  return picture;
}

MeasureOptions Options(FuzzedDataProvider& input) {
  const std::vector<Preset>& presets = Presets();
  const Preset& preset = presets[input.ConsumeIntegralInRange<size_t>(0, presets.size() - 1)];
  FileFacts file;
  if (input.ConsumeBool()) file.jpegQuality = JpegQuality{input.ConsumeIntegralInRange(1, 100), input.ConsumeBool()};
  return OptionsFor(preset, Derive(preset), file, input.ConsumeBool());
}

void Check(const std::vector<Measure>& measures) {
  for (const Measure& measure : measures) {
    if (measure.value && !std::isfinite(*measure.value)) std::abort();
    if (measure.score && !(*measure.score >= 0 && *measure.score <= 100)) std::abort();
    if (measure.state != MeasureState::kPassed && measure.reason.empty()) std::abort();
    if (measure.state == MeasureState::kPassed && !measure.value) std::abort();
  }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  // Places come first: when an input is at its end, only colours are missing.
  FuzzedDataProvider input(data, size);
  const std::vector<ProbedFace> faces = Faces(input);
  const MeasureOptions options = Options(input);
  const int width = input.ConsumeBool() ? 96 : input.ConsumeIntegralInRange(1, 200);
  const int height = input.ConsumeBool() ? 96 : input.ConsumeIntegralInRange(1, 200);
  const bool drawn = input.ConsumeIntegralInRange(0, 15) == 0, masked = input.ConsumeBool();
  Mask mask(width, height, 0);
  if (masked) {
    Boxes(input, width, height, [&](int x, int y, uint32_t value) { mask.Row(y)[x] = static_cast<uint8_t>(value); });
  }
  const Image photograph = Picture(input, width, height);

  const int kind = input.ConsumeIntegralInRange(0, 4);
  if (kind == 3) {
    const SourceUse use{input.ConsumeBool(), input.ConsumeFloatingPointInRange(0.01, 50.0),
                        input.ConsumeFloatingPointInRange(0.0, 500.0)};
    Check(MeasureSource(LookAtSource(photograph, faces[0]), use, options));
    return 0;
  }
  if (kind == 4 && masked) {
    Check(MeasureKeptBackground(photograph, faces[0], mask, options));
    return 0;
  }
  PhotoCheck check;
  check.measures = MeasureFace(photograph, faces, masked ? &mask : nullptr, options);
  Check(check.measures);
  if (!drawn) return 0;
  check.face = faces[0];
  const Image drawing = DrawCheck(photograph, check);
  if (drawing.width < 1 || drawing.bgr.size() != drawing.Pixels() * 3) std::abort();
  return 0;
}
