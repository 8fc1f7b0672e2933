# The front door: every target sets the machine up, configures, builds and runs by itself.

BUILD ?= build
CMAKE_FLAGS ?=
CONFIGURE = cmake -S . -G Ninja $(CMAKE_FLAGS) $(if $(shell command -v ccache),-DCMAKE_CXX_COMPILER_LAUNCHER=ccache)
CTEST = ctest --output-on-failure --no-tests=error -j$(shell nproc)

.PHONY: all build test demo sanitize fuzz bench lint format windows-test install clean

all: build

build:
	@tools/setup.sh build
	@$(CONFIGURE) -B $(BUILD)
	@cmake --build $(BUILD)

test: build
	@$(CTEST) --test-dir $(BUILD)

# What runs, without the tests.
PROGRAM = cmake --build $(BUILD) --target kvsync kvtEUD EUMAPI32 bundles completions

demo:
	@tools/setup.sh build
	@$(CONFIGURE) -B $(BUILD)
	@$(PROGRAM)
	@BUILD=$(BUILD) tools/demo.sh

# The whole suite under AddressSanitizer and UndefinedBehaviorSanitizer.
sanitize:
	@tools/setup.sh build
	@$(CONFIGURE) -B $(BUILD)-sanitize -DKV_SANITIZE=ON
	@cmake --build $(BUILD)-sanitize
	@$(CTEST) --test-dir $(BUILD)-sanitize

# Each fuzz target for FUZZ_SECONDS, starting from its corpus.
fuzz:
	@tools/setup.sh build fuzz
	@CC=clang CXX=clang++ $(CONFIGURE) -B $(BUILD)-fuzz -DKV_FUZZ=ON -DKV_TESTS=OFF
	@tools/fuzz.sh $(BUILD)-fuzz

bench:
	@tools/setup.sh build
	@$(CONFIGURE) -B $(BUILD)-bench -DCMAKE_BUILD_TYPE=Release -DKV_BENCHMARKS=ON -DKV_TESTS=OFF
	@cmake --build $(BUILD)-bench
	@tools/bench.sh $(BUILD)-bench

lint:
	@tools/setup.sh build lint
	@$(CONFIGURE) -B $(BUILD)
	@BUILD=$(BUILD) tools/lint.sh

format:
	@git ls-files '*.cpp' '*.h' | xargs clang-format -i

# The same suite, built for Windows (x86-64) and run under Wine.
windows-test:
	@tools/setup.sh build windows
	@tools/test_windows.sh

# `make install PREFIX=/usr/local DESTDIR=...`
PREFIX ?= /usr/local
install:
	@tools/setup.sh build
	@$(CONFIGURE) -B $(BUILD)
	@$(PROGRAM)
	@cmake --install $(BUILD) --prefix $(PREFIX)

clean:
	@rm -rf $(BUILD) $(BUILD)-sanitize $(BUILD)-fuzz $(BUILD)-bench $(BUILD)-windows
