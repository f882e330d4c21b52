# The one way in: every target sets up what its kind of work needs (scripts/setup), then drives
# CMake. A plain build makes the libraries and the tool; the tests, benchmarks and fuzzers are
# switched on by the targets that need them.
BUILD ?= build
JOBS ?= 2
PREFIX ?= /usr/local
CMAKE_FLAGS = -DCMAKE_BUILD_TYPE=RelWithDebInfo

.PHONY: build test run sample install package package-check clean

build:
	@scripts/setup run
	@cmake -S . -B $(BUILD) $(CMAKE_FLAGS) -DBUILD_TESTING=OFF -DROMBUS_BENCH=OFF > /dev/null
	@cmake --build $(BUILD) -j$(JOBS)

# Every test three times, in random order: a test that depends on another or on its order fails.
test:
	@scripts/setup test
	@cmake -S . -B $(BUILD) $(CMAKE_FLAGS) -DBUILD_TESTING=ON > /dev/null
	@cmake --build $(BUILD) -j$(JOBS)
	@cd $(BUILD) && ctest --output-on-failure -j$(JOBS) --repeat until-fail:3 --schedule-random

# Shows the bundled sample bus: two ports, well-formed nodes and one of each kind of problem.
# rombus exits with 1 there, as the sample has problems; that is what it is meant to show.
run: build
	@$(BUILD)/bin/rombus scan --sysfs examples/sysfs; status=$$?; [ $$status -le 1 ]

# Writes the sample tree and bus anew from tools/make-sample, and the bus's picture in doc/.
sample: build
	@rm -rf examples/sysfs && $(BUILD)/bin/make-sample examples/sysfs
	@mkdir -p examples/bus && $(BUILD)/bin/make-sample-bus examples/bus/card0.bus
	@$(BUILD)/bin/rombus topology --graph svg examples/bus/card0.bus > doc/sample-bus.svg; [ $$? -le 1 ]

# Installs under PREFIX (/usr/local), below DESTDIR when it is set: make install DESTDIR=/tmp/r
install: build
	@cmake --install $(BUILD) --prefix $(PREFIX)

# The Debian packages, in build-package/: rombus (the tool), librombus0 (the shared library) and
# librombus-dev (headers, CMake package, pkg-config): make package; dpkg -i build-package/*.deb
# Built with Debian's build flags and every hardening feature (stack protector, fortified
# functions, PIE, read-only relocations bound now), as a package of the archive is.
PACKAGE_BUILD ?= build-package
BUILDFLAGS = DEB_BUILD_MAINT_OPTIONS=hardening=+all dpkg-buildflags --get
package:
	@scripts/setup package
	@cmake -S . -B $(PACKAGE_BUILD) $(CMAKE_FLAGS) -DBUILD_TESTING=OFF -DROMBUS_BENCH=OFF \
	    -DCMAKE_INSTALL_PREFIX=/usr -DCMAKE_SKIP_INSTALL_RPATH=ON -DROMBUS_INSTALL_REGISTRY=OFF \
	    "-DCMAKE_C_FLAGS=$$($(BUILDFLAGS) CFLAGS) $$($(BUILDFLAGS) CPPFLAGS)" \
	    "-DCMAKE_CXX_FLAGS=$$($(BUILDFLAGS) CXXFLAGS) $$($(BUILDFLAGS) CPPFLAGS)" \
	    "-DCMAKE_EXE_LINKER_FLAGS=$$($(BUILDFLAGS) LDFLAGS)" \
	    "-DCMAKE_SHARED_LINKER_FLAGS=$$($(BUILDFLAGS) LDFLAGS)" > /dev/null
	@cmake --build $(PACKAGE_BUILD) -j$(JOBS)
	@cd $(PACKAGE_BUILD) && rm -f *.deb && cpack -G DEB > /dev/null
	@scripts/multi-arch $(PACKAGE_BUILD)/librombus0_*.deb $(PACKAGE_BUILD)/librombus-dev_*.deb
	@cd $(PACKAGE_BUILD) && ls *.deb

# What CI proves of the packages: unpacked into a temporary root (the machine untouched), the tool
# reads the sample bus, the consumer example builds against the -dev package with the compiler's
# default flags and gives the tool's statuses, the headers declare only what the libraries
# export, and lintian (pedantic) finds no error and no warning.
package-check: package
	@scripts/package-check $(PACKAGE_BUILD)

clean:
	rm -rf $(BUILD) $(PACKAGE_BUILD)

# Proof under fire: fuzzing, sanitizers, leak checks and benchmarks. The sanitized suite and the
# fuzzers share one build folder: clang 14 instruments every library and test program with
# AddressSanitizer, UBSan and libFuzzer's coverage; only the fuzz targets link libFuzzer itself,
# so the test programs run as plain programs under the sanitizers.
ASAN_BUILD ?= build-asan
FUZZ_SECONDS ?= 60
SANITIZE_FLAGS = -fsanitize=fuzzer-no-link,address,undefined -fno-sanitize-recover=all \
                 -fno-omit-frame-pointer
SANITIZE_ENV = ASAN_OPTIONS=detect_leaks=1:abort_on_error=1:strict_string_checks=1 \
               UBSAN_OPTIONS=print_stacktrace=1:halt_on_error=1

.PHONY: sanitize-configure fuzz-build fuzz fuzz-smoke fuzz-corpus sanitize valgrind bench

sanitize-configure:
	@scripts/setup sanitize fuzz
	@cmake -S . -B $(ASAN_BUILD) -DCMAKE_BUILD_TYPE=RelWithDebInfo -DBUILD_TESTING=ON -DROMBUS_FUZZ=ON \
	    -DROMBUS_BENCH=OFF -DCMAKE_C_COMPILER=clang-14 -DCMAKE_CXX_COMPILER=clang++-14 \
	    "-DCMAKE_CXX_FLAGS=$(SANITIZE_FLAGS)" "-DCMAKE_C_FLAGS=$(SANITIZE_FLAGS)" > /dev/null

# The libFuzzer targets alone.
fuzz-build: sanitize-configure
	@cmake --build $(ASAN_BUILD) -j$(JOBS) --target fuzzers make-corpus

# Each fuzz target for FUZZ_SECONDS seconds (make fuzz FUZZ_SECONDS=600), JOBS at a time.
fuzz: fuzz-build
	@FUZZ_JOBS=$(JOBS) fuzz/run $(ASAN_BUILD) $(FUZZ_SECONDS)

# What CI runs: each target for 20 seconds.
fuzz-smoke: fuzz-build
	@FUZZ_JOBS=$(JOBS) fuzz/run $(ASAN_BUILD) 20

# Writes the seed corpus of fuzz/corpus anew from fuzz/make-corpus.cpp.
fuzz-corpus: fuzz-build
	@rm -rf fuzz/corpus && ASAN_OPTIONS=detect_leaks=0 $(ASAN_BUILD)/bin/make-corpus fuzz/corpus

# The whole test suite (and the fuzz targets) built with AddressSanitizer and
# UndefinedBehaviorSanitizer; any report stops the test that made it.
sanitize: sanitize-configure
	@$(SANITIZE_ENV) cmake --build $(ASAN_BUILD) -j$(JOBS)
	@cd $(ASAN_BUILD) && $(SANITIZE_ENV) ctest --output-on-failure -j$(JOBS)

# The built tool under valgrind memcheck: the sample bus and every seed ROM and image.
valgrind: build
	@scripts/setup valgrind
	@scripts/valgrind $(BUILD)

# The benchmarks and the whole-process timing; the figures go in bench/README.md.
bench:
	@scripts/setup bench
	@cmake -S . -B $(BUILD) $(CMAKE_FLAGS) -DROMBUS_BENCH=ON > /dev/null
	@cmake --build $(BUILD) -j$(JOBS)
	@bench/run $(BUILD)
