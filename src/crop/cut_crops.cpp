#include "crop/cut_crops.h"

#include <new>

#include "crop/portrait_crop.h"

namespace qx {
namespace {

bool MakeRecords(const FoundFaces& found, std::unique_ptr<FaceRecord[]>* records) {
  const auto count = static_cast<size_t>(found.count);
  records->reset(new (std::nothrow) FaceRecord[count]);
  if (*records == nullptr) return false;
  for (size_t i = 0; i < count; ++i) (*records)[i] = FaceRecord(found.faces[i]);
  return true;
}

}  // namespace

Status CutPortraits(const ImageView& photograph, const CropSettings& settings, const FoundFaces& found,
                    std::unique_ptr<FaceRecord[]>* records) {
  if (!MakeRecords(found, records)) return Status::kMemoryShort;
  for (int32_t i = 0; i < found.count; ++i) CropPortrait(photograph, settings, &(*records)[static_cast<size_t>(i)]);
  return Status::kOk;
}

Status CutPair(const ImageView& photograph, const CropSettings& settings, const FoundFaces& found,
               std::unique_ptr<FaceRecord[]>* records, std::unique_ptr<PairCrop>* pair) {
  pair->reset(new (std::nothrow) PairCrop);
  Status status = *pair != nullptr && MakeRecords(found, records) ? Status::kOk : Status::kMemoryShort;
  if (status == Status::kOk) status = CropPair(photograph, settings, records->get(), pair->get());
  if (status != Status::kOk) {
    records->reset();
    pair->reset();
  }
  return status;
}

}  // namespace qx
