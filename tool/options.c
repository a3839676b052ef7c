#include "tool.h"

#include <errno.h>
#include <nodetree/stringlist.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>

static bool keep_value(struct job *job, int option) {
  char **longer = sl_append(job->values[option], optarg);
  if (longer == NULL) {
    complain(job, "%s", strerror(ENOMEM));
    return false;
  }
  job->values[option] = longer;
  return true;
}

static bool keep_format(struct job *job, const char *option, node_stream_format *format) {
  if (strcmp(optarg, "json") == 0)
    *format = NODE_STREAM_JSON;
  else if (strcmp(optarg, "msgpack") == 0)
    *format = NODE_STREAM_MSGPACK;
  else {
    complain(job, "%s: option '%s' takes json or msgpack, not '%s'", job->command->name,
             option, optarg);
    return false;
  }
  return true;
}

/* A pattern that is empty, like a variable that is not set, would match nothing. */
static bool is_pattern(struct job *job) {
  if (*optarg != '\0')
    return true;
  complain(job, "%s: a pattern must not be empty", job->command->name);
  return false;
}

static bool keep_argument(struct job *job, int option) {
  if (option == OPTION_FROM)
    return keep_format(job, "--from", &job->from);
  if (option == OPTION_TO)
    return keep_format(job, "--to", &job->to);
  return is_pattern(job) && keep_value(job, option);
}

/* `found` is what getopt_long() says instead of an option's number. */
static void complain_option(struct job *job, int found, const char *argument) {
  const char *name = job->command->name;
  if (found == ':')
    complain(job, "%s: option '%s' needs an argument", name, argument);
  else if (optopt > UCHAR_MAX)
    complain(job, "%s: option '%s' takes no argument", name, argument);
  else if (optopt != 0)
    complain(job, "%s: unknown option '-%c'", name, optopt);
  else
    complain(job, "%s: unknown option '%s'", name, argument);
}

bool options_parse(struct job *job, int argc, char **argv) {
  static const struct option common[] = {FROM_OPTION, HELP_OPTION, {NULL, 0, NULL, 0}};
  const struct option *named = job->command->named_options;
  if (named == NULL)
    named = common;
  char letters[8];
  snprintf(letters, sizeof letters, ":%s", job->command->letters);

  unsetenv("POSIXLY_CORRECT"); /* an --exclude behind a FILE must not be taken for a file */
  opterr = 0;
  int option;
  while ((option = getopt_long(argc, argv, letters, named, NULL)) != -1) {
    if (option == '?' || option == ':') {
      complain_option(job, option, argv[optind - 1]);
      return false;
    }
    job->option[option] = true;
    if (optarg != NULL && !keep_argument(job, option))
      return false;
  }
  return true;
}

void options_free(struct job *job) {
  for (int option = 0; option < OPTION_END; option++)
    sl_free(job->values[option]);
}
