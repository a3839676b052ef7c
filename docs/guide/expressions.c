#include <nodetree.h>
#include <stdio.h>
#include <stdlib.h>

/* The rules are data; the program does not know what they say. */
static const char rules_text[] =
    "{\"port\": [\"range\", 1, 65535, \"/port\"],"
    " \"tls\": [\"or\", [\"not\", [\"get\", \"/tls\"]], [\"exists\", \"/certificate\"]],"
    " \"hosts\": [\"not\", [\"eq\", [\"length\", \"/hosts\"], 0]],"
    " \"mode\": [\"assert\", [\"regex\", \"^(auto|manual)$\", \"\", [\"get\", \"/mode\"]],"
    "          \"mode is auto or manual\"]}";

static void check(const node *rules, const char *text) {
  node *config = json_parse_string(text);
  if (config == NULL)
    return;
  printf("%s\n", text);
  for (node *rule = node_object_first(rules); rule != NULL;
       rule = node_object_next(rules, rule)) {
    char *message = NULL;
    node *result = expr_eval(rule, config, &message);
    if (result == NULL)
      printf("  %s fails: %s\n", node_key(rule), message != NULL ? message : "no message");
    else
      printf("  %s %s\n", node_key(rule), expr_coerce_bool(result) ? "holds" : "is broken");
    free(message);
    node_unref(result);
  }
  node_free(config);
}

int main(void) {
  node *rules = json_parse_string(rules_text);
  if (rules == NULL)
    return EXIT_FAILURE;
  check(rules, "{\"port\": 443, \"tls\": false, \"hosts\": [\"a\"], \"mode\": \"auto\"}");
  check(rules, "{\"port\": 70000, \"tls\": true, \"hosts\": [], \"mode\": \"fast\"}");

  check(rules, "{\"tls\": true, \"certificate\": \"c.pem\"}");
  node_free(rules);
}
