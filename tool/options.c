#include "tool.h"

#include <errno.h>
#include <nodetree/stringlist.h>
#include <stdio.h>
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
  static const struct option help_only[] = {HELP_OPTION, {NULL, 0, NULL, 0}};
  const struct option *named = job->command->named_options;
  if (named == NULL)
    named = help_only;
  char letters[8];
  snprintf(letters, sizeof letters, ":%s", job->command->letters);

  opterr = 0;
  int option;
  while ((option = getopt_long(argc, argv, letters, named, NULL)) != -1) {
    if (option == '?' || option == ':') {
      complain_option(job, option, argv[optind - 1]);
      return false;
    }
    job->option[option] = true;
    if (optarg != NULL && !keep_value(job, option))
      return false;
  }
  return true;
}

void options_free(struct job *job) {
  for (int option = 0; option < OPTION_END; option++)
    sl_free(job->values[option]);
}
