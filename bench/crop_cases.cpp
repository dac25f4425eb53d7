// What is done with a crop: mask exchange, quality scores, the search for the finished photograph.
#include <cmath>
#include <cstring>
#include <memory>
#include <vector>

#include "bench/cases.h"
#include "crop/fine_crop.h"
#include "face/grey_convert.h"
#include "mask/mask_transfer.h"
#include "quality/quality_check.h"

namespace qx::bench {
namespace {

using Bytes = std::vector<uint8_t>;

// A crop of a person: eyes at 30 % of the height, shoulders from 70 % on, everything smooth and not quite even.
std::shared_ptr<FaceRecord> MakePerson(int32_t width, int32_t height) {
  auto face = std::make_shared<FaceRecord>();
  face->cropWidth = width;
  face->cropHeight = height;
  face->rotCos = 1;
  face->offsetX = width * 0.5;
  const uint64_t pixels = ImageBytes(width, height, 1);
  if (!face->cropImage.Allocate(pixels * 3) || !face->cropMask.Allocate(pixels) || !ReserveForeground(face.get())) {
    std::abort();
  }
  for (uint64_t i = 0; i < pixels * 3; ++i) face->cropImage[i] = static_cast<uint8_t>(120 + i / 3 % 50 + i % 7);
  for (int32_t y = height * 15 / 100; y < height; ++y) {
    const int32_t half = y < height * 70 / 100 ? width * 22 / 100 : width * 45 / 100;
    std::memset(face->fgMask.data() + y * width + width / 2 - half, 255, static_cast<size_t>(2 * half));
  }
  const auto at = [=](double x, double y) {
    return Point{static_cast<int32_t>(width * x), static_cast<int32_t>(height * y)};
  };
  FacePoints& points = face->crop;
  points.keyPoints[kLeftEyeCentre] = points.landmarks[kLeftEyeOuterCorner] = points.landmarks[kLeftEyeInnerCorner] =
      at(0.4, 0.36);
  points.keyPoints[kRightEyeCentre] = points.landmarks[kRightEyeInnerCorner] = points.landmarks[kRightEyeOuterCorner] =
      at(0.6, 0.365);
  points.landmarks[kMouthLeftEnd] = at(0.43, 0.5);
  points.landmarks[kMouthRightEnd] = at(0.57, 0.505);
  for (int i = 0; i < kAttributeCount; ++i) {
    points.attributes[i] = at(0.5 + 0.16 * std::cos(i * 0.0714), 0.4 + 0.18 * std::sin(i * 0.0714));
  }
  return face;
}

void AddMaskTransfer(Table* table) {
  constexpr int32_t kSide = 3000;
  const auto face = MakePerson(1200, 1525);
  face->originX = 700;
  face->originY = 600;
  const auto mask = std::make_shared<Bytes>(static_cast<size_t>(kSide) * kSide, 9);
  const auto colour = std::make_shared<Bytes>(mask->size() * 3, 7);
  const auto copy = [=] {
    for (int32_t y = 0; y < face->cropHeight; ++y) {
      const auto from = static_cast<size_t>((y + 600) * kSide + 700), to = static_cast<size_t>(y * face->cropWidth);
      std::memcpy(face->fgMask.data() + to, mask->data() + from, static_cast<size_t>(face->cropWidth));
      std::memcpy(face->fgColour.data() + to * 3, colour->data() + from * 3, static_cast<size_t>(face->cropWidth) * 3);
    }
  };
  table->Add({"mask transfer, unturned crop", 1200.0 * 1525,
              [=] {
                MaskToCrop({mask->data(), kSide, kSide, 1}, {colour->data(), kSide, kSide, 3}, face.get());
              },
              "memcpy of as many rows", copy, 1.5});
}

void AddQuality(Table* table) {
  const auto face = MakePerson(1200, 1525);
  const auto grey = std::make_shared<Bytes>(1200 * 1525);
  const auto sum = std::make_shared<uint64_t>();
  // One conversion and one pass over the square that the grey scores scan.
  const auto onePass = [=] {
    GreyConvert({face->cropImage.data(), 1200, 1525, 3}, grey->data());
    for (int32_t y = 660 - 165; y <= 660 + 165; ++y) {
      for (int32_t x = 600 - 165; x <= 600 + 165; ++x) {
        *sum += (*grey)[static_cast<size_t>(y * 1200 + x)];
        benchmark::DoNotOptimize(*sum);
      }
    }
  };
  table->Add({"quality check", 0, [=] { benchmark::DoNotOptimize(CheckQuality(*face)); },
              "grey and one pass over the face", onePass, 3.0});
}

void AddFineCrop(Table* table) {
  const auto face = MakePerson(2400, 3050);
  const FineCropParams passport = {35, 45, 32.0 / 45, 36.0 / 45, 0.05, 0.1, 0, 0, -1, -1};
  const FineCropParams tall = {1, 5000000, 0, 0, 0.999999, 1, 1e-6, 1, -1, -1};
  for (const auto& [name, params] :
       {std::pair("fine crop, passport", passport), std::pair("fine crop, 1 : 5,000,000", tall)}) {
    table->Add({name, 0,
                [face, params = params] {
                  CropRect rect;
                  benchmark::DoNotOptimize(FineCropSingle(*face, params, &rect));
                },
                "", nullptr, 10.0});
  }
}

}  // namespace

void AddCropCases(Table* table) {
  AddMaskTransfer(table);
  AddQuality(table);
  AddFineCrop(table);
}

}  // namespace qx::bench
