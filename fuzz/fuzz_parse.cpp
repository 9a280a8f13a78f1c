// Fuzz harness: the parser alone, on any bytes.
#include <cstdint>
#include <string>

#include "driver/sandbox.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
  std::string text((const char *)data, size);  // the parser reads up to the first NUL
  sandbox_parse(text.c_str());
  return 0;
}
