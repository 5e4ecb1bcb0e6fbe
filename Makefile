# Developer shortcuts over the same steps as ./test.sh.
JOBS ?= $(shell nproc)
FUZZ_SECONDS ?= 60
CONFIGURE = cmake -S . -DCMAKE_BUILD_TYPE=RelWithDebInfo

.PHONY: all build test package test-asan test-tsan bench bench-modes bench-host-cpu leak-check soak fuzz clean
all: build

build:
	scripts/build

test:
	./test.sh

# The Debian package (CPack), into build/: the library, vtr-host, its man page, both systemd
# units and sample settings, installed under /usr.
package: build
	cmake --build build --target package

# The whole suite under AddressSanitizer with UndefinedBehaviorSanitizer.
test-asan:
	scripts/install-deps --with operator-views
	$(CONFIGURE) -B build-asan -DVTR_SANITIZE=address -DVTR_BUILD_BENCH=OFF
	cmake --build build-asan -j $(JOBS)
	ASAN_OPTIONS=detect_leaks=1:abort_on_error=1 UBSAN_OPTIONS=print_stacktrace=1:halt_on_error=1 \
	  ctest --test-dir build-asan --output-on-failure -j $(JOBS)

# The whole suite under ThreadSanitizer.
test-tsan:
	scripts/install-deps --with operator-views
	$(CONFIGURE) -B build-tsan -DVTR_SANITIZE=thread -DVTR_BUILD_BENCH=OFF
	cmake --build build-tsan -j $(JOBS)
	TSAN_OPTIONS=halt_on_error=1:second_deadlock_stack=1 \
	  ctest --test-dir build-tsan --output-on-failure -j $(JOBS)

bench:
	scripts/install-deps
	cmake -S . -B build-bench -DCMAKE_BUILD_TYPE=Release
	cmake --build build-bench --target vtr_bench -j $(JOBS)
	build-bench/bench/vtr_bench --benchmark_counters_tabular=true

# Per-sample wall time, tool and host CPU and simulator CPU of the three sampling modes and of
# Debian's prometheus-ipmi-exporter against the simulated two-socket and 500-sensor servers,
# interleaved.
bench-modes: build
	scripts/install-deps --with bench
	build/bench/sampling-modes --rounds 20

# vtr-host's own CPU per sample against the simulated two-socket server and a synthetic
# 500-sensor listing, in both modes.
bench-host-cpu: build
	for mode in false true; do \
	  bench/host-cpu --sim two-socket --option ipmitool-single-run-sampling=$$mode; \
	  bench/host-cpu --sensors 500 --option ipmitool-single-run-sampling=$$mode; \
	done

# Construct, initialize, 50 passes, stop and destroy, three times with dlopen and dlclose,
# under valgrind: no definite and no indirect leak.
leak-check: build
	scripts/install-deps --with valgrind
	valgrind --leak-check=full --errors-for-leak-kinds=definite,indirect --error-exitcode=1 \
	  build/bench/provider-soak --cycles 3 --events 50

# 10,000 passes at interval 0 against the fake tool; prints the first and last resident size.
soak: build
	build/bench/provider-soak --cycles 1 --events 10000

fuzz:
	scripts/install-deps --with fuzz
	CC=clang CXX=clang++ cmake -S . -B build-fuzz -DCMAKE_BUILD_TYPE=RelWithDebInfo -DVTR_BUILD_FUZZ=ON \
	  -DVTR_BUILD_TESTS=OFF -DVTR_BUILD_TOOLS=OFF -DVTR_BUILD_BENCH=OFF
	cmake --build build-fuzz --target vtr_fuzz -j $(JOBS)
	fuzz/run-all build-fuzz/fuzz $(FUZZ_SECONDS)

clean:
	rm -rf build build-*
