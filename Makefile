# Thin front end over CMake. `make demo` and `make test` are the two commands of the README.
BUILD      ?= build
ASAN_BUILD ?= build-asan
TSAN_BUILD ?= build-tsan
BENCH_BUILD ?= build-bench
M32_BUILD  ?= build-m32
RELEASE_BUILD ?= build-release
PACKAGE_BUILD ?= build-package
FUZZ_BUILD ?= build-fuzz
FUZZ_SECONDS ?= 60
JOBS       ?= $(shell nproc 2>/dev/null || echo 2)
PREFIX     ?= /usr/local

.PHONY: all configure build demo test check check-asan check-tsan check-fuzz check-m32 bench fuzz install \
  package test-install clean format

all: build

# The tests are configured when GoogleTest is found; without it configuring says so and goes on.
configure:
	cmake -S . -B $(BUILD) -DCMAKE_BUILD_TYPE=RelWithDebInfo -DKOLIB_BENCH=OFF >/dev/null

build: configure
	cmake --build $(BUILD) -j $(JOBS)

# The demo builds the library, its catalogue and kotool only: not the tests.
demo: configure
	cmake --build $(BUILD) -j $(JOBS) --target kotool
	@sh examples/demo.sh $(BUILD)

# --no-tests=error: a build without GoogleTest fails here instead of passing with no tests.
test: build
	cd $(BUILD) && ctest --output-on-failure --no-tests=error -j $(JOBS)

# AddressSanitizer and UndefinedBehaviorSanitizer over every test, then ThreadSanitizer.
check: check-asan check-tsan check-fuzz

check-asan:
	cmake -S . -B $(ASAN_BUILD) -DCMAKE_BUILD_TYPE=Debug -DKOLIB_BENCH=OFF \
	  -DKOLIB_SANITIZE=address,undefined >/dev/null
	cmake --build $(ASAN_BUILD) -j $(JOBS)
	cd $(ASAN_BUILD) && ASAN_OPTIONS=detect_leaks=1 UBSAN_OPTIONS=print_stacktrace=1 \
	  ctest --output-on-failure -j $(JOBS)

check-tsan:
	cmake -S . -B $(TSAN_BUILD) -DCMAKE_BUILD_TYPE=Debug -DKOLIB_BENCH=OFF \
	  -DKOLIB_SANITIZE=thread >/dev/null
	cmake --build $(TSAN_BUILD) -j $(JOBS)
	cd $(TSAN_BUILD) && TSAN_OPTIONS="halt_on_error=1 second_deadlock_stack=1" \
	  ctest --output-on-failure -j $(JOBS)

# Every test in a 32-bit build (needs g++-multilib; GoogleTest is built from /usr/src).
check-m32:
	cmake -S /usr/src/googletest -B $(M32_BUILD)/googletest -DCMAKE_CXX_FLAGS=-m32 \
	  -DCMAKE_C_FLAGS=-m32 -DCMAKE_INSTALL_PREFIX=$(CURDIR)/$(M32_BUILD)/gtest >/dev/null
	cmake --build $(M32_BUILD)/googletest -j $(JOBS)
	cmake --install $(M32_BUILD)/googletest >/dev/null
	cmake -S . -B $(M32_BUILD) -DCMAKE_BUILD_TYPE=Debug -DKOLIB_BENCH=OFF \
	  -DCMAKE_PREFIX_PATH=$(CURDIR)/$(M32_BUILD)/gtest -DCMAKE_CXX_FLAGS=-m32 \
	  -DCMAKE_C_FLAGS=-m32 -DCMAKE_SHARED_LINKER_FLAGS=-m32 -DCMAKE_EXE_LINKER_FLAGS=-m32 >/dev/null
	cmake --build $(M32_BUILD) -j $(JOBS)
	cd $(M32_BUILD) && ctest --output-on-failure -j $(JOBS)

bench:
	cmake -S . -B $(BENCH_BUILD) -DCMAKE_BUILD_TYPE=Release -DKOLIB_TESTS=OFF >/dev/null
	cmake --build $(BENCH_BUILD) -j $(JOBS)
	@for b in $(BENCH_BUILD)/bin/bench_*; do echo "== $$b"; LD_LIBRARY_PATH=$(BENCH_BUILD)/lib $$b; done

# A release build of its own: no tests, no benchmarks, no allocation-failure hooks exported.
install:
	cmake -S . -B $(RELEASE_BUILD) -DCMAKE_BUILD_TYPE=Release -DKOLIB_TESTS=OFF \
	  -DKOLIB_BENCH=OFF >/dev/null
	cmake --build $(RELEASE_BUILD) -j $(JOBS)
	cmake --install $(RELEASE_BUILD) --prefix $(PREFIX)

# A Debian package (CPack) of a release build made for the prefix /usr.
package:
	cmake -S . -B $(PACKAGE_BUILD) -DCMAKE_BUILD_TYPE=Release -DKOLIB_TESTS=OFF \
	  -DKOLIB_BENCH=OFF -DCMAKE_INSTALL_PREFIX=/usr >/dev/null
	cmake --build $(PACKAGE_BUILD) -j $(JOBS)
	cd $(PACKAGE_BUILD) && cpack
	@ls $(PACKAGE_BUILD)/*.deb

# Install into a temporary prefix, build and run the clients of examples/client against it;
# as root with dpkg, also the Debian package.
test-install:
	bash tests/install/run.sh $(RELEASE_BUILD) $(PACKAGE_BUILD) $(JOBS)

# A short fuzzing pass over every target, part of `make check` (clang).
FUZZ_CHECK_SECONDS ?= 20
check-fuzz:
	$(MAKE) fuzz FUZZ_SECONDS=$(FUZZ_CHECK_SECONDS)

# The libFuzzer targets of fuzz/ (clang), each run for FUZZ_SECONDS over its seed corpus.
fuzz:
	CC=clang CXX=clang++ cmake -S . -B $(FUZZ_BUILD) -DCMAKE_BUILD_TYPE=RelWithDebInfo \
	  -DKOLIB_TESTS=OFF -DKOLIB_BENCH=OFF -DKOLIB_FUZZ=ON -DFUZZ_SECONDS=$(FUZZ_SECONDS) >/dev/null
	cmake --build $(FUZZ_BUILD) -j $(JOBS) --target fuzz

format:
	find include src tests tools bench examples fuzz -name '*.cpp' -o -name '*.h' | xargs clang-format -i

clean:
	rm -rf $(BUILD) $(ASAN_BUILD) $(TSAN_BUILD) $(BENCH_BUILD) $(M32_BUILD) $(RELEASE_BUILD) \
	  $(FUZZ_BUILD) $(PACKAGE_BUILD)
