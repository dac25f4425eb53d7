// A page that lies in a folder, in place of the program's own.
#ifndef QX_CLI_PAGE_FOLDER_H
#define QX_CLI_PAGE_FOLDER_H

#include <deque>
#include <filesystem>
#include <string>
#include <vector>

#include "server/http/files.h"

namespace qx::cli {

// Read as a whole when it is made, so that a server hands out the files of one moment. Links and hidden files are left
// out: they may lead to what is no part of the page.
class PageFolder {
 public:
  // Throws SetupFailure: the folder cannot be read, holds no index.html, or more than a page does.
  explicit PageFolder(const std::filesystem::path& folder);

  // Point into this object.
  std::vector<server::File> Files() const;

 private:
  struct Entry {
    std::string path, etag, bytes;
  };
  void Add(const std::filesystem::path& file, const std::string& name);

  std::deque<Entry> entries_;
  size_t bytes_ = 0;
};

}  // namespace qx::cli

#endif  // QX_CLI_PAGE_FOLDER_H
