#include "bench/hair/sitter.h"

#include <cmath>

namespace qx::bench::hair {
namespace {

Line Placed(const Sitter& sitter, const Line& points) {
  Line line;
  for (const Place& p : points) line.push_back(sitter.At(p.x, p.y));
  return line;
}

// Points of the right half and their mirror images, once round.
Line BothSides(const Line& right) {
  Line all = right;
  for (size_t i = right.size(); i-- > 0;) {
    if (right[i].x > 0) all.push_back({-right[i].x, right[i].y});
  }
  return all;
}

Line Oval(Place centre, float radiusX, float radiusY) {
  Line line;
  for (int i = 0; i < 12; ++i) {
    const float turn = static_cast<float>(i) / 12;
    line.push_back({centre.x + radiusX * CosineTurn(turn), centre.y + radiusY * SineTurn(turn)});
  }
  return line;
}

Colour RandomCloth(Random& random) {
  const Colour colours[] = {{60, 42, 34},  {35, 33, 32},    {120, 82, 48},   {70, 70, 74},  {60, 60, 140},
                            {95, 120, 62}, {170, 150, 130}, {225, 225, 225}, {40, 90, 150}, {120, 60, 100}};
  const Colour cloth = colours[random.Below(10)];
  return cloth * random.Between(0.85f, 1.1f);
}

// Skin with its grain; lit from one side.
Paint SkinPaint(const Sitter& sitter, uint32_t seed) {
  return [sitter, seed](float x, float y) {
    const float u = (x - sitter.centreX) / sitter.faceWidth, v = (y - sitter.centreY) / sitter.faceWidth;
    float k = 1 + 0.16f * sitter.light * u - 0.04f * v;
    k *= 1 - 0.30f * Smooth(0.30f, 0.50f, std::fabs(u)) - 0.10f * Smooth(0.35f, 0.6f, v);
    k += 0.02f * Turbulence(x * 0.15f, y * 0.15f, seed) + 0.02f * Noise(u * 6, v * 6, seed + 9);
    return sitter.skin * k;
  };
}

void DrawEar(Plane& layer, const Sitter& s, float side, const Paint& skin) {
  const Line ear = {{0.43f, -0.20f},  {0.50f, -0.23f}, {0.535f, -0.15f},
                    {0.515f, -0.02f}, {0.475f, 0.08f}, {0.43f, 0.05f}};
  Line placed;
  for (const Place& p : ear) placed.push_back(s.At(side * p.x, p.y));
  FillShape(layer, Closed(placed), Stuff::kBody, [&](float x, float y) {
    const Colour c = skin(x, y);
    return Colour{c.b * 1.12f, c.g * 1.12f, std::min(250.0f, c.r * 1.3f)};
  });
  const Place inner = s.At(side * 0.485f, -0.08f);
  Shade(layer, inner, 0.014f * s.faceWidth, 0.05f * s.faceWidth, {-0.35f, -0.35f, -0.25f});
}

void DrawEye(Plane& layer, const Sitter& s, float side, Colour iris, Random& random) {
  const float w = s.faceWidth, x = side * 0.19f, y = -0.19f;
  Shade(layer, s.At(x, y - 0.03f), 0.09f * w, 0.045f * w, {-0.22f, -0.24f, -0.2f});
  const Line almond = {{x - 0.085f, y + 0.005f}, {x - 0.045f, y - 0.026f}, {x, y - 0.034f}, {x + 0.045f, y - 0.024f},
                       {x + 0.085f, y + 0.004f}, {x + 0.04f, y + 0.026f},  {x, y + 0.03f},  {x - 0.04f, y + 0.024f}};
  FillShape(layer, Closed(Placed(s, almond)), Stuff::kBody, [](float, float) { return Colour{205, 208, 214}; });
  const Place centre{x + 0.006f * s.light, y - 0.003f};
  FillShape(layer, Closed(Placed(s, Oval(centre, 0.031f, 0.031f))), Stuff::kBody, [&](float, float) { return iris; });
  FillShape(layer, Closed(Placed(s, Oval(centre, 0.014f, 0.014f))), Stuff::kBody, [](float, float) {
    return Colour{16, 14, 14};
  });
  FillShape(layer, Closed(Placed(s, Oval({x + 0.012f * s.light, y - 0.014f}, 0.006f, 0.006f))), Stuff::kBody,
            [](float, float) {
              return Colour{245, 245, 245};
            });
  StrandPainter strands(layer);
  const Line lid = {{x - 0.09f, y + 0.008f},
                    {x - 0.045f, y - 0.027f},
                    {x, y - 0.036f},
                    {x + 0.045f, y - 0.026f},
                    {x + 0.09f, y + 0.006f}};
  strands.Draw(Open(Placed(s, lid)), 0.012f * w, 0.012f * w, 0.85f, Stuff::kBody,
               [&](float) { return s.skin * 0.25f; });
  Line fold = lid;
  for (Place& p : fold) p.y -= 0.022f;
  strands.Draw(Open(Placed(s, fold)), 0.006f * w, 0.006f * w, 0.5f, Stuff::kBody, [&](float) { return s.skin * 0.5f; });
  const Colour brow = Mix(s.hair * 0.6f, s.skin * 0.4f, 0.25f);
  for (int i = 0; i < 120; ++i) {
    const float t = random.Between(-1, 1), lift = 0.03f * (1 - t * t) - 0.012f * t * side;
    const Place from{x + 0.11f * t, y - 0.115f - lift + random.Between(-0.012f, 0.014f)};
    const Place to{from.x + side * random.Between(0.015f, 0.035f), from.y - random.Between(-0.004f, 0.012f)};
    strands.Draw(Placed(s, {from, to}), 0.008f * w, 0.003f * w, 0.6f, Stuff::kBody, [&](float) { return brow; });
  }
}

void DrawNose(Plane& layer, const Sitter& s) {
  const float w = s.faceWidth, side = s.light > 0 ? -1.0f : 1.0f;
  Shade(layer, s.At(side * 0.05f, -0.05f), 0.022f * w, 0.1f * w, {-0.16f, -0.16f, -0.12f});
  Shade(layer, s.At(-side * 0.012f, 0.0f), 0.02f * w, 0.09f * w, {0.12f, 0.11f, 0.08f});
  Shade(layer, s.At(0, 0.05f), 0.03f * w, 0.025f * w, {0.14f, 0.12f, 0.08f});
  Shade(layer, s.At(0, 0.105f), 0.07f * w, 0.018f * w, {-0.3f, -0.3f, -0.22f});
  for (const float x : {-0.036f, 0.036f}) {
    Shade(layer, s.At(x, 0.092f), 0.016f * w, 0.009f * w, {-0.6f, -0.6f, -0.5f});
    Shade(layer, s.At(x * 2, 0.065f), 0.012f * w, 0.03f * w, {-0.2f, -0.2f, -0.14f});
  }
}

void DrawMouth(Plane& layer, const Sitter& s) {
  const float w = s.faceWidth;
  const Colour lip = Mix(s.skin * 0.82f, {95, 85, 175}, 0.35f);
  const Line upper = {{-0.145f, 0.24f}, {-0.07f, 0.212f}, {-0.025f, 0.2f}, {0, 0.206f}, {0.025f, 0.2f},
                      {0.07f, 0.212f},  {0.145f, 0.24f},  {0.06f, 0.246f}, {0, 0.25f},  {-0.06f, 0.246f}};
  const Line lower = {{-0.14f, 0.24f}, {-0.06f, 0.245f}, {0, 0.249f}, {0.06f, 0.245f},
                      {0.14f, 0.24f},  {0.08f, 0.282f},  {0, 0.298f}, {-0.08f, 0.282f}};
  FillShape(layer, Closed(Placed(s, upper)), Stuff::kBody, [&](float, float) { return lip * 0.86f; });
  FillShape(layer, Closed(Placed(s, lower)), Stuff::kBody, [&](float, float) { return lip; });
  Shade(layer, s.At(0, 0.268f), 0.05f * w, 0.012f * w, {0.14f, 0.14f, 0.1f});
  StrandPainter strands(layer);
  strands.Draw(Open(Placed(s, {{-0.15f, 0.238f}, {-0.06f, 0.247f}, {0, 0.25f}, {0.06f, 0.247f}, {0.15f, 0.238f}})),
               0.009f * w, 0.009f * w, 0.8f, Stuff::kBody, [&](float) { return lip * 0.4f; });
  Shade(layer, s.At(0, 0.33f), 0.09f * w, 0.02f * w, {-0.14f, -0.14f, -0.1f});
  for (const float side : {-1.0f, 1.0f}) {
    Shade(layer, s.At(side * 0.18f, 0.17f), 0.018f * w, 0.07f * w, {-0.08f, -0.08f, -0.05f});
    Shade(layer, s.At(side * 0.25f, 0.06f), 0.09f * w, 0.07f * w, {-0.05f, -0.05f, 0.04f});
  }
  Shade(layer, s.At(0, 0.43f), 0.07f * w, 0.045f * w, {0.07f, 0.06f, 0.05f});
}

void DrawCollar(Plane& layer, const Sitter& s, Random& random) {
  const Colour white = Colour{238, 236, 234} * random.Between(0.88f, 1.04f);
  for (const float side : {-1.0f, 1.0f}) {
    const Line flap = {{side * 0.31f, 0.60f}, {side * 0.40f, 0.83f}, {side * 0.24f, 1.12f}, {side * 0.02f, 0.98f}};
    Line placed;
    for (const Place& p : flap) placed.push_back(s.Upright(p.x, p.y));
    FillShape(layer, placed, Stuff::kBody, [&](float x, float y) {
      return white * (1 + 0.07f * side * s.light + 0.02f * Noise(x * 0.02f, y * 0.05f, 5));
    });
    Shade(layer, s.Upright(side * 0.22f, 1.12f), 0.1f * s.faceWidth, 0.04f * s.faceWidth, {-0.2f, -0.2f, -0.2f});
  }
}

}  // namespace

Sitter MakeSitter(Random& random, int width, int height, HairColour colour) {
  Sitter s{};
  const float spread = random.Between(0, 1);
  s.faceWidth = static_cast<float>(static_cast<int>(252 + 140 * spread * spread));
  s.centreX = static_cast<float>(width / 2) + random.Between(-0.05f, 0.05f) * s.faceWidth;
  const float above = random.Between(1.68f, 1.9f) * s.faceWidth;
  s.centreY = std::max(above, 0.44f * static_cast<float>(height));
  const float tilt = random.Between(-0.011f, 0.011f);
  s.cosine = CosineTurn(tilt), s.sine = SineTurn(tilt);
  s.jaw = random.Between(0.9f, 1.06f);
  s.light = random.Between(-1, 1);
  const Colour skins[] = {{165, 185, 225}, {150, 172, 215}, {125, 152, 200},
                          {100, 130, 182}, {70, 98, 150},   {48, 68, 110}};
  const bool fair = colour == HairColour::kBlonde || colour == HairColour::kRed;
  s.skin = skins[random.Below(fair ? 3 : 6)];
  const Colour hairs[] = {{28, 25, 26}, {38, 56, 84}, {112, 162, 200}, {42, 78, 150}, {138, 138, 140}, {212, 216, 218}};
  s.hair = hairs[static_cast<int>(colour)] * random.Between(0.85f, 1.12f);
  s.cloth = RandomCloth(random);
  s.glasses = random.Chance(0.25f);
  s.shirt = random.Chance(0.45f);
  return s;
}

void DrawBody(Plane& layer, const Sitter& s, Random& random) {
  const float slope = random.Between(-0.05f, 0.08f);
  const Line right = {{0.20f, 0.70f},         {0.36f, 0.80f}, {0.62f, 0.93f + slope}, {0.98f, 1.08f + slope},
                      {1.22f, 1.32f + slope}, {1.34f, 1.85f}, {1.42f, 2.6f},          {1.45f, 4.0f}};
  Line placed;
  for (const Place& p : BothSides(right)) placed.push_back(s.Upright(p.x, p.y));
  const uint32_t grain = random.Bits();
  FillShape(layer, Closed(placed), Stuff::kBody, [&](float x, float y) {
    const float u = (x - s.centreX) / s.faceWidth, v = (y - s.centreY) / s.faceWidth;
    const float folds =
        0.10f * Turbulence(u * 2.2f + v, v * 1.1f, grain) + 0.04f * Noise(x * 0.4f, y * 0.4f, grain + 7);
    return s.cloth * (1 + folds + 0.12f * s.light * u - 0.25f * Smooth(0.9f, 1.3f, std::fabs(u)));
  });
  const Paint skin = SkinPaint(s, random.Bits());
  const float depth = s.shirt ? 1.02f : random.Between(0.9f, 1.15f);
  const Line neck = {{0.265f, 0.25f}, {0.27f, 0.50f},         {0.29f, 0.68f},
                     {0.37f, 0.80f},  {0.24f, depth - 0.06f}, {0.0f, depth}};
  Line throat;
  for (const Place& p : BothSides(neck)) throat.push_back(s.Upright(p.x, p.y));
  FillShape(layer, Closed(throat), Stuff::kBody, [&](float x, float y) { return skin(x, y) * 0.92f; });
  Shade(layer, s.Upright(0.0f, 0.55f), 0.25f * s.faceWidth, 0.13f * s.faceWidth, {-0.42f, -0.42f, -0.36f});
  if (s.shirt) DrawCollar(layer, s, random);
}

void DrawHead(Plane& layer, const Sitter& s, Random& random) {
  const Paint skin = SkinPaint(s, random.Bits());
  DrawEar(layer, s, -1, skin);
  DrawEar(layer, s, 1, skin);
  const float j = s.jaw;
  const Line right = {{0, -0.86f},        {0.22f, -0.81f},    {0.38f, -0.66f},     {0.45f, -0.45f},    {0.455f, -0.2f},
                      {0.44f * j, 0.05f}, {0.39f * j, 0.27f}, {0.285f * j, 0.43f}, {0.15f * j, 0.53f}, {0, 0.555f}};
  FillShape(layer, Closed(Placed(s, BothSides(right))), Stuff::kBody, skin);
  const Colour irises[] = {{40, 60, 90}, {30, 40, 60}, {140, 110, 80}, {90, 120, 90}};
  const Colour iris = irises[random.Below(4)];
  Shade(layer, s.At(0, -0.5f), 0.2f * s.faceWidth, 0.1f * s.faceWidth, {0.07f, 0.06f, 0.05f});
  DrawEye(layer, s, -1, iris, random);
  DrawEye(layer, s, 1, iris, random);
  DrawNose(layer, s);
  DrawMouth(layer, s);
}

void DrawGlasses(Plane& layer, const Sitter& s, Random& random) {
  StrandPainter strands(layer);
  const float width = random.Between(0.012f, 0.03f) * s.faceWidth;
  const Colour frame = random.Chance(0.6f) ? Colour{28, 26, 26} : Colour{60, 75, 110};
  const float rx = random.Between(0.12f, 0.15f), ry = random.Between(0.085f, 0.11f);
  auto draw = [&](const Line& line) {
    strands.Draw(line, width, width, 1, Stuff::kBody,
                 [&](float along) { return frame * (1 + 0.4f * Bell(8 * (along - 0.3f))); });
  };
  for (const float side : {-1.0f, 1.0f}) {
    Line ring = Closed(Placed(s, Oval({side * 0.195f, -0.175f}, rx, ry)));
    ring.push_back(ring.front());
    draw(ring);
    draw(Open({s.At(side * (0.195f + rx), -0.2f), s.At(side * 0.42f, -0.205f), s.At(side * 0.475f, -0.17f)}));
  }
  draw(Open({s.At(-0.195f + rx, -0.18f), s.At(0, -0.2f), s.At(0.195f - rx, -0.18f)}));
}

}  // namespace qx::bench::hair
