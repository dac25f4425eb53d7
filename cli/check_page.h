// What checks found, as one page for a browser.
#ifndef QX_CLI_CHECK_PAGE_H
#define QX_CLI_CHECK_PAGE_H

#include <cstddef>
#include <string>
#include <vector>

#include "photo/base/image.h"
#include "photo/check/check.h"

namespace qx::cli {

// A page that stands for itself: no script, and nothing is loaded from elsewhere; its pictures are in it. Photographs
// come in the order in which they are added, with an overview before them where there are several.
class CheckPage {
 public:
  // `name` may be any bytes, a file's name say. Throws Failure when a picture cannot be encoded.
  void Add(const std::string& name, const photo::Image& photograph, const photo::PhotoCheck& check);
  // A photograph that could not be checked, and why.
  void AddFailure(const std::string& name, const std::string& message);

  std::string Html() const;

 private:
  struct Entry {
    std::string name;  // as HTML
    bool hasPassed = false;
    std::string summary;  // as HTML
    std::string body;     // as HTML
  };

  std::string Overview() const;
  std::string Section(size_t number) const;  // from 1 on

  std::vector<Entry> entries_;
};

// The page's style sheet, for screens of any width and for paper.
extern const char kCheckPageStyle[];

}  // namespace qx::cli

#endif  // QX_CLI_CHECK_PAGE_H
