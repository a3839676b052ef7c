// Mistakes that the C++ face does not let through: each line with "refused" is an error by
// itself, and no other line is. Compiled by check_refused.py alone.
#include <nodetree.hpp>

using namespace nodetree;

[[maybe_unused]] static void mistakes(Node n, const Node fixed, View v, Ref r, char *text) {
  // Borrowing from a temporary.
  std::string_view s1 = n.to_json();                        // refused
  std::string_view s2 = n["a"].path();                      // refused
  std::string_view s3 = n.to_msgpack();                     // refused
  View v1 = Node::from_json(text);                          // refused
  View v2 = Node::from_json(text)["a"];                     // refused
  View v3 = Node::from_json(text).lookup("");               // refused
  View v4 = parse_json(text)->root();                       // refused
  auto s4 = Node::string("").c_str();                       // refused
  auto s5 = n.clone().value_or("");                         // refused
  auto s6 = n.clone().value<const char *>();                // refused
  auto s7 = parse_json(text).reason();                      // refused
  for (auto [key, value] : Node::from_json(text).members()) // refused
    (void)key, (void)value;
  for (View one : n.clone().elements()) // refused
    (void)one;
  for (View leaf : (*parse_json(text)).leaves()) // refused
    (void)leaf;
  auto first = n.lookup_glob("*").begin(); // refused
  auto s8 = v.value_or(n.to_json());       // refused
  auto s9 = n.value_or(n.to_json());       // refused
  Strings s10 = v.path_sl();               // refused
  for (View one : n.lookup_glob("*"))
    (void)one;
  const std::string kept = n.to_json().str();
  auto whole = n.clone().value_or(1) + n.clone().value<int>().value_or(1);
  for (auto [key, value] : n.members())
    (void)key, (void)value;

  // Changing a const tree.
  (void)fixed.add("a", 1);    // refused
  (void)fixed["a"].assign(1); // refused
  fixed.del("a");             // refused
  (void)v.append(1);          // refused
  Ref r1 = v;                 // refused
  (*n.eval(v)).set_null();    // refused
  View v5 = fixed["a"];
  Ref r2 = n["a"];

  // Ignoring a refusal, or losing a Node.
  n.add("a", 1);          // refused
  r.append(Node::null()); // refused
  n.set("a", {1});        // refused
  parse_json(text);       // refused
  n["a"] = 1;             // refused
  n["a"] = n["b"];        // refused
  (void)n.add("a", n);    // refused
  Node copy = n;          // refused
  Node copied = n.clone();
  (void)n.add("a", std::move(copied));

  // Conversions to an unintended value.
  (void)Node::integer(3.7);    // refused
  (void)Node::integer(true);   // refused
  (void)Node::boolean("");     // refused
  (void)n.add("a", 'x');       // refused
  (void)n.add("a", 1.0L);      // refused
  (void)n.add("a", &n);        // refused
  (void)n.add("a", v);         // refused
  (void)n["a"].value<char>();  // refused
  (void)(n == nullptr);        // refused
  (void)(n.path() == nullptr); // refused
  (void)n.add("a", {});        // refused
  (void)n.add("a", v.clone());
  (void)(n["a"].value_or(1.5) == 2);
  (void)s1, (void)s2, (void)s3, (void)v1, (void)v2, (void)v3, (void)v4, (void)v5;
  (void)s4, (void)s5, (void)first, (void)s6, (void)s7, (void)r1, (void)r2, (void)copy,
      (void)r, (void)s8, (void)s9, (void)s10, (void)whole;
}
