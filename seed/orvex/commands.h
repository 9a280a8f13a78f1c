// orvex: the user-facing program's commands, one file each.
#pragma once
#include <string>
#include <vector>

namespace CLI {
class App;
}

// Each returns the process's exit status.
int cmd_run(const std::string &file, const std::vector<std::string> &args);
int cmd_check(const std::vector<std::string> &files, bool follow);
int cmd_ast(const std::string &file);
int cmd_repl();
// app: the command line, whose commands help lists.
int cmd_help(const std::string &topic, CLI::App *app);

// The version line and the build's options, for --version.
std::string orvex_version();
// With ORVEX_HOME unset, the library installed beside the program
// (PREFIX/share/orvex for PREFIX/bin/orvex) is the home, when it is there.
void use_installed_home();
