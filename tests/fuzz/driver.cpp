// The fuzz targets, FUZZ_TARGETS, in one program without libFuzzer: runs their seeds, and
// mutations of them by a fixed generator. Usage: fuzz_seeds SEED-FOLDER MUTATIONS
#include "fuzz.hpp"

#include <csignal>
#include <fstream>
#include <random>
#include <sanitizer/common_interface_defs.h>
#include <string>

#define X(name) extern "C" int fuzz_##name(const std::uint8_t *, std::size_t);
FUZZ_TARGETS
#undef X

namespace {

const char *running = "";
std::vector<std::uint8_t> tried; // an exact block
std::mt19937 generator;

void show_input() {
  std::fprintf(stderr, "an input of %s: ", running);
  for (const std::uint8_t byte : tried)
    std::fprintf(stderr, "\\x%02x", byte);
  std::fputc('\n', stderr);
}

// Replaces the escapes in a seed.
std::string unescape(const std::string &line) {
  std::string bytes;
  for (std::size_t i = 0; i < line.size(); i++)
    if (line[i] != '\\')
      bytes += line[i];
    else if (line[++i] == 'x')
      bytes += static_cast<char>(std::stoi(line.substr(i + 1, 2), nullptr, 16)), i += 2;
    else
      bytes += line[i] == 'n' ? '\n' : line[i];
  return bytes;
}

// Replaces a few bytes by others or by a piece of a seed, or removes them.
std::string mutate(std::string input, const std::vector<std::string> &seeds) {
  for (std::size_t change = generator() % 5; change < 5; change++) {
    const std::string &other = seeds[generator() % seeds.size()];
    const std::size_t at = generator() % (input.size() + 1);
    const std::string pieces[] = {
        other.substr(generator() % other.size(), generator() % 12),
        {static_cast<char>(generator() % 256)},
        ""};
    input.replace(at, generator() % 3, pieces[generator() % 3]);
  }
  return input;
}

void run(auto *target, const std::string &input) {
  tried = std::vector<std::uint8_t>(input.begin(), input.end());
  target(tried.data(), tried.size());
}

void run_all(const char *name, auto *target, const std::string &folder, int mutations) {
  running = name;
  std::vector<std::string> seeds;
  std::ifstream file(folder + "/" + name + ".seeds");
  for (std::string line; std::getline(file, line);)
    run(target, seeds.emplace_back(unescape(line)));
  fuzz::require(!seeds.empty(), "there are seeds");
  while (mutations-- > 0)
    run(target, mutate(seeds[generator() % seeds.size()], seeds));
}

} // namespace

int main(int argc, char **argv) {
  std::signal(SIGABRT, [](int) { show_input(); });
  __sanitizer_set_death_callback(show_input);
  fuzz::require(argc == 3, "two arguments are given");
  LLVMFuzzerInitialize(&argc, &argv);
#define X(name) run_all(#name, fuzz_##name, argv[1], std::atoi(argv[2]));
  FUZZ_TARGETS
}
