// Finds the faces of a photograph in all four quarter turns.
#ifndef QX_ENGINE_DETECTOR_H
#define QX_ENGINE_DETECTOR_H

#include <vector>

#include "engine/detection.h"
#include "engine/face_mesh.h"
#include "engine/image.h"
#include "engine/network_pool.h"
#include "engine/networks.h"
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
  // Throws when the networks cannot be loaded.
  Detector() : mesh_(LandmarkDetail::kBase) {}

  // Best score first. Throws when memory is short.
  std::vector<FoundFace> Find(const GreyView& image, const DetectorSettings& settings) const;

 private:
  // Looks at the whole photograph in every turn, then closer in the turns that are sure to hold a face; while none is
  // known, turn by turn. `whole` is the step of the window that takes in the whole photograph.
  std::vector<FoundFace> SearchByTurns(const GreyView& image, const GreyImage& reduced, int whole,
                                       const std::vector<int>& turns, const DetectorSettings& settings) const;
  // Detections of all windows and turns, in the photograph.
  std::vector<Detection> Search(const GreyView& image, const GreyImage& reduced, const std::vector<Window>& windows,
                                const std::vector<int>& turns, const DetectorSettings& settings) const;
  // Detections in 0 to 1 of the window.
  std::vector<Detection> SearchWindow(const std::vector<float>& samples, int turn, double threshold) const;
  // Turns in which a face was found beyond doubt.
  std::vector<int> SureTurns(const GreyView& image, const std::vector<Detection>& found,
                             const DetectorSettings& settings) const;
  // One face for all detections of it, confirmed, best first.
  std::vector<FoundFace> Merge(const GreyView& image, std::vector<Detection> found,
                               const DetectorSettings& settings) const;
  bool FindMesh(const GreyView& image, const Detection& detection, FaceMesh* mesh) const;
  bool Confirm(const GreyView& image, const Detection& detection, bool believeScore, FoundFace* face) const;

  NetworkUser<DetectionNetwork> detection_;
  FaceMeshNetwork mesh_;
};

}  // namespace qx::face

#endif  // QX_ENGINE_DETECTOR_H
