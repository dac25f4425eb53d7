// Finds the faces of a photograph in all four quarter turns.
#ifndef QX_ENGINE_DETECTOR_H
#define QX_ENGINE_DETECTOR_H

#include <memory>
#include <vector>

#include "engine/detection.h"
#include "engine/face_mesh.h"
#include "engine/image.h"
#include "engine/windows.h"

namespace qx::face {

struct DetectorSettings {
  bool allTurns = true;       // look for turned faces too
  bool confirm = true;        // ask the landmark network about each face
  double threshold = 0.55;    // lowest score
  double overlap = 0.30;      // intersection over union above which two boxes are one face
  int smallestExpected = 80;  // side of the smallest face in pixels for which a close search is worth its time
  int largest = 2147483647;   // side of the largest face that is reported, in pixels inside of the photograph
  int smallest = 25;          // side of the smallest face that is reported, in pixels
};

// A face of the photograph.
struct FoundFace {
  double score = 0;
  FaceSquare square;
  int turn = 0;     // whole quarter turns
  double roll = 0;  // rest of the turn, radians
};

class Detector {
 public:
  // Returns null when a network cannot be loaded.
  static std::unique_ptr<Detector> Create();

  // Best score first.
  std::vector<FoundFace> Find(const GreyView& image, const DetectorSettings& settings);

 private:
  Detector(std::unique_ptr<nn::Runtime> network, std::unique_ptr<FaceMeshNetwork> mesh)
      : network_(std::move(network)), mesh_(std::move(mesh)) {}
  // Looks at the whole photograph in every turn, then closer in the turns that are sure to hold a face; while none is
  // known, turn by turn. `whole` is the step of the window that takes in the whole photograph.
  std::vector<FoundFace> SearchByTurns(const GreyView& image, const GreyImage& reduced, int whole,
                                       const std::vector<int>& turns, const DetectorSettings& settings);
  // Detections of all windows and turns, in the photograph.
  std::vector<Detection> Search(const GreyView& image, const GreyImage& reduced, const std::vector<Window>& windows,
                                const std::vector<int>& turns, const DetectorSettings& settings);
  // Detections in 0 to 1 of the window.
  std::vector<Detection> SearchWindow(const std::vector<float>& samples, int turn, double threshold);
  // Turns in which a face was found beyond doubt.
  std::vector<int> SureTurns(const GreyView& image, const std::vector<Detection>& found,
                             const DetectorSettings& settings);
  // One face for all detections of it, confirmed, best first.
  std::vector<FoundFace> Merge(const GreyView& image, std::vector<Detection> found, const DetectorSettings& settings);
  bool FindMesh(const GreyView& image, const Detection& detection, FaceMesh* mesh);
  bool Confirm(const GreyView& image, const Detection& detection, bool believeScore, FoundFace* face);

  std::unique_ptr<nn::Runtime> network_;
  std::unique_ptr<FaceMeshNetwork> mesh_;
};

}  // namespace qx::face

#endif  // QX_ENGINE_DETECTOR_H
