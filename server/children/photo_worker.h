// What a child of the photograph server does: make, inspect, keep, render and drop.
#ifndef QX_SERVER_CHILDREN_PHOTO_WORKER_H
#define QX_SERVER_CHILDREN_PHOTO_WORKER_H

#include <memory>

#include "server/children/child.h"

namespace qx::server {

// With the image library, the networks and the documents loaded.
//   make     options preset, background, format (jpg or png), person, pair, relax, force: the document's picture
//   inspect  the faces, as a report
//   keep     options person, pair: reads and analyses the photograph and keeps it under the id; a report on it
//   render   as make, of the kept photograph
//   drop     lets it go
std::unique_ptr<ChildWorker> MakePhotoWorker(const ChildLimits& limits);

}  // namespace qx::server

#endif  // QX_SERVER_CHILDREN_PHOTO_WORKER_H
