// orvex-min: the seed interpreter's entry point.
#include "driver.h"

int main(int argc, char **argv) { run_on_big_stack(orvex_main, argc, argv); }
