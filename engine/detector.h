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
  // One photograph, what is wanted of it, and what has come up so far.
  struct Query {
    const GreyView& image;
    const DetectorSettings& settings;
    GreyImage reduced;              // for the ordinary search
    std::vector<int> turns;         // in which faces are looked for
    std::vector<int> tiledTurns;    // in which the tiles have been searched so far
    std::vector<Detection> hints;   // all detections, down to scores far below the lowest of a face
    std::vector<FaceMesh> meshes;   // found so far, and
    std::vector<Region> meshedFor;  // the region of each
  };

  // The faces that the search finds at a score that counts.
  std::vector<FoundFace> FindPlain(Query* query) const;
  // Looks at the whole photograph in every turn, then closer in the turns that are sure to hold a face; while none is
  // known, turn by turn. `whole` is the step of the window that takes in the whole photograph.
  std::vector<FoundFace> SearchByTurns(int whole, Query* query) const;
  std::vector<Detection> SearchTiles(int turn, Query* query) const;
  // Detections of all windows and turns, in the photograph.
  std::vector<Detection> Search(const GreyImage& reduced, const std::vector<Window>& windows,
                                const std::vector<int>& turns, Query* query) const;
  // Decoded anchors of one turn, best first, in 0 to 1 of the turned window.
  std::vector<Detection> RunWindow(const std::vector<float>& samples, int turn, double threshold) const;
  // Turns in which a face was found beyond doubt.
  std::vector<int> SureTurns(const std::vector<Detection>& found, Query* query) const;
  // One face for all detections of it, confirmed, best first.
  std::vector<FoundFace> Merge(std::vector<Detection> found, Query* query) const;
  // Adds what the hints turn out to be when each is looked at again.
  void AddOverlooked(std::vector<FoundFace>* faces, Query* query) const;
  bool LookAgain(const Detection& hint, FoundFace* face, Query* query) const;
  // Detections in the middle of a square around `hint`, `zoom` times its size, in the photograph.
  std::vector<Detection> LookAround(const Detection& hint, double zoom, const std::vector<int>& turns,
                                    const Query& query) const;
  bool FindMesh(const Detection& detection, FaceMesh* mesh, Query* query) const;
  bool FindMeshTwice(const Detection& detection, FaceMesh* mesh, Query* query) const;
  bool Confirm(const Detection& detection, FoundFace* face, Query* query) const;

  NetworkUser<DetectionNetwork> detection_;
  FaceMeshNetwork mesh_;
};

}  // namespace qx::face

#endif  // QX_ENGINE_DETECTOR_H
