// Unit test: orvex help has an entry for every builtin the dispatcher knows,
// and each entry's call form takes the counts the dispatcher accepts.
#include <gtest/gtest.h>

#include <cctype>
#include <cstring>
#include <string>

#include "builtins/builtins.h"

// Counts named by a call form: words outside brackets are required, words
// inside are optional, "..." takes any number more (max -1).
static void sig_counts(const char *sig, int *min, int *max) {
  int depth = 0, required = 0, optional = 0;
  bool any = false, in_word = false;
  for (const char *p = strchr(sig, '('); *p && *p != ')'; p++) {
    if (*p == '[') depth++;
    if (*p == ']') depth--;
    if (strncmp(p, "...", 3) == 0) any = true;
    bool word = isalnum((unsigned char)*p) || *p == '_';
    if (word && !in_word) (depth ? optional : required)++;
    in_word = word;
  }
  *min = required;
  *max = any ? -1 : required + optional;
}

TEST(Help, EveryDispatcherRowHasAnEntryWithItsCounts) {
  int rows = 0;
  for (const BuiltinRow *const *t = builtin_tables; *t; t++)
    for (const BuiltinRow *r = *t; r->name; r++, rows++) {
      const BuiltinDoc *d = builtin_doc(r->name);
      ASSERT_NE(d, nullptr) << r->name << " has no help entry";
      int min, max;
      sig_counts(d->sig, &min, &max);
      EXPECT_EQ(min, r->min_args) << d->sig;
      EXPECT_EQ(max, r->max_args) << d->sig;
      EXPECT_TRUE(d->result && *d->result) << d->sig;
    }
  int docs = 0;
  for (const BuiltinDoc *d = builtin_docs; d->sig; d++, docs++) {
    bool known = false;
    for (const char *const *f = builtin_families; *f; f++) known |= strcmp(*f, d->family) == 0;
    EXPECT_TRUE(known) << d->sig << " has family " << d->family;
  }
  EXPECT_EQ(docs, rows) << "an entry names no builtin, or one is listed twice";
}
