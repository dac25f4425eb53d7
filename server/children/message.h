// What a child is asked, and what it answers.
#ifndef QX_SERVER_CHILDREN_MESSAGE_H
#define QX_SERVER_CHILDREN_MESSAGE_H

#include <array>
#include <cstdint>
#include <functional>
#include <string>
#include <utility>
#include <vector>

#include "photo/base/failure.h"
#include "photo/base/image.h"
#include "server/children/frame.h"

namespace qx::server {

// One command on one photograph.
struct ChildRequest {
  std::string command;
  std::vector<std::pair<std::string, std::string>> options;  // in the order in which they were given
  photo::Bytes photo, mask;                                  // bytes of files; the mask's may be empty
  std::string keptId;  // the name under which a child keeps, or has kept, the photograph; empty otherwise
  // The kind of file, png say, where no option tells it and the command has a choice; empty: the command's own.
  std::string wishedFormat = {};
  // For a sheet: the other photographs, and of all in turn how many copies, see orders::Materials.
  std::vector<photo::Bytes> morePhotos = {};
  std::vector<std::string> copies = {};
  // Whether nobody waits for the reply any more; may be empty. For any thread; stays with the server.
  std::function<bool()> abandoned = {};
};
inline constexpr size_t kMostSheetPhotos = 16;

// Requests that only the child serves which keeps the photograph.
bool NeedsKept(const ChildRequest& request);
inline constexpr char kKeep[] = "keep", kDrop[] = "drop";
// As make, of the kept photograph: the file itself, a picture to look at, and the check and its drawing of the file.
inline constexpr char kRender[] = "render", kPreview[] = "preview", kMeasure[] = "measure", kDraw[] = "draw";

// As make, but the report is what one of many photographs has, see orders::MadeLine: message, reasons and measures.
inline constexpr char kMakeOne[] = "make-one";

// What the time between a request and its reply goes into.
enum class Stage { kWaiting, kAnalysis, kRendering, kEncoding, kChecking, kOther };
inline constexpr size_t kStages = 6;
using StageSeconds = std::array<double, kStages>;

struct ChildPicture {
  std::string name;  // of a file, without folders
  std::string type;  // such as image/jpeg
  photo::Bytes bytes;
};

struct ChildReply {
  enum class Kind {
    kAnswer,     // pictures and report
    kFailure,    // code, fields, text
    kDied,       // the child did: text says of what
    kKilled,     // from outside, or by the system for want of memory: the photograph is not to blame
    kTimedOut,   // it took longer than a request may, and was ended
    kBusy,       // too many others wait, or it has waited too long
    kCancelled,  // before it began: by Stop, or since nobody waits any more
  };
  Kind kind = Kind::kAnswer;
  std::vector<ChildPicture> pictures;
  std::string report;  // a JSON object, or empty
  std::string code;    // NameOf a FailureCode, or kNotKept
  std::string text;    // one line for people
  photo::FailureFields fields;
  StageSeconds seconds = {};
};

// The failure of a request for a photograph that is kept no longer: its time is up, or its child has ended.
inline constexpr char kNotKept[] = "not_kept";

ChildReply FailureReply(std::string code, std::string text, photo::FailureFields fields = {});
ChildReply FailureReply(const std::exception& exception);

// What a child may take and hold.
struct ChildLimits {
  uint64_t addressBytes = uint64_t{1536} << 20;  // of its whole address space
  uint64_t pixels = 50'000'000;                  // of a photograph or mask
  uint64_t keptPhotos = 8;
  uint64_t keptBytes = uint64_t{384} << 20;
  uint64_t keptSeconds = 900;  // since it was last asked for
};

// The kinds of frames, in the order in which they come.
enum FrameKind : uint32_t { kLimitsFrame = 1, kReadyFrame = 2, kRequestFrame = 3, kReplyFrame = 4 };

Frame ToFrame(const ChildLimits& limits);
Frame ReadyFrame();
Frame ToFrame(uint64_t number, ChildRequest request);
Frame ToFrame(uint64_t number, ChildReply reply);

struct NumberedRequest {
  uint64_t number;
  ChildRequest request;
};
struct NumberedReply {
  uint64_t number;
  ChildReply reply;  // kAnswer or kFailure
};
// Throw BadFrame. What comes out of a reply is safe to hand on: names have no folders, types and codes only the letters
// of such, texts are printable lines and numbers finite,
// times not negative.
ChildLimits LimitsOf(const Frame& frame);
NumberedRequest RequestOf(Frame frame);
NumberedReply ReplyOf(Frame frame);

}  // namespace qx::server

#endif  // QX_SERVER_CHILDREN_MESSAGE_H
