// The forms of the seven paths: multipart/form-data or application/x-www-form-urlencoded, with the picture as a file or
// as text.
#ifndef QX_SERVER_ADAPTER_FORM_H
#define QX_SERVER_ADAPTER_FORM_H

#include <string_view>

#include "server/http/limits.h"
#include "server/http/message.h"

namespace qx::server {

struct Form {
  Bytes picture;  // a file's bytes
  Pairs fields;   // all others, in turn
};

// The picture is the file `input_image` or `input_image_base64`, base64 or a data: URL of it. Throws Problem: 415 for
// other kinds of bodies, 400 for a malformed form, no picture or more than one, and text that is not base64.
Form ReadForm(Bytes body, std::string_view contentType, const Limits& limits);

}  // namespace qx::server

#endif  // QX_SERVER_ADAPTER_FORM_H
