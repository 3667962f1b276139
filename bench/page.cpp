#include "page.h"

#include <cmath>
#include <fstream>
#include <iomanip>
#include <sstream>

namespace vok::bench {

namespace {

double TimeAt(const Times& times, const Workload& workload, std::uint32_t version, std::uint32_t count, Side side) {
  const auto row = times.find({workload.name, version, count, side});
  return row != times.end() ? row->second : NAN;
}

double PerOperation(const Times& times, const Workload& workload, std::uint32_t version, std::uint32_t count,
                    Side side) {
  return TimeAt(times, workload, version, count, side) / workload.operations(count) * 1e9;
}

double RatioAt(const Times& times, const Workload& workload, std::uint32_t version, std::uint32_t count) {
  return TimeAt(times, workload, version, count, Side::kStore) /
         TimeAt(times, workload, version, count, Side::kYardstick);
}

/// The power of the item count with which the whole time grows.
double GrowthExponent(const Times& times, const Workload& workload, std::uint32_t version, Side side) {
  const double growth =
      TimeAt(times, workload, version, kCounts.back(), side) / TimeAt(times, workload, version, kCounts.front(), side);
  return std::log(growth) / std::log(double{kCounts.back()} / kCounts.front());
}

/// A dash where a filtered run left a row out.
std::string Number(double value, int digits) {
  if (std::isnan(value)) return "-";
  std::ostringstream out;
  out << std::fixed << std::setprecision(digits) << value;
  return out.str();
}

std::string ProcessorName() {
  std::ifstream file("/proc/cpuinfo");
  for (std::string line; std::getline(file, line);)
    if (line.starts_with("model name")) return line.substr(line.find(':') + 2);
  return "unknown processor";
}

void Replace(std::string& text, const std::string& mark, const std::string& value) {
  for (std::size_t at = text.find(mark); at != std::string::npos; at = text.find(mark, at + value.size()))
    text.replace(at, mark.size(), value);
}

}  // namespace

std::string Table(const Times& times, std::uint32_t version) {
  std::ostringstream out;
  out << "| workload | ns, N = 1000 | 4000 | 16 000 | yardstick, 16 000 | ratio, 8000 | 16 000 | goal | growth | "
         "yardstick's |\n"
         "|---|--:|--:|--:|--:|--:|--:|--:|--:|--:|\n";
  for (const Workload& workload : Workloads()) {
    out << "| " << workload.title;
    for (const std::uint32_t count : {1000u, 4000u, 16000u})
      out << " | " << Number(PerOperation(times, workload, version, count, Side::kStore), 1);
    out << " | " << Number(PerOperation(times, workload, version, 16000, Side::kYardstick), 1);
    for (const std::uint32_t count : {8000u, 16000u})
      out << " | " << Number(RatioAt(times, workload, version, count), 2);
    out << " | " << (workload.goal != 0 ? "≤ " + Number(workload.goal, 1) : "");
    for (const Side side : {Side::kStore, Side::kYardstick})
      out << " | " << Number(GrowthExponent(times, workload, version, side), 2);
    out << " |\n";
  }
  return out.str();
}

bool WritePage(const std::string& path, const Times& times) {
  std::ifstream file(VOK_BENCH_TEMPLATE);
  std::stringstream content;
  content << file.rdbuf();
  std::string text = content.str();
  Replace(text, "@MACHINE@", ProcessorName());
  Replace(text, "@COMPILER@", "gcc " __VERSION__);
  for (const std::uint32_t version : kVersions)
    Replace(text, "@TABLE_" + std::to_string(version) + "@", Table(times, version));
  std::ofstream page(path);
  page << text;
  return file.good() && page.flush().good();
}

}  // namespace vok::bench
