# Two commands to know: `make demo` and `make test`. The rest are their parts.
JOBS ?= $(shell nproc)
SOURCES = $(shell find include src sim tools tests fuzz bench examples -name '*.h' -o -name '*.cpp')
LINTED = $(shell find src -name '*.cpp')

# ThreadSanitizer wants a calm address space; where the system forbids setarch it usually works without.
STEADY := $(shell setarch -R true 2>/dev/null && echo setarch -R)

.PHONY: demo test test-driver test-fuzz fuzz bench format format-check lint clean deps build-% test-%

# Builds, and ends with a machine's sensors on the screen: this one's where it has a BMC and we are root, else the sample machine's.
demo:
	@scripts/install-deps.sh build
	@cmake --preset release >/dev/null
	@cmake --build --preset release --target programs -- -j $(JOBS)
	@scripts/demo.sh

# Everything that is checked, here and in CI.
test: deps format-check
	$(MAKE) build-clang
	$(MAKE) lint
	$(MAKE) test-release
	$(MAKE) test-asan
	$(MAKE) test-tsan
	$(MAKE) test-fuzz
	@scripts/test-summary.sh release asan tsan

# The real Linux IPMI driver, in an emulated machine.
test-driver: deps build-release
	ctest --preset release --label-regex driver --verbose

# Hostile bytes for every reader, FUZZ_SECONDS for each target; and a short run of the same that is always the same.
FUZZ_SECONDS ?= 60
fuzz: deps build-fuzz
	@scripts/run-fuzz.sh $(JOBS) build/fuzz/corpus -max_total_time=$(FUZZ_SECONDS)

test-fuzz: build-fuzz
	@rm -rf build/fuzz/corpus-of-test
	@scripts/run-fuzz.sh $(JOBS) build/fuzz/corpus-of-test -runs=1000 -seed=1

bench:
	@scripts/install-deps.sh build
	cmake --preset bench >/dev/null
	cmake --build --preset bench -- -j $(JOBS)
	build/bench/bin/trx-bench

deps:
	@scripts/install-deps.sh

build-%:
	@cmake --preset $* >/dev/null
	@cmake --build --preset $* -- -j $(JOBS)

test-%: build-%
	@scripts/run-ctest.sh $* $(JOBS) $(STEADY)

format:
	@clang-format-14 -i $(SOURCES)

format-check:
	@clang-format-14 --dry-run --Werror $(SOURCES)

# clang-tidy over the library's own sources, with the clang build's flags.
lint:
	@cmake --preset clang >/dev/null
	@printf '%s\n' $(LINTED) | xargs -P $(JOBS) -n 1 clang-tidy-14 --quiet -p build/clang

clean:
	rm -rf build
