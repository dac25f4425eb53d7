#include "photo/drawing/labels.h"

#include <algorithm>

#include "photo/drawing/label_font.h"
#include "photo/drawing/marks.h"

namespace qx::photo {
namespace {

int SignWidth(int em) {
  return em * 6 / 5;
}

int Gap(int em) {
  return em / 2;
}

}  // namespace

int WidthOf(const std::vector<Label>& labels, int em) {
  int width = 0;
  for (const Label& label : labels) {
    for (const LabelRow& row : label.rows) width = std::max(width, SignWidth(em) + TextWidth(row.text, em));
  }
  return width;
}

int HeightOf(const Label& label, int em) {
  return static_cast<int>(label.rows.size()) * LineHeight(em);
}

int Arrange(std::vector<Label>* labels, int em, int height) {
  std::stable_sort(labels->begin(), labels->end(), [](const Label& a, const Label& b) { return a.level < b.level; });
  int next = 0;
  for (Label& label : *labels) {
    label.top = std::max(next, Inside(label.level, height) - HeightOf(label, em) / 2);
    next = label.top + HeightOf(label, em) + Gap(em);
  }
  const int needed = std::max(next - Gap(em), 0);
  // What hangs out at the lower end pushes upward.
  int end = height;
  for (auto label = labels->rbegin(); label != labels->rend(); ++label) {
    label->top = std::max(std::min(label->top, end - HeightOf(*label, em)), 0);
    end = label->top - Gap(em);
  }
  // More than there is room for: from the top on, as high as it gets.
  next = 0;
  for (Label& label : *labels) {
    label.top = std::max(label.top, next);
    next = label.top + HeightOf(label, em) + Gap(em);
  }
  return labels->empty() || needed <= height ? height : std::max(height, next - Gap(em));
}

void DrawLabels(Canvas* canvas, const std::vector<Label>& labels, int left, int top, int em) {
  for (const Label& label : labels) {
    int y = top + label.top;
    for (const LabelRow& row : label.rows) {
      if (row.hasSign) DrawText(canvas, left, y, SignOf(row.state), em, InkOf(row.state));
      DrawText(canvas, left + SignWidth(em), y, row.text, em, InkOf(row.state));
      y += LineHeight(em);
    }
  }
}

}  // namespace qx::photo
