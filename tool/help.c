/* The help texts. */
#include "tool.h"

#include <string.h>

static void print_indented(const char *indentation, const char *lines) {
  for (const char *line = lines; line != NULL;) {
    const char *end = strchr(line, '\n');
    int length = (int)(end != NULL ? (size_t)(end - line) : strlen(line));
    fprintf(output, "%s%.*s\n", indentation, length, line);
    line = end != NULL ? end + 1 : NULL;
  }
}

static void print_program(void) {
  fputs("Usage: nodetree COMMAND [OPTION] [ARGUMENT] [FILE...]\n"
        "Reads values in JSON or MessagePack and prints them, parts of them, or what it\n"
        "computes from them. Each FILE holds any number of values one after another, and\n"
        "each value is handled as soon as it has arrived. If no FILE is named, or one is\n"
        "called \"-\", standard input is read. merge and diff take whole files and need\n"
        "their names.\n"
        "\n"
        "Commands:\n",
        output);
  for (const command *row = commands; row->name != NULL; row++)
    fprintf(output, "  %-8s %.*s\n", row->name, (int)strcspn(row->summary, "\n"),
            row->summary);
  fputs("\n"
        "Options, before or after the command and its arguments; \"--\" ends them:\n",
        output);
  options_print(0);
  fputs(
      "\n"
      "'nodetree help COMMAND' describes a command and its other options.\n"
      "\n"
      "Without --from, and always for the file of an EXPR, input whose first byte is\n"
      "0x80 to 0xdf is MessagePack; every message but a small integer begins like that.\n"
      "All other input is JSON. Binary data, extensions, and members whose key is not a\n"
      "string or is repeated are reported and left out. merge, diff and the file of an\n"
      "EXPR refuse such a value; the other commands use what is left of it.\n"
      "\n"
      "A PATH consists of the keys from the top down, separated by \"/\"; the elements of\n"
      "an array count from 0. \"/\" alone is the whole value. In a PATTERN, \"*\" stands "
      "for\n"
      "every child.\n"
      "\n"
      "The exit status is 0 if something was found or the answer is yes, 1 if nothing was\n"
      "found or the answer is no, and 2 if there was an error.\n",
      output);
}

void help_print(const command *row) {
  if (row == NULL) {
    print_program();
    return;
  }
  fprintf(output, "Usage: nodetree %s [OPTION]... %s\n", row->name, row->synopsis);
  print_indented("", row->summary);
  fputs("\n", output);
  options_print(row->takes);
  options_print(0);
  fputs("\n", output);
  print_indented("  $ nodetree ", row->example);
}

void run_help(struct job *job, char **arguments) {
  const command *row = *arguments != NULL ? command_find(job, *arguments) : NULL;
  if (*arguments != NULL && row == NULL)
    return;
  help_print(row);
  job->found = true;
}

/* ---- Names ---- */

static size_t smallest(size_t a, size_t b, size_t c) {
  size_t least = a < b ? a : b;
  return least < c ? least : c;
}

/* The number of letters to insert, remove or replace to turn one into the other. */
static size_t distance(const char *a, const char *b) {
  size_t row[32];
  size_t length = strlen(b);
  if (length >= sizeof row / sizeof *row)
    return SIZE_MAX;
  for (size_t i = 0; i <= length; i++)
    row[i] = i;
  for (; *a != '\0'; a++) {
    size_t diagonal = row[0]++;
    for (size_t i = 1; i <= length; i++) {
      size_t above = row[i];
      row[i] = smallest(above + 1, row[i - 1] + 1, diagonal + (*a != b[i - 1]));
      diagonal = above;
    }
  }
  return row[length];
}

const command *command_find(struct job *job, const char *name) {
  const command *nearest = NULL;
  size_t least = 3; /* names further away are hardly typing errors */
  for (const command *row = commands; row->name != NULL; row++) {
    size_t letters = distance(name, row->name);
    if (letters == 0)
      return row;
    if (letters < least && letters < strlen(row->name)) {
      least = letters;
      nearest = row;
    }
  }
  if (nearest != NULL)
    complain(job, "unknown command '%s'; did you mean '%s'?", name, nearest->name);
  else
    complain(job, "unknown command '%s'", name);
  return NULL;
}
