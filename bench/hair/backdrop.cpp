#include "bench/hair/backdrop.h"

#include <cmath>

namespace qx::bench::hair {
namespace {

Colour RandomWall(Random& random) {
  const Colour walls[] = {{250, 250, 249}, {228, 230, 231}, {196, 198, 199}, {140, 142, 143},
                          {70, 70, 72},    {30, 29, 30},    {205, 190, 160}, {150, 175, 205},
                          {140, 165, 130}, {120, 90, 60},   {90, 100, 160},  {170, 215, 225}};
  const Colour wall = walls[random.Below(12)];
  return wall * random.Between(0.93f, 1.0f);
}

void Put(float* pixel, Colour c) {
  pixel[0] = c.b, pixel[1] = c.g, pixel[2] = c.r;
}

template <typename Paint>
void ForPixels(Plane& plane, Paint paint) {
  for (int y = 0; y < plane.height; ++y) {
    for (int x = 0; x < plane.width; ++x)
      paint(static_cast<float>(x) + 0.5f, static_cast<float>(y) + 0.5f, plane.At(x, y));
  }
}

void Wall(Plane& plane, Colour colour, Random& random) {
  const float across = random.Between(-0.16f, 0.16f), down = random.Between(-0.16f, 0.16f),
              corner = random.Between(0, 0.12f);
  const float flat = random.Chance(0.4f) ? 0.15f : 1.0f;  // many walls are lit evenly
  const uint32_t seed = random.Bits();
  ForPixels(plane, [&](float x, float y, float* pixel) {
    const float u = x / static_cast<float>(plane.width) - 0.5f, v = y / static_cast<float>(plane.height) - 0.5f;
    const float k = 1 + flat * (across * u + down * v - corner * 2 * (u * u + v * v)) +
                    0.004f * Turbulence(x * 0.02f, y * 0.02f, seed);
    Put(pixel, colour * k);
  });
}

void CastShadow(Plane& plane, const Plane& person, const Sitter& sitter, Random& random) {
  Plane shadow(person.width, person.height, 1);
  const float side = random.Chance(0.5f) ? 1.0f : -1.0f;
  const int dx = static_cast<int>(side * random.Between(0.08f, 0.35f) * sitter.faceWidth);
  const int dy = static_cast<int>(random.Between(-0.02f, 0.18f) * sitter.faceWidth);
  for (int y = 0; y < shadow.height; ++y) {
    for (int x = 0; x < shadow.width; ++x) {
      const int fromX = std::clamp(x - dx, 0, shadow.width - 1), fromY = std::max(0, y - dy);
      *shadow.At(x, y) = person.At(fromX, std::min(fromY, shadow.height - 1))[kAlpha];
    }
  }
  Blur(shadow, random.Between(0.04f, 0.2f) * sitter.faceWidth);
  const float strength = random.Between(0.18f, 0.5f);
  ForPixels(plane, [&](float x, float y, float* pixel) {
    const float k = 1 - strength * *shadow.At(static_cast<int>(x), static_cast<int>(y));
    for (int c = 0; c < 3; ++c) pixel[c] *= k;
  });
}

void TwoColours(Plane& plane, const Sitter& sitter, Random& random) {
  const Colour second = RandomWall(random), frame = RandomWall(random);
  const float slant = random.Chance(0.4f) ? random.Between(-0.5f, 0.5f) : random.Between(-0.03f, 0.03f);
  const float at = sitter.centreX + random.Between(-0.6f, 0.6f) * sitter.faceWidth;
  const float wide = random.Chance(0.5f) ? random.Between(0.05f, 0.25f) * sitter.faceWidth : 0;
  const bool curtain = random.Chance(0.4f);
  const float fold = random.Between(0.08f, 0.2f) * sitter.faceWidth, depth = random.Between(0.1f, 0.35f);
  const uint32_t seed = random.Bits();
  ForPixels(plane, [&](float x, float y, float* pixel) {
    const float off = x - at - slant * (y - sitter.centreY);
    if (off < 0) return;
    const float shade =
        curtain ? 1 - depth * (0.5f + 0.5f * SineTurn(x / fold + 0.3f * Noise(x * 0.01f, y * 0.004f, seed))) : 1.0f;
    Put(pixel, off < wide ? frame * (off < 3 ? 0.7f : 1.0f) : second * shade);
  });
  Blur(plane, random.Chance(0.5f) ? 0.6f : random.Between(1.5f, 8));
}

void Bricks(Plane& plane, const Sitter& sitter, Random& random) {
  const float height = random.Between(0.13f, 0.24f) * sitter.faceWidth, width = height * random.Between(2.2f, 3.2f);
  const float mortar = random.Between(0.06f, 0.12f) * height;
  const Colour brick = random.Chance(0.6f) ? Colour{70, 85, 150} : Colour{205, 208, 212};
  const Colour joint = random.Chance(0.5f) ? Colour{170, 178, 185} : Colour{95, 100, 105};
  const uint32_t seed = random.Bits();
  ForPixels(plane, [&](float x, float y, float* pixel) {
    const float row = std::floor(y / height), shift = static_cast<int>(row) % 2 == 0 ? 0.0f : width / 2;
    const float column = std::floor((x + shift) / width);
    const float inX = x + shift - column * width, inY = y - row * height;
    const float edge =
        std::min(std::min(inX, width - inX), std::min(inY, height - inY)) + 1.5f * Noise(x * 0.1f, y * 0.1f, seed);
    const float rough = 1 + 0.10f * Turbulence(x * 0.15f, y * 0.15f, seed + 3) +
                        0.16f * Noise(column * 7.3f + 0.5f, row * 5.7f + 0.5f, seed);
    Put(pixel, Mix(joint, brick, Smooth(mortar - 1, mortar + 1, edge)) * rough);
  });
}

void Wallpaper(Plane& plane, const Sitter& sitter, Random& random) {
  const Colour ground = RandomWall(random), figure = Mix(ground, RandomWall(random), random.Between(0.3f, 0.8f));
  const float size = random.Between(0.12f, 0.35f) * sitter.faceWidth, petals = static_cast<float>(3 + random.Below(4));
  const bool stripes = random.Chance(0.3f);
  const float petal = random.Between(0.08f, 0.16f), core = random.Between(0.2f, 0.3f);
  ForPixels(plane, [&](float x, float y, float* pixel) {
    if (stripes) {
      Put(pixel, Mix(ground, figure, Smooth(-0.15f, 0.15f, SineTurn(x / size))));
      return;
    }
    const float row = std::floor(y / size), shift = static_cast<int>(row) % 2 == 0 ? 0.0f : 0.5f;
    const float u = x / size + shift - std::floor(x / size + shift) - 0.5f, v = y / size - row - 0.5f;
    const float radius = std::sqrt(u * u + v * v);
    // Near enough to the angle for a flower.
    const float turn = radius > 0 ? (v >= 0 ? 0.25f - 0.25f * u / radius : 0.75f + 0.25f * u / radius) : 0;
    const float rim = core + petal * SineTurn(turn * petals);
    Put(pixel, Mix(figure, ground, Smooth(rim - 0.02f, rim + 0.02f, radius)));
  });
}

void Wood(Plane& plane, const Sitter& sitter, Random& random) {
  const Colour wood = random.Chance(0.5f) ? Colour{60, 95, 140} : Colour{120, 160, 195};
  const float board = random.Between(0.3f, 0.7f) * sitter.faceWidth;
  const uint32_t seed = random.Bits();
  ForPixels(plane, [&](float x, float y, float* pixel) {
    const float number = std::floor(x / board), in = x - number * board;
    const float bend = 3 * Noise(x * 0.006f, y * 0.0025f + number * 9.7f, seed);
    const float rings = SineTurn(bend * 1.6f + x * 0.02f) * 0.09f,
                grain = 0.08f * Turbulence(x * 0.35f, y * 0.012f, seed + 5);
    const float gap = Smooth(0.5f, 3, std::min(in, board - in));
    Put(pixel, wood * ((1 + rings + grain + 0.1f * Noise(number * 3.7f, 0.5f, seed)) * (0.35f + 0.65f * gap)));
  });
}

void Foliage(Plane& plane, const Sitter& sitter, Random& random) {
  const Colour dark{30, 48, 34}, green{60, 120, 88}, bright{150, 205, 190};
  const float leaf = random.Between(0.07f, 0.16f) * sitter.faceWidth;
  const uint32_t seed = random.Bits();
  ForPixels(plane, [&](float x, float y, float* pixel) {
    const float coarse = Turbulence(x / (3 * leaf), y / (3 * leaf), seed),
                fine = Turbulence(x / leaf, y / leaf, seed + 11);
    const float k = 0.5f + 0.55f * coarse + 0.75f * fine;
    Put(pixel, k < 0.55f ? Mix(dark, green, Smooth(0.1f, 0.55f, k)) : Mix(green, bright, Smooth(0.55f, 1.1f, k)));
  });
}

void Texture(Plane& plane, const Sitter& sitter, Random& random) {
  switch (random.Below(4)) {
    case 0: Bricks(plane, sitter, random); break;
    case 1: Wallpaper(plane, sitter, random); break;
    case 2: Wood(plane, sitter, random); break;
    default: Foliage(plane, sitter, random); break;
  }
  Blur(plane, random.Between(0.5f, 1.6f));
}

// Furniture, windows and lamps as blurred patches.
void Room(Plane& plane, const Sitter& sitter, Random& random) {
  const int count = 10 + random.Below(14);
  for (int i = 0; i < count; ++i) {
    const Colour colour = random.Chance(0.2f) ? Colour{235, 245, 250} : RandomWall(random) * random.Between(0.4f, 1.0f);
    const float x = random.Between(0, 1) * static_cast<float>(plane.width),
                y = random.Between(0, 1) * static_cast<float>(plane.height);
    const float rx = random.Between(0.15f, 0.9f) * sitter.faceWidth,
                ry = random.Between(0.15f, 1.3f) * sitter.faceWidth;
    const bool oval = random.Chance(0.35f);
    ForPixels(plane, [&](float px, float py, float* pixel) {
      const float u = (px - x) / rx, v = (py - y) / ry;
      if (oval ? u * u + v * v < 1 : std::fabs(u) < 1 && std::fabs(v) < 1) Put(pixel, colour);
    });
  }
  Blur(plane, random.Between(0.04f, 0.12f) * sitter.faceWidth);
}

}  // namespace

Plane DrawBackdrop(Backdrop kind, const Plane& person, const Sitter& sitter, Random& random) {
  Plane plane(person.width, person.height, 3);
  Wall(plane, RandomWall(random), random);
  switch (kind) {
    case Backdrop::kPlain: break;
    case Backdrop::kShadowed: CastShadow(plane, person, sitter, random); break;
    case Backdrop::kTwoColoured: TwoColours(plane, sitter, random); break;
    case Backdrop::kTextured: Texture(plane, sitter, random); break;
    case Backdrop::kOutOfFocus: Room(plane, sitter, random); break;
  }
  for (float& level : plane.values) level = std::clamp(level, 0.0f, 253.0f);
  return plane;
}

}  // namespace qx::bench::hair
