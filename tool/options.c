#include "tool.h"

#include <errno.h>
#include <getopt.h>
#include <nodetree/stringlist.h>
#include <stdlib.h>
#include <string.h>

/* All options. A letter means the same for every command. */
typedef struct option_row {
  const char *name;
  const char *argument; /* its name in the help; NULL for none */
  const char *help;
  unsigned groups; /* TAKES_ values; 0: every command takes it */
  int code;        /* its letter, or an OPTION_ value */
} option_row;

static const option_row rows[] = {
    {"raw", NULL, "prints a string as it is, without quotes and escapes", TAKES_VALUES,
     'r'},
    {"compact", NULL, "prints JSON without blanks, one value on each line", TAKES_VALUES,
     'c'},
    {"indent", "N", "indents each level by N blanks, 16 at most, not by a tab",
     TAKES_VALUES, OPTION_INDENT},
    {"sort-keys", NULL, "prints members in the order of their names",
     TAKES_VALUES | TAKES_LINES, OPTION_SORT_KEYS},
    {"null", NULL, "ends each result with a NUL instead of a newline", TAKES_OUTPUT, '0'},
    {"color", "auto|always|never", "colors; auto: on a terminal, unless NO_COLOR is set",
     TAKES_VALUES | TAKES_LINES, OPTION_COLOR},
    {"with-filename", NULL, "prints the name of the FILE and a colon before each result",
     TAKES_LABELS, 'H'},
    {"number", NULL, "prints the number of the value and a colon before each result",
     TAKES_LABELS, 'n'},
    {"output", "FILE", "prints into FILE, which becomes complete or stays as it was",
     TAKES_OUTPUT, 'o'},
    {"in-place", NULL, "changes each FILE instead of printing, and keeps its encoding",
     TAKES_EDIT, 'i'},
    {"to", "json|msgpack", "the encoding to print", TAKES_VALUES, OPTION_TO},
    {"force", NULL, "writes MessagePack to a terminal as well", TAKES_VALUES, OPTION_FORCE},
    {"from", "json|msgpack", "the encoding of the FILEs", TAKES_INPUT, OPTION_FROM},
    {"skip-invalid", NULL, "reads each line of JSON by itself, skips those that are broken",
     TAKES_INPUT, OPTION_SKIP_INVALID},
    {"pointer", NULL, "PATH is a JSON Pointer: ~1 stands for \"/\", ~0 for \"~\"",
     TAKES_PATH, OPTION_POINTER},
    {"default", "TEXT", "prints TEXT if a path leads nowhere", TAKES_GET, OPTION_DEFAULT},
    {"arrays", "append|replace",
     "appends elements, the default, or replaces those of the first file", TAKES_MERGE,
     OPTION_ARRAYS},
    {"include", "PATTERN", "keeps what PATTERN matches; may be repeated", TAKES_FILTER,
     OPTION_INCLUDE},
    {"exclude", "PATTERN", "drops what PATTERN matches; may be repeated", TAKES_FILTER,
     OPTION_EXCLUDE},
    {"removed", NULL, "prints the paths of the leaves that are removed instead",
     TAKES_FILTER, OPTION_REMOVED},
    {"string", NULL, "takes VALUE literally as a string, not as JSON", TAKES_SET, 's'},
    {"path", "PATH", "uses this PATH as well; may be repeated", TAKES_DEL | TAKES_GET, 'p'},
    {"merge", NULL, "applies a merge patch (RFC 7396)", TAKES_PATCH, OPTION_MERGE},
    {"patch", NULL, "prints a JSON Patch (RFC 6902)", TAKES_DIFF, OPTION_PATCH},
    {"syntax", NULL, "checks the rules themselves", TAKES_CHECK, OPTION_SYNTAX},
    {"help", NULL, "prints this help", 0, 'h'},
    {"version", NULL, "prints the version", 0, 'V'},
};
enum { ROW_COUNT = sizeof rows / sizeof *rows };

static const option_row *row_of(int code) {
  const option_row *row = rows;
  while (row->code != code)
    row++;
  return row;
}

/* ---- The tables of getopt_long() ---- */

static void make_tables(struct option *names, char *letters) {
  *letters++ = ':'; /* distinguishes a missing argument from an unknown option */
  for (int i = 0; i < ROW_COUNT; i++) {
    bool takes = rows[i].argument != NULL;
    names[i] = (struct option){rows[i].name, takes ? required_argument : no_argument, NULL,
                               rows[i].code};
    if (rows[i].code <= UCHAR_MAX)
      *letters++ = (char)rows[i].code;
    if (rows[i].code <= UCHAR_MAX && takes)
      *letters++ = ':';
  }
  names[ROW_COUNT] = (struct option){NULL, 0, NULL, 0};
  *letters = '\0';
}

/* The number of options that a name beginning with "--" may abbreviate. */
static int count_meant(const char *argument) {
  int count = 0;
  for (int i = 0; i < ROW_COUNT; i++)
    count += strncmp(rows[i].name, argument + 2, strcspn(argument + 2, "=")) == 0;
  return count;
}

/* `found` is what getopt_long() returned instead of an option's code. */
static void complain_option(struct job *job, int found, const char *argument) {
  if (found == ':')
    complain(job, "option '%s' needs an argument", argument);
  else if (optopt > UCHAR_MAX || (optopt != 0 && argument[1] == '-'))
    complain(job, "option '%s' takes no argument", argument);
  else if (optopt != 0)
    complain(job, "unknown option '-%c'%s", optopt,
             optopt >= '0' && optopt <= '9'
                 ? "; put '--' before arguments that begin with '-'"
                 : "");
  else
    complain(job,
             count_meant(argument) > 1 ? "option '%s' is ambiguous" : "unknown option '%s'",
             argument);
}

static bool read_options(struct job *job, int argc, char **argv) {
  struct option names[ROW_COUNT + 1];
  char letters[2 * ROW_COUNT + 2];
  make_tables(names, letters);
  unsetenv("POSIXLY_CORRECT"); /* an --exclude after a FILE must not be taken for a file */
  opterr = 0;
  int option;
  while ((option = getopt_long(argc, argv, letters, names, NULL)) != -1) {
    if (option == '?' || option == ':') {
      complain_option(job, option, argv[optind - 1]);
      return false;
    }
    job->option[option] = true;
    char **longer = optarg != NULL ? sl_append(job->values[option], optarg) : NULL;
    if (optarg != NULL && longer == NULL) {
      complain(job, "%s", strerror(ENOMEM));
      return false;
    }
    if (longer != NULL)
      job->values[option] = longer;
  }
  return true;
}

/* ---- Their meaning ---- */

/* The index of the word that was given last with the option; -1, with a report, if any
   is not among the words. */
static int choice(struct job *job, int option, const char *const *words) {
  int chosen = 0;
  for (char **value = job->values[option]; value != NULL && *value != NULL; value++) {
    for (chosen = 0; words[chosen] != NULL && strcmp(words[chosen], *value) != 0;)
      chosen++;
    if (words[chosen] == NULL) {
      const option_row *row = row_of(option);
      complain(job, "option '--%s' takes %s, not '%s'", row->name, row->argument, *value);
      return -1;
    }
  }
  return chosen;
}

static bool settle_formats(struct job *job) {
  static const char *const words[] = {"json", "msgpack", NULL};
  int from = choice(job, OPTION_FROM, words);
  int to = from >= 0 ? choice(job, OPTION_TO, words) : -1;
  if (to < 0)
    return false;
  const node_stream_format formats[] = {NODE_STREAM_JSON, NODE_STREAM_MSGPACK};
  job->from = job->option[OPTION_FROM] ? formats[from] : NODE_STREAM_AUTO;
  job->to = job->option[OPTION_TO] ? formats[to] : NODE_STREAM_AUTO;
  return true;
}

static bool settle_words(struct job *job) {
  static const char *const times[] = {"auto", "always", "never", NULL};
  static const char *const arrays[] = {"append", "replace", NULL};
  int chosen = choice(job, OPTION_ARRAYS, arrays);
  job->replaces_arrays = chosen == 1;
  return chosen >= 0 && choice(job, OPTION_COLOR, times) >= 0 && settle_formats(job);
}

static bool settle_indent(struct job *job) {
  job->indent = -1;
  for (char **value = job->values[OPTION_INDENT]; value != NULL && *value != NULL;
       value++) {
    char *end;
    long indent = strtol(*value, &end, 10);
    if (**value < '0' || **value > '9' || *end != '\0' || indent > MAX_INDENT) {
      complain(job, "option '--indent' takes a number from 0 to %d, not '%s'", MAX_INDENT,
               *value);
      return false;
    }
    job->indent = (int)indent;
  }
  return true;
}

/* An empty pattern, as an unset shell variable gives it, would match nothing. */
static bool are_patterns(struct job *job, int option) {
  for (char **value = job->values[option]; value != NULL && *value != NULL; value++) {
    if (**value == '\0') {
      complain(job, "a pattern must not be empty");
      return false;
    }
  }
  return true;
}

static bool settle(struct job *job) {
  const command *taker = job->command;
  for (const option_row *row = rows; row < rows + ROW_COUNT; row++) {
    if (job->option[row->code] && row->groups != 0 && (row->groups & taker->takes) == 0) {
      complain(job, "%s takes no option '--%s'", taker->name, row->name);
      return false;
    }
  }
  if (job->option['i'] && job->option['o']) {
    complain(job, "'--in-place' and '--output' exclude each other");
    return false;
  }
  return settle_words(job) && settle_indent(job) && are_patterns(job, OPTION_INCLUDE) &&
         are_patterns(job, OPTION_EXCLUDE);
}

char **options_parse(struct job *job, int argc, char **argv) {
  if (!read_options(job, argc, argv))
    return NULL;
  char **arguments = argv + optind;
  if (*arguments == NULL) {
    if (job->option['h'] || job->option['V'])
      return arguments;
    complain(job, "no command given");
    return NULL;
  }
  job->command = command_find(job, *arguments);
  return job->command != NULL && (job->option['h'] || settle(job)) ? arguments + 1 : NULL;
}

void options_print(unsigned groups) {
  for (const option_row *row = rows; row < rows + ROW_COUNT; row++) {
    if (row->groups != 0 ? (row->groups & groups) == 0 : groups != 0)
      continue;
    char name[64];
    snprintf(name, sizeof name, "--%s%s%s", row->name, row->argument != NULL ? " " : "",
             row->argument != NULL ? row->argument : "");
    if (row->code <= UCHAR_MAX)
      fprintf(output, "  -%c, %-26s %s\n", row->code, name, row->help);
    else
      fprintf(output, "      %-26s %s\n", name, row->help);
  }
}

void options_free(struct job *job) {
  for (int option = 0; option < OPTION_END; option++)
    sl_free(job->values[option]);
}
