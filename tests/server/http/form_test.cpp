// Forms with files, and what is wrong with them.
#include <gtest/gtest.h>

#include <string>

#include "server/http/multipart.h"
#include "server/http/problem.h"

namespace {

using namespace qx::server;  // NOLINT: all of it

const Limits kLimits;

Bytes ToBytes(const std::string& text) {
  return {text.begin(), text.end()};
}

std::string Text(const Bytes& bytes) {
  return {bytes.begin(), bytes.end()};
}

std::string PartOf(const std::string& head, const std::string& content) {
  return "--b\r\nContent-Disposition: form-data; " + head + "\r\n\r\n" + content + "\r\n";
}

// "status text" of the problem, or "" where there is none.
std::string Refusal(const std::string& body) {
  Request request;
  try {
    TakeForm(ToBytes(body), "b", kLimits, &request);
    return "";
  } catch (const Problem& problem) {
    return std::to_string(problem.status) + " " + problem.what();
  }
}

TEST(Form, FilesAndOptionsComeOutWhole) {
  // Content with lines, with bytes of no text, and with what only looks like the boundary.
  const std::string photo = std::string("\xff\xd8\0\r\n--bar\r\n--", 13) + "\r\n", mask = "\r\n";
  const std::string body =
      "preamble\r\n" + PartOf("name=\"preset\"", "de-passport") +
      "--b  \r\ncontent-type: image/jpeg\r\nContent-Transfer-Encoding: binary\r\n"
      "content-DISPOSITION: form-data; filename=\"C:\\me\\a \\\"b\\\";c.jpg\"; name=photo\r\n\r\n" +
      photo + "\r\n" + PartOf("name=\"mask\"; filename=\"m.png\"", mask) + PartOf("name=empty", "") +
      "--b--\r\nepilogue";
  Request request;
  request.options = {{"dpi", "300"}};
  TakeForm(ToBytes(body), "b", kLimits, &request);
  EXPECT_EQ(Text(request.photo), photo);
  EXPECT_EQ(Text(request.mask), mask);
  EXPECT_EQ(request.photoName, "a \"b\";c.jpg");
  EXPECT_EQ(request.contentType, "image/jpeg");
  EXPECT_EQ(request.options, (Pairs{{"dpi", "300"}, {"preset", "de-passport"}, {"empty", ""}}));
}

TEST(Form, WhatIsMalformedIsRefused) {
  const std::string photo = PartOf("name=photo; filename=a", "x"), end = "--b--";
  EXPECT_EQ(Refusal(photo + end), "");
  const std::pair<std::string, const char*> cases[] = {
      {"", "ends too early"},
      {photo, "ends too early"},
      {photo + "--bx--", "ends too early"},
      {"--b\r\nContent-Disposition: form-data; name=photo\r\n\r\nx", "ends too early"},
      {"--bx\r\n" + end, "line of its own"},
      {"--b\r\n\r\nx\r\n" + end, "no name"},
      {"--b\r\nContent-Type: image/png\r\n\r\nx\r\n" + end, "no name"},
      {"--b\r\nContent-Disposition: attachment; name=photo\r\n\r\nx\r\n" + end, "no form-data"},
      {"--b\r\nwithout a colon\r\n\r\nx\r\n" + end, "no colon"},
      {"--b\r\nX: " + std::string(5000, 'a') + "\r\n\r\nx\r\n" + end, "too long"},
      {PartOf("name=\"photo", "x") + end, "quotation mark"},
      {PartOf("name=photo; name=mask", "x") + end, "twice"},
      {PartOf("name", "x") + end, "no value"},
      {"--b\r\nContent-Transfer-Encoding: base64\r\nContent-Disposition: form-data; name=photo\r\n\r\nx\r\n" + end,
       "no encoding"},
      {photo + photo + end, "more than one file"},
      {photo + PartOf("name=other; filename=o", "x") + end, "other than"},
      {PartOf("name=preset", "x") + end, "no file \"photo\""},
      {PartOf("name=photo; filename=a", "") + end, "no file \"photo\""},
      {photo + PartOf("name=a", std::string("\0", 1)) + end, "no text"},
      {photo + PartOf("name=a", std::string(5000, 'a')) + end, "too long"},
      {photo + PartOf("name=" + std::string(100, 'a'), "") + end, "too long"},
  };
  for (const auto& [body, words] : cases) {
    const std::string refusal = Refusal(body);
    EXPECT_EQ(refusal.substr(0, 4), "400 ") << body;
    EXPECT_NE(refusal.find(words), std::string::npos) << refusal << "\n" << body;
  }
  std::string many = photo;
  for (size_t i = 0; i < kLimits.parts; ++i) many += PartOf("name=a", "1");
  EXPECT_NE(Refusal(many + end).find("too many parts"), std::string::npos);
}

TEST(Form, ASheetTakesSeveralPhotographs) {
  const auto photo = [](const std::string& content) { return PartOf("name=photo; filename=a", content); };
  const auto copies = [](const std::string& count) { return PartOf("name=copies", count); };
  const auto taken = [](const std::string& body) {
    Request request;
    request.route = {Place::kCommand, "sheet", "/v1/sheet"};
    TakeForm(ToBytes(body + "--b--"), "b", kLimits, &request);
    return request;
  };
  const Request two = taken(copies("3") + photo("one") + photo("two") + PartOf("name=paper", "A5") + copies("0"));
  EXPECT_EQ(Text(two.photo), "one");
  ASSERT_EQ(two.morePhotos.size(), 1U);
  EXPECT_EQ(Text(two.morePhotos[0]), "two");
  EXPECT_EQ(two.copies, (std::vector<std::string>{"", "0"}));
  EXPECT_EQ(two.options, (Pairs{{"copies", "3"}, {"paper", "A5"}}));
  EXPECT_EQ(taken(photo("one")).copies.size(), 0U);

  std::string many;
  for (size_t i = 0; i < kLimits.sheetPhotos; ++i) many += photo("x");
  EXPECT_EQ(taken(many).morePhotos.size(), kLimits.sheetPhotos - 1);
  for (const std::string& bad : {many + photo("x"), photo("x") + copies("1") + copies("1"), photo("x") + photo(""),
                                 copies("1"), photo("x") + copies("\n")}) {
    EXPECT_THROW(taken(bad), Problem) << bad;
  }
}

TEST(Form, BoundariesAreReadFromTheType) {
  EXPECT_EQ(BoundaryOf("multipart/form-data; boundary=----WebKitFormBoundaryAbC"), "----WebKitFormBoundaryAbC");
  EXPECT_EQ(BoundaryOf("Multipart/Form-Data ; charset=utf-8; BOUNDARY=\"a b\""), "a b");
  EXPECT_EQ(BoundaryOf("image/jpeg"), "");
  EXPECT_EQ(BoundaryOf(""), "");
  const auto status = [](const std::string& type) {
    try {
      BoundaryOf(type);
      return 200U;
    } catch (const Problem& problem) {
      return problem.status;
    }
  };
  EXPECT_EQ(status("multipart/mixed; boundary=a"), 415U);
  for (const std::string bad : {"", "; boundary=", "; boundary=\"a ", "; boundary=\"a \"", "; boundary=a\rb", ";x"}) {
    EXPECT_EQ(status("multipart/form-data" + bad), 400U) << bad;
  }
  EXPECT_EQ(status("multipart/form-data; boundary=" + std::string(71, 'a')), 400U);
}

}  // namespace
