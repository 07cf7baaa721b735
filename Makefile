# The front door over CMake. `git` and `make` are all that must be there: each target installs the
# Debian packages it needs first (scripts/install-packages.sh skips what is there), and, where Node.js
# is at hand, the independent client of tests/interop.

JOBS ?= $(shell nproc)
# The slow ones wait more than they work.
TEST_JOBS ?= $(shell expr $(JOBS) + 1)

.PHONY: build check soak demo bench fuzz asan clang packages clean

build: packages
	cmake --preset dev > build/configure.log 2>&1 || { cat build/configure.log; exit 1; }
	cmake --build --preset dev -j $(JOBS)

check: build
	ctest --preset dev -j $(TEST_JOBS)

# The tests that take too long for every day.
soak: build
	ctest --preset soak -j $(JOBS)

demo: packages
	cmake --preset dev > build/configure.log 2>&1 || { cat build/configure.log; exit 1; }
	cmake --build --preset dev -j $(JOBS) --target tarny TarnyOutlookEngine mailboxd
	scripts/demo.sh

bench: packages
	cmake --preset release
	cmake --build --preset release -j $(JOBS)
	scripts/bench.sh

# SECONDS_EACH=600 runs each target for ten minutes; TARGETS="AFuzz BFuzz" picks some.
fuzz: packages
	cmake --preset fuzz
	cmake --build --preset fuzz -j $(JOBS)
	scripts/fuzz.sh

asan: packages
	cmake --preset asan
	cmake --build --preset asan -j $(JOBS)
	ctest --preset asan -j $(TEST_JOBS)

clang: packages
	cmake --preset clang
	cmake --build --preset clang -j $(JOBS)

packages:
	@mkdir -p build
	@scripts/install-packages.sh
	@scripts/install-interop.sh

clean:
	rm -rf build
