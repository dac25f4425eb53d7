// The table of measures that people read, against the one by which they are judged.
#include <gtest/gtest.h>

#include <cmath>
#include <cstdio>
#include <fstream>
#include <map>
#include <sstream>
#include <string>
#include <vector>

#include "photo/check/measure.h"

namespace qx::photo {
namespace {

std::vector<std::string> Cells(const std::string& row) {
  std::vector<std::string> cells;
  std::istringstream line(row);
  for (std::string cell; std::getline(line, cell, '|');) {
    const size_t from = cell.find_first_not_of(' '), to = cell.find_last_not_of(' ');
    cells.push_back(from == std::string::npos ? "" : cell.substr(from, to - from + 1));
  }
  return cells;
}

std::string Number(double value) {
  char text[32];
  std::snprintf(text, sizeof text, "%g", value);
  return text;
}

std::string OrDash(const std::string& text) {
  return text.empty() ? "-" : text;
}

std::string Limit(const MeasureRow& row) {
  const bool least = std::isfinite(row.min), most = std::isfinite(row.max);
  if (least && most) return Number(row.min) + " to " + Number(row.max);
  return least ? "at least " + Number(row.min) : most ? "at most " + Number(row.max) : "-";
}

// Columns: measure, is, unit, limit, tolerance, whose limit, what to do.
TEST(MeasuresPaper, TellsTheTableOfMeasures) {
  std::ifstream paper(QX_DOCS_FOLDER "/checks.md");
  ASSERT_TRUE(paper);
  std::map<std::string, std::vector<std::string>> rows;
  for (std::string line; std::getline(paper, line);) {
    const std::vector<std::string> cells = Cells(line);
    if (cells.size() == 8) rows[cells[1]] = cells;
  }
  for (int i = 0; i < static_cast<int>(MeasureId::kCount); ++i) {
    const MeasureRow& row = RowOf(static_cast<MeasureId>(i));
    ASSERT_EQ(1u, rows.count(row.name)) << row.name;
    const std::vector<std::string>& told = rows[row.name];
    EXPECT_EQ(OrDash(row.unit), told[3]) << row.name;
    EXPECT_EQ(Limit(row), told[4]) << row.name;
    EXPECT_EQ(row.tolerance > 0 ? Number(row.tolerance) : "-", told[5]) << row.name;
    EXPECT_EQ(OrDash(row.source), told[6]) << row.name;
    EXPECT_FALSE(told[2].empty() || told[7].empty()) << row.name;
  }
}

}  // namespace
}  // namespace qx::photo
