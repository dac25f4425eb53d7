#include "photo/drawing/dimensions.h"

#include <algorithm>
#include <cstddef>
#include <optional>
#include <string>

namespace qx::photo {
namespace {

const CheckLine* FindLine(const PhotoCheck& check, const std::string& name) {
  for (const CheckLine& line : check.lines) {
    if (line.name == name) return &line;
  }
  return nullptr;
}

// From one place to another of the scaled picture. Its label stands in the middle of the arrow, in as many rows as it
// has parts.
Dimension Make(const PhotoCheck& check, const std::string& name, const char* words, double from, double to) {
  Dimension dimension;
  dimension.from = from;
  dimension.to = to;
  dimension.label.level = (from + to) / 2;
  const CheckLine* line = FindLine(check, name);
  if (line == nullptr) return dimension;
  dimension.state = StateOf(*line);
  const std::string limit = LimitText(line->min, line->max);
  std::vector<LabelRow>& rows = dimension.label.rows;
  rows.push_back({words, dimension.state, true});
  rows.push_back({ValueText(line->value, line->unit), dimension.state, false});
  if (!limit.empty()) rows.push_back({"(" + limit + ")", dimension.state, false});
  return dimension;
}

// What a line allows, in pixels of a side of `size` pixels that stands for `mm`; nothing without limits.
std::optional<Fraction> Allowed(const PhotoCheck& check, const std::string& name, double mm, double size) {
  const CheckLine* line = FindLine(check, name);
  if (line == nullptr || (!line->min && !line->max) || !(mm > 0)) return std::nullopt;
  return Fraction{line->min.value_or(0) / mm * size, line->max.value_or(mm) / mm * size};
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

// To where the document counts the head and, where hair stands high, to the other end beside it.
std::vector<Dimension> HeadLengths(const PhotoCheck& check, const Frame& frame) {
  const PersonGeometry& person = *check.person;
  const Document& document = check.document;
  const double height = frame.canvas->Height(), chin = person.chin * frame.scaleY;
  const double hair = person.headTop * frame.scaleY, crown = person.crown * frame.scaleY;
  const bool toHair = document.headTo == HeadTo::kHair;
  std::vector<Dimension> lengths;
  if (crown - hair > frame.em / 5.0) {
    lengths.push_back(toHair ? Make(check, "head to crown", "To the crown", crown, chin)
                             : Make(check, "head with hair", "With hair", hair, chin));
    lengths.back().column = 1;
    lengths.back().label.level -= 2 * frame.em;
  }
  const double top = toHair ? hair : crown;
  lengths.push_back(Make(check, "head", "Head", top, chin));
  if (const auto allowed = Allowed(check, "head", document.heightMm, height)) {
    lengths.back().allowed = {{top + allowed->min, top + allowed->max}};
  }
  return lengths;
}

Dimension FaceWidth(const PhotoCheck& check, const Frame& frame) {
  const double left = check.person->faceLeft * frame.scaleX, width = check.person->faceWidth * frame.scaleX;
  Dimension face = Make(check, "face width", "Face width", left, left + width);
  if (const auto allowed = Allowed(check, "face width", check.document.widthMm, frame.canvas->Width())) {
    const double middle = left + width / 2, least = allowed->min / 2, most = allowed->max / 2;
    face.allowed = {{middle - most, middle - least}, {middle + least, middle + most}};
  }
  // Above the picture there is room for one row.
  std::vector<LabelRow>& rows = face.label.rows;
  for (size_t i = 1; i < rows.size(); ++i) rows[0].text += " " + rows[i].text;
  rows.resize(std::min<size_t>(rows.size(), 1));
  return face;
}

}  // namespace

Dimensions DimensionsOf(const PhotoCheck& check, const Frame& frame) {
  if (!check.person) return {};
  const double height = frame.canvas->Height(), mm = check.document.heightMm;
  Dimensions dimensions;
  dimensions.left = HeadLengths(check, frame);
  Dimension space = Make(check, "space above", "Space above", 0, check.person->headTop * frame.scaleY);
  if (const auto allowed = Allowed(check, "space above", mm, height)) space.allowed = {*allowed};
  dimensions.left.push_back(space);
  Dimension eyes = Make(check, "eyes", "Eye height", check.person->eyes * frame.scaleY, height);
  if (const auto allowed = Allowed(check, "eyes", mm, height)) {
    eyes.allowed = {{height - allowed->max, height - allowed->min}};
  }
  dimensions.right = {eyes};
  dimensions.above = {FaceWidth(check, frame)};
  return dimensions;
}

void DrawLevels(const PhotoCheck& check, const Dimensions& dimensions, const Frame& frame) {
  if (!check.person) return;
  const double width = frame.canvas->Width(), thin = frame.Thin(), edge = width / 10;
  const auto row = [&](double y, double from, double to, FindingState state) {
    CasedLine(frame.canvas, {from, y}, {to, y}, thin, InkOf(state));
  };
  for (const Dimension& dimension : dimensions.left) {
    Bands(frame, dimension, 0, edge);
    if (dimension.from > 0) row(dimension.from, 0, width, dimension.state);
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
    CasedLine(frame.canvas, {x, 0}, {x, check.person->chin * frame.scaleY}, thin, InkOf(face.state));
  }
}

}  // namespace qx::photo
