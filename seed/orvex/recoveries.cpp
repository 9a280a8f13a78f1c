// The reader's recoveries told as findings: what it did, and what the
// writer probably meant.
#include <cctype>
#include <string>

#include "check.h"
#include "diagnostics.h"

static char char_at(uint32_t pos) {
  const char *p = text_at(pos);
  return p ? *p : 0;
}

// n bytes of the text from pos (fewer at its end).
static std::string piece(uint32_t pos, size_t n) {
  const char *p = text_at(pos);
  std::string s;
  for (; p && *p && s.size() < n; p++) s += *p;
  return s;
}

// The run of name characters (and dots) at pos.
static std::string word_at(uint32_t pos) {
  const char *p = text_at(pos);
  std::string s;
  for (; p && (*p == '_' || *p == '.' || isalnum((unsigned char)*p)); p++) s += *p;
  return s;
}

// What stands before pos on its line, without the indentation: the
// target of a compound assignment.
static std::string before_on_line(uint32_t pos) {
  const Source *s = source_find(pos);
  if (!s || !s->text) return "";
  const char *e = s->text + (pos - s->base), *p = e;
  while (p > s->text && p[-1] != '\n') p--;
  while (*p == ' ' || *p == '\t') p++;
  while (e > p && (e[-1] == ' ' || e[-1] == '\t')) e--;
  return std::string(p, e);
}

static int line_of(uint32_t pos) {
  int line, col;
  source_line_col(pos, &line, &col);
  return line;
}

// The line's text from pos to its end, at most max bytes ("..." after).
static std::string rest_of_line(uint32_t pos, size_t max = 24) {
  const char *p = text_at(pos);
  std::string s;
  for (; p && *p && *p != '\n' && *p != '\r'; p++) {
    if (s.size() == max) return s + "...";
    s += *p;
  }
  return s;
}

// Indentation of the line holding pos (blank 1, tab 4).
static int indent_at(uint32_t pos) {
  const Source *s = source_find(pos);
  if (!s || !s->text) return 0;
  const char *p = s->text + (pos - s->base);
  while (p > s->text && p[-1] != '\n') p--;
  int w = 0;
  for (; *p == ' ' || *p == '\t'; p++) w += *p == ' ' ? 1 : 4;
  return w;
}

static std::string line_text(uint32_t pos) { return "line " + std::to_string(line_of(pos)); }

static std::string skipped_hint(char c) {
  switch (c) {
    case ';': return "a line ends a statement; Orvex has no `;`";
    case '`': return "a stray backquote";
    case ')': case ']': case '}': return "a closer with no opener before it";
    case '=': return "nothing before it that can be assigned";
    case ':': return "a colon with no header before it";
    case '|': return "an other branch with no if before it";
    default: return "no statement starts with it";
  }
}

// Runs of skipped characters on one line make one finding.
static void skipped(const Recovered &r, std::vector<Finding> &out) {
  if (!out.empty() && out.back().kind == "skipped" && line_of(out.back().stop) == line_of(r.at)) {
    const char *from = text_at(out.back().stop + 1);
    bool blanks_only = true;
    for (const char *p = from; p && p < text_at(r.at); p++) blanks_only &= *p == ' ' || *p == '\t';
    if (blanks_only) {
      Finding &f = out.back();
      f.stop = r.at;
      std::string run(text_at(f.pos), text_at(f.stop) + 1);
      f.msg = "skipped `" + run + "`: no statement starts with it; the reader dropped it and went on";
      return;
    }
  }
  std::string c(1, char_at(r.at));
  out.push_back({r.at, "skipped", "skipped `" + c + "`: " + skipped_hint(c[0]) + "; the reader dropped it and went on", r.at});
}

// The name before a call's "(" ("" when the "(" opens no call).
static std::string callee_before(uint32_t open) {
  const Source *s = source_find(open);
  if (!s || !s->text) return "";
  const char *p = s->text + (open - s->base), *e = p;
  while (p > s->text && (p[-1] == '_' || p[-1] == '.' || isalnum((unsigned char)p[-1]))) p--;
  return std::string(p, e);
}

static std::string what_is_cut(char open, uint32_t at) {
  if (open == '(') {
    std::string callee = callee_before(at);
    return callee.empty() ? "the parenthesis" : "the arguments of `" + callee + "(`";
  }
  return open == '[' ? "the list or index" : "the object";
}

// An opener whose closer is missing where the reader stopped (at).
static void unclosed(const Recovered &r, uint32_t string_culprit, std::vector<Finding> &out) {
  char open = char_at(r.from), stop = char_at(r.at);
  std::string o(1, open == '$' ? '"' : open);
  if (open == '"' && !stop && string_culprit != r.from && string_culprit != UINT32_MAX) {
    out.push_back({string_culprit, "unclosed",
                   "string probably not closed: it runs on to a quote on a later line, and the file ends inside "
                   "the string opened at " + line_text(r.from) + "; add the missing `\"`",
                   r.from});
  } else if (!stop) {
    out.push_back({r.from, "unclosed", "`" + o + "` is never closed: the file ends first", r.at});
  } else if (line_of(r.at) > line_of(r.from)) {
    out.push_back({r.from, "unclosed", "`" + o + "` is never closed: the reader ran on to " + line_text(r.at) +
                                           " looking for its closer", r.at});
  } else if (stop == '\n' || stop == '\r' || stop == '#') {
    out.push_back({r.from, "unclosed", "`" + o + "` is not closed on its line: the reader took what was there", r.at});
  } else if (open == '(' || open == '[' || open == '{') {
    out.push_back({r.at, "args-lost", "stray `" + std::string(1, stop) + "` cuts short " + what_is_cut(open, r.from) +
                                          ": `" + rest_of_line(r.at) + "` is read apart from it", r.at});
  } else {
    out.push_back({r.from, "unclosed", "`" + o + "` is not closed: the reader stopped at `" + std::string(1, stop) + "`", r.at});
  }
}

// An operator with nothing after it; "+=" on a field or element is one.
static void no_operand(const Recovered &r, std::vector<Finding> &out) {
  const char *p = text_at(r.at);
  if (!p) return;
  int len = (p[0] == 'o' && p[1] == 'r') || ((p[0] == '<' || p[0] == '>' || p[0] == '=' || p[0] == '!') && p[1] == '=') ? 2
            : p[0] == 'a' ? 3 : 1;
  std::string op(p, len);
  std::string target = before_on_line(r.at);
  std::string full = "write `" + target + " = " + target + " " + op + " ...` in full";
  if (len == 1 && p[1] == '=' && (op == "+" || op == "-")) {
    out.push_back({r.at, "compound-assign", "`" + op + "=` works on a plain name only: here the `" + op +
                                                "` is dropped and `=` assigns; " + full, r.at});
  } else if (len == 1 && p[1] == '=' && (op == "*" || op == "/" || op == "%")) {
    out.push_back({r.at, "compound-assign", "there is no `" + op + "=`: the `" + op + "` is dropped and `=` assigns; " + full, r.at});
  } else {
    const char *q = p + len;
    while (*q == ' ' || *q == '\t' || *q == '\r') q++;
    std::string why = !*q || *q == '\n' || *q == '#' ? " (an expression cannot go on to the next line)" : "";
    out.push_back({r.at, "no-operand", "`" + op + "` has no operand after it: the reader dropped it and ended the "
                                           "expression before it" + why, r.at});
  }
}

static void shallow_body(const Recovered &r, std::vector<Finding> &out) {
  int header = indent_at(r.from), body = indent_at(r.at);
  bool empty_line = char_at(r.at) == '\n' || char_at(r.at) == '\r';
  std::string head = "the header on " + line_text(r.from);
  if (body == 0 || empty_line)
    out.push_back({r.at, "indent", "this line is not indented under " + head +
                                       ": the header gets no body and this line runs on its own", r.at});
  else
    out.push_back({r.at, "indent", "body indented no deeper than " + head + " (" + std::to_string(body) + " <= " +
                                       std::to_string(header) + "): this line and all after it at this indentation "
                                       "are read as the body", r.at});
}

static void explain(const Recovered &r, uint32_t string_culprit, std::vector<Finding> &out) {
  switch (r.what) {
    case REC_SKIPPED: return skipped(r, out);
    case REC_TRAILING:
      out.push_back({r.at, "trailing", "the statement ends before `" + rest_of_line(r.at) +
                                           "`: the rest of the line is read as a statement of its own", r.at});
      return;
    case REC_UNCLOSED: return unclosed(r, string_culprit, out);
    case REC_NO_OPERAND: return no_operand(r, out);
    case REC_NO_VALUE:
      if (char_at(r.from) == '=' || char_at(r.from) == '+' || char_at(r.from) == '-')
        out.push_back({r.from, "no-value", "nothing after `=` on its line: the value is nil (a value must start on the "
                                               "line of its `=`)", r.at});
      else
        out.push_back({r.from, "no-value", "field `" + word_at(r.from) + "` has no value: it is nil", r.at});
      return;
    case REC_COND_ASSIGN:
      out.push_back({r.at, "cond-assign", "`=` in a condition: the reader ends the condition before it and skips "
                                              "`" + rest_of_line(r.at) + "`; compare with `==`", r.at});
      return;
    case REC_SHALLOW_BODY: return shallow_body(r, out);
    case REC_NO_PART:
      if (char_at(r.from) == 'l')
        out.push_back({r.from, "no-part", "`lop` needs a variable and a list (`lop x xs`): the list is missing, so "
                                              "the loop never runs", r.from});
      else
        out.push_back({r.from, "no-part", "header without a condition: nil, so its body never runs", r.from});
      return;
    case REC_ESCAPE:
      out.push_back({r.at, "escape", "`" + piece(r.at, 2) + "` in $\"...\" gives `" + piece(r.at + 1, 1) +
                                         "`: only `\\n` is an escape there; "
                                         "join a plain \"...\" piece for other escapes", r.at});
      return;
    case REC_INTERP:
      if (r.at == r.from)
        out.push_back({r.at, "interp", "`{}` holds no expression: it gives nil", r.at});
      else
        out.push_back({r.at, "interp", "`" + rest_of_line(r.at, 12) + "` after the expression in `{...}` is kept as "
                                           "text, not read as code", r.at});
      return;
    case REC_NUMBER_NAME:
      out.push_back({r.from, "number-name", "`" + word_at(r.from) + "` is read as a number and then a "
                                                "name: there are no hex literals or units", r.at});
      return;
    case REC_USE:
      out.push_back({r.at, "use", "`use` needs a module name or a plain \"path\": this one loads nothing", r.at});
      return;
    case REC_STRING_LINES: return;
  }
}

void explain_recoveries(const std::vector<Recovered> &recs, std::vector<Finding> &out) {
  // A file that ends inside a string has most likely lost a quote at the
  // first string that runs over lines.
  uint32_t culprit = UINT32_MAX;
  for (const Recovered &r : recs)
    if (r.what == REC_STRING_LINES && culprit == UINT32_MAX) culprit = r.from;
  for (const Recovered &r : recs) explain(r, culprit, out);
}
