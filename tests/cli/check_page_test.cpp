#include "cli/check_page.h"

#include <gtest/gtest.h>

#include <string>

#include "support/test_files.h"

namespace qx::cli {
namespace {

using namespace qx::test;

size_t CountOf(const std::string& text, const std::string& part) {
  size_t count = 0;
  for (size_t at = text.find(part); at != std::string::npos; at = text.find(part, at + part.size())) ++count;
  return count;
}

photo::PhotoCheck SomeCheck() {
  photo::PhotoCheck check;
  check.lines = {{"head", "mm", 30.1, 32.0, 36.0, 0}, {"faces", "", 1, 1.0, 1.0, 0}};
  photo::MeasureList list;
  list.Judge(photo::MeasureId::kLipGap, 2, "close <your> mouth & \"smile\"");
  check.measures = list.All();
  return check;
}

TEST(CheckPage, HoldsEveryFindingOnceAndLoadsNothing) {
  CheckPage page;
  page.Add("one.jpg", GradientImage(1500, 900), SomeCheck());
  const std::string html = page.Html();
  for (const photo::Measure& measure : SomeCheck().measures) {
    const bool isAssessed = measure.state != photo::MeasureState::kNotAssessed;
    EXPECT_EQ(isAssessed ? 1 : 2, CountOf(html, "<small>" + measure.id + "</small>")) << measure.id;  // and on paper
  }
  EXPECT_LT(html.find("To do"), html.find("<table>"));
  EXPECT_LT(html.find("the head is too small: 1.9 mm missing"), html.find("<table>"));
  for (const char* foreign : {"http:", "https:", "//", "<script", "<link", "@import", "url("}) {
    std::string other = html;  // pictures may hold any digits
    for (size_t at; (at = other.find("base64,")) != std::string::npos;) other.erase(at, other.find('"', at) - at);
    EXPECT_EQ(0, CountOf(other, foreign)) << foreign;
  }
  EXPECT_EQ(2, CountOf(html, "src="));
  EXPECT_EQ(2, CountOf(html, "src=\"data:image/jpeg;base64,/9j/"));
  EXPECT_EQ(1, CountOf(html, "width=\"1200\" height=\"720\""));
  EXPECT_EQ(0, CountOf(html, "href="));  // no overview of one
}

TEST(CheckPage, EscapesWhatOthersWrote) {
  const std::string hostile = "a<b onload='x'>&\"\n\xFF\x1B.jpg";
  CheckPage page;
  page.Add(hostile, GradientImage(1, 1), SomeCheck());
  page.AddFailure(hostile, "no <such> file");
  const std::string html = page.Html();
  EXPECT_EQ(4, CountOf(html, "<bdi>a&lt;b onload=&#39;x&#39;&gt;&amp;&quot;\\x0A\\xFF\\x1B.jpg</bdi>"));
  EXPECT_EQ(2, CountOf(html, "no &lt;such&gt; file"));
  EXPECT_EQ(2, CountOf(html, "close &lt;your&gt; mouth &amp; &quot;smile&quot;"));
  for (const char* raw : {"<b ", "<your>", "<such>", "\x1B", "\xFF"}) EXPECT_EQ(0, CountOf(html, raw)) << raw;
  for (const char* number : {"1", "2"}) {
    EXPECT_EQ(1, CountOf(html, std::string("href=\"#photo-") + number + "\""));
    EXPECT_EQ(1, CountOf(html, std::string("id=\"photo-") + number + "\""));
  }
  for (const char* tag : {"table", "section", "tr", "td", "details", "ul", "li", "div", "span", "small"}) {
    EXPECT_EQ(CountOf(html, std::string("</") + tag + ">"),
              CountOf(html, std::string("<") + tag + ">") + CountOf(html, std::string("<") + tag + " "))
        << tag;
  }
}

}  // namespace
}  // namespace qx::cli
