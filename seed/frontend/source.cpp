// Source set: the texts parsed so far, each with its own range of positions.
#include <algorithm>
#include <cstring>
#include <string>
#include <vector>

#include "frontend.h"

uint32_t g_src_base;
bool g_keep_sources;
void (*g_recover_hook)(Recovery what, uint32_t at, uint32_t from);

// The copies are the entry's own (not runtime allocations): a source outlives
// any reset or collection of the values.
struct SourceEntry {
  Source src;
  std::string file, text;
  std::vector<uint32_t> line_starts;  // made at the first question about a line
};
// Entries stay where they are made: callers keep pointers to their sources.
static std::vector<SourceEntry *> *g_sources;
static uint32_t g_next_base;

// One position past a text's end belongs to it (an unclosed construct ends
// there), so ranges are len + 1 apart.
void source_add(const char *text, const char *file) {
  if (!g_sources) g_sources = new std::vector<SourceEntry *>();
  uint32_t len = (uint32_t)strlen(text);
  SourceEntry *e = new SourceEntry();
  e->file = file;
  if (g_keep_sources) e->text.assign(text, len);
  e->src = {e->file.c_str(), g_keep_sources ? e->text.c_str() : nullptr, g_next_base, len};
  g_sources->push_back(e);
  g_src_base = g_next_base;
  g_next_base += len + 1;
}

void source_reset() {
  if (g_sources)
    for (SourceEntry *e : *g_sources) delete e;
  delete g_sources;
  g_sources = nullptr;
  g_src_base = g_next_base = 0;
}

static SourceEntry *entry_at(uint32_t pos) {
  if (!g_sources) return nullptr;
  // ranges ascend: the last one starting at or before pos
  auto it = std::upper_bound(g_sources->begin(), g_sources->end(), pos,
                             [](uint32_t p, const SourceEntry *e) { return p < e->src.base; });
  if (it == g_sources->begin()) return nullptr;
  SourceEntry *e = *(it - 1);
  return pos - e->src.base <= e->src.len ? e : nullptr;
}

const Source *source_find(uint32_t pos) {
  SourceEntry *e = entry_at(pos);
  return e ? &e->src : nullptr;
}

void source_line_col(uint32_t pos, int *line, int *col) {
  *line = *col = 0;
  SourceEntry *e = entry_at(pos);
  if (!e || !e->src.text) return;
  if (e->line_starts.empty()) {
    e->line_starts.push_back(0);
    for (uint32_t i = 0; i < e->src.len; i++)
      if (e->src.text[i] == '\n') e->line_starts.push_back(i + 1);
  }
  uint32_t off = pos - e->src.base;
  auto it = std::upper_bound(e->line_starts.begin(), e->line_starts.end(), off);
  *line = (int)(it - e->line_starts.begin());
  *col = (int)(off - *(it - 1)) + 1;
}
