/* The declarations shared by the files of the nodetree program. */
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

/* A row of the table in commands.c. It holds all about a command except its function. */
typedef struct command {
  const char *name;
  const char *synopsis; /* the arguments, as the help shows them */
  const char *summary;  /* lines; the list of commands shows only the first */
  const char *example;  /* a command line without the program's name */
  unsigned takes;       /* the groups of options: TAKES_ values */
  int min_arguments;    /* besides options */
  int max_arguments;    /* 0: any number */
  int required_option;  /* 0: none */

  /* The arguments end with NULL. */
  void (*run)(struct job *job, char **arguments);
} command;

extern const command commands[]; /* ends with a row without a name */

/* Groups of options. A row of the table in options.c belongs to one or more. */
enum {
  TAKES_INPUT = 1 << 0,  /* commands that read FILEs */
  TAKES_LABELS = 1 << 1, /* commands that handle values one by one */
  TAKES_OUTPUT = 1 << 2, /* commands that print */
  TAKES_LINES = 1 << 3,  /* commands that print JSON in a line form of their own */
  TAKES_VALUES = 1 << 4, /* commands that print values */
  TAKES_EDIT = 1 << 5,   /* commands that print a changed value */
  TAKES_PATH = 1 << 6,   /* commands with a PATH */
  TAKES_FILTER = 1 << 7, /* from here on: options of a single command, or of two */
  TAKES_SET = 1 << 8,
  TAKES_DEL = 1 << 9,
  TAKES_PATCH = 1 << 10,
  TAKES_DIFF = 1 << 11,
  TAKES_CHECK = 1 << 12,
  TAKES_GET = 1 << 13,
  TAKES_MERGE = 1 << 14,
};

/* The codes of options without a letter are above all letters. */
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

/* One run of the program: the options and arguments, and the results so far. */
struct job {
  const command *command;
  bool option[OPTION_END];
  char **values[OPTION_END]; /* all arguments of each option: string lists */
  node_stream_format from;   /* NODE_STREAM_AUTO: by the first byte of each file */
  node_stream_format to;     /* NODE_STREAM_AUTO: that of the file for -i, otherwise JSON */
  int indent;                /* blanks for each level, -1 for a tab; not used with -c */
  bool replaces_arrays;      /* --arrays replace */
  bool colored;              /* set when the output is opened */
  const char *operand;       /* the PATH or PATTERN, for answer functions */
  node *expression;          /* the EXPR */
  const char *input; /* the name of the input, for messages; NULL while nothing is read */
  char where[64];    /* the place in the input, shown after a colon; empty for none */
  bool of_many;      /* the current value is one of several in the input */
  node_stream_format input_format; /* of the current or the last input */
  size_t number;                   /* of the current value in the input, from 1 */
  bool input_taken;                /* standard input has been read */
  bool found;
  bool denied; /* an answer was no, even if something was found */
  bool failed;
  bool output_lost; /* the output cannot be written, so the program ends early */
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

/* The row with this name; if there is none, NULL with a report that names the nearest. */
const command *command_find(struct job *job, const char *name);

/* Prints the help for a command, or with NULL for the program. */
void help_print(const command *row);

/* ---- options.c ---- */

/* Reads the options, wherever they stand before "--", and finds the command, which is
   the first argument that is not an option. Returns the arguments after it, ended by
   NULL. NULL, with a report, for a wrong option or command. With --help and --version a
   command is not needed. */
char **options_parse(struct job *job, int argc, char **argv);

/* Prints a line for each option that one of the groups takes. */
void options_print(unsigned groups);

void options_free(struct job *job);

/* ---- input.c: a name is that of a file, or "-" for standard input ----

   Unless the options name the encoding, input that begins with a MessagePack value other
   than an integer of one byte is MessagePack, because no JSON text begins like that. All
   other input is JSON. */

/* The name that reports use for this input. */
const char *input_name(const char *name);

/* Opens an input, which reports name from then on. -1, with a report, if it cannot be
   read, if it is standard input for the second time, or if it is the file that the
   output goes to. */
struct stat;
int input_open(struct job *job, const char *name, struct stat *file);

/* Handles one top-level value, which it may change but not keep. */
typedef void (*answer_function)(struct job *job, node *value);

/* Reads the files one after the other, or standard input if there are none, and calls
   `answer` with every value as soon as it is complete. With --in-place, what is printed
   meanwhile replaces the file if nothing failed. */
void input_answer(struct job *job, char **names, answer_function answer);

/* The last value of a file, or its only one. NULL, with a report, if it cannot be read
   completely. */
node *input_last(struct job *job, const char *name);
node *input_only(struct job *job, const char *name);

/* The same for an expression or a patch, to which --from does not apply. */
node *input_expression(struct job *job, const char *name);

/* The only value of a JSON text. Reports call the text `name`. */
node *input_text(struct job *job, const char *name, const char *text);

/* ---- output.c: the destination of everything that is printed ---- */

/* Standard output, or a file that will replace another. */
extern FILE *output;

/* Opens the output that the options name. False, with a report, if that fails. */
bool output_open(struct job *job);

/* Ends a result: with a newline, or a NUL with --null. */
void output_newline(struct job *job);

/* Flushes the output. */
void output_flush(struct job *job);

/* Flushes and closes the output. With --output, the file is replaced now if nothing
   failed. */
void output_close(struct job *job);

/* What is printed between the two calls replaces the file at the second one. If anything
   failed meanwhile, or somebody else changed the file, the file stays as it is. False,
   with a report, if the file cannot be or was not replaced. */
bool output_replace_begin(struct job *job, const char *name);
bool output_replace_end(struct job *job);

/* Reports an error on standard error, with the name of the input, after flushing the
   results so far. The job has then failed. */
void complain(struct job *job, const char *format, ...) NODETREE_PRINTF(2, 3);

/* Reports something that is not a failure, in the same way. */
void remark(struct job *job, const char *format, ...) NODETREE_PRINTF(2, 3);

/* Whether memory has run out since errno was set to 0, with a report: for library calls whose
   result does not show it. */
bool lacked_memory(struct job *job);

/* Reports the library's error, or "out of memory" if it logged none. */
void complain_message(struct job *job);

/* ---- replace.c: files that are replaced completely or not at all ---- */

/* Opens a new file beside the one with this name, with the same mode and owner if
   possible, and stores its stream in `*stream`. A device or a pipe is opened itself.
   Returns 0 or an errno value. Only one file at a time can be replaced. A signal that
   ends the program removes the new file. */
int replace_begin(const char *name, FILE **stream);

/* Whether the old file has changed since replace_begin(). */
bool replace_is_late(void);

/* Puts the new file in the place of the old one, or with `keep` false removes it.
   Returns 0 or an errno value; in that case the old file is unchanged. */
int replace_end(FILE *stream, bool keep);

/* ---- values.c ---- */

/* Prints a value in the form that the options choose, after the label of print_label()
   and `prefix`, and ends the line. False, with a report and nothing printed, if the
   value has no such form or memory runs out. */
bool print_value(struct job *job, const char *prefix, const node *value);

/* The same on one line, unless --indent is given. */
bool print_line(struct job *job, const char *prefix, const node *value);

/* The same for a field of a line: without label and newline. With --raw a string that
   contains a tab or a newline is still printed as JSON. */
bool print_field(struct job *job, const node *value);

/* Prints what -H and -n put before a result. */
void print_label(struct job *job);

/* False, with a report, if MessagePack would go to a terminal without --force. */
bool print_allowed(struct job *job);

/* ---- place.c ---- */

/* The node that a PATH names, which with --pointer is a JSON Pointer. NULL if there is
   none, with a report if the PATH is not a JSON Pointer. */
node *find_path(struct job *job, node *value, const char *path);

/* ---- buffer.c ---- */

/* A growing array of bytes. */
typedef struct buffer {
  char *bytes; /* without a final NUL */
  size_t length;
  size_t room;
  bool failed; /* memory ran out; nothing is added any more */
} buffer;

bool buffer_grow(buffer *t, size_t size);

/* Makes room for `size` more bytes. */
static inline bool buffer_reserve(buffer *t, size_t size) {
  return !t->failed && (size <= t->room - t->length || buffer_grow(t, size));
}

void buffer_add(buffer *t, const void *bytes, size_t size);

/* ---- walk.c ---- */

/* Visits a tree in document order, without recursion. Every node is entered; containers
   with children are also left. */
typedef struct walk {
  const node *top;
  const node *at;
  bool leaving;
  bool sorted; /* members by key instead of in document order */
} walk;

/* Starts a walk at its first step, which enters the top. */
walk walk_start(const node *top, bool sorted);

/* Goes to the next step; false after the last. */
bool walk_next(walk *w);

/* ---- json.c ---- */

enum { MAX_INDENT = 16 };

/* The layout of JSON text. */
typedef struct json_style {
  bool compact;
  int indent; /* blanks for each level, -1 for a tab */
  bool sorted;
  bool colored;
} json_style;

/* Appends the JSON text of a tree, without a final newline. False, with a report and the
   text unchanged, if the tree has no such form or memory runs out. */
bool json_write(struct job *job, buffer *t, const node *value, const json_style *style);

/* ---- number.c ---- */

/* Writes a finite real as a JSON number, with the fewest digits that read back as the
   same real. Returns the length. */
enum { REAL_SIZE = 32 };
size_t json_real(double value, char number[REAL_SIZE]);

/* ---- progress.c ---- */

/* Starts a progress line on standard error, if that is a terminal and the output is not.
   It is shown when reading takes more than two seconds. */
void progress_start(const struct stat *input);

/* Updates the line with the number of bytes read. */
void progress_note(size_t bytes);

/* Removes the line until the next update. */
void progress_clear(void);

/* ---- decode.c: from bytes to values ---- */

/* One input being decoded. All but the first five fields start as zero. */
typedef struct decoding {
  struct job *job;
  answer_function answer;    /* NULL: the last value is kept instead */
  bool single;               /* more than one value is an error */
  node_stream_format format; /* NODE_STREAM_AUTO until the first byte has arrived */
  bool patient; /* a regular file, whose next bytes can be read without waiting */
  node *last;
  node *first;         /* the first value, until it is known whether another follows */
  node_stream *stream; /* NULL until then, and after a broken line */
  size_t values;
  size_t broken; /* the number of lines that --skip-invalid has skipped */
  size_t offset; /* the number of bytes before the current chunk */
  size_t lines;  /* the number of lines that ended before it */
  size_t line_start;
  bool passing;       /* skips the rest of a broken line */
  bool ends_in_digit; /* the last byte so far is a digit */
  bool probing;       /* values that arrive come from the probe of is_between_values() */
  bool probe_arrived;
} decoding;

/* Whether the bytes so far may be the beginning of a longer mark of a foreign format. */
bool decode_needs_more(const decoding *d, const char *bytes, size_t size);

/* Decodes the next bytes and handles the values that they complete. False, with a
   report, if decoding cannot go on. */
bool decode_bytes(decoding *d, const char *bytes, size_t size);

/* Handles the first value, if it was kept back to see whether another follows. */
void decode_settle(decoding *d);

/* Ends the input. False, with a report, if it ends inside a value or contains a wrong
   number of values; none is allowed with `may_be_empty`. */
bool decode_end(decoding *d, bool may_be_empty);

/* ---- messages.c ---- */

/* From now on keeps the library's messages, which the program reports as its own. */
void messages_open(void);

/* The first error since the last call, as a new text without its level and final
   newline; NULL if there is none. All other messages are dropped. */
char *messages_take(void);

/* The same for the failure of a decoder. `*place` is set to the offset where it stopped and,
   unless `name` is NULL, `*name` to the repeated member name, as a new text. Both are
   unchanged if the decoder logged none. */
char *messages_take_failure(size_t *place, char **name);

/* Replaces control characters by "?": messages quote the input, and may go to a
   terminal. */
void make_printable(char *text);

void messages_close(void);

#endif
