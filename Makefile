# Front door. `make test` installs what is missing (as root), builds with
# warnings as errors and runs every test; `make run` starts the agent.
MAKEFLAGS += --no-print-directory
BUILD ?= build
JOBS ?= $(shell nproc)
CMAKE_FLAGS ?=
CONF ?= etc/lldp.conf

.PHONY: all deps configure build agent test run install deb sanitize fuzz bench bench-flood bench-soak \
        bench-soak-asan lab lab-down clean help

all: build

help:
	@echo "make test      install missing packages, build (warnings as errors), run every test"
	@echo "make run       build lldpagent and start it on this host with $(CONF) (root)"
	@echo "make install   install under PREFIX=$(PREFIX) (and DESTDIR): daemon, service, man pages"
	@echo "make deb       the same as a Debian package"
	@echo "make lab       three agents in network namespaces; KEEP=1 leaves them up;"
	@echo "               STACK=1: two stacked units with a neighbour each"
	@echo "make lab-down  take a kept lab away (LAB=DIR), or every kept lab"
	@echo "make sanitize  the tests under AddressSanitizer + UndefinedBehaviorSanitizer"
	@echo "make fuzz      run the fuzz targets (received frames for FUZZ_SECONDS=60, the rest half)"
	@echo "make bench     run the benchmarks"
	@echo "make bench-flood  receive throughput of a real agent flooded in network namespaces"
	@echo "               (root; FRAMES=500000 RUNS=1 CASES='a b c d e a@50k b@50k')"
	@echo "make bench-soak   the agent under neighbour churn, link flaps, ports coming and going for"
	@echo "               SOAK=60 seconds, RSS printed and judged (root); bench-soak-asan: under ASan"

# Only the daemon, for run and lab.
agent: configure
	@cmake --build $(BUILD) -j $(JOBS) --target lldpagent

deps:
	@bash tools/install-deps.sh

configure: deps
	@cmake -S . -B $(BUILD) -DLLDP_WERROR=ON $(CMAKE_FLAGS) >/dev/null

build: configure
	@cmake --build $(BUILD) -j $(JOBS)

# The namespace tests spend most of their time waiting on protocol timers,
# so CTest runs more of them at once than there are cores.
TEST_JOBS ?= $(shell echo $$(( $(JOBS) * 3 )))
test: build
	@cd $(BUILD) && ctest --output-on-failure -j $(TEST_JOBS)

run: agent
	@exec $(BUILD)/lldpagent -c $(CONF)

# lldpagent in PREFIX/sbin, lldpctl in PREFIX/bin, the systemd unit, the man
# pages, and /etc/lldp/lldp.conf when there is none; DESTDIR stages it all.
PREFIX ?= /usr/local
DESTDIR ?=
install:
	@[ -f $(BUILD)/CMakeCache.txt ] || $(MAKE) configure
	@cmake --build $(BUILD) -j $(JOBS) --target installables
	@DESTDIR="$(DESTDIR)" cmake --install $(BUILD) --prefix "$(PREFIX)"

# The same tree as a Debian package in $(BUILD)/ (dpkg -i it).
deb:
	@[ -f $(BUILD)/CMakeCache.txt ] || $(MAKE) configure
	@cmake --build $(BUILD) -j $(JOBS) --target installables
	@cd $(BUILD) && cpack -G DEB >/dev/null && ls $(abspath $(BUILD))/lldpagent_*.deb

# The namespace lab (lab/lab.sh): three agents in a line, or with STACK=1 two
# stacked units with a neighbour each, in a directory and namespaces of their
# own. KEEP=1 leaves it up; lab-down takes the lab in LAB=DIR away, or every
# kept lab.
KEEP ?= 0
STACK ?= 0
LAB ?=
lab: agent
	@cmake --build $(BUILD) -j $(JOBS) --target lldpctl
	@KEEP=$(KEEP) STACK=$(STACK) AGENT=$(abspath $(BUILD))/lldpagent LLDPCTL=$(abspath $(BUILD))/lldpctl bash lab/lab.sh up

lab-down:
	@bash lab/lab.sh down $(LAB)

sanitize:
	@$(MAKE) test BUILD=build-asan CMAKE_FLAGS="-DLLDP_SANITIZE=ON -DLLDP_BENCH=OFF"

# Builds the fuzz targets with clang + ASan/UBSan/LSan and runs each from its
# seed corpus (fuzz/corpus/<name>/): the received-frame fuzzer for
# FUZZ_SECONDS, the smaller parsers for half that. Any finding fails.
FUZZ_SECONDS ?= 60
fuzz: deps
	@CC=clang CXX=clang++ cmake -S . -B build-fuzz -DLLDP_WERROR=ON -DLLDP_FUZZ=ON \
	  -DLLDP_SANITIZE=ON -DLLDP_BENCH=OFF -DLLDP_LINUX=OFF >/dev/null
	@cmake --build build-fuzz -j $(JOBS) --target $$(cd fuzz && ls *_fuzz.cpp 2>/dev/null | sed 's/\.cpp$$//')
	@for f in fuzz/*_fuzz.cpp; do [ -e "$$f" ] || continue; n=$$(basename $$f .cpp); \
	  mkdir -p build-fuzz/corpus/$$n; \
	  t=$(FUZZ_SECONDS); [ $$n = rx_frame_fuzz ] || t=$$(( t / 2 )); \
	  echo "fuzz: $$n for $${t}s"; \
	  build-fuzz/fuzz/$$n -max_total_time=$$t -print_final_stats=1 -artifact_prefix=build-fuzz/ \
	    build-fuzz/corpus/$$n $$( [ -d fuzz/corpus/$$n ] && echo fuzz/corpus/$$n ) \
	    > build-fuzz/$$n.log 2>&1; rc=$$?; tail -n 5 build-fuzz/$$n.log; \
	  if [ $$rc -ne 0 ]; then echo "fuzz: $$n found a problem (exit $$rc), see build-fuzz/$$n.log" >&2; \
	    grep -m1 -A30 "ERROR" build-fuzz/$$n.log >&2; exit 1; fi; done

bench: configure
	@cmake --build $(BUILD) -j $(JOBS) --target tx_bench rx_bench client_bench sync_bench
	@for b in $(BUILD)/bench/*_bench; do [ -x "$$b" ] && "$$b"; done

# bench/flood.sh: the receive-throughput table, or with SOAK=seconds the soak.
# Its knobs (FRAMES, RUNS, CASES, PORTS, SOAK, SAMPLE, SOAK_SLACK) come from
# the command line or the environment.
bench-flood: agent
	@cmake --build $(BUILD) -j $(JOBS) --target lldpctl
	@BUILD=$(abspath $(BUILD)) bash bench/flood.sh

bench-soak: agent
	@cmake --build $(BUILD) -j $(JOBS) --target lldpctl
	@BUILD=$(abspath $(BUILD)) SOAK=$${SOAK:-60} bash bench/flood.sh

bench-soak-asan:
	@$(MAKE) bench-soak BUILD=build-asan CMAKE_FLAGS="-DLLDP_SANITIZE=ON -DLLDP_BENCH=OFF"

clean:
	rm -rf build build-asan build-fuzz
