// orvex: the command line of the user-facing program.
#include <CLI/CLI.hpp>
#include <cstdio>
#include <sstream>

#include "../driver/driver.h"
#include "commands.h"

// Usage errors name the program and point at the help of the command that
// was being read.
static std::string usage_error(const CLI::App *app, const CLI::Error &e) {
  auto subs = app->get_subcommands();
  std::string cmd = subs.empty() ? "orvex" : "orvex " + subs.back()->get_name();
  std::string what = e.what();
  if (subs.empty() && e.get_name() == "RequiredError")
    what = app->remaining().empty()             ? "a command is required"
           : app->remaining()[0].rfind("-", 0) == 0 ? "unknown option: " + app->remaining()[0]
                                                    : "unknown command: " + app->remaining()[0];
  return "orvex: " + what + "\nRun '" + cmd + " --help' for more information.\n";
}

static int orvex_entry(int argc, char **argv) {
  CLI::App app{"orvex: run, check and explore Orvex programs", "orvex"};
  app.set_version_flag("--version", orvex_version());
  app.require_subcommand(1);
  app.failure_message(usage_error);
  app.footer("orvex help lists the help topics; the manual pages are orvex(1) and orvex(7).");

  std::string file;
  std::vector<std::string> args;
  auto *run = app.add_subcommand("run", "Run a program: orvex run FILE [ARGS...]");
  run->add_option("file", file, "The program")->required();
  run->add_option("args", args, "Its arguments, in __sys_args after the file");
  run->prefix_command();

  std::vector<std::string> files;
  bool follow = false;
  auto *check = app.add_subcommand("check", "Point at every place the reader recovered or guessed");
  check->add_option("files", files, "Programs to check")->required();
  check->add_flag("--follow", follow, "Also check the modules they use");

  auto *ast = app.add_subcommand("ast", "Print the tree as the reader understood it");
  ast->add_option("file", file, "The program")->required();

  app.add_subcommand("repl", "Read, evaluate and print, line by line (Ctrl-D ends)");

  std::string topic;
  auto *help = app.add_subcommand("help", "Commands, builtins and syntax: orvex help [TOPIC]");
  help->add_option("topic", topic, "syntax, builtins, a family, a builtin or a command");

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
  use_installed_home();
  if (*run) return cmd_run(file, args);
  if (*check) return cmd_check(files, follow);
  if (*ast) return cmd_ast(file);
  if (*help) return cmd_help(topic, &app);
  return cmd_repl();
}

int main(int argc, char **argv) {
  g_prog_name = "orvex";
  run_on_big_stack(orvex_entry, argc, argv);
}
