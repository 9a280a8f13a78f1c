// orvex: the user-facing program's commands, one file each.
#pragma once
#include <string>
#include <vector>

// Each returns the process's exit status.
int cmd_run(const std::string &file, const std::vector<std::string> &args);
int cmd_check(const std::vector<std::string> &files, bool follow);
int cmd_ast(const std::string &file);
int cmd_repl();
int cmd_help(const std::string &topic);

// The version line and the build's options, for --version.
const char *orvex_version();
