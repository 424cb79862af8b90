# The front door. Every target installs what it misses, configures, builds and then does its job.
SHELL := /bin/bash
.DEFAULT_GOAL := help
JOBS ?= $(shell nproc)
TEST ?= .
FUZZ_SECONDS ?= 60
PREFIX ?= /usr/local
DESTDIR ?=
# What lint-changed looks at: the files that so many commits changed.
LINT_COMMITS ?= 5

# What make windows builds for.
WINDOWS_TARGETS ?= i686 x86_64

packages := cmake/install_packages.sh
end_to_end_tests := $(patsubst %,%_end_to_end_test,session render fault script)
sources := git ls-files '*.h' '*.cpp'

.PHONY: help setup build demo install package test bench bench-build fuzz fuzz-build asan tsan lint lint-changed format \
	format-check windows windows-bench windows-test clean

help: ## list the targets
	@awk -F ':.*## ' '/^[a-z-]+:.*## / {printf "  make %-13s %s\n", $$1, $$2}' $(MAKEFILE_LIST)

setup: ## install every Debian package that any target needs (debian-packages*.txt)
	@$(packages) build test bench fuzz lint windows

build: ## build the programs in build/release
	@$(packages) build
	@cmake --preset release && cmake --build --preset release -j $(JOBS)

demo: build ## render the example job: a worker, its host, an animated scene, images on disk
	@examples/run_demo.sh build/release/bin

install: build ## install below PREFIX=/usr/local; DESTDIR=folder stages it there
	@DESTDIR='$(DESTDIR)' cmake --install build/release --prefix '$(abspath $(PREFIX))'

package: build ## make a Debian package, build/release/corrivane_VERSION_ARCHITECTURE.deb
	@cd build/release && cpack -G DEB && ls corrivane_*.deb

test: ## build with warnings as errors and run every test; TEST=regex picks some
	@$(packages) build test
	@cmake --preset dev && cmake --build --preset dev -j $(JOBS)
	@ctest --preset dev -j $(JOBS) -R '$(TEST)'

bench: bench-build ## measure, side by side in one run, what the documents promise
	@bench/run_benchmarks.sh build/release/bin

bench-build:
	@$(packages) build bench
	@cmake --preset release -DCORRIVANE_BENCH=ON && cmake --build --preset release -j $(JOBS)

fuzz: fuzz-build ## fuzz the MAXScript and scene readers for FUZZ_SECONDS each
	@fuzz/run_fuzzers.sh build/fuzz/bin $(FUZZ_SECONDS)

fuzz-build:
	@$(packages) build fuzz
	@cmake --preset fuzz && cmake --build --preset fuzz -j $(JOBS) \
		--target $(patsubst fuzz/%.cpp,%,$(wildcard fuzz/fuzz_*.cpp))

asan: ## the tests under AddressSanitizer and UndefinedBehaviorSanitizer
	@$(packages) build test
	@cmake --preset asan && cmake --build --preset asan -j $(JOBS)
	@ctest --preset asan -j $(JOBS) -R '$(TEST)'

tsan: ## the tests under ThreadSanitizer
	@$(packages) build test
	@cmake --preset tsan && cmake --build --preset tsan -j $(JOBS)
	@ctest --preset tsan -j $(JOBS) -R '$(TEST)'

lint: ## clang-tidy over the whole tree
	@$(packages) build test bench lint
	@cmake --preset lint && files=$$(git ls-files '*.cpp') && cmake/lint.sh build/lint $(JOBS) $$files

lint-changed: ## clang-tidy over what the last LINT_COMMITS=5 commits changed
	@$(packages) build test bench lint
	@cmake --preset lint && files=$$(cmake/changed_sources.sh $(LINT_COMMITS)) && \
		cmake/lint.sh build/lint $(JOBS) $$files

format: ## clang-format over the whole tree
	@$(packages) lint
	@$(sources) | xargs clang-format -i

format-check: ## name what make format would change
	@$(packages) lint
	@$(sources) | xargs clang-format --dry-run -Werror && echo "All files are formatted."

windows: ## build the host and the library for WINDOWS_TARGETS="i686 x86_64", and a ZIP of each
	@$(packages) build windows
	@set -e; for target in $(WINDOWS_TARGETS); do \
		cmake --preset windows-$$target; \
		cmake --build --preset windows-$$target -j $(JOBS) --target windows_programs; \
		(cd build/windows-$$target && cpack); done

windows-test: ## run the tests there, under Wine; TEST=regex picks some
	@$(packages) build test windows
	@cmake --preset dev && cmake --build --preset dev -j $(JOBS) --target $(end_to_end_tests)
	@failed=; for target in $(WINDOWS_TARGETS); do \
		cmake/windows/wine/set_up.sh $$target && \
		cmake --preset windows-$$target && cmake --build --preset windows-$$target -j $(JOBS) && \
		ctest --preset windows-$$target -j $(JOBS) -R '$(TEST)' || failed="$$failed $$target"; done; \
		rmdir /tmp/.wine-$$(id -u) 2>/dev/null; \
		[ -z "$$failed" ] || { echo "FAILED for$$failed"; exit 1; }

windows-bench: bench-build ## for information: guards and round trips there, under Wine
	@$(packages) windows
	@set -e; for target in $(WINDOWS_TARGETS); do \
		cmake --preset windows-$$target -DCORRIVANE_BENCH=ON && cmake --build --preset windows-$$target -j $(JOBS); \
		echo "== $$target"; cmake/windows/wine/run.sh build/windows-$$target/bin/corrivane-guard-timing.exe; \
		CORRIVANE_WINDOWS_HOST=$(CURDIR)/build/windows-$$target/bin/corrivane-host \
			build/release/bin/corrivane-session-benchmark --benchmark_filter=erroneous_command\\|small_frame.host; done

clean: ## remove everything that was built
	@rm -rf build
