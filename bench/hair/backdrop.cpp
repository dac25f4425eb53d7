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

float Apart(Colour a, Colour b) {
  return (std::fabs(a.b - b.b) + std::fabs(a.g - b.g) + std::fabs(a.r - b.r)) / 3;
}

// Not the colour of the hair or the clothes: nobody could tell these apart.
Colour WallBehind(const Sitter& sitter, Random& random) {
  Colour wall = RandomWall(random);
  for (int tries = 0; tries < 20 && (Apart(wall, sitter.hair) < 32 || Apart(wall, sitter.cloth) < 24); ++tries) {
    wall = RandomWall(random);
  }
  return wall;
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
  const Colour second = WallBehind(sitter, random), frame = RandomWall(random);
  const float slant = random.Chance(0.4f) ? random.Between(-0.5f, 0.5f) : random.Between(-0.03f, 0.03f);
  const bool level = random.Chance(0.2f);  // panelling below, wall above
  const float at = (level ? sitter.centreY - 0.2f * sitter.faceWidth : sitter.centreX) +
                   random.Between(-0.6f, 0.6f) * sitter.faceWidth;
  const float wide = random.Chance(0.5f) ? random.Between(0.05f, 0.25f) * sitter.faceWidth : 0;
  const bool curtain = random.Chance(0.4f);
  const float fold = random.Between(0.08f, 0.2f) * sitter.faceWidth, depth = random.Between(0.1f, 0.35f);
  const uint32_t seed = random.Bits();
  ForPixels(plane, [&](float x, float y, float* pixel) {
    const float off = level ? y - at - 0.1f * slant * (x - sitter.centreX) : x - at - slant * (y - sitter.centreY);
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
  const Colour ground = RandomWall(random), other = RandomWall(random);
  const Colour figure = Mix(ground, other, random.Between(0.3f, 0.8f));
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

// A shelf of books, or tiles: upright patches in rows.
void Shelf(Plane& plane, const Sitter& sitter, Random& random) {
  const float row = random.Between(0.4f, 0.8f) * sitter.faceWidth,
              book = random.Between(0.07f, 0.16f) * sitter.faceWidth;
  const Colour board = RandomWall(random) * 0.7f, tint = RandomWall(random);
  const float various = random.Between(0.3f, 0.9f);
  const uint32_t seed = random.Bits();
  ForPixels(plane, [&](float x, float y, float* pixel) {
    const float number = std::floor(y / row), inRow = y / row - number;
    const float along = x / book + 0.35f * Noise(x / book, number * 5.3f, seed), column = std::floor(along);
    auto chance = [&](uint32_t which) {
      return 0.5f + 0.5f * Noise(column * 1.9f + 0.5f, number * 3.1f + 0.5f, seed + which);
    };
    const Colour own{30 + 200 * chance(1), 30 + 200 * chance(2), 30 + 200 * chance(3)};
    const float round = 1 - 0.5f * std::fabs(along - column - 0.5f);
    const bool shelf = inRow < 0.08f, above = inRow < 0.12f + 0.25f * chance(4);
    Put(pixel, shelf ? board : above ? board * 0.35f : Mix(tint, own, various) * round);
  });
}

// Rough plaster, or cloth.
void Plaster(Plane& plane, const Sitter& sitter, Random& random) {
  const Colour wall = WallBehind(sitter, random);
  const float size = random.Between(0.02f, 0.12f) * sitter.faceWidth, depth = random.Between(0.1f, 0.4f);
  const float stretch = random.Chance(0.3f) ? 0.15f : 1.0f;
  const uint32_t seed = random.Bits();
  ForPixels(plane, [&](float x, float y, float* pixel) {
    Put(pixel, wall * (1 + depth * Turbulence(x / size, y * stretch / size, seed)));
  });
}

void Texture(Plane& plane, const Sitter& sitter, Random& random) {
  switch (random.Below(6)) {
    case 0: Bricks(plane, sitter, random); break;
    case 1: Wallpaper(plane, sitter, random); break;
    case 2: Wood(plane, sitter, random); break;
    case 3: Shelf(plane, sitter, random); break;
    case 4: Plaster(plane, sitter, random); break;
    default: Foliage(plane, sitter, random); break;
  }
  Blur(plane, random.Between(0.5f, 1.6f));
}

// Points of light out of focus: discs with rather sharp edges.
void Lights(Plane& plane, const Sitter& sitter, Random& random) {
  const float radius = random.Between(0.04f, 0.12f) * sitter.faceWidth;
  for (int i = 5 + random.Below(20); i > 0; --i) {
    const float x = random.Between(0, 1) * static_cast<float>(plane.width);
    const float y = random.Between(0, 1) * static_cast<float>(plane.height), strength = random.Between(0.2f, 0.9f);
    const Colour colour{random.Between(120, 250), random.Between(170, 250), random.Between(200, 250)};
    ForPixels(plane, [&](float px, float py, float* pixel) {
      const float away = std::sqrt((px - x) * (px - x) + (py - y) * (py - y));
      const float share = strength * (1 - Smooth(radius - 2, radius + 2, away));
      if (share > 0) Put(pixel, Mix({pixel[0], pixel[1], pixel[2]}, colour, share));
    });
  }
}

// Furniture, windows and lamps as blurred patches.
void Room(Plane& plane, const Sitter& sitter, Random& random) {
  const int count = 10 + random.Below(14);
  for (int i = 0; i < count; ++i) {
    const Colour wall = RandomWall(random), window{235, 245, 250};
    const Colour colour = random.Chance(0.2f) ? window : wall * random.Between(0.4f, 1.0f);
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
  if (random.Chance(0.35f)) Lights(plane, sitter, random);
}

// How far the surroundings of the head are from the hair's colour, in levels, on the mean.
float FromHair(const Plane& plane, const Sitter& sitter) {
  const auto inside = [](float place, int size) { return std::clamp(static_cast<int>(place), 0, size); };
  const float w = sitter.faceWidth;
  const int bottom = inside(sitter.centreY + 0.5f * w, plane.height), right = inside(sitter.centreX + w, plane.width);
  double sum = 0;
  int count = 0;
  for (int y = inside(sitter.centreY - 1.3f * w, plane.height); y < bottom; y += 4) {
    for (int x = inside(sitter.centreX - w, plane.width); x < right; x += 4, ++count) {
      const float* pixel = plane.At(x, y);
      sum += static_cast<double>(Apart({pixel[0], pixel[1], pixel[2]}, sitter.hair));
    }
  }
  return count > 0 ? static_cast<float>(sum / count) : 0;
}

}  // namespace

Plane DrawBackdrop(Backdrop kind, const Plane& person, const Sitter& sitter, Random& random) {
  Plane plane(person.width, person.height, 3);
  for (int tries = 0; tries < 12; ++tries) {
    Wall(plane, WallBehind(sitter, random), random);
    switch (kind) {
      case Backdrop::kPlain: break;
      case Backdrop::kShadowed: CastShadow(plane, person, sitter, random); break;
      case Backdrop::kTwoColoured: TwoColours(plane, sitter, random); break;
      case Backdrop::kTextured: Texture(plane, sitter, random); break;
      case Backdrop::kOutOfFocus: Room(plane, sitter, random); break;
    }
    if (FromHair(plane, sitter) > 45) break;
  }
  for (float& level : plane.values) level = std::clamp(level, 0.0f, 253.0f);
  return plane;
}

}  // namespace qx::bench::hair
