// A throw-away interpreter state for fuzzing: inert host builtins, no
// module files, output discarded, and budgets on steps and memory.
#pragma once
#if defined(ORVEX_LAYER) && ORVEX_LAYER < 5
#error "sandbox.h is above this layer"
#endif

// Parses text (up to its first NUL) and discards the tree.
void sandbox_parse(const char *text);
// Runs text as a program in a fresh global scope, then releases everything.
void sandbox_run(const char *text);
