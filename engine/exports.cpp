// The sixteen functions of the engine: checks of the arguments, then one call. No exception leaves them.
#include <algorithm>
#include <array>
#include <cstdint>
#include <cstring>
#include <new>
#include <vector>

#include "engine/detector.h"
#include "engine/landmarker.h"
#include "qx_face_sdk.h"

namespace qx::face {
namespace {

struct DetectorInstance {
  Detector detector;
  DetectorSettings settings;
};

// The third analysis reads the mesh that the alignment found; it needs no network of its own.
struct Analyser {};

static_assert(sizeof(float) == sizeof(int32_t) && 1 + 2 * kMeshPoints == QX_FACE_BLOCK_DEPTHS &&
                  QX_FACE_BLOCK_DEPTHS + 1 + QX_FACE_DEPTH_POINTS + 4 * kIrisPoints <= QX_FACE_BLOCK_INTS,
              "the mesh, its depths and the irises must fit the block");

// Writes numbers one after the other as the bits of floats.
class FloatWriter {
 public:
  explicit FloatWriter(int32_t* to) : to_(to) {}
  void Put(double value) {
    const auto bits = static_cast<float>(value);
    std::memcpy(to_++, &bits, sizeof bits);
  }
  void Put(Point p) {
    Put(p.x);
    Put(p.y);
  }

 private:
  int32_t* to_;
};

void WriteBlock(const FaceDescription* description, int32_t* block) {
  if (block == nullptr) return;
  std::fill_n(block, QX_FACE_BLOCK_INTS, 0);
  if (description == nullptr) return;
  const FaceMesh& mesh = description->mesh;
  block[0] = QX_FACE_BLOCK_MARK;
  FloatWriter points(block + 1);
  for (const Point& p : mesh.points) points.Put(p);
  block[QX_FACE_BLOCK_DEPTHS] = QX_FACE_DEPTH_MARK;
  FloatWriter more(block + QX_FACE_BLOCK_DEPTHS + 1);
  for (const int16_t index : kDepthPoints) more.Put(mesh.depth[static_cast<size_t>(index)]);
  for (const IrisPoints& iris : mesh.irises) {
    for (const Point& p : iris) more.Put(p);
  }
}

bool ReadBlock(const int32_t* block, MeshPoints* mesh) {
  if (block == nullptr || *block++ != QX_FACE_BLOCK_MARK) return false;
  for (Point& p : *mesh) {
    float values[2];
    std::memcpy(values, block, sizeof values);
    p = {values[0], values[1]};
    block += 2;
  }
  return true;
}

bool IsImage(const uint8_t* grey, int32_t width, int32_t height, int32_t channels) {
  return grey != nullptr && width > 0 && height > 0 && channels == 1;
}

FaceEntry EntryOf(const FoundFace& face, const GreyView& image) {
  FaceEntry entry{};
  const auto corners = CornersOf(face.square.centre, face.square.side, face.turn, image.width, image.height);
  std::copy(corners.begin(), corners.end(), entry.corners);
  entry.unread = FloorTo(1000 * face.score + 0.5, 0, 1000);
  entry.tag = FloorTo(100 * Degrees(face.roll) + 0.5, -4500, 4500);
  return entry;
}

FaceEntry* NewEntries(const std::vector<FoundFace>& faces, const GreyView& image) {
  if (faces.empty()) return nullptr;
  auto* entries = new FaceEntry[faces.size()];
  for (size_t i = 0; i < faces.size(); ++i) entries[i] = EntryOf(faces[i], image);
  return entries;
}

void Write(int32_t value, int32_t* out) {
  if (out != nullptr) *out = value;
}

template <size_t n>
void Write(const std::array<Pixel, n>& points, int32_t* out) {
  if (out == nullptr) return;
  for (const Pixel& p : points) {
    *out++ = p.x;
    *out++ = p.y;
  }
}

// Stands where a count or a presence would.
constexpr int32_t kNoMemory = -1;

// Runs `call` and answers what it answers, or `failed` when memory is short.
template <typename Result, typename Call>
Result Guarded(Result failed, Call call) noexcept {
  try {
    return call();
  } catch (...) {
    return failed;
  }
}

void Change(void* detector, double DetectorSettings::*setting, double value) {
  if (detector != nullptr) static_cast<DetectorInstance*>(detector)->settings.*setting = value;
}

void Change(void* detector, bool DetectorSettings::*setting, int32_t value) {
  if (detector != nullptr) static_cast<DetectorInstance*>(detector)->settings.*setting = value != 0;
}

void Change(void* detector, int DetectorSettings::*setting, int32_t value) {
  if (detector != nullptr) static_cast<DetectorInstance*>(detector)->settings.*setting = value;
}

}  // namespace
}  // namespace qx::face

using qx::face::Change;
using qx::face::DetectorSettings;
using qx::face::GreyView;
using qx::face::kNoMemory;

void* FaceDetectorCreate(void) {
  return qx::face::Guarded(static_cast<void*>(nullptr), []() -> void* { return new qx::face::DetectorInstance; });
}

void FaceDetectorRelease(void* detector) {
  delete static_cast<qx::face::DetectorInstance*>(detector);
}

void* LandmarkerCreate(void) {
  return qx::face::Guarded(static_cast<void*>(nullptr), []() -> void* { return new qx::face::Landmarker; });
}

void LandmarkerRelease(void* landmarker) {
  delete static_cast<qx::face::Landmarker*>(landmarker);
}

void* FaceAttrCreate(void) {
  return new (std::nothrow) qx::face::Analyser;
}

void FaceAttrRelease(void* analyser) {
  delete static_cast<qx::face::Analyser*>(analyser);
}

void SetDetectFlagA(void* detector, int32_t value) {
  Change(detector, &DetectorSettings::allTurns, value);
}

void SetDetectParamB(void* detector, int32_t value) {
  Change(detector, &DetectorSettings::overlap, value / 50.0);
}

void SetDetectFlagC(void* detector, int32_t value) {
  Change(detector, &DetectorSettings::confirm, value);
}

void SetDetectThreshold(void* detector, int32_t value) {
  Change(detector, &DetectorSettings::threshold, value / 1000.0);
}

void SetDetectSizeRange(void* detector, int32_t lower, int32_t upper) {
  Change(detector, &DetectorSettings::smallestExpected, lower);
  Change(detector, &DetectorSettings::largest, upper);
}

void SetDetectMinFace(void* detector, int32_t value) {
  Change(detector, &DetectorSettings::smallest, value);
}

void FaceDetect(void* detector, const uint8_t* grey, int32_t width, int32_t height, int32_t channels, FaceEntry** faces,
                int32_t* count) {
  if (faces != nullptr) *faces = nullptr;
  if (count != nullptr) *count = 0;
  if (detector == nullptr || faces == nullptr || count == nullptr) return;
  if (!qx::face::IsImage(grey, width, height, channels)) return;
  *count = qx::face::Guarded(kNoMemory, [=] {
    const auto* instance = static_cast<qx::face::DetectorInstance*>(detector);
    const GreyView image{grey, width, height};
    const auto found = instance->detector.Find(image, instance->settings);
    *faces = qx::face::NewEntries(found, image);
    return static_cast<int32_t>(found.size());
  });
}

void FaceListFree(FaceEntry* faces) {
  delete[] faces;
}

void FaceAlign(void* landmarker, const uint8_t* grey, int32_t width, int32_t height, int32_t channels,
               const FaceArgument* face, int32_t* outD, int32_t* outE, int32_t* /*scratchBlock1*/, int32_t* landmarks,
               int32_t* /*scratchBlock2*/, int32_t* keyPoints, int32_t* attrBlock, int32_t* outF, int32_t* outG,
               int32_t* outH, int32_t* /*scratch1*/, int32_t* /*scratch2*/, int32_t* /*scratch3*/, int32_t* infoA,
               int32_t* infoB, int32_t* infoC) {
  using qx::face::Write;
  qx::face::FaceDescription d;
  bool found = false;
  if (landmarker != nullptr && face != nullptr && qx::face::IsImage(grey, width, height, channels)) {
    const int answer = qx::face::Guarded(kNoMemory, [&] {
      const auto* instance = static_cast<qx::face::Landmarker*>(landmarker);
      return instance->Describe({grey, width, height}, face->corners, face->tag, &d) ? 1 : 0;
    });
    found = answer > 0;
    if (!found) d = {};
    d.presence = answer == kNoMemory ? kNoMemory : d.presence;
  }
  Write(d.presence, outD);
  Write(d.roll, outE);
  Write(d.landmarks, landmarks);
  Write(d.keyPoints, keyPoints);
  qx::face::WriteBlock(found ? &d : nullptr, attrBlock);
  Write(d.leftEyeOpen, outF);
  Write(d.rightEyeOpen, outG);
  Write(d.mouthOpen, outH);
  Write(d.turn, infoA);
  Write(d.roll, infoB);
  Write(d.presence, infoC);
}

void FaceAttr(void* analyser, const uint8_t* grey, int32_t width, int32_t height, int32_t channels,
              const int32_t* /*keyPoints*/, const int32_t* attrBlock, int32_t /*infoA*/, int32_t /*infoB*/,
              int32_t /*infoC*/, int32_t* attributes) {
  std::array<qx::face::Pixel, QX_FACE_ATTRIBUTE_POINTS> points{};
  qx::face::MeshPoints mesh;
  if (analyser != nullptr && qx::face::IsImage(grey, width, height, channels) &&
      qx::face::ReadBlock(attrBlock, &mesh)) {
    points = qx::face::AttributePoints({grey, width, height}, mesh);
  }
  qx::face::Write(points, attributes);
}
