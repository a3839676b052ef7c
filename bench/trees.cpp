// Measures the operations on whole trees, each against the code that one would write
// without it: evaluation, merge, filter and difference, on two configurations of about 1 MB
// that differ in one leaf.
#include "bench.hpp"

#include <cstdlib>
#include <jansson.h>
#include <memory>
#include <nodetree/expr.h>
#include <nodetree/json.h>
#include <nodetree/node.h>
#include <nodetree/stringlist.h>

extern "C" {
#include <jq.h>
}

namespace bench {
namespace {

template <auto release>
struct releaser {
  template <typename T>
  void operator()(T *value) const {
    release(value);
  }
};
using tree = std::unique_ptr<node, releaser<node_free>>;
using list = std::unique_ptr<char *, releaser<sl_free>>;
using jansson_tree =
    std::unique_ptr<json_t, releaser<[](json_t *value) { json_decref(value); }>>;

template <typename Pointer>
Pointer checked(Pointer pointer) {
  return pointer ? std::move(pointer)
                 : throw std::runtime_error("out of memory, or no JSON");
}

tree parse(const std::string &text) {
  return checked(tree(json_parse_buffer(text.data(), text.size())));
}

// A condition that jq compiles once and evaluates many times.
struct jq_condition {
  jq_condition(const std::string &program, const std::string &text)
      : input(jv_parse_sized(text.data(), static_cast<int>(text.size()))) {
    if (jq_compile(jq, program.c_str()) == 0)
      throw std::runtime_error("jq does not compile " + program);
  }
  bool holds() const {
    jq_start(jq, jv_copy(input), 0);
    return jv_get_kind(jq_next(jq)) == JV_KIND_TRUE;
  }
  jq_state *jq = jq_init();
  jv input;
};

// The two configurations in each library, and the paths that are looked up in them.
struct inputs {
  explicit inputs(const std::string &configuration) : text(configuration), changed(text) {
    char &digit = changed.at(changed.find("\"port\": ", changed.size() / 2) + 8);
    digit = digit == '1' ? '2' : '1';
    first = parse(text);
    second = parse(changed);
    first_hashed = parse(text);
    second_hashed = parse(changed);
    node_prepare_diff_hash(first_hashed.get());
    node_prepare_diff_hash(second_hashed.get());
    first_jansson = checked(jansson_tree(json_loadb(text.data(), text.size(), 0, nullptr)));
    second_jansson =
        checked(jansson_tree(json_loadb(changed.data(), changed.size(), 0, nullptr)));

    const std::string name =
        node_key(node_object_first(node_lookup(first.get(), "/services")));
    service = "/services/" + name;
    port = service + "/port";
    enabled = service + "/enabled";
    rule = parse(R"(["and", ["exists", ")" + port + R"("], ["range", 0, 100000, ")" + port +
                 R"("], ["not", ["eq", ["length", ")" + service +
                 R"("], 0]], ["or", ["eq", ["get", ")" + enabled +
                 R"("], true], ["exists", ")" + enabled + R"("]]])");
    const std::string in_jq = ".services[\"" + name + "\"]";
    condition = std::make_unique<const jq_condition>(
        "(" + in_jq + ".port != null) and (" + in_jq + ".port >= 0) and (" + in_jq +
            ".port <= 100000) and ((" + in_jq + "|length) == 0|not) and ((" + in_jq +
            ".enabled == true) or (" + in_jq + ".enabled != null))",
        text);
  }

  std::string text, changed;
  tree first, second, first_hashed, second_hashed;
  jansson_tree first_jansson, second_jansson;
  std::string service, port, enabled;
  tree rule;
  std::unique_ptr<const jq_condition> condition;
};

bool evaluate(const inputs &in) {
  char *error = nullptr;
  node *result = expr_eval(in.rule.get(), in.first.get(), &error);
  const bool held = expr_coerce_bool(result);
  std::free(error);
  node_unref(result);
  return held;
}

bool evaluate_by_hand(const inputs &in) {
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

seconds merge(const inputs &in) {
  tree target = checked(tree(node_clone(in.first.get())));
  tree source = checked(tree(node_clone(in.second.get())));
  return measured(
      1, [&](std::size_t) { return node_merge(target.get(), source.release()), true; });
}

seconds merge_jansson(const inputs &in) {
  jansson_tree target = checked(jansson_tree(json_deep_copy(in.first_jansson.get())));
  jansson_tree source = checked(jansson_tree(json_deep_copy(in.second_jansson.get())));
  return measured(1, [&](std::size_t) {
    const bool merged = json_object_update_recursive(target.get(), source.get()) == 0;
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
  const seconds elapsed = measured(1, [&](std::size_t) {
    return node_filter(target.get(), include.get(), exclude.get(), nullptr), true;
  });
  return node_lookup(target.get(), in.port.c_str()) &&
                 !node_lookup(target.get(), in.enabled.c_str())
             ? elapsed
             : throw std::runtime_error("a wrong filter");
}

seconds diff(const tree &from, const tree &to) {
  tree difference;
  return measured(1, [&](std::size_t) {
    difference.reset(node_diff(from.get(), to.get()));
    return difference != nullptr;
  });
}

} // namespace

void add_tree_rows(const std::string &configuration) {
  static const inputs in(configuration);
  auto row = [](const char *name, const char *column, std::function<seconds()> run) {
    add("whole trees", name, column, std::move(run));
  };
  constexpr std::size_t rules = 2000;
  row("rule", "nodetree",
      [] { return measured(rules, [](std::size_t) { return evaluate(in); }); });
  row("rule", "by hand",
      [] { return measured(rules, [](std::size_t) { return evaluate_by_hand(in); }); });
  row("rule", "libjq",
      [] { return measured(rules, [](std::size_t) { return in.condition->holds(); }); });
  row("merge", "nodetree", [] { return merge(in); });
  row("merge", "jansson", [] { return merge_jansson(in); });
  row("diff", "nodetree", [] { return diff(in.first, in.second); });
  row("diff", "with hashes", [] { return diff(in.first_hashed, in.second_hashed); });
  row("diff", "jansson", [] {
    jansson_tree difference;
    return measured(1, [&](std::size_t) {
      difference.reset(jansson_diff(in.first_jansson.get(), in.second_jansson.get()));
      return difference != nullptr;
    });
  });
  row("hashes", "nodetree", [] {
    tree target = checked(tree(node_clone(in.first.get())));
    return measured(1,
                    [&](std::size_t) { return node_prepare_diff_hash(target.get()) != 0; });
  });
  row("hashes", "diff", [] { return diff(in.first, in.second); });
  row("filter", "nodetree", [] { return filter(in); });
  row("filter", "copy", [] {
    tree result;
    return measured(
        1, [&](std::size_t) { return result.reset(node_clone(in.first.get())), true; });
  });
}

} // namespace bench
