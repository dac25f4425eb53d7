// Replies of children as answers, those of a child that something else has taken over among them.
#include "server/answer.h"

#include <gtest/gtest.h>

#include <nlohmann/json.hpp>
#include <string>

#include "photo/base/failure.h"
#include "server/problem.h"

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

}  // namespace
}  // namespace qx::server
