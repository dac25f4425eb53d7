// The engine as a program uses it: through its sixteen functions.
#ifndef QX_TESTS_ENGINE_ENGINE_INSTANCE_H
#define QX_TESTS_ENGINE_ENGINE_INSTANCE_H

#include <algorithm>
#include <array>
#include <cstdint>
#include <cstring>
#include <vector>

#include "qx_face_sdk.h"

namespace qx::face {

struct Grey {
  int32_t width = 0;
  int32_t height = 0;
  std::vector<uint8_t> pixels;
};

// Everything that FaceAlign and FaceAttr write, in that order of the fields.
struct Description {
  int32_t presence = -7, roll = -7;
  std::array<int32_t, 2 * QX_FACE_LANDMARKS> landmarks;
  std::array<int32_t, 2 * QX_FACE_KEY_POINTS> keyPoints;
  std::array<int32_t, QX_FACE_BLOCK_INTS> block;
  int32_t leftEye = -7, rightEye = -7, mouth = -7;
  int32_t info[3] = {-7, -7, -7};
  std::array<int32_t, 2 * QX_FACE_ATTRIBUTE_POINTS> attributes;

  Description() {
    landmarks.fill(-7);
    keyPoints.fill(-7);
    block.fill(-7);
    attributes.fill(-7);
  }

  float BlockFloat(int at) const {
    float value;
    std::memcpy(&value, &block[static_cast<size_t>(at)], sizeof value);
    return value;
  }
  // The depth of a mesh point that the block tells; i counts in QX_FACE_DEPTH_INDICES.
  float Depth(int i) const { return BlockFloat(QX_FACE_BLOCK_DEPTHS + 1 + i); }
  // x (0) or y (1) of a mesh point, and of a point of the irises, 0 to 9.
  float Mesh(int point, int axis) const { return BlockFloat(1 + 2 * point + axis); }
  float Iris(int point, int axis) const {
    return BlockFloat(QX_FACE_BLOCK_DEPTHS + 1 + QX_FACE_DEPTH_POINTS + 2 * point + axis);
  }

  std::vector<int32_t> All() const {
    std::vector<int32_t> all = {presence, roll, leftEye, rightEye, mouth, info[0], info[1], info[2]};
    all.insert(all.end(), landmarks.begin(), landmarks.end());
    all.insert(all.end(), keyPoints.begin(), keyPoints.end());
    all.insert(all.end(), block.begin(), block.end());
    all.insert(all.end(), attributes.begin(), attributes.end());
    return all;
  }
};

// Calls FaceAlign and FaceAttr with exactly these arguments.
inline Description Describe(void* landmarker, void* analyser, const Grey& image, const FaceArgument* face) {
  Description d;
  std::vector<int32_t> scratch(2 * QX_FACE_BLOCK_INTS);
  int32_t unused[3];
  FaceAlign(landmarker, image.pixels.data(), image.width, image.height, 1, face, &d.presence, &d.roll, scratch.data(),
            d.landmarks.data(), scratch.data() + QX_FACE_BLOCK_INTS, d.keyPoints.data(), d.block.data(), &d.leftEye,
            &d.rightEye, &d.mouth, &unused[0], &unused[1], &unused[2], &d.info[0], &d.info[1], &d.info[2]);
  FaceAttr(analyser, image.pixels.data(), image.width, image.height, 1, d.keyPoints.data(), d.block.data(), d.info[0],
           d.info[1], d.info[2], d.attributes.data());
  return d;
}

struct Engine {
  void* detector = FaceDetectorCreate();
  void* landmarker = LandmarkerCreate();
  void* analyser = FaceAttrCreate();

  Engine() = default;
  Engine(const Engine&) = delete;
  Engine& operator=(const Engine&) = delete;
  ~Engine() {
    FaceDetectorRelease(detector);
    LandmarkerRelease(landmarker);
    FaceAttrRelease(analyser);
  }

  std::vector<FaceEntry> Detect(const Grey& image) {
    FaceEntry* faces = nullptr;
    int32_t count = 0;
    FaceDetect(detector, image.pixels.data(), image.width, image.height, 1, &faces, &count);
    const std::vector<FaceEntry> found(faces, faces + count);
    FaceListFree(faces);
    return found;
  }

  // With the face's corners clamped to the image, as a careful caller hands them over.
  Description Align(const Grey& image, const FaceEntry& face) {
    FaceArgument argument{};
    for (int i = 0; i < 8; ++i) {
      argument.corners[i] = std::clamp(face.corners[i], 0, (i % 2 == 0 ? image.width : image.height) - 1);
    }
    argument.tag = face.tag;
    return Describe(landmarker, analyser, image, &argument);
  }
};

}  // namespace qx::face

#endif  // QX_TESTS_ENGINE_ENGINE_INSTANCE_H
