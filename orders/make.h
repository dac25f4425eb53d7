// The finished photograph of a document.
#ifndef QX_ORDERS_MAKE_H
#define QX_ORDERS_MAKE_H

#include <cstdint>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "codec/codec.h"
#include "orders/options/document_options.h"
#include "orders/order.h"
#include "photo/studio.h"

namespace qx::orders {

struct MadeFile {
  photo::MadePhoto made;  // with all remarks, those on the file too
  codec::EncodedDocument file;
  std::vector<uint8_t> comparison;  // a file of the same format; empty when not asked for
};

// What a report on many photographs says of one.
struct MadeLine {
  std::string message;               // its remarks, "; " between
  std::vector<std::string> reasons;  // the measures that failed, by their identifiers
  // By name: "bytes" of the file and, where there is one person, millimetres and degrees, not rounded.
  std::vector<std::pair<std::string, double>> measures;
};

class MakeOrder final : public Order {
 public:
  void AddOptions(CLI::App& command) override;
  // --format; --own-size, as a flag: the same cut as a second picture, with the photograph's own pixels.
  void AddChoices(CLI::App& command) override;
  // Also throws when the format, once it is told, cannot be transparent.
  void Settle() override;

  // Once settled: what to ask of a studio. Of one Analysis, whose persons are the same, any number of orders can be
  // rendered.
  const photo::AnalyseRequest& Faces() const { return faces_; }
  const photo::MakeRequest& Request() const { return request_; }

  // What becomes of what the studio made by that request. Throws Failure (kFileSize).
  MadeFile Finish(photo::MadePhoto made) const;
  // JSON; `output`: the finished file's name.
  std::string Report(const std::string& photograph, const std::string& output, const MadeFile& file) const;
  MadeLine LineOf(const MadeFile& file) const;
  Answer AnswerOf(const std::string& photoName, const MadeFile& file) const;
  // The picture alone, to be looked at while its options change: a JPEG whatever the limits of size ask, a PNG where
  // the background is transparent. Throws Failure.
  Picture Preview(const std::string& photoName, const photo::MadePhoto& made) const;
  // Of the finished file.
  codec::ImageFormat Format() const;

  DocumentOptions document;
  std::optional<int> person;
  bool pair = false, compare = false, ownSize = false;
  // None: .jpg, or .png for what is transparent.
  std::optional<codec::ImageFormat> format;

 private:
  // What was made by this enlargement, without it.
  Picture OwnSize(const std::string& photoName, double enlargement, codec::FileSource& source,
                  photo::Analysis& analysis, photo::Studio& studio) const;
  Answer Work(Materials materials, photo::Studio& studio) const override;

  photo::AnalyseRequest faces_;
  photo::MakeRequest request_;
  std::string keptRemark_;  // on a background that the authority wants kept; empty: none
};

}  // namespace qx::orders

#endif  // QX_ORDERS_MAKE_H
