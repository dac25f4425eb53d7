// A Content-Type and a form of the fuzzer's choosing. Whatever is taken must lie inside the body and hold no boundary.
#include <fuzzer/FuzzedDataProvider.h>

#include <cstdint>
#include <cstdlib>
#include <string>

#include "server/multipart.h"
#include "server/problem.h"

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
  try {
    // Mostly a boundary that the seeds have.
    std::string boundary = "b";
    if (input.ConsumeBool()) boundary = BoundaryOf(input.ConsumeRandomLengthString(100));
    if (boundary.empty()) return 0;
    Require(boundary.size() <= 70);
    const std::string body = input.ConsumeRemainingBytesAsString();
    TakeParts(body, boundary, limits);
    Request request;
    TakeForm({body.begin(), body.end()}, boundary, limits, &request);
    Require(!request.photo.empty() && request.photo.size() + request.mask.size() < body.size());
  } catch (const Problem& problem) {
    Require(problem.status == 400 || problem.status == 415);
    ProblemResponse(problem);
  }
  return 0;
}
