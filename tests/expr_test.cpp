#include <nodetree/expr.h>

#include "tree.hpp"

#include <cmath>
#include <sstream>
#include <utility>

namespace {

using test::make;
using test::tree;

// What came out: the JSON of a new node, or the place of a node of the context or the
// expression, or "NULL"; and the message, "" for none.
using outcome = std::pair<std::string, std::string>;

outcome eval(node *expr, node *context) {
  char *error = nullptr;
  node *result = expr_eval(expr, context, &error);
  const bool borrowed = result != nullptr && result->refcount > 1;
  const char *whose =
      borrowed && node_root(result) == node_root(context) ? "context " : "expr ";
  outcome got(borrowed ? whose + test::where(result) : test::shown(result),
              error ? test::take(error) : "");
  EXPECT_TRUE(!borrowed || result->refcount == 2) << got.first;
  EXPECT_EQ(node_unref(result), borrowed) << got.first;
  return got;
}

// A table of expressions, each ended by "=> RESULT", "=> RESULT ! MESSAGE" or, for
// failures, "=> ! MESSAGE"; "|" separates those that come to the same. A message that does
// not begin with a path is that of a root for a root.
void check(const std::string &context, const std::string &table) {
  const tree data = context.empty() ? nullptr : make(context);
  std::istringstream lines(table);
  for (std::string line, exprs; std::getline(lines, line);) {
    const size_t arrow = line.find(" => ");
    exprs += line.substr(0, arrow);
    if (arrow == line.npos)
      continue;
    outcome wanted(line.substr(arrow + 4), "");
    if (const size_t mark = wanted.first.find("! "); mark != line.npos) {
      wanted.second = wanted.first.substr(mark + 2);
      wanted.first = mark > 0 ? wanted.first.substr(0, mark - 1) : "NULL";
      if (wanted.second[0] != '/')
        wanted.second = "/ (/): " + wanted.second;
    }
    std::istringstream list(std::exchange(exprs, ""));
    for (std::string expr; std::getline(list, expr, '|');)
      EXPECT_EQ(eval(make(expr).get(), data.get()), wanted) << expr;
  }
}

const char data[] = R"({'a':10,'b':{'c':3,'d':[1,2,3]},'s':'text','e':'','n':null,'t':true,
  'r':2.5,'o':{},'key':'b/c','last':'c','big':9007199254740992,'v':'3.25','nan':'nan',
  'l':'->/b/c','ll':'->/l','lb':'->/b','lr':'->../a','le':'->/e','dangling':'->/nowhere',
  'self':'->/self','in':'->/in/x','ln':'->/n','p':'->/q','q':'->/p','u':'->/w/1',
  'w':'->/u/1'})";

TEST(Expr, LogicStopsEarly) {
  EXPECT_EQ(eval(nullptr, make(data).get()), outcome("NULL", ""));
  check(data, R"(
    null | 7 | 1.5 | 'x' | true | {'x':['no-such-op']} | '->/l' | '->/gone' => expr /
    ['atom',['get','a']] | ['assert','ok'] => expr /1
    ['assert',['get','a'],['no-such-op']] => context /a
    ['unique'] | ['unique',['no-such-op']] => true
    ['eq',1,1,1] | ['eq',null,null] | ['eq',{'x':1,'y':[2]},{'y':[2],'x':1}]
    | ['eq',['get','b','d'],['atom',[1,2,3]]] | ['eq','->/a','->/a'] => true
    ['eq',1,1,2] | ['eq',1,1.0] | ['eq','1',1] | ['eq',['get','b','d'],['atom',[1,3,2]]]
    | ['eq','->/a',10] | ['eq',1,2,['no-such-op']] => false
    ['and',true,['atom',[]],{},'x',-1,0.5] | ['or',0,'','->/0'] | ['or',1,['no-such-op']]
    | ['not',0.0] | ['not','->/1'] | ['not',['not',['get','t']]] => true
    ['and',true,0] | ['and',0,['no-such-op']] | ['not',['atom',[]]]
    | ['or',0,'',null,false,0.0,'->/e','->/nowhere'] => false
    ['eq',['get','y'],['no-such-op']] | ['assert',['get','y'],'m'] | ['not',['get','y']] => ! /1 (/): 'get' path y did not resolve to data in the context.
    ['and',1,['get','y'],0] | ['or',0,['get','y'],1] | ['assert',0,['get','y']] => ! /2 (/): 'get' path y did not resolve to data in the context.
    ['eq',1,1,['get','y']] => ! /3 (/): 'get' path y did not resolve to data in the context.
  )");
}

TEST(Expr, WrongExpressionsFailWithTheirMessage) {
  check(data, R"(
    [] => ! Empty expression.
    [1,2] | [['get'],'a'] | ['->/s'] => ! Expression operation must be string.
    ['EQ',1,1] => ! Unknown expression operation: EQ
    ['eqx',1,1] => ! Unknown expression operation: eqx
    ['%s%n%d'] => ! Unknown expression operation: %s%n%d
    ['eq'] | ['eq',['no-such-op']] => ! 'eq' expression requires two or more operands.
    ['and',['no-such-op']] => ! 'and' expression requires two or more operands.
    ['or',['no-such-op']] => ! 'or' expression requires two or more operands.
    ['not'] | ['not',1,['no-such-op']] => ! 'not' expression requires exactly one operand.
    ['atom'] | ['atom',1,2] => ! 'atom' expression requires exactly one parameter.
    ['assert'] => ! 'assert' expression requires at least value expression parameter, 0 were given.
    ['assert',['no-such-op'],2,3] => ! 'assert' expression requires at most one value expression and one error message parameter, 3 were given.
    ['assert',0] | ['assert',['get','e']] => ! Assertion failed.
    ['assert',0,'100%s%n'] => ! 100%s%n
    ['assert',0,['get','s']] => ! text
    ['assert',0,5] | ['assert',0,'->/s'] => ! 'assert' message parameter must evaluate to a string.
    ['get',5] => ! 'get' expression path parameter expecting string or link, got integer.
    ['value','b','->/s'] => ! 'get' expression path parameter expecting string or link, got link.
    ['path',['get']] => ! 'get' expression path parameter expecting string or link, got object.
    ['get',''] => ! 'get' path  did not resolve to data in the context.
    ['get','b','y','c'] | ['value','y','b'] => ! 'get' path y did not resolve to data in the context.
    ['path','../b'] => ! 'get' path ../b did not resolve to data in the context.
    ['get','u/1'] => ! 'get' path u/1 did not resolve to data in the context.
    ['length','s'] | ['length','y'] | ['length',['no-such-op']] | ['length','ll']
    | ['length','dangling'] | ['length',5] => ! 'length' expression can only be used on containers.
    ['range',1,2] | ['range',['no-such-op']] => ! 'range' expression requires lower value, upper value, and at least one path to a string/integer.
    ['range',1.0,2,'a'] | ['range',null,['no-such-op'],'a'] => ! 'range' lower parameter must be a string or integer.
    ['range',1,2.0,'a'] | ['range',1,'->/a',['no-such-op']] => ! 'range' upper parameter must be a string or integer.
    ['range',1,2,5] | ['range',1,2,['get','y'],true] | ['range',1,2,'a','->/a'] => ! 'range' operand must be a path string.
    ['range',1,2,'r'] => ! 'range' path must refer to a string or integer, got real.
    ['range',1,2,'n','ln'] => ! 'range' path must refer to a string or integer, got null.
    ['range',1,2,'a','lb'] => ! 'range' path must refer to a string or integer, got object.
    ['range',1,2,'ll'] | ['range',1,2,'self'] | ['range',1,2,'p'] => ! 'range' path must refer to a string or integer, got link.
    ['regex','a',''] | ['regex',['no-such-op'],'','a',1] => ! 'regex' expression requires regex, flags, and string parameter.
    ['regex',1,['no-such-op'],'a'] => ! 'regex' pattern parameter must be a string.
    ['regex','(',null,['no-such-op']] => ! 'regex' flags parameter must be a string.
    ['regex','(','x',5] | ['regex','a','','->/s'] => ! 'regex' string expression parameter must be a string.
    ['regex','(','I','a'] | ['regex','a','im','a'] | ['regex','a','ii','a'] => ! 'regex' has unsupported flags.
    ['regex','(','','a'] => ! 'regex' pattern invalid. Error at character 1: missing closing parenthesis
    ['range',['get','y'],2,'a'] | ['regex',['get','y'],'','a'] => ! /1 (/): 'get' path y did not resolve to data in the context.
    ['range',1,['get','y'],'a'] | ['regex','a',['get','y'],5] => ! /2 (/): 'get' path y did not resolve to data in the context.
    ['regex','(','I',['get','y']] => ! /3 (/): 'get' path y did not resolve to data in the context.
  )");
}

TEST(Expr, PathsStartAtTheNodeOfTheOneBefore) {
  check(data, R"(
    ['get'] => context /
    ['get','b/c'] | ['get','b','c'] | ['get',['get','key']] | ['get','b',['get','last']]
    | ['get','l'] | ['get','lb','c'] => context /b/c
    ['value','b','d','1'] => context /b/d/1
    ['get','b','..','a'] | ['get','b','/a'] | ['get','lr'] | ['get','lb','..','a'] => context /a
    ['get','ll'] => context /l
    ['get','p'] => context /q
    ['get','n'] => context /n
    ['get','dangling'] | ['get','in'] | ['value','u'] | ['path','dangling'] => NULL
    ['path'] => "/"
    ['path','b','d','1'] => "/b/d/1"
    ['path','l'] => "/b/c"
    ['exists'] | ['exists','n'] | ['exists','b','d'] | ['exists','self'] => true
    ['exists','y'] | ['exists','b','y'] | ['exists',5] | ['exists',['no-such-op']]
    | ['exists','dangling'] | ['exists','in'] | ['exists','self/x'] | ['exists','u'] => false
    ['length','b'] | ['length','lb'] => 2
    ['length','b','d'] => 3
    ['length','o'] => 0
  )");
  check("", R"(
    ['get'] | ['value',['no-such-op']] | ['path','a'] | ['eq',['get','a'],1] => NULL
    ['exists'] => false
    ['range',1,2,'a'] => true
    ['length'] => ! / (): 'length' expression can only be used on containers.
    ['or',0,[]] => ! /2 (): Empty expression.
    ['range','',5.5,'a'] => ! / (): 'range' upper parameter must be a string or integer.
  )");
}

const char ranges[] = R"(
  ['range',1,10,'a'] | ['range',10,11,'a'] | ['range','',10,'a'] | ['range',10,'','a']
  | ['range','nan','nan','a'] | ['range',5,1,'nan'] | ['range','x','inf','a']
  | ['range',1,2,'n','e','le','dangling','in','u'] | ['range',9,8,'y']
  | ['range',3,10,'l','lr','v','b/c'] | ['range','3.2',' 3.3e0zz','v']
  | ['range',9007199254740993,9007199254740993,'big']
  | ['range',['get','b/c'],['get','a'],['get','key']] => true
  ['range',1,9,'a'] | ['range',11,12,'a'] | ['range','3.26','3.9','v']
  | ['range','0x10',20,'a'] | ['range','',9,'a'] | ['range',11,'','a'] | ['range',1,5,'s']
  | ['range','x',5,'a'] | ['range',1,5,'a','b/c'] | ['range','nan',9,'a'] => false
  ['range',1,20,['get','y'],'a'] | ['range',1,20,['get','y'],['get','dangling'],'a'] => true ! /3 (/): 'get' path y did not resolve to data in the context.
  ['range',1,2,['get','x'],['get','y'],'a'] => false ! /4 (/): 'get' path y did not resolve to data in the context.
)";

TEST(Expr, RangeIsIndependentOfTheLocale) {
  check(data, ranges);
  const test::german_locale german;
  check(data, ranges);
  check("{'y':'3,75','v':'1.2'}",
        "['range','3.5',4,'y'] | ['range','1.5','1.6','v'] => false");
}

TEST(Expr, ALaterMessageReplacesOrClearsAnEarlierOne) {
  check(data, R"(
    ['and',['range',1,20,['get','x'],'a'],['get','y']] => ! /2 (/): 'get' path y did not resolve to data in the context.
    ['eq',['range',1,20,['get','x'],'a'],true,['not',['range',1,20,['get','y'],'a']]] => false ! /3/1/3 (/): 'get' path y did not resolve to data in the context.
    ['and',['range',1,20,['get','x'],'a'],['exists']]
    | ['exists',['assert','a',['range',1,2,['get','x'],'a']]]
    | ['or',['range',1,2,['get','x'],'a'],['length']] => true
  )");
}

TEST(Expr, TheCallersMessageIsLeftReplacedOrReleased) {
  const struct {
    const char *expr;
    bool kept, released;
  } rows[] = {{"['get','a']", true, false},
              {"['get','dangling']", true, false},
              {"['get','y']", false, false},
              {"['exists','a']", false, true},
              {"['length']", false, true},
              {"['exists','y']", false, false},
              {"['and',['range',1,2,['get','y']],['exists']]", false, false}};
  const tree context = make(data);
  for (const auto &row : rows) {
    char *const before = strdup("before"), *error = before;
    node_unref(expr_eval(make(row.expr).get(), context.get(), &error));
    EXPECT_EQ(error == before, row.kept) << row.expr;
    EXPECT_TRUE(error == nullptr || row.expr[2] == 'g') << row.expr;
    if (!row.released) // otherwise there is a leak or a double release
      free(before);
    if (!row.kept)
      free(error);
  }
}

TEST(Expr, RegularExpressionsSearchBytes) {
  check(data, R"(
    ['regex','ab+','','xxabbby'] | ['regex','AB','i','ab'] | ['regex','','','']
    | ['regex','^..$','','é'] | ['regex',['get','last'],['get','e'],['get','key']] => true
    ['regex','AB','','ab'] | ['regex','^ab+','','xxabbby'] | ['regex','^b','i','a\nb']
    | ['regex','a.b','','a\nb'] | ['regex','^.$','i','é']
    | ['regex','(a+)+$','','aaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaab'] => false
  )");
}

TEST(Expr, MessagesNameTheOperationAndTheContext) {
  const tree t = make(R"({'a':[['not']],'k':['and',1,['or',0,[9]]],'c':2,'lk':'->/c',
    'sub':{'l':'->/c','b':[{}]},'get':['get','c'],'up':['get','../c'],'path':['path'],
    'range':['range',1,2,'/c','l'],'length':['length'],'me':['assert',['get','me']],
    'own':['assert',0,['get','own/2/0']],'eq':['eq',['get','/eq'],['value','eq']]})");
  const struct {
    const char *expr, *context, *result, *message = "";
  } rows[] = {
      {"a/0", "no", "NULL", "/a/0 (): 'not' expression requires exactly one operand."},
      {"k", "sub/b/0", "NULL", "/k/2/2 (/sub/b/0): Expression operation must be string."},
      {"get", "sub", "NULL",
       "/get (/sub): 'get' path c did not resolve to data in the context."},
      {"up", "sub", "context /c"},
      {"path", "sub/b", "\"/sub/b\""},
      {"range", "sub", "true"},
      {"length", "sub", "2"},
      {"me", ".", "context /me"},
      {"own", ".", "NULL", "/own (/): get"},
      {"eq", ".", "true"}};
  for (const auto &r : rows)
    EXPECT_EQ(eval(node_lookup(t.get(), r.expr), node_lookup(t.get(), r.context)),
              outcome(r.result, r.message));
}

TEST(Expr, TruthOfEveryKindAndOfLinkTargets) {
  const tree t =
      make(R"({'true':[true,-1,4294967296,1e-300,'0','false',[],{},'->/o','->/2'],
    'false':[null,false,0,0.0,-0.0,'','->/e','->/le','->o','->/gone/x','->/self','->/p'],
    'o':{},'e':'','le':'->../e','self':'->/self','p':'->/q','q':'->/r','r':'->/q',
    '0':true,'1':'->/0','2':'->/1'})");
  for (const bool truth : {true, false})
    for (const node *n : test::children(node_object_get(t.get(), truth ? "true" : "false")))
      EXPECT_EQ(expr_coerce_bool(n), truth) << test::show(n);
  EXPECT_TRUE(expr_coerce_bool(tree(node_new_real(std::nan(""))).get()));
}

// The operation `name` around itself and `inner`, with `pad` further operands at every
// level.
tree nested(const char *name, size_t levels, int pad = 0,
            node *inner = node_new_boolean(true)) {
  for (; levels > 0; levels--) {
    node *outer = node_new_array();
    node_array_append(outer, node_new_string(name));
    node_array_append(outer, inner);
    for (int i = 0; i < pad; i++)
      node_array_append(outer, node_new_string(""));
    inner = outer;
  }
  return tree(inner);
}

TEST(Expr, DeepNestingFailsWithAMessage) {
  const std::pair<const char *, int> paddings[] = {
      {"length", 0}, {"eq", 1},     {"and", 1},   {"or", 1},   {"get", 1},
      {"path", 1},   {"exists", 1}, {"range", 2}, {"regex", 2}};
  test::on_small_stack([&] {
    const tree context = make("{}");
    for (const char *name : {"not", "assert"}) {
      EXPECT_EQ(eval(nested(name, 200).get(), context.get()).second, "");
      for (size_t levels : {size_t(201), test::deep_levels / 10}) {
        const auto [result, message] = eval(nested(name, levels).get(), context.get());
        EXPECT_TRUE(result == "NULL" && message.find("/1/1/1") == 0) << message;
      }
    }
    for (const auto &[name, pad] : paddings) {
      eval(nested(name, test::deep_levels / 100, pad).get(), context.get());
#if defined __OPTIMIZE__ && !defined __SANITIZE_ADDRESS__
      // Compiling the regular expression needs stack in addition to the deepest nesting.
      node *groups = make("['regex','" + test::repeat("(", 249) + test::repeat(")", 249) +
                          "','i','a']")
                         .release();
      eval(nested(name, EXPR_NESTING_MAX - 1, pad, groups).get(), context.get());
#endif
    }
  });
  // Siblings do not add up, and operands that are not evaluated do not count, but an
  // operand that is nested too deep fails the whole evaluation.
  const tree wide = make("['and']");
  for (int i = 0; i < 300; i++)
    node_array_append(wide.get(), nested("not", 198).release());
  EXPECT_EQ(eval(wide.get(), nullptr), outcome("true", ""));
  for (const char *around : {"['range',1,2]", "['exists']", "['length']", "['or',true]"}) {
    const tree expr = make(around);
    node_array_append(expr.get(), nested("not", 300).release());
    const auto [result, message] = eval(expr.get(), wide.get());
    EXPECT_TRUE(around[2] == 'o' ? result == "true"
                                 : message.ends_with("Expression nested more than 200 "
                                                     "operations deep.") &&
                                       result == "NULL")
        << around << message;
  }
  EXPECT_EQ(eval(nested("unique", 300).get(), nullptr), outcome("true", ""));
  EXPECT_EQ(eval(nested("atom", 300).get(), nullptr), outcome("expr /1", ""));
}

TEST(Expr, ManyAndLongOperandsTakeLinearTime) {
  const char *const rows[][3] = {
      {"['and'", ",true", "true"},    {"['or'", ",''", "false"},
      {"['eq'", ",'.'", "true"},      {"['get','a'", ",'.'", "context /a"},
      {"['exists'", ",'.'", "true"},  {"['range',1,9", ",'a'", "true"},
      {"['unique'", ",[[]]", "true"}, {"['length'", ",'.'", "1"}};
  test::on_small_stack([&] {
    const tree context = make("{'a':5}");
    for (const auto &[start, operand, result] : rows)
      EXPECT_EQ(eval(make(start + test::repeat(operand, test::wide_count) + "]").get(),
                     context.get()),
                outcome(result, ""));
    const std::string text(1 << 20, 'a');
    EXPECT_EQ(eval(make("['assert',0,'" + text + "']").get(), context.get()).second,
              "/ (/): " + text);
    const tree holder = make("{'text':'" + text + "'}"); // one message contains them all
    EXPECT_EQ(
        eval(make("['range',1,2" +
                  test::repeat(",['assert',0,['get','text']]", test::wide_count) + "]")
                 .get(),
             holder.get())
            .first,
        "true");
    EXPECT_EQ(eval(make("['regex','^a+$','','" + text + "']").get(), nullptr).first,
              "true");
  });
}

} // namespace
