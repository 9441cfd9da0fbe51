# Front door. `make test` installs what is missing (as root), builds with
# warnings as errors and runs every test; `make run` starts the agent.
BUILD ?= build
JOBS ?= $(shell nproc)
CMAKE_FLAGS ?=
CONF ?= etc/lldp.conf

.PHONY: all deps configure build test run sanitize fuzz bench lab lab-down clean

all: build

deps:
	@bash tools/install-deps.sh

configure: deps
	@cmake -S . -B $(BUILD) -DLLDP_WERROR=ON $(CMAKE_FLAGS) >/dev/null

build: configure
	@cmake --build $(BUILD) -j $(JOBS)

test: build
	@cd $(BUILD) && ctest --output-on-failure -j $(JOBS)

run: build
	@if [ -x $(BUILD)/lldpagent ]; then exec $(BUILD)/lldpagent -c $(CONF); \
	 else echo "lldpagent is not built yet: the Linux platform has not landed." >&2; exit 1; fi

sanitize:
	@$(MAKE) test BUILD=build-asan CMAKE_FLAGS="-DLLDP_SANITIZE=ON -DLLDP_BENCH=OFF"

bench: build
	@for b in $(BUILD)/bench/*_bench; do [ -x "$$b" ] && "$$b"; done

clean:
	rm -rf build build-asan build-fuzz
