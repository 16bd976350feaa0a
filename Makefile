# Front door: installs what is missing, builds, runs. The build itself is CMake's (CMakePresets.json).

BUILD_PACKAGES := g++ cmake ninja-build nlohmann-json3-dev libcli11-dev
TEST_PACKAGES := libgtest-dev googletest
WINDOWS_PACKAGES := g++-mingw-w64-x86-64-posix wine64 wine
BENCH_PACKAGES := libbenchmark-dev libeigen3-dev libglm-dev libabsl-dev libboost-serialization-dev \
    libcereal-dev libgeos++-dev
SANITIZE_PACKAGES := clang libclang-rt-14-dev llvm-14

.PHONY: help demo test soak windows-test sanitize clang-test coverage branches mutation sweep fuzz-smoke bench \
    bench-smoke format tidy clean

help:
	@echo "make demo           build the demo and play one life of a part's references"
	@echo "make test           build natively and run every test"
	@echo "make soak           play random lives for 60 s, or SOAK_SECONDS=N, from SOAK_SEED=S"
	@echo "make windows-test   build for Windows and run every test under Wine"
	@echo "make sanitize       run every test under address, leak and undefined-behaviour sanitizers"
	@echo "make clang-test     build with clang++ and run every test"
	@echo "make coverage       tell which lines of ktstd and ktmdl the tests reach"
	@echo "make branches       tell which sides of the decisions in them the tests take"
	@echo "make mutation       tell which small changes in ktstd and ktmdl no test notices"
	@echo "make sweep          put every fault at every point, and write docs/sweeps.md"
	@echo "make fuzz-smoke     replay what fuzzing found, and fuzz each target for 20 s"
	@echo "make bench          time the libraries beside what a user would take instead"
	@echo "make bench-smoke    run each row of the benchmark once"
	@echo "make format         check the layout of the sources"
	@echo "make tidy           run clang-tidy over changed sources"
	@echo "make clean          remove the build folder"

demo:
	@scripts/need.sh $(BUILD_PACKAGES)
	@cmake --preset demo >/dev/null
	@cmake --build --preset demo -- --quiet
	@build/demo/bin/ktmdl-demo samples/holder.step samples/holder-changed.step

test:
	@scripts/need.sh $(BUILD_PACKAGES) $(TEST_PACKAGES)
	cmake --preset dev
	cmake --build --preset dev
	ctest --preset dev --no-tests=error

SOAK_SECONDS ?= 60
SOAK_SEED ?= 1
soak:
	@scripts/need.sh $(BUILD_PACKAGES) $(TEST_PACKAGES)
	cmake --preset dev
	cmake --build --preset dev -- soak_tests
	KTMDL_SOAK_SECONDS=$(SOAK_SECONDS) KTMDL_SOAK_SEED=$(SOAK_SEED) \
	    build/dev/bin/soak_tests --gtest_filter=Lives.KeepToTheModel --gtest_brief=0

clang-test:
	@scripts/need.sh $(BUILD_PACKAGES) $(TEST_PACKAGES) clang
	cmake --preset clang
	cmake --build --preset clang
	ctest --preset clang --no-tests=error

windows-test:
	@scripts/need.sh $(BUILD_PACKAGES) $(TEST_PACKAGES) $(WINDOWS_PACKAGES)
	cmake --preset mingw
	cmake --build --preset mingw
	scripts/wine-test.sh build/mingw

sanitize:
	@scripts/need.sh $(BUILD_PACKAGES) $(TEST_PACKAGES) $(SANITIZE_PACKAGES)
	cmake --preset asan-ubsan
	cmake --build --preset asan-ubsan
	ctest --preset asan-ubsan --no-tests=error

coverage:
	@scripts/need.sh $(BUILD_PACKAGES) $(TEST_PACKAGES) gcovr
	cmake --preset coverage
	cmake --build --preset coverage
	find build/coverage -name '*.gcda' -delete
	ctest --preset coverage --no-tests=error
	gcovr --root . --filter ktstd/ --filter ktmdl/ --exclude-throw-branches --exclude-unreachable-branches \
	    --decisions --json build/coverage/all.json --html-details build/coverage/index.html \
	    --txt build/coverage/coverage.txt build/coverage
	@cat build/coverage/coverage.txt
	@scripts/coverage-table.py build/coverage/all.json

branches:
	@scripts/need.sh $(BUILD_PACKAGES) $(TEST_PACKAGES) $(SANITIZE_PACKAGES) python3
	cmake --preset branches
	cmake --build --preset branches
	rm -rf build/branches/profiles
	ctest --preset branches --no-tests=error
	scripts/branch-coverage.py build/branches

mutation:
	@scripts/need.sh $(BUILD_PACKAGES) $(TEST_PACKAGES) python3
	-tests/mutation/mutate.py --quick --jobs 2
	tests/mutation/mutate.py --survivors --memory --jobs 2

sweep:
	@scripts/need.sh $(BUILD_PACKAGES) $(TEST_PACKAGES)
	cmake --preset dev
	cmake --build --preset dev
	scripts/sweep.sh build/dev docs/sweeps.md

fuzz-smoke:
	@scripts/need.sh $(BUILD_PACKAGES) $(SANITIZE_PACKAGES)
	cmake --preset fuzz
	cmake --build --preset fuzz
	printf "%s\n" archive_load archive_roundtrip step_read log_dump | xargs -P 2 -n 1 scripts/fuzz.sh 20

bench:
	@scripts/need.sh $(BUILD_PACKAGES) $(BENCH_PACKAGES)
	cmake --preset bench
	cmake --build --preset bench
	build/bench/bin/ktmdl-bench --json build/bench/results.json

bench-smoke:
	@scripts/need.sh $(BUILD_PACKAGES) $(BENCH_PACKAGES) python3
	cmake --preset bench
	cmake --build --preset bench
	build/bench/bin/ktmdl-bench --smoke --json build/bench/smoke.json
	scripts/check-bench.py build/bench/smoke.json build/bench/bin/ktmdl-bench --smoke

format:
	@scripts/need.sh clang-format
	scripts/check-format.sh

tidy:
	@scripts/need.sh clang-tidy $(BUILD_PACKAGES) $(TEST_PACKAGES)
	cmake --preset clang -B build/tidy -DKT_TESTS=OFF -DCMAKE_EXPORT_COMPILE_COMMANDS=ON
	scripts/check-tidy.sh build/tidy

clean:
	rm -rf build
