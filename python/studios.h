// The work itself: each call borrows a studio of its own and works without the interpreter's lock.
#ifndef QX_PYTHON_STUDIOS_H
#define QX_PYTHON_STUDIOS_H

#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "codec/codec.h"
#include "orders/order.h"
#include "photo/base/image.h"
#include "photo/studio.h"
#include "python/photograph.h"

namespace qx::python {

struct EncodedPicture {
  std::vector<uint8_t> bytes, comparison;  // files of one format; no comparison where none was asked for
  std::string report;                      // JSON, of that file
};

// A picture that was made. Files are written of it as its command writes them, in any format that it has.
struct Finished {
  std::shared_ptr<const photo::Image> image;   // null: what the file shows
  std::shared_ptr<const photo::Mask> alpha;    // null or empty: opaque throughout
  std::shared_ptr<const photo::Image> before;  // without retouching and adjustment, where that was asked for
  codec::PrintFormat format;                   // the one that was asked for, or the command's own
  std::function<EncodedPicture(codec::PrintFormat)> encode;  // throws photo::Failure
};

// Studios for any number of threads: as many as ever work at the same time, each used by one at a time. Every call
// throws photo::Failure, of options too, which are named as in orders/order.h. What it returns keeps no array.
class Studios : public std::enable_shared_from_this<Studios> {
 public:
  Studios() = default;

  Finished Make(const Photograph& photograph, const MaskOfPersons* mask, const orders::OptionPairs& options);
  std::vector<Finished> Crop(const Photograph& photograph, const orders::OptionPairs& options);
  Finished Retouch(const Photograph& photograph, const orders::OptionPairs& options);
  Finished CutOut(const Photograph& photograph, const orders::OptionPairs& options);
  Finished Background(const Photograph& photograph, const orders::OptionPairs& options);
  // JSON, as the command prints it.
  std::string Inspect(const Photograph& photograph, const orders::OptionPairs& options);
  std::string Check(const Photograph& photograph, const orders::OptionPairs& options);
  // The same as pictures, with that JSON.
  Finished DrawFaces(const Photograph& photograph, const orders::OptionPairs& options);
  Finished DrawCheck(const Photograph& photograph, const orders::OptionPairs& options);

  size_t Made() const;  // studios that were made so far

 private:
  // Gives `work` a studio that nobody else uses, and takes it back however the work ends.
  template <typename Work>
  auto With(Work work) {
    const Loan loan(this);
    return work(*loan.studio);
  }
  struct Loan {
    explicit Loan(Studios* from) : owner(from), studio(from->Take()) {}
    ~Loan() { owner->GiveBack(std::move(studio)); }
    Studios* owner;
    std::unique_ptr<photo::Studio> studio;
  };
  std::unique_ptr<photo::Studio> Take();
  void GiveBack(std::unique_ptr<photo::Studio> studio);

  mutable std::mutex mutex_;
  std::vector<std::unique_ptr<photo::Studio>> free_;
  size_t made_ = 0;
};

// These need no studio. `copies`: of each photograph, in digits, "0" for as many as there is room for, "" for as many
// as the options say.
Finished DrawSheet(const std::vector<Photograph>& photographs, const std::vector<std::string>& copies,
                   const orders::OptionPairs& options);
Finished Compress(const Photograph& photograph, const orders::OptionPairs& options);
Finished Watermark(const Photograph& photograph, const orders::OptionPairs& options);

}  // namespace qx::python

#endif  // QX_PYTHON_STUDIOS_H
