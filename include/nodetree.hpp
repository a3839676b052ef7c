/*
 * nodetree for C++17 and later: owners that release by themselves, views, ranges, string
 * views.
 *
 * A face over <nodetree.h>, all of it inline. A member function is named as the C function
 * without its family (node_get_integer() is get_integer()) and keeps that function's
 * contract; what is said here is only what C++ adds.
 *
 *  1. Owning. Node, Text, Bytes, StringList, ValueList, StringStream, Mapping, FileLock,
 *     Child and NodeStream own what they hold and release it once. All but the last are
 *     moved, never copied; moved from, they hold nothing. adopt() takes over what a C
 *     function made, release() gives it up, get() lends it.
 *  2. Borrowing. View, Ref and Strings are plain pointers and are copied freely. They,
 *     string views and ranges last as long as what they point into. A temporary owner
 *     lends nothing that would outlive it: such a line does not compile.
 *  3. Const. View reads; Ref, which is a View, also changes. A const Node or Ref gives Views
 *     and changes nothing. A copy of a const Ref is a Ref again, as with pointers.
 *  4. References. A Node holds one reference to a node and drops just that, wherever the
 *     node stands. share() adds one, detach() takes the node and its container's reference
 *     out.
 *  5. Handing over. A Node that is given away by std::move() is emptied when the call takes
 *     the node; when the call is refused the Node still has it. What can be refused is
 *     [[nodiscard]].
 *  6. Nothing. A View, Ref or Node may hold no node. Every question then has an answer
 *     (false, 0, nothing), every lookup finds nothing, every range is empty and every
 *     change is refused or does nothing: `n["a"]["b"].value_or(80)` needs no test.
 *  7. Texts as arguments are C strings, std::string or std::string_view; see CString and
 *     Chars.
 *  8. Exceptions. Nothing here throws, with or without exceptions in the program; only a
 *     std::string that is asked for (str(), value<std::string>()) and an output stream do
 *     what they always do. A callback runs inside C code and must not throw:
 *     std::terminate() is what it meets.
 *  9. Threads. As in C: one thread at a time uses a tree, also to read it, for share() and
 *     eval() count references in it. Distinct trees may be used by distinct threads.
 */
#ifndef NODETREE_HPP
#define NODETREE_HPP

#include <nodetree/cpp/node.hpp>
#include <nodetree/cpp/output.hpp>
#include <nodetree/cpp/result.hpp>
#include <nodetree/cpp/stream.hpp>
#include <nodetree/cpp/system.hpp>

#endif
