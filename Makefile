# Shortcuts for CMake and the checks. Each target installs the Debian packages that it
# needs.

JOBS ?= $(shell nproc)
MAKEFLAGS += --no-print-directory
PREFIX ?= /usr/local
# JSON files for `make bench`, in addition to the configuration that it generates.
FILES ?=
BENCH_OPTIONS = --benchmark_repetitions=15 --benchmark_enable_random_interleaving=true \
  --benchmark_min_time=0.01 --benchmark_report_aggregates_only=true \
  --benchmark_out=build/bench/results.json
# `make load`: the number of rounds, the seconds of each measurement, then the numbers of
# connections.
LOAD ?= 5 2 1 100
# How long `make soak` runs each of its five situations.
SOAK_SECONDS ?= 150
# How long `make fuzz` runs each target.
FUZZ_SECONDS ?= 60
# The folder of an MPack with which `make test` runs the tests a second time.
NODETREE_MPACK_DIR ?= $(wildcard ../shared/mpack)
# The targets tests/fuzz/NAME.cpp that it runs; empty for all.
FUZZ_TARGETS ?=

BUILD_PACKAGES = g++ cmake make pkg-config libyajl-dev libpcre2-dev
TEST_PACKAGES = $(BUILD_PACKAGES) libgtest-dev locales python3 binutils mandoc parallel bash
ABI_PACKAGES = $(BUILD_PACKAGES) abigail-tools
LINT_PACKAGES = $(TEST_PACKAGES) $(ABI_PACKAGES) clang-format clang-tidy
PACKAGE_PACKAGES = $(BUILD_PACKAGES) debhelper dpkg-dev lintian
BENCH_PACKAGES = $(BUILD_PACKAGES) libbenchmark-dev libjansson-dev libjson-c-dev \
  libcjson-dev libmsgpack-dev libjq-dev nlohmann-json3-dev python3-matplotlib
FUZZ_PACKAGES = $(BUILD_PACKAGES) clang libclang-rt-14-dev

INSTALL_PACKAGES = @cmake/install-packages.sh
SOURCES = $(shell find . -name build -prune -o -name '.?*' -prune -o -type f \
  \( -name '*.c' -o -name '*.h' -o -name '*.cpp' -o -name '*.hpp' \) -print | sort)
# Translation units of the release build. clang-tidy takes their options from a build folder
# that is never built, because it cannot read GCC's precompiled headers. Headers are checked
# with the units that include them.
TIDY_SOURCES = $(filter-out ./bench/% ./tests/consumer/% ./tests/fuzz/% %/coverage_end.cpp %/mpack_chunks.cpp \
  %/check_headers.c %/hpp_refused.cpp,\
  $(filter %.c %.cpp,$(SOURCES)))

.PHONY: all build demo test test-mpack tsan valgrind lint format bench load soak fuzz coverage install uninstall package \
  abi abi-update docs docs-browser ports compilers clean help

all: build

# Without tests, which need more packages.
build:
	$(INSTALL_PACKAGES) $(BUILD_PACKAGES)
	cmake --preset release -DNODETREE_TESTS=OFF
	cmake --build build/release -j $(JOBS)

demo: build
	examples/demo.sh build/release

test:
	$(INSTALL_PACKAGES) $(TEST_PACKAGES)
	cmake --preset asan
	cmake --build build/asan -j $(JOBS)
	cmake --preset release -DNODETREE_TESTS=ON
	cmake --build build/release -j $(JOBS)
	ctest --preset asan -j $(JOBS)
	ctest --preset release -j $(JOBS)
	$(if $(NODETREE_MPACK_DIR),$(MAKE) test-mpack)

# The same test programs, with a library that uses this MPack instead of codec/mpack.
test-mpack:
	$(if $(NODETREE_MPACK_DIR),,$(error NODETREE_MPACK_DIR names no MPack))
	$(INSTALL_PACKAGES) $(TEST_PACKAGES)
	cmake --preset release -DNODETREE_TESTS=ON
	cmake --build build/release -j $(JOBS)
	cmake --preset mpack -DNODETREE_MPACK_DIR="$(abspath $(NODETREE_MPACK_DIR))"
	cmake --build build/mpack -j $(JOBS) --target nodetree nodetree_static nodetree_man nodetree_tool
	ctest --preset mpack -R '^(consumer|exports)$$'
	LD_LIBRARY_PATH="$(CURDIR)/build/mpack" NODETREE_OTHER_MPACK=1 \
	  ctest --preset release -j $(JOBS) -E '^(consumer|exports|headers|hpp_refused|mpack|docs)$$'

tsan:
	$(INSTALL_PACKAGES) $(TEST_PACKAGES)
	cmake --preset tsan
	cmake --build build/tsan -j $(JOBS) --target thread_test
	ctest --preset tsan -R '^thread$$'

valgrind:
	$(INSTALL_PACKAGES) $(TEST_PACKAGES) valgrind
	cmake --preset valgrind
	cmake --build build/valgrind -j $(JOBS)
	ctest --preset valgrind -j $(JOBS)

lint:
	$(INSTALL_PACKAGES) $(LINT_PACKAGES)
	clang-format --dry-run -Werror $(SOURCES)
	python3 cmake/check_layers.py
	$(MAKE) abi
	$(MAKE) docs
	cmake --preset release -DNODETREE_TESTS=ON -B build/lint
	printf '%s\n' $(TIDY_SOURCES) | xargs -n 1 -P $(JOBS) \
	  clang-tidy -p build/lint --quiet --extra-arg=-Wno-unknown-warning-option
	@echo 'lint: no problems'

format:
	$(INSTALL_PACKAGES) clang-format
	clang-format -i $(SOURCES)

bench:
	$(INSTALL_PACKAGES) $(BENCH_PACKAGES)
	cmake --preset bench
	cmake --build build/bench -j $(JOBS) --target nodetree_bench
	python3 bench/generate.py > build/bench/configuration.json
	build/bench/bench/nodetree_bench $(BENCH_OPTIONS) build/bench/configuration.json $(FILES) >/dev/null
	/usr/bin/python3 bench/report.py build/bench/results.json build/bench/bench.svg

# The example service under load, compared with an echo service and with jansson.
load:
	$(INSTALL_PACKAGES) $(BENCH_PACKAGES)
	cmake --preset bench
	cmake --build build/bench -j $(JOBS)
	python3 bench/load/load.py build/bench $(LOAD)

# The same under attack, with the sanitizers; the test with little memory without them,
# because they need much.
soak:
	$(INSTALL_PACKAGES) $(TEST_PACKAGES)
	cmake --preset asan
	cmake --build build/asan -j $(JOBS) --target example_serve
	cmake --preset release
	cmake --build build/release -j $(JOBS) --target example_serve
	python3 tests/serve_test.py build/asan/examples/serve examples/data/booking_rules.json $(SOAK_SECONDS)
	python3 tests/serve_test.py build/release/examples/serve examples/data/booking_rules.json $(SOAK_SECONDS) \
	  Serve.test_refuses_requests_without_memory

fuzz:
	$(INSTALL_PACKAGES) $(FUZZ_PACKAGES)
	cmake --preset fuzz
	cmake --build build/fuzz -j $(JOBS)
	tests/fuzz/run.sh build/fuzz $(FUZZ_SECONDS) $(FUZZ_TARGETS)

# Without the test of threads, which would corrupt the counters.
coverage:
	$(INSTALL_PACKAGES) $(TEST_PACKAGES) gcovr
	cmake --preset coverage
	cmake --build build/coverage -j $(JOBS)
	find build/coverage -name '*.gcda' -delete
	ctest --preset coverage -j $(JOBS) -E '^thread$$'
	gcovr --root . $(patsubst %,--exclude %,tests examples docs tool) --json build/coverage.json build/coverage
	gcovr --add-tracefile build/coverage.json
	gcovr --add-tracefile build/coverage.json --exclude-throw-branches --branches

# Compares the binary interface with its stored description; abi-update renews the
# description.
abi abi-update:
	$(INSTALL_PACKAGES) $(ABI_PACKAGES)
	cmake --preset abi
	cmake --build build/abi -j $(JOBS) --target nodetree
	cmake/abi/$@.sh build/abi/libnodetree.so

# The tests that `make ports` and `make compilers` build and run; empty for all.
TESTS ?=

# The machines that differ most from the usual one; PORTS="s390x" selects one of them.
PORTS ?= i386 arm64 s390x
ports:
	set -e; for machine in $(PORTS); do TESTS="$(TESTS)" cmake/port.sh $$machine; done

# Debian 12's compilers in every form of cmake/compilers.sh. Debian has no sanitizers for
# clang-15.
COMPILERS ?= $(filter-out clang-15:asan,$(foreach compiler,gcc clang-14 clang-15 clang-16 clang-19,\
  $(foreach form,release asan debian,$(compiler):$(form))))
compilers:
	set -e; for compiler in $(COMPILERS); do TESTS="$(TESTS)" cmake/compilers.sh $$compiler; done

# Honours DESTDIR. The list of installed files is installed too, because uninstall needs it.
# With sudo, the files in build/ are given to the calling user.
MANIFEST = $(DESTDIR)$(PREFIX)/share/nodetree/installed.txt
install: build
	DESTDIR="$(DESTDIR)" cmake --install build/release --prefix "$(PREFIX)"
	mkdir -p "$(dir $(MANIFEST))"
	mv build/release/install_manifest.txt "$(MANIFEST)"
	if [ -n "$$SUDO_UID" ]; then chown -R "$$SUDO_UID:$$SUDO_GID" build; fi
	if [ -z "$(DESTDIR)" ] && [ "$$(id -u)" -eq 0 ]; then ldconfig; fi

uninstall:
	@if [ ! -f "$(MANIFEST)" ]; then echo "nodetree is not installed below $(DESTDIR)$(PREFIX)"; \
	else cmake/uninstall.sh "$(MANIFEST)" "$(DESTDIR)"; fi

package:
	$(INSTALL_PACKAGES) $(PACKAGE_PACKAGES)
	cmake/package.sh build/package

# Web pages made from the comments of the public headers and the guide. A name without a
# comment, a missing comment and a dead link are errors.
docs:
	$(INSTALL_PACKAGES) doxygen python3
	rm -rf build/docs && mkdir -p build
	doxygen docs/doxygen/Doxyfile
	python3 docs/doxygen/check_pages.py build/docs/html include

# Also opens each page in a browser.
docs-browser: docs
	$(INSTALL_PACKAGES) chromium chromium-driver
	python3 docs/doxygen/check_pages.py build/docs/html include /usr/bin/chromedriver

clean:
	rm -rf build

help:
	@echo 'make            build the library, the tool and the examples in build/release'
	@echo 'make demo       build, then run examples/demo.sh'
	@echo 'make test       all tests, plain and under AddressSanitizer and UBSan'
	@echo 'make test-mpack all tests with the MPack in NODETREE_MPACK_DIR'
	@echo 'make tsan       distinct objects on distinct threads, under ThreadSanitizer'
	@echo 'make valgrind   the test programs under valgrind'
	@echo 'make lint       formatting, layers, abi, docs, clang-tidy; make format'
	@echo '                formats the sources'
	@echo 'make bench      benchmarks, as tables and build/bench/bench.svg; FILES="a.json b.json" adds inputs'
	@echo 'make load       the example service under load; LOAD="ROUNDS SECONDS CONNECTIONS..."'
	@echo 'make soak       the example service under attack, 5 times for SOAK_SECONDS=$(SOAK_SECONDS)'
	@echo 'make fuzz       all fuzz targets, or FUZZ_TARGETS, for FUZZ_SECONDS=$(FUZZ_SECONDS) each; findings in build/fuzz/findings'
	@echo 'make coverage   the lines and branches of the library that the tests reach'
	@echo 'make install    install into PREFIX=$(PREFIX), below DESTDIR if given; make uninstall'
	@echo 'make package    Debian packages in build/package'
	@echo 'make abi        changes of the binary interface; make abi-update accepts them'
	@echo 'make docs       reference and guide as web pages, build/docs/html/index.html;'
	@echo '                make docs-browser also opens each of them in a browser'
	@echo 'make ports      the tests on PORTS="$(PORTS)", cross-compiled and under qemu-user'
	@echo 'make compilers  the tests with COMPILERS, by default all of Debian, in release, with sanitizers'
	@echo '                and as packaged'
	@echo 'make clean      remove build/'
