#pragma once

#include <string>
#include <vector>

namespace vok::tool {

/// A table for the terminal, its columns as wide as their widest cell.
class Table {
 public:
  enum class Align { kLeft, kRight };
  struct Column {
    std::string title;
    Align align = Align::kLeft;
  };

  explicit Table(std::vector<Column> columns);
  void AddRow(std::vector<std::string> cells);
  void Print() const;

 private:
  std::string Line(const std::vector<std::string>& cells) const;

  std::vector<Column> columns_;
  std::vector<std::size_t> widths_;
  std::vector<std::vector<std::string>> rows_;
};

}  // namespace vok::tool
