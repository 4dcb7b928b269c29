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

# A checkout that was moved or copied keeps a CMake cache naming the old
# folders, and CMake refuses it; such a cache is dropped and made again here.
CACHE := $(BUILD_DIR)/CMakeCache.txt

configure: deps
	@if [ -f $(CACHE) ] && ! { grep -qxF 'CMAKE_HOME_DIRECTORY:INTERNAL=$(CURDIR)' $(CACHE) && \
	    grep -qxF 'CMAKE_CACHEFILE_DIR:INTERNAL=$(abspath $(BUILD_DIR))' $(CACHE); }; then \
	  echo "$(BUILD_DIR) was configured for another checkout; configuring it again for this one."; \
	  rm -rf $(CACHE) $(BUILD_DIR)/CMakeFiles; \
	fi
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
