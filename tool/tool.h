/* What the files of the nodetree program share. */
#ifndef NODETREE_TOOL_H
#define NODETREE_TOOL_H

#include <limits.h>
#include <nodetree/export.h>
#include <nodetree/node.h>
#include <nodetree/node_stream.h>
#include <stdbool.h>
#include <stdio.h>
#include <string.h>

struct job;

/* A row of the table in commands.c is all there is to a command, besides its function. */
typedef struct command {
  const char *name;
  const char *synopsis; /* what stands behind the name in the help */
  const char *summary;  /* lines separated by "\n"; the first stands for itself */
  const char *example;  /* what stands behind the program's name */
  unsigned takes;       /* groups of options: TAKES_ values */
  int min_arguments;    /* what has to be there besides options */
  int max_arguments;    /* 0: any number */
  int required_option;  /* 0: none */

  /* Does it all. The arguments end with NULL. */
  void (*run)(struct job *job, char **arguments);
} command;

extern const command commands[]; /* ended by a row without a name */

/* Groups of options; a row of the table in options.c is in one or more. */
enum {
  TAKES_INPUT = 1 << 0,  /* what reads FILEs */
  TAKES_LABELS = 1 << 1, /* what answers values one by one */
  TAKES_OUTPUT = 1 << 2, /* what prints */
  TAKES_LINES = 1 << 3,  /* what prints JSON on lines of its own */
  TAKES_VALUES = 1 << 4, /* what prints values */
  TAKES_EDIT = 1 << 5,   /* what prints a changed value */
  TAKES_PATH = 1 << 6,   /* what has a PATH */
  TAKES_FILTER = 1 << 7, /* the others belong to single commands */
  TAKES_SET = 1 << 8,
  TAKES_DEL = 1 << 9,
  TAKES_PATCH = 1 << 10,
  TAKES_DIFF = 1 << 11,
  TAKES_CHECK = 1 << 12,
  TAKES_GET = 1 << 13,
  TAKES_MERGE = 1 << 14,
};

/* Options without a letter are told by numbers behind the letters. */
enum {
  OPTION_INCLUDE = UCHAR_MAX + 1,
  OPTION_EXCLUDE,
  OPTION_REMOVED,
  OPTION_FROM,
  OPTION_TO,
  OPTION_INDENT,
  OPTION_SORT_KEYS,
  OPTION_COLOR,
  OPTION_FORCE,
  OPTION_POINTER,
  OPTION_MERGE,
  OPTION_PATCH,
  OPTION_SYNTAX,
  OPTION_SKIP_INVALID,
  OPTION_DEFAULT,
  OPTION_ARRAYS,
  OPTION_END
};

/* One run of the program: what was asked for and what has come of it so far. */
struct job {
  const command *command;
  bool option[OPTION_END];
  char **values[OPTION_END]; /* what was given with an option, all times: string lists */
  node_stream_format from;   /* NODE_STREAM_AUTO: what the files begin with decides */
  node_stream_format to;     /* NODE_STREAM_AUTO: as the file that is changed, else JSON */
  int indent;                /* blanks a level, -1 for a tab; without meaning with -c */
  bool replaces_arrays;      /* --arrays replace */
  bool colored;              /* settled when the output is opened */
  const char *operand;       /* the PATH or PATTERN, for functions that answer values */
  node *expression;          /* the EXPR */
  const char *input;         /* the name of what is being read, NULL before and after */
  char where[64];            /* the place in it, behind a colon; empty for none */
  bool of_many;              /* the value being answered is one of several of the input */
  node_stream_format input_format; /* what it is in, or the one read before */
  size_t number;                   /* of the value being answered, from 1 */
  bool input_taken;                /* standard input has been read */
  bool found;
  bool denied; /* some answer was no, whatever else was found */
  bool failed;
  bool output_lost; /* the output cannot be written: there is no use in going on */
};

enum { STATUS_FOUND = 0, STATUS_NOTHING = 1, STATUS_FAILED = 2 };

/* ---- The commands ---- */

void run_get(struct job *job, char **arguments);
void run_glob(struct job *job, char **arguments);
void run_flat(struct job *job, char **arguments);
void run_format(struct job *job, char **arguments);
void run_eval(struct job *job, char **arguments);
void run_merge(struct job *job, char **arguments);
void run_filter(struct job *job, char **arguments);
void run_diff(struct job *job, char **arguments);
void run_dot(struct job *job, char **arguments);
void run_set(struct job *job, char **arguments);
void run_del(struct job *job, char **arguments);
void run_patch(struct job *job, char **arguments);
void run_unflat(struct job *job, char **arguments);
void run_keys(struct job *job, char **arguments);
void run_length(struct job *job, char **arguments);
void run_type(struct job *job, char **arguments);
void run_check(struct job *job, char **arguments);
void run_help(struct job *job, char **arguments);

/* ---- help.c ---- */

/* The row with this name; NULL, with a report that names the nearest, where there is none. */
const command *command_find(struct job *job, const char *name);

/* Prints what there is to say about a command, or with NULL about the program. */
void help_print(const command *row);

/* ---- options.c ---- */

/* Reads the options, wherever they stand before "--", and finds the command, which is the
   first argument that is none. Returns what stands behind that, ended by NULL; NULL, with a
   report, for what it does not understand. With --help and --version a command may be
   missing. */
char **options_parse(struct job *job, int argc, char **argv);

/* Prints a line for each option that one of the groups takes. */
void options_print(unsigned groups);

void options_free(struct job *job);

/* ---- input.c: a name is a file's, or "-" for standard input ----

   Input that begins with any MessagePack value but an integer of one byte is MessagePack, as
   no JSON text begins so; all else is JSON, unless the job says from what to read. */

/* What reports call the file with this name. */
const char *input_name(const char *name);

/* Opens what is read next, which reports name from then on; standard input once only, and no
   file that the output goes to. -1, with a report, where it cannot be read. */
struct stat;
int input_open(struct job *job, const char *name, struct stat *file);

/* Answers one top-level value, which it may change but not keep. */
typedef void (*answer_function)(struct job *job, node *value);

/* Reads the files one after the other, standard input if there are none, and has every
   value answered as soon as it is complete. With --in-place, what is printed meanwhile
   replaces each file if all went well. */
void input_answer(struct job *job, char **names, answer_function answer);

/* The last value of a file, or its only one; NULL, with a report, where it cannot be had
   whole. */
node *input_last(struct job *job, const char *name);
node *input_only(struct job *job, const char *name);

/* The same for the expression, whatever encoding the job's files are said to be in. */
node *input_expression(struct job *job, const char *name);

/* The only value of a JSON text, which reports call by the name. */
node *input_text(struct job *job, const char *name, const char *text);

/* ---- output.c: where to everything is printed ---- */

/* What to print to: standard output, or a file that is to replace another. */
extern FILE *output;

/* Opens what the options say to print to; whether it can be. */
bool output_open(struct job *job);

/* Ends a line that is one of the results; a NUL with --null. */
void output_newline(struct job *job);

/* Hands everything written so far over to the reader of the output. */
void output_flush(struct job *job);

/* The same, and closes it. With --output the file is there only now, if nothing failed. */
void output_close(struct job *job);

/* What is printed from here to the second call is to replace the file. Then it does, unless
   something went wrong meanwhile: where it did, or the file was changed by others, it
   remains as it is. False, with a report, when the file cannot be replaced. */
bool output_replace_begin(struct job *job, const char *name);
bool output_replace_end(struct job *job);

/* Reports what is wrong on standard error, with the name of the input, behind everything
   that has been answered before. The job has failed then. */
void complain(struct job *job, const char *format, ...) NODETREE_PRINTF(2, 3);

/* Says something in the same way that is no failure. */
void remark(struct job *job, const char *format, ...) NODETREE_PRINTF(2, 3);

/* Whether memory ran out since errno was set to 0, with a report then: for calls of the
   library whose result does not tell. */
bool lacked_memory(struct job *job);

/* Complains of what the library has told, or of no memory where it told nothing. */
void complain_message(struct job *job);

/* ---- replace.c: files that are there whole or not at all ---- */

/* A new file for what is to stand under the name in the end, with mode and owner of what
   stands there now; in `*stream`, with 0. What is there and is no regular file, as a device
   or a pipe, is opened itself. On failure an errno value. One at a time; a signal that ends
   the program removes the new file. */
int replace_begin(const char *name, FILE **stream);

/* Whether what stands under the name has been changed since. */
bool replace_is_late(void);

/* Ends it: the new file takes the place of the old one, or with `keep` false is removed.
   Returns 0 or an errno value; then the old file is as it was. */
int replace_end(FILE *stream, bool keep);

/* ---- values.c ---- */

/* Prints a value with what the options say to print before it, then `prefix`, and ends the
   line: as JSON indented or compact, as MessagePack, a string with --raw as it is. Whether
   the value has that form; nothing is printed and the job fails where it has not. */
bool print_value(struct job *job, const char *prefix, const node *value);

/* The same on one line, unless the options ask for indentation. */
bool print_line(struct job *job, const char *prefix, const node *value);

/* The same of a part of a line: without label and newline, and a string with --raw only as
   it is where it has neither tab nor newline. */
bool print_field(struct job *job, const node *value);

/* What -H and -n print before a result. */
void print_label(struct job *job);

/* Whether the output can be MessagePack, which does not go to a terminal without --force. */
bool print_allowed(struct job *job);

/* ---- place.c ---- */

/* The node that a PATH names, which with --pointer is a JSON Pointer; NULL for none, with a
   report where it is no pointer. */
node *find_path(struct job *job, node *value, const char *path);

/* ---- buffer.c ---- */

/* Bytes that grow. */
typedef struct buffer {
  char *bytes; /* no NUL at the end */
  size_t length;
  size_t room;
  bool failed; /* there was no memory: nothing has been added since */
} buffer;

bool buffer_grow(buffer *t, size_t size);

/* Whether so many bytes can be written behind those there are. */
static inline bool buffer_reserve(buffer *t, size_t size) {
  return !t->failed && (size <= t->room - t->length || buffer_grow(t, size));
}

static inline void buffer_add(buffer *t, const void *bytes, size_t size) {
  if (size == 0 || !buffer_reserve(t, size))
    return;
  memcpy(t->bytes + t->length, bytes, size);
  t->length += size;
}

/* ---- walk.c ---- */

/* Visits a tree in document order, without recursion: each node is entered, containers with
   children are left as well. */
typedef struct walk {
  const node *top;
  const node *at;
  bool leaving;
  bool sorted; /* members by key instead of in document order */
} walk;

/* Starts a walk that has entered the top. */
walk walk_start(const node *top, bool sorted);

/* Goes on to the next step; false behind the last. */
bool walk_next(walk *w);

/* ---- json.c ---- */

enum { MAX_INDENT = 16 };

/* How JSON is to look. */
typedef struct json_style {
  bool compact;
  int indent; /* blanks a level, -1 for a tab */
  bool sorted;
  bool colored;
} json_style;

/* Appends the JSON text of a tree, without a newline at its end: true. False, with a report
   and the text as it was, where the tree has no such form or memory runs out. */
bool json_write(struct job *job, buffer *t, const node *value, const json_style *style);

/* ---- number.c ---- */

/* The JSON number of a finite real, with the fewest digits that read back as the same one.
   Returns its length. */
enum { REAL_SIZE = 32 };
size_t json_real(double value, char number[REAL_SIZE]);

/* ---- progress.c ---- */

/* Starts a line on standard error, if that is a terminal that the output does not go to. It
   is shown when reading takes more than two seconds. */
void progress_start(const struct stat *input);

/* So many bytes have been read. */
void progress_note(size_t bytes);

/* Takes the line away, until more is noted. */
void progress_clear(void);

/* ---- decode.c: from bytes to values ---- */

/* One input being decoded. Begins as zero but for its first five fields. */
typedef struct decoding {
  struct job *job;
  answer_function answer;    /* NULL where the last value is kept instead */
  bool single;               /* more than one value is wrong */
  node_stream_format format; /* NODE_STREAM_AUTO until the first byte has arrived */
  bool patient;              /* the next bytes are there already: a file's */
  node *last;
  node *first;         /* the first value, until it is known whether another follows */
  node_stream *stream; /* NULL until then, and behind a broken line */
  size_t values;
  size_t broken; /* lines that --skip-invalid has passed over */
  size_t offset; /* of the chunk that is decoded now: the bytes before it */
  size_t lines;  /* the lines that ended before it */
  size_t line_start;
  bool passing;       /* over the rest of a broken line */
  bool ends_in_digit; /* the last byte so far */
  bool probing;       /* what arrives now is the probe that finds where values end */
  bool probe_arrived;
} decoding;

/* Whether what is read so far may be the beginning of a mark that is told by more bytes. */
bool decode_needs_more(const decoding *d, const char *bytes, size_t size);

/* Decodes the next bytes and has their values answered; false, with a report, where the
   input cannot be read on. */
bool decode_bytes(decoding *d, const char *bytes, size_t size);

/* Has the first value answered if it waits for a second one. */
void decode_settle(decoding *d);

/* Ends it. What is read must be whole, and hold as many values as it should; an empty input
   does if it may be empty. */
bool decode_end(decoding *d, bool may_be_empty);

/* ---- messages.c ---- */

/* Keeps the library's messages from now on, to be told as this program's own. */
void messages_open(void);

/* The first error since the last call, as a new text without level and newline at its end;
   NULL when there is none. Forgets the others. */
char *messages_take(void);

/* The same for the failure of a decoder, which also tells in `*place` how far it has come,
   and, unless `name` is NULL, which member name came twice, as a new text. Both are left as
   they were where it has not. */
char *messages_take_failure(size_t *place, char **name);

/* Messages may quote the input, whose control characters are nothing for a terminal. */
void make_printable(char *text);

void messages_close(void);

#endif
