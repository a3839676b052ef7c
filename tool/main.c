/* nodetree: looks into JSON from the command line. */
#include "tool.h"

#include <getopt.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>

static void print_help(void) {
  fputs(
      "Usage: nodetree COMMAND [OPTION] [ARGUMENT] [FILE...]\n"
      "Looks into JSON. Each FILE, or standard input where there is none or it is \"-\",\n"
      "holds any number of values one after another; each is answered as it arrives.\n"
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
  fputs("\n"
        "  --help       prints this text\n"
        "  --version    prints the version\n"
        "  --           ends the options: nodetree get -- -x\n"
        "\n"
        "A PATH is the keys from the top down, separated by \"/\"; array elements count "
        "from 0.\n"
        "\"/\" alone is the whole value. In a PATTERN \"*\" stands for every child.\n"
        "\n"
        "The exit status is 0 when something was found, 1 when nothing was, and 2 when\n"
        "anything went wrong.\n",
        stdout);
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

/* Reads the options of a command, wherever they stand before "--", and moves what is left
   to the end of the arguments, from optind on. False, with a report, for an unknown one. */
static bool parse_options(struct job *job, int argc, char **argv, bool *help) {
  static const struct option long_options[] = {{"help", no_argument, NULL, 'h'},
                                               {NULL, 0, NULL, 0}};
  opterr = 0;
  int letter;
  while ((letter = getopt_long(argc, argv, job->command->options, long_options, NULL)) !=
         -1) {
    if (letter == 'h') {
      *help = true;
    } else if (letter == '?') {
      if (optopt != 0)
        complain(job, "%s: unknown option '-%c'", job->command->name, optopt);
      else
        complain(job, "%s: unknown option '%s'", job->command->name, argv[optind - 1]);
      return false;
    } else {
      job->option[letter] = true;
    }
  }
  return true;
}

static int run_command(struct job *job, int argc, char **argv) {
  bool help = false;
  if (!parse_options(job, argc, argv, &help))
    return usage_error();
  if (help) {
    print_help();
    output_end(job);
    return job->failed ? STATUS_FAILED : STATUS_FOUND;
  }
  char **rest = argv + optind;
  if (job->command->takes_operand && *rest == NULL) {
    complain(job, "usage: nodetree %s %s", job->command->name, job->command->synopsis);
    return usage_error();
  }
  if (job->command->takes_operand)
    job->operand = *rest++;

  messages_open();
  if (*rest == NULL)
    input_read(job, "-");
  for (; *rest != NULL && !job->output_lost; rest++)
    input_read(job, *rest);
  messages_close();
  output_end(job);
  if (job->failed)
    return STATUS_FAILED;
  return job->found ? STATUS_FOUND : STATUS_NOTHING;
}

int main(int argc, char **argv) {
  struct job job = {.command = NULL};
  if (argc < 2) {
    complain(&job, "no command given");
    return usage_error();
  }
  const char *name = argv[1];
  bool help = strcmp(name, "--help") == 0 || strcmp(name, "-h") == 0;
  if (help || strcmp(name, "--version") == 0) {
    if (help)
      print_help();
    else
      puts("nodetree " NODETREE_VERSION);
    output_end(&job);
    return job.failed ? STATUS_FAILED : STATUS_FOUND;
  }
  job.command = find_command(name);
  if (job.command == NULL) {
    complain(&job, "unknown command '%s'", name);
    return usage_error();
  }
  return run_command(&job, argc - 1, argv + 1);
}
