// placeholder
#include "builtins.h"

const BuiltinRow list_math_builtins[] = {
    {nullptr, 0, 0, nullptr},
};
