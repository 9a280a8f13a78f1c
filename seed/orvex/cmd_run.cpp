// orvex run: a program run as orvex-min runs it.
#include <cstdio>

#include "../driver/driver.h"
#include "commands.h"

int cmd_run(const std::string &file, const std::vector<std::string> &args) {
  std::vector<char *> argv = {(char *)"orvex", (char *)"run", (char *)file.c_str()};
  for (const std::string &a : args) argv.push_back((char *)a.c_str());
  argv.push_back(nullptr);
  return orvex_main((int)argv.size() - 1, argv.data());
}
