// The documents that photographs are made for, as their authorities publish them.
#ifndef QX_PHOTO_DOCUMENT_PRESETS_H
#define QX_PHOTO_DOCUMENT_PRESETS_H

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "photo/document/units.h"

namespace qx::photo {

// A page on which figures of a document were read. Figures go by their names in the file of presets: size, pixels,
// print_size, dpi, head, head_to, top, eyes, face_width, min_kb, max_kb, backgrounds, background_change and retouching.
struct PresetSource {
  std::string page;                      // its address, http or https
  std::string kind;                      // as Preset::source, but never "remembered"
  std::string read;                      // the day, such as "2026-11-21"
  std::vector<std::string> gives;        // figures that the preset has from it
  std::vector<std::string> contradicts;  // figures of which it says otherwise than the preset
};

enum class GlassesRule {
  kAllowed,    // all but dark ones
  kNoGlare,    // untinted, without glare, their frame off the eyes
  kForbidden,  // to be taken off
};
enum class SmileRule {
  kAllowed,
  kMouthClosed,  // a slight one
  kForbidden,    // a neutral expression only
};
enum class HeadCoveringRule {
  kAllowed,    // where the face stays free
  kReligious,  // for religious or medical reasons only
  kForbidden,
};

// What the head's length counts, upward from the chin.
enum class HeadTo {
  kCrown,  // the top of the skull: hair that stands up does not count
  kHair,   // the top of the hair
};
// "crown" or "hair", as in the file of presets.
const char* NameOf(HeadTo end);
// Throws Failure for another name.
HeadTo ParseHeadTo(std::string_view name);

// What the authority asks of the person; nothing where the page does not speak of it.
struct PresetRules {
  std::optional<GlassesRule> glasses;
  std::optional<SmileRule> smile;
  std::optional<HeadCoveringRule> headCovering;
  std::string children;  // what children are exempt from or held to, for people; may be empty
  std::string source;    // address of the page
  std::string read;      // the day, such as "2026-11-21"
};

// "allowed", "no_glare", "mouth_closed", "religious" or "forbidden": stable names, as in the file of presets.
const char* NameOf(GlassesRule rule);
const char* NameOf(SmileRule rule);
const char* NameOf(HeadCoveringRule rule);

// One document. Bounds are kept in the unit in which they are published; Derive turns them into fractions. Percents
// are of the photograph's height (of its width for faceWidth).
struct Preset {
  std::string name;                      // such as "us-passport"
  std::string title;                     // for people
  std::string authority;                 // who sets the rules
  std::string country;                   // ISO 3166-1 code, "EU" for the union's; empty where no country sets the rules
  bool upload = false;                   // a file to hand in rather than a print
  int32_t persons = 1;                   // 1 or 2
  Size size;                             // of the photograph, in millimetres or pixels
  std::optional<Size> pixels;            // where published beside a size in millimetres
  std::optional<Size> printSize;         // millimetres that bounds of a size in pixels refer to
  int32_t dpi = 300;                     // of a print
  std::optional<Range> head;             // chin to what headTo says
  HeadTo headTo = HeadTo::kCrown;        // the crown too where the authority does not say; unverified then
  std::optional<Range> top;              // upper edge to the top of the hair
  std::optional<Range> eyes;             // eyes to the lower edge
  std::optional<Range> faceWidth;        // of the face's outline
  std::optional<int32_t> minKb, maxKb;   // see kCeilingKilobyte
  std::vector<std::string> backgrounds;  // the first is the one to use
  bool backgroundChange = true;          // whether the authority takes photographs whose background was changed
  bool retouching = true;                // whether it takes retouched ones
  std::string source;                    // "authority" (its own page), "copy" (of an official document), "secondary",
                                         // "remembered" (by the authors of this file; check before use)
  std::vector<std::string> unverified;   // names of the fields that rest on no source
  std::string read;                      // year and month in which the source was read
  std::vector<PresetSource> sources;     // pages kept; figures of an earlier reading have none
  std::optional<PresetRules> rules;
  std::string note;
};

// Bounds as fractions of a side, 0 to 1.
struct Fraction {
  double min, max;
};

// A document in the numbers that the work needs.
struct Document {
  int32_t width = 0, height = 0;            // pixels
  int32_t dpi = 300;                        // written into the file
  double widthMm = 0, heightMm = 0;         // what the bounds in millimetres refer to
  std::optional<Fraction> head, top, eyes;  // of the height
  std::optional<Fraction> faceWidth;        // of the width
  HeadTo headTo = HeadTo::kCrown;           // where `head` ends
  std::optional<int32_t> minKb, maxKb;
};

// The presets of a JSON text. Throws Failure with the preset and field that is wrong.
std::vector<Preset> ParsePresets(std::string_view json);

// Those that come with the library, in the order of their file. They live as long as the program; for any thread.
const std::vector<Preset>& Presets();

// Throws Failure, naming similar ones, when there is none of that name.
const Preset& FindPreset(std::string_view name);

// Throws Failure when a bound is larger than the photograph or the photograph has more than kMostDocumentPixels.
Document Derive(const Preset& preset);

inline constexpr int64_t kMostDocumentPixels = 100'000'000;

// Authorities count a kilobyte as 1,000 or as 1,024 bytes and rarely say which. A ceiling is taken in the smaller and
// a floor in the larger, so that both are met.
inline constexpr int64_t kCeilingKilobyte = 1000, kFloorKilobyte = 1024;

}  // namespace qx::photo

#endif  // QX_PHOTO_DOCUMENT_PRESETS_H
