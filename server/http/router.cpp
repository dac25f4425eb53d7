#include "server/http/router.h"

#include <algorithm>
#include <array>

namespace qx::server {
namespace {

constexpr std::array<std::string_view, 10> kCommands = {"inspect", "check", "make",       "crop",     "retouch",
                                                        "sheet",   "mask",  "background", "compress", "watermark"};

struct FormPath {
  std::string_view name, label;
};
constexpr std::array<FormPath, 7> kForms = {{{"idphoto", "/idphoto"},
                                             {"human_matting", "/human_matting"},
                                             {"add_background", "/add_background"},
                                             {"generate_layout_photos", "/generate_layout_photos"},
                                             {"watermark", "/watermark"},
                                             {"set_kb", "/set_kb"},
                                             {"idphoto_crop", "/idphoto_crop"}}};

const FormPath* FindForm(std::string_view name) {
  const auto* const form =
      std::find_if(kForms.begin(), kForms.end(), [name](const FormPath& path) { return path.name == name; });
  return form == kForms.end() ? nullptr : form;
}

Place PlaceUnderVersion(const std::vector<std::string>& segments) {
  const std::string& what = segments[1];
  if (segments.size() == 2) {
    if (what == "openapi.json") return Place::kOpenApi;
    if (what == "presets") return Place::kPresets;
    if (what == "photos") return Place::kPhotos;
    const bool command = std::find(kCommands.begin(), kCommands.end(), what) != kCommands.end();
    return command ? Place::kCommand : Place::kNone;
  }
  if (segments.size() == 3 && what == "presets") return Place::kPresets;
  if (segments.size() == 3 && what == "photos") return Place::kPhoto;
  if (segments.size() == 4 && what == "photos" && segments[3] == "result") return Place::kResult;
  if (segments.size() == 4 && what == "photos" && segments[3] == "preview") return Place::kPreview;
  if (segments.size() == 4 && what == "photos" && segments[3] == "check") return Place::kCheck;
  return Place::kNone;
}

Place PlaceOf(const std::vector<std::string>& segments) {
  if (!segments.empty() && segments[0] == "v1") return segments.size() > 1 ? PlaceUnderVersion(segments) : Place::kNone;
  if (segments.size() == 1 && segments[0] == "healthz") return Place::kHealth;
  if (segments.size() == 1 && segments[0] == "readyz") return Place::kReady;
  if (segments.size() == 1 && segments[0] == "metrics") return Place::kMetrics;
  if (segments.size() == 1 && FindForm(segments[0])) return Place::kForm;
  return Place::kFile;
}

// Whether something is made of a photograph that is kept.
bool IsOfKept(Place place) {
  return place == Place::kResult || place == Place::kPreview || place == Place::kCheck;
}

}  // namespace

Route FindRoute(const std::vector<std::string>& segments) {
  Route route;
  route.place = PlaceOf(segments);
  for (const std::string& segment : segments) route.path += "/" + segment;
  if (segments.empty()) route.path = "/";
  if (route.place == Place::kCommand) route.name = segments[1];
  if (route.place == Place::kForm) route.name = segments[0];
  const bool named = route.place == Place::kPresets || route.place == Place::kPhoto || IsOfKept(route.place);
  if (named && segments.size() > 2) route.name = segments[2];
  return route;
}

std::string_view AllowedMethods(const Route& route) {
  switch (route.place) {
    case Place::kNone: return "OPTIONS";
    case Place::kCommand:
    case Place::kForm:
    case Place::kPhotos: return "POST, OPTIONS";
    case Place::kPhoto: return "DELETE, OPTIONS";
    default: return "GET, HEAD, OPTIONS";
  }
}

bool Allows(const Route& route, std::string_view method) {
  std::string_view rest = AllowedMethods(route);
  while (!rest.empty()) {
    const size_t comma = std::min(rest.find(", "), rest.size());
    if (rest.substr(0, comma) == method) return true;
    rest.remove_prefix(std::min(comma + 2, rest.size()));
  }
  return false;
}

bool TakesBody(const Route& route, std::string_view method) {
  return method == "POST" && Allows(route, method);
}

bool TakesSlot(const Route& route, std::string_view method) {
  if (method == "OPTIONS") return false;
  return TakesBody(route, method) || IsOfKept(route.place);
}

bool IsOpen(const Route& route) {
  return route.place == Place::kHealth || route.place == Place::kReady || route.place == Place::kFile;
}

std::string_view LabelOf(const Route& route) {
  switch (route.place) {
    case Place::kNone: return "none";
    case Place::kHealth: return "/healthz";
    case Place::kReady: return "/readyz";
    case Place::kMetrics: return "/metrics";
    case Place::kOpenApi: return "/v1/openapi.json";
    case Place::kPresets: return route.name.empty() ? "/v1/presets" : "/v1/presets/NAME";
    case Place::kCommand: {
      constexpr size_t kVersion = sizeof "/v1/" - 1;
      constexpr std::array<std::string_view, 10> kLabels = {
          "/v1/inspect", "/v1/check", "/v1/make",       "/v1/crop",     "/v1/retouch",
          "/v1/sheet",   "/v1/mask",  "/v1/background", "/v1/compress", "/v1/watermark"};
      for (const std::string_view label : kLabels) {
        if (label.substr(kVersion) == route.name) return label;
      }
      return "none";
    }
    case Place::kPhotos: return "/v1/photos";
    case Place::kPhoto: return "/v1/photos/ID";
    case Place::kResult: return "/v1/photos/ID/result";
    case Place::kPreview: return "/v1/photos/ID/preview";
    case Place::kCheck: return "/v1/photos/ID/check";
    case Place::kForm: return FindForm(route.name)->label;
    case Place::kFile: return "file";
  }
  return "none";
}

}  // namespace qx::server
