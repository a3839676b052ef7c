#include "chart.hpp"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdio>
#include <memory>
#include <stdexcept>

namespace bench {
namespace {

constexpr double width = 950;
constexpr double left = 240; // of the scale; the names of lanes stand before it
constexpr double right = 870;
constexpr double lane_height = 24;
constexpr double legend_height = 40;
constexpr double title_height = 44;
constexpr double foot_height = 26; // the numbers of the scale

// Told apart by colour-blind readers as well.
constexpr std::array colors{"#000000", "#e69f00", "#56b4e9", "#009e73",
                            "#cc79a7", "#d55e00", "#999999", "#0072b2"};

struct closer {
  void operator()(std::FILE *file) const { std::fclose(file); }
};

std::string escaped(const std::string &text) {
  std::string result;
  for (char c : text) {
    if (c == '<')
      result += "&lt;";
    else if (c == '&')
      result += "&amp;";
    else
      result += c;
  }
  return result;
}

// Powers of ten that hold every ratio and, to show where they stand, 1.
class scale {
public:
  explicit scale(const chart &picture) {
    for (const chart_panel &panel : picture.panels)
      for (const chart_lane &lane : panel.lanes) {
        hold(lane.aim);
        for (double ratio : lane.ratios)
          hold(ratio);
      }
  }

  double x(double ratio) const {
    return left + (right - left) * (std::log10(ratio) - low_) / (high_ - low_);
  }

  // The numbers from 1 to 9 times every power.
  template <typename Visit>
  void ticks(Visit visit) const {
    for (int power = low_; power < high_; ++power)
      for (int digit = 1; digit < 10; ++digit)
        visit(digit * std::pow(10, power), digit);
    visit(std::pow(10, high_), 1);
  }

private:
  void hold(double ratio) {
    if (ratio <= 0)
      return;
    low_ = std::min(low_, static_cast<int>(std::floor(std::log10(ratio))));
    high_ = std::max(high_, static_cast<int>(std::ceil(std::log10(ratio))));
  }

  int low_ = 0, high_ = 1;
};

class painter {
public:
  painter(std::FILE *out, const chart &picture)
      : out_(out), picture_(picture), scale_(picture) {}

  void draw() {
    double height = legend_height + 10;
    for (const chart_panel &panel : picture_.panels)
      height += panel_height(panel);
    std::fprintf(out_,
                 "<svg xmlns=\"http://www.w3.org/2000/svg\" viewBox=\"0 0 %g %g\" "
                 "font-family=\"sans-serif\" font-size=\"13\">\n"
                 "<rect width=\"100%%\" height=\"100%%\" fill=\"#fff\"/>\n",
                 width, height);
    legend();
    double top = legend_height;
    for (const chart_panel &panel : picture_.panels) {
      draw(panel, top);
      top += panel_height(panel);
    }
    std::fputs("</svg>\n", out_);
  }

private:
  static double panel_height(const chart_panel &panel) {
    return title_height + lane_height * static_cast<double>(panel.lanes.size()) +
           foot_height;
  }

  void text(double x, double y, const char *anchor, const std::string &words) {
    std::fprintf(out_, "<text x=\"%.1f\" y=\"%.1f\" text-anchor=\"%s\">%s</text>\n", x, y,
                 anchor, escaped(words).c_str());
  }

  void line(double x, double top, double bottom, const char *color, double thickness) {
    std::fprintf(out_, "<path d=\"M%.1f %.1fV%.1f\" stroke=\"%s\" stroke-width=\"%g\"/>\n",
                 x, top, bottom, color, thickness);
  }

  void dot(std::size_t series, double x, double y, const std::string &hint) {
    std::fprintf(out_,
                 "<circle cx=\"%.1f\" cy=\"%.1f\" r=\"%g\" fill=\"%s\" "
                 "fill-opacity=\"0.85\"><title>%s</title></circle>\n",
                 x, y, series == 0 ? 6.5 : 5, colors.at(series), escaped(hint).c_str());
  }

  bool has_aims() const {
    return std::any_of(
        picture_.panels.begin(), picture_.panels.end(), [](const chart_panel &panel) {
          return std::any_of(panel.lanes.begin(), panel.lanes.end(),
                             [](const chart_lane &lane) { return lane.aim > 0; });
        });
  }

  void legend() {
    double x = left;
    for (std::size_t i = 0; i < picture_.series.size(); ++i) {
      const std::string &name = picture_.series[i];
      dot(i, x, 20, name);
      text(x + 11, 24.5, "start", name);
      x += 32 + 7.5 * static_cast<double>(name.size());
    }
    if (has_aims()) {
      line(x, 12, 28, "#d00", 2);
      text(x + 8, 24.5, "start", "aim");
    }
  }

  void draw(const chart_panel &panel, double top) {
    const double first = top + title_height;
    const double bottom = first + lane_height * static_cast<double>(panel.lanes.size());
    text(left, top + 30, "start", panel.title);
    scale_.ticks([&](double ratio, int digit) {
      const double x = scale_.x(ratio);
      line(x, first, bottom, digit == 1 ? "#bbb" : "#eee", ratio == 1 ? 2 : 1);
      if (digit == 1) {
        char number[32];
        std::snprintf(number, sizeof number, "%g", ratio);
        text(x, bottom + 16, "middle", number);
      }
    });
    double y = first + lane_height / 2;
    for (const chart_lane &lane : panel.lanes) {
      draw(lane, y);
      y += lane_height;
    }
  }

  void draw(const chart_lane &lane, double y) {
    text(left - 14, y + 4.5, "end", lane.name);
    if (lane.aim > 0)
      line(scale_.x(lane.aim), y - 9, y + 9, "#d00", 2);
    // The first series last, so that none hides it.
    for (std::size_t i = lane.ratios.size(); i-- > 0;) {
      if (lane.ratios[i] <= 0)
        continue;
      char number[32];
      std::snprintf(number, sizeof number, "%.2f", lane.ratios[i]);
      dot(i, scale_.x(lane.ratios[i]), y, picture_.series[i] + ": " + number);
      if (i == 0)
        text(right + 14, y + 4.5, "start", number);
    }
  }

  std::FILE *out_;
  const chart &picture_;
  scale scale_;
};

} // namespace

void write_svg(const std::string &path, const chart &picture) {
  std::unique_ptr<std::FILE, closer> file(std::fopen(path.c_str(), "w"));
  if (!file)
    throw std::runtime_error(path + ": cannot be written");
  painter(file.get(), picture).draw();
  if (std::ferror(file.get()) != 0 || std::fclose(file.release()) != 0)
    throw std::runtime_error(path + ": not written in full");
}

} // namespace bench
