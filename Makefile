# Thin wrapper over CMake: make (release build), make run, make test,
# make install and make uninstall (PREFIX, default /usr/local; DESTDIR).
BUILD ?= build
JOBS ?= $(shell nproc 2>/dev/null || echo 2)
PREFIX ?= /usr/local

.PHONY: all configure run test fuzz clean deps install uninstall

all: configure
	cmake --build $(BUILD) -j $(JOBS)

configure: deps
	@test -f $(BUILD)/CMakeCache.txt || cmake -S . -B $(BUILD) -DCMAKE_BUILD_TYPE=Release

# What the build needs beyond a bare compiler, installed when missing.
deps:
	@command -v cmake >/dev/null && command -v python3 >/dev/null && command -v groff >/dev/null && command -v man >/dev/null && \
	  test -f /usr/include/gtest/gtest.h && test -f /usr/include/CLI/CLI.hpp && \
	  test -f /usr/include/editline/readline.h && test -f /usr/include/gc/gc.h || \
	  { echo "installing build dependencies"; apt-get update -qq && \
	    apt-get install -y -qq cmake g++ make python3 libgtest-dev libcli11-dev libedit-dev libgc-dev \
	      groff-base man-db >/dev/null; }

run: all
	./$(BUILD)/orvex-min run examples/demo.orv

test: all
	cd $(BUILD) && ctest --output-on-failure -j $(JOBS)

# The files are those of the install rules in seed/CMakeLists.txt.
install: all
	DESTDIR=$(DESTDIR) cmake --install $(BUILD) --prefix $(PREFIX)

uninstall:
	rm -f $(DESTDIR)$(PREFIX)/bin/orvex-min $(DESTDIR)$(PREFIX)/bin/orvex \
	  $(DESTDIR)$(PREFIX)/share/man/man1/orvex-min.1 $(DESTDIR)$(PREFIX)/share/man/man1/orvex.1 \
	  $(DESTDIR)$(PREFIX)/share/man/man7/orvex.7
	rm -rf $(DESTDIR)$(PREFIX)/share/orvex

# libFuzzer harnesses (clang): build, then fuzz each for FUZZ_SECONDS.
fuzz:
	$(MAKE) -C fuzz run

clean:
	rm -rf $(BUILD)
