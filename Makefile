# The commands that people type. `make help` lists them.

JOBS ?= $(shell nproc)
PREFIX ?= /usr/local
# Scripts that call this file read the last lines of `make test`, which must be those of ctest.
MAKEFLAGS += --no-print-directory

# Sources that were compiled before, in another preset's or branch's build directory too, are not compiled again.
ifneq ($(shell command -v ccache 2>/dev/null),)
export CMAKE_CXX_COMPILER_LAUNCHER ?= ccache
export CCACHE_BASEDIR ?= $(CURDIR)
export CCACHE_NOHASHDIR ?= 1
export CCACHE_SLOPPINESS ?= pch_defines,time_macros,include_file_mtime,include_file_ctime
endif

# The Python package in build/python-bench/python.
define BUILD_PYTHON_BENCH
cmake -G Ninja -S . -B build/python-bench -D CMAKE_BUILD_TYPE=Release -D BUILD_SHARED_LIBS=OFF -D VEXA_LOGGING=OFF \
    -D VEXA_BUILD_TOOL=OFF -D VEXA_BUILD_TESTS=OFF -D VEXA_BUILD_EXAMPLES=OFF -D VEXA_BUILD_PYTHON=ON \
    -D Python_EXECUTABLE=$(PYTHON)
cmake --build build/python-bench -j $(JOBS) --target vexameshPython stripOnce
cp python/vexamesh/*.py build/python-bench/python/vexamesh
endef

INSTALL_DEPENDENCIES = @sh cmake/install-dependencies.sh
BUILD = cmake --preset $(1) && cmake --build --preset $(1) -j $(JOBS)
RUN_TESTS = ctest --preset $(1) -j $(JOBS)

.DEFAULT_GOAL := help
.PHONY: help deps demo test bench bench-compare bench-python bench-collection fuzz reliability python npm docs site format lint install dist packages packages-check clean

help: ## list these commands
	@awk -F ':.*## ' '/^[a-z-]+:.*## / { printf "make %-17s %s\n", $$1, $$2 }' Makefile

deps: ## install every package that the project needs (cmake/dependencies.txt)
	$(INSTALL_DEPENDENCIES)

demo: ## build the tool and run it on a few models
	$(INSTALL_DEPENDENCIES) library tool
	cmake --preset release -D VEXA_BUILD_TESTS=OFF
	cmake --build --preset release -j $(JOBS) --target vexamesh
	sh tools/vexamesh/demo.sh build/release/tools/vexamesh/vexamesh build/demo

test: ## build with g++ and clang++ and run every suite, those of the library also with sanitizers and checked iterators
	$(INSTALL_DEPENDENCIES) library tool python tests
	$(call BUILD,release)
	$(call BUILD,clang)
	$(call RUN_TESTS,clang)
	$(call BUILD,asan)
	$(call RUN_TESTS,asan)
	$(call RUN_TESTS,release)

bench: ## measure alongside other libraries (BENCH=--quick is faster); writes build/bench/results.json too
	$(INSTALL_DEPENDENCIES) library tool bench
	sh bench/models/fetch.sh build/bench/models
	$(call BUILD,bench)
	build/bench/bench/vexaMeshBench $(BENCH)
	node bench/growth/draw.mjs build/bench/results.json build/bench/growth.svg

bench-compare: ## measure alongside revision REV of this project and print the ratios (BENCH as above; RUNS, 3)
	$(INSTALL_DEPENDENCIES) library tool bench
	sh bench/models/fetch.sh build/bench/models
	$(call BUILD,bench)
	JOBS=$(JOBS) sh bench/compare/run.sh '$(REV)' $(BENCH)

FUZZ_SECONDS ?= 60
fuzz: ## search for inputs that break something, FUZZ_SECONDS (60) of processor time per target
	$(INSTALL_DEPENDENCIES) library tool fuzz
	$(call BUILD,fuzz) --target fuzzTargets
	python3 fuzz/run.py build/fuzz/fuzz --seconds $(FUZZ_SECONDS)

reliability: ## run the checks of docs/reliability.md, or CHECKS, and write its table; takes hours
	$(INSTALL_DEPENDENCIES) library tool tests fuzz reliability
	JOBS=$(JOBS) python3 tests/reliability/reliability.py $(CHECKS)

PYTHON ?= /usr/bin/python3
python: ## build the Python package: a wheel in build/python
	$(INSTALL_DEPENDENCIES) library python
	$(PYTHON) -m pip wheel --no-index --no-build-isolation --no-deps --wheel-dir build/python .

bench-python: ## time the Python package alongside C++, meshoptimizer and NumPy
	$(INSTALL_DEPENDENCIES) library python bench
	sh bench/models/fetch.sh build/bench/models
	$(BUILD_PYTHON_BENCH)
	PYTHONPATH=build/python-bench/python $(PYTHON) python/bench/compare.py build/python-bench/python/stripOnce \
	    build/bench/models/dragon.off

bench-collection: ## time what collections of files cost on a cluster, apart from the search (FILES, 20000)
	$(INSTALL_DEPENDENCIES) library tool python tests
	cmake --preset release -D VEXA_BUILD_TESTS=OFF
	cmake --build --preset release -j $(JOBS) --target vexamesh
	$(BUILD_PYTHON_BENCH)
	VEXAMESH_TOOL=build/release/tools/vexamesh/vexamesh PYTHONPATH=build/python-bench/python \
	    $(PYTHON) python/bench/collection.py $(FILES)

npm: ## build the npm package: an archive in build/npm-package
	$(INSTALL_DEPENDENCIES) library npm
	JOBS=$(JOBS) sh npm/build.sh build/npm-package

docs: ## generate the reference of the public headers in build/docs/html
	$(INSTALL_DEPENDENCIES) docs
	@mkdir -p build
	@rm -rf build/docs/html
	doxygen docs/Doxyfile

site: docs ## build the site in build/site: guides, reference, figures and a gallery of reports, with links checked
	$(INSTALL_DEPENDENCIES) library tool site
	cmake --preset release -D VEXA_BUILD_TESTS=OFF
	cmake --build --preset release -j $(JOBS) --target vexamesh
	sh bench/models/fetch.sh build/bench/models refined_elephant
	$(PYTHON) docs/site/build.py build/release/tools/vexamesh/vexamesh build/bench/models build/docs/html build/site

format: ## reformat every source with clang-format
	$(INSTALL_DEPENDENCIES) lint
	sh cmake/lint.sh format

lint: ## check formatting, names and suspicious code: clang-format, clang-tidy (of all folders, or of LINT), cppcheck
	$(INSTALL_DEPENDENCIES) library tool lint
	sh cmake/lint.sh check $(LINT)

install: ## build and install to PREFIX (/usr/local), below DESTDIR if set
	$(INSTALL_DEPENDENCIES) library tool
	cmake --preset install -D CMAKE_INSTALL_PREFIX=$(PREFIX)
	cmake --build --preset install -j $(JOBS)
	cmake --install build/install
	@[ -n "$(DESTDIR)" ] || [ "$$(id -u)" != 0 ] || ldconfig

dist: ## write a source archive that builds offline to build/dist
	$(INSTALL_DEPENDENCIES) library tool
	cmake --preset install
	cmake --build --preset install --target vexameshReportScript
	sh cmake/dist.sh build/install/tools/vexamesh/report/web/out build/dist

packages: dist ## build the Debian packages from the source archive, check and try them out: build/packages
	$(INSTALL_DEPENDENCIES) library tool python packages
	sh packaging/debian/build.sh build/dist/vexamesh-*.tar.gz build/packages
	sh packaging/debian/tryOut.sh build/packages build/packages/tried

packages-check: ## install the packages in a clean Debian, use and remove them; needs root and fetches that Debian
	$(INSTALL_DEPENDENCIES) packages
	sh packaging/debian/check.sh build/packages build/packages-check || [ $$? = 77 ]

clean: ## remove the build directory
	rm -rf build
