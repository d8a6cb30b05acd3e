# The two commands of a fresh machine: `make run` and `make test`.
BUILD      ?= build
ASAN_BUILD ?= build-asan
JOBS       ?= $(shell nproc)

PREFIX     ?= /usr/local

.PHONY: all build run test sanitize sample clean install package

all: build

build:
	cmake -S . -B $(BUILD) -DCMAKE_BUILD_TYPE=Release
	cmake --build $(BUILD) -j $(JOBS)

run: build
	mkdir -p out
	./$(BUILD)/obsforge -S:out/summary.txt examples/sample.log out/sample.obs out/gps.nav out/glonass.nav out/beidou.nav

test: build
	ctest --test-dir $(BUILD) --output-on-failure -j $(JOBS)

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
	rm -rf $(BUILD) $(ASAN_BUILD) out

# Writes the sample log again with the log-building tool.
sample: build
	./$(BUILD)/tools/make_sample_log examples/sample.log
