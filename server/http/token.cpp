#include "server/http/token.h"

#include <algorithm>
#include <fstream>

#include "photo/base/failure.h"
#include "server/http/access.h"

namespace qx::server {
namespace {

using photo::Failure;
using photo::FailureCode;

constexpr size_t kShortest = 16, kLongest = 4096;

}  // namespace

Token::Token(std::string text) : text_(std::move(text)) {
  const bool odd = std::any_of(text_.begin(), text_.end(), [](char c) { return c <= ' ' || c > '~'; });
  if (odd || text_.size() < kShortest || text_.size() > kLongest) {
    throw Failure(FailureCode::kBadOption, "the token must have 16 to 4096 letters, digits or signs, without spaces",
                  {{"option", "token-file"}});
  }
}

Token Token::FromFile(const std::string& path) {
  std::ifstream file(path, std::ios::binary);
  // A line may be endless, as that of /dev/zero is.
  std::string text(kLongest + 2, '\0');
  file.read(text.data(), static_cast<std::streamsize>(text.size()));
  if (file.bad() || (file.fail() && !file.eof())) {
    throw Failure(FailureCode::kCannotRead, "cannot read the token's file; check its name and its permissions");
  }
  text.resize(static_cast<size_t>(file.gcount()));
  text.resize(std::min(text.find_first_of("\r\n"), text.size()));
  return Token(std::move(text));
}

bool Token::Matches(std::string_view authorization) const {
  constexpr std::string_view kScheme = "bearer ";
  if (!SameWord(authorization.substr(0, kScheme.size()), kScheme)) return false;
  authorization.remove_prefix(kScheme.size());
  while (!authorization.empty() && authorization.front() == ' ') authorization.remove_prefix(1);
  unsigned difference = authorization.size() == text_.size() ? 0 : 1;
  for (size_t i = 0; i < authorization.size(); ++i) {
    difference |= static_cast<unsigned>(static_cast<unsigned char>(authorization[i]) ^
                                        static_cast<unsigned char>(text_[i % text_.size()]));
  }
  return difference == 0;
}

}  // namespace qx::server
