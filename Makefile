# Front door of the project: every target bootstraps what is missing first.
BUILD_DIR      ?= build
ASAN_BUILD_DIR ?= build-asan
TSAN_BUILD_DIR ?= build-tsan
BENCH_BUILD_DIR ?= build-bench
FUZZ_BUILD_DIR ?= build-fuzz
FUZZ_SECONDS   ?= 60
JOBS           ?= $(shell nproc 2>/dev/null || echo 2)
CMAKE_FLAGS    ?=
PREFIX         ?= /usr/local

.PHONY: all bootstrap build build-asan build-tsan demo test bench fuzz install clean format

all: build

bootstrap:
	@bash scripts/bootstrap.sh

build: bootstrap
	cmake -S . -B $(BUILD_DIR) -DCMAKE_BUILD_TYPE=RelWithDebInfo $(CMAKE_FLAGS)
	cmake --build $(BUILD_DIR) -j $(JOBS)

build-asan: bootstrap
	cmake -S . -B $(ASAN_BUILD_DIR) -DCMAKE_BUILD_TYPE=Debug -DWEBSTEP_SANITIZE=ON \
	  -DWEBSTEP_BUILD_BENCH=OFF -DCMAKE_CXX_FLAGS_DEBUG="-O1 -g" $(CMAKE_FLAGS)
	cmake --build $(ASAN_BUILD_DIR) -j $(JOBS)

# Only the programs that hold concurrency tests are built with ThreadSanitizer.
build-tsan: bootstrap
	cmake -S . -B $(TSAN_BUILD_DIR) -DCMAKE_BUILD_TYPE=Debug -DWEBSTEP_TSAN=ON \
	  -DWEBSTEP_BUILD_BENCH=OFF -DWEBSTEP_BUILD_CLI=OFF -DCMAKE_CXX_FLAGS_DEBUG="-O1 -g" $(CMAKE_FLAGS)
	cmake --build $(TSAN_BUILD_DIR) -j $(JOBS) --target test_context test_recording test_replay

demo: build
	@bash scripts/demo.sh $(BUILD_DIR)/cli/webstep

test: build build-asan build-tsan
	cd $(BUILD_DIR) && ctest --output-on-failure -j $(JOBS)
	cd $(ASAN_BUILD_DIR) && ASAN_OPTIONS=detect_leaks=1:abort_on_error=1 \
	  UBSAN_OPTIONS=print_stacktrace=1:halt_on_error=1 ctest --output-on-failure -j $(JOBS)
	cd $(TSAN_BUILD_DIR) && TSAN_OPTIONS=halt_on_error=1 ctest --output-on-failure -L concurrency

# The peers of the comparison (gumbo, libxml2, libcurl, uriparser, Boost.URL)
# are installed here only; the comparison leaves out any that are missing.
bench: bootstrap
	@bash bench/peers/install-peers.sh
	cmake -S . -B $(BENCH_BUILD_DIR) -DCMAKE_BUILD_TYPE=Release -DWEBSTEP_BUILD_TESTS=OFF $(CMAKE_FLAGS)
	cmake --build $(BENCH_BUILD_DIR) -j $(JOBS) --target webstep_bench webstep_peers
	$(BENCH_BUILD_DIR)/bench/webstep_bench --benchmark_repetitions=5 --benchmark_report_aggregates_only=true
	$(BENCH_BUILD_DIR)/bench/peers/webstep_peers
	cmake --build $(BENCH_BUILD_DIR) -j $(JOBS) --target webstep_cli && bash bench/load/run-load-bench.sh $(BENCH_BUILD_DIR)

# libFuzzer programs (clang, ASan and UBSan), each run for FUZZ_SECONDS; the
# working corpora and any crash input stay in fuzz/corpus-run/.
fuzz: bootstrap
	@bash fuzz/bootstrap.sh
	cmake -S . -B $(FUZZ_BUILD_DIR) -DCMAKE_BUILD_TYPE=RelWithDebInfo -DWEBSTEP_FUZZ=ON \
	  -DCMAKE_C_COMPILER=clang -DCMAKE_CXX_COMPILER=clang++ -DWEBSTEP_BUILD_TESTS=OFF \
	  -DWEBSTEP_BUILD_BENCH=OFF -DWEBSTEP_BUILD_CLI=OFF $(CMAKE_FLAGS)
	cmake --build $(FUZZ_BUILD_DIR) -j $(JOBS)
	bash fuzz/run.sh $(FUZZ_BUILD_DIR) $(FUZZ_SECONDS)

install: build
	cmake --install $(BUILD_DIR) --prefix $(PREFIX)

format:
	git ls-files '*.cpp' '*.h' | xargs clang-format -i

clean:
	rm -rf $(BUILD_DIR) $(ASAN_BUILD_DIR) $(TSAN_BUILD_DIR) $(BENCH_BUILD_DIR)
