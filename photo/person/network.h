// The network that tells a person from what is behind.
#ifndef QX_PHOTO_PERSON_NETWORK_H
#define QX_PHOTO_PERSON_NETWORK_H

#include <memory>

#include "nn/runtime.h"
#include "photo/base/geometry.h"
#include "photo/base/image.h"
#include "photo/base/raster.h"

namespace qx::photo {

// An instance belongs to one thread at a time.
class PersonNetwork {
 public:
  static constexpr int kSide = 256;  // of the network's picture, in pixels

  PersonNetwork();  // throws Failure when it cannot load

  // How likely each point of a window shows a person, 0 to 1, kSide x kSide values over the window. The mean of the
  // window and its mirror image, so that a mirrored photograph has the mirrored answer.
  Raster Probability(const Image& photograph, const Rectangle& window);

 private:
  std::unique_ptr<nn::Runtime> runtime_;
};

}  // namespace qx::photo

#endif  // QX_PHOTO_PERSON_NETWORK_H
