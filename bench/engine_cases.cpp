#include <cmath>
#include <cstdio>
#include <memory>
#include <opencv2/imgcodecs.hpp>
#include <opencv2/imgproc.hpp>

#include "bench/cases.h"
#include "face/face_engine.h"

namespace qx::bench {
namespace {

constexpr double kPixels = 12e6;
constexpr double kGoalMilliseconds = 150;

struct Scene {
  cv::Mat grey;
  FaceEngine engine;
  FaceList faces;
  FaceRecord record;

  ImageView Image() const { return {grey.data, grey.cols, grey.rows, 1}; }
  void Detect() { engine.Detect(Image(), &faces); }
  void Describe() { engine.Describe(Image(), &faces[0], &record); }
};

bool Fail(const char* reason, const std::string& photo) {
  std::fprintf(stderr, "qx_bench: %s: %s\n", reason, photo.c_str());
  return false;
}

}  // namespace

bool AddEngineCases(const std::string& photo, Table* table) {
  const cv::Mat small = cv::imread(photo, cv::IMREAD_GRAYSCALE);
  if (small.empty()) return Fail("the photograph cannot be read", photo);
  const auto scene = std::make_shared<Scene>();
  const double scale = std::sqrt(kPixels / static_cast<double>(small.total()));
  cv::resize(small, scene->grey, {}, scale, scale, cv::INTER_CUBIC);
  if (!scene->engine.Create()) return Fail("the face engine cannot start for", photo);
  scene->Detect();
  if (scene->faces.Count() == 0) return Fail("no face was found in the photograph", photo);

  table->Add({"detection, 12 megapixels", 0, [=] { scene->Detect(); }, "", {}, 0});
  table->Add({"landmarks, one face", 0, [=] { scene->Describe(); }, "", {}, 0});
  const auto both = [=] {
    scene->Detect();
    scene->Describe();
  };
  table->Add({"detection and landmarks", 0, both, "", {}, kGoalMilliseconds});
  return true;
}

}  // namespace qx::bench
