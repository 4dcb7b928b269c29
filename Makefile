# make run   installs what is missing, builds and starts the client
# make test  installs what is missing, builds and runs every test
# make bench builds Release (build-release), compares the client with TinTin++,
#            TinyFugue and KBtin and writes docs/performance.md
# make reliability  plays hostile servers against the client and writes
#            docs/reliability.md
BUILD_DIR ?= build
JOBS ?= $(shell nproc)
CMAKE_FLAGS ?=

.PHONY: deps configure build run test clean

deps:
	@tools/install-deps.sh

configure: deps
	@cmake -S . -B $(BUILD_DIR) -G Ninja $(CMAKE_FLAGS) >/dev/null

build: configure
	@cmake --build $(BUILD_DIR) -j $(JOBS)

run: build
	@tools/run-demo.sh $(BUILD_DIR)

test: build
	@cd $(BUILD_DIR) && QT_QPA_PLATFORM=offscreen ctest --output-on-failure -j $(JOBS)

clean:
	rm -rf $(BUILD_DIR)

.PHONY: bench reliability
bench: deps
	@bench/run-comparison.sh

reliability: deps
	@bench/run-reliability.sh
