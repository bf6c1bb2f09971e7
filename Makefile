# The commands a person types. `make help` lists them.

JOBS ?= $(shell nproc)
PREFIX ?= /usr/local
# Whatever calls this file reads the last lines of `make test`, which are to be those of ctest.
MAKEFLAGS += --no-print-directory

INSTALL_DEPENDENCIES = @sh cmake/install-dependencies.sh
BUILD = cmake --preset $(1) && cmake --build --preset $(1) -j $(JOBS)
RUN_TESTS = ctest --preset $(1) -j $(JOBS)

.DEFAULT_GOAL := help
.PHONY: help deps demo test bench fuzz docs format lint install clean

help: ## list these commands
	@awk -F ':.*## ' '/^[a-z]+:.*## / { printf "make %-8s %s\n", $$1, $$2 }' Makefile

deps: ## install every package that the project needs (cmake/dependencies.txt)
	$(INSTALL_DEPENDENCIES)

demo: ## build the tool and show what it does to a model
	$(INSTALL_DEPENDENCIES) library tool
	cmake --preset release -D VEXA_BUILD_TESTS=OFF
	cmake --build --preset release -j $(JOBS) --target vexamesh
	sh tools/vexamesh/demo.sh build/release/tools/vexamesh/vexamesh build/demo

test: ## build with g++ and clang++, run every suite, also under sanitizers and checked iterators
	$(INSTALL_DEPENDENCIES) library tool tests
	$(call BUILD,release)
	$(call BUILD,clang)
	$(call RUN_TESTS,clang)
	$(call BUILD,asan)
	$(call RUN_TESTS,asan)
	$(call BUILD,debug)
	$(call RUN_TESTS,debug)
	$(call RUN_TESTS,release)

bench: ## measure beside peers (BENCH=--quick is faster); the figures go to build/bench/results.json too
	$(INSTALL_DEPENDENCIES) library bench
	sh bench/models/fetch.sh build/bench/models
	$(call BUILD,bench)
	build/bench/bench/vexaMeshBench $(BENCH)

FUZZ_SECONDS ?= 60
fuzz: ## search for inputs that break something, FUZZ_SECONDS (60) for each target
	$(INSTALL_DEPENDENCIES) library tool fuzz
	$(call BUILD,fuzz)
	sh fuzz/run.sh build/fuzz/fuzz $(FUZZ_SECONDS)

docs: ## write the reference of the public headers to build/docs/html
	$(INSTALL_DEPENDENCIES) docs
	@mkdir -p build
	doxygen docs/Doxyfile

format: ## lay out every source with clang-format
	$(INSTALL_DEPENDENCIES) lint
	sh cmake/lint.sh format

lint: ## check layout, names and suspicious code: clang-format, clang-tidy, cppcheck
	$(INSTALL_DEPENDENCIES) library tool lint
	sh cmake/lint.sh check

install: ## build and install to PREFIX (/usr/local), below DESTDIR if that is set
	$(INSTALL_DEPENDENCIES) library tool
	cmake --preset install -D CMAKE_INSTALL_PREFIX=$(PREFIX)
	cmake --build --preset install -j $(JOBS)
	cmake --install build/install
	@[ -n "$(DESTDIR)" ] || [ "$$(id -u)" != 0 ] || ldconfig

clean: ## remove everything that was built
	rm -rf build
