#include "src/scripted_engine.h"

#include <algorithm>
#include <cstring>
#include <random>

#include "face/landmark_set.h"

namespace qx::test {

ScriptedEngine& Script() {
  static ScriptedEngine engine;
  return engine;
}

namespace {

void Log(const std::string& name, std::initializer_list<int32_t> arguments = {}) {
  std::string call = name + "(";
  for (const int32_t a : arguments) call += (call.back() == '(' ? "" : ",") + std::to_string(a);
  Script().calls.push_back(call + ")");
}

void* Create(const char* name, int which) {
  Log(name);
  if (Script().refuse[which]) return nullptr;
  ++Script().openInstances;
  return new int(which);
}

void Release(const char* name, void* instance) {
  Log(name);
  --Script().openInstances;
  delete static_cast<int*>(instance);
}

}  // namespace

ScriptedFace LevelFace(int32_t x, int32_t y, int32_t eyeDistance) {
  ScriptedFace face;
  const int32_t half = eyeDistance / 2;
  face.landmarks[kLeftEyeOuterCorner] = {x - half, y - half};
  face.landmarks[kRightEyeOuterCorner] = {x + half, y - half};
  face.landmarks[kMouthLeftEnd] = {x - half / 2, y + half};
  face.landmarks[kMouthRightEnd] = {x + half / 2, y + half};
  face.keyPoints[kLeftEyeCentre] = face.landmarks[kLeftEyeOuterCorner];
  face.keyPoints[kRightEyeCentre] = face.landmarks[kRightEyeOuterCorner];
  for (int32_t i = 0; i < QX_FACE_ATTRIBUTE_POINTS; ++i) face.attributes[i] = {x - 44 + i, y + i % 7};
  const int32_t box[] = {x - half, y - half, x + half, y - half, x - half, y + half, x + half, y + half};
  std::copy(std::begin(box), std::end(box), face.corners);
  return face;
}

ScriptedFace DetailedFace(int32_t x, int32_t y, int32_t eyeDistance) {
  const int32_t d = eyeDistance;
  ScriptedFace face = LevelFace(x, y, d);
  const auto eye = [&face, d](int at, int32_t cx, int32_t cy) {
    const Point points[] = {{cx - d / 6, cy}, {cx + d / 6, cy}, {cx, cy - d / 12}, {cx, cy + d / 12}};
    std::copy(std::begin(points), std::end(points), face.landmarks + at);
  };
  eye(kLeftEyeOuterCorner, x - d / 3, y - d / 2);
  eye(kRightEyeInnerCorner, x + d / 3, y - d / 2);
  face.landmarks[kRightEyeOuterCorner] = {x + d / 2, y - d / 2};
  face.landmarks[kMouthTop] = {x, y + d / 2 - d / 12};
  face.landmarks[kMouthBottom] = {x, y + d / 2 + d / 12};
  const std::pair<DensePoint, Point> outline[] = {
      {kNoseRoot, {x, y - d / 2}},           {kChin, {x, y + d}},
      {kLeftCheek, {x - d * 3 / 4, y}},      {kLeftJaw, {x - d / 2, y + d / 2}},
      {kRightCheek, {x + d * 3 / 4, y + 1}}, {kRightOfChin, {x + d / 2, y + d / 2}}};
  for (const auto& [i, p] : outline) face.attributes[i] = p;
  return face;
}

ScriptedFace TurnClockwise(const ScriptedFace& face, int32_t height) {
  ScriptedFace turned = face;
  const auto turn = [height](Point p) { return Point{height - 1 - p.y, p.x}; };
  std::transform(std::begin(face.keyPoints), std::end(face.keyPoints), turned.keyPoints, turn);
  std::transform(std::begin(face.landmarks), std::end(face.landmarks), turned.landmarks, turn);
  std::transform(std::begin(face.attributes), std::end(face.attributes), turned.attributes, turn);
  for (int i = 0; i < 4; ++i) {
    const Point p = turn({face.corners[2 * i], face.corners[2 * i + 1]});
    turned.corners[2 * i] = p.x;
    turned.corners[2 * i + 1] = p.y;
  }
  return turned;
}

HandlePtr FreshHandle() {
  Script().Reset();
  return HandlePtr(QX_IDP_CreateHandle());
}

Photo::Photo(int32_t imageWidth, int32_t imageHeight, int32_t imageChannels)
    : width(imageWidth),
      height(imageHeight),
      channels(imageChannels),
      pixels(static_cast<size_t>(imageWidth * imageHeight * imageChannels)) {
  std::mt19937 random(7);
  for (uint8_t& p : pixels) p = static_cast<uint8_t>(random());
}

const uint8_t* Photo::At(int32_t x, int32_t y) const {
  return pixels.data() + static_cast<size_t>((y * width + x) * channels);
}

Photo Photo::TurnedClockwise() const {
  Photo turned(height, width, channels);
  for (int32_t y = 0; y < height; ++y) {
    for (int32_t x = 0; x < width; ++x) {
      std::memcpy(const_cast<uint8_t*>(turned.At(height - 1 - y, x)), At(x, y), static_cast<size_t>(channels));
    }
  }
  return turned;
}

}  // namespace qx::test

using namespace qx::test;

extern "C" {

void* FaceDetectorCreate(void) {
  return Create("FaceDetectorCreate", 0);
}
void FaceDetectorRelease(void* detector) {
  Release("FaceDetectorRelease", detector);
}
void* LandmarkerCreate(void) {
  return Create("LandmarkerCreate", 1);
}
void LandmarkerRelease(void* landmarker) {
  Release("LandmarkerRelease", landmarker);
}
void* FaceAttrCreate(void) {
  return Create("FaceAttrCreate", 2);
}
void FaceAttrRelease(void* analyser) {
  Release("FaceAttrRelease", analyser);
}

void SetDetectFlagA(void*, int32_t value) {
  Log("SetDetectFlagA", {value});
}
void SetDetectParamB(void*, int32_t value) {
  Log("SetDetectParamB", {value});
}
void SetDetectFlagC(void*, int32_t value) {
  Log("SetDetectFlagC", {value});
}
void SetDetectThreshold(void*, int32_t value) {
  Log("SetDetectThreshold", {value});
}
void SetDetectSizeRange(void*, int32_t lower, int32_t upper) {
  Log("SetDetectSizeRange", {lower, upper});
}
void SetDetectMinFace(void*, int32_t value) {
  Log("SetDetectMinFace", {value});
}

void FaceDetect(void*, const uint8_t* grey, int32_t width, int32_t height, int32_t channels, FaceEntry** faces,
                int32_t* count) {
  Log("FaceDetect", {width, height, channels});
  ScriptedEngine& script = Script();
  ++script.openLists;
  script.grey.clear();
  if (width > 0 && height > 0)
    script.grey.assign(grey, grey + static_cast<size_t>(width) * static_cast<size_t>(height));
  if (script.shortFrom-- <= 0) {
    *count = -1;
    *faces = nullptr;
    return;
  }
  std::vector<ScriptedFace> found;
  if (!script.detections.empty()) {
    found = script.detections.front();
    if (script.detections.size() > 1) script.detections.erase(script.detections.begin());
  }
  *count = static_cast<int32_t>(found.size());
  *faces = new FaceEntry[found.size() + 1];
  for (size_t i = 0; i < found.size(); ++i) {
    std::copy(std::begin(found[i].corners), std::end(found[i].corners), (*faces)[i].corners);
    (*faces)[i].unread = -77;
    (*faces)[i].tag = static_cast<int32_t>(i);
  }
}

void FaceListFree(FaceEntry* faces) {
  Log("FaceListFree");
  --Script().openLists;
  delete[] faces;
}

void FaceAlign(void*, const uint8_t*, int32_t width, int32_t height, int32_t channels, const FaceArgument* face,
               int32_t* outD, int32_t* outE, int32_t* scratchBlock1, int32_t* landmarks, int32_t* scratchBlock2,
               int32_t* keyPoints, int32_t* attrBlock, int32_t* outF, int32_t* outG, int32_t* outH, int32_t* scratch1,
               int32_t* scratch2, int32_t* scratch3, int32_t* infoA, int32_t* infoB, int32_t* infoC) {
  Log("FaceAlign",
      {width, height, channels, face->tag, face->corners[0], face->corners[1], face->corners[6], face->corners[7]});
  const ScriptedFace& scripted = Script().detections.back()[static_cast<size_t>(face->tag)];
  std::memcpy(landmarks, scripted.landmarks, sizeof scripted.landmarks);
  std::memcpy(keyPoints, scripted.keyPoints, sizeof scripted.keyPoints);
  for (int32_t* block : {scratchBlock1, scratchBlock2, attrBlock}) std::fill_n(block, QX_FACE_BLOCK_INTS, face->tag);
  for (int32_t* value : {scratch1, scratch2, scratch3}) *value = -1;
  *outD = 900;
  *outE = 5;
  *outF = scripted.regionValues[0];
  *outG = scripted.regionValues[1];
  *outH = scripted.regionValues[2];
  *infoA = 10 + face->tag;
  *infoB = 20 + face->tag;
  *infoC = 30 + face->tag;
}

void FaceAttr(void*, const uint8_t*, int32_t width, int32_t height, int32_t channels, const int32_t* keyPoints,
              const int32_t* attrBlock, int32_t infoA, int32_t infoB, int32_t infoC, int32_t* attributes) {
  Log("FaceAttr", {width, height, channels, keyPoints[0], attrBlock[QX_FACE_BLOCK_INTS - 1], infoA, infoB, infoC});
  const auto& scripted = Script().detections.back()[static_cast<size_t>(infoA - 10)];
  std::memcpy(attributes, scripted.attributes, sizeof scripted.attributes);
}

}  // extern "C"
