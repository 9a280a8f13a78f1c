// Values, rendering and scopes.
#include <gtest/gtest.h>

#include <cmath>
#include <cstdlib>
#include <string>
#include <vector>

#include "runtime/runtime.h"

// Rendering as a std::string; the malloc'd text is released here.
// The collector is set up as the programs set it up.
static const bool g_gc_ready = (gc_init(), true);

static std::string R(Val *v) {
  const char *s = val_to_str(v);
  std::string out = s;
  return out;
}

static Val *num_list(std::initializer_list<double> ns) {
  Val *l = val_lst();
  for (double n : ns) lst_push(l, val_num(n));
  return l;
}

TEST(Values, ListGrowth) {
  // Growth moves the first items out of the slots beside the record and
  // doubles from there; every element survives each move in order.
  Val *l = val_lst();
  EXPECT_EQ(l->lst->len, 0);
  for (int i = 0; i < 4; i++) lst_push(l, val_num(i));
  Val **inline_items = l->lst->items;
  lst_push(l, val_num(4));
  EXPECT_NE(l->lst->items, inline_items);
  EXPECT_EQ(l->lst->len, 5);
  EXPECT_GE(l->lst->cap, 5);
  for (int i = 5; i < 100; i++) lst_push(l, val_num(i));
  EXPECT_GE(l->lst->cap, 100);
  for (int i = 0; i < 100; i++) EXPECT_EQ(l->lst->items[i]->n, i);
  // Elements are shared, not copied.
  Val *x = val_str("x");
  lst_push(l, x);
  lst_push(l, x);
  EXPECT_EQ(l->lst->items[100], l->lst->items[101]);
}

TEST(Values, ObjectOrderAndReplacement) {
  Val *o = val_obj();
  EXPECT_EQ(o->obj->len, 0);
  obj_set(o, "b", val_num(1));
  obj_set(o, "a", val_num(2));
  obj_set(o, "b", val_num(3));
  ASSERT_EQ(o->obj->len, 2);
  EXPECT_STREQ(o->obj->keys[0], "b");
  EXPECT_STREQ(o->obj->keys[1], "a");
  EXPECT_EQ(obj_get(o, "b")->n, 3);
  EXPECT_EQ(R(o), "{b: 3, a: 2}");
  // Keys are private copies: changing the caller's buffer changes nothing.
  char key[] = "k";
  obj_set(o, key, val_num(4));
  key[0] = 'z';
  EXPECT_EQ(obj_get(o, "k")->n, 4);
  EXPECT_EQ(obj_get(o, "z"), g_nil);
  EXPECT_EQ(obj_get(o, ""), g_nil);
  obj_set(o, "", val_num(5));  // the empty key is an ordinary key
  EXPECT_EQ(obj_get(o, "")->n, 5);
  obj_set(o, "n", g_nil);
  EXPECT_EQ(o->obj->len, 5);  // past the slots beside the record: moved, order kept
  EXPECT_EQ(R(o), "{b: 3, a: 2, k: 4, : 5, n: nil}");
}

TEST(Values, LargeObjectsKeepOrderAndFindEveryKey) {
  Val *o = val_obj();
  const int n = 300;
  for (int i = 0; i < n; i++) obj_set(o, ("key" + std::to_string(i)).c_str(), val_num(i));
  ASSERT_EQ(o->obj->len, n);
  for (int i = 0; i < n; i++) {
    std::string k = "key" + std::to_string(i);
    EXPECT_EQ(o->obj->keys[i], k);
    Val *v = obj_get(o, k.c_str());
    ASSERT_EQ(v->type, V_NUM) << k;
    EXPECT_EQ(v->n, i);
  }
  EXPECT_EQ(obj_get(o, "key300"), g_nil);
  EXPECT_EQ(obj_get(o, "key"), g_nil);
  // Replacing keeps the position; every key crossing the index threshold too.
  for (int i = 0; i < n; i += 7) obj_set(o, ("key" + std::to_string(i)).c_str(), val_num(-i));
  EXPECT_EQ(o->obj->len, n);
  for (int i = 0; i < n; i++) {
    EXPECT_EQ(o->obj->keys[i], "key" + std::to_string(i));
    EXPECT_EQ(obj_get(o, ("key" + std::to_string(i)).c_str())->n, i % 7 ? i : -i);
  }
  // Objects just below, at and just above the size where lookups change.
  for (int size = 14; size <= 18; size++) {
    Val *p = val_obj();
    for (int i = 0; i < size; i++) obj_set(p, std::string(1, (char)('a' + i)).c_str(), val_num(i));
    obj_set(p, "a", val_num(99));
    EXPECT_EQ(p->obj->len, size);
    for (int i = 0; i < size; i++)
      EXPECT_EQ(obj_get(p, std::string(1, (char)('a' + i)).c_str())->n, i ? i : 99) << size;
  }
}

TEST(Values, Truthiness) {
  EXPECT_FALSE(val_truthy(nullptr));
  EXPECT_FALSE(val_truthy(g_nil));
  EXPECT_FALSE(val_truthy(g_false));
  EXPECT_FALSE(val_truthy(val_num(0)));
  EXPECT_FALSE(val_truthy(val_num(-0.0)));
  EXPECT_FALSE(val_truthy(val_str("")));
  EXPECT_FALSE(val_truthy(val_str_n("\0", 0)));
  EXPECT_FALSE(val_truthy(val_lst()));
  EXPECT_TRUE(val_truthy(g_true));
  EXPECT_TRUE(val_truthy(val_num(NAN)));
  EXPECT_TRUE(val_truthy(val_num(-1e-300)));
  EXPECT_TRUE(val_truthy(val_str("0")));
  EXPECT_TRUE(val_truthy(val_str_n("\0", 1)));  // one NUL byte is not empty
  EXPECT_TRUE(val_truthy(val_obj()));
  Val *l = val_lst();
  lst_push(l, g_nil);
  EXPECT_TRUE(val_truthy(l));
  Fn f = {};
  Val fn = {};
  fn.type = V_FN;
  fn.fn = &f;
  EXPECT_TRUE(val_truthy(&fn));
  EXPECT_EQ(R(&fn), "<fn>");
}

TEST(Values, SharedRecordsAndTexts) {
  EXPECT_EQ(val_bool(7), g_true);
  EXPECT_EQ(val_bool(-1), g_true);
  EXPECT_EQ(val_bool(0), g_false);
  EXPECT_EQ(g_true->b, 1);
  EXPECT_EQ(g_false->b, 0);
  EXPECT_EQ(g_nil->type, V_NIL);
  EXPECT_NE(val_num(1), val_num(1));  // nothing is pooled
  Val *a = val_str_n("ab", 1);
  EXPECT_EQ(a->len, 1);
  EXPECT_STREQ(a->s, "a");
  Val *z = val_str_n("a\0b", 3);
  EXPECT_EQ(z->len, 3);
  EXPECT_EQ(z->s[1], 0);
  EXPECT_EQ(z->s[2], 'b');
  EXPECT_EQ(z->s[3], 0);
  EXPECT_EQ(R(z), "a");  // rendering stops at the NUL
  Val *e = val_str("");
  EXPECT_EQ(e->len, 0);
  EXPECT_EQ(e->s[0], 0);
  char buf[] = "xyz";
  Val *c = val_str(buf);
  buf[0] = 'q';
  EXPECT_STREQ(c->s, "xyz");  // the value owns a copy
  EXPECT_EQ(c->len, 3);
}

TEST(Rendering, Numbers) {
  EXPECT_EQ(R(val_num(3)), "3");
  EXPECT_EQ(R(val_num(-42)), "-42");
  EXPECT_EQ(R(val_num(7.0)), "7");
  EXPECT_EQ(R(val_num(2.5)), "2.5");
  EXPECT_EQ(R(val_num(1.0 / 3)), "0.333333");
  EXPECT_EQ(R(val_num(0.1 + 0.2)), "0.3");
  EXPECT_EQ(R(val_num(1e15)), "1e+15");
  EXPECT_EQ(R(val_num(-1e15)), "-1e+15");
  EXPECT_EQ(R(val_num(999999999999999)), "999999999999999");
  EXPECT_EQ(R(val_num(-999999999999999)), "-999999999999999");
  EXPECT_EQ(R(val_num(123456789012345)), "123456789012345");
  EXPECT_EQ(R(val_num(1234567.5)), "1.23457e+06");
  EXPECT_EQ(R(val_num(100000.5)), "100000");
  EXPECT_EQ(R(val_num(0.00001)), "1e-05");
  EXPECT_EQ(R(val_num(0.0001)), "0.0001");
  EXPECT_EQ(R(val_num(-0.0)), "0");
  EXPECT_EQ(R(val_num(INFINITY)), "inf");
  EXPECT_EQ(R(val_num(-INFINITY)), "-inf");
  EXPECT_EQ(R(val_num(NAN)), "nan");
  EXPECT_EQ(R(val_num(1e300)), "1e+300");
  EXPECT_EQ(R(val_num(9.3e18)), "9.3e+18");  // beyond every 64-bit integer
  EXPECT_EQ(R(val_num(-2.5)), "-2.5");
}

TEST(Rendering, KindsAndNesting) {
  EXPECT_EQ(R(nullptr), "nil");
  EXPECT_EQ(R(g_nil), "nil");
  EXPECT_EQ(R(g_true), "tru");
  EXPECT_EQ(R(g_false), "fls");
  EXPECT_EQ(R(val_str("a \"b\"\n")), "a \"b\"\n");
  EXPECT_EQ(R(val_lst()), "[]");
  EXPECT_EQ(R(val_obj()), "{}");
  Val *one_empty = val_lst();
  lst_push(one_empty, val_str(""));
  EXPECT_EQ(R(one_empty), "[]");
  Val *inner = val_lst();
  lst_push(inner, val_str("a"));
  lst_push(inner, g_true);
  Val *outer = num_list({1});
  lst_push(outer, inner);
  EXPECT_EQ(R(outer), "[1, [a, tru]]");
  Val *o = val_obj();
  obj_set(o, "x", val_num(1));
  obj_set(o, "y", num_list({2}));
  obj_set(o, "z", val_obj());
  obj_set(o, "w", g_nil);
  EXPECT_EQ(R(o), "{x: 1, y: [2], z: {}, w: nil}");
  Val *l = val_lst();
  lst_push(l, o);
  lst_push(l, o);  // the same object twice is no cycle
  EXPECT_EQ(R(l), "[{x: 1, y: [2], z: {}, w: nil}, {x: 1, y: [2], z: {}, w: nil}]");
}

TEST(Rendering, SelfContainingValuesTerminate) {
  Val *l = num_list({1});
  lst_push(l, l);
  EXPECT_EQ(R(l), "[1, [...]]");
  EXPECT_EQ(R(l), "[1, [...]]");  // a second rendering starts afresh
  Val *o = val_obj();
  obj_set(o, "a", val_num(1));
  obj_set(o, "me", o);
  EXPECT_EQ(R(o), "{a: 1, me: {...}}");
  // A cycle through two values.
  Val *p = val_lst();
  Val *q = val_obj();
  lst_push(p, q);
  obj_set(q, "p", p);
  EXPECT_EQ(R(p), "[{p: [...]}]");
  EXPECT_EQ(R(q), "{p: [{...}]}");
}

TEST(Scopes, LookupAssignmentAndBinding) {
  const char *x = intern("x"), *y = intern("y"), *z = intern("z");
  Env *global = env_new(nullptr);
  Env *mid = env_new(global);
  Env *inner = env_new(mid);
  EXPECT_EQ(env_get(inner, x), nullptr);
  EXPECT_EQ(env_get(nullptr, x), nullptr);
  env_bind(global, x, val_num(1));
  env_bind(global, y, val_num(2));
  EXPECT_EQ(env_get(inner, x)->n, 1);  // found through two parents
  env_bind(mid, x, val_num(10));
  EXPECT_EQ(env_get(inner, x)->n, 10);  // the inner binding wins
  EXPECT_EQ(env_get(global, x)->n, 1);
  // env_set changes the nearest existing binding...
  env_set(inner, x, val_num(11));
  EXPECT_EQ(env_get(mid, x)->n, 11);
  EXPECT_EQ(env_get(global, x)->n, 1);
  EXPECT_EQ(inner->len, 0);
  env_set(inner, y, val_num(20));
  EXPECT_EQ(env_get(global, y)->n, 20);
  EXPECT_EQ(inner->len, 0);
  // ...and otherwise binds in the innermost scope, invisible outside.
  env_set(inner, z, val_num(30));
  EXPECT_EQ(inner->len, 1);
  EXPECT_EQ(env_get(inner, z)->n, 30);
  EXPECT_EQ(env_get(mid, z), nullptr);
  // env_bind binds locally even when an outer scope has the name.
  env_bind(inner, y, val_num(21));
  EXPECT_EQ(env_get(inner, y)->n, 21);
  EXPECT_EQ(env_get(global, y)->n, 20);
  // Binding a name twice replaces it in its first position.
  env_bind(inner, z, val_num(31));
  ASSERT_EQ(inner->len, 2);
  EXPECT_EQ(inner->keys[0], z);
  EXPECT_EQ(inner->vals[0]->n, 31);
  EXPECT_EQ(inner->keys[1], y);
  // A null value stops the search like any other.
  env_bind(mid, y, nullptr);
  Env *leaf = env_new(mid);
  EXPECT_EQ(env_get(leaf, y), nullptr);
}

TEST(Scopes, GrowthAndManyBindings) {
  Env *e = env_new(nullptr);
  std::vector<const char *> names;
  for (int i = 0; i < 100; i++) names.push_back(intern(("v" + std::to_string(i)).c_str()));
  for (int i = 0; i < 8; i++) env_bind(e, names[i], val_num(i));
  EXPECT_EQ(e->cap, 8);
  env_bind(e, names[8], val_num(8));
  EXPECT_EQ(e->cap, 16);
  for (int i = 9; i < 100; i++) env_bind(e, names[i], val_num(i));
  ASSERT_EQ(e->len, 100);
  for (int i = 0; i < 100; i++) {
    EXPECT_EQ(e->keys[i], names[i]);
    ASSERT_NE(env_get(e, names[i]), nullptr) << i;
    EXPECT_EQ(env_get(e, names[i])->n, i);
  }
  EXPECT_EQ(env_get(e, intern("v100")), nullptr);
  // Assignment from a child scope reaches a binding of the large scope.
  Env *child = env_new(e);
  for (int i = 0; i < 100; i += 3) env_set(child, names[i], val_num(-i));
  EXPECT_EQ(child->len, 0);
  EXPECT_EQ(e->len, 100);
  for (int i = 0; i < 100; i++) EXPECT_EQ(env_get(child, names[i])->n, i % 3 ? i : -i);
  // Scopes just below, at and just above the size where lookups change.
  for (int size = 20; size <= 34; size++) {
    Env *s = env_new(nullptr);
    for (int i = 0; i < size; i++) env_bind(s, names[i], val_num(i));
    env_bind(s, names[0], val_num(99));
    EXPECT_EQ(s->len, size);
    for (int i = 0; i < size; i++) EXPECT_EQ(env_get(s, names[i])->n, i ? i : 99) << size;
    EXPECT_EQ(env_get(s, names[size]), nullptr);
  }
}

TEST(Scopes, ReleasedScopeComesBackEmpty) {
  const char *a = intern("a");
  Env *parent = env_new(nullptr);
  env_bind(parent, a, val_num(1));
  Env *call = env_new(parent);
  for (int i = 0; i < 40; i++) env_bind(call, intern(("r" + std::to_string(i)).c_str()), val_num(i));
  env_release(call);
  Env *next = env_new(nullptr);
  EXPECT_EQ(next->len, 0);
  EXPECT_EQ(next->parent, nullptr);
  EXPECT_EQ(env_get(next, intern("r5")), nullptr);
  EXPECT_EQ(env_get(next, a), nullptr);
  env_bind(next, a, val_num(2));
  EXPECT_EQ(env_get(next, a)->n, 2);
  EXPECT_EQ(env_get(parent, a)->n, 1);
  // A captured scope is kept as it is.
  Env *kept = env_new(parent);
  env_bind(kept, intern("k"), val_num(3));
  kept->captured = 1;
  env_release(kept);
  EXPECT_EQ(env_get(kept, intern("k"))->n, 3);
  EXPECT_NE(env_new(nullptr), kept);
}

// Names made one after another take distinct mask bits, so a function's
// variables do not hide the globals it reads; the mask still only ever
// proves absence.
TEST(Scopes, ConsecutiveNamesTakeDistinctBits) {
  uint64_t seen = 0;
  for (int i = 0; i < 64; i++) {
    uint64_t bit = name_bit(intern(("fresh_name_" + std::to_string(i)).c_str()));
    EXPECT_EQ(seen & bit, 0u) << i;
    seen |= bit;
  }
  EXPECT_EQ(name_bit(intern("fresh_name_3")), name_bit(intern("fresh_name_3")));
  Env *g = env_new(nullptr);
  Env *f = env_new(g);
  const char *glob = intern("a_global");
  env_bind(g, glob, val_num(1));
  for (int i = 0; i < 100; i++) env_bind(f, intern(("local_" + std::to_string(i)).c_str()), val_num(i));
  int32_t depth = -1, slot = -1;
  Val **p = env_slot_cached(f, glob, &depth, &slot);
  ASSERT_NE(p, nullptr);
  EXPECT_EQ((*p)->n, 1);
  EXPECT_EQ(depth, 1);
}
