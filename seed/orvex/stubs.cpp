// Commands still to be written.
#include <cstdio>

#include "commands.h"

static int todo(const char *what) {
  fprintf(stderr, "orvex: %s: not available yet\n", what);
  return 2;
}

int cmd_repl() { return todo("repl"); }
int cmd_help(const std::string &) { return todo("help"); }
const char *orvex_version() { return "orvex 0.1"; }
