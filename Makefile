# The front door. Everything is built by CMake; the targets here are the commands of daily work.
#
#   make build      the tool, the simulated platform and the card programs, into build/
#   make run        the tool on simulated cards; ARGS="..." and FLEET=file choose others
#   make health     the companion's standard plan on four simulated cards, one of which is trained down
#   make test       every test
#   make sanitize   the same under the address, undefined-behaviour and thread sanitizers
#   make fuzz       looks for inputs that break what reads them; SECONDS=n or RUNS=n for each
#                   target; ONLY=NAME for one
#   make lint       clang-tidy and cppcheck over every source file
#   make check-sbox whether the SBOX register table still holds what is known about it
#   make package    the packages, .deb and .rpm, into build/packages/
#   make bench      measures, and prints ratios of what it measured
#   make format     the formatter over every source file;  make check-format only looks

ARGS  ?= -summary -pcie -vls -vlw -vdi -vrs -vbs -vsrdv -core -gec -gnt -gid -c -v \
         -dma -vdh2l -vdl2h -smc -fwv -hwr -uuid
FLEET ?= build/bin/fleets/default.toml
JOBS  ?= $(shell nproc)
SECONDS ?= 60

.DEFAULT_GOAL := build

sources = $(shell git ls-files '*.cpp' '*.h')

.PHONY: packages build run health test package lint check-sbox sanitize fuzz bench format check-format clean

packages:
	@packaging/install-packages

build: packages
	@cmake --preset release >/dev/null
	@cmake --build --preset release -j $(JOBS)

run: build
	@build/bin/zelsim run --fleet $(FLEET) -- ZelDiag $(ARGS)

# One card is at half its link width: the run ends with 2, which is what it should.
health: build
	@build/bin/zelsim run --fleet build/bin/fleets/health.toml -- zelhealth run --plan standard; \
	    status=$$?; [ $$status -eq 2 ] || { echo "zelhealth ended with $$status, not 2"; exit 1; }

test: build
	@ctest --preset release -j $(JOBS)

package: build
	@cmake --build --preset release --target package

lint: build
	@packaging/install-packages lint
	@cmake --preset release >/dev/null
	@cmake --build --preset release --target lint -j $(JOBS)

check-sbox: build
	@ctest --preset release -R 'SboxRegisters\.'

sanitize: packages
	@for preset in sanitize-address sanitize-thread; do \
	    cmake --preset $$preset >/dev/null && \
	    cmake --build --preset $$preset -j $(JOBS) && \
	    ctest --preset $$preset -j $(JOBS) || exit 1; \
	done

fuzz: packages
	@packaging/install-packages fuzz
	@cmake --preset fuzz >/dev/null
	@cmake --build --preset fuzz -j $(JOBS)
	@tests/fuzz/run build-fuzz '$(or $(ONLY),*)' $(if $(RUNS),-runs=$(RUNS),-max_total_time=$(SECONDS))

bench: build
	@cmake --build --preset release --target bench -j $(JOBS)
	@build/bench/aperture
	@build/bin/zelsim run -- build/bench/sbox
	@build/bench/dma
	@bench/health build

format: packages
	@clang-format -i $(sources)

check-format: packages
	@clang-format --dry-run --Werror $(sources)

clean:
	@rm -rf build build-*
