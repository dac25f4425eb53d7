// Documents by what people know of them.
#ifndef QX_PHOTO_DOCUMENT_PRESET_SEARCH_H
#define QX_PHOTO_DOCUMENT_PRESET_SEARCH_H

#include <string_view>
#include <vector>

#include "photo/document/presets.h"

namespace qx::photo {

// Those of the library's presets that meet both, in the order of their file; an empty text or code asks for nothing.
// Each word of `text` has to begin a word of the preset's name or title (which say the kind of document), its
// authority, its country's code or English names, or "print" or "upload"; ASCII letters in either case. `country` is an
// ISO 3166-1 code, see FindCountry. Throws Failure when there is no such country (kBadOption) or no such preset
// (kUnknownPreset).
std::vector<const Preset*> SearchPresets(std::string_view text, std::string_view country);

}  // namespace qx::photo

#endif  // QX_PHOTO_DOCUMENT_PRESET_SEARCH_H
