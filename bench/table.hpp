// The table of ratios made of the medians of one document's benchmarks.
#pragma once

#include "chart.hpp"
#include "collector.hpp"
#include "contender.hpp"
#include "document.hpp"

#include <cstdio>
#include <string>
#include <vector>

namespace bench {

// The name under which a measurement is registered and reported.
std::string benchmark_name(row operation, const contender &library);

// Rows are operations, columns libraries, each entry the ratio to the row's floor.
void print_table(std::FILE *out, const document &input, const collector &measured);

// The same as a panel of a chart whose series are these.
std::vector<std::string> table_columns();
chart_panel draw_table(const document &input, const collector &measured);

} // namespace bench
