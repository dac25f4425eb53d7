#include "reference/plain_skin.h"

#include <algorithm>
#include <cmath>
#include <cstdlib>

namespace qx::test {

Picture PlainHalfLab(const Picture& image) {
  Picture lab(image.width / 2, image.height / 2, 3);
  const auto f = [](unsigned i) {
    const double t = i / 255.0;
    return t > 0.008856 ? std::pow(t, 1.0 / 3.0) : i * 7.787 / 255 + 0.13793103448275862;
  };
  for (int y = 0; y < lab.height; ++y) {
    for (int x = 0; x < lab.width; ++x) {
      const unsigned b = image.At(2 * x, 2 * y), g = image.At(2 * x, 2 * y, 1), r = image.At(2 * x, 2 * y, 2);
      if (b + g + r == 0) continue;
      const unsigned Y = (r * 19595 + b * 7471 + g * 38470) >> 16, X = (b * 13414 + g * 11612 + r * 40510) >> 16;
      const unsigned Z = (b * 61880 + g * 3656) >> 16;
      lab.At(x, y) = Byte(116 * f(Y) - 16);
      lab.At(x, y, 1) = static_cast<uint8_t>(std::clamp(140 - Trunc((f(X) - f(Y)) * -500), 0, 255));
      lab.At(x, y, 2) = static_cast<uint8_t>(std::clamp(100 - Trunc((f(Y) - f(Z)) * -200), 0, 255));
    }
  }
  return lab;
}

Picture PlainRegion(int width, int height, Point e0, Point e1, SkinBox* box) {
  const double dx = e1.x - e0.x, dy = e1.y - e0.y, d = std::sqrt(dx * dx + dy * dy), theta = std::atan2(dy, dx);
  const double A = 2.625 * d, B = 3.5 * d, C = 1.75 * d;
  const int Sn = Trunc(256 * std::sin(theta)), Cs = Trunc(256 * std::cos(theta));
  const int mx = (e0.x + e1.x) / 2, my = (e0.y + e1.y) / 2, t = Trunc(-3.0 * d);
  const int lx = ((t * Sn) >> 8) + mx, ly = ((-t * Cs) >> 8) + my;
  const auto along = [&](int x, int y, int u) { return Point{((u * Cs) >> 8) + x, ((u * Sn) >> 8) + y}; };
  const auto across = [&](int x, int y, int u) { return Point{((-(u * Sn)) >> 8) + x, ((u * Cs) >> 8) + y}; };
  const std::vector<Point> ends = {across(mx, my, Trunc(my - A) - my), along(lx, ly, Trunc(lx - B) - lx),
                                   across(lx, ly, Trunc(ly + A) - ly), along(lx, ly, Trunc(lx + B) - lx)};
  const Extent e = ExtentOf(ends);
  const int marginX = Trunc((e.maxX - e.minX) * 0.25), marginY = Trunc((e.maxY - e.minY) * 0.25);
  *box = {std::max(e.minX - marginX, 0), std::max(e.minY - marginY, 0), std::min(e.maxX + marginX, width),
          std::min(e.maxY + marginY, height)};
  const auto taper = [](double q) {
    const double r = std::sqrt(Trunc(q * 100) / 100.0);
    return r <= 0.5 ? 255 : Trunc((1 - std::cos(r * 6.28318530718)) * 0.5 * 255);
  };
  const int S1 = Trunc(256 * std::sin(-theta)), C1 = Trunc(256 * std::cos(-theta));
  Picture region(width, height, 1);
  for (int y = box->top; y < box->bottom; ++y) {
    for (int x = box->left; x < box->right; ++x) {
      const auto draw = [&](int cx, int cy, double axis) {
        const int a = (C1 * (x - cx) - S1 * (y - cy)) >> 8, b = (S1 * (x - cx) + C1 * (y - cy)) >> 8;
        const double q = a * a / (axis * axis) + b * b / (A * A);
        if (q <= 1) region.At(x, y) = static_cast<uint8_t>(std::max<int>(region.At(x, y), taper(q)));
      };
      draw(mx, my, C);
      draw(lx, ly, B);
    }
  }
  return region;
}

ColourModel PlainStats(const Bytes& patch, double k) {
  const auto measure = [&](const auto& takes, ColourModel* model) {
    double n = 0;
    ColourModel m = {};
    for (size_t i = 0; i < patch.size(); i += 3) {
      if (!takes(&patch[i])) continue;
      ++n;
      for (size_t c = 0; c < 3; ++c) m.mean[c] += patch[i + c];
    }
    for (double& v : m.mean) v /= n;
    for (size_t i = 0; i < patch.size(); i += 3) {
      if (!takes(&patch[i])) continue;
      for (size_t c = 0; c < 3; ++c) m.spread[c] += (patch[i + c] - m.mean[c]) * (patch[i + c] - m.mean[c]);
    }
    for (double& v : m.spread) v = std::sqrt(v / (n - 1));
    if (n > 1) *model = m;
    return n > 1;
  };
  const auto coloured = [](const uint8_t* v) { return !(v[0] == 0 && v[1] == 140 && v[2] == 100); };
  ColourModel first = {{0, 140, 100}, {0, 0, 0}};
  if (!measure(coloured, &first) || !(k > 0)) return first;
  ColourModel second = first;
  const auto near = [&](const uint8_t* v) {
    bool all = coloured(v);
    for (int c = 0; c < 3; ++c) {
      all = all && v[c] >= first.mean[c] - k * first.spread[c] && v[c] <= first.mean[c] + k * first.spread[c];
    }
    return all;
  };
  if (!measure(near, &second)) second.spread[0] = 0;
  second.spread[0] = std::min(second.spread[0], 5.0);
  second.spread[1] = std::min(second.spread[1], 2.0);
  second.spread[2] = std::min(second.spread[2], 2.0);
  return second;
}

Picture PlainScore(const Picture& lab, const ColourModel& model, const SkinBox& box, const Picture& region) {
  Picture score(lab.width, lab.height, 1);
  for (const double s : model.spread) {
    if (s <= 0) return score;
  }
  for (int y = box.top; y < box.bottom; ++y) {
    for (int x = box.left; x < box.right; ++x) {
      if (region.At(x, y) == 0) continue;
      double z[3];
      for (int c = 0; c < 3; ++c) z[c] = (model.mean[c] - lab.At(x, y, c)) / model.spread[c];
      const double sum = z[0] * z[0] + z[1] * z[1] + z[2] * z[2];
      score.At(x, y) = Byte(std::min(std::exp(sum * -0.3333333333333333) * 255, 255.0));
    }
  }
  return score;
}

void PlainRefine(const SkinBox& box, int rounds, Picture* score) {
  Picture t(score->width, score->height, 1);
  for (int i = 0; i < rounds; ++i) {
    for (int y = box.top + 1; y <= box.bottom - 2; ++y) {
      for (int x = box.left + 1; x <= box.right - 2; ++x)
        t.At(x, y) = static_cast<uint8_t>(Least(Square(*score, x, y)));
    }
    for (int y = box.top + 2; y <= box.bottom - 3; ++y) {
      for (int x = box.left + 2; x <= box.right - 3; ++x) {
        score->At(x, y) = static_cast<uint8_t>(Sum(Square(t, x, y)) / 9);
      }
    }
  }
  for (int y = box.top; y < box.bottom; ++y) {
    for (int x = box.left; x < box.right; ++x) {
      const double missing = 1 - score->At(x, y) / 255.0;
      if (score->At(x, y) != 0) score->At(x, y) = Byte((1 - missing * missing) * 255);
    }
  }
}

Picture PlainColourMask(const Picture& image, const Point* corners, int faces, const Point* eye0, const Point* eye1,
                        SkinBox* boxes) {
  const Picture lab = PlainHalfLab(image);
  const int w = lab.width, h = lab.height;
  Picture mask(w, h, 1);
  for (int f = 0; f < faces; ++f) {
    const Point* c = corners + 4 * f;
    const Picture region = PlainRegion(w, h, {eye0[f].x / 2, eye0[f].y / 2}, {eye1[f].x / 2, eye1[f].y / 2}, &boxes[f]);
    const int pw = Distance(c[0], c[1]) / 4, ph = Distance(c[0], c[2]) / 4;
    const int px = (c[0].x + c[1].x + c[2].x + c[3].x) / 4 - pw / 2;
    const int py = (c[0].y + c[1].y + c[2].y + c[3].y) / 4 - ph / 2;
    Bytes patch;
    for (int j = 0; j < ph && py + j < h; ++j) {
      for (int i = 0; i < pw; ++i) {
        if (px + i < 0 || py + j < 0 || px + i >= w) continue;
        for (int k = 0; k < 3; ++k) patch.push_back(lab.At(px + i, py + j, k));
      }
    }
    patch.resize(static_cast<size_t>(pw * ph * 3), 0);
    ColourModel model = PlainStats(patch, 2.0);
    for (double& s : model.spread) s *= 4.0;
    Picture score = PlainScore(lab, model, boxes[f], region);
    const int ax = std::max(std::abs(c[1].y - c[0].y), std::abs(c[2].y - c[0].y));
    const int bx = std::max(std::abs(c[1].x - c[0].x), std::abs(c[2].x - c[0].x));
    const int n = Trunc(std::sqrt(ax + bx)) * 5 / Trunc(std::sqrt(h * h + w * w));
    PlainRefine(boxes[f], std::clamp(n, 1, 2), &score);
    const int side = Distance(c[0], c[1]);
    const double factor = 2 * side < 70 ? 2.0 * side / 70 : 1.0;
    for (int y = boxes[f].top; y < boxes[f].bottom; ++y) {
      for (int x = boxes[f].left; x < boxes[f].right; ++x) {
        if (region.At(x, y) == 0) continue;
        const double m = std::clamp(score.At(x, y) * region.At(x, y) / 255 * factor, 1.0, 255.0);
        mask.At(x, y) = Byte(std::max<double>(mask.At(x, y), m));
      }
    }
  }
  return mask;
}

Picture PlainWeightMap(const Picture& image, const Point* corners, int faces, int outWidth, int outHeight) {
  const int W = image.width, H = image.height;
  Picture grey(W, H, 1);
  for (int y = 0; y < H; ++y) {
    for (int x = 0; x < W; ++x) {
      grey.At(x, y) = static_cast<uint8_t>((image.At(x, y, 1) * 16 + image.At(x, y) * 5 + image.At(x, y, 2) * 11) >> 5);
    }
  }
  int dmax = -1;
  bool turned = false;
  for (int f = 0; f < faces; ++f) {
    const Point* c = corners + 4 * f;
    if (Distance(c[0], c[1]) <= dmax) continue;
    dmax = Distance(c[0], c[1]);
    turned = std::abs(c[1].x - c[0].x) < std::abs(c[2].x - c[0].x);
  }
  const double scale = 30.0 / dmax;
  const Picture small = PlainResize(grey, Trunc(W * scale), Trunc(H * scale));
  std::vector<SkinBox> boxes;
  for (int f = 0; f < faces; ++f) {
    const Extent e = ExtentOf({corners + 4 * f, corners + 4 * f + 4});
    const int mx = Trunc((e.maxX - e.minX) * 0.1), my = Trunc((e.maxY - e.minY) * 0.1);
    boxes.push_back({Trunc(std::max(2 * (e.minX - mx), 0) * scale), Trunc(std::max(2 * (e.minY - my), 0) * scale),
                     Trunc(std::min(W, 2 * (e.maxX + mx)) * scale), Trunc(std::min(H, 2 * (e.maxY + my)) * scale)});
  }
  const auto pass = [&](const Picture& from, uint8_t fill, int margin, const auto& value) {
    Picture to(small.width, small.height, 1, fill);
    for (const SkinBox& b : boxes) {
      for (int y = b.top + margin; y <= b.bottom - 1 - margin; ++y) {
        for (int x = b.left + margin; x <= b.right - 1 - margin; ++x) {
          to.At(x, y) = static_cast<uint8_t>(value(Square(from, x, y)));
        }
      }
    }
    return to;
  };
  const std::vector<int> kernel =
      turned ? std::vector<int>{1, 0, -1, 2, 0, -2, 1, 0, -1} : std::vector<int>{1, 2, 1, 0, 0, 0, -1, -2, -1};
  const Picture a = pass(small, 255, 1, [&](const std::vector<int>& v) {
    int sum = 0;
    for (size_t i = 0; i < 9; ++i) sum += kernel[i] * v[i];
    return Trunc(std::min((255 - std::min(std::abs(sum), 255)) * 1.5, 255.0));
  });
  const auto mean = [](const std::vector<int>& v) { return std::max(1, Sum(v) / 9); };
  return PlainResize(pass(pass(pass(a, 0, 1, Least), 255, 2, mean), 255, 2, mean), outWidth, outHeight);
}

void PlainGaussian(double sigma, const SkinBox* box, const Picture& mask, Picture* image) {
  const int k = Trunc((sigma * 2 + 1) * 0.5), W = image->width, H = image->height;
  std::vector<double> w;
  double total = 0;
  for (int i = -k; i <= k; ++i) {
    w.push_back(std::exp(i * i * -0.5 / (sigma * sigma)) / (std::sqrt(6.28318530718) * sigma));
    total += w.back();
  }
  for (double& v : w) v /= total;
  const SkinBox all = {0, 0, W, H};
  const SkinBox area =
      box == nullptr ? all : ClipBox({box->left / 2, box->top / 2, box->right / 2, box->bottom / 2}, W, H);
  const Picture input = *image;
  Picture first = input;
  const auto mean = [&](const Picture& from, int x, int y, int dx, int dy, Picture* to) {
    double S = 0, T[3] = {};
    for (int i = -k; i <= k; ++i) {
      const int u = std::clamp(x + i * dx, 0, W - 1), v = std::clamp(y + i * dy, 0, H - 1);
      const double weight = w[static_cast<size_t>(i + k)] * mask.At(u, v);
      S += weight;
      for (int c = 0; c < 3; ++c) T[c] += weight * from.At(u, v, c);
    }
    for (int c = 0; c < 3; ++c) to->At(x, y, c) = Byte(std::min(T[c] / S, 255.0));
  };
  for (int pass = 0; pass < 2; ++pass) {
    for (int y = area.top; y < area.bottom; ++y) {
      for (int x = area.left; x < area.right; ++x) {
        if (mask.At(x, y) == 0) continue;
        pass == 0 ? mean(input, x, y, 1, 0, &first) : mean(first, x, y, 0, 1, image);
      }
    }
  }
}

Picture PlainUpsample(const Picture& small, int width, int height) {
  Picture out(width, height, 3);
  for (int y = 0; y < height; ++y) {
    for (int x = 0; x < width; ++x) {
      const int i = std::min(y / 4, small.height - 1), j = std::min(x / 4, small.width - 1);
      const int i1 = std::min(i + 1, small.height - 1), j1 = std::min(j + 1, small.width - 1);
      for (int c = 0; c < 3; ++c) {
        const int P = small.At(j, i, c), R = small.At(j1, i, c), B = small.At(j, i1, c), D = small.At(j1, i1, c);
        const bool right = x % 4 >= 2, lower = y % 4 >= 2;
        out.At(x, y, c) = static_cast<uint8_t>(right && lower ? (P + R + B + D) >> 2
                                               : right        ? (P + R) >> 1
                                               : lower        ? (P + B) >> 1
                                                              : P);
      }
    }
  }
  return out;
}

Picture PlainResize(const Picture& s, int width, int height) {
  Picture out(width, height, 1);
  const double sx = static_cast<double>(s.width) / width, sy = static_cast<double>(s.height) / height;
  for (int y = 0; y < height; ++y) {
    for (int x = 0; x < width; ++x) {
      const double fx = x * sx, fy = y * sy;
      const int x0 = Trunc(fx), y0 = Trunc(fy);
      const int x1 = x0 + 1 < s.width ? x0 + 1 : x0, y1 = y0 + 1 < s.height ? y0 + 1 : y0;
      const double wx = fx - x0, wy = fy - y0;
      out.At(x, y) = Byte(((1 - wx) * s.At(x0, y0) + wx * s.At(x1, y0)) * (1 - wy) +
                          ((1 - wx) * s.At(x0, y1) + wx * s.At(x1, y1)) * wy);
    }
  }
  return out;
}

Picture PlainRetouch(const Picture& image, double strength, LandmarkSet landmarks) {
  const Picture filled = PlainMedianFill(PlainSpotMask(image, landmarks), image, 20.0);
  const int W = image.width, H = image.height;
  Point* corners = landmarks.FaceBox();
  if (strength > 5 || Distance(corners[0], corners[1]) <= 50) return filled;
  Point half[4];
  for (int i = 0; i < 4; ++i) {
    corners[i] = {std::clamp(corners[i].x, 0, W - 1), std::clamp(corners[i].y, 0, H - 1)};
    half[i] = {corners[i].x / 2, corners[i].y / 2};
  }
  SkinBox box;
  const Picture skin = PlainColourMask(filled, half, 1, landmarks.Eyes(), landmarks.Eyes() + 1, &box);
  Picture mask = PlainWeightMap(filled, half, 1, W / 4, H / 4);
  Picture small(W / 4, H / 4, 3);
  for (int y = 0; y < H / 4; ++y) {
    for (int x = 0; x < W / 4; ++x) {
      for (int c = 0; c < 3; ++c) small.At(x, y, c) = filled.At(4 * x, 4 * y, c);
      mask.At(x, y) = std::min(mask.At(x, y), skin.At(2 * x, 2 * y));
    }
  }
  const int q = Distance(corners[0], corners[1]) / 50;
  PlainGaussian(q < 2 ? 1.0 : q > 8 ? 4.0 : q * 0.5, &box, mask, &small);
  const Picture smooth = PlainUpsample(small, W, H), weight = PlainResize(mask, W, H);
  Picture out = filled;
  for (size_t i = 0; i < weight.bytes.size(); ++i) {
    const int a = std::min(Trunc(weight.bytes[i] * strength) >> 1, 255);
    for (size_t c = 3 * i; c < 3 * i + 3; ++c) {
      out.bytes[c] = static_cast<uint8_t>((filled.bytes[c] * (256 - a) + smooth.bytes[c] * a) >> 8);
    }
  }
  return out;
}

}  // namespace qx::test
