# The front door. Everything is built by CMake, into build/; the targets here are the commands of daily work. Each
# installs what it needs of packaging/debian-packages, and builds what it needs.
#
#   make run        the tool on simulated cards; ARGS="..." and FLEET=file choose others
#   make health     the companion's standard plan on four simulated cards, one of which is trained down
#   make package    the packages, .deb and .rpm, into build/packages/
#   make build      everything that is tested, and the tests
#   make check      unit tests and a few end-to-end cases, in a minute: what to run after each edit
#   make test       every test
#   make sanitize   the same under the address, undefined-behaviour and thread sanitizers
#   make fuzz       looks for inputs that break what reads them; SECONDS=n or RUNS=n for each
#                   target; ONLY=NAME for one
#   make lint       clang-tidy and cppcheck over every source file; make lint-tool: clang-tidy over the tool alone
#   make check-sbox whether the SBOX register table still holds what is known about it
#   make bench      measures, and prints ratios of what it measured
#   make format     the formatter over every source file;  make check-format only looks

ARGS  ?= -summary -pcie -vls -vlw -vdi -vrs -vbs -vsrdv -core -gec -gnt -gid -c -v \
         -dma -vdh2l -vdl2h -smc -fwv -hwr -uuid
FLEET ?= build/bin/fleets/default.toml
JOBS  ?= $(shell nproc)
# Tests wait much of their time.
TEST_JOBS ?= $(shell expr $$(nproc) + 1)
SECONDS ?= 60

.DEFAULT_GOAL := build

sources = $(shell git ls-files '*.cpp' '*.h')

.PHONY: programs companion run health package build check test lint lint-tool check-sbox sanitize fuzz bench format check-format clean

# What only the companion and the tests need joins the build directory with the first target that wants it, and
# stays: nothing that is built is built again for that.
configure = cmake --preset release \
    $(if $(wildcard build/CMakeCache.txt),,-D ZELDIAG_BUILD_HEALTH=OFF -D ZELDIAG_BUILD_TESTS=OFF)

programs:
	@packaging/install-packages
	@$(configure) >/dev/null
	@cmake --build --preset programs -j $(JOBS)

companion:
	@packaging/install-packages health
	@$(configure) -D ZELDIAG_BUILD_HEALTH=ON >/dev/null
	@cmake --build --preset companion -j $(JOBS)

run: programs
	@build/bin/zelsim run --fleet $(FLEET) -- ZelDiag $(ARGS)

# One card is at half its link width: the run ends with 2, which is what it should.
health: companion
	@build/bin/zelsim run --fleet build/bin/fleets/health.toml -- zelhealth run --plan standard; \
	    status=$$?; [ $$status -eq 2 ] || { echo "zelhealth ended with $$status, not 2"; exit 1; }

package: companion
	@packaging/install-packages health package
	@cpack --config build/CPackConfig.cmake

build:
	@packaging/install-packages package health test
	@cmake --preset release -D ZELDIAG_BUILD_HEALTH=ON -D ZELDIAG_BUILD_TESTS=ON >/dev/null
	@cmake --build --preset release -j $(JOBS)

# Without the one unit test that takes as long as all others.
check: build
	@ctest --preset release -L 'unit|check' -E 'SucceedsAThousandTimesInARow' -j $(JOBS)

test: build
	@ctest --preset release -j $(TEST_JOBS)

lint lint-tool: build
	@packaging/install-packages lint
	@cmake --preset release >/dev/null
	@cmake --build --preset release --target $@ -j $(JOBS)

check-sbox: build
	@ctest --preset release -R 'SboxRegisters\.'

sanitize:
	@packaging/install-packages health test
	@for preset in sanitize-address sanitize-thread; do \
	    cmake --preset $$preset >/dev/null && \
	    cmake --build --preset $$preset -j $(JOBS) && \
	    ctest --preset $$preset -j $(TEST_JOBS) || exit 1; \
	done

fuzz:
	@packaging/install-packages health test fuzz
	@cmake --preset fuzz >/dev/null
	@cmake --build --preset fuzz -j $(JOBS)
	@tests/fuzz/run build-fuzz '$(or $(ONLY),*)' $(if $(RUNS),-runs=$(RUNS),-max_total_time=$(SECONDS))

bench: companion
	@packaging/install-packages bench
	@cmake --build --preset release --target bench -j $(JOBS)
	@build/bench/aperture
	@build/bin/zelsim run -- build/bench/sbox
	@build/bench/dma
	@bench/health build
	@bench/report build

format:
	@packaging/install-packages format
	@clang-format -i $(sources)

check-format:
	@packaging/install-packages format
	@clang-format --dry-run --Werror $(sources)

clean:
	@rm -rf build build-*
