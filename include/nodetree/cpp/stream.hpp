/*
 * NodeStream, a peer that speaks JSON or MessagePack. Part of <nodetree.hpp>, which says
 * what holds for all of it.
 */
#ifndef NODETREE_CPP_STREAM_HPP
#define NODETREE_CPP_STREAM_HPP

#include <nodetree/cpp/node.hpp>

namespace nodetree {

/// A decoder of JSON or MessagePack, and the encoder for answers. Owns a node_stream and a
/// callback, which gets each value: `call(Node value)` or, to answer,
/// `call(Node value, auto &stream)`. A callback passed as a temporary (or by std::move())
/// is kept in the stream, any other by reference; neither is allocated. The value has no
/// node for a message without a node form. A stream is neither copied nor moved:
///
///     nodetree::NodeStream stream(NODE_STREAM_AUTO, [&](nodetree::Node value) { ... });
template <class Call>
class NodeStream {
public:
  /// node_stream_new(). When memory runs out there is no stream, and every call fails.
  NodeStream(node_stream_format format, Call &&call) noexcept
      : call_(std::forward<Call>(call)), raw_(::node_stream_new(format, deliver, this)) {}
  NodeStream(const NodeStream &) = delete;
  NodeStream &operator=(const NodeStream &) = delete;
  ~NodeStream() { ::node_stream_free(raw_); }

  /// node_stream_decode(): takes bytes in and calls back for each value that they complete.
  /// False after an error, inside the callback and after finish().
  [[nodiscard]] bool decode(Chars bytes) noexcept {
    return state_ == State::open && feed(bytes.data(), bytes.size());
  }
  /// Declares the end of the input, which completes a number at the end of JSON. True when
  /// the whole input has been decoded; false when it ended inside a value or a comment, and
  /// after an error. No bytes are taken in afterwards. Fails inside the callback. JSON that
  /// ends too early is logged like other failures.
  [[nodiscard]] bool finish() noexcept {
    if (!raw_ || state_ == State::calling)
      return false;
    if (state_ != State::open)
      return state_ == State::complete;
    const node_stream_format format = get_format();
    const bool json = format == NODE_STREAM_JSON;
    if (format == NODE_STREAM_AUTO || (json && !feed("\n", 1))) {
      state_ = json ? State::broken : State::complete;
      return !json;
    }
    // The input is complete if a value that begins here is delivered unchanged.
    state_ = State::probing;
    (void)feed(json ? "0\n" : "\xc0", json ? 2 : 1);
    if (state_ == State::probing)
      state_ = State::broken;
    return state_ == State::complete;
  }
  /// node_stream_encode(): the value in the stream's format, as a new buffer for the
  /// caller. Empty on failure and while the format is not known.
  Bytes encode(NodeArg value) const noexcept {
    char *data = nullptr;
    std::size_t size = 0;
    if (raw_ && value.get())
      ::node_stream_encode(raw_, value.get(), &data, &size);
    return Bytes::adopt(data, size);
  }
  /// NODE_STREAM_AUTO while it is not known.
  node_stream_format get_format() const noexcept {
    return raw_ ? ::node_stream_get_format(raw_) : NODE_STREAM_AUTO;
  }
  /// Whether there is a stream.
  explicit operator bool() const noexcept { return raw_ != nullptr; }
  /// The stream, borrowed, for calls in C; null without a stream.
  ::node_stream *get() const noexcept NODETREE_LIFETIMEBOUND { return raw_; }

private:
  enum class State { open, calling, probing, complete, broken };

  bool feed(const char *bytes, std::size_t size) noexcept {
    return raw_ && ::node_stream_decode(raw_, bytes, size);
  }
  static void deliver(::node *raw, void *self) noexcept {
    auto *own = static_cast<NodeStream *>(self);
    Node value = Node::adopt(raw);
    if (own->state_ == State::probing) {
      const bool json = own->get_format() == NODE_STREAM_JSON;
      own->state_ =
          (json ? value.is_integer() : value.is_null()) ? State::complete : State::broken;
      return;
    }
    own->state_ = State::calling;
    if constexpr (std::is_invocable_v<Call &, Node, NodeStream &>)
      own->call_(std::move(value), *own);
    else
      own->call_(std::move(value));
    own->state_ = State::open;
  }
  Call call_;
  ::node_stream *raw_;
  State state_ = State::open;
};

template <class Call>
NodeStream(node_stream_format, Call &&) -> NodeStream<Call>;

} // namespace nodetree

#endif
