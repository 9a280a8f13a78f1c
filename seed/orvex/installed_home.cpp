// The home of an installed orvex: the demo library beside the program.
#include <climits>
#include <cstdlib>
#include <cstring>
#include <sys/stat.h>
#include <unistd.h>

#include "../driver/driver.h"
#include "commands.h"

// Found from the program's own path rather than compiled in, so a tree
// installed under any prefix (or staged with DESTDIR and moved) finds it.
void use_installed_home() {
  if (getenv("ORVEX_HOME")) return;
  char exe[PATH_MAX];
  ssize_t n = readlink("/proc/self/exe", exe, sizeof exe - 1);
  if (n <= 0) return;
  exe[n] = 0;
  for (int up = 0; up < 2; up++) {  // PREFIX/bin/orvex -> PREFIX
    char *slash = strrchr(exe, '/');
    if (!slash) return;
    *slash = 0;
  }
  char home[PATH_MAX_LEN + 1];
  snprintf(home, sizeof home, "%s/%s", exe, ORVEX_HOME_FROM_PREFIX);
  struct stat st;
  if (stat(home, &st) == 0 && S_ISDIR(st.st_mode)) path_copy(g_orvex_home, home);
}
