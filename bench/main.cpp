// Compares nodetree with other libraries on the JSON files given as arguments. Only the
// ratios matter, not the speed of the machine: all measurements are taken in turns, many
// times, and report.py compares their medians.
//
//   nodetree_bench [OPTIONS OF GOOGLE BENCHMARK] CONFIGURATION [FILE...]
//   nodetree_bench --once 'DOCUMENT|ROW|COLUMN' CONFIGURATION [FILE...]
//
// The second form runs one cell once, for a profiler; profile the function `measured`.
#include "bench.hpp"

#include <algorithm>
#include <benchmark/benchmark.h>
#include <climits>
#include <cstdio>
#include <cstdlib>
#include <exception>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <malloc.h>
#include <map>
#include <memory>
#include <nodetree/json.h>
#include <nodetree/msgpack.h>
#include <nodetree/node.h>
#include <utility>
#include <vector>

namespace bench {
namespace {

std::map<std::string, std::function<seconds()>> cells;
constexpr std::size_t network_piece = 1500;

struct document {
  std::string name, text, packed;
  std::vector<std::string> paths; // of evenly spread leaves
};

// Whether the path means the same in every library, whatever its escapes and special steps.
bool is_plain(std::string_view path) {
  return path.find_first_of("~*.") == path.npos && path.find("//") == path.npos &&
         path.back() != '/';
}

document load(const std::string &path) {
  std::ifstream file(path, std::ios::binary);
  document result{std::filesystem::path(path).filename().string(),
                  {std::istreambuf_iterator<char>(file), {}},
                  {},
                  {}};
  const std::unique_ptr<node, decltype(&node_free)> tree(
      json_parse_buffer(result.text.data(), result.text.size()), node_free);
  char *message = nullptr;
  std::size_t size = 0;
  if (!tree || !msgpack_encode(tree.get(), &message, &size))
    throw std::runtime_error(path + " is not JSON");
  result.packed.assign(message, size);
  result.packed.append(8, '\0'); // room for the floor's unpacker
  std::free(message);

  std::vector<std::string> leaves;
  for (node *n = node_iterate(tree.get()); n; n = node_iterate(n)) {
    char *leaf = node_path(n);
    if (is_plain(leaf) && node_lookup(tree.get(), leaf) == n)
      leaves.emplace_back(leaf);
    std::free(leaf);
  }
  constexpr std::size_t count = 1000;
  for (std::size_t i = 0; i < count && !leaves.empty(); ++i)
    result.paths.push_back(leaves[i * leaves.size() / count]);
  return result;
}

// Trees of a library, released together.
class trees {
public:
  trees(const library &lib, std::size_t count) : lib_(lib), trees_(count) {}
  ~trees() {
    for (void *tree : trees_)
      if (tree)
        lib_.release(tree);
  }
  trees &parse(std::string_view text) {
    for (void *&tree : trees_)
      if (!(tree = lib_.parse(text)))
        throw std::runtime_error(std::string(lib_.name) + " does not parse");
    return *this;
  }
  void *&operator[](std::size_t i) { return trees_[i]; }

private:
  const library &lib_;
  std::vector<void *> trees_;
};

void add_library(const document &doc, const library &lib) {
  const std::string &text = lib.packed ? doc.packed : doc.text;
  // Small documents are repeated, because the clock is too coarse for one run.
  const std::size_t count =
      std::max<std::size_t>(1, (512 << 10) / std::max<std::size_t>(1, text.size()));
  auto row = [&](const char *name, std::function<seconds()> run) {
    add(doc.name, name, lib.name, std::move(run));
  };
  auto pair = std::make_shared<trees>(lib, 2);
  pair->parse(text);
  row(lib.packed ? "decode" : "parse", [&, count] {
    trees made(lib, count);
    return measured(count, [&](std::size_t i) { return made[i] = lib.parse(text); });
  });
  if (lib.copy)
    row("release", [&, count] {
      trees made(lib, count);
      made.parse(text);
      return measured(count, [&](std::size_t i) {
        lib.release(std::exchange(made[i], nullptr));
        return true;
      });
    });
  if (lib.write)
    row(lib.packed ? "encode" : "stringify", [&, pair, count] {
      return measured(count, [&](std::size_t) { return lib.write((*pair)[0]); });
    });
  if (lib.lookup)
    row("lookup", [&, pair, count] {
      return measured(count * doc.paths.size(), [&](std::size_t i) {
        return lib.lookup((*pair)[0], doc.paths[i % doc.paths.size()].c_str());
      });
    });
  if (lib.copy)
    row("copy", [&, pair, count] {
      trees made(lib, count);
      return measured(count, [&](std::size_t i) { return made[i] = lib.copy((*pair)[0]); });
    });
  if (lib.equal)
    row("equality", [&, pair, count] {
      return measured(count,
                      [&](std::size_t) { return lib.equal((*pair)[0], (*pair)[1]); });
    });
  if (lib.stream) // for MessagePack in the same row as the whole message
    add(doc.name, lib.packed ? "decode" : "JSON in pieces",
        lib.packed ? "in pieces" : lib.name, [&] {
          return measured(1, [&](std::size_t) { return lib.stream(text, network_piece); });
        });
}

void add_request_rows() {
  static const document request{
      "request",
      R"({"id":48213,"method":"book","params":{"room":"north-2","from":"2026-03-01","nights":3,)"
      R"("guests":["Ada","Ben"],"breakfast":true,"price":412.5},"client":{"name":"desk","version":)"
      R"("2.4.1"},"tags":["web","returning"]})",
      {},
      {}};
  for (const library *lib :
       {&nodetree_json, &jansson, &jsonc, &cjson, &nlohmann, &floor_events}) {
    constexpr std::size_t count = 2000;
    if (lib->answer)
      add(request.name, "answer", lib->name, [lib] {
        return measured(count, [&](std::size_t) { return lib->answer(request.text); });
      });
    add(request.name, "parse and release", lib->name, [lib] {
      return measured(count, [&](std::size_t) {
        void *tree = lib->parse(request.text);
        lib->release(tree);
        return tree;
      });
    });
  }
  static std::string requests;
  for (int i = 0; i < 2000; ++i)
    requests += request.text;
  for (const library *lib : {&nodetree_json, &floor_events})
    add(request.name, "JSON in pieces", lib->name, [lib] {
      return measured(1, [&](std::size_t) { return lib->stream(requests, network_piece); });
    });
}

void add_documents(int count, char **paths) {
  static std::vector<document> documents;
  for (int i = 0; i < count; ++i)
    documents.push_back(load(paths[i]));
  for (const document &doc : documents)
    for (const library *lib :
         {&nodetree_json, &nodetree_msgpack, &jansson, &jsonc, &cjson, &nlohmann, &msgpackc,
          &floor_tree, &floor_msgpack, &floor_events})
      add_library(doc, *lib);
  add_request_rows();
  if (!documents.empty())
    add_tree_rows(documents.front().text);
}

void run_all() {
  for (const auto &[name, run] : cells) {
    auto time = [&run](benchmark::State &state) {
      try {
        for (auto _ : state)
          state.SetIterationTime(run().count());
      } catch (const std::exception &e) {
        state.SkipWithError(e.what());
      }
    };
    benchmark::RegisterBenchmark(name.c_str(), time)->UseManualTime();
  }
  benchmark::RunSpecifiedBenchmarks();
}

} // namespace

void add(const std::string &document, const std::string &row, const std::string &column,
         std::function<seconds()> run) {
  std::string name = document;
  name += '|' + row + '|' + column;
  cells[name] = std::move(run);
}

} // namespace bench

int main(int argc, char **argv) {
  using namespace bench;
  // Keep freed memory in the heap. Otherwise a large part of every time would be the
  // kernel's, for mapping and clearing pages.
  mallopt(M_MMAP_MAX, 0);
  mallopt(M_TRIM_THRESHOLD, INT_MAX);
  try {
    if (argc > 2 && std::string_view(argv[1]) == "--once") {
      add_documents(argc - 3, argv + 3);
      cells.at(argv[2])();
      return EXIT_SUCCESS;
    }
    benchmark::Initialize(&argc, argv);
    add_documents(argc - 1, argv + 1);
    run_all();
    return EXIT_SUCCESS;
  } catch (const std::exception &e) {
    std::fprintf(stderr, "%s\n", e.what());
    return EXIT_FAILURE;
  }
}
