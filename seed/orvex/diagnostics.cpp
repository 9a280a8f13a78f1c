// Places as FILE:LINE:COL, nearest names and families of builtins.
#include "diagnostics.h"

#include <algorithm>
#include <set>

#include "../builtins/builtins.h"
#include "../eval/eval.h"

std::string where_text(uint32_t pos) {
  const Source *s = source_find(pos);
  if (!s) return "?";
  int line, col;
  source_line_col(pos, &line, &col);
  if (!line) return s->file;
  return std::string(s->file) + ":" + std::to_string(line) + ":" + std::to_string(col);
}

const char *text_at(uint32_t pos) {
  const Source *s = source_find(pos);
  return s && s->text ? s->text + (pos - s->base) : nullptr;
}

// Edits between a and b: insertions, deletions, substitutions and swaps
// of neighbours, each one.
static size_t edits(const std::string &a, const std::string &b) {
  size_t n = a.size(), m = b.size();
  std::vector<std::vector<size_t>> d(n + 1, std::vector<size_t>(m + 1));
  for (size_t i = 0; i <= n; i++) d[i][0] = i;
  for (size_t j = 0; j <= m; j++) d[0][j] = j;
  for (size_t i = 1; i <= n; i++)
    for (size_t j = 1; j <= m; j++) {
      size_t cost = a[i - 1] == b[j - 1] ? 0 : 1;
      d[i][j] = std::min({d[i - 1][j] + 1, d[i][j - 1] + 1, d[i - 1][j - 1] + cost});
      if (i > 1 && j > 1 && a[i - 1] == b[j - 2] && a[i - 2] == b[j - 1]) d[i][j] = std::min(d[i][j], d[i - 2][j - 2] + 1);
    }
  return d[n][m];
}

std::string nearest_name(const std::string &name, const std::vector<std::string> &candidates, size_t most) {
  // short names allow one slip, longer ones two or three
  size_t limit = std::min(most, name.size() <= 3 ? (size_t)1 : name.size() <= 7 ? 2 : 3);
  std::string best;
  size_t best_d = limit + 1;
  for (const std::string &c : candidates) {
    if (c == name || c.empty()) continue;
    size_t d = edits(name, c);
    if (d < best_d && d < c.size()) {
      best_d = d;
      best = c;
    }
  }
  return best;
}

static bool name_char(char c) { return c == '_' || (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9'); }

std::vector<std::string> names_in_text(const char *text) {
  std::set<std::string> seen;
  std::vector<std::string> out;
  for (const char *p = text; p && *p;) {
    if (!name_char(*p) || (*p >= '0' && *p <= '9')) {
      p++;
      continue;
    }
    const char *s = p;
    while (name_char(*p)) p++;
    std::string w(s, p);
    if (seen.insert(w).second) out.push_back(w);
  }
  return out;
}

const std::vector<std::string> &builtin_names() {
  static std::vector<std::string> *names;
  if (!names) {
    names = new std::vector<std::string>();
    builtin_each(
        [](const BuiltinRow *r, void *ctx) {
          auto *v = (std::vector<std::string> *)ctx;
          if (std::find(v->begin(), v->end(), r->name) == v->end()) v->push_back(r->name);
        },
        names);
  }
  return *names;
}

// Names other languages give to what Orvex spells otherwise, too far from
// it for a slip of the keys.
static const char *const WORDS_ELSEWHERE[][2] = {
    {"true", "tru"},       {"True", "tru"},       {"false", "fls"},        {"False", "fls"},
    {"null", "nil"},       {"None", "nil"},       {"undefined", "nil"},    {"print", "prn"},
    {"println", "prn"},    {"puts", "prn"},       {"echo", "prn"},         {"printf", "prn"},
    {"length", "len"},     {"size", "len"},       {"count", "len"},        {"append", "push"},
    {"tostring", "str"},   {"string", "str"},     {"keys", "okeys"},       {"type", "typ"},
    {"typeof", "typ"},     {"split", "txt.spl"},  {"join", "txt.jn"},      {"upper", "txt.up"},
    {"lower", "txt.lo"},   {"trim", "txt.trm"},   {"replace", "txt.rep"},  {"map", "trl.map"},
    {"filter", "trl.fil"}, {"reduce", "trl.red"}, {"reverse", "trl.rev"},  {"floor", "flo"},
    {"ceil", "cel"},       {"sqrt", "sqr"},       {"exit", "__sys_exit"},  {"input", "__sys_read_line"},
};

std::string did_you_mean(const std::string &name, const std::vector<std::string> &candidates) {
  std::vector<std::string> all = candidates;
  for (const std::string &b : builtin_names())
    if (b.compare(0, 2, "__") != 0 || name.compare(0, 2, "__") == 0) all.push_back(b);
  std::string best = nearest_name(name, all);
  // a word from elsewhere, unless the program has a name near it (`count`
  // may be a slip for its own `counts`)
  for (const auto &w : WORDS_ELSEWHERE)
    if (name == w[0] && nearest_name(name, candidates).empty()) best = w[1];
  return best.empty() ? "" : "; did you mean `" + best + "`?";
}

// The builtins whose names begin with root: "txt" gives txt.up ... and txtord.
static std::vector<std::string> family(const std::string &root) {
  std::vector<std::string> out;
  if (root.size() < 2) return out;
  for (const std::string &b : builtin_names())
    if (b.size() > root.size() && b.compare(0, root.size(), root) == 0 && !name_char(b[root.size()]))
      out.push_back(b);
  for (const std::string &b : builtin_names())
    if (b.size() > root.size() && b.compare(0, root.size(), root) == 0 && name_char(b[root.size()]))
      out.push_back(b);
  return out;
}

std::string family_note(const std::string &root, const std::string &member) {
  std::vector<std::string> fam = family(root);
  if (fam.empty() || fam[0][root.size()] != '.') return "";  // a family has dotted members
  std::string full = root + "." + member;
  std::string note = "no builtin `" + full + "`";
  std::string best = nearest_name(full, fam);
  if (!best.empty()) note += "; did you mean `" + best + "`?";
  note += " The " + root + " family:";
  for (const std::string &b : fam) note += " " + b;
  return note;
}

std::string dotted_name(const Node *n) {
  char *d = build_dotted((Node *)n);
  std::string s = d ? d : "";
  xfree(d);
  return s;
}
