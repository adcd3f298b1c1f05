# The two commands of the README: `make run` and `make test`.
# Everything else lives in CMake; this file only chains setup, configure, build and run.

JOBS ?= 2
PRESET ?= default
BUILD_DIR := build/$(PRESET)

.PHONY: setup configure build test run bench fuzz clean

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

fuzz:
	@BRIND_FUZZ=1 ./scripts/setup
	@cmake --preset fuzz >/dev/null
	@cmake --build build/fuzz -j $(JOBS)

clean:
	@rm -rf build
