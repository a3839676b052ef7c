#include <nodetree/log.h>
#include <nodetree/stringstream.h>

#include "log/report.hpp"

#include <algorithm>
#include <cerrno>
#include <climits>
#include <cstdio>
#include <cstring>

namespace {

constexpr size_t line_bytes = 16;

/* The limit of one message: printf() counts in ints, and the prefix needs room too. */
constexpr size_t max_text = INT_MAX - 1024;

/* Appends " %02x" for each byte to `out` and returns the new end. */
char *put_hex(char *out, const unsigned char *bytes, size_t count) {
  static constexpr char digits[] = "0123456789abcdef";
  for (size_t i = 0; i < count; ++i) {
    *out++ = ' ';
    *out++ = digits[bytes[i] >> 4];
    *out++ = digits[bytes[i] & 0xf];
  }
  return out;
}

char *put_spaces(char *out, size_t count) {
  memset(out, ' ', count);
  return out + count;
}

char *put_ascii(char *out, const unsigned char *bytes, size_t count) {
  for (size_t i = 0; i < count; ++i)
    *out++ = bytes[i] >= 0x20 && bytes[i] <= 0x7e ? static_cast<char>(bytes[i]) : '.';
  return out;
}

/* The writers return whether everything was written. When memory runs out a memory stream
   drops bytes, and ferror() does not always show it. */
bool write_dump_line(FILE *out, size_t offset, const unsigned char *bytes, size_t count) {
  char line[128]; /* at most 19 for the offset, 48 + 4 + 16 for the columns and the end */
  char *end = line + snprintf(line, sizeof line, "0x%08zx:", offset);
  end = put_hex(end, bytes, count);
  end = put_spaces(end, count == line_bytes ? 2 : (line_bytes - count) * 3 + 4);
  end = put_ascii(end, bytes, count);
  *end++ = '\n';
  const size_t size = static_cast<size_t>(end - line);
  return fwrite(line, 1, size, out) == size;
}

bool write_dump(FILE *out, const unsigned char *bytes, size_t length) {
  bool in_run = false;
  for (size_t offset = 0; offset < length; offset += line_bytes) {
    const unsigned char *line = bytes + offset;
    const size_t remaining = length - offset;
    const bool repeated = offset > 0 && remaining > line_bytes &&
                          memcmp(line, line - line_bytes, line_bytes) == 0;
    if (!repeated) {
      if (!write_dump_line(out, offset, line, std::min(remaining, line_bytes)))
        return false;
    } else if (!in_run && fputs("...\n", out) < 0) {
      return false;
    }
    in_run = repeated;
  }
  return fputc('\n', out) != EOF && fflush(out) == 0;
}

} // namespace

void log_debug_hex(const void *data, size_t length) {
  const int caller_errno = errno;
  stringstream *dump = stringstream_open();
  if (!dump || !write_dump(stringstream_file(dump),
                           static_cast<const unsigned char *>(data), length)) {
    NODETREE_DEBUG("no memory for the dump of %zu bytes", length);
  } else {
    char *text = stringstream_data(dump);
    size_t size = stringstream_size(dump);
    if (size > max_text)
      text[size = max_text] = '\0';
    NODETREE_DEBUG("%*s", static_cast<int>(size), text);
  }
  stringstream_free(dump);
  errno = caller_errno;
}
