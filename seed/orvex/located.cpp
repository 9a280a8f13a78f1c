// Located errors: a fatal hook that throws, frames gathered while the
// exception unwinds through call sites, and the report.
#include "located.h"

#include <cctype>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

#include "../driver/driver.h"
#include "../eval/eval.h"
#include "diagnostics.h"

// What the fatal hook throws: a fatal condition inside run_located.
struct FatalStop {
  std::string msg;
  const Node *where;  // the fault node, when the condition has one
  bool parsing;       // the reader was at pos when it stopped
  uint32_t pos;
};

// A run of identical frames (one call site recursing) counts once.
struct Frame {
  const Node *site;
  long count;
};
// The first frames and the last ones are kept; those between are counted.
static const size_t HEAD_FRAMES = 12, TAIL_FRAMES = 4;
static std::vector<Frame> g_frames;
static long g_frames_dropped;

static bool g_running;    // inside run_located
static int g_base_depth;  // the try depth at which an error is uncaught
static bool g_stop_in_flight;

static void frame_add(const Node *site) {
  if (!g_frames.empty() && g_frames.back().site == site) {
    g_frames.back().count++;
    return;
  }
  if (g_frames.size() == HEAD_FRAMES + TAIL_FRAMES) {
    g_frames_dropped += g_frames[HEAD_FRAMES].count;
    g_frames.erase(g_frames.begin() + HEAD_FRAMES);
  }
  g_frames.push_back({site, 1});
}

static void on_unwind(Node *site) {
  // an error a try will catch leaves no trace
  if (!g_running || (g_try_depth > g_base_depth && !g_stop_in_flight)) return;
  frame_add(site);
}

static const char *strip_prefix(const char *msg) {
  return strncmp(msg, "orvex-min: ", 11) == 0 ? msg + 11 : msg;
}

static void on_fatal(const char *msg) {
  if (!g_running) return;
  FatalStop stop{strip_prefix(msg), g_fault_node, g_src[g_pos] != 0, g_src_base + (uint32_t)g_pos};
  g_fault_node = nullptr;
  g_stop_in_flight = true;
  throw stop;
}

void located_init() {
  g_keep_sources = true;
  g_fatal_hook = on_fatal;
  g_unwind_hook = on_unwind;
}

// The candidates for "did you mean": the names of the fault's text and
// the globals.
static std::vector<std::string> names_near(const Node *n) {
  const Source *src = source_find(n->pos);
  std::vector<std::string> names = names_in_text(src ? src->text : nullptr);
  for (int i = 0; g_global_env && i < g_global_env->len; i++) names.push_back(g_global_env->keys[i]);
  return names;
}

// An undefined name: the member it was asked for when it is the root of
// a family of builtins (txt.low), else the nearest name.
static std::string undefined_message(const Node *n, const char *name) {
  const char *after = text_at(n->pos);
  if (n->type == N_ID && after) {
    const char *p = after + strlen(name);
    if (p[0] == '.') {
      std::string member;
      for (p++; *p == '_' || isalnum((unsigned char)*p); p++) member += *p;
      std::string note = family_note(name, member);
      if (!note.empty()) return "undefined: " + std::string(name) + "." + member + ": " + note;
    }
  }
  return "undefined: " + std::string(name) + did_you_mean(name, names_near(n));
}

// The message of a fatal condition, told in terms of its node.
static std::string fatal_message(const FatalStop &s) {
  const Node *n = s.where;
  if (!n) return s.msg;
  if (s.msg.compare(0, 11, "undefined: ") == 0)
    return undefined_message(n, n->type == N_ID ? n->id : n->call.name);
  if (n->type == N_CALL && !n->call.name) {
    std::string callee = dotted_name(n->call.callee);
    if (!callee.empty()) return "not callable: " + callee + " (not a function)";
  }
  return s.msg;
}

static std::string frame_name(const Node *site) {
  if (site->type == N_USE) return std::string("module ") + (site->use.path ? site->use.path : "?");
  if (site->call.name) return site->call.name;
  std::string d = dotted_name(site->call.callee);
  return d.empty() ? "a function value" : d;
}

static void print_frame(const Frame &f) {
  const char *verb = f.site->type == N_USE ? "used" : "called";
  fprintf(stderr, "  in %s, %s at %s\n", frame_name(f.site).c_str(), verb, where_text(f.site->pos).c_str());
  if (f.count > 1) fprintf(stderr, "  ... %ld more frames\n", f.count - 1);
}

void report_error(const char *msg, const Node *where, bool have_pos, uint32_t pos) {
  out_flush();
  // with nothing better, the innermost call site is where it arose
  if (!where && !have_pos && !g_frames.empty()) where = g_frames[0].site;
  if (where) {
    have_pos = true;
    pos = where->pos;
  }
  // a call that failed to start (or stopped the recursion) is no frame
  size_t first = 0;
  if (where && !g_frames.empty() && g_frames[0].site == where && --g_frames[0].count == 0) first = 1;
  if (have_pos) fprintf(stderr, "%s: error: %s\n", where_text(pos).c_str(), msg);
  else fprintf(stderr, "%s: error: %s\n", g_cur_file[0] ? g_cur_file : "orvex", msg);
  for (size_t i = first; i < g_frames.size(); i++) {
    if (i == HEAD_FRAMES && g_frames_dropped) fprintf(stderr, "  ... %ld more frames\n", g_frames_dropped);
    print_frame(g_frames[i]);
  }
  g_frames.clear();
  g_frames_dropped = 0;
}

bool run_located(void (*body)(void *ctx), void *ctx) {
  const char *old_src = g_src;
  int old_pos = g_pos;
  uint32_t old_base = g_src_base;
  int old_depth = g_try_depth;
  std::string old_file = g_cur_file;
  bool was_running = g_running;
  // errors then throw even with no try, to be caught below
  g_base_depth = g_try_depth = old_depth + 1;
  g_running = true;
  bool ok = false;
  try {
    body(ctx);
    ok = true;
  } catch (OrvexError &e) {
    report_error(e.msg ? e.msg : "error", e.where, false, 0);
    free(e.msg);
  } catch (FatalStop &s) {
    report_error(fatal_message(s).c_str(), s.where, s.parsing, s.pos);
  }
  g_running = was_running;
  g_stop_in_flight = false;
  g_try_depth = old_depth;
  g_src = old_src;
  g_pos = old_pos;
  g_src_base = old_base;
  path_copy(g_cur_file, old_file.c_str());
  return ok;
}

struct TextRun {
  const char *text, *file;
  Env *env;
};

bool run_text_located(const char *text, const char *file, Env *env) {
  TextRun run = {text, file, env};
  return run_located([](void *p) {
    TextRun *r = (TextRun *)p;
    run_source(r->text, r->file, r->env);
  }, &run);
}
