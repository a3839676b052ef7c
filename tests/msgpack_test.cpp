#include "tree.hpp"

#include <sys/resource.h>

using namespace test;

namespace {

std::string hex(const std::string &digits) {
  std::string bytes;
  for (size_t i = 0; i + 1 < digits.size(); i += 2)
    bytes += static_cast<char>(std::stoi(digits.substr(i, 2), nullptr, 16));
  return bytes;
}

// Another MPack behaves differently in some cases, see docs/design.md.
const bool other_mpack = std::getenv("NODETREE_OTHER_MPACK") != nullptr;
const bool errors_come_late = other_mpack, announced_sizes_are_reserved = other_mpack,
           large_messages_stay = other_mpack;

// The head of a form with a length of four bytes.
std::string head(const char *form, size_t length) {
  return hex(take(string_printf("%s%08zx", form, length)));
}

// `used` is set to the size that the decoder returns.
tree decoded(const std::string &bytes, size_t *used = nullptr) {
  size_t size = bytes.size();
  const std::unique_ptr<char[]> memory(new char[size]); // the bytes end where it does
  std::copy(bytes.begin(), bytes.end(), memory.get());
  tree t(msgpack_decode(memory.get(), &size));
  if (used != nullptr)
    *used = size;
  return t;
}

const std::string one_shot = "ERROR: Failed to decode MessagePack: ",
                  parsing = "ERROR: Error parsing MessagePack stream: ",
                  adding = "ERROR: Error adding MessagePack data to stream: ",
                  invalid = "mpack_error_invalid\n\n";

// ---- Forms ----

// For each value the bytes that are written, and other forms that are read.
const char written[] = R"(
      c0 null  c2 false  c3 true  00 0  7f 127  cc80 128  ccff 255  cd0100 256  cdffff 65535
      ce00010000 65536  ceffffffff 4294967295  cf0000000100000000 4294967296
      cf7fffffffffffffff 9223372036854775807  ff -1  e0 -32  d0df -33  d080 -128
      d1ff7f -129  d18000 -32768  d2ffff7fff -32769  d280000000 -2147483648
      d3ffffffff7fffffff -2147483649  d38000000000000000 -9223372036854775808
      cb3ff0000000000000 1.0  cb8000000000000000 -0.0
      a0 ""  90 []  80 {}  82a16101a162c0 {"a":1,"b":null}  82a0c2a161ff {"":false,"a":-1}
      a2c3bf "ÿ"  9380a09181a16190 [{},"",[{"a":[]}]])";
const char read[] = R"(
      cc00 0  cc7f 127  cd00ff 255  ce00000001 1  cf00000000ffffffff 4294967295
      d000 0  d07f 127  d0ff -1  d17fff 32767  d1ffff -1  d27fffffff 2147483647
      d2ffffffff -1  d37fffffffffffffff 9223372036854775807  d3ffffffffffffffff -1
      ca3fc00000 1.5  ca80000000 -0.0  d900 ""  da000161 "a"  db0000000161 "a"  dc000107 [7]
      dd0000000107 [7]  dd00000000 []  df00000000 {}  de0001d9016101 {"a":1}
      df00000002da00016101db000000016202 {"a":1,"b":2}  a56162006364 "ab")";
// NaN with its bits, infinities, the smallest and the largest real, and the bytes written
// for them.
const char reals[] = R"(
      cb7ff8000000000001 same  cbfff8000000000000 same  cb7ff0000000000000 same
      cbfff0000000000000 same  cb7fefffffffffffff same  cb0000000000000001 same
      ca3dcccccd cb3fb99999a0000000  ca7f800000 cb7ff0000000000000
      caff800000 cbfff0000000000000  ca7fc00000 cb7ff8000000000000
      ca00000001 cb36a0000000000000  ca7f7fffff cb47efffffe0000000)";

TEST(MsgpackForms, ShortestAreWrittenAndAllAreRead) {
  for (const auto &row : table(written, 2)) {
    tree t = decoded(hex(row[0]));
    ASSERT_EQ(shown(t.get()), row[1]);
    EXPECT_EQ(message(t.get()), hex(row[0])) << row[1];
  }
  for (const auto &row : table(read, 2))
    EXPECT_EQ(shown(decoded(hex(row[0])).get()), row[1]) << row[0];
  for (const auto &row : table(reals, 2))
    EXPECT_EQ(message(decoded(hex(row[0])).get()), hex(row[1] == "same" ? row[0] : row[1]));
  EXPECT_EQ(shown(decoded("\xa4\xff\xa1\xc3\x7f").get()), "\"\xff\xa1\xc3\x7f\"");
  // The second text needs more than twice the room of the first.
  const tree texts = make("[\"" + repeat("x", 200) + "\",\"" + repeat("x", 400) + "\"]");
  EXPECT_EQ(shown(decoded(message(texts.get())).get()), compact(texts.get()));
}

TEST(MsgpackForms, LengthsChooseTheShortestHeader) {
  const char heads[] = R"(
      1 a1 91 81  15 af 9f 8f  16 b0 dc0010 de0010  31 bf dc001f de001f
      32 d920 dc0020 de0020  255 d9ff dc00ff de00ff  256 da0100 dc0100 de0100
      65535 daffff dcffff deffff  65536 db00010000 dd00010000 df00010000)";
  for (const auto &row : table(heads, 4)) {
    const size_t length = std::stoul(row[0]);
    std::string members;
    for (size_t i = 0; i < length; i++)
      members += '\xa6' + std::to_string(100000 + i) + '\7';
    for (const std::string &bytes :
         {hex(row[1]) + std::string(length, 'x'), hex(row[2]) + std::string(length, '\7'),
          hex(row[3]) + members}) {
      tree t = decoded(bytes);
      ASSERT_NE(t, nullptr) << length;
      EXPECT_TRUE(message(t.get()) == bytes) << length;
    }
  }
}

// ---- Reports ----

const std::string key127(127, 'k');

// Reports in short: the number of an unhandled type, "=KEY" a member refused, "key" one
// without a string for a key, "-" none.
std::string reports(const std::string &brief) {
  std::string all;
  for (const std::string &word : split(brief))
    all += word == "-" ? ""
           : word == "key"
               ? "ERROR: Skipping MessagePack object child with non-string key\n"
           : word[0] == '=' ? "ERROR: Failed to add MessagePack value with key \"" +
                                  word.substr(1) + "\" to object\n"
                            : "ERROR: Unhandled MessagePack type: " + word + "\n";
  return all;
}

TEST(MsgpackReports, ValuesWithoutANodeFormAreLeftOut) {
  const char brief[] = R"(
      c400 NULL 8  c5000161 NULL 8  c60000000161 NULL 8  c70001 NULL 11
      c8000105ff NULL 11  c90000000105ff NULL 11  d40100 NULL 11  d5010000 NULL 11
      d6ff00000000 NULL 11  d7ff0000000000000000 NULL 11
      d80100000000000000000000000000000000 NULL 11
      9301c4016102 [1,2] 8  9291c4009281a161d401c003 [[],[{},3]] 8/11
      83a161c400a16202a163d40100 {"b":2} 8/11
      82a16101a16102 {"a":1} =a  83a16101a16102a16103 {"a":1} =a/=a
      82a161c400a16102 {"a":2} 8  82a161c0a16191c400 {"a":null} 8/=a
      8301a161a16204c003 {"b":4} key/key  819001 {} key  819181900102 {} key
      8191819001c400 {} 8  8301c400c40002a16103 {"a":3} 8/key
      82a3610062c400a16101 {"a":1} 8)";
  auto rows = table(brief, 3);
  rows.push_back({"81d97f" + repeat("6b", 127) + "01", "{\"" + key127 + "\":1}", "-"});
  rows.push_back({"82d980" + repeat("6b", 128) + "c400a16101", R"({"a":1})", "8"});
  for (const auto &row : rows) {
    SCOPED_TRACE(row[0]);
    const std::string bytes = hex(row[0]);
    log_reader log;
    size_t used = 0;
    tree t = decoded(bytes + "\xc1", &used);
    EXPECT_EQ(shown(t.get()), row[1]);
    EXPECT_EQ(log.fresh(), reports(row[2]));
    EXPECT_EQ(used, bytes.size());
    if (t != nullptr)
      check_tree(t.get());
    msgpack_decoder stream;
    EXPECT_TRUE(stream.feed(bytes + '\7'));
    EXPECT_EQ(stream.text(), row[1] + " 7 ");
    EXPECT_EQ(log.fresh(), reports(row[2]));
  }
}

TEST(MsgpackReports, FailuresArePermanentAndEarlierMessagesDelivered) {
  const char brief[] = R"(
      c1 - invalid  9201c1 - invalid  81a161c1 - invalid  81c101 - invalid
      ddffffffffc1 - invalid  cf8000000000000000 - type  9301cfffffffffffffffffc400 - type
      82a161cfffffffffffffffffa1610f - type  83a16101a16102a163cf8000000000000000 =a type
      81a461620063c0 =ab type  81a10090 = type)";
  auto rows = table(brief, 3);
  rows.push_back({"81d980" + repeat("6b", 128) + "01", "=" + key127, "too_big"});
  rows.push_back(
      {"9282da0100" + repeat("6b", 256) + "07a161c400c400", "=" + key127, "too_big"});
  for (const auto &row : rows) {
    SCOPED_TRACE(row[0]);
    const std::string bytes = hex(row[0]), error = "mpack_error_" + row[2] + "\n\n";
    log_reader log;
    size_t used = 0;
    EXPECT_EQ(decoded(bytes + '\7', &used), nullptr);
    EXPECT_EQ(used, bytes.size() + (row[2] == "invalid"));
    EXPECT_EQ(log.fresh(), reports(row[1]) + one_shot + error);
    if (errors_come_late && row[0] == "ddffffffffc1")
      continue;
    for (const size_t chunk : {bytes.size() + 2, size_t{1}}) {
      msgpack_decoder stream;
      EXPECT_FALSE(stream.feed('\6' + bytes + '\7', chunk));
      EXPECT_EQ(log.fresh(), reports(row[1]) + parsing + error +
                                 "DEBUG: decode_available: Stopped at byte 1\n");
      for (const char *more : {"\1", "", "\xc1", "\x90"}) {
        EXPECT_FALSE(stream.feed(more));
        EXPECT_EQ(log.fresh(), adding + error);
      }
      EXPECT_EQ(stream.text(), "6 ");
    }
  }
}

TEST(MsgpackForms, AMessageIsCompleteWithItsLastByte) {
  const auto rows = table(std::string(written) + read, 2);
  std::string bytes = head("dd", rows.size()), json; // all forms in one message
  for (const auto &row : rows) {
    bytes += hex(row[0]);
    json += (json.empty() ? "[" : ",") + row[1];
  }
  json += "] ";
  log_reader log;
  for (size_t length = 0; length < bytes.size(); length++) {
    SCOPED_TRACE(length);
    const std::string part = bytes.substr(0, length), rest = bytes.substr(length);
    size_t used = 0;
    EXPECT_EQ(decoded(part, &used), nullptr);
    EXPECT_EQ(used, length);
    EXPECT_EQ(log.fresh(), one_shot + invalid);
    msgpack_decoder stream;
    EXPECT_TRUE(stream.feed("\x91\1" + part) && stream.feed(""));
    EXPECT_EQ(stream.text() + log.fresh(), "[1] ");
    EXPECT_TRUE(stream.feed(rest + bytes + part));
    EXPECT_EQ(stream.text(), "[1] " + json + json);
  }
  EXPECT_EQ(msgpack_stream_new(nullptr, nullptr), nullptr);
}

// ---- Trees ----

TEST(MsgpackTrees, LinksAreWrittenAsInJson) {
  for (const char *text :
       {R"({"n":5,"l":"->/n","a":["->/n","->/l","->/gone"]})",
        R"({"a":"->/b","b":"->/c","c":{"d":"->/n"},"n":[{"x":"->/c/d"}]})",
        R"(["->/1",{"to":"->/2"},{"to":"->/1"}])"}) {
    log_reader log;
    const tree t = make(text);
    const std::string json = compact(t.get()), told = log.fresh(), bytes = message(t.get());
    EXPECT_EQ(bytes == "failed" ? "NULL" : shown(decoded(bytes).get()), json);
    EXPECT_EQ(log.fresh(), told.empty() ? ""
                                        : "ERROR: Failed to encode MessagePack" +
                                              told.substr(told.find(": /")));
  }
}

TEST(MsgpackTrees, EveryNodeOfAnUnknownKindIsReported) {
  const tree t = make(R"({"a":1,"b":[2,{"c":3},4],"d":5})");
  for (const char *path : {"/a", "/b/1/c", "/b/2"})
    node_lookup(t.get(), path)->type = static_cast<node_type>(8);
  log_reader log;
  EXPECT_EQ(message(t.get()) + message(node_lookup(t.get(), "/a")), "failedfailed");
  EXPECT_EQ(log.fresh(),
            repeat("ERROR: Unhandled node type for MessagePack encode: unknown\n", 4));
}

// ---- Size ----

size_t bytes_in_use() {
  size_t pages = 0;
  std::ifstream("/proc/self/statm") >> pages;
  return pages * 4096;
}

// Limits the memory for `body` to little more than is in use, except under tools that need
// much memory themselves.
void with_little_memory(const std::function<void()> &body) {
  rlimit before = {};
  getrlimit(RLIMIT_AS, &before);
  const rlimit low{bytes_in_use() + (size_t{64} << 20), before.rlim_max};
  setrlimit(RLIMIT_AS, to_the_limit ? &low : &before);
  body();
  setrlimit(RLIMIT_AS, &before);
}

TEST(MsgpackSize, AnnouncedSizesAndPastMessagesTakeNoMemory) {
  for (const char *start : {"dbffffffff", "c6ffffffff", "c9ffffffff01", "ddffffffff",
                            "81dbffffffff", "dfffffffffa161"})
    for (const std::string &bytes :
         {hex(start), head("dd", UINT32_MAX) + hex(start), hex(start) + repeat("\xc0", 20)})
      with_little_memory([&] {
        log_reader log;
        EXPECT_EQ(decoded(bytes), nullptr);
        EXPECT_EQ(log.fresh(), one_shot + invalid) << start;
        if (announced_sizes_are_reserved)
          return;
        msgpack_decoder stream;
        EXPECT_TRUE(stream.feed(bytes, 1)) << start;
        EXPECT_EQ(stream.text() + log.fresh(), "");
      });
  const std::string messages = repeat(hex("da0400") + std::string(1024, 'x'), 64);
  with_little_memory([&] {
    msgpack_decoder stream;
    for (size_t i = 0; i < scaled(2000); i++) {
      ASSERT_TRUE(stream.feed(messages)) << i;
      stream.values.clear();
    }
  });
  const std::string many(30 << 20, '\1');
  with_little_memory([&] { EXPECT_EQ(shown(decoded(many).get()), "1"); });
  msgpack_decoder stream;
  const size_t before = bytes_in_use();
  for (const std::string &large :
       {head("db", scaled(40 << 20)) + std::string(scaled(40 << 20), 'x'),
        head("dd", scaled(1 << 20)) + std::string(scaled(1 << 20), '\1')}) {
    EXPECT_TRUE(stream.feed(large + '\1', 1 << 20));
    EXPECT_EQ(stream.values.size(), 2U);
    stream.values.clear();
  }
  EXPECT_TRUE(large_messages_stay || !to_the_limit || bytes_in_use() < before + (8 << 20))
      << "all goes back";
}

TEST(MsgpackSize, DepthNeedsNoStack) {
  on_small_stack([] {
    tree built(deep_tree(deep_levels, node_new_integer(7)));
    const std::string nest = repeat(hex("81a16b91"), deep_levels / 2);
    EXPECT_TRUE(message(built.get()) == nest + '\7');
    EXPECT_TRUE(node_equals(decoded(nest + '\7').get(), built.get()));
    msgpack_decoder stream;
    EXPECT_TRUE(stream.feed(nest + '\7' + nest, 1));
    EXPECT_TRUE(node_equals(stream.values.at(0).get(), built.get()));
    log_reader log;
    EXPECT_EQ(decoded(nest), nullptr);
    EXPECT_FALSE(stream.feed("\xc1"));
    EXPECT_EQ(decoded(nest + hex("cfffffffffffffffff")), nullptr);
    EXPECT_NE(decoded(nest + hex("c400")), nullptr);
  });
}

TEST(MsgpackSize, ChunksOfAnySizeCostLinearTime) {
  on_small_stack([] {
    const size_t size = scaled(10 << 20);
    const std::string item = hex("da0400") + std::string(1024, 'x');
    for (const std::string &bytes :
         {head("db", size) + std::string(size, 'x'),
          head("dd", size / 1024) + repeat(item, size / 1024), repeat("\x91\1", size / 16)})
      for (const size_t chunk : {size_t{1}, size_t{4096}, bytes.size()}) {
        msgpack_decoder stream;
        EXPECT_TRUE(stream.feed(bytes, chunk));
        EXPECT_EQ(stream.values.size(), bytes[0] == '\x91' ? size / 16 : 1) << chunk;
      }
  });
}

} // namespace
