// orvex --version: the version and what this build was made with.
#include <string>

#include "build_info.h"
#include "commands.h"

// The collector is whatever the core library links: Boehm's libgc when
// that is among its libraries, else the arena that frees nothing until exit.
static std::string collector() {
  std::string libs = std::string(" ") + ORVEX_BUILD_LIBS + " ";
  for (const char *gc : {" gc ", "libgc", "bdw", "BDW", "gccpp"})
    if (libs.find(gc) != std::string::npos) return "Boehm-Demers-Weiser (libgc)";
  return "none (arena, released at exit)";
}

std::string orvex_version() {
  std::string defs = ORVEX_BUILD_DEFINES;
  return std::string("orvex ") + ORVEX_VERSION + "\n" +
         "build:      " + ORVEX_BUILD_TYPE + (ORVEX_BUILD_LTO ? ", link-time optimisation" : "") + "\n" +
         "collector:  " + collector() + "\n" +
         "sanitizers: " + (ORVEX_BUILD_SANITIZE ? "address, undefined" : "none") + "\n" +
         "defines:    " + (defs.empty() ? "none" : defs) + "\n" +
         "libraries:  " + ORVEX_BUILD_LIBS;
}
