// Replies of children as answers, those of a child that something else has taken over among them.
#include "server/answer.h"

#include <gtest/gtest.h>

#include <nlohmann/json.hpp>
#include <stdexcept>
#include <string>

#include "photo/base/failure.h"
#include "server/http/problem.h"
#include "server/zip.h"

namespace qx::server {
namespace {

using photo::FailureCode;

std::string HeaderOf(const Response& response, std::string_view name) {
  for (const auto& [known, value] : response.headers) {
    if (known == name) return value;
  }
  return "";
}

std::string Text(const Response& response) {
  return {response.body.begin(), response.body.end()};
}

ChildReply ReplyWith(const std::vector<const char*>& types) {
  ChildReply reply;
  reply.report = R"({"a":1})";
  for (const char* type : types) reply.pictures.push_back({"p" + std::to_string(reply.pictures.size()), type, {'x'}});
  return reply;
}

TEST(Answer, IsWhatWasAskedFor) {
  const Wanted picture, report{true, false, false, ""}, zip{false, false, true, ""};
  const ChildReply one = ReplyWith({"image/png"}), two = ReplyWith({"image/png", "image/jpeg"});
  EXPECT_EQ(Text(AnswerOf(one, picture)), "x");
  EXPECT_EQ(HeaderOf(AnswerOf(one, picture), "Content-Type"), "image/png");
  EXPECT_EQ(HeaderOf(AnswerOf(one, picture), "Content-Disposition"), "inline; filename=\"p0\"");
  EXPECT_EQ(Text(AnswerOf(two, report)), one.report);
  EXPECT_EQ(Text(AnswerOf(ReplyWith({}), picture)), one.report);
  EXPECT_EQ(HeaderOf(AnswerOf(two, picture), "Content-Type"), "application/zip");
  EXPECT_EQ(HeaderOf(AnswerOf(one, zip), "Content-Type"), "application/zip");
}

TEST(Answer, OfATakenOverChildIsNothingThatABrowserRuns) {
  for (const char* type : {"text/html", "image/svg+xml", "", "application/javascript"}) {
    const Response response = AnswerOf(ReplyWith({"image/png", type}), {});
    EXPECT_EQ(response.status, 422U) << type;
    EXPECT_EQ(HeaderOf(response, "Content-Type"), "application/problem+json") << type;
  }
  ChildReply odd = ReplyWith({"image/png"});
  odd.pictures[0].name = "\xC3\xA4.png";
  EXPECT_EQ(HeaderOf(AnswerOf(odd, {}), "Content-Disposition"), "");
  for (const char* report : {"", "{", "[]", "null", "{}x"})
    EXPECT_THROW(WithMembers(report, "", ""), Problem) << report;
}

TEST(Answer, FailuresNeverBlameTheServerForItsInput) {
  const auto status = [](ChildReply::Kind kind, const std::string& code = "") {
    ChildReply reply;
    reply.kind = kind;
    reply.code = code;
    return FailureAnswer(reply).status;
  };
  for (int i = 0; i <= static_cast<int>(FailureCode::kEngine); ++i) {
    const std::string code = NameOf(static_cast<FailureCode>(i));
    const unsigned known = status(ChildReply::Kind::kFailure, code);
    EXPECT_TRUE((known >= 400 && known < 500) || (known == 503 && code == "out_of_memory")) << code << known;
  }
  EXPECT_EQ(status(ChildReply::Kind::kFailure, kNotKept), 404U);
  EXPECT_EQ(status(ChildReply::Kind::kFailure, "made_up"), 422U);
  EXPECT_EQ(status(ChildReply::Kind::kDied), 422U);
  EXPECT_EQ(status(ChildReply::Kind::kTimedOut), 422U);
  ChildReply busy;
  busy.kind = ChildReply::Kind::kBusy;
  EXPECT_EQ(FailureAnswer(busy).status, 503U);
  EXPECT_NE(HeaderOf(FailureAnswer(busy), "Retry-After"), "");
}

TEST(Answer, LinksAreAddedAsText) {
  EXPECT_EQ(WithMembers("{}", "", ""), "{}");
  EXPECT_EQ(WithMembers("{}", R"("a":1)", R"("b":2)"), R"({"a":1,"b":2})");
  EXPECT_EQ(WithMembers(R"({"x":{}})", R"("a":1)", R"("b":2)"), R"({"a":1,"x":{},"b":2})");
  EXPECT_EQ(QueryOf({}), "");
  EXPECT_EQ(QueryOf({{"background", "#fff"}, {"pair", ""}, {"search", "a b&\xC3\xBC~"}}),
            "?background=%23fff&pair=&search=a%20b%26%C3%BC~");
}

TEST(Zip, IsLaidOutAsTheFormatSays) {
  const Bytes zip = ZipOf({{"a.jpg", "one"}, {"b", ""}});
  const auto number = [&zip](size_t at, int count) {
    uint32_t value = 0;
    for (int i = 0; i < count; ++i) value |= static_cast<uint32_t>(zip.at(at + static_cast<size_t>(i))) << (8 * i);
    return value;
  };
  const size_t end = zip.size() - 22, first = 30 + 5 + 3, second = 30 + 1;
  EXPECT_EQ(number(0, 4), 0x04034B50U);
  EXPECT_EQ(number(14, 4), Crc32("one"));
  EXPECT_EQ(std::string(zip.begin() + 30, zip.begin() + 38), "a.jpgone");
  EXPECT_EQ(number(end, 4), 0x06054B50U);
  EXPECT_EQ(number(end + 10, 2), 2U);
  EXPECT_EQ(number(end + 16, 4), first + second);
  // The second entry of the list tells where its file begins.
  EXPECT_EQ(number(first + second + 46 + 5 + 42, 4), first);
  EXPECT_EQ(ZipOf({}).size(), 22U);
  EXPECT_THROW(ZipOf({{std::string(70'000, 'n'), ""}}), std::length_error);
}

}  // namespace
}  // namespace qx::server
