# The one way in: every target sets up what it needs, then drives CMake.
BUILD ?= build
JOBS ?= 2

.PHONY: setup configure build test run sample clean

setup:
	@scripts/setup

configure: setup
	@cmake -S . -B $(BUILD) -DCMAKE_BUILD_TYPE=RelWithDebInfo > /dev/null

build: configure
	@cmake --build $(BUILD) -j$(JOBS)

test: build
	@cd $(BUILD) && ctest --output-on-failure -j$(JOBS)

# Shows the bundled sample bus: two ports, well-formed nodes and one of each kind of problem.
# rombus exits with 1 there, as the sample has problems; that is what it is meant to show.
run: build
	@$(BUILD)/bin/rombus scan --sysfs examples/sysfs; status=$$?; [ $$status -le 1 ]

# Writes the sample tree anew from tools/make-sample.
sample: build
	@rm -rf examples/sysfs && $(BUILD)/bin/make-sample examples/sysfs

clean:
	rm -rf $(BUILD)
