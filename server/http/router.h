// Which paths there are, and what may be done with each.
#ifndef QX_SERVER_HTTP_ROUTER_H
#define QX_SERVER_HTTP_ROUTER_H

#include <string>
#include <string_view>
#include <vector>

namespace qx::server {

enum class Place {
  kNone,     // there is no such path
  kHealth,   // /healthz
  kReady,    // /readyz
  kMetrics,  // /metrics
  kOpenApi,  // /v1/openapi.json
  kPresets,  // /v1/presets, and /v1/presets/NAME with `name`
  kCommand,  // /v1/COMMAND with `name`
  kPhotos,   // /v1/photos
  kPhoto,    // /v1/photos/ID with `name`
  kResult,   // /v1/photos/ID/result with `name`
  kPreview,  // /v1/photos/ID/preview with `name`
  kCheck,    // /v1/photos/ID/check with `name`
  kForm,     // a path of the older interface that the adapter offers, with `name`, such as idphoto
  kFile,     // whatever does not begin with /v1/: a file of the page, if there is one of that path
};

struct Route {
  Place place = Place::kNone;
  std::string name;  // of the document, the command or the photograph
  std::string path;  // decoded
};

// Takes the segments of a path, see ParseTarget.
Route FindRoute(const std::vector<std::string>& segments);

// Methods, commas between, as Allow has them: "GET, HEAD, OPTIONS".
std::string_view AllowedMethods(const Route& route);
bool Allows(const Route& route, std::string_view method);

// Whether it takes a body.
bool TakesBody(const Route& route, std::string_view method);
// Whether a photograph is uploaded or worked on, which takes one of the slots.
bool TakesSlot(const Route& route, std::string_view method);
// Whether a stranger may have it without the token: files of the page and questions after health.
bool IsOpen(const Route& route);
// A name for measures and logs, of which there are few: "/v1/photos/ID/result".
std::string_view LabelOf(const Route& route);

}  // namespace qx::server

#endif  // QX_SERVER_HTTP_ROUTER_H
