#include "photo/drawing/dimensions.h"

#include <string>

#include "photo/drawing/label_font.h"

namespace qx::photo {
namespace {

const CheckLine* FindLine(const PhotoCheck& check, const char* name) {
  for (const CheckLine& line : check.lines) {
    if (line.name == name) return &line;
  }
  return nullptr;
}

// Its label stands in the middle of the arrow, in as many rows as it has parts, or in one.
Dimension Make(const PhotoCheck& check, const char* name, const char* words, double from, double to, bool inOneRow) {
  Dimension dimension{from, to, {}, FindingState::kShown, {}};
  dimension.label.level = (from + to) / 2;
  const CheckLine* line = FindLine(check, name);
  if (line == nullptr) return dimension;
  dimension.state = StateOf(*line);
  const std::string value = ValueText(line->value, line->unit), limit = LimitText(line->min, line->max);
  std::vector<LabelRow>& rows = dimension.label.rows;
  rows.push_back({words, dimension.state, true});
  if (inOneRow) {
    rows[0].text += " " + value + (limit.empty() ? "" : " (" + limit + ")");
  } else {
    rows.push_back({value, dimension.state, false});
    if (!limit.empty()) rows.push_back({"(" + limit + ")", dimension.state, false});
  }
  return dimension;
}

void Bands(const Frame& frame, const Dimension& dimension, double left, double right) {
  constexpr int kFaint = 70;
  const int32_t height = frame.canvas->Height();
  for (const Fraction& rows : dimension.allowed) {
    frame.canvas->Fill(
        {static_cast<int32_t>(left), Inside(rows.min, height), static_cast<int32_t>(right), Inside(rows.max, height)},
        InkOf(dimension.state), kFaint);
  }
}

}  // namespace

Dimensions DimensionsOf(const PhotoCheck& check, const Frame& frame) {
  if (!check.person) return {};
  const PersonGeometry& person = *check.person;
  const Document& document = check.document;
  const double width = frame.canvas->Width(), height = frame.canvas->Height();
  const double top = person.headTop * frame.scaleY, eyes = person.eyes * frame.scaleY;
  const double left = person.faceLeft * frame.scaleX, faceWidth = person.faceWidth * frame.scaleX;
  Dimension space = Make(check, "space above", "Space above", 0, top, false);
  if (document.top) space.allowed = {{document.top->min * height, document.top->max * height}};
  Dimension head = Make(check, "head", "Head", top, person.chin * frame.scaleY, false);
  if (document.head) head.allowed = {{top + document.head->min * height, top + document.head->max * height}};
  Dimension above = Make(check, "eyes", "Eye height", eyes, height, false);
  if (document.eyes) above.allowed = {{height * (1 - document.eyes->max), height * (1 - document.eyes->min)}};
  Dimension face = Make(check, "face width", "Face width", left, left + faceWidth, true);
  if (document.faceWidth) {
    const double middle = left + faceWidth / 2;
    const double least = document.faceWidth->min * width / 2, most = document.faceWidth->max * width / 2;
    face.allowed = {{middle - most, middle - least}, {middle + least, middle + most}};
  }
  return {{space, head}, {above}, {face}};
}

void DrawLevels(const PhotoCheck& check, const Dimensions& dimensions, const Frame& frame) {
  if (!check.person) return;
  const double width = frame.canvas->Width(), thin = frame.Thin(), edge = width / 10;
  const auto row = [&](double y, double from, double to, FindingState state) {
    CasedLine(frame.canvas, {from, y}, {to, y}, thin, InkOf(state));
  };
  for (const Dimension& dimension : dimensions.left) {
    Bands(frame, dimension, 0, edge);
    row(dimension.to, 0, width, dimension.state);
  }
  const Dimension& face = dimensions.above.front();
  for (const Dimension& dimension : dimensions.right) {
    Bands(frame, dimension, width - edge, width);
    // Not over the eyes, which have marks of their own.
    row(dimension.from, 0, face.from, dimension.state);
    row(dimension.from, face.to, width, dimension.state);
  }
  for (const double x : {face.from, face.to}) {
    CasedLine(frame.canvas, {x, 0}, {x, dimensions.left.back().to}, thin, InkOf(face.state));
  }
}

}  // namespace qx::photo
