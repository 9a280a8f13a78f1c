// Text rendering of values: the one form that prn, str, "+" and err share.
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "runtime.h"

void sb_init(StrBuf *b) {
  b->p = nullptr;
  b->len = b->cap = 0;
}

// The bytes sit in a text block (see TextHead), so that sb_take hands them
// over as a text without copying.
static void sb_reserve(StrBuf *b, size_t extra) {
  if (b->len + extra + 1 <= b->cap) return;
  size_t ncap = b->cap ? b->cap : 64;
  while (ncap < b->len + extra + 1) ncap *= 2;
  char *p = text_new(ncap - 1);
  if (b->p) {
    memcpy(p, b->p, b->len);
    gc_free(text_head(b->p));
  }
  b->p = p;
  b->cap = ncap;
}

void sb_add(StrBuf *b, const char *s, size_t n) {
  sb_reserve(b, n);
  memcpy(b->p + b->len, s, n);
  b->len += n;
}

void sb_addc(StrBuf *b, char c) {
  sb_reserve(b, 1);
  b->p[b->len++] = c;
}

char *sb_take(StrBuf *b) {
  sb_reserve(b, 0);
  b->p[b->len] = 0;
  text_head(b->p)->used = (uint32_t)b->len;
  char *p = b->p;
  sb_init(b);
  return p;
}

void sb_free(StrBuf *b) {
  if (b->p) gc_free(text_head(b->p));
  sb_init(b);
}

int format_num(char *buf, double n) {
  if (std::fabs(n) < 1e15 && n == (double)(long long)n) {
    // whole numbers by hand: the common case, and printf is slow
    long long v = (long long)n;
    unsigned long long u = v < 0 ? 0ull - (unsigned long long)v : (unsigned long long)v;
    char tmp[24];
    int k = 0;
    do {
      tmp[k++] = (char)('0' + u % 10);
      u /= 10;
    } while (u);
    int len = 0;
    if (v < 0) buf[len++] = '-';
    while (k) buf[len++] = tmp[--k];
    buf[len] = 0;
    return len;
  }
  return snprintf(buf, NUM_TEXT_MAX, "%g", n);
}

void render_num(StrBuf *b, double n) {
  char buf[NUM_TEXT_MAX];
  sb_add(b, buf, (size_t)format_num(buf, n));
}

// A list or object that contains itself renders the inner occurrence as
// "[...]" or "{...}": the values being rendered sit on this stack.
static Val **g_open;
static int g_open_len, g_open_cap;

static bool render_open(Val *v) {
  for (int i = 0; i < g_open_len; i++)
    if (g_open[i] == v) return false;
  if (g_open_len == g_open_cap) {
    g_open_cap = g_open_cap ? g_open_cap * 2 : 16;
    g_open = (Val **)xrealloc(g_open, sizeof(Val *) * (size_t)g_open_cap);
  }
  g_open[g_open_len++] = v;
  return true;
}

// After runtime_reset has released every block: forget the stack.
void render_reset() {
  g_open = nullptr;
  g_open_len = g_open_cap = 0;
}

// A list's items or an object's fields, comma-separated in brackets or braces.
static void render_items(StrBuf *b, Val *v) {
  bool lst = v->type == V_LST;
  if (!render_open(v)) {
    sb_add(b, lst ? "[...]" : "{...}", 5);
    return;
  }
  sb_addc(b, lst ? '[' : '{');
  int len = lst ? v->lst->len : v->obj->len;
  for (int i = 0; i < len; i++) {
    if (i) sb_add(b, ", ", 2);
    if (!lst) {
      sb_add(b, v->obj->keys[i], strlen(v->obj->keys[i]));
      sb_add(b, ": ", 2);
    }
    render_into(b, lst ? v->lst->items[i] : v->obj->vals[i]);
  }
  sb_addc(b, lst ? ']' : '}');
  g_open_len--;
}

void render_into(StrBuf *b, Val *v) {
  check_stack();
  if (!v) {
    sb_add(b, "nil", 3);
    return;
  }
  switch (v->type) {
    case V_NIL: sb_add(b, "nil", 3); return;
    case V_BOOL: sb_add(b, v->b ? "tru" : "fls", 3); return;
    case V_NUM: render_num(b, v->n); return;
    case V_STR: sb_add(b, v->s, (size_t)v->len); return;
    case V_FN: sb_add(b, "<fn>", 4); return;
    case V_LST:
    case V_OBJ: render_items(b, v); return;
    default: sb_addc(b, '?'); return;
  }
}

char *val_to_str(Val *v) {
  StrBuf b;
  sb_init(&b);
  render_into(&b, v);
  return sb_take(&b);
}
