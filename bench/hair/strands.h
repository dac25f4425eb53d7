// Synthetic hair: thousands of strands, drawn in order over a mass of dark hair.
#ifndef QX_BENCH_HAIR_STRANDS_H
#define QX_BENCH_HAIR_STRANDS_H

#include <vector>

#include "bench/hair/paint.h"
#include "bench/hair/random.h"
#include "bench/hair/scene.h"
#include "bench/hair/sitter.h"

namespace qx::bench::hair {

// One person's hair. What hangs behind neck and head is drawn before them, all else after.
class Hair {
 public:
  Hair(const Sitter& sitter, HairKind kind, HairColour colour, Random& random);
  void DrawBehind(Plane& layer);
  void DrawInFront(Plane& layer);

 private:
  // A strand that leaves the parting, follows the head to the side and hangs down: `depth` 0 along the face, 1 along
  // the outline.
  Line Hanging(float side, float depth, float end);
  // From the hairline up to a knot.
  Line Swept(float turn, float depth);
  // From the scalp outward.
  Line Standing(Place root, float length);
  Line Curled(const Line& way, float radius, float turns);

  void Mass(Plane& layer, float end, float inset);
  void HangingHair(Plane& layer, int count, float end);
  void Fringe(Plane& layer);
  void SweptHair(Plane& layer);
  void Knot(Plane& layer, Place centre, float radius);
  void ShortHair(Plane& layer);
  void CurlyHair(Plane& layer, bool behind);
  Line Stray(Place at, Place along, float length);
  void DrawHanging(StrandPainter& painter, float side, float depth, float end, float shade);
  void LooseLocks(StrandPainter& painter, int locks, float end);
  void FlyAways(Plane& layer, int count, int haze);
  void Draw(StrandPainter& painter, const Line& line, float root, float tip, float opacity, float shade);
  Place OnScalp();
  Line Placed(const Line& line) const;

  const Sitter& sitter_;
  const HairKind kind_;
  const HairColour colour_;
  Random& random_;
  float parting_, volume_, length_, spread_, wave_, waves_, frizz_, width_, mottle_, shine_, curl_, knotRadius_;
  int dense_;
  uint32_t locks_;  // seed of the noise that makes locks
  bool fringe_, knotAbove_;
  Place knot_;
  std::vector<Line> outer_;  // strands along the outline, from which others fly away
};

}  // namespace qx::bench::hair

#endif  // QX_BENCH_HAIR_STRANDS_H
