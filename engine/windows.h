// The square windows through which the detection network looks at a reduced photograph.
#ifndef QX_ENGINE_WINDOWS_H
#define QX_ENGINE_WINDOWS_H

#include <vector>

#include "engine/geometry.h"
#include "engine/image.h"

namespace qx::face {

constexpr int kWindowSide = 192;  // cells on a side, the input of the network

// A square of kWindowSide cells, each of `step` x `step` pixels of the reduced photograph; may reach outside of it.
struct Window {
  int left = 0;
  int top = 0;
  int step = 1;
  // Borders with more of the photograph behind them, where a face may be cut.
  bool innerLeft = false, innerTop = false, innerRight = false, innerBottom = false;
};

// The smallest centred window of that step; the step must be large enough to take in the whole image.
Window CentredWindow(int width, int height, int step);

// Windows of step 1 that overlap by a third or more and cover the image.
std::vector<Window> TileWindows(int width, int height);

// Means of the window's cells, row-major, 0 to 255. Cells outside of the image are 0.
std::vector<float> SampleWindow(const GreyImage& image, const Window& window);

// Writes the samples as a face turned by `turn` sees them, from -1 to 1 in three equal channels, to `input`
// (kWindowSide * kWindowSide * 3 floats).
void FillTurned(const std::vector<float>& samples, int turn, float* input);

// Point of the upright window, 0 to 1, for a point of the turned one.
Point TurnBack(Point p, int turn);
Box TurnBack(const Box& box, int turn);

// Whether a box in the upright window, 0 to 1, comes close to an inner border, where its face may be cut.
bool TouchesInnerBorder(const Window& window, const Box& box);

}  // namespace qx::face

#endif  // QX_ENGINE_WINDOWS_H
