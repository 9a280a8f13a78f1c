// The evaluator's hooks into the layers above it, set by a driver at start-up.
#include "eval.h"

EvalHooks g_eval_hooks;
