/* What the files of the nodetree program share. */
#ifndef NODETREE_TOOL_H
#define NODETREE_TOOL_H

#include <limits.h>
#include <nodetree/export.h>
#include <nodetree/node.h>
#include <stdbool.h>

struct job;

/* A row of the table in commands.c is all there is to a command, besides its function. */
typedef struct command {
  const char *name;
  const char *synopsis; /* what stands behind the name in the help */
  const char *summary;  /* one sentence, lines separated by "\n" */
  const char *example;  /* what stands behind the program's name */
  const char *options;  /* the letters it knows */
  bool takes_operand;   /* whether a PATH or the like comes before the files */

  /* Answers one top-level value, which stays the caller's. */
  void (*answer)(struct job *job, const node *value);
} command;

extern const command commands[]; /* ended by a row without a name */

/* One run of the program: what was asked for and what has come of it so far. */
struct job {
  const command *command;
  const char *operand; /* NULL for a command that takes none */
  bool option[UCHAR_MAX + 1];
  const char *input; /* the name of the input being read, NULL before and after */
  bool found;
  bool failed;
  bool output_lost; /* standard output cannot be written: there is no use in going on */
};

enum { STATUS_FOUND = 0, STATUS_NOTHING = 1, STATUS_FAILED = 2 };

/* ---- input.c ---- */

/* Reads a file, or standard input where the name is "-", and has every value answered as
   soon as it is complete. */
void input_read(struct job *job, const char *name);

/* ---- output.c ---- */

/* Writes the value as JSON and ends the line; whether it has a JSON form. */
bool output_json(struct job *job, const char *prefix, const node *value, bool compact);

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

void messages_close(void);

#endif
