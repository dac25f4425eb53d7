// Options as pairs of names and values: the same words as on the command line, and nothing that a value can break.
#include <gtest/gtest.h>

#include <CLI/CLI.hpp>
#include <string>
#include <vector>

#include "orders/background.h"
#include "orders/check.h"
#include "orders/make.h"
#include "orders/order.h"
#include "orders/retouch.h"
#include "photo/base/failure.h"

namespace qx::orders {
namespace {

using photo::Failure;
using photo::FailureCode;
using namespace std::string_literals;

template <typename Kind>
const Kind& As(const std::unique_ptr<Order>& order) {
  return dynamic_cast<const Kind&>(*order);
}

struct Refusal {
  FailureCode code;
  std::string text, option;
};

Refusal RefusalOf(const std::string& command, const OptionPairs& options) {
  try {
    ParseOrder(command, options);
  } catch (const Failure& failure) {
    return {failure.Code(), failure.what(), failure.Word("option")};
  }
  return {FailureCode::kEngine, "(taken)", ""};
}

TEST(ParseOrder, ReadsWhatTheCommandLineReads) {
  const auto make = ParseOrder("make", {{"preset", "de-passport"},
                                        {"eyes", "20-25mm"},
                                        {"eyes", "-2.5"},
                                        {"tone", "3"},
                                        {"max-kb", "120"},
                                        {"relax", ""},
                                        {"strict", "true"},
                                        {"compare", "false"},
                                        {"force", "true"},
                                        {"format", "PNG"},
                                        {"background", "transparent"}});
  const auto& order = As<MakeOrder>(make);
  EXPECT_EQ(-2.5, order.Request().retouch.eyes);
  EXPECT_EQ(3, order.Request().retouch.tone);
  EXPECT_EQ(120, order.Request().document.maxKb);
  EXPECT_TRUE(order.document.eyes && order.Request().relax && order.Request().strict && order.document.force);
  EXPECT_FALSE(order.Request().compare);
  EXPECT_TRUE(order.Request().background.IsTransparent());
  EXPECT_EQ(codec::ImageFormat::kPng, order.format);

  EXPECT_EQ(-10, As<RetouchOrder>(ParseOrder("retouch", {{"mouth", "-10"}})).Wanted().mouth);
  EXPECT_EQ(photo::NamedRetouch("natural").skin, As<RetouchOrder>(ParseOrder("retouch", {})).Wanted().skin);
  EXPECT_EQ("de-passport", As<CheckOrder>(ParseOrder("check", {{"preset", "de-passport"}})).Preset().name);
}

TEST(ParseOrder, LowersTheLimitAndNeverRaisesIt) {
  const codec::Limits most{50'000'000};
  EXPECT_EQ(most.pixels, ParseOrder("inspect", {}, most)->limits.pixels);
  EXPECT_EQ(most.pixels, ParseOrder("inspect", {{"max-megapixels", "600"}}, most)->limits.pixels);
  EXPECT_EQ(7'000'000, ParseOrder("inspect", {{"max-megapixels", "7"}}, most)->limits.pixels);
}

TEST(ParseOrder, RefusesInTheCommandsWordsWithoutDashes) {
  struct Case {
    const char* command;
    OptionPairs options;
    const char *text, *option;
  };
  const Case cases[] = {
      {"make", {{"size", "35x45mm"}, {"tone", "99"}}, "tone: Value 99 not in range 0 to 10", "tone"},
      {"make", {{"size", "big"}}, "size: \"big\" is no size", "size"},
      {"make", {{"size", "35x45mm"}, {"eyes", "11"}}, "or as a size from -10 to 10", "eyes"},
      {"make", {{"size", "35x45mm"}, {"dpi", "300"}, {"dpi", "301"}}, "dpi", "dpi"},
      {"make", {{"size", ""}}, "size: wants a value", "size"},
      {"make", {{"relax", "maybe"}}, "relax: is on (true) or off (false), not \"maybe\"", "relax"},
      {"make", {}, "name a preset or give a size", "preset"},
      {"make",
       {{"preset", "de-passport"}, {"pair", ""}, {"person", "2"}},
       "pair takes two faces, person one",
       "person"},
      {"make", {{"preset", "cn-marriage-certificate"}}, "shows two persons; add pair", "pair"},
      {"make",
       {{"size", "35x45mm"}, {"background", "transparent"}, {"format", "jpg"}},
       "choose format png, or choose a colour with background",
       "background"},
      {"make", {{"output", "/etc/passwd"}}, "make has no option \"output\"", "output"},
      {"make", {{"mask", "/etc/passwd"}}, "make has no option \"mask\"", "mask"},
      {"make", {{"help", ""}}, "make has no option \"help\"", "help"},
      {"make", {{"-preset", "de-passport"}}, "make has no option \"-preset\"", "-preset"},
      {"make", {{"preset=x", "de-passport"}}, "make has no option", "preset=x"},
      {"background", {}, "background is required", "background"},
      {"background", {{"background", "keep"}}, "background keep would change nothing", "background"},
      {"background", {{"background", "blu"}}, "background: 'blu' is no background", "background"},
      {"compress", {}, "give max-kb, min-kb or dpi", "max-kb"},
      {"compress", {{"max-kb", "1"}, {"min-kb", "2"}}, "the least size is above the largest", "min-kb"},
      {"crop", {{"ratio", "nan"}}, "must be between 0 and 1", "ratio"},
      {"crop", {{"src-same", ""}, {"bound", "700"}}, "bound excludes src-same", "bound"},
      {"inspect", {{"points", "key"}}, "points requires draw", "points"},
      {"sheet", {{"margin", "3q"}}, "margin: \"3q\" is no length; write it as 3mm", "margin"},
      {"sheet", {{"size", "30x40px"}}, "size is a print size", "size"},
      {"watermark", {{"size", "20"}}, "text is required", "text"},
      {"watermark", {{"text", " "}}, "the watermark has no text", "text"},
      {"watermark", {{"text", "x"}, {"opacity", "1.5"}}, "must be between 0 and 1", "opacity"},
      {"watermark", {{"text", "x"}, {"color", "blu"}}, "must be a colour", "color"},
      {"presets", {{"name", "de-passport"}, {"search", "visa"}}, "search excludes name", "search"},
  };
  for (const Case& c : cases) {
    const Refusal refusal = RefusalOf(c.command, c.options);
    EXPECT_EQ(FailureCode::kBadOption, refusal.code) << c.text;
    EXPECT_NE(std::string::npos, refusal.text.find(c.text)) << refusal.text;
    EXPECT_EQ(std::string::npos, refusal.text.find("--")) << refusal.text;
    EXPECT_EQ(c.option, refusal.option) << refusal.text;
  }
  EXPECT_EQ(FailureCode::kBadOption, RefusalOf("batch", {}).code);
  EXPECT_EQ(FailureCode::kUnknownPreset, RefusalOf("make", {{"preset", "none"}}).code);
  EXPECT_EQ(FailureCode::kUnknownPreset, RefusalOf("presets", {{"name", "none"}}).code);
  EXPECT_EQ(FailureCode::kForbiddenEdit, RefusalOf("make", {{"preset", "us-passport"}, {"beauty", "light"}}).code);
}

// Every option of every command is given values that try to be something else.
TEST(ParseOrder, AValueIsNeverMoreThanAValue) {
  const std::string values[] = {"--pair",
                                "-",
                                "--",
                                "=",
                                "[a,b]",
                                "{}",
                                "%%",
                                "1\0002"s,
                                "\xff\xfe",
                                "1\n--pair",
                                "@/etc/passwd",
                                "../../etc/passwd",
                                "9999999999999999999999",
                                std::string(3'000'000, 'a'),
                                std::string(3'000'000, '\0')};
  size_t tried = 0;
  for (const std::string& command : OrderNames()) {
    const auto blank = NewOrder(command);
    CLI::App parser;
    parser.set_help_flag();
    blank->AddOptions(parser);
    blank->AddChoices(parser);
    for (const CLI::Option* option : parser.get_options()) {
      const std::string name = option->get_lnames().at(0);
      for (const std::string& value : values) {
        ++tried;
        try {
          ParseOrder(command, {{name, value}, {"max-megapixels", "3"}});
          // Free text, as it is searched or drawn.
          const bool isText = (command == "presets" && name == "search") || (command == "watermark" && name == "text");
          EXPECT_TRUE(isText) << command << " " << name << " " << value.substr(0, 20);
        } catch (const Failure& failure) {
          EXPECT_LT(std::string(failure.what()).size(), 5000u);
          EXPECT_EQ(std::string::npos, std::string(failure.what()).find('\n'));
        }
      }
    }
    for (const std::string& name : values) {
      EXPECT_EQ(FailureCode::kBadOption, RefusalOf(command, {{name, "1"}}).code) << command;
    }
  }
  EXPECT_GT(tried, 900u);
}

TEST(StemOf, IsSafeToWrite) {
  EXPECT_EQ("holiday", StemOf("holiday.jpg"));
  EXPECT_EQ("a.b", StemOf("C:\\me\\a.b.jpeg"));
  EXPECT_EQ("passwd", StemOf("../../etc/passwd"));
  for (const char* name : {"", ".", "..", "/", "a/", ".jpg", "../..", ".hidden.png"}) EXPECT_EQ("photo", StemOf(name));
  EXPECT_EQ("a_b_c_d", StemOf("a\nb\xff"
                              "c:d.png"));
  EXPECT_EQ("\xc3\xa4", StemOf("\xc3\xa4.png"));
  EXPECT_EQ(100u, StemOf(std::string(5000, 'x')).size());
  EXPECT_EQ(100u, StemOf("a" + std::string(5000, '\xff')).size());
}

}  // namespace
}  // namespace qx::orders
