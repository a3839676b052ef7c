/*
 * nodetree for C++17 and later: owners, borrowed views, ranges and string views, all inline
 * over <nodetree.h>.
 *
 * A member function has the name of its C function without the family (node_get_integer()
 * is get_integer()) and keeps that function's contract. The comments here say what C++
 * adds.
 *
 *  1. Owning. Node, Text, Bytes, StringList, ValueList, StringStream, Mapping, FileLock,
 *     Child and NodeStream own what they hold and release it once. All but NodeStream can
 *     be moved, none can be copied; after a move the source holds nothing. adopt() takes
 *     over what a C function made, release() gives it up, get() lends it.
 *  2. Borrowing. View, Ref and Strings are plain pointers and are copied freely. They,
 *     string views and ranges are valid as long as what they point into. A temporary owner
 *     lends nothing that would outlive it: code that tries does not compile.
 *  3. Const. View reads; Ref, which is a View, also changes. A const Node or Ref gives
 *     Views and changes nothing. A copy of a const Ref is a Ref again, as with pointers.
 *  4. References. A Node owns one reference to a node and drops exactly that, whether or
 *     not the node is in a container. share() adds a reference. detach() takes the node and
 *     the container's reference out of the container.
 *  5. Giving away. A Node that is given away by std::move() is emptied when the call takes
 *     the node. When the call fails the Node keeps it. Calls that can fail are
 *     [[nodiscard]].
 *  6. No node. A View, Ref or Node may have no node. Every question then has an answer
 *     (false, 0 or empty), every lookup gives no node, every range is empty, and every
 *     change fails or does nothing: `n["a"]["b"].value_or(80)` needs no test.
 *  7. Text arguments are C strings, std::string or std::string_view; see CString and Chars.
 *     List arguments may be temporaries; see StringsArg.
 *  8. Exceptions. Only conversions to std::string (str(), value<std::string>()) and output
 *     streams can throw. A callback is called from C code and must not throw: that calls
 *     std::terminate().
 *  9. Threads. As in C, one thread at a time uses a tree, also to read it, because share()
 *     and eval() change reference counts. Different threads may use different trees.
 */
#ifndef NODETREE_HPP
#define NODETREE_HPP

#if __cplusplus < 201703L
#error "nodetree.hpp needs C++17: compile with -std=c++17 or later"
#endif

#include <nodetree/cpp/node.hpp>
#include <nodetree/cpp/output.hpp>
#include <nodetree/cpp/result.hpp>
#include <nodetree/cpp/stream.hpp>
#include <nodetree/cpp/system.hpp>

#endif
