/* What the files of the nodetree program share. */
#ifndef NODETREE_TOOL_H
#define NODETREE_TOOL_H

#include <getopt.h>
#include <limits.h>
#include <nodetree/export.h>
#include <nodetree/node.h>
#include <nodetree/node_stream.h>
#include <stdbool.h>

struct job;

/* A row of the table in commands.c is all there is to a command, besides its function. */
typedef struct command {
  const char *name;
  const char *synopsis;               /* what stands behind the name in the help */
  const char *summary;                /* lines separated by "\n" */
  const char *example;                /* what stands behind the program's name */
  const char *letters;                /* the short options it knows */
  const struct option *named_options; /* and the long ones; NULL for the common */
  int min_arguments;                  /* what has to be there besides options */
  int max_arguments;                  /* 0: any number */
  int required_option;                /* 0: none */

  /* Does it all. The arguments end with NULL. */
  void (*run)(struct job *job, char **arguments);
} command;

extern const command commands[]; /* ended by a row without a name */

/* Options without a letter are told by numbers behind the letters. */
enum {
  OPTION_HELP = UCHAR_MAX + 1,
  OPTION_INCLUDE,
  OPTION_EXCLUDE,
  OPTION_REMOVED,
  OPTION_FROM,
  OPTION_TO,
  OPTION_END
};

/* What every command knows. */
#define FROM_OPTION                                                                        \
  { "from", required_argument, NULL, OPTION_FROM }
#define HELP_OPTION                                                                        \
  { "help", no_argument, NULL, OPTION_HELP }

/* One run of the program: what was asked for and what has come of it so far. */
struct job {
  const command *command;
  bool option[OPTION_END];
  char **values[OPTION_END]; /* what was given with an option, all times: string lists */
  node_stream_format from;   /* NODE_STREAM_AUTO: what the files begin with decides */
  node_stream_format to;
  const char *operand; /* the PATH or PATTERN, for functions that answer values */
  node *expression;    /* the EXPR */
  const char *input;   /* the name of what is being read, NULL before and after */
  bool input_taken;    /* standard input has been read */
  bool found;
  bool denied; /* some answer was no, whatever else was found */
  bool failed;
  bool output_lost; /* standard output cannot be written: there is no use in going on */
};

enum { STATUS_FOUND = 0, STATUS_NOTHING = 1, STATUS_FAILED = 2 };

/* ---- look.c, eval.c, trees.c, dot.c: the commands ---- */

void run_get(struct job *job, char **arguments);
void run_glob(struct job *job, char **arguments);
void run_flat(struct job *job, char **arguments);
void run_format(struct job *job, char **arguments);
void run_convert(struct job *job, char **arguments);
void run_eval(struct job *job, char **arguments);
void run_merge(struct job *job, char **arguments);
void run_filter(struct job *job, char **arguments);
void run_diff(struct job *job, char **arguments);
void run_dot(struct job *job, char **arguments);

/* ---- options.c ---- */

/* Reads the options of a command, wherever they stand before "--", and moves what is left
   to the end of the arguments, from optind on. False, with a report, for what it does not
   understand. */
bool options_parse(struct job *job, int argc, char **argv);

void options_free(struct job *job);

/* ---- input.c: a name is a file's, or "-" for standard input ----

   Input that begins with any MessagePack value but an integer of one byte is MessagePack, as
   no JSON text begins so; all else is JSON, unless the job says from what to read. */

/* Answers one top-level value, which it may change but not keep. */
typedef void (*answer_function)(struct job *job, node *value);

/* Reads the files one after the other, standard input if there are none, and has every
   value answered as soon as it is complete. */
void input_answer(struct job *job, char **names, answer_function answer);

/* The last value of a file, or its only one; NULL, with a report, where it cannot be had
   whole. */
node *input_last(struct job *job, const char *name);
node *input_only(struct job *job, const char *name);

/* The same for the expression, whatever encoding the job's files are said to be in. */
node *input_expression(struct job *job, const char *name);

/* The only value of a JSON text, which reports call by the name. */
node *input_text(struct job *job, const char *name, const char *text);

/* ---- output.c ---- */

/* Writes the value as JSON and ends the line; whether it has a JSON form. */
bool output_json(struct job *job, const char *prefix, const node *value, bool compact);

/* Writes the value as a MessagePack message; whether it has that form. */
bool output_msgpack(struct job *job, const node *value);

/* Whether output_json() would need one line only, as for all that has no children. */
bool output_is_short(const node *value);

/* Hands everything written so far over to the reader of standard output. */
void output_flush(struct job *job);

/* The same, and closes standard output. */
void output_end(struct job *job);

/* Reports what is wrong on standard error, with the name of the input, behind everything
   that has been answered before. The job has failed then. */
void complain(struct job *job, const char *format, ...) NODETREE_PRINTF(2, 3);

/* ---- messages.c ---- */

/* Keeps the library's error messages from now on, to be told as this program's own. */
void messages_open(void);

/* The first message since the last call, as a new text without level and newline at its
   end; NULL when there is none. Forgets the others. */
char *messages_take(void);

/* Messages may quote the input, whose control characters are nothing for a terminal. */
void make_printable(char *text);

void messages_close(void);

#endif
