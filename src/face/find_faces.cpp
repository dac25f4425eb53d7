#include "face/find_faces.h"

#include <new>

#include "base/buffer.h"
#include "face/grey_convert.h"

namespace qx {
namespace {

constexpr int32_t kPairFaces = 2;

bool MakeGrey(const ImageView& photograph, ByteBuffer* grey) {
  if (!grey->Allocate(photograph.Pixels())) return false;
  if (photograph.channels == 1) {
    CopyBytes(grey->data(), photograph.pixels, photograph.Pixels());
  } else {
    GreyConvert(photograph, grey->data());
  }
  return true;
}

Status CheckCount(FacesWanted wanted, int32_t count) {
  if (count == 0) return Status::kNoFace;
  if (wanted == FacesWanted::kTwo && count < kPairFaces) return Status::kTooFewFaces;
  if (wanted == FacesWanted::kTwo && count > kPairFaces) return Status::kTooManyFaces;
  return Status::kOk;
}

}  // namespace

Status FindFaces(const ImageView& photograph, FacesWanted wanted, FaceEngine* engine, FoundFaces* found) {
  *found = {};
  ByteBuffer greyPixels;
  if (!MakeGrey(photograph, &greyPixels)) return Status::kMemoryShort;
  const ImageView grey = {greyPixels.data(), photograph.width, photograph.height, 1};

  FaceList list;
  if (engine->Detect(grey, &list) != Status::kOk) return Status::kMemoryShort;
  const int32_t count = list.Count();
  const Status status = CheckCount(wanted, count);
  if (status != Status::kOk) return status;

  found->faces.reset(new (std::nothrow) FoundFace[static_cast<size_t>(count)]);
  if (found->faces == nullptr) return Status::kMemoryShort;
  found->count = count;
  for (int32_t i = 0; i < count; ++i) engine->Describe(grey, &list[i], &found->faces[static_cast<size_t>(i)]);
  return Status::kOk;
}

}  // namespace qx
