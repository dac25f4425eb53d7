// What a check found as a block of text.
#ifndef QX_PHOTO_DRAWING_LEGEND_H
#define QX_PHOTO_DRAWING_LEGEND_H

#include <string>
#include <string_view>
#include <vector>

#include "photo/drawing/canvas.h"
#include "photo/drawing/findings.h"

namespace qx::photo {

// First what failed, each with its reason, then the remarks, then what passed, briefly, and how much was not assessed.
class Legend {
 public:
  // `em`: height of its text; `width`: of the block, in pixels.
  Legend(const std::vector<Finding>& findings, int em, int width);

  int Height() const { return height_; }
  void Draw(Canvas* canvas, int left, int top) const;
  // Its texts from top to bottom.
  std::vector<std::string> Texts() const;

 private:
  struct Piece {
    int left, top, size;
    std::string text;
    Ink ink;
  };

  // A sign, and beside it the wrapped text.
  void Add(const char* sign, std::string_view text, int size, Ink ink);
  void AddWrapped(std::string_view text, int size, Ink ink);
  void AddInFull(const Finding& finding);
  void AddBriefly(const std::vector<Finding>& findings, FindingState state, const char* words);

  int em_, width_, height_ = 0;
  std::vector<Piece> pieces_;
};

}  // namespace qx::photo

#endif  // QX_PHOTO_DRAWING_LEGEND_H
