/*
 * Calls that return a node or the reason why there is none. Part of <nodetree.hpp>, which
 * says what holds for all of it.
 */
#ifndef NODETREE_CPP_RESULT_HPP
#define NODETREE_CPP_RESULT_HPP

#include <cerrno>
#include <nodetree/cpp/node.hpp>

namespace nodetree {

/// A node, or the reason why there is none. For example:
///
///     auto config = nodetree::parse_json(text);
///     if (!config)
///       return complain(config.reason());
///     use(config->lookup("/server"));
///
/// N is Node, or const Node for a node that must not be changed. In a result without a node
/// every lookup finds nothing.
template <class N>
class [[nodiscard]] Result {
public:
  /// A node, or no node and the reason. Without either the reason is "out of memory".
  explicit Result(Node held, Text why = Text()) noexcept
      : node_(std::move(held)), reason_(std::move(why)) {}
  /// Whether there is a node.
  explicit operator bool() const noexcept { return static_cast<bool>(node_); }
  /// The node, borrowed.
  N &operator*() &noexcept NODETREE_LIFETIMEBOUND { return node_; }
  /// The node, borrowed, to be read.
  const N &operator*() const &noexcept NODETREE_LIFETIMEBOUND { return node_; }
  /// The node, handed to the caller: `Node tree = *parse_json(text);`.
  N &&operator*() &&noexcept { return static_cast<N &&>(node_); }
  /// Calls a function of the node. Deleted for temporaries.
  N *operator->() &noexcept NODETREE_LIFETIMEBOUND { return &node_; }
  /// Calls a const function of the node.
  const N *operator->() const &noexcept NODETREE_LIFETIMEBOUND { return &node_; }
  void operator->() const && = delete;
  /// What went wrong, as a message, borrowed: "" without a failure, never null.
  const char *reason() const &noexcept NODETREE_LIFETIMEBOUND {
    if (reason_)
      return reason_.c_str();
    return node_ ? "" : "out of memory";
  }
  void reason() const && = delete;

private:
  Node node_;
  Text reason_;
};

namespace detail {

/// Finds where a text stops being JSON, by feeding it to a parser byte by byte.
class JsonFault {
public:
  explicit JsonFault(std::string_view text) noexcept
      : text_(text), stream_(::json_stream_new(count, this)) {}
  JsonFault(const JsonFault &) = delete;
  JsonFault &operator=(const JsonFault &) = delete;
  ~JsonFault() { ::json_stream_free(stream_); }

  /// The reason; empty when memory runs out.
  Text reason() noexcept {
    if (!stream_)
      return Text();
    while (at_ < text_.size() && values_ < 2 && feed(text_.substr(at_, 1)))
      ++at_;
    if (at_ < text_.size() && values_ == 0)
      return say(token_start(), is_repeated_name()
                                    ? "repeated name"
                                    : "syntax error, repeated name or number out of range");
    if (at_ < text_.size() || (feed("\n") && values_ > 1))
      return say(text_.find_first_not_of(" \t\r\n", end_), "more than one value");
    if (text_.find_first_not_of(" \t\r\n") == std::string_view::npos)
      return Text::adopt(::string_printf("no value"));
    const int before = values_;
    if (!feed("0\n") || values_ == before)
      return say(at_, "the text ends too early");
    return Text();
  }

private:
  static void count(::node *value, void *self) noexcept {
    auto *own = static_cast<JsonFault *>(self);
    const bool number = ::node_is_integer(value) || ::node_is_real(value);
    if (++own->values_ == 1)
      own->end_ = own->at_ + !number; // only the byte behind a number ends it
    ::node_unref(value);
  }
  bool feed(std::string_view bytes) noexcept {
    return ::json_stream_parse(stream_, bytes.data(), bytes.size());
  }
  /// Where the token with the fault begins: only the byte behind a number or a word ends it.
  std::size_t token_start() const noexcept {
    const auto in_word = [](char c) {
      return (c >= '0' && c <= '9') || (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') ||
             c == '+' || c == '-' || c == '.';
    };
    std::size_t at = at_;
    while (at > 0 && text_[at_] != '"' && in_word(text_[at - 1]))
      --at;
    return at;
  }
  /// The last byte before `at` that is not white space; npos for none.
  std::size_t last_before(std::size_t at) const noexcept {
    return at > 0 ? text_.find_last_not_of(" \t\r\n", at - 1) : text_.npos;
  }
  bool is(std::size_t at, char c) const noexcept {
    return at != text_.npos && text_[at] == c;
  }
  bool is_escaped(std::size_t at) const noexcept {
    const std::size_t other = at > 0 ? text_.find_last_not_of('\\', at - 1) : text_.npos;
    return (at - other) % 2 == 0; // npos counts as -1
  }
  /// The first quote of a string, from its last; npos for none.
  std::size_t string_start(std::size_t quote) const noexcept {
    std::size_t at = is_escaped(quote) ? 0 : quote;
    while (at > 0) {
      at = text_.rfind('"', at - 1);
      if (at == text_.npos || !is_escaped(at))
        return at;
    }
    return text_.npos;
  }
  /// Whether the text parses beyond the fault if the name before it is replaced by a longer
  /// one than any in the text.
  bool is_repeated_name() const noexcept {
    const bool quoted = is(at_, '"');
    const std::size_t value = quoted ? string_start(at_) : token_start();
    const std::size_t colon = value != text_.npos ? last_before(value) : text_.npos;
    const std::size_t quote = is(colon, ':') ? last_before(colon) : text_.npos;
    const std::size_t name = is(quote, '"') ? string_start(quote) : text_.npos;
    if (name == text_.npos)
      return false;
    JsonFault other(text_);
    bool parses = other.stream_ && other.feed(text_.substr(0, name + 1));
    for (std::size_t i = 0; parses && i <= at_; i += 16)
      parses = other.feed("nnnnnnnnnnnnnnnn");
    return parses && other.feed(text_.substr(quote, at_ + 1 - quote));
  }
  Text say(std::size_t at, const char *what) const noexcept {
    std::size_t line = 1, column = 1;
    for (const char c : text_.substr(0, at)) {
      column = c == '\n' ? 1 : column + 1;
      line += c == '\n';
    }
    return Text::adopt(::string_printf("line %zu, column %zu: %s", line, column, what));
  }

  std::string_view text_;
  ::json_stream *stream_;
  std::size_t at_ = 0, end_ = 0; // bytes fed; where the first value ends
  int values_ = 0;
};

} // namespace detail

/// json_parse_buffer(): the tree of the one JSON value in the text. The reason of a failure
/// names line and column, counted in bytes from 1. To find them the text is parsed again,
/// byte by byte, which takes about six times as long and logs the failure again.
inline Result<Node> parse_json(Chars text) noexcept {
  Node tree = Node::from_json(text);
  if (tree)
    return Result<Node>(std::move(tree));
  return Result<Node>(Node(), detail::JsonFault({text.data(), text.size()}).reason());
}

/// parse_json() of a file, which may be a pipe. Reasons begin with the path.
inline Result<Node> read_json(const CString &path) noexcept {
  if (!path.get())
    return Result<Node>(Node(), Text::adopt(::string_printf("not the name of a file")));
  std::size_t size = 0;
  const Bytes bytes = Bytes::adopt(::file_read(path.get(), &size), 0);
  if (!bytes)
    return Result<Node>(
        Node(), Text::adopt(::string_printf("%s: %s", path.get(), std::strerror(errno))));
  Result<Node> result = parse_json(std::string_view(bytes.data(), size));
  if (result)
    return result;
  return Result<Node>(Node(),
                      Text::adopt(::string_printf("%s: %s", path.get(), result.reason())));
}

/// msgpack_decode(): the tree of the one message that makes up the bytes. O(n).
inline Result<Node> parse_msgpack(Chars bytes) noexcept {
  std::size_t used = 0;
  Node tree = Node::from_msgpack(bytes, &used);
  const char *reason = "not a whole message, or a value that no node can hold";
  if (tree && used == bytes.size())
    return Result<Node>(std::move(tree));
  if (bytes.size() == 0)
    reason = "no bytes";
  else if (used < bytes.size())
    reason = tree ? "there are bytes behind the message" : "no node can hold the value";
  return Result<Node>(Node(), Text::adopt(::string_printf("%s", reason)));
}

/// expr_eval(): the value of the expression for the context, which may have no node. The
/// value must not be changed: it may be a part of either tree. The reason is the message of
/// the evaluation. A value can come with a reason, that of an operand which "range"
/// skipped.
inline Result<const Node> eval(NodeArg expression, NodeArg context) noexcept {
  char *message = nullptr;
  Node value = Node::adopt(::expr_eval(const_cast<::node *>(expression.get()),
                                       const_cast<::node *>(context.get()), &message));
  Text reason = Text::adopt(message);
  if (!value && !reason)
    reason = Text::adopt(::string_printf("the expression gives no value"));
  return Result<const Node>(std::move(value), std::move(reason));
}

template <class Self, class Node>
Result<const Node> Asking<Self, Node>::eval(NodeArg context) const noexcept {
  return nodetree::eval(static_cast<const Self &>(*this), context);
}

} // namespace nodetree

#endif
