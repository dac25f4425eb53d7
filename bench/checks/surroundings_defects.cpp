#include <algorithm>
#include <cmath>
#include <opencv2/imgproc.hpp>

#include "bench/checks/brush.h"
#include "bench/checks/defects.h"
#include "photo/base/resize.h"

namespace qx::bench::checks {
namespace {

using photo::Image;
using photo::MeasureId;
using photo::PlacePoint;

using Wall = std::function<Colour(PlacePoint)>;

// The person before another wall.
Image Before(const Portrait& portrait, const Wall& wall) {
  Image picture = portrait.picture;
  for (int y = 0; y < picture.height; ++y) {
    for (int x = 0; x < picture.width; ++x) {
      const Colour behind = wall(Centre(x, y));
      const double person = portrait.person.Row(y)[x] / 255.0;
      uint8_t* pixel = picture.At(x, y);
      for (size_t c = 0; c < 3; ++c) {
        pixel[c] = static_cast<uint8_t>(std::lround(behind[c] + person * (pixel[c] - behind[c])));
      }
    }
  }
  return picture;
}

constexpr Colour kPale{238, 240, 240};

Colour Lit(const Colour& colour, double factor) {
  Colour lit;
  for (size_t c = 0; c < 3; ++c) lit[c] = ByteOf(Light(static_cast<uint8_t>(colour[c])) * factor);
  return lit;
}

// The person's own shadow, aside and below, on a pale wall.
Image Shadow(const Portrait& portrait, double light, double softness) {
  cv::Mat1f person(portrait.picture.height, portrait.picture.width);
  for (int y = 0; y < person.rows; ++y) {
    for (int x = 0; x < person.cols; ++x) {
      const int fromX = x - static_cast<int>(0.7 * portrait.eyeDistance);
      const int fromY = y - static_cast<int>(0.15 * portrait.eyeDistance);
      person(y, x) = fromX < 0 || fromY < 0 ? 0.0F : static_cast<float>(portrait.person.Row(fromY)[fromX]) / 255;
    }
  }
  cv::GaussianBlur(person, person, {}, std::max(0.5, softness * portrait.eyeDistance));
  return Before(portrait, [&](PlacePoint p) {
    return Lit(kPale, 1 + person(static_cast<int>(p.y), static_cast<int>(p.x)) * (light - 1));
  });
}

// Falling off from left to right.
Image Falling(const Portrait& portrait, double share) {
  return Before(portrait, [&](PlacePoint p) { return Lit(kPale, 1 + (share - 1) * p.x / portrait.picture.width); });
}

Image Striped(const Portrait& portrait) {
  const double width = 0.4 * portrait.eyeDistance;
  return Before(portrait, [&](PlacePoint p) {
    return static_cast<int>(p.x / width) % 2 == 0 ? kPale : Colour{170, 190, 215};
  });
}

// Cut so that the left eye is that many eye distances from the edge.
Image CutOnTheLeft(const Portrait& portrait, double room) {
  const PlacePoint eye = portrait.At(-0.5, 0);
  const double left = std::max(0.0, std::round(eye.x - room * portrait.eyeDistance));
  const Image& picture = portrait.picture;
  const double width = picture.width - left;
  return photo::ResizeLanczos(picture, {left, 0, width, 1.0 * picture.height}, static_cast<int32_t>(width),
                              picture.height);
}

// Cut across a place below the eyes, in eye distances.
Image CutBelow(const Portrait& portrait, double down) {
  const Image& picture = portrait.picture;
  const double height = std::clamp(std::round(portrait.At(0, down).y), 1.0, 1.0 * picture.height);
  return photo::ResizeLanczos(picture, {0, 0, 1.0 * picture.width, height}, picture.width,
                              static_cast<int32_t>(height));
}

// The same face once more at another size, on a poster beside.
Image Poster(const Portrait& portrait, double size) {
  const Image& picture = portrait.picture;
  const PlacePoint top = portrait.At(0, -1), bottom = portrait.At(0, 1.9), middle = portrait.At(0, 0.4);
  const double side = std::min({bottom.y - top.y, 2 * middle.x, 2 * (picture.width - middle.x)});
  const double upper = std::clamp(top.y, 0.0, picture.height - side);
  const auto pixels = static_cast<int32_t>(std::lround(size * side));
  const Image face = photo::ResizeLanczos(picture, {middle.x - side / 2, upper, side, side}, pixels, pixels);
  Image both(picture.width + pixels, picture.height);
  for (int y = 0; y < both.height; ++y) {
    std::copy_n(picture.At(0, y), 3 * static_cast<size_t>(picture.width), both.At(0, y));
    for (int x = 0; x < pixels; ++x) {
      const uint8_t wall[] = {225, 225, 225};
      std::copy_n(y < pixels ? face.At(x, y) : wall, 3, both.At(picture.width + x, y));
    }
  }
  return both;
}

void AddWalls(std::vector<Defect>* defects) {
  const std::vector<MeasureId> even = {MeasureId::kBackgroundShadow, MeasureId::kBackgroundEvenness};
  const auto add = [defects](const char* name, const std::string& strength, std::vector<MeasureId> own,
                             Expected expected, std::function<Image(const Portrait&)> make) {
    defects->push_back({name, strength, std::move(own), expected, std::move(make), true});
  };
  for (const auto& [light, expected] :
       {std::pair(0.92, Expected::kPass), {0.75, Expected::kEither}, {0.5, Expected::kReport}}) {
    add("hard shadow on the wall", cv::format("light %.2f", light), even, expected,
        [l = light](const Portrait& p) { return Shadow(p, l, 0.01); });
  }
  add("soft shadow on the wall", "light 0.50", even, Expected::kReport,
      [](const Portrait& p) { return Shadow(p, 0.5, 0.2); });
  for (const auto& [share, expected] :
       {std::pair(0.9, Expected::kPass), {0.7, Expected::kEither}, {0.4, Expected::kReport}}) {
    add("wall lit from one side", cv::format("other side %.1f", share), even, expected,
        [s = share](const Portrait& p) { return Falling(p, s); });
  }
  add("striped wall", "", even, Expected::kReport, Striped);
  for (const auto& [name, colour] : {std::pair("blue", Colour{220, 170, 110}),
                                     {"dark grey", Colour{80, 80, 80}},
                                     {"beige", Colour{170, 205, 225}}}) {
    add("wall of another colour", name, {MeasureId::kBackgroundColour}, Expected::kReport,
        [c = colour](const Portrait& p) { return Before(p, [&](PlacePoint) { return c; }); });
  }
}

}  // namespace

Image BeforePlainWall(const Portrait& portrait) {
  return Before(portrait, [](PlacePoint) { return kPale; });
}

std::vector<Defect> SurroundingsDefects() {
  std::vector<Defect> defects;
  AddWalls(&defects);
  for (const auto& [room, expected] : {std::pair(1.3, Expected::kPass),
                                       {0.95, Expected::kEither},
                                       {0.7, Expected::kReport},
                                       {0.3, Expected::kReport}}) {
    defects.push_back({"face at the edge",
                       cv::format("%.2f eye distances beside the eye", room),
                       {MeasureId::kLeftwardCrop},
                       expected,
                       [r = room](const Portrait& p) { return CutOnTheLeft(p, r); }});
  }
  for (const auto& [down, expected] :
       {std::pair(2.2, Expected::kPass), {1.4, Expected::kReport}, {0.8, Expected::kReport}}) {
    defects.push_back({"face cut below",
                       cv::format("%.1f eye distances below the eyes", down),
                       {MeasureId::kMarginBelow},
                       expected,
                       [d = down](const Portrait& p) { return CutBelow(p, d); }});
  }
  for (const auto& [size, expected] :
       {std::pair(0.15, Expected::kPass), {0.35, Expected::kReport}, {0.8, Expected::kReport}}) {
    defects.push_back({"a second face",
                       cv::format("%.2f of its size", size),
                       {MeasureId::kSingleFacePresent},
                       expected,
                       [s = size](const Portrait& p) { return Poster(p, s); }});
  }
  return defects;
}

std::vector<Defect> AllDefects() {
  std::vector<Defect> all;
  for (auto* part : {CameraDefects, LightDefects, FaceDefects, PoseDefects, SurroundingsDefects}) {
    for (Defect& defect : part()) all.push_back(std::move(defect));
  }
  return all;
}

}  // namespace qx::bench::checks
