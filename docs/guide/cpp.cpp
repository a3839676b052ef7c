#include <algorithm>
#include <iostream>
#include <nodetree.hpp>

using nodetree::Node;
using nodetree::View;

// The first departure after a time, or nothing.
static View next_after(View departures, std::string_view time) {
  const auto all = departures.elements();
  const auto found = std::find_if(all.begin(), all.end(), [time](View departure) {
    return departure["time"].value_or("") > time;
  });
  return found != all.end() ? *found : View();
}

// Adds the minutes to the delay; false if the timetable cannot take it.
static bool delay(Node &timetable, std::string_view harbour, int minutes) {
  for (nodetree::Ref departure : timetable["departures"].elements())
    if (departure["to"] == harbour &&
        !departure.set("delay", departure["delay"].value_or(0) + minutes))
      return false;
  return timetable.set("/status", {{"late", true}, {"harbours", {harbour}}});
}

int main() {
  const auto broken = nodetree::parse_json("{\"departures\": [\n  {\"to\": Thalwil}]}");
  std::cout << (broken ? "read" : broken.reason()) << '\n';

  auto timetable = nodetree::parse_json(R"({"departures": [
    {"time": "08:10", "to": "Thalwil"},
    {"time": "09:40", "to": "Rapperswil", "delay": 5}]})");
  if (!timetable) {
    std::cerr << timetable.reason() << '\n';
    return 1;
  }

  const View next = next_after((*timetable)["departures"], "09:00");
  std::cout << next["to"].value_or("nowhere") << ", berth "
            << next["berth"].value_or("unknown") << ", " << next["seats"].value_or(40)
            << " seats\n";

  if (!delay(*timetable, "Rapperswil", 10) ||
      !(*timetable)["departures"].append({{"time", "11:05"}, {"to", "Uerikon"}})) {
    std::cerr << "not changed\n";
    return 1;
  }
  std::cout << *timetable << '\n';

  Node taken = (*timetable)["departures"][0].detach();
  std::cout << taken << ", left: " << (*timetable)["departures"].size() << '\n';

  nodetree::NodeStream stream(NODE_STREAM_JSON,
                              [](Node value) { std::cout << "got " << value << '\n'; });
  const bool read = stream.decode("{\"to\": \"Uerikon\"} {\"to\"");
  std::cout << (read && stream.finish() ? "complete" : "cut short") << '\n';
}
