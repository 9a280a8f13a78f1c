// orvex run: a program run as orvex-min runs it, its errors located.
#include <cstdio>

#include "../driver/driver.h"
#include "commands.h"
#include "located.h"

struct RunArgs {
  std::vector<char *> argv;
  int status;
};

int cmd_run(const std::string &file, const std::vector<std::string> &args) {
  // orvex-min would say so under its own name
  char *text = read_file(file.c_str());
  if (!text) {
    fprintf(stderr, "orvex: cannot open %s\n", file.c_str());
    return 1;
  }
  xfree(text);
  RunArgs run;
  run.argv = {(char *)"orvex", (char *)"run", (char *)file.c_str()};
  for (const std::string &a : args) run.argv.push_back((char *)a.c_str());
  run.argv.push_back(nullptr);
  run.status = 1;
  located_init();
  bool ok = run_located([](void *p) {
    RunArgs *r = (RunArgs *)p;
    r->status = orvex_main((int)r->argv.size() - 1, r->argv.data());
  }, &run);
  return ok ? run.status : 1;
}
