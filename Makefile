# The two commands of the README, and the builds behind them.
#   make run       set up, build and run the main job
#   make test      set up, build and run every test
#   make sanitize  the tests again under AddressSanitizer, UBSan and LeakSanitizer

BUILD_DIR ?= build
SANITIZE_DIR ?= build-sanitize
JOBS ?= $(shell nproc)
CMAKE_FLAGS ?= -DCMAKE_BUILD_TYPE=RelWithDebInfo -DINMEM_WERROR=ON

.PHONY: deps build run test sanitize clean

deps:
	@bash scripts/install-deps.sh

build: deps
	cmake -S . -B $(BUILD_DIR) $(CMAKE_FLAGS)
	cmake --build $(BUILD_DIR) -j $(JOBS)

run: build
	$(BUILD_DIR)/tools/inmem inventory

test: build
	ctest --test-dir $(BUILD_DIR) --output-on-failure -j $(JOBS)

sanitize: deps
	cmake -S . -B $(SANITIZE_DIR) $(CMAKE_FLAGS) -DINMEM_SANITIZE=ON
	cmake --build $(SANITIZE_DIR) -j $(JOBS)
	ASAN_OPTIONS=detect_leaks=1:abort_on_error=1:detect_stack_use_after_return=1 \
	UBSAN_OPTIONS=print_stacktrace=1:halt_on_error=1 \
	LSAN_OPTIONS=report_objects=1 \
	ctest --test-dir $(SANITIZE_DIR) --output-on-failure -j $(JOBS)

clean:
	rm -rf $(BUILD_DIR) $(SANITIZE_DIR)
