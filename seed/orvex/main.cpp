// orvex: the command line of the user-facing program.
#include <CLI/CLI.hpp>
#include <cstdio>
#include <sstream>

#include "../driver/driver.h"
#include "commands.h"

static int orvex_entry(int argc, char **argv) {
  CLI::App app{"orvex: run, check and explore Orvex programs", "orvex"};
  app.set_version_flag("--version", orvex_version());
  app.require_subcommand(1);

  std::string file;
  std::vector<std::string> args;
  auto *run = app.add_subcommand("run", "Run an Orvex program");
  run->add_option("file", file, "The program")->required();
  run->add_option("args", args, "Its arguments");
  run->prefix_command();

  std::vector<std::string> files;
  bool follow = false;
  auto *check = app.add_subcommand("check", "Point at every place the reader recovered or guessed");
  check->add_option("files", files, "Programs to check")->required();
  check->add_flag("--follow", follow, "Also check the modules they use");

  auto *ast = app.add_subcommand("ast", "Print the tree as the reader understood it");
  ast->add_option("file", file, "The program")->required();

  auto *repl = app.add_subcommand("repl", "Read, evaluate and print, line by line");

  std::string topic;
  auto *help = app.add_subcommand("help", "Commands, builtins and syntax");
  help->add_option("topic", topic, "builtins, syntax, a family or a builtin");

  try {
    app.parse(argc, argv);
  } catch (const CLI::ParseError &e) {
    // help and version to standard output, usage errors to standard error
    std::ostringstream out, err;
    int status = app.exit(e, out, err);
    out_write(out.str().data(), out.str().size());
    fputs(err.str().c_str(), stderr);
    return status == 0 ? 0 : 2;
  }
  if (*run) return cmd_run(file, args);
  if (*check) return cmd_check(files, follow);
  if (*ast) return cmd_ast(file);
  if (*repl) return cmd_repl();
  return cmd_help(topic);
}

int main(int argc, char **argv) {
  g_prog_name = "orvex";
  run_on_big_stack(orvex_entry, argc, argv);
}
