#ifndef QX_BASE_STATUS_H
#define QX_BASE_STATUS_H

namespace qx {

// How an inner function ended. Each function's comment says which of these it answers.
enum class Status {
  kOk,
  kBadArgument,
  kBadDirection,  // of a lens
  kMemoryShort,
  kNoFace,
  kTooFewFaces,
  kTooManyFaces,
  kTurnsDiffer,  // two faces that do not stand the same way up
};

}  // namespace qx

#endif  // QX_BASE_STATUS_H
