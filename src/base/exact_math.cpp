#include "base/exact_math.h"

#include <cmath>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <limits>
#include <utility>

namespace qx::exact {
namespace {

// The unevaluated sum of two doubles, of which the first is the nearest to it.
struct Pair {
  double hi, lo;
};

// A number in three steps; products of the first two with whole numbers below 2^19 are exact.
struct Split {
  double first, second;
  Pair rest;
};

#include "base/exact_math_tables.inc"

constexpr double kNan = std::numeric_limits<double>::quiet_NaN();
constexpr double kInfinity = std::numeric_limits<double>::infinity();

// The nearest whole number to one of at most 2^50 either way.
double Whole(double x) {
  constexpr double kOnesBegin = 0x1.8p52;  // from here on fractions are rounded away
  return (x + kOnesBegin) - kOnesBegin;
}

// ---- Sums of two doubles

// |a| is at least |b|, or a is 0.
Pair QuickSum(double a, double b) {
  const double sum = a + b;
  return {sum, b - (sum - a)};
}

Pair Sum(double a, double b) {
  const double sum = a + b, rest = sum - a;
  return {sum, (a - (sum - rest)) + (b - rest)};
}

Pair Product(double a, double b) {
  constexpr double kSplitter = 134217729;  // 2^27 + 1
  const double p = a * b;
  const double ca = kSplitter * a, cb = kSplitter * b;
  const double ah = ca - (ca - a), bh = cb - (cb - b), al = a - ah, bl = b - bh;
  return {p, ((ah * bh - p) + ah * bl + al * bh) + al * bl};
}

double Add(double a, double b) {
  return a + b;
}
Pair Add(Pair a, Pair b) {
  const Pair s = Sum(a.hi, b.hi), t = Sum(a.lo, b.lo);
  const Pair u = QuickSum(s.hi, s.lo + t.hi);
  return QuickSum(u.hi, u.lo + t.lo);
}

double Times(double a, double b) {
  return a * b;
}
Pair Times(Pair a, Pair b) {
  const Pair p = Product(a.hi, b.hi);
  return QuickSum(p.hi, p.lo + (a.hi * b.lo + a.lo * b.hi));
}

double Minus(double a) {
  return -a;
}
Pair Minus(Pair a) {
  return {-a.hi, -a.lo};
}

double Over(double a, double b) {
  return a / b;
}
Pair Over(Pair a, Pair b) {
  const double q = a.hi / b.hi;
  const Pair rest = Add(a, Minus(Times({q, 0}, b)));
  return QuickSum(q, rest.hi / b.hi);
}

double Root(double a) {
  return std::sqrt(a);
}
Pair Root(Pair a) {
  const double root = std::sqrt(a.hi);
  if (root == 0) return {0, 0};
  const Pair rest = Add(a, Minus(Product(root, root)));
  return QuickSum(root, rest.hi / (2 * root));
}

double Head(double a) {
  return a;
}
double Head(Pair a) {
  return a.hi;
}

// ---- How exactly something is computed

double ShortSeries(const Pair* series, size_t terms, double z) {
  double sum = 0;
  for (size_t i = terms; i-- > 0;) sum = sum * z + series[i].hi;
  return sum;
}

// In doubles, for results in single precision.
struct Plain {
  using Number = double;
  static double Of(Pair p) { return p.hi; }
  static double Of(double d) { return d; }
  // r (1 + z (s0 + s1 z + ...)); so many terms are enough for 2^-70.
  template <size_t N>
  static double Expand(double r, double z, const Pair (&series)[N], size_t terms) {
    return r + r * (z * ShortSeries(series, terms, z));
  }
};

// As sums of two doubles but for the smallest terms: within 2^-64.
struct Short {
  using Number = Pair;
  static Pair Of(Pair p) { return p; }
  static Pair Of(double d) { return {d, 0}; }
  template <size_t N>
  static Pair Expand(Pair r, Pair z, const Pair (&series)[N], size_t terms) {
    return Add(r, {r.hi * (z.hi * ShortSeries(series, terms, z.hi)), 0});
  }
};

// All in sums of two doubles: within 2^-96.
struct Long {
  using Number = Pair;
  static Pair Of(Pair p) { return p; }
  static Pair Of(double d) { return {d, 0}; }
  template <size_t N>
  static Pair Expand(Pair r, Pair z, const Pair (&series)[N], size_t) {
    Pair sum = series[N - 1];
    for (size_t i = N - 1; i-- > 0;) sum = Add(Times(sum, z), series[i]);
    return Add(r, Times(r, Times(z, sum)));
  }
};

template <typename Way>
using Number = typename Way::Number;

// The double nearest to a value; `margin` is beyond the error of the short way, as a share of the value.
template <typename Value>
double Nearest(const Value& value, double margin = 0x1p-63) {
  const Pair quick = value(Short());
  const double width = std::fabs(quick.hi) * margin;
  const double below = quick.hi + (quick.lo - width), above = quick.hi + (quick.lo + width);
  return below == above ? below : value(Long()).hi;
}

// x less k steps.
template <typename Way>
Number<Way> Reduce(Number<Way> x, double k, const Split& step) {
  const Number<Way> rest = Add(Add(x, Way::Of(-k * step.first)), Way::Of(-k * step.second));
  return Add(rest, Minus(Times(Way::Of(k), Way::Of(step.rest))));
}

// ---- Powers of two

uint64_t BitsOf(double x) {
  uint64_t bits;
  std::memcpy(&bits, &x, sizeof bits);
  return bits;
}

double FromBits(uint64_t bits) {
  double x;
  std::memcpy(&x, &bits, sizeof x);
  return x;
}

// x times 2^e, |e| at most 2000.
double Scale(double x, int32_t e) {
  const int32_t half = e / 2;
  const auto power = [](int32_t n) { return FromBits(static_cast<uint64_t>(n + 1023) << 52); };
  return x * power(half) * power(e - half);
}

// ---- Exponential and logarithm

// How often exp halves or doubles, with the step of the table; beyond +-1100 all is 0 or infinite.
struct ExpSteps {
  double count;
  int32_t exponent;
  size_t step;

  explicit ExpSteps(double x) : count(Whole(x * 92.332482616893656877)) {  // 64 / ln 2
    const auto turned = static_cast<uint32_t>(static_cast<int32_t>(count) + (1 << 20));
    exponent = static_cast<int32_t>(turned / 64) - (1 << 14);
    step = turned % 64;
  }
};

// exp(x) without its exponent.
template <typename Way>
Number<Way> ExpOf(Number<Way> x, const ExpSteps& steps) {
  const Number<Way> r = Reduce<Way>(x, steps.count, kExpStep);
  const Number<Way> table = Way::Of(kExpTable[steps.step]);
  return Add(table, Times(table, Way::Expand(r, r, kExpSeries, 6)));
}

constexpr double kLargestExp = 720, kSmallestExp = -760;

// log(m 2^e), for m from sqrt(1/2) to sqrt(2).
template <typename Way>
Number<Way> LogOf(double m, double e) {
  const double point = Whole(m * 64);
  const double c = point / 64;
  const Number<Way> s = Over(Way::Of(m - c), Add(Way::Of(m), Way::Of(c)));
  const Number<Way> atanh = Way::Expand(s, Times(s, s), kAtanhSeries, 4);
  const Number<Way> fraction = Add(Way::Of(kLogTable[static_cast<size_t>(point) - 45]), Add(atanh, atanh));
  return Reduce<Way>(fraction, -e, kLn2);
}

struct Parts {
  double m, e;

  // x: positive and finite.
  explicit Parts(double x) : m(x), e(0) {
    if (x < 0x1p-1022) m *= 0x1p54, e = -54;
    e += static_cast<double>(BitsOf(m) >> 52) - 1023;
    m = FromBits((BitsOf(m) & 0xfffffffffffffu) | 0x3ff0000000000000u);
    if (m > 1.4140625) m /= 2, e += 1;
  }
};

// ---- Circle

template <typename T>
struct SineAndCosine {
  T sine, cosine;
};

// |x| at most 25,000.
template <typename Way>
SineAndCosine<Number<Way>> CircleOf(double x) {
  using N = Number<Way>;
  const double k = Whole(x * 20.371832715762602979);  // 64 / pi
  const auto turned = static_cast<uint32_t>(static_cast<int32_t>(k) + (1 << 20) + 16);
  const int32_t j = static_cast<int32_t>(turned % 32) - 16;
  const N r = Reduce<Way>(Way::Of(x), k, kTurnStep), z = Times(r, r), half = Times(z, Way::Of(-0.5));
  const N sine = Way::Expand(r, z, kSinSeries, 4), versed = Way::Expand(half, z, kCosSeries, 4);  // cos(r) - 1
  const auto at = static_cast<size_t>(j < 0 ? -j : j);
  const N c = Way::Of(kCosTable[at]), s = j < 0 ? Minus(Way::Of(kSinTable[at])) : Way::Of(kSinTable[at]);
  const N a = Add(s, Add(Times(c, sine), Times(s, versed)));
  const N b = Add(c, Add(Times(c, versed), Minus(Times(s, sine))));
  switch (turned / 32 % 4) {
    case 0: return {a, b};
    case 1: return {b, Minus(a)};
    case 2: return {Minus(a), Minus(b)};
    default: return {Minus(b), a};
  }
}

bool IsAngle(double x) {
  return std::fabs(x) <= 25000;
}

// The angle of the direction (x, y), neither below 0 and one above.
template <typename Way>
Number<Way> AngleOf(Number<Way> y, Number<Way> x) {
  const bool steep = Head(y) > Head(x);
  if (steep) std::swap(x, y);
  const double point = Whole(Head(y) / Head(x) * 64);
  const Number<Way> c = Way::Of(point / 64);
  const Number<Way> r = Over(Add(y, Minus(Times(c, x))), Add(x, Times(c, y)));
  const Number<Way> series = Way::Expand(r, Times(r, r), kAtanSeries, 5);
  const Number<Way> angle = Add(Way::Of(kAtanTable[static_cast<size_t>(point)]), series);
  return steep ? Add(Way::Of(kHalfPi), Minus(angle)) : angle;
}

// |tangents| beyond turn the angle by less than a double shows.
constexpr double kSteepest = 0x1p200;

// sine: 0 to 1.
template <typename Way>
Number<Way> AsinOf(double sine) {
  const Number<Way> one = Way::Of(1.0), s = Way::Of(sine);
  return AngleOf<Way>(s, Root(Times(Add(one, Minus(s)), Add(one, s))));
}

}  // namespace

double Exp(double x) {
  if (x != x) return x;
  if (x > kLargestExp) return kInfinity;
  if (x < kSmallestExp) return 0;
  const ExpSteps steps(x);
  return Scale(Nearest([&](auto way) { return ExpOf<decltype(way)>(way.Of(x), steps); }), steps.exponent);
}

float Exp(float x) {
  const auto wide = static_cast<double>(x);
  if (!(wide >= kSmallestExp && wide <= kLargestExp)) return static_cast<float>(Exp(wide));
  const ExpSteps steps(wide);
  return static_cast<float>(Scale(ExpOf<Plain>(wide, steps), steps.exponent));
}

double Log(double x) {
  if (!(x > 0)) return x == 0 ? -kInfinity : kNan;
  if (x == kInfinity) return x;
  const Parts parts(x);
  return Nearest([&](auto way) { return LogOf<decltype(way)>(parts.m, parts.e); });
}

float Log(float x) {
  const auto wide = static_cast<double>(x);
  if (!(wide > 0 && wide < kInfinity)) return static_cast<float>(Log(wide));
  const Parts parts(wide);
  return static_cast<float>(LogOf<Plain>(parts.m, parts.e));
}

double Pow(double x, double y) {
  if (!(x >= 0) || !(std::fabs(y) < kInfinity)) return kNan;
  if (y == 0) return 1;
  if (x == 0 || x == kInfinity) return (x == 0) == (y > 0) ? 0 : kInfinity;
  const Parts parts(x);
  const double rough = y * LogOf<Plain>(parts.m, parts.e);
  if (rough > kLargestExp) return kInfinity;
  if (rough < kSmallestExp) return 0;
  const ExpSteps steps(rough);
  const auto value = [&](auto way) {
    using Way = decltype(way);
    return ExpOf<Way>(Times(LogOf<Way>(parts.m, parts.e), way.Of(y)), steps);
  };
  // The logarithm's error counts as often as the exponent is large.
  return Scale(std::fabs(rough) <= 16 ? Nearest(value, 0x1p-60) : value(Long()).hi, steps.exponent);
}

double Cbrt(double x) {
  if (x == 0 || !(std::fabs(x) < kInfinity)) return x;
  const Parts parts(std::fabs(x));
  const double thirds = Whole(parts.e / 3);
  const double m = Scale(parts.m, static_cast<int32_t>(parts.e - 3 * thirds));   // 0.35 to 2.83
  double root = 0.4778602 + m * (0.7376724 + m * (-0.2495659 + m * 0.0377137));  // within 0.7 %
  for (int i = 0; i < 2; ++i) {                                                  // Halley
    const double cube = root * root * root;
    root *= (cube + 2 * m) / (2 * cube + m);
  }
  const Pair square = Product(root, root);
  const Pair rest = Add({m, 0}, Minus(Times(square, {root, 0})));
  const double nearest = root + rest.hi / (3 * square.hi);
  return Scale(x < 0 ? -nearest : nearest, static_cast<int32_t>(thirds));
}

double Sin(double x) {
  if (x == 0) return x;
  return IsAngle(x) ? Nearest([&](auto way) { return CircleOf<decltype(way)>(x).sine; }) : kNan;
}

float Sin(float x) {
  const auto wide = static_cast<double>(x);
  if (x == 0) return x;
  return static_cast<float>(IsAngle(wide) ? CircleOf<Plain>(wide).sine : kNan);
}

double QuickSin(double x) {
  return x == 0 ? x : IsAngle(x) ? CircleOf<Plain>(x).sine : kNan;
}

double Cos(double x) {
  return IsAngle(x) ? Nearest([&](auto way) { return CircleOf<decltype(way)>(x).cosine; }) : kNan;
}

double Tan(double x) {
  if (x == 0 || !IsAngle(x)) return x == 0 ? x : kNan;
  return Nearest([&](auto way) {
    const auto circle = CircleOf<decltype(way)>(x);
    return Over(circle.sine, circle.cosine);
  });
}

float Tan(float x) {
  const auto wide = static_cast<double>(x);
  if (x == 0 || !IsAngle(wide)) return x == 0 ? x : static_cast<float>(kNan);
  const auto circle = CircleOf<Plain>(wide);
  return static_cast<float>(circle.sine / circle.cosine);
}

double Asin(double sine) {
  const double size = std::fabs(sine);
  if (!(size <= 1)) return kNan;
  if (size < 0x1p-200) return sine;
  return std::copysign(Nearest([&](auto way) { return AsinOf<decltype(way)>(size); }), sine);
}

float Asin(float sine) {
  const double size = std::fabs(static_cast<double>(sine));
  if (!(size <= 1)) return static_cast<float>(kNan);
  return std::copysign(static_cast<float>(AsinOf<Plain>(size)), sine);
}

double Atan(double tangent) {
  return Atan2(tangent, 1);
}

float Atan(float tangent) {
  if (tangent != tangent) return tangent;
  const double size = std::fmin(std::fabs(static_cast<double>(tangent)), kSteepest);
  return std::copysign(static_cast<float>(AngleOf<Plain>(size, 1.0)), tangent);
}

double Atan2(double y, double x) {
  if (x != x || y != y) return x + y;
  double tall = std::fabs(y), wide = std::fabs(x);
  if (tall == kInfinity || wide == kInfinity) {
    const bool both = tall == wide;
    tall = tall == kInfinity || both ? 1 : 0;
    wide = tall == 0 || both ? 1 : 0;
  }
  if (tall == 0 && wide == 0) wide = 1;
  if (tall < wide / kSteepest && !std::signbit(x)) return std::copysign(tall / wide, y);
  if (tall < wide / kSteepest) tall = 0;
  if (wide < tall / kSteepest) wide = 0;
  const double larger = tall > wide ? tall : wide;
  const double scale = larger > 0x1p300 ? 0x1p-600 : larger < 0x1p-300 ? 0x1p600 : 1;
  tall *= scale, wide *= scale;
  const bool back = std::signbit(x);
  const double angle = Nearest([&](auto way) {
    using Way = decltype(way);
    const Pair front = AngleOf<Way>(way.Of(tall), way.Of(wide));
    return back ? Add(way.Of(kPi), Minus(front)) : front;
  });
  return std::copysign(angle, y);
}

}  // namespace qx::exact
