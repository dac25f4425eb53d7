// The pixels of a decoded picture as a viewer shows them.
#ifndef QX_CODEC_COLOURS_H
#define QX_CODEC_COLOURS_H

#include <vips/vips8>

namespace qx::codec {

// Red, green and blue in sRGB, 8 bits, on white where it is transparent. Throws Failure and vips::VError.
vips::VImage ToColours(const vips::VImage& image);

// The other channels of a picture that has_alpha, as they are.
vips::VImage WithoutOpacity(const vips::VImage& image);

// One channel of 8 bits: how opaque each pixel is. Only for pictures that have_alpha.
vips::VImage ToOpacity(const vips::VImage& image);

}  // namespace qx::codec

#endif  // QX_CODEC_COLOURS_H
