#include "tool.h"

enum {
  PRINTS_VALUES = TAKES_INPUT | TAKES_OUTPUT | TAKES_VALUES,
  ANSWERS_VALUES = PRINTS_VALUES | TAKES_LABELS
};

const command commands[] = {
    {
        .name = "get",
        .synopsis = "PATH [FILE...]",
        .summary = "Prints the value at PATH.",
        .example = "get -r /server/host config.json",
        .takes = ANSWERS_VALUES | TAKES_PATH,
        .min_arguments = 1,
        .run = run_get,
    },
    {
        .name = "glob",
        .synopsis = "PATTERN [FILE...]",
        .summary = "Prints path and value of every match, a line each.",
        .example = "glob '/users/*/name' users.json",
        .takes = ANSWERS_VALUES,
        .min_arguments = 1,
        .run = run_glob,
    },
    {
        .name = "flat",
        .synopsis = "[FILE...]",
        .summary = "Prints path and JSON of every leaf, a line each.\n"
                   "Empty objects and arrays are leaves too. What such lines cannot tell "
                   "is reported:\n"
                   "names with a \"/\" or a newline, and objects whose names are 0, 1, 2 "
                   "and so on.",
        .example = "flat config.json | grep timeout",
        .takes = TAKES_INPUT | TAKES_OUTPUT | TAKES_LABELS | TAKES_LINES,
        .run = run_flat,
    },
    {
        .name = "format",
        .synopsis = "[FILE...]",
        .summary = "Prints every value, indented or with -c compact.",
        .example = "format -c config.json",
        .takes = ANSWERS_VALUES | TAKES_EDIT,
        .run = run_format,
    },
    {
        .name = "convert",
        .synopsis = "--to json|msgpack [FILE...]",
        .summary = "Prints every value in the encoding that --to names.\n"
                   "MessagePack is written with nothing in between.",
        .example = "convert --to msgpack config.json > config.msgpack",
        .takes = ANSWERS_VALUES | TAKES_EDIT,
        .required_option = OPTION_TO,
        .run = run_format,
    },
    {
        .name = "eval",
        .synopsis = "EXPR [FILE...]",
        .summary = "Prints what an expression gives for every value.\n"
                   "EXPR is JSON, or @ and the file that it is in. The status is 1 where "
                   "any result\n"
                   "is not true.",
        .example = "eval '[\"range\", 1, 65535, \"/server/port\"]' config.json",
        .takes = ANSWERS_VALUES,
        .min_arguments = 1,
        .run = run_eval,
    },
    {
        .name = "merge",
        .synopsis = "FILE FILE...",
        .summary = "Prints the first file's value with those of the others folded in.\n"
                   "Members are combined, elements appended, other values replaced. Of "
                   "several values\n"
                   "in a file the last counts.",
        .example = "merge defaults.json site.json host.json",
        .takes = PRINTS_VALUES | TAKES_EDIT,
        .min_arguments = 2,
        .run = run_merge,
    },
    {
        .name = "filter",
        .synopsis = "[--include PATTERN]... [--exclude PATTERN]... [--removed] [FILE...]",
        .summary = "Prints the parts of every value that patterns choose.\n"
                   "That is what an --include matches, or all without one, less what an "
                   "--exclude\n"
                   "matches. Both take one PATTERN and may be repeated. --removed prints "
                   "the paths of\n"
                   "the leaves taken out instead, a line each.",
        .example = "filter --exclude '/users/*/password' --exclude /tls/key config.json",
        .takes = ANSWERS_VALUES | TAKES_EDIT | TAKES_FILTER,
        .run = run_filter,
    },
    {
        .name = "diff",
        .synopsis = "FILE FILE",
        .summary = "Prints what differs in the second file's value.\n"
                   "Members are compared by key, elements by position, and null stands for "
                   "what it\n"
                   "lacks. The status is 1 then; without a difference nothing is printed "
                   "and it is 0.",
        .example = "diff old.json new.json",
        .takes = PRINTS_VALUES,
        .min_arguments = 2,
        .max_arguments = 2,
        .run = run_diff,
    },
    {
        .name = "dot",
        .synopsis = "[PATH [FILE...]]",
        .summary = "Draws the value at PATH, or all of it, as a graph for Graphviz.",
        .example = "dot /server config.json | dot -Tsvg > server.svg",
        .takes = TAKES_INPUT | TAKES_OUTPUT | TAKES_PATH,
        .run = run_dot,
    },
    {
        .name = "help",
        .synopsis = "[COMMAND]",
        .summary = "Prints what there is to say about a command.",
        .example = "help get",
        .max_arguments = 1,
        .run = run_help,
    },
    {.name = NULL},
};
