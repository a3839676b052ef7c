/*
 * nodetree for C++17 and later: owners that release by themselves, views, ranges, string
 * views.
 *
 * A thin face over <nodetree.h>, all of it inline. A member function is named as the C
 * function without its family (node_get_integer() is get_integer()) and keeps that
 * function's contract; what is said here is only what C++ adds.
 *
 *  1. Owning. Node, Text, Bytes, StringList, ValueList and NodeStream own what they hold
 *     and release it once. The first five are moved, never copied; moved from, they hold
 *     nothing. adopt() takes over what a C function made, release() gives it up, get()
 *     lends it.
 *  2. Borrowing. View and Strings are plain pointers and are copied freely. They, string
 *     views and ranges last as long as what they point into.
 *  3. References. A Node holds one reference to a node and drops just that, wherever the
 *     node stands. View(n) borrows, View::share() adds a reference, View::detach() takes
 *     the node and its container's reference out.
 *  4. Handing over. A `Node &&` argument is emptied when the call takes the node; when the
 *     call fails the Node still has it.
 *  5. Nothing. Where C gives NULL the result is false. Looking for something below a false
 *     View finds nothing, and its ranges are empty, so lookups chain; other calls need a
 *     node, except where the C function allows NULL.
 *  6. Texts as arguments are C strings, std::string or std::string_view; see CString.
 *  7. Exceptions. Nothing here throws, with or without exceptions in the program. A
 *     callback runs inside C code and must not throw: std::terminate() is what it meets.
 */
#ifndef NODETREE_HPP
#define NODETREE_HPP

#include <nodetree/cpp/node_interface.hpp>

namespace nodetree {

/// Owns one reference to a node; releasing it is node_unref().
class Node : public detail::Owner<Node, ::node *>, public NodeInterface<Node, View, Node> {
public:
  /// New roots; empty when memory runs out.
  static Node null() noexcept { return adopt(::node_new_null()); }
  static Node object() noexcept { return adopt(::node_new_object()); }
  static Node array() noexcept { return adopt(::node_new_array()); }
  static Node integer(std::int64_t value) noexcept {
    return adopt(::node_new_integer(value));
  }
  static Node real(double value) noexcept { return adopt(::node_new_real(value)); }
  static Node boolean(bool value) noexcept { return adopt(::node_new_boolean(value)); }
  /// A copy of the text up to its first NUL.
  static Node string(std::string_view text) noexcept {
    return adopt(::node_new_stringn(text.empty() ? "" : text.data(), text.size()));
  }
  /// A copy of the path.
  static Node link(Strings path) noexcept { return adopt(::node_new_link(path.get())); }

  /// The tree of a JSON text or file; empty on failure.
  static Node from_json(std::string_view text) noexcept {
    return adopt(::json_parse_buffer(text.empty() ? "" : text.data(), text.size()));
  }
  static Node read_json(const CString &path) noexcept {
    return adopt(path.get() ? ::json_parse_filename(path.get()) : nullptr);
  }
  /// The tree of the first message; `*used` becomes what msgpack_decode() leaves in
  /// `*size`.
  static Node from_msgpack(std::string_view bytes, std::size_t *used = nullptr) noexcept {
    std::size_t size = bytes.size();
    Node n = adopt(::msgpack_decode(bytes.empty() ? "" : bytes.data(), &size));
    if (used)
      *used = size;
    return n;
  }
};

/// Borrows a node, which somebody else keeps alive; may be null.
class View : public NodeInterface<View, View, Node> {
public:
  View() noexcept = default;
  explicit View(::node *n) noexcept : raw_(n) {}
  View(const Node &n) noexcept : raw_(n.get()) {}
  /// The node, for calls in C.
  ::node *get() const noexcept { return raw_; }
  explicit operator bool() const noexcept { return raw_ != nullptr; }

private:
  ::node *raw_ = nullptr;
};

/// A member of an object, borrowed.
struct Member {
  std::string_view key;
  View value;
};

namespace detail {

struct ChildStep {
  using Top = ::node *;
  static ::node *first(::node *top) noexcept {
    return ::node_is_container(top) ? ::node_container_first(top) : nullptr;
  }
  static ::node *next(::node *top, ::node *at) noexcept {
    return ::node_container_next(top, at);
  }
  static View value(::node *at) noexcept { return View(at); }
};

struct ElementStep : ChildStep {
  static ::node *first(::node *top) noexcept { return ::node_array_first(top); }
};

struct MemberStep : ChildStep {
  static ::node *first(::node *top) noexcept { return ::node_object_first(top); }
  static Member value(::node *at) noexcept { return {view(at->key), View(at)}; }
};

struct LeafStep : ChildStep {
  static ::node *first(::node *top) noexcept { return top; }
  static ::node *next(::node *top, ::node *at) noexcept {
    ::node *after = ::node_iterate(at);
    return ::node_iterate_end(top, after) ? nullptr : after;
  }
};

} // namespace detail

/// A peer that speaks JSON or MessagePack. Owns a node_stream and what is called with each
/// of its values: `call(Node value)` or, to answer, `call(Node value, auto &stream)`. A
/// callable that is passed as a temporary (or by std::move()) is kept in the stream, any
/// other by reference; neither is allocated. The value is empty for a message without a
/// node form. Stays where it is made:
///
///     nodetree::NodeStream stream(NODE_STREAM_AUTO, [&](nodetree::Node value) { ... });
template <class Call>
class NodeStream {
public:
  /// False when memory ran out; decode() and encode() fail then.
  NodeStream(node_stream_format format, Call &&call) noexcept
      : call_(std::forward<Call>(call)), raw_(::node_stream_new(format, deliver, this)) {}
  NodeStream(const NodeStream &) = delete;
  NodeStream &operator=(const NodeStream &) = delete;
  ~NodeStream() { ::node_stream_free(raw_); }

  /// Takes bytes in, calls back for each value that they complete: false at the first
  /// error.
  bool decode(std::string_view bytes) noexcept {
    return raw_ &&
           ::node_stream_decode(raw_, bytes.empty() ? "" : bytes.data(), bytes.size());
  }
  /// The value in the stream's format, a new buffer for the caller; empty on failure and
  /// while the format is not known.
  Bytes encode(View value) const noexcept {
    char *data = nullptr;
    std::size_t size = 0;
    if (raw_)
      ::node_stream_encode(raw_, value.get(), &data, &size);
    return Bytes::adopt(data, size);
  }
  /// NODE_STREAM_AUTO while it is not known.
  node_stream_format get_format() const noexcept {
    return raw_ ? ::node_stream_get_format(raw_) : NODE_STREAM_AUTO;
  }
  explicit operator bool() const noexcept { return raw_ != nullptr; }
  /// The stream, borrowed, for calls in C; null when memory ran out.
  ::node_stream *get() const noexcept { return raw_; }

private:
  static void deliver(::node *raw, void *self) noexcept {
    auto *own = static_cast<NodeStream *>(self);
    Node value = Node::adopt(raw);
    if constexpr (std::is_invocable_v<Call &, Node, NodeStream &>)
      own->call_(std::move(value), *own);
    else
      own->call_(std::move(value));
  }
  Call call_;
  ::node_stream *raw_;
};

template <class Call>
NodeStream(node_stream_format, Call &&) -> NodeStream<Call>;

} // namespace nodetree

#endif
