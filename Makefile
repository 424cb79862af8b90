# The front door. Every target installs what it misses, configures, builds and then does its job.
SHELL := /bin/bash
.DEFAULT_GOAL := help
JOBS ?= $(shell nproc)
TEST ?= .
FUZZ_SECONDS ?= 60

.PHONY: help setup build demo test bench fuzz asan tsan lint format clean

help: ## list the targets
	@awk -F ':.*## ' '/^[a-z-]+:.*## / {printf "  make %-8s %s\n", $$1, $$2}' $(MAKEFILE_LIST)

setup: ## install the Debian packages that are missing (debian-packages.txt)
	@cmake/install_packages.sh

build: setup ## build the programs in build/release
	@cmake --preset release && cmake --build --preset release -j $(JOBS)

demo: build ## render the example job: a worker, its host, an animated scene, images on disk
	@examples/run_demo.sh build/release/bin

test: setup ## build with warnings as errors and run every test; TEST=regex picks some
	@cmake --preset dev && cmake --build --preset dev -j $(JOBS)
	@ctest --preset dev -j $(JOBS) -R '$(TEST)'

bench: setup ## measure, side by side in one run, what the documents promise
	@cmake --preset release -DCORRIVANE_BENCH=ON && cmake --build --preset release -j $(JOBS)
	@bench/run_benchmarks.sh build/release/bin

fuzz: setup ## fuzz the MAXScript and scene readers for FUZZ_SECONDS each
	@cmake --preset fuzz && cmake --build --preset fuzz -j $(JOBS)
	@fuzz/run_fuzzers.sh build/fuzz/bin $(FUZZ_SECONDS)

asan: setup ## the tests under AddressSanitizer and UndefinedBehaviorSanitizer
	@cmake --preset asan && cmake --build --preset asan -j $(JOBS)
	@ctest --preset asan -j $(JOBS) -R '$(TEST)'

tsan: setup ## the tests under ThreadSanitizer
	@cmake --preset tsan && cmake --build --preset tsan -j $(JOBS)
	@ctest --preset tsan -j $(JOBS) -R '$(TEST)'

lint: setup ## clang-tidy over the whole tree
	@cmake --preset lint && run-clang-tidy -quiet -p build/lint "$(CURDIR)/(plugin|platform|host|worker)/.*"

format: setup ## clang-format over the whole tree
	@git ls-files '*.h' '*.cpp' | xargs clang-format -i

clean: ## remove everything that was built
	@rm -rf build
