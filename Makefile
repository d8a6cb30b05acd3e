# The two commands of a fresh machine: `make run` and `make test`.
BUILD      ?= build
ASAN_BUILD ?= build-asan
JOBS       ?= $(shell nproc)

PREFIX     ?= /usr/local

.PHONY: all build run test sanitize sample clean install package golden

all: build

build:
	cmake -S . -B $(BUILD) -DCMAKE_BUILD_TYPE=Release
	cmake --build $(BUILD) -j $(JOBS)

run: build
	mkdir -p out
	./$(BUILD)/obsforge -S:out/summary.txt examples/sample.log out/sample.obs out/gps.nav out/glonass.nav out/beidou.nav

test: build
	ctest --test-dir $(BUILD) --output-on-failure -j $(JOBS)

# The expected files of the golden whole runs (tests/golden/, and the
# sample's in examples/expected/) and of the sample's quality report
# (examples/expected-qc/) written again with the current build: each
# changed file is shown as a unified diff, then written on a yes, or at once
# with WRITE=1.
golden: build
	tests/golden/golden.sh regenerate $(if $(WRITE),--write) ./$(BUILD)/obsforge tests/golden/*/
	tests/qc/golden_report.sh regenerate $(if $(WRITE),--write) ./$(BUILD)/obsforge-qc

# Every test again, built with AddressSanitizer and UndefinedBehaviorSanitizer.
sanitize:
	cmake -S . -B $(ASAN_BUILD) -DCMAKE_BUILD_TYPE=Debug -DOBSFORGE_SANITIZE=ON
	cmake --build $(ASAN_BUILD) -j $(JOBS)
	ctest --test-dir $(ASAN_BUILD) --output-on-failure -j $(JOBS)

# The executable, its manual page, the README and the sample log under $(PREFIX).
install: build
	cmake --install $(BUILD) --prefix $(PREFIX)

# A Debian package of the same files, in $(BUILD)/.
package: build
	cd $(BUILD) && cpack

clean:
	rm -rf $(BUILD) $(ASAN_BUILD) $(FUZZ_BUILD) build-bench bench/out out

# Writes the sample log again from the real data in examples/data with the
# log-building tool; the result is the same byte for byte. The station's
# navigation file has no BeiDou UTC line, so its values are given here.
sample: build
	./$(BUILD)/tools/rinex2log -b raw -s -m -u -2.7939677238e-09,-5.329070518e-15,0,755 \
	    examples/data/ESBC_2020177_0600_2h_GRC.obs.rnx.gz examples/data/ESBC_2020177_GRC.nav.rnx.gz \
	    examples/sample.log

# Fuzzing with libFuzzer: both fuzz targets built with clang (sanitizers on)
# into $(FUZZ_BUILD), then run one after the other for FUZZ_SECONDS each.
# Inputs found on the way collect in $(FUZZ_BUILD)/corpus/, crashes in
# $(FUZZ_BUILD)/artifacts/; the seeds in fuzz/corpus/ are only read.
FUZZ_BUILD   ?= build-fuzz
FUZZ_SECONDS ?= 60
FUZZ_CXX     ?= clang++-14

.PHONY: fuzz bench

fuzz:
	cmake -S . -B $(FUZZ_BUILD) -DCMAKE_BUILD_TYPE=RelWithDebInfo -DCMAKE_CXX_COMPILER=$(FUZZ_CXX) -DOBSFORGE_FUZZ=ON
	cmake --build $(FUZZ_BUILD) -j $(JOBS) --target frame_reader_fuzz convert_fuzz
	mkdir -p $(FUZZ_BUILD)/corpus/frame_reader $(FUZZ_BUILD)/corpus/convert $(FUZZ_BUILD)/artifacts
	$(FUZZ_BUILD)/fuzz/frame_reader_fuzz -max_total_time=$(FUZZ_SECONDS) -max_len=4096 \
	    -artifact_prefix=$(FUZZ_BUILD)/artifacts/frame_reader- $(FUZZ_BUILD)/corpus/frame_reader fuzz/corpus/frame_reader
	$(FUZZ_BUILD)/fuzz/convert_fuzz -max_total_time=$(FUZZ_SECONDS) -max_len=16384 -close_fd_mask=3 \
	    -artifact_prefix=$(FUZZ_BUILD)/artifacts/convert- $(FUZZ_BUILD)/corpus/convert fuzz/corpus/convert

# The conversion benchmark (Release build in build-bench/, log in bench/out/):
# throughput, peak memory and the ratio to the I/O floor, medians of 5 runs.
bench:
	bench/run_bench.sh
