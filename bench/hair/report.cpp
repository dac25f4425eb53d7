#include "bench/hair/report.h"

#include <cmath>
#include <cstdio>
#include <fstream>
#include <functional>
#include <opencv2/imgcodecs.hpp>
#include <stdexcept>

namespace qx::bench::hair {
namespace {

using Figure = std::function<double(const Errors&)>;

double Mean(const std::vector<Row>& rows, bool now, const Figure& figure) {
  double sum = 0;
  for (const Row& row : rows) sum += figure(now ? row.now : row.before);
  return sum / static_cast<double>(rows.size());
}

double RatioOfSums(const std::vector<Row>& rows, const Figure& figure) {
  const double before = Mean(rows, false, figure);
  return before > 0 ? Mean(rows, true, figure) / before : 1;
}

double Ratio(const Row& row, const Figure& figure) {
  const double before = figure(row.before);
  return before > 0 ? figure(row.now) / before : 1;
}

double MeanRatio(const std::vector<Row>& rows, const Figure& figure) {
  double sum = 0;
  for (const Row& row : rows) sum += Ratio(row, figure);
  return sum / static_cast<double>(rows.size());
}

double Sad(const Errors& e) {
  return e.mask.sad;
}
double Mse(const Errors& e) {
  return e.mask.mse;
}
double Gradient(const Errors& e) {
  return e.mask.gradient;
}
double Connectivity(const Errors& e) {
  return e.mask.connectivity;
}
double Left(const Errors& e) {
  return e.mask.left;
}
double HairLost(const Errors& e) {
  return e.mask.hairLost;
}
double OverBlue(const Errors& e) {
  return e.colours.overBlue;
}
double OverWhite(const Errors& e) {
  return e.colours.overWhite;
}
double GivenOverBlue(const Errors& e) {
  return e.given.overBlue;
}

void PrintCompared(const char* name, const std::vector<Row>& rows) {
  double worst = 0;
  for (const Row& row : rows) worst = std::max(worst, Ratio(row, Sad));
  std::printf("| %s | %zu |", name, rows.size());
  for (const Figure& figure : {Figure(Sad), Figure(Mse), Figure(Gradient), Figure(Connectivity)}) {
    std::printf(" %.2f (%.2f) |", RatioOfSums(rows, figure), MeanRatio(rows, figure));
  }
  // Of the sums alone: in many a picture nothing is left, and its ratio says nothing.
  std::printf(" %.2f |", RatioOfSums(rows, Left));
  std::printf(" %.1f%% to %.1f%% |", 100 * Mean(rows, false, Left), 100 * Mean(rows, true, Left));
  std::printf(" %.0f%% to %.0f%% | %.2f |", 100 * Mean(rows, false, HairLost), 100 * Mean(rows, true, HairLost), worst);
  std::printf(" %.2f | %.2f | %.2f |\n", RatioOfSums(rows, OverBlue), RatioOfSums(rows, OverWhite),
              RatioOfSums(rows, GivenOverBlue));
}

void PrintAlone(const char* name, const std::vector<Row>& rows) {
  std::printf("| %s | %zu | %.0f | %.5f | %.0f | %.0f | %.2f%% | %.0f%% | %.2f | %.2f | %.2f |\n", name, rows.size(),
              Mean(rows, false, Sad), Mean(rows, false, Mse), Mean(rows, false, Gradient),
              Mean(rows, false, Connectivity), 100 * Mean(rows, false, Left), 100 * Mean(rows, false, HairLost),
              Mean(rows, false, OverBlue), Mean(rows, false, OverWhite), Mean(rows, false, GivenOverBlue));
}

void PrintHead(const char* first, bool compared) {
  if (compared) {
    std::printf(
        "| %s | pictures | SAD | MSE | gradient | connectivity | left | left, absolute | hair lost | worst SAD | "
        "over blue | over white | over blue, true mask |\n|---|---|---|---|---|---|---|---|---|---|---|---|---|\n",
        first);
  } else {
    std::printf(
        "| %s | pictures | SAD | MSE | gradient | connectivity | left | hair lost | over blue | over white | "
        "over blue, true mask |\n|---|---|---|---|---|---|---|---|---|---|---|\n",
        first);
  }
}

cv::Mat View(const photo::Image& image) {
  return {image.height, image.width, CV_8UC3, const_cast<uint8_t*>(image.bgr.data())};
}

photo::Image Grey(const photo::Mask& mask) {
  photo::Image image(mask.width, mask.height);
  for (size_t i = 0; i < image.bgr.size(); ++i) image.bgr[i] = mask.values[i / 3];
  return image;
}

std::string FileName(const std::string& folder, const Scene& scene, const char* ending) {
  char number[16];
  std::snprintf(number, sizeof number, "%05u", scene.seed);
  return folder + "/" + number + "-" + Name(scene.backdrop) + "-" + Name(scene.kind) + "-" + Name(scene.colour) +
         ending;
}

uint8_t ToByte(float level) {
  return static_cast<uint8_t>(static_cast<int>(std::clamp(level, 0.0f, 255.0f) + 0.5f));
}

}  // namespace

void PrintTable(const std::vector<Row>& rows, bool compared) {
  const auto print = compared ? PrintCompared : PrintAlone;
  auto only = [&](const auto& wanted) {
    std::vector<Row> part;
    for (const Row& row : rows) {
      if (wanted(row)) part.push_back(row);
    }
    return part;
  };
  PrintHead("background or hair", compared);
  for (int i = 0; i < kBackdrops; ++i) {
    const std::vector<Row> part = only([&](const Row& row) { return row.backdrop == static_cast<Backdrop>(i); });
    if (!part.empty()) print(Name(static_cast<Backdrop>(i)), part);
  }
  for (int i = 0; i < kHairKinds; ++i) {
    const std::vector<Row> part = only([&](const Row& row) { return row.kind == static_cast<HairKind>(i); });
    if (!part.empty()) print((std::string("hair: ") + Name(static_cast<HairKind>(i))).c_str(), part);
  }
  print("**all**", rows);
}

void PrintEach(const std::vector<Row>& rows, bool compared) {
  PrintHead("scene", compared);
  for (const Row& row : rows) {
    char name[96];
    std::snprintf(name, sizeof name, "%u %s, %s %s, %d px", row.seed, Name(row.backdrop), Name(row.colour),
                  Name(row.kind), row.faceWidth);
    (compared ? PrintCompared : PrintAlone)(name, {row});
  }
  std::printf("\n");
}

void WritePicture(const std::string& folder, const Scene& scene, const Cutout& before, const Cutout& now) {
  const photo::PixelBox box = Surroundings(scene);
  const cv::Rect part(box.left, box.top, box.Width(), box.Height());
  const photo::Image images[] = {scene.picture,
                                 Grey(TrueMask(scene)),
                                 Grey(before.mask),
                                 Grey(now.mask),
                                 LayOver(before.colours, before.mask, kStudioBlue),
                                 LayOver(now.colours, now.mask, kStudioBlue),
                                 TrueOver(scene, kStudioBlue)};
  std::vector<cv::Mat> parts;
  for (const photo::Image& image : images) parts.push_back(View(image)(part));
  cv::Mat row;
  cv::hconcat(parts, row);
  const std::string path = FileName(folder, scene, ".png");
  if (!cv::imwrite(path, row)) throw std::runtime_error(path + " cannot be written");
}

void WriteDump(const std::string& folder, const Scene& scene, const Cutout& before) {
  const photo::PixelBox box = Surroundings(scene);
  const std::string path = FileName(folder, scene, ".bin");
  std::vector<uint8_t> planes;
  auto add = [&](int channels, const auto& byte) {
    for (int y = box.top; y < box.bottom; ++y) {
      for (int x = box.left; x < box.right; ++x) {
        for (int c = 0; c < channels; ++c) planes.push_back(byte(x, y, c));
      }
    }
  };
  add(3, [&](int x, int y, int c) { return scene.picture.At(x, y)[c]; });
  add(1, [&](int x, int y, int) { return before.mask.Row(y)[x]; });
  add(1, [&](int x, int y, int) { return ToByte(255 * scene.person.At(x, y)[kAlpha]); });
  add(1, [&](int x, int y, int) { return ToByte(255 * scene.person.At(x, y)[kHair]); });
  add(3, [&](int x, int y, int c) { return ToByte(scene.person.At(x, y)[c]); });
  add(3, [&](int x, int y, int c) { return ToByte(scene.background.At(x, y)[c]); });
  const auto left = static_cast<int32_t>(scene.face.left), top = static_cast<int32_t>(scene.face.top);
  const int32_t head[] = {box.Width(),
                          box.Height(),
                          box.left,
                          box.top,
                          left - box.left,
                          top - box.top,
                          static_cast<int32_t>(scene.face.right) - box.left,
                          static_cast<int32_t>(scene.face.bottom) - box.top,
                          static_cast<int32_t>(scene.seed),
                          static_cast<int32_t>(scene.backdrop),
                          static_cast<int32_t>(scene.kind),
                          static_cast<int32_t>(scene.colour)};
  std::ofstream file(path, std::ios::binary);
  file.write("QXHAIR1\n", 8);
  file.write(reinterpret_cast<const char*>(head), sizeof head);
  file.write(reinterpret_cast<const char*>(planes.data()), static_cast<std::streamsize>(planes.size()));
  if (!file.flush()) throw std::runtime_error(path + " cannot be written");
}

}  // namespace qx::bench::hair
