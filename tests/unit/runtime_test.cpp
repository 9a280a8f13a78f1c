// Scopes and objects at the sizes where their lookups change, and the
// scope-mask bits: what a program cannot observe but relies on.
#include <gtest/gtest.h>

#include <cstring>
#include <string>
#include <vector>

#include "runtime/runtime.h"

#ifdef ORVEX_GC
#include <gc/gc.h>
#endif

// The collector is set up as the programs set it up.
static const bool g_gc_ready = (gc_init(), true);

static const char *name(const char *prefix, int i) { return intern((prefix + std::to_string(i)).c_str()); }

// Just below, at and just above the size that builds a hash index, every key
// is found, a replaced one keeps its place, and a missing one stays missing.
TEST(Runtime, LookupsAcrossTheIndexThreshold) {
  for (int size = 14; size <= 34; size++) {
    Val *o = val_obj();
    Env *e = env_new(nullptr);
    for (int i = 0; i < size; i++) {
      obj_set_sym(o, name("k", i), val_num(i));
      env_bind(e, name("k", i), val_num(i));
    }
    obj_set_sym(o, name("k", 0), val_num(99));
    env_bind(e, name("k", 0), val_num(99));
    ASSERT_EQ(o->obj->len, size);
    ASSERT_EQ(e->len, size);
    for (int i = 0; i < size; i++) {
      EXPECT_EQ(o->obj->keys[i], name("k", i)) << size;
      EXPECT_EQ(obj_get_sym(o, name("k", i))->n, i ? i : 99) << size;
      EXPECT_EQ(env_get(e, name("k", i))->n, i ? i : 99) << size;
    }
    EXPECT_EQ(obj_get_sym(o, name("k", size)), g_nil);
    EXPECT_EQ(env_get(e, name("k", size)), nullptr);
  }
}

// Names made one after another take distinct mask bits, so a function's
// many variables do not hide the globals it reads from the fast path.
TEST(Runtime, ConsecutiveNamesTakeDistinctBits) {
  uint64_t seen = 0;
  for (int i = 0; i < 64; i++) {
    uint64_t bit = name_bit(name("fresh_name_", i));
    EXPECT_EQ(seen & bit, 0u) << i;
    seen |= bit;
  }
  Env *g = env_new(nullptr);
  Env *f = env_new(g);
  const char *glob = intern("a_global");
  env_bind(g, glob, val_num(1));
  for (int i = 0; i < 100; i++) env_bind(f, name("local_", i), val_num(i));
  int32_t depth = -1, slot = -1;
  Val **p = env_slot_cached(f, glob, &depth, &slot);
  ASSERT_NE(p, nullptr);
  EXPECT_EQ((*p)->n, 1);
  EXPECT_EQ(depth, 1);
}

#ifdef ORVEX_GC
// A key made at run time goes when no object holds it, without hiding the
// names after it in the table; one the tree names as well stays until exit.
TEST(Runtime, RunTimeKeysLiveWhileHeld) {
  // hidden from the collector: only the table knows where the name is
  uintptr_t named = ~(uintptr_t)intern_key("tree_names_me_too");
  EXPECT_EQ(~(uintptr_t)intern("tree_names_me_too"), named);
  for (int i = 0; i < 1000; i++) intern_key(("dropped_" + std::to_string(i)).c_str());
  Val *o = val_obj();
  obj_set(o, "held", val_num(1));
  GC_gcollect();
  for (int i = 0; i < 100000; i++) memset(gc_atomic(16), 'x', 16);  // what was freed is reused
  int survivors = 0;
  for (int i = 0; i < 1000; i++) survivors += intern_find(("dropped_" + std::to_string(i)).c_str()) != nullptr;
  EXPECT_LT(survivors, 10);
  EXPECT_EQ((uintptr_t)intern("tree_names_me_too"), ~named);
  EXPECT_STREQ(intern_find("tree_names_me_too"), "tree_names_me_too");
  EXPECT_EQ(obj_get(o, "held")->n, 1);
}
#endif
