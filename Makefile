# The two set-up commands (`make demo`, `make test`) and the helpers around them.
BUILD_DIR    ?= build
SANITIZE_DIR ?= build-sanitize
TSAN_DIR     ?= build-tsan
VALGRIND_DIR ?= build-valgrind
FUZZ_DIR     ?= build-fuzz
FUZZ_SECONDS ?= 600
BENCH_DIR    ?= build-bench
JOBS         ?= 2
# Two tests cannot hold under valgrind: /proc/self/exe is the checker's own binary, and the
# program's peak memory is measured with the checker's own in it.
VALGRIND_CTEST_FLAGS ?= -E '^(Environment\.ExecutablePathIsThisProgramResolved|QobaseBase64\.StreamsLargeInputs)$$'
CMAKE_FLAGS  ?=

.PHONY: all deps build demo test sanitize tsan valgrind fuzz-build fuzz-smoke fuzz bench format format-check clean

all: build

deps:
	@scripts/install-deps.sh

$(BUILD_DIR)/CMakeCache.txt: | deps
	cmake -S . -B $(BUILD_DIR) -DCMAKE_BUILD_TYPE=RelWithDebInfo $(CMAKE_FLAGS)

build: deps $(BUILD_DIR)/CMakeCache.txt
	cmake --build $(BUILD_DIR) -j$(JOBS)

demo: build
	$(BUILD_DIR)/tools/qobase demo

test: build
	cd $(BUILD_DIR) && ctest --output-on-failure -j$(JOBS)

sanitize: deps
	cmake -S . -B $(SANITIZE_DIR) -DCMAKE_BUILD_TYPE=Debug -DQOBASE_SANITIZE=ON $(CMAKE_FLAGS)
	cmake --build $(SANITIZE_DIR) -j$(JOBS)
	cd $(SANITIZE_DIR) && ASAN_OPTIONS=detect_leaks=1:abort_on_error=1 \
	  UBSAN_OPTIONS=print_stacktrace=1:halt_on_error=1 ctest --output-on-failure -j$(JOBS)

tsan: deps
	cmake -S . -B $(TSAN_DIR) -DCMAKE_BUILD_TYPE=Debug -DQOBASE_TSAN=ON $(CMAKE_FLAGS)
	cmake --build $(TSAN_DIR) -j$(JOBS)
	cd $(TSAN_DIR) && TSAN_OPTIONS=halt_on_error=1:second_deadlock_stack=1 \
	  ctest --output-on-failure -j$(JOBS)

# The whole suite under valgrind memcheck, on a plain debug build: every test, and every qobase
# program a test starts, fails on a memory error or a lost block.
valgrind:
	@scripts/install-deps.sh --valgrind
	cmake -S . -B $(VALGRIND_DIR) -DCMAKE_BUILD_TYPE=Debug -DQOBASE_TEST_TIMEOUT=1500 \
	  -DQOBASE_TEST_DISCOVERY_TIMEOUT=300 \
	  -DCMAKE_CROSSCOMPILING_EMULATOR=$(CURDIR)/scripts/run-under-valgrind.sh $(CMAKE_FLAGS)
	cmake --build $(VALGRIND_DIR) -j$(JOBS)
	cd $(VALGRIND_DIR) && ctest --output-on-failure -j$(JOBS) $(VALGRIND_CTEST_FLAGS)

fuzz-build:
	@scripts/install-deps.sh --fuzz
	CC=clang CXX=clang++ cmake -S . -B $(FUZZ_DIR) -DCMAKE_BUILD_TYPE=RelWithDebInfo \
	  -DQOBASE_BUILD_FUZZERS=ON -DQOBASE_SANITIZE=ON -DQOBASE_BUILD_TESTS=OFF \
	  -DQOBASE_BUILD_TOOLS=ON $(CMAKE_FLAGS)
	cmake --build $(FUZZ_DIR) -j$(JOBS)

# Every harness for 20 s after a replay of the committed seeds and past findings (CI).
fuzz-smoke: fuzz-build
	scripts/run-fuzzers.sh $(FUZZ_DIR) 20

# Every harness for FUZZ_SECONDS each (or only FUZZ_HARNESS).
fuzz: fuzz-build
	scripts/run-fuzzers.sh $(FUZZ_DIR) $(FUZZ_SECONDS) $(FUZZ_HARNESS)

bench:
	@scripts/install-deps.sh --bench
	cmake -S . -B $(BENCH_DIR) -DCMAKE_BUILD_TYPE=Release -DQOBASE_BUILD_TESTS=OFF \
	  -DQOBASE_BUILD_BENCHMARKS=ON $(CMAKE_FLAGS)
	cmake --build $(BENCH_DIR) -j$(JOBS)
	scripts/run-benchmarks.sh $(BENCH_DIR)

FORMAT_DIRS := include src tools tests bench fuzz internal

format:
	find $(FORMAT_DIRS) -name '*.h' -o -name '*.cpp' | xargs clang-format -i

# Lists every source file that differs from what clang-format makes of it, and fails if there is
# one; changes nothing.
format-check:
	find $(FORMAT_DIRS) -name '*.h' -o -name '*.cpp' | xargs clang-format --dry-run --Werror

clean:
	rm -rf $(BUILD_DIR) $(SANITIZE_DIR) $(TSAN_DIR) $(VALGRIND_DIR) $(FUZZ_DIR) $(BENCH_DIR)
