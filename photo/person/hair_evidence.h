// What the colours around a head say about hair, pixel by pixel.
#ifndef QX_PHOTO_PERSON_HAIR_EVIDENCE_H
#define QX_PHOTO_PERSON_HAIR_EVIDENCE_H

#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <vector>

#include "photo/base/image.h"
#include "photo/person/clean_plate.h"
#include "photo/person/head_crop.h"
#include "photo/person/pyramid.h"
#include "photo/person/region.h"

namespace qx::photo {

// Finds the pixels of a crop whose share of hair is not known from where they lie, and describes each of them by
// numbers of about -1 to 1: how its colours lie between the plate's and the person's, how sure that is, what its
// neighbours say, and where it lies.
class HairEvidence {
 public:
  static constexpr int kValues = 56;
  static constexpr size_t kUnlikePlate = 10;  // the value that says how far a pixel's colour is from the plate's
  enum Kind : uint8_t { kBackground, kUnknown, kPerson };

  // Both are kept by reference.
  HairEvidence(const HeadCrop& crop, const CleanPlate& plate);

  // One of Kind a pixel of the crop.
  const Region& Kinds() const { return kinds_; }

  // The unknown pixels of a row. Rows need to come in their order, each once. The values of one kind lie side by side:
  // values[k * stride + j] is the k-th of the pixel in the column columns[j]. The stride is at least the crop's width.
  size_t DescribeRow(int y, int* columns, float* values, size_t stride);

  // Whether the person is of the face's colour beside that pixel of the row described last, so that no hair begins
  // there.
  bool IsBesideSkin(size_t j) const { return besideSkin_[j] != 0; }

 private:
  // A pixel's place between the plate's colours and the person's.
  struct Clue {
    float nearAlpha, alpha, residual, contrast, confidence, plateConfidence, apart, unlikePlate, unlikePerson,
        unlikeRivals, unlikeSkin;
  };

  // Sums over squares of bytes, row after row. The outermost bytes go on beyond the raster's left and right.
  class Neighbourhood {
   public:
    Neighbourhood(const uint8_t* plane, int width, int height, int radius);
    // To a row further down, for the columns from `begin` to `end` (not included).
    void MoveTo(int y, int begin, int end);
    float Mean(int x) const { return static_cast<float>(sums_[static_cast<size_t>(x)]) * part_; }

   private:
    const uint8_t* Row(int y) const { return plane_ + static_cast<ptrdiff_t>(y) * width_; }
    void SumColumns(int y);

    static constexpr int kMostRadius = 16;  // sums of a column's bytes stay below 2^16
    const uint8_t* plane_;
    int width_, height_, radius_;
    int top_ = 0, bottom_ = 0;       // the rows that are summed, the last not included
    std::vector<uint16_t> columns_;  // with radius + 1 more on both sides
    std::vector<int32_t> sums_;
    float part_ = 0;
  };

  float Depth(size_t i) const { return crop_.Depth(i) * unit_; }
  bool IsSolid(int x, int y, float depth) const;
  bool IsOther(int x, int y) const;
  // From the first unknown pixel of a row to behind the last; none where begin is end.
  struct Span {
    int begin, end;
  };
  Span UnknownOf(int y) const;
  void DivideCrop();
  void FindRivals();
  void FindSkin();
  void FindPersonColours(bool strands);
  bool IsStrand(size_t i) const;
  void SumPerson(int x, int y, bool strands, const std::array<const Pixel*, 2>& plate);
  void CloseSolid();
  void Connect();
  Clue Ask(const uint8_t* bgr, Pixel plate, Pixel person) const;
  // Fills the planes of bytes of all unknown pixels.
  void AskAll();

  const HeadCrop& crop_;
  const CleanPlate& plate_;
  const int width_, height_;
  const float unit_;  // of a pixel, in face widths
  Region kinds_;
  Scattered known_;  // the person's colours, while they are looked for
  Field person_;
  std::vector<Pixel> rivals_;
  std::array<Pixel, 3> rivalChannels_;  // the same: each one's blue, green, red
  Pixel skin_{};
  std::vector<float> zone_;
  Bytes alphas_, unlikePlate_, unlikePerson_, unlikeRivals_, flooded_, smooth_, connected_;  // of each pixel, 255 for 1
  std::vector<Neighbourhood> neighbours_;
  std::optional<FieldRow> behind_, persons_;
  Bytes besideSkin_;
};

}  // namespace qx::photo

#endif  // QX_PHOTO_PERSON_HAIR_EVIDENCE_H
