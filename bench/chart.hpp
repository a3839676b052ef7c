// A picture of a result table: ratios as dots on a logarithmic scale.
#pragma once

#include <span>
#include <string>
#include <vector>

namespace bench {

struct chart_lane {
  std::string name;
  std::vector<double> ratios; // by series; 0 is none
  double aim = 0;             // what the first series is to stay below; 0 is none
};

struct chart_panel {
  std::string title;
  std::vector<chart_lane> lanes;
};

struct chart {
  std::vector<std::string> series; // at most eight; the first is drawn largest
  std::vector<chart_panel> panels;
};

// Throws std::runtime_error when the file cannot be written.
void write_svg(const std::string &path, const chart &picture);

} // namespace bench
