// The adapter over the face engine: the only code that calls it.
#ifndef QX_FACE_FACE_ENGINE_H
#define QX_FACE_FACE_ENGINE_H

#include <cstdint>

#include "base/image_view.h"
#include "base/status.h"
#include "face/face_record.h"
#include "qx_face_sdk.h"

namespace qx {

// Faces as the detector found them, given back to the engine when the list ends.
class FaceList {
 public:
  FaceList() = default;
  FaceList(const FaceList&) = delete;
  FaceList& operator=(const FaceList&) = delete;
  ~FaceList();

  int32_t Count() const { return entries_ == nullptr || count_ < 0 ? 0 : count_; }
  FaceEntry& operator[](int32_t i) { return entries_[i]; }

 private:
  friend class FaceEngine;
  void Free();

  FaceEntry* entries_ = nullptr;
  int32_t count_ = 0;
  bool held_ = false;  // a detection has run, so the engine waits for its list, even for a null one
};

// The three instances of the engine. Each call changes their state: one call at a time. Images are grey: one channel.
class FaceEngine {
 public:
  FaceEngine() = default;
  FaceEngine(const FaceEngine&) = delete;
  FaceEngine& operator=(const FaceEngine&) = delete;
  ~FaceEngine();

  // Creates the instances; false when the engine refuses one of them, and none is kept then.
  bool Create();

  // Finds the faces, with one more permissive try when there are none at first. kOk, or kMemoryShort when the engine
  // tells so, by a negative count; the list is empty then.
  Status Detect(const ImageView& grey, FaceList* faces);

  // Clamps the entry to the image and fills the face from it. attrBlock: QX_FACE_BLOCK_INTS zeros, to see what the
  // landmark engine hands to the third analysis; or null.
  void Describe(const ImageView& grey, FaceEntry* entry, FoundFace* face, int32_t* attrBlock = nullptr);

 private:
  void Release();
  Status RunDetector(const ImageView& grey, FaceList* faces);

  void* detector_ = nullptr;
  void* aligner_ = nullptr;
  void* attributeEngine_ = nullptr;
};

}  // namespace qx

#endif  // QX_FACE_FACE_ENGINE_H
