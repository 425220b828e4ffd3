# SPDX-FileCopyrightText: 2026 The Parcelo developers
# SPDX-License-Identifier: GPL-3.0-or-later

# Two commands: `make run` builds and starts Parcelo, `make test` builds and runs every test.
BUILD_DIR ?= build
# The model's tests run a second time here, under AddressSanitizer and UndefinedBehaviorSanitizer.
ASAN_DIR ?= build-asan
# The engine, parcelo-fit and the model, built a third time under ThreadSanitizer (see `tsan`).
TSAN_DIR ?= build-tsan
JOBS ?= $(shell nproc)

.PHONY: deps configure build run lint test tsan stress bench package fuzz clean

deps:
	@bash scripts/install-deps.sh

configure: deps
	@cmake -S . -B $(BUILD_DIR) -DCMAKE_BUILD_TYPE=RelWithDebInfo -DPARCELO_BUILD_APP=ON >/dev/null

build: configure
	@cmake --build $(BUILD_DIR) -j $(JOBS)

run: build
	./$(BUILD_DIR)/src/app/parcelo

# Every QML file of the views and the style kit through qmllint, with the modules' own import
# paths and the model's declared types; any warning fails.
lint: build
	cmake --build $(BUILD_DIR) --target all_qmllint

test: build lint
	ctest --test-dir $(BUILD_DIR) --output-on-failure -j $(JOBS)
	@cmake -S . -B $(ASAN_DIR) -DCMAKE_BUILD_TYPE=Debug -DPARCELO_SANITIZE=ON >/dev/null
	@cmake --build $(ASAN_DIR) -j $(JOBS) --target parcelo_app_model_tests
	ctest --test-dir $(ASAN_DIR) --output-on-failure -j $(JOBS) -L model
	@$(MAKE) --no-print-directory tsan

# Every data race fails a test. Suppressed are only libraries Debian builds without ThreadSanitizer
# (tests/tsan.supp says why for each); Parcelo's own code is never suppressed.
TSAN_TARGETS = parcelo_core_tests parcelo_cli_tests parcelo-fit parcelo_app_model_tests
TSAN_ENV = TSAN_OPTIONS="suppressions=$(CURDIR)/tests/tsan.supp second_deadlock_stack=1"
tsan: deps
	@cmake -S . -B $(TSAN_DIR) -DCMAKE_BUILD_TYPE=RelWithDebInfo -DPARCELO_SANITIZE_THREAD=ON >/dev/null
	@cmake --build $(TSAN_DIR) -j $(JOBS) --target $(TSAN_TARGETS)
	$(TSAN_ENV) ctest --test-dir $(TSAN_DIR) --output-on-failure -j $(JOBS) -L 'engine|cli|model'

# The model's stress run at length under ThreadSanitizer; a failing round replays with its seed:
# `make stress STRESS_SEED=7 STRESS_ROUNDS=200`.
STRESS_SEED ?= 1
STRESS_ROUNDS ?= 200
stress: deps
	@cmake -S . -B $(TSAN_DIR) -DCMAKE_BUILD_TYPE=RelWithDebInfo -DPARCELO_SANITIZE_THREAD=ON >/dev/null
	@cmake --build $(TSAN_DIR) -j $(JOBS) --target tst_stress
	$(TSAN_ENV) PARCELO_STRESS_SEED=$(STRESS_SEED) PARCELO_STRESS_ROUNDS=$(STRESS_ROUNDS) QT_QPA_PLATFORM=offscreen \
	  $(TSAN_DIR)/tests/app/tst_stress

# The fuzzers, built with clang in their own folder, each run for FUZZ_SECONDS (see fuzz/README.md).
FUZZ_DIR ?= build-fuzz
FUZZ_SECONDS ?= 60
fuzz: deps
	@cmake -S . -B $(FUZZ_DIR) -DCMAKE_BUILD_TYPE=RelWithDebInfo -DPARCELO_FUZZ=ON \
	  -DCMAKE_CXX_COMPILER=clang++-14 >/dev/null
	@cmake --build $(FUZZ_DIR) -j $(JOBS)
	@bash fuzz/run.sh $(FUZZ_DIR) ../shared/corpus $(FUZZ_SECONDS)

bench: build
	bash bench/peers.sh ../shared/corpus

# A Debian package of the app and parcelo-fit: build/parcelo_VERSION_ARCH.deb.
package: build
	cmake --build $(BUILD_DIR) --target package

clean:
	rm -rf $(BUILD_DIR) $(ASAN_DIR) $(TSAN_DIR) $(FUZZ_DIR)
