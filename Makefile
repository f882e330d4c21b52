# The one way in: every target sets up what it needs, then drives CMake.
BUILD ?= build
JOBS ?= 2

.PHONY: setup configure build test run clean

setup:
	@scripts/setup

configure: setup
	@cmake -S . -B $(BUILD) -DCMAKE_BUILD_TYPE=RelWithDebInfo > /dev/null

build: configure
	@cmake --build $(BUILD) -j$(JOBS)

test: build
	@cd $(BUILD) && ctest --output-on-failure -j$(JOBS)

clean:
	rm -rf $(BUILD)
