// Text builtins (txt.*, txtord, txtchr, txtsub) and the byte encoding family
// (enc.*, encbytev). Texts are bytes: no character is ever decoded.
#include <cctype>
#include <cstdlib>
#include <cstring>

#include "builtins.h"

static bool is_str(Val *v) { return v->type == V_STR; }
static Val *empty_text() { return val_str_n("", 0); }

// A text of just byte b; byte 0 ends a text, so it gives the empty text.
static Val *one_byte(unsigned char b) {
  char c = (char)b;
  return val_str_n(&c, b ? 1 : 0);
}

static Val *byte_or_empty(int32_t code) {
  return code >= 0 && code <= 255 ? one_byte((unsigned char)code) : empty_text();
}

static Val *first_byte(Val *v) { return val_num(is_str(v) && v->len ? (unsigned char)v->s[0] : 0); }

// txt.sub(s, start [, end]): start only clamps to 0, it never counts from the end.
static Val *b_sub(Val **args, int nargs) {
  Val *s = args[0];
  if (!is_str(s) || args[1]->type != V_NUM) return empty_text();
  int32_t a = num_to_i32(args[1]->n);
  if (a < 0) a = 0;
  int32_t b = s->len;
  if (nargs >= 3 && args[2]->type == V_NUM) b = num_to_i32(args[2]->n);
  if (b > s->len) b = s->len;
  return b > a ? val_str_n(s->s + a, b - a) : empty_text();
}

static Val *b_pfx(Val **args, int) {
  Val *s = args[0], *p = args[1];
  if (!is_str(s) || !is_str(p)) return g_false;
  return val_bool(p->len <= s->len && memcmp(s->s, p->s, (size_t)p->len) == 0);
}

static Val *b_sfx(Val **args, int) {
  Val *s = args[0], *x = args[1];
  if (!is_str(s) || !is_str(x) || x->len > s->len) return g_false;
  return val_bool(memcmp(s->s + (s->len - x->len), x->s, (size_t)x->len) == 0);
}

static Val *b_has(Val **args, int) {
  if (!is_str(args[0]) || !is_str(args[1])) return g_false;
  return val_bool(strstr(text_cstr(args[0]), text_cstr(args[1])) != nullptr);
}

static Val *b_idx(Val **args, int) {
  if (!is_str(args[0]) || !is_str(args[1])) return val_num(-1);
  const char *s = text_cstr(args[0]);
  const char *hit = strstr(s, text_cstr(args[1]));
  return val_num(hit ? (double)(hit - s) : -1);
}

static Val *map_bytes(Val *s, int (*f)(int)) {
  if (!is_str(s)) return empty_text();
  size_t n = (size_t)s->len;
  char *r = text_new(n);
  for (size_t i = 0; i < n; i++) r[i] = (char)f((unsigned char)s->s[i]);
  return val_str_own(r, (int)n);
}

static Val *b_up(Val **args, int) { return map_bytes(args[0], toupper); }
static Val *b_lo(Val **args, int) { return map_bytes(args[0], tolower); }

// txt.at(s, i): a negative i counts from the end, once.
static Val *b_at(Val **args, int) {
  Val *s = args[0];
  if (!is_str(s) || args[1]->type != V_NUM) return empty_text();
  int64_t i = num_to_i32(args[1]->n);
  if (i < 0) i += s->len;
  if (i < 0 || i >= s->len) return empty_text();
  return one_byte((unsigned char)s->s[i]);
}

static Val *b_jn(Val **args, int) {
  Val *xs = args[0], *sep = args[1];
  if (xs->type != V_LST) return empty_text();
  StrBuf b;
  sb_init(&b);
  for (int i = 0; i < xs->lst->len; i++) {
    if (i && is_str(sep)) sb_add(&b, sep->s, (size_t)sep->len);
    render_into(&b, xs->lst->items[i]);
  }
  size_t n = b.len;
  return val_str_own(sb_take(&b), (int)n);
}

// Pieces are one more than the separators found; an empty separator splits
// into single bytes.
static Val *b_spl(Val **args, int) {
  Val *s = args[0], *sep = args[1];
  Val *r = val_lst();
  if (!is_str(s) || !is_str(sep)) return r;
  if (sep->len == 0) {
    for (int i = 0; i < s->len; i++) lst_push(r, one_byte((unsigned char)s->s[i]));
    return r;
  }
  size_t seplen = (size_t)sep->len;
  const char *p = text_cstr(s), *end = p + s->len, *needle = text_cstr(sep);
  for (const char *hit; (hit = strstr(p, needle)) != nullptr; p = hit + seplen)
    lst_push(r, val_str_n(p, (int)(hit - p)));
  lst_push(r, val_str_n(p, (int)(end - p)));
  return r;
}

static Val *b_trm(Val **args, int) {
  Val *s = args[0];
  if (!is_str(s)) return empty_text();
  const char *a = s->s, *z = s->s + s->len;
  while (a < z && isspace((unsigned char)*a)) a++;
  while (z > a && isspace((unsigned char)z[-1])) z--;
  return val_str_n(a, (int)(z - a));
}

// txt.rep(s, old, new): non-overlapping, left to right; the inserted text is
// never searched again.
static Val *b_rep(Val **args, int) {
  Val *s = args[0], *old = args[1], *rep = args[2];
  if (!is_str(s) || !is_str(old) || !is_str(rep)) return s;
  if (old->len == 0) return s;
  size_t oldlen = (size_t)old->len, replen = (size_t)rep->len;
  StrBuf b;
  sb_init(&b);
  const char *p = text_cstr(s), *end = p + s->len, *needle = text_cstr(old);
  for (const char *hit; (hit = strstr(p, needle)) != nullptr; p = hit + oldlen) {
    sb_add(&b, p, (size_t)(hit - p));
    sb_add(&b, rep->s, replen);
  }
  sb_add(&b, p, (size_t)(end - p));
  size_t n = b.len;
  return val_str_own(sb_take(&b), (int)n);
}

static Val *b_ord(Val **args, int) { return first_byte(args[0]); }

static Val *b_chr(Val **args, int) {
  if (args[0]->type != V_NUM) return empty_text();
  return byte_or_empty(num_to_i32(args[0]->n));
}

// enc.chr / encbytev: a number gives its byte, a text its first byte's code.
static Val *b_enc_chr(Val **args, int nargs) {
  if (nargs < 1) return empty_text();
  if (args[0]->type == V_NUM) return byte_or_empty(num_to_i32(args[0]->n));
  if (is_str(args[0])) return first_byte(args[0]);
  return empty_text();
}

static Val *b_u8tbl(Val **, int) {
  Val *r = val_lst_cap(256);
  for (int b = 0; b < 256; b++) lst_push(r, one_byte((unsigned char)b));
  return r;
}

const BuiltinRow text_builtins[] = {
    {"txt.sub", 2, -1, b_sub},
    {"txt.pfx", 2, 2, b_pfx},
    {"txt.sfx", 2, 2, b_sfx},
    {"txt.has", 2, 2, b_has},
    {"txt.idx", 2, 2, b_idx},
    {"txt.up", 1, 1, b_up},
    {"txt.lo", 1, 1, b_lo},
    {"txt.at", 2, 2, b_at},
    {"txt.jn", 2, 2, b_jn},
    {"txt.spl", 2, 2, b_spl},
    {"txt.trm", 1, 1, b_trm},
    {"txt.rep", 3, 3, b_rep},
    {"txtord", 1, 1, b_ord},
    {"txtchr", 1, 1, b_chr},
    {"txtsub", 2, -1, b_sub},
    {"enc.chr", 0, -1, b_enc_chr},
    {"encbytev", 0, -1, b_enc_chr},
    {"enc.u8tbl", 0, -1, b_u8tbl},
    {"enc.u8ord", 1, 1, b_ord},
    {nullptr, 0, 0, nullptr},
};
