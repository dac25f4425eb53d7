// What a child of the photograph server does: every order, and work on photographs that are kept.
#ifndef QX_SERVER_CHILDREN_PHOTO_WORKER_H
#define QX_SERVER_CHILDREN_PHOTO_WORKER_H

#include <memory>

#include "server/children/child.h"

namespace qx::server {

// With the image library, the networks and the documents loaded. Commands are those of orders::ParseOrder, and
//   keep     without options: reads and analyses the photograph and keeps it under the id; a report on it
//   drop     lets it go
// With the id of a kept photograph and the options of make:
//   render   as make
//   preview  the picture to be looked at, without limits of size
//   measure  the report of check on the finished file, or
//   draw     that with the drawing of its measures
std::unique_ptr<ChildWorker> MakePhotoWorker(const ChildLimits& limits);

}  // namespace qx::server

#endif  // QX_SERVER_CHILDREN_PHOTO_WORKER_H
