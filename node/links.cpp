#include "node/links.hpp"

#include "node/wanted_key.hpp"
#include "string/parse_int.hpp"

#include <cstring>

using namespace nodetree;

namespace nodetree {
namespace {

constexpr std::size_t circular = SIZE_MAX;

// A path of fewer steps, none of them along an array, is not worth remembering.
constexpr std::size_t effort_noted = 8;

// parse_int32() of a segment. In memory a slash or a NUL follows it, neither of which can
// continue a number. True when the whole segment is a number.
bool segment_to_int(std::string_view segment, int *value) {
  const auto is_digit = [](char c) { return c >= '0' && c <= '9'; };
  const size_t length = segment.size();
  if (length >= 1 && length <= 9 && (segment[0] != '0' || length == 1)) {
    int number = 0;
    size_t i = 0;
    while (i < length && is_digit(segment[i]))
      number = number * 10 + (segment[i++] - '0');
    if (i == length) {
      *value = number;
      return true;
    }
  }
  const char *end;
  return parse_int32(segment.data(), &end, value) && end == segment.data() + length;
}

} // namespace

node *child_named(const node *container, std::string_view segment) {
  if (has_kind(container, NODE_OBJECT))
    return find_member(container, segment);
  int position = 0;
  if (!has_kind(container, NODE_ARRAY) || !segment_to_int(segment, &position) ||
      position < 0)
    return nullptr;
  return node_array_get(container, static_cast<std::size_t>(position));
}

node *Links::start(const node *link, ListSegments &path) {
  path = ListSegments(link->value.link_path);
  return leads_from_link(link->value.link_path) ? begin(link, path) : nullptr;
}

// A link whose path continues in the target of another link.
struct Links::Waiting {
  const node *link;
  ListSegments path;
};

node *Links::follow(const node *link) {
  if (out_of_memory_)
    return nullptr;
  if (const Note *known = notes_.find({link}))
    return known->target;
  Stack<Waiting> waiting;
  ListSegments path(nullptr);
  std::string_view segment;
  node *at = start(link, path);
  std::size_t effort = 0;
  bool through_others = false;
  for (;;) {
    ListSegments here = path;
    if (!at || !path.next(segment)) {
      if ((through_others || effort >= effort_noted) && !settle(link, at))
        return nullptr;
      if (waiting.empty())
        return at;
      link = waiting.back().link;
      path = waiting.back().path;
      waiting.pop();
      path.next(segment);
      at = at ? child_named(at, segment) : nullptr;
    } else if (at->type != NODE_LINK || !names_child(segment)) {
      effort += at->type == NODE_ARRAY ? effort_noted : 1;
      at = step(at, segment);
    } else if (const Note *known = notes_.find({at}); known || at == link) {
      // A path that needs the target of its own link does not resolve.
      node *target = known && !known->resolving ? known->target : nullptr;
      at = target ? child_named(target, segment) : nullptr;
    } else {
      if (!wait(waiting, link, here))
        return nullptr;
      through_others = true;
      link = at;
      at = start(link, path);
    }
  }
}

bool Links::settle(const node *link, node *target) {
  Note *note = notes_.add({link});
  if (note)
    *note = {target, {nullptr, 0}, false};
  out_of_memory_ = !note;
  return note;
}

bool Links::wait(Stack<Waiting> &waiting, const node *link, ListSegments path) {
  Note *note = notes_.add({link});
  out_of_memory_ = !note || !waiting.push({link, path});
  if (note)
    note->resolving = true;
  return !out_of_memory_;
}

// Goes along the chain until an end is known, then along it again to store that end.
Links::End Links::end_of(node *link) {
  End end{link, 0};
  std::size_t noted = 0;
  for (; end.at && end.at->type == NODE_LINK; noted++) {
    const Note *known = notes_.find({end.at});
    if (known && known->end.steps != 0) {
      end = known->end;
      break;
    }
    node *target = follow(end.at);
    if (noted == 0 && !(target && target->type == NODE_LINK) && !out_of_memory_)
      return {target, 1};
    Note *note = out_of_memory_ ? nullptr : notes_.add({end.at});
    if (!note) {
      out_of_memory_ = true;
      return {nullptr, 0};
    }
    *note = {target, {end.at, circular}, false}; // right even if the link is met again
    end.at = target;
  }
  const std::size_t steps = end.steps;
  for (node *at = link; noted > 0; noted--) {
    Note *note = notes_.find({at});
    note->end = {end.at, steps == circular ? circular : steps + noted};
    if (at == link)
      end.steps = note->end.steps;
    at = note->target;
  }
  return end;
}

} // namespace nodetree

node *node_follow_link(const node *n) {
  Links links;
  return has_kind(n, NODE_LINK) ? links.follow(n) : nullptr;
}
