# SPDX-License-Identifier: Apache-2.0
# Commands to know: `make demo`, `make check` before a commit, and `make test`. The rest are their parts.
JOBS ?= $(shell nproc)
SOURCES = $(shell find include src sim tools tests fuzz bench examples -name '*.h' -o -name '*.cpp')

# ThreadSanitizer wants a calm address space; where the system forbids setarch it usually works without.
STEADY := $(shell setarch -R true 2>/dev/null && echo setarch -R)

.PHONY: demo check test test-driver test-fuzz fuzz bench format format-check lint alone clean deps fuzzers build-% ctest-% test-%

# Builds, and ends with a machine's sensors on the screen: this one's where it has a BMC and we are root, else the sample machine's.
demo:
	@scripts/install-deps.sh build
	@cmake --preset release >/dev/null
	@cmake --build --preset release --target programs -- -j $(JOBS)
	@scripts/demo.sh

# Before each commit: the release build and what of its tests is quick. The loops over faults, the emulated machine and the captures
# of real servers are left to `make test`.
check: deps format-check build-release
	@$(STEADY) scripts/run-ctest.sh release $(JOBS) --label-exclude 'faults|driver|captures'

# Everything that is checked, here and in CI.
test: deps
	@rm -f build/steps
	@scripts/step.sh "format" $(MAKE) format-check
	@scripts/step.sh "lint" $(MAKE) lint
	@scripts/step.sh "release: build" $(MAKE) build-release
	@scripts/step.sh "release: tests" $(MAKE) ctest-release
	@scripts/step.sh "asan: build" $(MAKE) build-asan
	@scripts/step.sh "asan: tests" $(MAKE) ctest-asan
	@scripts/step.sh "fuzz targets" $(MAKE) test-fuzz
	@scripts/step.sh "tsan: build" $(MAKE) build-tsan
	@scripts/step.sh "tsan: tests" $(MAKE) ctest-tsan
	@scripts/test-summary.sh release asan tsan

# The real Linux IPMI driver, in an emulated machine.
test-driver: deps build-release
	ctest --preset release --label-regex driver --verbose

# Hostile bytes for every reader, FUZZ_SECONDS for each target; and a short run of the same that is always the same.
FUZZ_SECONDS ?= 60
fuzz: deps fuzzers
	@scripts/run-fuzz.sh $(JOBS) build/fuzz/corpus -max_total_time=$(FUZZ_SECONDS)

test-fuzz: fuzzers
	@rm -rf build/fuzz/corpus-of-test
	@scripts/run-fuzz.sh $(JOBS) build/fuzz/corpus-of-test -runs=400 -seed=1

fuzzers:
	@cmake --preset asan >/dev/null
	@cmake --build --preset asan --target fuzzers -- -j $(JOBS)

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

ctest-%:
	@$(STEADY) scripts/run-ctest.sh $* $(JOBS)

test-%: build-%
	@$(MAKE) ctest-$*

format:
	@clang-format-14 -i $(SOURCES)

format-check:
	@clang-format-14 --dry-run --Werror $(SOURCES)

# clang-tidy and clang's thread-safety analysis over the library's own sources.
lint:
	@cmake --preset lint >/dev/null
	@scripts/lint.sh build/lint $(JOBS)

# Each file of the programs compiled by itself, which the builds, that compile several as one, do not. Not part of the gate.
alone: deps
	@cmake --preset lint >/dev/null
	@scripts/compile-alone.py build/lint $(JOBS)

clean:
	rm -rf build
