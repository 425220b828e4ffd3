# Two commands: `make run` builds and starts Parcelo, `make test` builds and runs every test.
BUILD_DIR ?= build
JOBS ?= $(shell nproc)

.PHONY: deps configure build run test bench clean

deps:
	@bash scripts/install-deps.sh

configure: deps
	@cmake -S . -B $(BUILD_DIR) -DCMAKE_BUILD_TYPE=RelWithDebInfo >/dev/null

build: configure
	@cmake --build $(BUILD_DIR) -j $(JOBS)

run: build
	./$(BUILD_DIR)/src/app/parcelo

test: build
	ctest --test-dir $(BUILD_DIR) --output-on-failure -j $(JOBS)

bench: build
	bash bench/peers.sh ../shared/corpus

clean:
	rm -rf $(BUILD_DIR)
