// What a child of the photograph server does: every order, and keep, render and drop.
#ifndef QX_SERVER_CHILDREN_PHOTO_WORKER_H
#define QX_SERVER_CHILDREN_PHOTO_WORKER_H

#include <memory>

#include "server/children/child.h"

namespace qx::server {

// With the image library, the networks and the documents loaded. Commands are those of orders::ParseOrder, and
//   keep     without options: reads and analyses the photograph and keeps it under the id; a report on it
//   render   as make, of the kept photograph
//   drop     lets it go
std::unique_ptr<ChildWorker> MakePhotoWorker(const ChildLimits& limits);

}  // namespace qx::server

#endif  // QX_SERVER_CHILDREN_PHOTO_WORKER_H
