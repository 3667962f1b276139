#include "base/table.h"

#include <fmt/core.h>

#include <algorithm>

#include "base/terminal.h"

namespace vok::tool {

Table::Table(std::vector<Column> columns) : columns_(std::move(columns)), widths_(columns_.size(), 0) {
  std::vector<std::string> titles;
  for (const Column& column : columns_) titles.push_back(column.title);
  AddRow(std::move(titles));
}

void Table::AddRow(std::vector<std::string> cells) {
  for (std::size_t i = 0; i < cells.size(); ++i) widths_[i] = std::max(widths_[i], cells[i].size());
  rows_.push_back(std::move(cells));
}

std::string Table::Line(const std::vector<std::string>& cells) const {
  std::string line;
  for (std::size_t i = 0; i < cells.size(); ++i) {
    if (i != 0) line += "  ";
    const bool left = columns_[i].align == Align::kLeft;
    line += left ? fmt::format("{:<{}}", cells[i], widths_[i]) : fmt::format("{:>{}}", cells[i], widths_[i]);
  }
  line.erase(line.find_last_not_of(' ') + 1);
  return line;
}

void Table::Print() const {
  for (const std::vector<std::string>& row : rows_) tool::Print(Line(row) + '\n');
}

}  // namespace vok::tool
