# Thin wrapper over CMake: make (release build), make run, make test.
BUILD ?= build
JOBS ?= $(shell nproc 2>/dev/null || echo 2)

.PHONY: all configure run test fuzz clean deps

all: configure
	cmake --build $(BUILD) -j $(JOBS)

configure: deps
	@test -f $(BUILD)/CMakeCache.txt || cmake -S . -B $(BUILD) -DCMAKE_BUILD_TYPE=Release

# What the build needs beyond a bare compiler, installed when missing.
deps:
	@command -v cmake >/dev/null && command -v python3 >/dev/null && \
	  test -f /usr/include/gtest/gtest.h && test -f /usr/include/CLI/CLI.hpp && test -f /usr/include/gc/gc.h || \
	  { echo "installing build dependencies"; apt-get update -qq && \
	    apt-get install -y -qq cmake g++ make python3 libgtest-dev libcli11-dev libgc-dev >/dev/null; }

run: all
	./$(BUILD)/orvex-min run examples/demo.orv

test: all
	cd $(BUILD) && ctest --output-on-failure -j $(JOBS)

# libFuzzer harnesses (clang): build, then fuzz each for FUZZ_SECONDS.
fuzz:
	$(MAKE) -C fuzz run

clean:
	rm -rf $(BUILD)
