// Numbers as people write them.
#ifndef QX_PHOTO_BASE_NUMBER_H
#define QX_PHOTO_BASE_NUMBER_H

#include <optional>
#include <string_view>

namespace qx::photo {

// The number that is the whole text, in plain decimal notation with a point, perhaps with a minus: no exponent and no
// blank. Nothing for other texts. The machine's settings for languages do not matter.
std::optional<double> ReadNumber(std::string_view text);

}  // namespace qx::photo

#endif  // QX_PHOTO_BASE_NUMBER_H
