#include "tool.h"

static const struct option filter_options[] = {
    {"include", required_argument, NULL, OPTION_INCLUDE},
    {"exclude", required_argument, NULL, OPTION_EXCLUDE},
    {"removed", no_argument, NULL, OPTION_REMOVED},
    FROM_OPTION,
    HELP_OPTION,
    {NULL, 0, NULL, 0},
};

static const struct option convert_options[] = {
    {"to", required_argument, NULL, OPTION_TO},
    FROM_OPTION,
    HELP_OPTION,
    {NULL, 0, NULL, 0},
};

const command commands[] = {
    {
        .name = "get",
        .synopsis = "[-r] PATH [FILE...]",
        .summary = "Prints the value at PATH, objects and arrays indented.\n"
                   "-r prints a string as it is, without quotes and escapes.",
        .example = "get -r /server/host config.json",
        .letters = "r",
        .min_arguments = 1,
        .run = run_get,
    },
    {
        .name = "glob",
        .synopsis = "PATTERN [FILE...]",
        .summary = "Prints path and value of every match, a line each.",
        .example = "glob '/users/*/name' users.json",
        .letters = "",
        .min_arguments = 1,
        .run = run_glob,
    },
    {
        .name = "flat",
        .synopsis = "[FILE...]",
        .summary =
            "Prints path and value of every leaf, a line each; strings as they are,\n"
            "so that a newline in a string starts a new line.",
        .example = "flat config.json | grep timeout",
        .letters = "",
        .run = run_flat,
    },
    {
        .name = "format",
        .synopsis = "[-c] [FILE...]",
        .summary = "Prints every value indented; with -c compact, a line each.",
        .example = "format -c config.json",
        .letters = "c",
        .run = run_format,
    },
    {
        .name = "convert",
        .synopsis = "--to json|msgpack [-c] [FILE...]",
        .summary =
            "Prints every value in that encoding: JSON indented, or with -c compact, a\n"
            "line each; MessagePack with nothing in between.",
        .example = "convert --to msgpack config.json > config.msgpack",
        .letters = "c",
        .named_options = convert_options,
        .required_option = OPTION_TO,
        .run = run_convert,
    },
    {
        .name = "eval",
        .synopsis = "EXPR [FILE...]",
        .summary =
            "Prints what the expression gives for every value: EXPR is JSON, or @ and\n"
            "the file that it is in. The status is 1 where any result is not true.",
        .example = "eval '[\"range\", 1, 65535, \"/server/port\"]' config.json",
        .letters = "",
        .min_arguments = 1,
        .run = run_eval,
    },
    {
        .name = "merge",
        .synopsis = "[-c] FILE FILE...",
        .summary =
            "Prints the last value of the first file with those of the others folded\n"
            "in: members are combined, elements appended, other values replaced.",
        .example = "merge defaults.json site.json host.json",
        .letters = "c",
        .min_arguments = 2,
        .run = run_merge,
    },
    {
        .name = "filter",
        .synopsis =
            "[-c] [--include PATTERN]... [--exclude PATTERN]... [--removed] [FILE...]",
        .summary =
            "Prints of every value what an --include matches, or all without one, less\n"
            "what an --exclude matches. Both take one PATTERN and may be repeated.\n"
            "--removed prints the paths of the leaves taken out instead, a line each.",
        .example = "filter --exclude '/users/*/password' --exclude /tls/key config.json",
        .letters = "c",
        .named_options = filter_options,
        .run = run_filter,
    },
    {
        .name = "diff",
        .synopsis = "[-c] FILE FILE",
        .summary =
            "Prints what differs in the second file's value: members by key, elements by\n"
            "position, null for what it lacks. The status is 1 then; without a difference\n"
            "nothing is printed and it is 0.",
        .example = "diff old.json new.json",
        .letters = "c",
        .min_arguments = 2,
        .max_arguments = 2,
        .run = run_diff,
    },
    {
        .name = "dot",
        .synopsis = "[PATH [FILE...]]",
        .summary = "Draws the value at PATH, or all of it, as a graph for Graphviz.",
        .example = "dot /server config.json | dot -Tsvg > server.svg",
        .letters = "",
        .run = run_dot,
    },
    {.name = NULL},
};
