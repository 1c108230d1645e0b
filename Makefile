# The two commands of the README, and the builds behind them. Each job
# installs only the Debian packages it needs (scripts/install-deps.sh): the
# main job's build leaves the tests out, and so needs none of what only they
# use.
#   make run       set up, build and run the main job
#   make test      set up, build and run every test
#   make sanitize  the tests again under AddressSanitizer, UBSan and LeakSanitizer
#   make tsan      the tests of what runs on several threads (the server, indication
#                  delivery) under ThreadSanitizer, inmem serve with real clients included
#   make bench     the benchmark suite (Release build; JSON in build-bench/bench.json),
#                  then the indications measured end to end (make bench-indications)
#                  and the server against the floor (make bench-server); with
#                  INMEM_BENCH_HUGE=1 first the systems model up to 2.1 x 10^7
#                  instances (make bench-huge: bench/huge_bench.py; table in
#                  build-bench/huge.txt)
#   make bench-server  inmem serve under wrk beside nginx answering the same bytes
#                  (table in build-bench/server.txt; SERVER_BENCH_ARGS="SECONDS RUNS",
#                  default 10 s, 3 runs, about 13 minutes)
#   make fuzz      the fuzz harnesses (clang, libFuzzer), each run FUZZ_SECONDS
#   make deb       a Debian package (CPack) in build-deb/

BUILD_DIR ?= build
SANITIZE_DIR ?= build-sanitize
TSAN_DIR ?= build-tsan
BENCH_DIR ?= build-bench
BENCH_ARGS ?=
SERVER_BENCH_ARGS ?=
FUZZ_DIR ?= build-fuzz
FUZZ_SECONDS ?= 60
FUZZ_HARNESSES ?=
DEB_DIR ?= build-deb
JOBS ?= $(shell nproc)
CMAKE_FLAGS ?= -DCMAKE_BUILD_TYPE=RelWithDebInfo -DINMEM_WERROR=ON

.PHONY: deps build run test sanitize tsan bench bench-huge bench-indications bench-server fuzz deb clean

# What the tests need; `install-deps.sh run` is what the main job alone does.
deps:
	@bash scripts/install-deps.sh test

build: deps
	cmake -S . -B $(BUILD_DIR) $(CMAKE_FLAGS) -DBUILD_TESTING=ON
	cmake --build $(BUILD_DIR) -j $(JOBS)

# The tool, its plug-in and libraries, without the tests.
run:
	@bash scripts/install-deps.sh run
	cmake -S . -B $(BUILD_DIR) $(CMAKE_FLAGS) -DBUILD_TESTING=OFF
	cmake --build $(BUILD_DIR) -j $(JOBS)
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

# The suites whose code runs on several threads: the server (requests on
# several threads at once, with a read/write stress run), indications and
# their delivery, the listener, and inmem serve under real clients. Left
# out: the indications end to end, whose listeners must keep up with a
# burst that its small queues would otherwise drop (the sanitizer makes
# every process several times slower); one at a time, for the same reason.
TSAN_TESTS = ConcurrentRequestsTest|RepositoryLock|HttpFraming|LongAnswer|Delivery|IndicationService|Listener|Export|InmemServe|InmemListen
TSAN_TARGETS = server_tests delivery_tests indication_tests listener_tests inmem_cli inmem

tsan: deps
	cmake -S . -B $(TSAN_DIR) $(CMAKE_FLAGS) -DINMEM_TSAN=ON -DBUILD_TESTING=ON
	cmake --build $(TSAN_DIR) -j $(JOBS) --target $(TSAN_TARGETS)
	TSAN_OPTIONS=halt_on_error=1:second_deadlock_stack=1 \
	ctest --test-dir $(TSAN_DIR) --output-on-failure -R '$(TSAN_TESTS)'

bench:
	@bash scripts/install-deps.sh bench
	cmake -S . -B $(BENCH_DIR) -DCMAKE_BUILD_TYPE=Release -DINMEM_WERROR=ON -DINMEM_BUILD_BENCH=ON -DBUILD_TESTING=OFF
	cmake --build $(BENCH_DIR) -j $(JOBS) --target inmem_bench
	$(BENCH_DIR)/bench/inmem_bench --benchmark_out=$(BENCH_DIR)/bench.json \
	  --benchmark_out_format=json $(BENCH_ARGS)
	if [ "$$INMEM_BENCH_HUGE" = 1 ]; then $(MAKE) --no-print-directory bench-huge; fi
	$(INDICATION_BENCH)
	$(SERVER_BENCH)

# The systems model from 10^3 to 2.1 x 10^7 instances, each size in a
# process of its own, and inmem serve on its snapshots; sizes that the
# machine's free memory cannot hold are left out, with a word.
bench-huge:
	@bash scripts/install-deps.sh bench
	cmake -S . -B $(BENCH_DIR) -DCMAKE_BUILD_TYPE=Release -DINMEM_WERROR=ON -DINMEM_BUILD_BENCH=ON -DBUILD_TESTING=OFF
	cmake --build $(BENCH_DIR) -j $(JOBS) --target inmem_huge_bench inmem_cli
	/usr/bin/python3 bench/huge_bench.py $(BENCH_DIR)/bench/inmem_huge_bench $(BENCH_DIR)/tools/inmem \
	  > $(BENCH_DIR)/huge.txt; status=$$?; cat $(BENCH_DIR)/huge.txt; exit $$status

# Indications end to end: inmem serve, inmem listen and answering listeners
# on loopback (bench/indication_bench.py; table in build-bench/indications.txt).
define INDICATION_BENCH
cmake --build $(BENCH_DIR) -j $(JOBS) --target inmem_cli inmem export_sink
/usr/bin/python3 bench/indication_bench.py $(BENCH_DIR)/tools/inmem tests/server/fixture.mof \
  $(BENCH_DIR)/bench/export_sink > $(BENCH_DIR)/indications.txt; status=$$?; cat $(BENCH_DIR)/indications.txt; exit $$status
endef

bench-indications:
	@bash scripts/install-deps.sh bench
	cmake -S . -B $(BENCH_DIR) -DCMAKE_BUILD_TYPE=Release -DINMEM_WERROR=ON -DINMEM_BUILD_BENCH=ON -DBUILD_TESTING=OFF
	$(INDICATION_BENCH)

# inmem serve under load against the machine's floor: wrk sends GetInstance,
# Associators and EnumerateInstances to it and to nginx (one worker)
# answering the same bytes, on loopback (bench/server_bench.py and
# bench/server_bench.lua; table in build-bench/server.txt).
define SERVER_BENCH
cmake --build $(BENCH_DIR) -j $(JOBS) --target inmem_cli
/usr/bin/python3 bench/server_bench.py $(BENCH_DIR)/tools/inmem $(SERVER_BENCH_ARGS) \
  > $(BENCH_DIR)/server.txt; status=$$?; cat $(BENCH_DIR)/server.txt; exit $$status
endef

bench-server:
	@bash scripts/install-deps.sh bench
	cmake -S . -B $(BENCH_DIR) -DCMAKE_BUILD_TYPE=Release -DINMEM_WERROR=ON -DINMEM_BUILD_BENCH=ON -DBUILD_TESTING=OFF
	$(SERVER_BENCH)

# Fuzzers: every library with coverage hooks and sanitizers, each harness run
# on a scratch copy of its seed corpus (fuzz/corpus/); FUZZ_HARNESSES picks some.
fuzz:
	@bash scripts/install-deps.sh fuzz
	cmake -S . -B $(FUZZ_DIR) -DCMAKE_CXX_COMPILER=clang++ -DCMAKE_BUILD_TYPE=RelWithDebInfo \
	  -DINMEM_WERROR=ON -DINMEM_BUILD_FUZZ=ON -DBUILD_TESTING=OFF
	cmake --build $(FUZZ_DIR) -j $(JOBS) --target inmem_fuzzers
	bash scripts/run-fuzzers.sh $(FUZZ_DIR) $(FUZZ_SECONDS) $(FUZZ_HARNESSES)

# The package installs under /usr, with the service's options in /etc/inmem.
deb:
	@bash scripts/install-deps.sh deb
	cmake -S . -B $(DEB_DIR) -DCMAKE_BUILD_TYPE=Release -DINMEM_WERROR=ON -DBUILD_TESTING=OFF \
	  -DCMAKE_INSTALL_PREFIX=/usr -DINMEM_PACKAGE_DEB=ON
	cmake --build $(DEB_DIR) -j $(JOBS)
	cd $(DEB_DIR) && cpack -G DEB

clean:
	rm -rf $(BUILD_DIR) $(SANITIZE_DIR) $(TSAN_DIR) $(BENCH_DIR) $(FUZZ_DIR) $(DEB_DIR)
