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
                   "With several paths they are fields of a line, compact, with tabs "
                   "between them;\n"
                   "a field is empty where its path leads nowhere, or what --default says.",
        .example = "get -r /server/host config.json",
        .takes = ANSWERS_VALUES | TAKES_PATH | TAKES_GET,
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
        .summary =
            "Prints path and JSON of every leaf, a line each, and an empty line between "
            "values,\n"
            "unless -n numbers them.\n"
            "Empty objects and arrays are leaves too, and so that unflat can tell it "
            "from an array,\n"
            "an object whose names are 0, 1, 2 and so on has a line PATH={}. Names "
            "with a \"/\" or a\n"
            "newline, which no line can tell, are reported.",
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
        .synopsis = "[--arrays append|replace] FILE FILE...",
        .summary = "Prints the first file's value with those of the others folded in.\n"
                   "Members are combined, elements appended, other values replaced. Of "
                   "several values\n"
                   "in a file the last counts.",
        .example = "merge defaults.json site.json host.json",
        .takes = PRINTS_VALUES | TAKES_EDIT | TAKES_MERGE,
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
        .synopsis = "[--patch] FILE FILE",
        .summary = "Prints what differs in the second file's value.\n"
                   "Members are compared by key, elements by position, and null stands for "
                   "what it\n"
                   "lacks. The status is 1 then; without a difference nothing is printed "
                   "and it is 0.\n"
                   "--patch prints what the patch command takes, [] without a difference.",
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
                   "Members that are missing on the way are made, also the element behind "
                   "the last one\n"
                   "of an array; its position is the number of the others, or - with "
                   "--pointer.",
        .example = "set -i /server/port 8443 config.json",
        .takes = ANSWERS_VALUES | TAKES_EDIT | TAKES_PATH | TAKES_SET,
        .min_arguments = 2,
        .run = run_set,
    },
    {
        .name = "del",
        .synopsis = "PATH [-p PATH]... [FILE...]",
        .summary =
            "Prints every value without what is at PATH.\n"
            "Each further PATH has a -p before it; the rest are FILEs. The positions "
            "in an array\n"
            "are those before anything is taken out. The status is 1 where there was "
            "nothing to\n"
            "take out.",
        .example = "del -i /tls/key -p /users/0 config.json",
        .takes = ANSWERS_VALUES | TAKES_EDIT | TAKES_PATH | TAKES_DEL,
        .min_arguments = 1,
        .run = run_del,
    },
    {
        .name = "patch",
        .synopsis = "[--merge] PATCHFILE [FILE...]",
        .summary =
            "Prints every value with a JSON Patch applied, whole or not at all.\n"
            "That is an array of operations as in RFC 6902, which diff --patch makes; "
            "with\n"
            "--merge, what members become, null for none, as in RFC 7396.",
        .example = "patch -i change.json config.json",
        .takes = ANSWERS_VALUES | TAKES_EDIT | TAKES_PATCH,
        .min_arguments = 1,
        .run = run_patch,
    },
    {
        .name = "unflat",
        .synopsis = "[FILE...]",
        .summary =
            "Prints the values of the lines that flat has printed, those of each in any "
            "order.\n"
            "Members whose names are 0, 1, 2 and so on without a gap become an array, "
            "unless a\n"
            "line PATH={} says that they are an object. An empty line, and the end of a "
            "FILE, ends\n"
            "a value.",
        .example = "flat config.json | grep -v secret | nodetree unflat",
        .takes = TAKES_OUTPUT | TAKES_VALUES,
        .run = run_unflat,
    },
    {
        .name = "keys",
        .synopsis = "[PATH [FILE...]]",
        .summary = "Prints the names of the members at PATH, or the positions of the "
                   "elements.",
        .example = "keys -r /server config.json",
        .takes = ANSWERS_VALUES | TAKES_PATH,
        .run = run_keys,
    },
    {
        .name = "length",
        .synopsis = "[PATH [FILE...]]",
        .summary = "Prints how many members or elements there are at PATH.",
        .example = "length /users config.json",
        .takes = ANSWERS_VALUES | TAKES_PATH,
        .run = run_length,
    },
    {
        .name = "type",
        .synopsis = "[PATH [FILE...]]",
        .summary = "Prints what is at PATH: null, object, array, integer, real, string or "
                   "boolean.",
        .example = "type /server/port config.json",
        .takes = TAKES_INPUT | TAKES_OUTPUT | TAKES_LABELS | TAKES_PATH,
        .run = run_type,
    },
    {
        .name = "check",
        .synopsis = "[--syntax] RULES [FILE...]",
        .summary = "Prints the rules that a value breaks, with what they say to it.\n"
                   "RULES is the file of an object of expressions by name, as eval takes "
                   "them; each is\n"
                   "to be true. The status is 1 where one is not. With --syntax the rules "
                   "themselves\n"
                   "are looked at for what must fail with every value.",
        .example = "check rules.json config.json",
        .takes = TAKES_INPUT | TAKES_OUTPUT | TAKES_LABELS | TAKES_CHECK,
        .min_arguments = 1,
        .run = run_check,
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
