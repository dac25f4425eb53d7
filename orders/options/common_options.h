// Options that several commands share.
#ifndef QX_ORDERS_OPTIONS_COMMON_OPTIONS_H
#define QX_ORDERS_OPTIONS_COMMON_OPTIONS_H

#include <CLI/App.hpp>
#include <cstdint>
#include <optional>
#include <string>

#include "codec/codec.h"
#include "photo/studio.h"

namespace qx::orders {

// --person, the number of a face.
void AddPersonOption(CLI::App& command, std::optional<int>* person, const std::string& help);

// What --person and --pair ask for. Throws Failure (kBadOption) when that is both.
photo::AnalyseRequest FacesOf(const std::optional<int>& person, bool pair);

// --keep-rim, which leaves the old surroundings' light.
void AddKeepRimFlag(CLI::App& command, bool* keepRim);

// --format, one of those that are written.
void AddFormatOption(CLI::App& command, codec::ImageFormat* format, const std::string& help);
void AddFormatOption(CLI::App& command, std::optional<codec::ImageFormat>* format, const std::string& help);

// --compare, which asks for a second picture beside the output.
void AddCompareFlag(CLI::App& command, bool* compare);

// --background, stored as it was written once it has been read.
void AddBackgroundOption(CLI::App& command, std::optional<std::string>* background, const std::string& help);

// --name N, a whole number from `min` to `max`.
void AddWhole(CLI::App& command, const std::string& name, std::optional<int32_t>* target, int32_t min, int32_t max,
              const std::string& help);

// --max-megapixels, stored as a number of pixels.
void AddMaxMegapixels(CLI::App& command, int64_t* maxPixels);

}  // namespace qx::orders

#endif  // QX_ORDERS_OPTIONS_COMMON_OPTIONS_H
