// A Content-Type and a form of the fuzzer's choosing. Whatever is taken must lie inside the body and hold no boundary.
#include <fuzzer/FuzzedDataProvider.h>

#include <cstdint>
#include <cstdlib>
#include <string>

#include "server/http/multipart.h"
#include "server/http/problem.h"

namespace {

using namespace qx::server;  // NOLINT: all of it

void Require(bool holds) {
  if (!holds) std::abort();
}

void TakeParts(const std::string& body, const std::string& boundary, const Limits& limits) {
  const std::vector<Part> parts = ParseMultipart(body, boundary, limits);
  Require(parts.size() <= limits.parts);
  size_t before = 0;
  for (const Part& part : parts) {
    Require(!part.name.empty() && part.begin >= before && part.begin + part.size <= body.size());
    Require(part.fileName.find_first_of("/\\") == std::string::npos);
    before = part.begin + part.size;
  }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  FuzzedDataProvider input(data, size);
  Limits limits;
  limits.parts = 8;
  limits.partHeadBytes = 200;
  limits.valueBytes = 100;
  limits.sheetPhotos = 3;
  try {
    // Mostly a boundary that the seeds have.
    std::string boundary = "b";
    if (input.ConsumeBool()) boundary = BoundaryOf(input.ConsumeRandomLengthString(100));
    if (boundary.empty()) return 0;
    const bool isSheet = input.ConsumeBool();
    Require(boundary.size() <= 70);
    const std::string body = input.ConsumeRemainingBytesAsString();
    TakeParts(body, boundary, limits);
    Request request;
    request.route.place = Place::kCommand;
    if (isSheet) request.route.name = "sheet";
    TakeForm({body.begin(), body.end()}, boundary, limits, &request);
    size_t files = request.photo.size() + request.mask.size();
    for (const Bytes& photo : request.morePhotos) {
      Require(!photo.empty());
      files += photo.size();
    }
    Require(!request.photo.empty() && files < body.size());
    Require(request.morePhotos.size() < (isSheet ? limits.sheetPhotos : 1));
    Require(request.copies.size() <= (isSheet ? request.morePhotos.size() + 1 : 0));
  } catch (const Problem& problem) {
    Require(problem.status == 400 || problem.status == 415);
    ProblemResponse(problem);
  }
  return 0;
}
