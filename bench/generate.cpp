#include "generate.hpp"

#include <array>
#include <cstddef>
#include <initializer_list>
#include <random>
#include <string_view>
#include <utility>

namespace bench {
namespace {

constexpr std::array words{"primary",  "backup",   "gateway", "storage", "ingest",
                           "archive",  "metrics",  "session", "timeout", "retry",
                           "upstream", "cache",    "queue",   "worker",  "region",
                           "policy",   "endpoint", "balance", "window",  "journal",
                           "replica",  "tenant",   "quota",   "schedule"};

// Unlike the operands of + or of a call, the parts of a list are made in their order, and
// with them the random numbers that they take.
std::string join(std::initializer_list<std::string_view> parts) {
  std::string result;
  for (std::string_view part : parts)
    result += part;
  return result;
}

class writer {
public:
  std::string take() { return std::move(text_); }

  template <typename Members>
  void object(Members members) {
    block('{', members, '}');
  }

  template <typename Members>
  void object(std::string_view name, Members members) {
    key(name);
    object(members);
  }

  template <typename Elements>
  void array(std::string_view name, Elements elements) {
    key(name);
    block('[', elements, ']');
  }

  void member(std::string_view name, std::string_view literal) {
    key(name);
    text_ += literal;
  }

  void element(std::string_view literal) {
    separate();
    text_ += literal;
  }

private:
  template <typename Content>
  void block(char open, Content content, char close) {
    text_ += open;
    first_ = true;
    ++depth_;
    content();
    --depth_;
    if (!first_)
      new_line();
    text_ += close;
    first_ = false;
  }

  void key(std::string_view name) {
    separate();
    text_ += join({"\"", name, "\": "});
  }

  void separate() {
    if (!first_)
      text_ += ',';
    first_ = false;
    new_line();
  }

  void new_line() {
    text_ += '\n';
    text_.append(2 * depth_, ' ');
  }

  std::string text_;
  std::size_t depth_ = 0;
  bool first_ = true;
};

class generator {
public:
  std::string run(unsigned services) {
    out_.object([&] {
      out_.member("version", "3");
      out_.object("services", [&] {
        for (unsigned i = 0; i < services; ++i)
          service(i);
      });
    });
    return out_.take() + '\n';
  }

private:
  unsigned below(unsigned limit) { return static_cast<unsigned>(random_() % limit); }

  std::string_view word() { return words[below(static_cast<unsigned>(words.size()))]; }
  std::string byte() { return std::to_string(below(256)); }
  std::string string() { return join({"\"", word(), "-", word(), "\""}); }
  std::string integer() { return std::to_string(below(100'000)); }
  std::string real() { return join({integer(), ".", byte()}); }
  std::string boolean() { return below(2) != 0 ? "true" : "false"; }

  std::string scalar() {
    switch (below(8)) {
    case 0:
      return real();
    case 1:
    case 2:
      return boolean();
    case 3:
    case 4:
    case 5:
      return integer();
    default:
      return string();
    }
  }

  void service(unsigned number) {
    out_.object(join({word(), "-", std::to_string(number)}), [&] {
      out_.member("description", join({"\"the ", word(), " ", word(), " of the ", word(),
                                       " ", word(), "\""}));
      out_.member("enabled", boolean());
      out_.member("port", integer());
      out_.member("weight", real());
      out_.array("addresses", [&] {
        for (unsigned i = 0, count = 1 + below(4); i < count; ++i)
          out_.element(join({"\"10.", byte(), ".", byte(), ".", byte(), "\""}));
      });
      out_.array("thresholds", [&] {
        for (unsigned i = 0, count = below(5); i < count; ++i)
          out_.element(below(2) != 0 ? integer() : real());
      });
      out_.object("options", [&] { options(2); });
    });
  }

  // Numbered, so that no name comes twice.
  void options(unsigned levels) {
    for (unsigned i = 0, count = 3 + below(6); i < count; ++i) {
      std::string name = join({word(), "_", std::to_string(i)});
      if (levels > 0 && below(5) == 0)
        out_.object(name, [&] { options(levels - 1); });
      else
        out_.member(name, scalar());
    }
  }

  writer out_;
  std::mt19937 random_{20'240}; // its numbers are the same everywhere
};

} // namespace

std::string generate_configuration(unsigned services) {
  return generator().run(services);
}

} // namespace bench
