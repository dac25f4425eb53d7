#include "worker/digest.h"

#include <openssl/evp.h>

#include <array>
#include <stdexcept>

namespace qx::worker {
namespace {

void Check(int result) {
  if (result != 1) throw std::runtime_error("SHA-256 cannot be computed: the library of digests refuses it");
}

}  // namespace

struct Digest::State {
  std::unique_ptr<EVP_MD_CTX, decltype(&EVP_MD_CTX_free)> context{EVP_MD_CTX_new(), EVP_MD_CTX_free};
};

Digest::Digest() : state_(std::make_unique<State>()) {
  Check(state_->context && EVP_DigestInit_ex(state_->context.get(), EVP_sha256(), nullptr) == 1 ? 1 : 0);
}

Digest::~Digest() = default;

void Digest::Add(const void* bytes, size_t size) {
  Check(EVP_DigestUpdate(state_->context.get(), bytes, size));
}

std::string Digest::Text() {
  std::array<unsigned char, EVP_MAX_MD_SIZE> bytes{};
  unsigned size = 0;
  Check(EVP_DigestFinal_ex(state_->context.get(), bytes.data(), &size));
  std::string text;
  for (unsigned i = 0; i < size; ++i) {
    for (const int shift : {4, 0}) text += "0123456789abcdef"[bytes[i] >> shift & 15];
  }
  return text;
}

std::string DigestOf(const void* bytes, size_t size) {
  Digest digest;
  digest.Add(bytes, size);
  return digest.Text();
}

}  // namespace qx::worker
