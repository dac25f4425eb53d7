#include "photo/person/network.h"

#include <algorithm>
#include <cstddef>
#include <string>

#include "nn/model.h"
#include "photo/base/failure.h"

extern "C" {
extern const unsigned char qx_model_person_mask[], qx_model_person_mask_end[];
}

namespace qx::photo {

PersonNetwork::PersonNetwork() {
  std::string error;
  const auto model = nn::Model::Parse(qx_model_person_mask,
                                      static_cast<size_t>(qx_model_person_mask_end - qx_model_person_mask), &error);
  if (model) runtime_ = nn::Runtime::Create(*model, model->Inputs(), model->Outputs(), &error);
  constexpr size_t kPixels = size_t{kSide} * kSide;
  if (!runtime_ || runtime_->InputSize(0) != 3 * kPixels || runtime_->OutputSize(0) != kPixels) {
    throw Failure(FailureCode::kEngine,
                  "the person mask cannot load (" + error + "); install the program again or free some memory");
  }
}

Raster PersonNetwork::Probability(const Image& photograph, const Rectangle& window) {
  const Raster picture = Resample(photograph, window, kSide, kSide);
  Raster mean(kSide, kSide, 1);
  std::fill(mean.values.begin(), mean.values.end(), 0.0f);
  for (const bool mirrored : {false, true}) {
    auto column = [&](int x) { return mirrored ? kSide - 1 - x : x; };
    float* to = runtime_->Input(0);
    for (int y = 0; y < kSide; ++y) {
      for (int x = 0; x < kSide; ++x, to += 3) {
        const float* from = picture.At(column(x), y);
        for (int c = 0; c < 3; ++c) to[c] = from[2 - c];  // red first
      }
    }
    if (!runtime_->Run())
      throw Failure(FailureCode::kOutOfMemory, "the person mask cannot be computed; free some memory");
    const float* from = runtime_->Output(0);
    for (int y = 0; y < kSide; ++y) {
      for (int x = 0; x < kSide; ++x) *mean.At(column(x), y) += *from++ / 2;
    }
  }
  return mean;
}

}  // namespace qx::photo
