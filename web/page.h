// The files of the page, which are part of the program.
#ifndef QX_WEB_PAGE_H
#define QX_WEB_PAGE_H

#include <string_view>
#include <vector>

namespace qx::web {

struct PageFile {
  std::string_view path;   // "/" or "/main-5F2C81AB.js"
  std::string_view type;   // "text/html; charset=utf-8"
  std::string_view etag;   // with its quotation marks
  std::string_view bytes;  // as long as the program
  bool hashed;             // the path changes with the bytes: a browser may keep it for good
};

std::vector<PageFile> PageFiles();

}  // namespace qx::web

#endif  // QX_WEB_PAGE_H
