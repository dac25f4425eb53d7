// From a photograph to the finished picture of a document.
#ifndef QX_PHOTO_STUDIO_H
#define QX_PHOTO_STUDIO_H

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "photo/base/image.h"
#include "photo/document/presets.h"
#include "photo/face/crop_engine.h"
#include "photo/face/face_finder.h"
#include "photo/face/upright.h"
#include "photo/person/mask.h"
#include "photo/place/person_geometry.h"
#include "photo/place/placement.h"
#include "photo/render/background.h"
#include "photo/render/retouch.h"

namespace qx::photo {

struct MakeRequest {
  Document document;
  Background background;
  std::optional<int> face;  // number from 1 in the order of `idphoto inspect`; without it the largest
  bool relax = false;       // take the nearest rectangle when none meets the bounds
  Retouch retouch;
  bool compare = false;  // make the picture without retouching too
};

struct MadePhoto {
  Image image;                  // of exactly the document's pixels
  std::optional<Image> before;  // the same without retouching, when asked for
  PhotoMeasures measures;
  std::vector<Miss> givenUp;         // by `relax`
  std::vector<std::string> remarks;  // what the user should know, one line each
  int quarterTurns = 0;              // clockwise, that made the photograph upright
  double enlargement = 1;            // pixels of the document for one of the photograph, along a side
};

// The background for a document: the wanted one, or else the first of the preset, or "keep" where the authority forbids
// a change. Throws Failure when a forbidden one is wanted without `force`.
std::string ChooseBackground(const Preset& preset, const std::optional<std::string>& wanted, bool force);

// Throws Failure when the authority forbids the wanted retouching and there is no `force`.
void CheckRetouch(const Preset& preset, const Retouch& wanted, bool force);

// Costly to make: keep one for many photographs. One thread at a time. The same input gives the same picture.
class PhotoMaker {
 public:
  PhotoMaker();  // throws Failure when the face engine or the person's network cannot load

  // `mask`: of a person, made elsewhere, one byte a pixel of the photograph; null to make it here. Throws Failure, also
  // when no rectangle meets the bounds.
  MadePhoto Make(Image photograph, const MakeRequest& request, const Mask* mask = nullptr);
  // The common photograph of two persons: the proportions of the document, both faces with some room on all sides.
  // The document's bounds and `face` are not used.
  MadePhoto MakePair(Image photograph, const MakeRequest& request, const Mask* mask = nullptr);

 private:
  Mask MakeMask(const UprightPhotograph& upright, const Mask* given);
  void RetouchPersons(const Retouch& retouch, UprightPhotograph* upright, Mask* mask);

  FaceProbe probe_;
  CropEngine engine_;
  PersonSegmenter segmenter_;
};

}  // namespace qx::photo

#endif  // QX_PHOTO_STUDIO_H
