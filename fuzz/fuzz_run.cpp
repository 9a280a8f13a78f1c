// Fuzz harness: whole programs, with inert host builtins and step and memory budgets.
#include <cstdint>
#include <string>

#include "driver/sandbox.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
  std::string text((const char *)data, size);
  sandbox_run(text.c_str());
  return 0;
}
