#include "tool.h"

enum {
  PRINTS_VALUES = TAKES_INPUT | TAKES_OUTPUT | TAKES_VALUES,
  ANSWERS_VALUES = PRINTS_VALUES | TAKES_LABELS
};

const command commands[] = {
    {
        .name = "get",
        .synopsis = "PATH [-p PATH]... [--default TEXT] [FILE...]",
        .summary = "Prints the value at PATH.\n"
                   "With several paths the values are compact and become the fields of a\n"
                   "line, separated by tabs; a field is empty if its path leads nowhere.",
        .example = "get -r /server/host config.json",
        .takes = ANSWERS_VALUES | TAKES_PATH | TAKES_GET,
        .min_arguments = 1,
        .run = run_get,
    },
    {
        .name = "glob",
        .synopsis = "PATTERN [FILE...]",
        .summary = "Prints the path and the value of everything that matches PATTERN.\n"
                   "Each match is printed on a line of its own.",
        .example = "glob '/users/*/name' users.json",
        .takes = ANSWERS_VALUES,
        .min_arguments = 1,
        .run = run_glob,
    },
    {
        .name = "flat",
        .synopsis = "[FILE...]",
        .summary =
            "Prints the path and the JSON of every leaf, one on each line.\n"
            "An empty line separates the values, unless -n numbers them. Empty\n"
            "objects and arrays are leaves too. An object whose names are 0, 1, 2\n"
            "and so on has a line PATH={} of its own, which distinguishes it from\n"
            "an array. Names that such a line cannot express, those with a \"/\" or\n"
            "a newline, are reported.",
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
                   "MessagePack is written with nothing between the values.",
        .example = "convert --to msgpack config.json > config.msgpack",
        .takes = ANSWERS_VALUES | TAKES_EDIT,
        .required_option = OPTION_TO,
        .run = run_format,
    },
    {
        .name = "eval",
        .synopsis = "EXPR [FILE...]",
        .summary = "Prints the result of the expression EXPR for every value.\n"
                   "EXPR is JSON, or @ followed by the name of the file that contains it.\n"
                   "The exit status is 1 if a result is not true.",
        .example = "eval '[\"range\", 1, 65535, \"/server/port\"]' config.json",
        .takes = ANSWERS_VALUES,
        .min_arguments = 1,
        .run = run_eval,
    },
    {
        .name = "merge",
        .synopsis = "[--arrays append|replace] FILE FILE...",
        .summary = "Prints the last value of the first file, with those of the others "
                   "merged into it.\n"
                   "The members of objects are combined, the elements of arrays are\n"
                   "appended, other values are replaced.",
        .example = "merge defaults.json site.json host.json",
        .takes = PRINTS_VALUES | TAKES_EDIT | TAKES_MERGE,
        .min_arguments = 2,
        .run = run_merge,
    },
    {
        .name = "filter",
        .synopsis = "[--include PATTERN]... [--exclude PATTERN]... [--removed] [FILE...]",
        .summary = "Prints the parts of every value that the patterns choose.\n"
                   "These are the parts that one of the --include patterns matches, or\n"
                   "the whole value without any, minus the parts that one of the\n"
                   "--exclude patterns matches.",
        .example = "filter --exclude '/users/*/password' --exclude /tls/key config.json",
        .takes = ANSWERS_VALUES | TAKES_EDIT | TAKES_FILTER,
        .run = run_filter,
    },
    {
        .name = "diff",
        .synopsis = "[--patch] FILE FILE",
        .summary = "Prints what is different in the value of the second file.\n"
                   "Members are compared by key and elements by position, and null stands\n"
                   "for what the second file lacks. If there is no difference, nothing is\n"
                   "printed and the exit status is 0, otherwise 1. With --patch it prints\n"
                   "a JSON Patch, which is [] if there is no difference.",
        .example = "diff old.json new.json",
        .takes = PRINTS_VALUES | TAKES_DIFF,
        .min_arguments = 2,
        .max_arguments = 2,
        .run = run_diff,
    },
    {
        .name = "set",
        .synopsis = "PATH VALUE [FILE...]",
        .summary = "Prints every value with VALUE, which is JSON, at PATH.\n"
                   "A value that is there is replaced. Members that are missing on the\n"
                   "way are made. An element can be added at the end of an array: its\n"
                   "position is the number of elements, or - with --pointer.",
        .example = "set -i /server/port 8443 config.json",
        .takes = ANSWERS_VALUES | TAKES_EDIT | TAKES_PATH | TAKES_SET,
        .min_arguments = 2,
        .run = run_set,
    },
    {
        .name = "del",
        .synopsis = "PATH [-p PATH]... [FILE...]",
        .summary = "Prints every value without the values at PATH and at the paths that -p "
                   "names.\n"
                   "Positions in an array are those before anything is removed. The exit\n"
                   "status is 1 if nothing was removed.",
        .example = "del -i /tls/key -p /users/0 config.json",
        .takes = ANSWERS_VALUES | TAKES_EDIT | TAKES_PATH | TAKES_DEL,
        .min_arguments = 1,
        .run = run_del,
    },
    {
        .name = "patch",
        .synopsis = "[--merge] PATCHFILE [FILE...]",
        .summary = "Prints every value with the patch in PATCHFILE applied, completely or "
                   "not at all.\n"
                   "The patch is a JSON Patch (RFC 6902), as diff --patch prints it, or\n"
                   "with --merge a merge patch (RFC 7396).",
        .example = "patch -i change.json config.json",
        .takes = ANSWERS_VALUES | TAKES_EDIT | TAKES_PATCH,
        .min_arguments = 1,
        .run = run_patch,
    },
    {
        .name = "unflat",
        .synopsis = "[FILE...]",
        .summary = "Prints the values that the lines printed by flat describe.\n"
                   "An empty line, and the end of a FILE, ends a value. Its lines may\n"
                   "have been sorted, edited or removed. Members whose names are 0, 1, 2\n"
                   "and so on without a gap become an array, unless a line PATH={} says\n"
                   "that they are an object.",
        .example = "flat config.json | grep -v secret | nodetree unflat",
        .takes = TAKES_OUTPUT | TAKES_VALUES,
        .run = run_unflat,
    },
    {
        .name = "keys",
        .synopsis = "[PATH [FILE...]]",
        .summary =
            "Prints the names of the members at PATH, or the positions of the elements.",
        .example = "keys -r /server config.json",
        .takes = ANSWERS_VALUES | TAKES_PATH,
        .run = run_keys,
    },
    {
        .name = "length",
        .synopsis = "[PATH [FILE...]]",
        .summary = "Prints the number of members or elements at PATH.",
        .example = "length /users config.json",
        .takes = ANSWERS_VALUES | TAKES_PATH,
        .run = run_length,
    },
    {
        .name = "type",
        .synopsis = "[PATH [FILE...]]",
        .summary = "Prints the kind of the value at PATH.\n"
                   "That is null, object, array, integer, real, string or boolean.",
        .example = "type /server/port config.json",
        .takes = TAKES_INPUT | TAKES_OUTPUT | TAKES_LABELS | TAKES_PATH,
        .run = run_type,
    },
    {
        .name = "check",
        .synopsis = "[--syntax] RULES [FILE...]",
        .summary = "Prints NAME: MESSAGE for every rule that a value breaks.\n"
                   "RULES is a file with an object of named expressions, as for eval; a\n"
                   "rule is broken if its expression fails or is not true. The exit\n"
                   "status is 1 if a rule is broken. With --syntax no value is read.\n"
                   "Instead every fault of the expressions themselves is printed.",
        .example = "check rules.json config.json",
        .takes = TAKES_INPUT | TAKES_OUTPUT | TAKES_LABELS | TAKES_CHECK,
        .min_arguments = 1,
        .run = run_check,
    },
    {
        .name = "dot",
        .synopsis = "[PATH [FILE...]]",
        .summary =
            "Draws the value at PATH, or all of it, as a graph in the language of dot(1).",
        .example = "dot /server config.json | dot -Tsvg > server.svg",
        .takes = TAKES_INPUT | TAKES_OUTPUT | TAKES_PATH,
        .run = run_dot,
    },
    {
        .name = "help",
        .synopsis = "[COMMAND]",
        .summary = "Prints the help for a command.",
        .example = "help get",
        .max_arguments = 1,
        .run = run_help,
    },
    {.name = NULL},
};
