/* nodetree: queries and changes JSON and MessagePack on the command line. */
#include "tool.h"

#include <fcntl.h>
#include <unistd.h>

static int usage_error(const struct job *job) {
  fprintf(stderr, "Try 'nodetree%s%s --help'.\n", job->command != NULL ? " " : "",
          job->command != NULL ? job->command->name : "");
  return STATUS_FAILED;
}

static int count_of(char **arguments) {
  int count = 0;
  while (arguments[count] != NULL)
    count++;
  return count;
}

static bool is_complete(struct job *job, char **arguments) {
  const command *row = job->command;
  int count = count_of(arguments);
  if (count >= row->min_arguments &&
      (row->max_arguments == 0 || count <= row->max_arguments) &&
      (row->required_option == 0 || job->option[row->required_option]))
    return true;
  complain(job, "usage: nodetree %s %s", row->name, row->synopsis);
  return false;
}

static int status_of(const struct job *job) {
  if (job->failed)
    return STATUS_FAILED;
  return job->found && !job->denied ? STATUS_FOUND : STATUS_NOTHING;
}

static void run(struct job *job, char **arguments) {
  messages_open();
  if (output_open(job) && print_allowed(job))
    job->command->run(job, arguments);
  output_close(job);
  messages_close();
}

static void tell(struct job *job) {
  if (job->option['h'])
    help_print(job->command);
  else
    puts("nodetree " NODETREE_VERSION);
  output_close(job);
  job->found = true;
}

/* A file opened while a standard stream is closed would get its descriptor, and messages
   would go into that file. Like closed ones, these descriptors can be neither read nor
   written. */
static void fill_standard_streams(void) {
  for (int fd = STDIN_FILENO; fd <= STDERR_FILENO; fd++)
    if (fcntl(fd, F_GETFD) < 0)
      (void)open("/dev/null", fd == STDIN_FILENO ? O_WRONLY : O_RDONLY);
}

int main(int argc, char **argv) {
  fill_standard_streams();
  struct job job = {.command = NULL};
  output = stdout;
  char **arguments = options_parse(&job, argc, argv);
  bool tells = job.option['h'] || job.option['V'];
  int status;
  if (arguments == NULL || (!tells && !is_complete(&job, arguments))) {
    status = usage_error(&job);
  } else {
    if (tells)
      tell(&job);
    else
      run(&job, arguments);
    status = status_of(&job);
  }
  options_free(&job);
  return status;
}
