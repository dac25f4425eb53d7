#include "worker/fetch.h"

#include <curl/curl.h>

#include <algorithm>
#include <mutex>
#include <stdexcept>

#include "photo/base/text.h"
#include "worker/outcome.h"

namespace qx::worker {
namespace {

// What one transfer needs in the library's callbacks.
struct Transfer {
  const FetchLimits& limits;
  const std::function<bool()>& abandoned;
  photo::Bytes bytes;
  bool isTooLarge = false, isAbandoned = false;
};

size_t OnBytes(char* data, size_t size, size_t count, void* user) {
  Transfer& transfer = *static_cast<Transfer*>(user);
  const size_t length = size * count;
  transfer.isTooLarge = length > transfer.limits.bytes - transfer.bytes.size();
  if (transfer.isTooLarge) return 0;
  try {
    const auto* const from = reinterpret_cast<const uint8_t*>(data);
    transfer.bytes.insert(transfer.bytes.end(), from, from + length);
  } catch (const std::exception&) {
    return 0;
  }
  return length;
}

int OnProgress(void* user, curl_off_t, curl_off_t, curl_off_t, curl_off_t) {
  Transfer& transfer = *static_cast<Transfer*>(user);
  transfer.isAbandoned = transfer.abandoned && transfer.abandoned();
  return transfer.isAbandoned ? 1 : 0;
}

void StartLibrary() {
  static std::once_flag once;
  std::call_once(once, [] {
    if (curl_global_init(CURL_GLOBAL_DEFAULT) != CURLE_OK) throw std::runtime_error("libcurl does not start");
  });
}

// What servers say of themselves passes with time; what they say of the photograph does not.
void CheckStatus(long status) {
  if (status == 200) return;
  const std::string text = "the server answered " + std::to_string(status);
  if (status >= 300 && status < 400) throw Refusal(kNoAnswer, text + ", a redirect, which is not followed");
  if (status >= 400 && status < 500 && status != 408 && status != 425 && status != 429) {
    throw Refusal(kNoAnswer, text + "; check the address and who may read it");
  }
  throw Trouble(text);
}

}  // namespace

struct Fetcher::State {
  std::unique_ptr<CURL, decltype(&curl_easy_cleanup)> handle{nullptr, curl_easy_cleanup};

  template <typename Value>
  void Set(CURLoption option, Value value) const {
    // An option that this library does not know would leave a wall out.
    if (curl_easy_setopt(handle.get(), option, value) != CURLE_OK) throw std::runtime_error("libcurl lacks an option");
  }

  void SetRules() const {
    Set(CURLOPT_NOSIGNAL, 1L);
    Set(CURLOPT_PROTOCOLS_STR, "http,https");
    Set(CURLOPT_FOLLOWLOCATION, 0L);
    Set(CURLOPT_PATH_AS_IS, 1L);
    Set(CURLOPT_SSL_VERIFYPEER, 1L);
    Set(CURLOPT_SSL_VERIFYHOST, 2L);
    Set(CURLOPT_SSLVERSION, static_cast<long>(CURL_SSLVERSION_TLSv1_2));
    Set(CURLOPT_PROXY, "");
    Set(CURLOPT_NETRC, static_cast<long>(CURL_NETRC_IGNORED));
    Set(CURLOPT_HTTP_CONTENT_DECODING, 0L);
    Set(CURLOPT_USERAGENT, "idphoto");
    Set(CURLOPT_WRITEFUNCTION, OnBytes);
    Set(CURLOPT_XFERINFOFUNCTION, OnProgress);
    Set(CURLOPT_NOPROGRESS, 0L);
  }

  void SetTransfer(const std::string& address, Transfer* transfer) const {
    const long time = static_cast<long>(transfer->limits.time.count());
    Set(CURLOPT_URL, address.c_str());
    Set(CURLOPT_TIMEOUT_MS, time);
    Set(CURLOPT_CONNECTTIMEOUT_MS, std::min(time, 10'000L));
    Set(CURLOPT_MAXFILESIZE_LARGE, static_cast<curl_off_t>(transfer->limits.bytes));
    Set(CURLOPT_WRITEDATA, static_cast<void*>(transfer));
    Set(CURLOPT_XFERINFODATA, static_cast<void*>(transfer));
  }
};

Fetcher::Fetcher() : state_(std::make_unique<State>()) {}
Fetcher::~Fetcher() = default;

photo::Bytes Fetcher::Fetch(const std::string& address, const FetchLimits& limits,
                            const std::function<bool()>& abandoned) {
  if (!state_->handle) {
    StartLibrary();
    state_->handle.reset(curl_easy_init());
    if (!state_->handle) throw Trouble("libcurl does not start");
    state_->SetRules();
  }
  Transfer transfer{limits, abandoned, {}};
  state_->SetTransfer(address, &transfer);
  const CURLcode result = curl_easy_perform(state_->handle.get());
  if (transfer.isAbandoned) throw NotBegun();
  if (transfer.isTooLarge || result == CURLE_FILESIZE_EXCEEDED) {
    throw Refusal(kFileTooLarge,
                  "the file is larger than " + std::to_string(limits.bytes / 1'000'000) + " MB; make it smaller");
  }
  if (result != CURLE_OK)
    throw Trouble(std::string("cannot be fetched: ") + photo::Printable(curl_easy_strerror(result)));
  long status = 0;
  curl_easy_getinfo(state_->handle.get(), CURLINFO_RESPONSE_CODE, &status);
  CheckStatus(status);
  return std::move(transfer.bytes);
}

}  // namespace qx::worker
