# Thin wrapper around CMake: `make demo` and `make test` are all a fresh machine needs.
BUILD      ?= build
ASAN_BUILD ?= build-asan
JOBS       ?= $(shell nproc 2>/dev/null || echo 2)
WERROR     ?= OFF
CMAKE_ARGS ?=

.PHONY: all deps build demo test test-asan test-tsan bench fuzz fuzz-build fuzz-smoke install clean format

all: build

deps:
	@sh tools/deps.sh

$(BUILD)/CMakeCache.txt: | deps
	cmake -S . -B $(BUILD) -DKVPROJ_WERROR=$(WERROR) $(CMAKE_ARGS)

build: deps $(BUILD)/CMakeCache.txt
	cmake -S . -B $(BUILD) -DKVPROJ_WERROR=$(WERROR) $(CMAKE_ARGS) >/dev/null
	cmake --build $(BUILD) -j $(JOBS)

# The tool and its libraries only, not the tests.
demo: deps $(BUILD)/CMakeCache.txt
	cmake -S . -B $(BUILD) -DKVPROJ_WERROR=$(WERROR) $(CMAKE_ARGS) >/dev/null
	cmake --build $(BUILD) -j $(JOBS) --target kvproj_tool
	@sh tools/demo.sh $(BUILD)/kvproj

test: build
	cd $(BUILD) && ctest --output-on-failure -j $(JOBS)

test-asan: deps
	cmake -S . -B $(ASAN_BUILD) -DKVPROJ_SANITIZE=ON -DKVPROJ_WERROR=$(WERROR) -DCMAKE_BUILD_TYPE=Debug $(CMAKE_ARGS)
	cmake --build $(ASAN_BUILD) -j $(JOBS)
	cd $(ASAN_BUILD) && ASAN_OPTIONS=detect_leaks=1:abort_on_error=1 UBSAN_OPTIONS=print_stacktrace=1:halt_on_error=1 \
	    ctest --output-on-failure -j $(JOBS)

TSAN_BUILD ?= build-tsan
test-tsan: deps
	cmake -S . -B $(TSAN_BUILD) -DKVPROJ_TSAN=ON -DKVPROJ_WERROR=$(WERROR) -DCMAKE_BUILD_TYPE=RelWithDebInfo $(CMAKE_ARGS)
	cmake --build $(TSAN_BUILD) -j $(JOBS)
	cd $(TSAN_BUILD) && TSAN_OPTIONS=halt_on_error=1 ctest --output-on-failure -j $(JOBS)

bench:
	@sh tools/deps.sh libbenchmark-dev libproj-dev libgdal-dev
	cmake -S . -B build-bench -DCMAKE_BUILD_TYPE=Release -DKVPROJ_BUILD_BENCH=ON -DKVPROJ_BUILD_TESTS=OFF
	cmake --build build-bench -j $(JOBS)
	@for b in build-bench/bench/bench_*; do [ -x "$$b" ] && "$$b"; done

# libFuzzer targets under ASan + UBSan (clang): `make fuzz-smoke` runs each for
# FUZZ_SMOKE_RUNS inputs from seed 1 (CI: reproducible anywhere), `make fuzz`
# explores for FUZZ_SECONDS each (FUZZ_TARGETS='fuzz_ntv2*' picks some).
FUZZ_BUILD         ?= build-fuzz
FUZZ_SECONDS       ?= 600
FUZZ_SMOKE_RUNS    ?= 40000
FUZZ_TARGETS       ?= fuzz_*
fuzz-build:
	@sh tools/deps.sh clang libclang-rt-14-dev
	CXX=clang++ cmake -S . -B $(FUZZ_BUILD) -DKVPROJ_BUILD_FUZZ=ON -DKVPROJ_BUILD_TESTS=OFF -DCMAKE_BUILD_TYPE=Debug $(CMAKE_ARGS)
	cmake --build $(FUZZ_BUILD) -j $(JOBS)

fuzz: fuzz-build
	sh tools/fuzz.sh $(FUZZ_BUILD) $(FUZZ_SECONDS) '$(FUZZ_TARGETS)'

fuzz-smoke: fuzz-build
	sh tools/fuzz.sh $(FUZZ_BUILD) runs=$(FUZZ_SMOKE_RUNS) '$(FUZZ_TARGETS)'

install: build
	cmake --install $(BUILD)

format:
	clang-format -i $$(git ls-files '*.cpp' '*.h')

clean:
	rm -rf $(BUILD) $(ASAN_BUILD) build-bench build-fuzz
