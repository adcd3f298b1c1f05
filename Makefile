# The two commands of the README: `make run` and `make test` (and `make install`, `make package`).
# Everything else lives in CMake; this file only chains setup, configure, build and run.

JOBS ?= 2
PRESET ?= default
BUILD_DIR := build/$(PRESET)

.PHONY: setup configure build test run bench soak fuzz install package clean

setup:
	@./scripts/setup

configure: setup
	@cmake --preset $(PRESET) >/dev/null

build: configure
	@cmake --build $(BUILD_DIR) -j $(JOBS)

test: build
	@cd $(BUILD_DIR) && ctest --output-on-failure -j $(JOBS)

run: build
	@$(BUILD_DIR)/bin/vantaquill-island $(ARGS)

bench: build
	@for b in $(BUILD_DIR)/bin/*Bench; do echo "== $$b"; $$b; done

# `make soak`: the island under slow and flooding clients, minutes long, not part of `make test`.
# Figures are printed; the target fails when a limit does not hold. See docs/PERFORMANCE.md.
soak: configure
	@cmake --build $(BUILD_DIR) -j $(JOBS) --target sdkSoak
	@$(BUILD_DIR)/bin/sdkSoak

fuzz:
	@BRIND_FUZZ=1 ./scripts/setup
	@cmake --preset fuzz >/dev/null
	@cmake --build build/fuzz -j $(JOBS)

# `make install` puts both programs, the desktop entry, icons, man pages, completions, the user unit
# and the autostart entry under PREFIX (default ~/.local) and registers the vantaquill:// scheme.
PREFIX ?= $(HOME)/.local

install: build
	@cmake --install $(BUILD_DIR) --prefix $(PREFIX)

# `make package` builds the Debian package (build/<preset>/vantaquill_<version>-1_<arch>.deb). The
# files in it are dated by the last commit, so the same commit gives the same package bytes.
package: build
	@cd $(BUILD_DIR) && SOURCE_DATE_EPOCH=$$(git log -1 --format=%ct) cpack -G DEB

clean:
	@rm -rf build
