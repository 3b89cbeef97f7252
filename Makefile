# The front door: every job of this repository by one word. `make help` lists them.
JOBS ?= $(shell nproc)
MAKEFLAGS += --no-print-directory
FORMATTED = find . -path ./build -prune -o \( -name '*.h' -o -name '*.cpp' \) -print0
# The thread sanitizer wants a plain memory layout.
PLAIN_LAYOUT = $(shell setarch -R true 2>/dev/null && echo setarch -R)

.DEFAULT_GOAL := help
.PHONY: help run test format lint sanitize symbols bench install clean
.SECONDARY:

help: ## say what can be made
	@sed -nE 's/^([a-z]+):.*## (.*)/make \1\t\2/p' Makefile | expand -t 20

run: build-release ## build, and run the demonstration on a sample configuration
	@scripts/demo build/release/mediadata

test: test-dev ## build, and run all tests

format: install-lint ## format all sources
	@$(FORMATTED) | xargs -0 clang-format -i

lint: install-build install-lint build/clang/build.ninja ## check format and run the static checks
	@$(FORMATTED) | xargs -0 clang-format --dry-run -Werror
	@find src platform tool -name '*.cpp' -print0 | xargs -0 -P $(JOBS) -n 1 clang-tidy -p build/clang --quiet

sanitize: test-asan test-tsan ## run all tests under the address, undefined-behaviour and thread sanitizers

symbols: build-dev ## write the lists of exported and undefined symbols anew
	@tests/symbols/symbols write build/dev/libmediadata.so

bench: install-bench build-bench ## compare with other stores and write docs/performance.md; takes five minutes
	@bench/run build/bench

install: build-release ## install below DESTDIR
	@cmake --install build/release

clean: ## remove everything that was built
	@rm -rf build

# The missing Debian packages for a need of packaging/debian-packages.txt.
install-%:
	@packaging/install-dependencies $*

build/%/build.ninja: CMakePresets.json | install-build
	@cmake --preset $*

build-%: install-build build/%/build.ninja
	@cmake --build --preset $* -j $(JOBS)

test-%: build-%
	@$(if $(filter tsan,$*),$(PLAIN_LAYOUT)) ctest --preset $* -j $(JOBS)
