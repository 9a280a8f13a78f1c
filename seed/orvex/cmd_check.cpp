// orvex check: reads each file with the very reader that runs it and points
// at every place it recovered or guessed, and at lines that read as valid
// but almost never mean what they say.
#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <map>

#include "../driver/driver.h"
#include "check.h"
#include "commands.h"
#include "diagnostics.h"
#include "located.h"

struct FileTree {
  Node *prog = nullptr;  // null: the file could not be read
  std::vector<Recovered> recs;
};

static std::vector<Recovered> *g_recs;
static std::map<std::string, FileTree> g_trees;

static void on_recover(Recovery what, uint32_t at, uint32_t from) { g_recs->push_back({what, at, from}); }

// Each file is read once, with the recovery hook on.
static FileTree &tree_of(const std::string &path) {
  auto found = g_trees.find(path);
  if (found != g_trees.end()) return found->second;
  FileTree &t = g_trees[path];
  char *text = read_file(path.c_str());
  if (!text) return t;
  struct Read {
    FileTree *t;
    const char *text, *path;
  } r = {&t, text, path.c_str()};
  g_recs = &t.recs;
  g_recover_hook = on_recover;
  // a reader stopped by absurd nesting is reported as an error
  run_located([](void *p) {
    Read *r = (Read *)p;
    g_src = r->text;
    g_pos = 0;
    source_add(r->text, r->path);
    r->t->prog = parse_program_top();
  }, &r);
  g_recover_hook = nullptr;
  xfree(text);
  return t;
}

static std::string module_path(const std::string &user, const char *mod) {
  char dir[PATH_MAX_LEN + 1], out[PATH_MAX_LEN + 1];
  path_dirname(user.c_str(), dir, sizeof dir);
  resolve_use_path(dir, mod, out, sizeof out);
  return out;
}

// The names a file binds, with those of the modules it uses, however deep.
static void gather_names(const std::string &path, NameSet &names, std::set<std::string> &seen) {
  if (!seen.insert(path).second) return;
  FileTree &t = tree_of(path);
  if (!t.prog) {
    names.complete = false;
    return;
  }
  names_bound(t.prog, names.defined);
  std::vector<const Node *> uses;
  uses_in(t.prog, uses);
  for (const Node *u : uses) gather_names(module_path(path, u->use.path), names, seen);
}

// A skipped character, trailing text or an unbound name on a line that
// has a finding of another kind is a consequence of it, not news (a name
// is not explained by another name).
static bool echo_kind(const Finding &f) { return f.kind == "skipped" || f.kind == "trailing" || f.kind == "unbound"; }

static void drop_echoes(std::vector<Finding> &fs) {
  auto line = [](uint32_t pos) {
    int l, c;
    source_line_col(pos, &l, &c);
    return l;
  };
  std::set<int> explained, explained_names;
  for (const Finding &f : fs)
    if (!echo_kind(f)) {
      for (uint32_t p : {f.pos, f.stop}) {
        explained.insert(line(p));
        if (f.kind != "undefined") explained_names.insert(line(p));
      }
    }
  std::vector<Finding> kept;
  for (const Finding &f : fs) {
    bool echo = echo_kind(f) && (f.kind == "unbound" ? explained_names : explained).count(line(f.pos));
    // text that no statement starts with is better told as skipped
    echo |= f.kind == "trailing" && std::any_of(fs.begin(), fs.end(), [&](const Finding &k) {
              return k.kind == "skipped" && k.pos == f.pos;
            });
    bool twice = std::any_of(kept.begin(), kept.end(), [&](const Finding &k) { return k.pos == f.pos && k.kind == f.kind; });
    if (!echo && !twice) kept.push_back(f);
  }
  std::stable_sort(kept.begin(), kept.end(), [](const Finding &a, const Finding &b) { return a.pos < b.pos; });
  fs = kept;
}

// The findings of one file, printed; its modules join the queue when followed.
static int check_file(const std::string &path, const std::set<std::string> &outer, bool follow,
                      std::vector<std::pair<std::string, std::set<std::string>>> &queue) {
  FileTree &t = tree_of(path);
  if (!t.prog) {
    fprintf(stderr, "orvex: cannot open %s\n", path.c_str());
    return 2;
  }
  NameSet names{outer, true};
  std::set<std::string> seen;
  gather_names(path, names, seen);
  std::vector<Finding> fs;
  explain_recoveries(t.recs, fs);
  lint_tree(t.prog, names, fs);
  std::vector<const Node *> uses;
  uses_in(t.prog, uses);
  for (const Node *u : uses) {
    std::string mod = module_path(path, u->use.path);
    if (!tree_of(mod).prog) fs.push_back({u->pos, "use", "cannot open the module `" + std::string(u->use.path) +
                                                             "` (looked for " + mod + "): the run goes on without its names", u->pos});
    else if (follow) queue.push_back({mod, names.defined});
  }
  drop_echoes(fs);
  for (const Finding &f : fs) printf("%s: warning: %s [%s]\n", where_text(f.pos).c_str(), f.msg.c_str(), f.kind.c_str());
  return fs.empty() ? 0 : 1;
}

int cmd_check(const std::vector<std::string> &files, bool follow) {
  located_init();
  if (const char *home = getenv("ORVEX_HOME")) path_copy(g_orvex_home, home);
  std::vector<std::pair<std::string, std::set<std::string>>> queue;
  for (const std::string &f : files) queue.push_back({f, {}});
  std::set<std::string> done;
  int status = 0;
  // a module sees the globals of the file that uses it
  for (size_t i = 0; i < queue.size(); i++) {
    std::string path = queue[i].first;
    if (!done.insert(path).second) continue;
    status = std::max(status, check_file(path, queue[i].second, follow, queue));
  }
  fflush(stdout);
  return status;
}
