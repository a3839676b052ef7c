// Measures the work on whole trees, each piece against what one would write without it:
// evaluation, merge, filter and difference on two configurations of about 1 MB that differ
// in one leaf. As in the other program only the ratios count, of medians taken in turns.
#include "clock.hpp"
#include "collector.hpp"
#include "generate.hpp"
#include "harness.hpp"
#include "jansson_trees.hpp"

#include <benchmark/benchmark.h>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <nodetree/expr.h>
#include <nodetree/json.h>
#include <nodetree/node.h>
#include <nodetree/stringlist.h>
#include <span>
#include <stdexcept>
#include <string>

namespace {

using bench::jansson_diff;
using seconds = std::chrono::duration<double>;

template <auto release>
struct releaser {
  template <typename T>
  void operator()(T *value) const {
    release(value);
  }
};
using tree = std::unique_ptr<node, releaser<node_free>>;
using list = std::unique_ptr<char *, releaser<sl_free>>;
struct decref {
  void operator()(json_t *value) const { json_decref(value); }
};
using jansson_tree = std::unique_ptr<json_t, decref>;

template <typename Pointer>
Pointer checked(Pointer pointer) {
  if (!pointer)
    throw std::runtime_error("no memory, or no JSON");
  return pointer;
}

// The two configurations in both libraries, and the paths in them that are asked for.
struct inputs {
  inputs() : text(bench::generate_configuration(1200)), changed(text) {
    char &digit = changed.at(changed.find("\"port\": ", changed.size() / 2) + 8);
    digit = digit == '1' ? '2' : '1';
    first = parse(text);
    second = parse(changed);
    first_hashed = parse(text);
    second_hashed = parse(changed);
    node_prepare_diff_hash(first_hashed.get());
    node_prepare_diff_hash(second_hashed.get());
    first_jansson = parse_jansson(text);
    second_jansson = parse_jansson(changed);

    const node *services = node_lookup(first.get(), "/services");
    service = std::string("/services/") + node_key(node_object_first(services));
    port = service + "/port";
    enabled = service + "/enabled";
    rule = parse(R"(["and", ["exists", ")" + port + R"("], ["range", 0, 100000, ")" + port +
                 R"("], ["not", ["eq", ["length", ")" + service +
                 R"("], 0]], ["or", ["eq", ["get", ")" + enabled +
                 R"("], true], ["exists", ")" + enabled + R"("]]])");
  }

  static tree parse(const std::string &text) {
    return checked(tree(json_parse_buffer(text.data(), text.size())));
  }
  static jansson_tree parse_jansson(const std::string &text) {
    return checked(jansson_tree(json_loadb(text.data(), text.size(), 0, nullptr)));
  }

  std::string text, changed;
  tree first, second, first_hashed, second_hashed;
  jansson_tree first_jansson, second_jansson;
  std::string service, port, enabled;
  tree rule;
};

template <typename Body>
seconds timed(Body body) {
  std::chrono::nanoseconds start = bench::now();
  bool succeeded = body();
  std::chrono::nanoseconds elapsed = bench::now() - start;
  if (!succeeded)
    throw std::runtime_error("a wrong result");
  return elapsed;
}

constexpr int rule_count = 2000;

seconds evaluate(const inputs &in) {
  return timed([&] {
    int held = 0;
    for (int i = 0; i < rule_count; ++i) {
      char *error = nullptr;
      node *result = expr_eval(in.rule.get(), in.first.get(), &error);
      held += static_cast<int>(expr_coerce_bool(result));
      std::free(error);
      node_unref(result);
    }
    return held == rule_count;
  });
}

bool holds(const inputs &in) {
  const node *top = in.first.get();
  const node *port = node_lookup(top, in.port.c_str());
  if (port == nullptr || !node_is_integer(port))
    return false;
  const node *checked_port = node_lookup(top, in.port.c_str());
  if (node_get_integer(checked_port) < 0 || node_get_integer(checked_port) > 100000)
    return false;
  const node *service = node_lookup(top, in.service.c_str());
  if (service == nullptr || node_object_count(service) == 0)
    return false;
  const node *enabled = node_lookup(top, in.enabled.c_str());
  return enabled != nullptr && node_is_boolean(enabled) &&
         (node_get_boolean(enabled) || node_lookup(top, in.enabled.c_str()) != nullptr);
}

seconds evaluate_by_hand(const inputs &in) {
  return timed([&] {
    int held = 0;
    for (int i = 0; i < rule_count; ++i)
      held += static_cast<int>(holds(in));
    return held == rule_count;
  });
}

seconds copy(const inputs &in) {
  tree result;
  return timed([&] {
    result.reset(node_clone(in.first.get()));
    return result != nullptr;
  });
}

seconds merge(const inputs &in) {
  tree target = checked(tree(node_clone(in.first.get())));
  tree source = checked(tree(node_clone(in.second.get())));
  return timed([&] {
    node_merge(target.get(), source.release());
    return true;
  });
}

seconds merge_jansson(const inputs &in) {
  jansson_tree target = checked(jansson_tree(json_deep_copy(in.first_jansson.get())));
  jansson_tree source = checked(jansson_tree(json_deep_copy(in.second_jansson.get())));
  return timed([&] {
    bool merged = json_object_update_recursive(target.get(), source.get()) == 0;
    source.reset();
    return merged;
  });
}

seconds filter(const inputs &in) {
  list include(sl_new("/version", "/services/*/port", "/services/*/addresses",
                      "/services/*/options", "/services/*/thresholds"));
  list exclude(sl_new("/services/*/options/*/retry_0", "/services/*/addresses/1",
                      "/services/*/options/cache_0", "/services/*/options/worker_1",
                      "/services/*/thresholds/0"));
  tree target = checked(tree(node_clone(in.first.get())));
  return timed([&] {
    node_filter(target.get(), include.get(), exclude.get(), nullptr);
    return node_lookup(target.get(), in.port.c_str()) != nullptr &&
           node_lookup(target.get(), in.enabled.c_str()) == nullptr;
  });
}

bool is_one_leaf(const node *difference) {
  std::size_t leaves = 0;
  for (node *n = const_cast<node *>(difference); !node_iterate_end(difference, n);
       n = node_iterate(n))
    leaves += !node_is_container(n);
  return leaves == 1;
}

seconds diff_trees(const tree &from, const tree &to) {
  tree difference;
  seconds elapsed = timed([&] {
    difference.reset(node_diff(from.get(), to.get()));
    return difference != nullptr;
  });
  return is_one_leaf(difference.get()) ? elapsed : throw std::runtime_error("a wrong diff");
}

seconds diff(const inputs &in) {
  return diff_trees(in.first, in.second);
}

seconds diff_hashed(const inputs &in) {
  return diff_trees(in.first_hashed, in.second_hashed);
}

seconds prepare(const inputs &in) {
  tree target = checked(tree(node_clone(in.first.get())));
  return timed([&] { return node_prepare_diff_hash(target.get()) != 0; });
}

seconds diff_jansson(const inputs &in) {
  jansson_tree difference;
  return timed([&] {
    difference.reset(jansson_diff(in.first_jansson.get(), in.second_jansson.get()));
    return difference != nullptr;
  });
}

struct measurement {
  const char *name;
  seconds (*run)(const inputs &in);
};

constexpr measurement measurements[] = {
    {"eval", evaluate},
    {"eval by hand", evaluate_by_hand},
    {"merge", merge},
    {"merge on jansson", merge_jansson},
    {"diff", diff},
    {"diff on jansson", diff_jansson},
    {"diff with hashes", diff_hashed},
    {"hashes", prepare},
    {"filter", filter},
    {"copy", copy},
};

struct comparison {
  const char *subject;
  const char *base;
  const char *note;
};

constexpr comparison comparisons[] = {
    {"eval", "eval by hand", "a rule of ten operations; the same lookups and tests in C"},
    {"merge", "merge on jansson", "json_object_update_recursive(), source released"},
    {"diff", "diff on jansson", "a recursive function of 50 lines"},
    {"diff with hashes", "diff on jansson", "hashes prepared beforehand"},
    {"hashes", "diff", "preparing one of the trees"},
    {"filter", "copy", "five patterns included, five excluded; node_clone()"},
};

double ratio_of(const comparison &row, const bench::collector &measured) {
  double base = measured.median(row.base);
  return base > 0 ? measured.median(row.subject) / base : 0;
}

void print_table(const bench::collector &measured, std::size_t bytes) {
  std::printf("\nwhole trees, %zu bytes\n", bytes);
  for (const comparison &row : comparisons)
    std::printf("%-18s%8.2f  of %-18s%s\n", row.subject, ratio_of(row, measured), row.base,
                row.note);
}

void draw_table(const bench::collector &measured, bench::chart &picture) {
  picture.series = {"nodetree"};
  bench::chart_panel &panel = picture.panels.emplace_back();
  panel.title = "whole trees: times as ratios to the other of each pair, less is faster";
  for (const comparison &row : comparisons)
    panel.lanes.push_back(
        {std::string(row.subject) + " / " + row.base, {ratio_of(row, measured)}});
}

bool compare(std::span<char *const>, bench::chart &picture) {
  inputs in;
  for (const measurement &row : measurements)
    bench::add_benchmark(row.name, [&] { return row.run(in); });
  bench::collector results;
  benchmark::RunSpecifiedBenchmarks(&results);
  print_table(results, in.text.size());
  draw_table(results, picture);
  return !results.failed();
}

} // namespace

int main(int argc, char **argv) {
  return bench::run_program(argc, argv, compare);
}
