# The front door: every job of this repository by one word. `make help` lists them.
JOBS ?= $(shell nproc)
MAKEFLAGS += --no-print-directory
FORMATTED = find . -path ./build -prune -o \( -name '*.h' -o -name '*.cpp' \) -print0
# The thread sanitizer wants a plain memory layout.
PLAIN_LAYOUT = $(shell setarch -R true 2>/dev/null && echo setarch -R)

CROSS = armhf arm64
FUZZ_RUNS ?= 1000000
SOAK_SECONDS ?= 600

.DEFAULT_GOAL := help
.PHONY: help run test format lint sanitize fuzz coverage soak reliability docs-test web-test web-figures web-pictures symbols picture bench package cross-test install clean
.SECONDARY:

help: ## say what can be made
	@sed -nE 's/^([a-z-]+):.*## (.*)/make \1\t\2/p' Makefile | expand -t 20

run: build-release ## build, and run the demonstration on a sample configuration
	@scripts/demo build/release/mediadata

test: test-dev ## build, and run all tests

format: install-lint ## format all sources
	@$(FORMATTED) | xargs -0 clang-format -i

lint: install-build install-lint build/clang/build.ninja ## check format and run the static checks
	@$(FORMATTED) | xargs -0 clang-format --dry-run -Werror
	@find src platform tool -name '*.cpp' -print0 | xargs -0 -P $(JOBS) -n 1 clang-tidy -p build/clang --quiet

sanitize: test-asan test-tsan ## run all tests under the address, undefined-behaviour and thread sanitizers

fuzz: install-fuzz build-fuzz ## run every fuzz target FUZZ_RUNS times, on all cores; takes some hours
	@fuzz/run build/fuzz $(FUZZ_RUNS) $(FUZZ_TARGETS)

coverage: install-cover build-coverage ## run all tests and say which branches of src/ they take
	@scripts/coverage build/coverage

soak: build-dev ## mixed work for SOAK_SECONDS; memory, descriptors, threads and log must stay as they are
	@MEDIADATA_SOAK_SECONDS=$(SOAK_SECONDS) build/dev/host_tests --gtest_filter='Soak.*' --gtest_brief=1

reliability: build-dev ## fail every platform and system call, kill the process at it, cut the power at every I/O call (12,000 images)
	@MEDIADATA_FAULTS=all build/dev/library_tests --gtest_filter='*/FaultSweep.*' --gtest_brief=1
	@MEDIADATA_IMAGES=12000 MEDIADATA_FAULT_STEP=1 \
	    build/dev/reliability_tests --gtest_brief=1
	@MEDIADATA_HOSTILE=10000 build/dev/tool_tests --gtest_filter='Web.*Harm' --gtest_brief=1

docs-test: install-build ## add what the documents on adding add, in a copy of the sources, build it and run their examples
	@tests/docs/adding build/adding build docs/add-a-setting.md docs/add-a-verb.md

web-test: install-web-test build-release ## build, and run whole stories on the telephone's page in a real browser
	@tests/web/run build/release

web-figures: install-web-test build-release ## measure the page in that browser
	@tests/web/run build/release figures

web-pictures: install-web-test build-release ## make the pictures of docs/page.md anew
	@tests/web/run build/release pictures

symbols: build-dev ## write the lists of exported and undefined symbols anew
	@tests/symbols/symbols write build/dev/libmediadata.so

picture: build-dev ## draw the picture of the README anew
	@scripts/picture build/dev/mediadata >docs/picture.svg

bench: install-bench build-bench ## compare with other stores and write docs/performance.md; takes six minutes
	@bench/run build/bench

package: install-build install-package ## build the Debian packages in build/package, check them and build a client with them
	@packaging/make-packages build/package

cross-test: $(CROSS:%=test-%) ## build for armhf and arm64, run all tests under emulation and say how large the library is
	@for architecture in $(CROSS); do \
	    cmake --install build/$$architecture --component library --strip --prefix build/$$architecture/stripped >/dev/null && \
	    find build/$$architecture/stripped -name 'libmediadata.so.*.*' -printf "$$architecture: %f has %s bytes, stripped\n"; \
	done

install: build-release ## install below DESTDIR
	@cmake --install build/release

clean: ## remove everything that was built
	@rm -rf build

# The missing Debian packages for a need of packaging/debian-packages.txt.
install-%:
	@packaging/install-dependencies $*

build/%/build.ninja: CMakePresets.json | install-build
	@cmake --preset $*

# A foreign architecture's libraries, and the builds that link them.
build/sysroot/%: packaging/debian-packages.txt | install-cross
	@packaging/cross/sysroot $* $@

$(CROSS:%=build/%/build.ninja): build/%/build.ninja: | build/sysroot/%

build-%: install-build build/%/build.ninja
	@cmake --build --preset $* -j $(JOBS)

test-%: build-%
	@$(if $(filter tsan,$*),$(PLAIN_LAYOUT)) ctest --preset $* -j $(JOBS)
