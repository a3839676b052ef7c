/* What the program says about itself. */
#include "tool.h"

#include <string.h>

/* Lines of the text, each behind the indentation. */
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
        "Looks into JSON and MessagePack, and changes it. Each FILE, or standard input "
        "where\n"
        "there is none or it is \"-\", holds any number of values one after another; each "
        "is\n"
        "answered as it arrives. merge and diff take whole files, all of them by name.\n"
        "\n"
        "Commands:\n",
        output);
  for (const command *row = commands; row->name != NULL; row++)
    fprintf(output, "  %-8s %.*s\n", row->name, (int)strcspn(row->summary, "\n"),
            row->summary);
  fputs("\n"
        "Options, before or behind the command and its arguments, up to a \"--\":\n",
        output);
  options_print(0);
  fputs(
      "\n"
      "'nodetree help COMMAND' tells the other options and more.\n"
      "\n"
      "Without --from, and for the file of an EXPR always, input whose first byte is 80\n"
      "to df in hex is MessagePack, as it is of any message but a small integer; all\n"
      "other is JSON. What a tree cannot hold of MessagePack, as\n"
      "binary data, extensions and members whose key is no string or comes again, is\n"
      "an error and left out; merge, diff and the file of an EXPR take no such value,\n"
      "the other commands answer what is left of it.\n"
      "\n"
      "A PATH is the keys from the top down, separated by \"/\"; array elements count\n"
      "from 0. \"/\" alone is the whole value. In a PATTERN \"*\" stands for every child.\n"
      "\n"
      "The exit status is 0 when something was found or the answer is yes, 1 when\n"
      "nothing was or it is no, and 2 when anything went wrong.\n",
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

/* How many letters have to be put in, taken out or replaced to make one of the other. */
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
  size_t least = 3; /* more is no slip of the fingers */
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
