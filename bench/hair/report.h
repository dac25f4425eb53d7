// Tables and pictures of what was measured.
#ifndef QX_BENCH_HAIR_REPORT_H
#define QX_BENCH_HAIR_REPORT_H

#include <string>
#include <vector>

#include "bench/hair/measures.h"
#include "bench/hair/scene.h"
#include "bench/hair/ways.h"

namespace qx::bench::hair {

// One mask and its colours against the truth; `given` are the colours that the same way makes of the true mask.
struct Errors {
  MaskErrors mask;
  ColourErrors colours, given;
};

struct Row {
  uint32_t seed;
  Backdrop backdrop;
  HairKind kind;
  HairColour colour;
  int faceWidth;
  Errors before, now;
};

// A table in Markdown: a line for each class of backgrounds and kind of hair, and for all. Ratios of now to before are
// those of the sums, in brackets the mean of the pictures' own; without a way to compare with, the figures of before.
void PrintTable(const std::vector<Row>& rows, bool compared);
void PrintEach(const std::vector<Row>& rows, bool compared);

// Side by side, at full size: photograph, truth, mask before and now, and over blue the results before, now and true.
// Throws std::runtime_error when the file cannot be written.
void WritePicture(const std::string& folder, const Scene& scene, const Cutout& before, const Cutout& now);

// The surroundings of the head for training, little-endian: "QXHAIR1\n", then as int32 width, height, left and top of
// the surroundings, the face box in them (left, top, right, bottom), seed, backdrop, kind, colour; then bytes: picture
// (blue, green, red), mask before, true alpha, hair's part of it, true foreground times alpha (blue, green, red),
// background (blue, green, red).
void WriteDump(const std::string& folder, const Scene& scene, const Cutout& before);

}  // namespace qx::bench::hair

#endif  // QX_BENCH_HAIR_REPORT_H
