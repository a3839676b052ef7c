#include <nodetree.h>
#include <stdio.h>
#include <stdlib.h>

static const char context_text[] = "{\"host\": \"db1\", \"port\": 8080, \"load\": 0.5, "
                                   "\"ports\": [80, 443], \"off\": null}";

static const char *const rules[] = {
    "[\"eq\", [\"get\", \"/port\"], 8080]",
    "[\"eq\", 1, 1.0]",
    "[\"eq\", 1]",
    "[\"and\", true, \"\", [\"frob\"]]",
    "[\"or\", false, 7]",
    "[\"or\"]",
    "[\"not\", null]",
    "[\"not\"]",
    "[\"atom\", [1, 2]]",
    "[\"atom\"]",
    "[\"assert\", [\"get\", \"/host\"]]",
    "[\"assert\", false]",
    "[\"assert\", [\"eq\", [\"get\", \"/host\"], \"db2\"], \"wrong host\"]",
    "[\"get\", \"/ports\", \"1\"]",
    "[\"get\", \"/nowhere\"]",
    "[\"get\", 1]",
    "[\"value\", \"/host\"]",
    "[\"path\", \"/ports\", \"0\"]",
    "[\"path\", \"/nowhere\"]",
    "[\"exists\", \"/nowhere\"]",
    "[\"exists\", \"/off\"]",
    "[\"exists\"]",
    "[\"length\", \"/ports\"]",
    "[\"length\", \"/host\"]",
    "[\"range\", 1, 65535, \"/port\", \"/nowhere\"]",
    "[\"range\", 100, \"\", \"/ports/0\"]",
    "[\"range\", 0, 1, \"/load\"]",
    "[\"range\", 1]",
    "[\"regex\", \"^DB[0-9]$\", \"i\", [\"get\", \"/host\"]]",
    "[\"regex\", \"x\", \"g\", \"x\"]",
    "[\"regex\", \"x\", \"\", 1]",
    "[\"unique\", [\"frob\"]]",
    "[\"and\", true, [\"frob\"]]",
    "[]",
};

static void evaluate(const char *text, node *context) {
  node *rule = json_parse_string(text);
  char *message = NULL;
  node *result = expr_eval(rule, context, &message);
  char *shown = result != NULL ? json_stringify(result, true) : NULL;
  printf("%s\n  ", text);
  if (shown != NULL)
    printf("=> %s (%s)\n", shown, expr_coerce_bool(result) ? "true" : "false");
  else
    printf("fails: %s\n", message != NULL ? message : "no message");
  free(shown);
  free(message);
  node_unref(result);
  node_free(rule);
}

int main(void) {
  node *context = json_parse_string(context_text);
  for (size_t i = 0; i < sizeof rules / sizeof *rules; i++)
    evaluate(rules[i], context);
  node_free(context);
}
