// The options that say which document to make, shared by the commands that make some.
#ifndef QX_ORDERS_OPTIONS_DOCUMENT_OPTIONS_H
#define QX_ORDERS_OPTIONS_DOCUMENT_OPTIONS_H

#include <CLI/App.hpp>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "codec/codec.h"
#include "orders/options/adjust_options.h"
#include "orders/options/framing_options.h"
#include "orders/options/retouch_options.h"
#include "photo/document/presets.h"
#include "photo/studio.h"

namespace qx::orders {

struct DocumentOptions {
  std::string preset;  // empty: none, then there is a size
  std::optional<photo::Size> size;
  std::optional<int32_t> dpi;
  std::optional<photo::Range> head, top, eyes, faceWidth;
  std::optional<photo::HeadTo> headTo;
  std::optional<int32_t> minKb, maxKb;
  std::optional<std::string> background;
  bool noStraighten = false;
  bool relax = false;
  bool force = false;
  bool keepRim = false;
  bool child = false;
  bool strict = false;
  RetouchOptions retouch;
  AdjustOptions adjust;
  FramingOptions framing;
};

// --preset, --size, --dpi, --head, --head-to, --top, --eyes, --face-width.
void AddMeasureOptions(CLI::App& command, DocumentOptions* options);
// The same, those of AddRetouchOptions (--eyes is both: a range of places or, as a plain number, a size) and of
// AddAdjustOptions and AddFramingOptions, and --background, --min-kb, --max-kb, --no-straighten, --keep-rim, --child,
// --strict, --relax,
// --force.
void AddMakeOptions(CLI::App& command, DocumentOptions* options);

// The preset with what the options put in its place. Throws Failure when there is neither preset nor size, no such
// preset, or the numbers contradict each other.
photo::Preset PresetOf(const DocumentOptions& options);
// What `make` is to do for each photograph. Throws Failure like PresetOf, and for a change that the authority
// forbids.
photo::MakeRequest RequestOf(const DocumentOptions& options);

// The identifiers of the measures that failed on the photograph, each once.
std::vector<std::string> ReasonNames(const photo::MadePhoto& made);

// Throws Failure when the background is transparent and files of that format are not. `advice`: how to have
// another format.
void CheckTransparency(const photo::Background& background, codec::ImageFormat format, const std::string& advice);

}  // namespace qx::orders

#endif  // QX_ORDERS_OPTIONS_DOCUMENT_OPTIONS_H
