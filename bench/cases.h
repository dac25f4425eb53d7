// The groups of cases that one run of the benchmarks times.
#ifndef QX_BENCH_CASES_H
#define QX_BENCH_CASES_H

#include <string>

#include "bench/table.h"

namespace qx::bench {

// Grey conversion and crop resampling beside OpenCV's and beside plain copies.
void AddKernelCases(Table* table);

// Each row loop as this processor runs it beside the plain one.
void AddLoopCases(Table* table);

// The elementary functions beside those of the C library, in ns a call.
void AddMathCases(Table* table);

// Mask exchange, quality scores and the fine crop on painted crops.
void AddCropCases(Table* table);

// The stages of beauty retouching on a crop of 1200 x 1525, beside OpenCV's counterparts and the plain way.
void AddBeautyCases(Table* table);
// The skin stage on a painted face, and its two halves beside OpenCV's filters of the same look on the face alone.
void AddSkinCases(Table* table);

// Colours and sharpness of a finished photograph, beside OpenCV's conversions and filters.
void AddAdjustCases(Table* table);

// Detection and landmarks on a photograph of one face or more, scaled to 12 megapixels. False, after a line on standard
// error, when the photograph cannot be read or has no face.
bool AddEngineCases(const std::string& photo, Table* table);

}  // namespace qx::bench

#endif  // QX_BENCH_CASES_H
