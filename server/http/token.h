// The password of the interface, as "Authorization: Bearer TOKEN" (RFC 6750).
#ifndef QX_SERVER_HTTP_TOKEN_H
#define QX_SERVER_HTTP_TOKEN_H

#include <string>
#include <string_view>

namespace qx::server {

class Token {
 public:
  // Throws Failure (kBadOption) for one of fewer than 16 or more than 4,096 characters, or of characters that a header
  // cannot hold.
  explicit Token(std::string text);
  // The first line of the file, which is read now and never again. Throws Failure (kCannotRead) too.
  static Token FromFile(const std::string& path);

  // Takes as long for a token that is nearly right as for any other of that length: time tells nobody how far the
  // guess was right.
  bool Matches(std::string_view authorization) const;

 private:
  std::string text_;
};

}  // namespace qx::server

#endif  // QX_SERVER_HTTP_TOKEN_H
