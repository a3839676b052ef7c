/* nodetree: looks into JSON and MessagePack from the command line. */
#include "tool.h"

#include <stdio.h>
#include <string.h>

static void print_help(void) {
  fputs(
      "Usage: nodetree COMMAND [OPTION] [ARGUMENT] [FILE...]\n"
      "Looks into JSON and MessagePack. Each FILE, or standard input where there is none\n"
      "or it is \"-\", holds any number of values one after another; each is answered as\n"
      "it arrives. merge and diff take whole files, all of them by name.\n"
      "\n"
      "Commands:\n",
      stdout);
  for (const command *row = commands; row->name != NULL; row++) {
    printf("  %s %s\n      ", row->name, row->synopsis);
    for (const char *c = row->summary; *c != '\0'; c++) {
      putchar(*c);
      if (*c == '\n')
        fputs("      ", stdout);
    }
    printf("\n      $ nodetree %s\n", row->example);
  }
  fputs(
      "\n"
      "  --from json|msgpack\n"
      "               says what the FILEs are in; for every command\n"
      "  --help       prints this text\n"
      "  --version    prints the version\n"
      "  --           ends the options: nodetree get -- -x\n"
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
      stdout);
}

static void print_version(void) {
  puts("nodetree " NODETREE_VERSION);
}

static int usage_error(void) {
  fputs("Try 'nodetree --help'.\n", stderr);
  return STATUS_FAILED;
}

static const command *find_command(const char *name) {
  for (const command *row = commands; row->name != NULL; row++)
    if (strcmp(row->name, name) == 0)
      return row;
  return NULL;
}

static int run_command(struct job *job, int count, char **arguments) {
  const command *row = job->command;
  bool too_many = row->max_arguments != 0 && count > row->max_arguments;
  bool lacks_option = row->required_option != 0 && !job->option[row->required_option];
  if (count < row->min_arguments || too_many || lacks_option) {
    complain(job, "usage: nodetree %s %s", row->name, row->synopsis);
    return usage_error();
  }
  messages_open();
  row->run(job, arguments);
  messages_close();
  output_end(job);
  if (job->failed)
    return STATUS_FAILED;
  return job->found && !job->denied ? STATUS_FOUND : STATUS_NOTHING;
}

static int print_and_end(struct job *job, void (*print)(void)) {
  print();
  output_end(job);
  return job->failed ? STATUS_FAILED : STATUS_FOUND;
}

int main(int argc, char **argv) {
  struct job job = {.command = NULL};
  if (argc < 2) {
    complain(&job, "no command given");
    return usage_error();
  }
  const char *name = argv[1];
  if (strcmp(name, "--help") == 0 || strcmp(name, "-h") == 0)
    return print_and_end(&job, print_help);
  if (strcmp(name, "--version") == 0)
    return print_and_end(&job, print_version);
  job.command = find_command(name);
  if (job.command == NULL) {
    complain(&job, "unknown command '%s'", name);
    return usage_error();
  }
  int status;
  if (!options_parse(&job, argc - 1, argv + 1))
    status = usage_error();
  else if (job.option[OPTION_HELP])
    status = print_and_end(&job, print_help);
  else
    status = run_command(&job, argc - 1 - optind, argv + 1 + optind);
  options_free(&job);
  return status;
}
