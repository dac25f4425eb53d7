#include "bench/hair/strands.h"

#include <cmath>

namespace qx::bench::hair {
namespace {

constexpr Place kSkull{0, -0.36f};  // its centre
constexpr float kSkullX = 0.455f, kSkullY = 0.50f;

float Length(Place p) {
  return std::sqrt(p.x * p.x + p.y * p.y);
}

Place Unit(Place p) {
  return p * (1 / std::max(1e-6f, Length(p)));
}

// The hairline: the lowest place of the scalp at x.
float Hairline(float x) {
  const float t = std::fabs(x) / 0.42f;
  return -0.60f + 0.10f * t * t + 0.30f * Smooth(0.8f, 1.05f, t);
}

}  // namespace

Hair::Hair(const Sitter& sitter, HairKind kind, HairColour colour, Random& random)
    : sitter_(sitter), kind_(kind), colour_(colour), random_(random) {
  auto draw = [&](float low, float high) { return random.Between(low, high); };
  parting_ = draw(-0.2f, 0.2f);
  volume_ = draw(0.05f, 0.13f);
  length_ = draw(-0.1f, 0.75f);
  spread_ = draw(-0.08f, 0.06f);
  wave_ = draw(0, 0.012f);
  waves_ = draw(1, 3);
  frizz_ = draw(0.002f, 0.006f);
  width_ = draw(1.1f, 2.2f);
  mottle_ = colour == HairColour::kGrey ? 0.38f : draw(0.12f, 0.24f);
  shine_ = draw(0.25f, 0.8f);
  locks_ = random.Bits();
  curl_ = draw(0.016f, 0.042f), dense_ = static_cast<int>(draw(800, 1500));
  fringe_ = random.Chance(0.4f);
  knotAbove_ = random.Chance(0.65f);
  const float side = random.Chance(0.5f) ? 1.0f : -1.0f;
  knotRadius_ = draw(0.17f, 0.28f);
  knot_ = knotAbove_ ? Place{draw(-0.15f, 0.15f), -0.88f - 0.55f * knotRadius_}
                     : Place{side * draw(0.40f, 0.52f), draw(-0.2f, 0.25f)};
  if (kind == HairKind::kCompact)
    length_ = random.Chance(0.5f) ? draw(-0.3f, -0.15f) : draw(0.2f, 0.5f), frizz_ = 0.001f;
  if (kind == HairKind::kLoose)
    wave_ = draw(0.015f, 0.04f), frizz_ = draw(0.01f, 0.022f), width_ = draw(0.7f, 1.5f), length_ = draw(0.1f, 0.9f),
    volume_ = draw(0.08f, 0.16f);
  if (kind == HairKind::kLong)
    length_ = draw(1.0f, 1.8f), wave_ = draw(0.0f, 0.04f), frizz_ = draw(0.003f, 0.012f), spread_ = draw(0, 0.16f);
  if (kind == HairKind::kBun) volume_ = draw(0.01f, 0.04f), fringe_ = false, frizz_ = 0.003f;
  if (kind == HairKind::kCurls) mottle_ *= 0.4f, shine_ *= 0.5f;
  if (kind == HairKind::kShort) volume_ = draw(0.0f, 0.06f), fringe_ = false;
}

Line Hair::Placed(const Line& line) const {
  Line placed;
  placed.reserve(line.size());
  for (const Place& p : line) placed.push_back(sitter_.At(p.x, p.y));
  return placed;
}

Line Hair::Hanging(float side, float depth, float end) {
  const float foot = -0.22f;
  // What reaches farther than the compact hair leaves it only from the ears on.
  const float close = std::min(depth, 1.0f) + 0.12f * std::max(0.0f, depth - 1);
  const float reach = 0.40f + (0.06f + volume_) * close, farther = 0.2f * (depth - close);
  const float top = -0.60f - (0.26f + 0.85f * volume_) * close;
  const float lock = Noise(depth * 9 + side * 31, 3, locks_), lock2 = Noise(depth * 14 + side * 57, 8, locks_);
  const float phase = 0.5f * lock + random_.Between(-0.06f, 0.06f);
  const float stray = random_.Normal() * frizz_,
              root = parting_ + 0.03f * random_.Normal() * std::min(1.0f, 100 * frizz_);
  Line line;
  constexpr int kTurn = 12;
  for (int i = 0; i <= kTurn; ++i) {
    const float part = static_cast<float>(i) / kTurn, out = SineTurn(0.25f * part);
    const float up = std::sqrt(std::max(0.0f, CosineTurn(0.25f * part))), grown = stray * part;
    line.push_back({root + (side * reach - root) * out + side * (grown + 0.01f * lock * out),
                    foot + (top - foot) * up * (0.35f + 0.65f * up) - 0.5f * grown});
  }
  const int steps = std::max(2, static_cast<int>((end - foot) / 0.035f));
  const float drift = random_.Normal() * frizz_ * 2;
  for (int i = 1; i <= steps; ++i) {
    const float t = static_cast<float>(i) / static_cast<float>(steps), y = foot + (end - foot) * t;
    const float fall = y - foot;
    const float swing = wave_ * std::min(1.0f, fall * 3) * SineTurn(waves_ * fall + phase) + 0.02f * lock2 * t;
    const float away = farther * Smooth(-0.1f, 0.7f, fall) + spread_ * fall * std::min(depth, 1.3f);
    line.push_back(
        {side * (reach + away + 0.01f * lock + swing + stray) + drift * fall * fall + random_.Normal() * frizz_ * 0.25f,
         y});
  }
  return line;
}

Line Hair::Swept(float turn, float depth) {
  // turn -1 to 1: from the left ear over the forehead to the right one.
  const float x = 0.44f * std::clamp(turn * 1.25f, -1.0f, 1.0f);
  const float low = std::fabs(turn) > 0.8f ? (std::fabs(turn) - 0.8f) * 1.6f : 0.0f;
  const Place from{x, Hairline(x) + low};
  const float along = 0.13f * turn;  // the outline, where hair goes on behind the head
  const Place to = knotAbove_ ? Place{knot_.x * 0.7f, -0.87f - volume_}
                              : Place{kSkull.x + (kSkullX + volume_) * SineTurn(along),
                                      kSkull.y - (kSkullY + volume_) * CosineTurn(along)};
  const Place middle = (from + to) * 0.5f;
  const Place out = Unit(middle - kSkull);
  const Place rim{kSkull.x + out.x * (kSkullX + volume_), kSkull.y + out.y * (kSkullY + volume_)};
  const float share = std::fabs(turn) > 0.75f ? 0.35f + 0.65f * depth : 0.6f * std::fabs(turn);
  const Place bulge = middle + (rim - middle) * share;
  Line line;
  for (int i = 0; i <= 14; ++i) {
    const float t = static_cast<float>(i) / 14, a = (1 - t) * (1 - t), b = 2 * t * (1 - t), c = t * t;
    const Place control = bulge * 2 - middle;
    line.push_back(from * a + control * b + to * c + Place{random_.Normal(), random_.Normal()} * (0.15f * frizz_));
  }
  return line;
}

Line Hair::Standing(Place root, float length) {
  Place way = Unit({(root.x - kSkull.x) / kSkullX, (root.y - kSkull.y) / kSkullY});
  const float comb = 0.7f + 0.6f * Noise(root.x * 3, root.y * 3, locks_);
  way = Unit(way + Place{(root.x > parting_ ? 1.0f : -1.0f) * comb, -0.2f} +
             Place{random_.Normal(), random_.Normal()} * 0.25f);
  Line line{root};
  Place at = root;
  for (int i = 0; i < 5; ++i) {
    at = at + way * (length / 5);
    way = Unit(way + Place{random_.Normal() * 0.1f, 0.12f});
    line.push_back(at);
  }
  return line;
}

Line Hair::Curled(const Line& way, float radius, float turns) {
  Line line;
  const float phase = random_.Between(0, 1);
  const int count = static_cast<int>(turns * 14) + 2;
  for (int i = 0; i < count; ++i) {
    const float t = static_cast<float>(i) / static_cast<float>(count - 1);
    const float at = t * static_cast<float>(way.size() - 1);
    const auto k = std::min(static_cast<size_t>(at), way.size() - 2);
    const Place on = way[k] + (way[k + 1] - way[k]) * (at - static_cast<float>(k));
    const float r = radius * std::min(1.0f, 4 * t) * (0.8f + 0.4f * t), turn = phase + turns * t;
    line.push_back(on + Place{r * CosineTurn(turn), 0.8f * r * SineTurn(turn)});
  }
  return line;
}

void Hair::Draw(StrandPainter& painter, const Line& line, float root, float tip, float opacity, float shade) {
  const float own = shade * (1 + mottle_ * random_.Normal());
  const bool grey = colour_ == HairColour::kGrey || colour_ == HairColour::kWhite;
  const float warm = (grey ? 0.015f : 0.05f) * random_.Normal();
  const bool bright = colour_ == HairColour::kGrey && random_.Chance(kind_ == HairKind::kCurls ? 0.1f : 0.3f);
  const Colour base = bright ? Mix(sitter_.hair, {225, 228, 230}, 0.6f) : sitter_.hair;
  const float at = random_.Between(0.22f, 0.34f), gleam = shine_ * random_.Between(0.5f, 1.2f);
  const float dark = colour_ == HairColour::kBlack ? 2.2f : 1.0f;  // black hair shines most
  painter.Draw(Placed(line), root, tip, opacity, Stuff::kHair, [&](float along) {
    const float light = own * (1 + gleam * dark * Bell((along - at) / 0.1f) - 0.15f * along);
    const Colour c = base * light;
    auto hold = [](float level) { return std::clamp(level, 3.0f, 250.0f); };
    return Colour{hold(c.b * (1 - warm)), hold(c.g), hold(c.r * (1 + warm))};
  });
}

void Hair::Mass(Plane& layer, float end, float inset) {
  const float stray = frizz_, wave = wave_;
  frizz_ = 0;
  Line shape = Hanging(-1, 1 - inset, end);
  const Line right = Hanging(1, 1 - inset, end);
  Line innerRight = Hanging(1, -0.05f, end), innerLeft = Hanging(-1, -0.05f, end);
  frizz_ = stray, wave_ = wave;
  std::reverse(shape.begin(), shape.end());
  shape.insert(shape.end(), right.begin(), right.end());
  shape.insert(shape.end(), innerRight.rbegin(), innerRight.rend());
  shape.insert(shape.end(), innerLeft.begin(), innerLeft.end());
  FillShape(layer, Placed(shape), Stuff::kHair,
            [&](float x, float y) { return sitter_.hair * (0.5f + 0.12f * Noise(x * 0.08f, y * 0.01f, locks_)); });
}

void Hair::DrawHanging(StrandPainter& painter, float side, float depth, float end, float shade) {
  const Line line = Hanging(side, depth, std::max(-0.2f, end));
  if (depth > 0.9f) outer_.push_back(line);
  const float lit = 1 + 0.12f * side * sitter_.light;
  const float width = width_ * random_.Between(0.75f, 1.3f);
  Draw(painter, line, width, width * 0.5f, random_.Between(0.75f, 1), lit * shade);
}

// Beyond the compact hair, each lock with waves of its own: the wall is seen between them.
void Hair::LooseLocks(StrandPainter& painter, int locks, float end) {
  const float wave = wave_, spread = spread_, waves = waves_, frizz = frizz_;
  for (int i = 0; i < locks; ++i) {
    const float side = random_.Chance(0.5f) ? 1.0f : -1.0f, out = random_.Between(0, 1);
    const float middle = 0.85f + (kind_ == HairKind::kLong ? 0.7f : 1.2f) * out * out,
                shade = random_.Between(0.75f, 1.1f);
    const float low = end + random_.Between(-0.25f, 0.08f);
    wave_ = wave * random_.Between(0.4f, 2.2f), waves_ = waves * random_.Between(0.7f, 1.6f);
    spread_ = spread + random_.Between(-0.05f, 0.16f);
    frizz_ = frizz * random_.Between(0.2f, 0.8f);
    const int hairs = 1 + random_.Below(random_.Chance(0.5f) ? 4 : 14);
    for (int hair = 0; hair < hairs; ++hair) {
      const float depth = middle + 0.05f * random_.Normal();
      DrawHanging(painter, side, depth, low + 0.04f * random_.Normal(), shade);
    }
  }
  wave_ = wave, spread_ = spread, waves_ = waves, frizz_ = frizz;
}

void Hair::HangingHair(Plane& layer, int count, float end) {
  const bool compact = kind_ == HairKind::kCompact;
  Mass(layer, end - 0.12f, kind_ == HairKind::kLoose ? 0.5f : compact ? 0.15f : 0.3f);
  StrandPainter painter(layer);
  if (!compact) LooseLocks(painter, 30 + random_.Below(80), end);
  for (int i = 0; i < count; ++i) {
    const float part = static_cast<float>(i) / static_cast<float>(count);
    const float side = i % 2 == 0 ? 1.0f : -1.0f;
    float depth = 1 - part + 0.05f * random_.Normal();
    if (depth > 1) depth = 1 - (compact ? 0.3f : -0.8f) * (depth - 1);
    const float lock = Noise(depth * 11 + side * 17, 1, locks_);
    DrawHanging(painter, side, depth, end + 0.06f * lock + random_.Normal() * (0.01f + 3 * frizz_),
                0.82f + 0.2f * lock);
  }
}

void Hair::Fringe(Plane& layer) {
  StrandPainter painter(layer);
  const float end = random_.Between(-0.38f, -0.28f);
  const float sweep = random_.Between(-0.12f, 0.12f);
  for (int i = 0; i < 900; ++i) {
    const float x = random_.Between(-0.40f, 0.40f), top = -0.80f + 0.5f * x * x;
    Line line;
    for (int k = 0; k <= 8; ++k) {
      const float t = static_cast<float>(k) / 8;
      line.push_back({x * (0.75f + 0.28f * t) + sweep * t * t + random_.Normal() * frizz_ * 0.3f,
                      top + (end + 0.05f * Noise(x * 14, 2, locks_) - top) * t});
    }
    Draw(painter, line, width_, width_ * 0.4f, 0.9f, 0.9f + 0.2f * Noise(x * 12, 5, locks_));
  }
}

void Hair::SweptHair(Plane& layer) {
  Line shape;
  for (int i = 0; i <= 24; ++i) {
    const float turn = -0.30f + 0.60f * static_cast<float>(i) / 24;
    shape.push_back({kSkull.x + (kSkullX + volume_ * 0.6f) * SineTurn(turn),
                     kSkull.y - (kSkullY + volume_ * 0.6f) * CosineTurn(turn)});
  }
  for (int i = 20; i >= -20; --i) {
    const float x = 0.42f * static_cast<float>(i) / 20;
    shape.push_back({x, Hairline(x)});
  }
  FillShape(layer, Placed(shape), Stuff::kHair, [&](float, float) { return sitter_.hair * 0.6f; });
  StrandPainter painter(layer);
  for (int i = 0; i < 2600; ++i) {
    const float turn = random_.Between(-1, 1);
    const Line line = Swept(turn, random_.Between(0, 1));
    if (std::fabs(turn) > 0.8f) outer_.push_back(line);
    Draw(painter, line, width_, width_ * 0.8f, 0.85f,
         0.85f + 0.2f * Noise(turn * 20, 1, locks_) + 0.1f * turn * sitter_.light);
  }
}

void Hair::Knot(Plane& layer, Place centre, float radius) {
  const float flat = random_.Between(0.75f, 1);
  Line shape;
  for (int i = 0; i < 24; ++i) {
    const float turn = static_cast<float>(i) / 24;
    shape.push_back(centre + Place{radius * 0.93f * CosineTurn(turn), radius * flat * 0.93f * SineTurn(turn)});
  }
  FillShape(layer, Placed(shape), Stuff::kHair, [&](float, float) { return sitter_.hair * 0.5f; });
  StrandPainter painter(layer);
  for (int i = 0; i < 1100; ++i) {
    const float r = radius * std::sqrt(random_.Between(0.01f, 1.05f)), start = random_.Between(0, 1);
    const float squeeze = random_.Between(0.8f, 1), arc = random_.Between(0.1f, 0.45f);
    const float lean = 0.12f * Noise(r * 30, start * 3, locks_);
    Line line;
    for (int k = 0; k <= 12; ++k) {
      const float turn = start + arc * static_cast<float>(k) / 12;
      const float rr = r * (1 + lean * static_cast<float>(k) / 12) + 0.3f * frizz_ * random_.Normal();
      line.push_back(centre + Place{rr * CosineTurn(turn), rr * flat * squeeze * SineTurn(turn)});
    }
    if (r > 0.9f * radius) outer_.push_back(line);
    const float lit = 1 - 0.35f * (line[6].y - centre.y) / radius;
    Draw(painter, line, width_, width_ * 0.7f, 0.9f, lit * (0.85f + 0.25f * Noise(r * 40, start * 6, locks_)));
  }
}

Place Hair::OnScalp() {
  for (int tries = 0; tries < 100; ++tries) {
    const Place p{random_.Between(-0.46f, 0.46f), random_.Between(-0.88f, -0.18f)};
    const Place q{(p.x - kSkull.x) / kSkullX, (p.y - kSkull.y) / kSkullY};
    if (q.x * q.x + q.y * q.y < 1 && p.y < Hairline(p.x)) return p;
  }
  return {0, -0.8f};
}

void Hair::ShortHair(Plane& layer) {
  const int baldness = random_.Below(3);  // 0 none, 1 only a rim of hair, 2 stubble
  if (baldness == 0 || baldness == 2) {
    Line shape;
    const float over = baldness == 0 ? volume_ * 0.5f : 0.0f;
    for (int i = 0; i <= 24; ++i) {
      const float turn = -0.27f + 0.54f * static_cast<float>(i) / 24;
      shape.push_back({kSkull.x + (kSkullX + over) * SineTurn(turn), kSkull.y - (kSkullY + over) * CosineTurn(turn)});
    }
    for (int i = 20; i >= -20; --i)
      shape.push_back({0.021f * static_cast<float>(i), Hairline(0.021f * static_cast<float>(i))});
    const float cover = baldness == 0 ? 0.75f : 0.35f;
    FillShape(layer, Placed(shape), Stuff::kHair, [&](float x, float y) {
      return Mix(sitter_.skin, sitter_.hair, cover + 0.12f * Noise(x * 0.3f, y * 0.3f, locks_)) * (1 - 0.1f * cover);
    });
  }
  StrandPainter painter(layer);
  const float length = baldness == 2 ? 0.022f : 0.02f + volume_;
  const int count = baldness == 1 ? 4000 : 6000;
  for (int i = 0; i < count; ++i) {
    const Place root = OnScalp();
    if (baldness == 1 && (std::fabs(root.x) < 0.40f || root.y < -0.62f)) continue;
    const Line line = Standing(root, length * random_.Between(0.6f, 1.25f));
    const float width = random_.Between(0.8f, 1.5f);
    Draw(painter, line, width, 0.5f, random_.Between(0.6f, 1), 0.9f + 0.2f * Noise(root.x * 20, root.y * 20, locks_));
  }
}

void Hair::CurlyHair(Plane& layer, bool behind) {
  const float size = volume_ * 1.9f, drop = std::max(0.0f, length_) * 0.6f, under = 0.6f + 25 * wave_;
  Line shape;
  for (int i = 0; i < 30; ++i) {
    const float turn = static_cast<float>(i) / 30, out = under * size;
    const float y = -CosineTurn(turn);
    shape.push_back({(kSkullX + out) * SineTurn(turn), kSkull.y + y * (kSkullY + out) + (y > 0 ? y * drop * 0.6f : 0)});
  }
  if (behind) FillShape(layer, Placed(shape), Stuff::kHair, [&](float, float) { return sitter_.hair * 0.42f; });
  StrandPainter painter(layer);
  for (int i = 0; i < (behind ? dense_ : 800); ++i) {
    Place root, way;
    if (behind) {
      const float turn = random_.Between(-0.5f, 0.5f), y = -CosineTurn(turn);
      root = {kSkullX * SineTurn(turn), kSkull.y + y * kSkullY + (y > 0 ? y * drop * 0.7f : 0)};
      way = Unit({SineTurn(turn), y * 0.8f + 0.1f});
    } else {
      root = OnScalp();
      way = Unit(Place{(root.x - parting_) * 1.6f, root.y + 0.55f} + Place{random_.Normal(), random_.Normal()} * 0.3f);
      if (root.y > -0.5f || std::fabs(root.x) > 0.36f)
        way = Unit(Place{root.x > 0 ? 1.0f : -1.0f, 0.4f + 0.3f * random_.Normal()});
    }
    const float farther = behind ? (random_.Chance(0.15f) ? 1.5f : 1.0f) : 0.8f;
    const float length = (size + 0.07f) * farther * random_.Between(0.4f, 1.15f);
    Line middle{root};
    for (int k = 1; k <= 4; ++k) {
      middle.push_back(middle.back() + way * (length / 4));
      way = Unit(way + Place{0, 0.16f} + Place{random_.Normal(), random_.Normal()} * 0.15f);
    }
    const float radius = curl_ * random_.Between(0.6f, 1.3f),
                shade = random_.Between(0.78f, 1.1f) * (behind ? 0.85f : 1.0f);
    const float turns = random_.Between(0.3f, 0.6f) * length / radius;
    const Line curl = Curled(middle, radius, std::clamp(turns, 1.0f, 6.0f));
    if (behind) outer_.push_back(curl);
    const int hairs = 1 + random_.Below(5);
    for (int hair = 0; hair < hairs; ++hair) {
      Line one = curl;
      const Place shift = Place{random_.Normal(), random_.Normal()} * 0.004f;
      for (Place& p : one) p = p + shift + Place{random_.Normal(), random_.Normal()} * 0.0012f;
      Draw(painter, one, width_ * 1.1f, width_ * 0.7f, 0.9f, shade);
    }
  }
}

// A single hair from a place of the outline.
Line Hair::Stray(Place at, Place along, float length) {
  const Place out = Unit(at - Place{0, std::clamp(at.y, -0.36f, 0.6f)});
  Place way = Unit(Unit(along) + out * random_.Between(0.1f, 1.0f));
  float bend = 0.16f * random_.Normal();
  Line line{at};
  for (int step = 0; step < 16; ++step) {
    at = at + way * (length / 16);
    way = Unit(way + Place{-way.y, way.x} * (bend + 0.10f * random_.Normal()) + Place{0, 0.03f});
    if (step == 7 && random_.Chance(0.3f)) bend = -bend;
    line.push_back(at);
  }
  return line;
}

// Long ones here and there, and short fine ones, the haze round most heads.
void Hair::FlyAways(Plane& layer, int count, int haze) {
  if (outer_.empty()) return;
  StrandPainter painter(layer);
  for (int i = 0; i < count + haze; ++i) {
    const Line& from = outer_[static_cast<size_t>(random_.Below(static_cast<int>(outer_.size())))];
    const auto k = static_cast<size_t>(random_.Below(static_cast<int>(from.size()) - 1));
    const Place at = from[k];
    const float u = at.x / 0.44f, v = (at.y + 0.05f) / 0.62f;
    if (u * u + v * v < 1 || (std::fabs(at.x) < 0.4f && at.y > 0)) continue;  // would hang in the face
    const bool fine = i >= count;
    const float longer = random_.Chance(0.4f) ? 2.4f : 1.0f;
    const float length = fine ? random_.Between(0.02f, 0.09f) : longer * random_.Between(0.06f, 0.22f);
    const Line line = Stray(at, from[k + 1] - at, length);
    const float width = random_.Between(0.5f, fine ? 0.8f : 1.25f);
    const float opacity = random_.Between(0.3f, fine ? 0.7f : 1.0f);
    Draw(painter, line, width, width * 0.6f, opacity, random_.Between(0.85f, 1.35f));
  }
}

void Hair::DrawBehind(Plane& layer) {
  if (kind_ == HairKind::kCurls) CurlyHair(layer, true);
  if (kind_ == HairKind::kBun) Knot(layer, knot_, knotRadius_);
  const bool falls = kind_ == HairKind::kCompact || kind_ == HairKind::kLoose || kind_ == HairKind::kLong;
  if (!falls || length_ < 0) return;
  // Behind the neck: darker.
  const float low = std::min(length_, 1.0f) - 0.05f;
  Line shape = {{-0.44f, -0.4f}, {0.44f, -0.4f}, {0.43f, low}, {0, low + 0.02f}, {-0.43f, low}};
  FillShape(layer, Placed(shape), Stuff::kHair,
            [&](float x, float y) { return sitter_.hair * (0.36f + 0.08f * Noise(x * 0.2f, y * 0.015f, locks_)); });
  StrandPainter painter(layer);
  for (int i = 0; i < 700; ++i) {
    const float x = random_.Between(-0.47f, 0.47f), end = low + 0.05f + 0.05f * random_.Normal();
    Line line;
    for (int k = 0; k <= 10; ++k) {
      const float t = static_cast<float>(k) / 10;
      line.push_back(
          {x + 0.5f * wave_ * SineTurn(waves_ * t + x * 3) + random_.Normal() * frizz_, -0.2f + (end + 0.2f) * t});
    }
    Draw(painter, line, width_, width_ * 0.6f, 0.9f, 0.5f);
  }
}

void Hair::DrawInFront(Plane& layer) {
  switch (kind_) {
    case HairKind::kCompact: HangingHair(layer, 3200, length_); break;
    case HairKind::kLoose: HangingHair(layer, 3000, length_); break;
    case HairKind::kLong: HangingHair(layer, 3600, length_); break;
    case HairKind::kCurls: CurlyHair(layer, false); break;
    case HairKind::kShort: ShortHair(layer); break;
    case HairKind::kBun: SweptHair(layer); break;
  }
  if (fringe_ && kind_ != HairKind::kCurls) Fringe(layer);
  const int most[] = {14, 480, 240, 0, 160, 520}, haze[] = {0, 1100, 600, 0, 700, 1000};
  const auto kind = static_cast<size_t>(kind_);
  const float share = random_.Between(0.25f, 1), hazy = random_.Between(0, 1);
  FlyAways(layer, static_cast<int>(static_cast<float>(most[kind]) * share),
           static_cast<int>(static_cast<float>(haze[kind]) * hazy));
}

}  // namespace qx::bench::hair
