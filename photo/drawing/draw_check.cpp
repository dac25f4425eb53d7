#include "photo/drawing/draw_check.h"

#include <algorithm>
#include <cmath>
#include <utility>
#include <vector>

#include "photo/base/resize.h"
#include "photo/drawing/dimensions.h"
#include "photo/drawing/face_marks.h"
#include "photo/drawing/findings.h"
#include "photo/drawing/label_font.h"
#include "photo/drawing/labels.h"
#include "photo/drawing/legend.h"
#include "photo/drawing/marks.h"

namespace qx::photo {
namespace {

// Small photographs are enlarged so that marks find room in a face, large ones reduced.
Image Legible(const Image& photograph) {
  constexpr int32_t kLeast = 1200, kMost = 1900, kBest = 1600;
  const int32_t longSide = std::max(photograph.width, photograph.height);
  if (longSide >= kLeast && longSide <= kMost) return photograph;
  const auto scaled = [longSide](int32_t side) {
    return std::max(1, static_cast<int32_t>((int64_t{2} * side * kBest + longSide) / (2 * longSide)));
  };
  const Rectangle whole{0, 0, static_cast<double>(photograph.width), static_cast<double>(photograph.height)};
  return ResizeLanczos(photograph, whole, scaled(photograph.width), scaled(photograph.height));
}

// The picture with its labels around it.
class Surroundings {
 public:
  Surroundings(const Frame& frame, Dimensions dimensions, const std::vector<Label>& callouts)
      : em_(frame.em),
        width_(frame.canvas->Width()),
        height_(frame.canvas->Height()),
        dimensions_(std::move(dimensions)) {
    for (const Label& label : callouts) (label.onLeft ? left_ : right_).push_back(label);
    for (const Dimension& d : dimensions_.left) left_.push_back(d.label);
    for (const Dimension& d : dimensions_.right) right_.push_back(d.label);
    inner_ = Arrange(&left_, em_, height_);
    inner_ = std::max(inner_, Arrange(&right_, em_, height_));
  }

  int Left() const {
    int columns = 0;
    for (const Dimension& d : dimensions_.left) columns = std::max(columns, d.column);
    return Side(left_) + columns * kColumn * em_ / 10;
  }
  int Above() const { return dimensions_.above.empty() ? em_ : LineHeight(em_) + 2 * em_; }
  int Width() const { return Left() + width_ + Side(right_); }
  int Height() const { return Above() + inner_ + em_; }

  void Draw(Canvas* canvas, const Image& picture) const {
    // A white background would have no edge on the paper.
    constexpr Ink kEdge{176, 172, 170};
    const int edge = std::max(1, em_ / 16);
    canvas->Fill({Left() - edge, Above() - edge, Left() + width_ + edge, Above() + height_ + edge}, kEdge);
    canvas->Paste(picture, Left(), Above());
    for (const Dimension& d : dimensions_.left) Upright(canvas, d, Left() - em_ - d.column * kColumn * em_ / 10);
    for (const Dimension& d : dimensions_.right) Upright(canvas, d, Left() + width_ + em_);
    for (const Dimension& d : dimensions_.above) Level(canvas, d);
    for (const Label& label : left_) Lead(canvas, label, Left() - 1.8 * em_);
    for (const Label& label : right_) Lead(canvas, label, Left() + width_ + 1.8 * em_);
    DrawLabels(canvas, left_, em_ / 2, Above(), em_);
    DrawLabels(canvas, right_, Left() + width_ + 2 * em_, Above(), em_);
  }

 private:
  static constexpr int kColumn = 13;  // tenths of an em from one column of arrows to the next

  // Room for the labels and the arrow between them and the picture.
  int Side(const std::vector<Label>& labels) const { return labels.empty() ? em_ : WidthOf(labels, em_) + 5 * em_ / 2; }
  double Thick() const { return em_ / 10.0; }

  void Band(Canvas* canvas, PixelBox box, FindingState state) const {
    constexpr int kFaint = 90;
    canvas->Fill(box, InkOf(state), kFaint);
  }

  void Upright(Canvas* canvas, const Dimension& d, int x) const {
    for (const Fraction& rows : d.allowed) {
      Band(canvas, {x - em_ / 2, Above() + Inside(rows.min, height_), x + em_ / 2, Above() + Inside(rows.max, height_)},
           d.state);
    }
    const double from = Above() + Inside(d.from, height_), to = Above() + Inside(d.to, height_);
    DoubleArrow(canvas, {1.0 * x, from}, {1.0 * x, to}, Thick(), 0.7 * em_, InkOf(d.state));
  }

  void Level(Canvas* canvas, const Dimension& d) const {
    const int y = Above() - em_;
    for (const Fraction& columns : d.allowed) {
      Band(canvas,
           {Left() + Inside(columns.min, width_), y - em_ / 2, Left() + Inside(columns.max, width_), y + em_ / 2},
           d.state);
    }
    const double from = Left() + Inside(d.from, width_), to = Left() + Inside(d.to, width_);
    DoubleArrow(canvas, {from, 1.0 * y}, {to, 1.0 * y}, Thick(), 0.7 * em_, InkOf(d.state));
    const int left = static_cast<int>((from + to) / 2) - WidthOf({d.label}, em_) / 2;
    DrawLabels(canvas, {d.label}, std::clamp(left, 0, std::max(0, Width() - WidthOf({d.label}, em_))), em_ / 3, em_);
  }

  // From what a label speaks of to the label, which has an edge in that column.
  void Lead(Canvas* canvas, const Label& label, double column) const {
    if (!label.target) return;
    const PlacePoint from{Left() + 1.0 * Inside(label.target->x, width_),
                          Above() + 1.0 * Inside(label.target->y, height_)};
    const PlacePoint to{column, Above() + label.top + LineHeight(em_) / 2.0};
    const Ink ink = InkOf(label.rows.front().state);
    CasedLine(canvas, from, to, em_ / 20.0, ink);
    canvas->Stroke(from, from, em_ / 4.0, ink);
  }

  int em_, width_, height_, inner_ = 0;
  Dimensions dimensions_;
  std::vector<Label> left_, right_;
};

}  // namespace

Image DrawCheck(const Image& photograph, const PhotoCheck& check, DrawingParts parts) {
  Canvas picture(Legible(photograph), 1);
  constexpr double kEmOfLongSide = 0.021;
  const Frame frame{&picture, static_cast<double>(picture.Width()) / photograph.width,
                    static_cast<double>(picture.Height()) / photograph.height,
                    static_cast<int>(kEmOfLongSide * std::max(picture.Width(), picture.Height()))};
  const Dimensions dimensions = DimensionsOf(check, frame);
  DrawLevels(check, dimensions, frame);
  const std::vector<Label> callouts = DrawFaceMarks(photograph, check, frame);
  const bool isUpright = picture.Height() >= picture.Width();
  const Surroundings around(frame, dimensions, callouts);
  const Image marked = picture.Take();
  if (parts == DrawingParts::kPictureOnly) {
    Canvas canvas(around.Width(), around.Height(), kPaper);
    around.Draw(&canvas, marked);
    return canvas.Take();
  }
  constexpr int kColumn = 26;  // ems
  const int em = frame.em, width = isUpright ? kColumn * em : std::max(kColumn * em, around.Width() - 2 * em);
  const Legend legend(FindingsOf(check), em, width);
  Canvas canvas(
      isUpright ? around.Width() + width + 2 * em : std::max(around.Width(), width + 2 * em),
      isUpright ? std::max(around.Height(), legend.Height() + 2 * em) : around.Height() + legend.Height() + 2 * em,
      kPaper);
  around.Draw(&canvas, marked);
  legend.Draw(&canvas, isUpright ? around.Width() + em : em, isUpright ? em : around.Height() + em);
  return canvas.Take();
}

}  // namespace qx::photo
