// Colours by the names and notations of style sheets.
#ifndef QX_PHOTO_RENDER_CSS_COLOURS_H
#define QX_PHOTO_RENDER_CSS_COLOURS_H

#include <cstdint>
#include <optional>
#include <string_view>

namespace qx::photo {

// 0xrrggbb of a named colour (CSS Color Module Level 4, section 6.1), letters in either case, of #rgb or of #rrggbb;
// nothing for any other text.
std::optional<uint32_t> ParseCssColour(std::string_view text);

}  // namespace qx::photo

#endif  // QX_PHOTO_RENDER_CSS_COLOURS_H
