#include "table.hpp"

#include <string>

namespace bench {
namespace {

constexpr std::array columns{"nodetree",  "jansson", "json-c", "cJSON",
                             "msgpack-c", "floor",   "events"};

// What nodetree is meant to reach, as a ratio to the time of the column `base`.
struct aim {
  const char *base;
  double limit; // 0: faster than every other library
};

aim aim_of(row operation, const document &input) {
  switch (operation) {
  case row::parse:
    return {"floor", input.generated ? 1.5 : 1.3};
  case row::release:
    return {"floor", 1.2};
  case row::stringify:
    return {"floor", 1.05};
  case row::lookup:
    return {"json-c", 0.6};
  case row::copy:
    return {"floor", 1.6};
  case row::decode:
    return {"floor", 1.3};
  case row::encode:
    return {"msgpack-c", 0};
  case row::equality:
    break;
  }
  return {"floor", 0};
}

std::string name_of(row operation, const char *column) {
  return std::string(to_string(operation)) + '/' + column;
}

double fastest_library(row operation, const collector &measured) {
  double result = 0;
  for (const char *library : {"jansson", "json-c", "cJSON", "msgpack-c"}) {
    double time = measured.median(name_of(operation, library));
    if (time > 0 && (result <= 0 || time < result))
      result = time;
  }
  return result;
}

// Ratios to the time of the aim's base; 0 where there is none.
chart_lane measure_row(row operation, const aim &goal, const collector &measured) {
  chart_lane result{to_string(operation), std::vector<double>(columns.size())};
  double base = measured.median(name_of(operation, goal.base));
  if (base <= 0)
    return result;
  for (std::size_t i = 0; i < columns.size(); ++i)
    result.ratios[i] = measured.median(name_of(operation, columns[i])) / base;
  result.aim = goal.limit > 0 ? goal.limit : fastest_library(operation, measured) / base;
  return result;
}

void print_row(std::FILE *out, const chart_lane &entries, const aim &goal) {
  std::fprintf(out, "%-10s", entries.name.c_str());
  for (double ratio : entries.ratios) {
    if (ratio > 0)
      std::fprintf(out, "%10.2f", ratio);
    else
      std::fprintf(out, "%10s", "-");
  }
  if (goal.limit > 0)
    std::fprintf(out, "   <= %.2f", goal.limit);
  else
    std::fprintf(out, "   < libs ");
  double own = entries.ratios.front();
  if (own > 0 && entries.aim > 0)
    std::fprintf(out, "  %s", own <= entries.aim ? "met" : "MISSED");
  std::fputc('\n', out);
}

// MessagePack beside JSON, of nodetree itself.
void print_gain(std::FILE *out, row packed, row json, const collector &measured) {
  constexpr double limit = 1.0 / 3;
  double time = measured.median(name_of(packed, "nodetree"));
  double base = measured.median(name_of(json, "nodetree"));
  if (time > 0 && base > 0)
    std::fprintf(out, "%-10s%10.2f of %-*s   <= %.2f  %s\n", to_string(packed), time / base,
                 static_cast<int>(10 * columns.size()) - 14, to_string(json), limit,
                 time <= limit * base ? "met" : "MISSED");
}

} // namespace

std::string benchmark_name(row operation, const contender &library) {
  return name_of(operation, library.name);
}

void print_table(std::FILE *out, const document &input, const collector &measured) {
  std::fprintf(out, "\n%s: %zu bytes, %zu values\n%-10s", input.name.c_str(),
               input.text.size(), input.values, "");
  for (const char *column : columns)
    std::fprintf(out, "%10s", column);
  std::fprintf(out, "   aim of nodetree\n");
  for (row operation : all_rows) {
    aim goal = aim_of(operation, input);
    print_row(out, measure_row(operation, goal, measured), goal);
  }
  print_gain(out, row::decode, row::parse, measured);
  print_gain(out, row::encode, row::stringify, measured);
}

std::vector<std::string> table_columns() {
  return {columns.begin(), columns.end()};
}

chart_panel draw_table(const document &input, const collector &measured) {
  chart_panel result{
      input.name + ": times as ratios to the base of each row, less is faster", {}};
  for (row operation : all_rows)
    result.lanes.push_back(measure_row(operation, aim_of(operation, input), measured));
  return result;
}

} // namespace bench
