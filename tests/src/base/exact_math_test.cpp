#include "base/exact_math.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>

namespace qx::exact {
namespace {

constexpr double kInfinity = std::numeric_limits<double>::infinity();

double CubeRootByPower(double x) {
  return Pow(x, 1.0 / 3.0);
}

// Arguments whose results lie nearest to the middle between two doubles, out of millions, with the double nearest to
// the value as it comes from 400 bits. The sum of two doubles with the short series rounds some the wrong way.
TEST(ExactMath, RoundsTheHardestArgumentsToTheNearestDouble) {
  const struct {
    double (*function)(double);
    double argument, nearest;
    bool odd = false;
  } cases[] = {
      {Exp, -0x1.99ae0bafa0c3bp+3, 0x1.719ef7b9d827cp-19},
      {Exp, 0x1.1733e84c7e280p-2, 0x1.503e677ea701fp+0},
      {Exp, 0x1.0076f6f4c3310p+4, 0x1.172ca071fbebbp+23},
      {Log, 0x1.93062238664b5p-1, -0x1.ea251e7ed5d59p-3},
      {Log, 0x1.569d4a18a0456p-1, -0x1.9b5c37fbccc43p-2},
      {Log, 0x1.ec514d6927f4cp+0, 0x1.4ed2159aa0ca4p-1},
      {CubeRootByPower, 0x1.912965f53ed69p-1, 0x1.d803190a81bdfp-1},
      {CubeRootByPower, 0x1.6a620c0ab0556p-1, 0x1.c848e26d51abfp-1},
      {CubeRootByPower, 0x1.fabc4d9383cb6p-2, 0x1.94fa215d7da42p-1},
      {Sin, 0x1.32fb3c68b7500p-6, 0x1.32f6a34c5d4f5p-6, true},
      {Sin, 0x1.858661f907200p-6, 0x1.857cfd277ba81p-6, true},
      {Sin, 0x1.1ec5d6473f0d0p-1, 0x1.100316de73a0ep-1, true},
      {Cos, -0x1.065e044c5ad98p+2, -0x1.26863159105f4p-1},
      {Cos, -0x1.7ee08dd5b0442p+2, 0x1.e90591d8cd359p-1},
      {Cos, 0x1.84a1259125848p+1, -0x1.fd2847fcd53d0p-1},
      {Tan, 0x1.66c9332f14414p+0, 0x1.766f115fe94f9p+2, true},
      {Tan, -0x1.273598c2b4be8p-2, -0x1.2fab4c307e780p-2, true},
      {Tan, -0x1.1e784cca395f1p-1, -0x1.40a65f64c1239p-1, true},
      {Asin, 0x1.ea5e2835e3a4ep-2, 0x1.ff5b84978f327p-2, true},
      {Asin, 0x1.ba8d868cf3a5dp-1, 0x1.0b3b9b843ce4dp+0, true},
      {Asin, 0x1.b87494b9a8e62p-1, 0x1.092968ec089f7p+0, true},
      {Atan, 0x1.6bcfb8e1fdf08p-1, 0x1.3c4e360098d8ep-1, true},
      {Atan, 0x1.d53583e648b48p+0, 0x1.1243395585d82p+0, true},
      {Atan, 0x1.f36d64bfee69dp+1, 0x1.51e52c42a1e71p+0, true},
  };
  for (const auto& c : cases) {
    EXPECT_EQ(c.function(c.argument), c.nearest) << &c - cases;
    if (c.odd) {
      EXPECT_EQ(c.function(-c.argument), -c.nearest) << &c - cases;
    }
  }
}

// Every power of two and the numbers around it, every table's point and every quadrant.
TEST(ExactMath, LiesWithinAFewUnitsOfTheCLibrary) {
  const auto near = [](double ours, double library, double units) {
    const double unit = std::nextafter(std::fabs(library), kInfinity) - std::fabs(library);
    return ours == library || std::fabs(ours - library) <= units * unit;
  };
  for (int i = -4000; i <= 4000; ++i) {
    const double angle = i * 0.0077, power = std::ldexp(1 + (i & 63) / 64.0, i / 4);
    EXPECT_TRUE(near(Sin(angle), std::sin(angle), 1)) << angle;
    EXPECT_TRUE(near(QuickSin(angle), std::sin(angle), 3)) << angle;
    EXPECT_TRUE(near(Cos(angle), std::cos(angle), 1)) << angle;
    EXPECT_TRUE(near(Tan(angle), std::tan(angle), 1)) << angle;
    EXPECT_TRUE(near(Sin(angle * 800), std::sin(angle * 800), 1)) << angle;
    EXPECT_TRUE(near(Atan2(std::sin(angle) * power, std::cos(angle) * power),
                     std::atan2(std::sin(angle) * power, std::cos(angle) * power), 1))
        << angle;
    EXPECT_TRUE(near(Asin(i / 4000.0), std::asin(i / 4000.0), 1)) << i;
    EXPECT_TRUE(near(Atan(-power), std::atan(-power), 1)) << power;
    EXPECT_TRUE(near(Exp(i * 0.17), std::exp(i * 0.17), 1)) << i;
    EXPECT_TRUE(near(Log(power), std::log(power), 1)) << power;
    EXPECT_TRUE(near(Cbrt(power), std::cbrt(power), 4)) << power;
    EXPECT_TRUE(near(Pow(power, 0.3), std::pow(power, 0.3), 1)) << power;
    EXPECT_TRUE(near(Pow(i * i * 1e-5, 2.4), std::pow(i * i * 1e-5, 2.4), 1)) << i;
  }
  for (const double root : {3.0, -7.0, 0.5, 1e100}) EXPECT_EQ(Cbrt(root * root * root), root);
}

TEST(ExactMath, SinglePrecisionIsTheDoubleRoundedOnce) {
  const auto single = [](double x) { return static_cast<float>(x); };
  for (int i = -20000; i <= 20000; ++i) {
    const float x = static_cast<float>(i) * 0.000731f;
    const auto wide = static_cast<double>(x);
    EXPECT_EQ(Sin(x), single(Sin(wide))) << x;
    EXPECT_EQ(Tan(x), single(Tan(wide))) << x;
    EXPECT_EQ(Atan(x), single(Atan(wide))) << x;
    EXPECT_EQ(Exp(x), single(Exp(wide))) << x;
    EXPECT_TRUE(i <= 0 || Log(x) == single(Log(wide))) << x;
    const float sine = static_cast<float>(i) / 20000.0f;
    EXPECT_EQ(Asin(sine), single(Asin(static_cast<double>(sine)))) << sine;
  }
}

TEST(ExactMath, ZerosInfinitiesAndWhatHasNoResult) {
  const double specials[] = {0.0, -0.0, 1, -1, 2, kInfinity, -kInfinity, std::nan(""), 1e300, -1e-310};
  const auto same = [](double a, double b) {
    return (std::isnan(a) && std::isnan(b)) || (a == b && std::signbit(a) == std::signbit(b));
  };
  for (const double x : specials) {
    EXPECT_TRUE(same(Exp(x), std::exp(x))) << x;
    EXPECT_TRUE(same(Log(x), std::log(x)) || std::isfinite(x)) << x;
    EXPECT_TRUE(same(Asin(x), std::asin(x))) << x;
    for (const double y : specials) EXPECT_TRUE(same(Atan2(y, x), std::atan2(y, x))) << y << " " << x;
    EXPECT_EQ(std::isnan(Sin(x)), !(std::fabs(x) < 25000)) << x;
    const auto single = static_cast<float>(x);
    EXPECT_TRUE(same(Atan(single), std::atan(single))) << x;
    EXPECT_TRUE(same(Exp(single), std::exp(single))) << x;
    EXPECT_EQ(std::isnan(Log(single)), std::isnan(std::log(single))) << x;
    EXPECT_EQ(std::isnan(Tan(single)), !(std::fabs(x) < 25000)) << x;
  }
  EXPECT_TRUE(same(Log(1.0), 0.0));
  EXPECT_TRUE(same(Sin(-0.0), -0.0));
  EXPECT_EQ(Pow(0, 0.3), 0);
  EXPECT_EQ(Pow(0, -1), kInfinity);
  EXPECT_EQ(Pow(4, 0.5), 2);
  EXPECT_TRUE(std::isnan(Pow(-1, 2)));
  EXPECT_EQ(Cbrt(-kInfinity), -kInfinity);
  EXPECT_EQ(Exp(-745.2), 0);
  EXPECT_GT(Exp(-745.1), 0);  // the least that there is
}

}  // namespace
}  // namespace qx::exact
