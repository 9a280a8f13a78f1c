// Commands still to be written.
#include <cstdio>

#include "commands.h"

static int todo(const char *what) {
  fprintf(stderr, "orvex: %s: not available yet\n", what);
  return 2;
}

int cmd_check(const std::vector<std::string> &, bool) { return todo("check"); }
int cmd_ast(const std::string &) { return todo("ast"); }
