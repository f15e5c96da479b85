# Everything starts here. On a fresh Debian machine:
#   make run    installs what is missing, builds, runs the main job
#   make test   installs what is missing, builds both configurations, runs every test
# Also: make build, make install [PREFIX=/usr/local], make deps.
# The Python tests run apart (-L python, verbose) so that pytest's own
# summary line shows in the output.

BUILD      ?= build
ASAN_BUILD ?= build-asan
PREFIX     ?= /usr/local
JOBS       ?= $(shell nproc)
CMAKE_GEN  := -G Ninja

.PHONY: all deps build build-asan run test test-normal test-asan install clean

all: build

deps:
	@scripts/install-deps.sh

$(BUILD)/build.ninja:
	cmake -S . -B $(BUILD) $(CMAKE_GEN) -DCMAKE_BUILD_TYPE=RelWithDebInfo

$(ASAN_BUILD)/build.ninja:
	cmake -S . -B $(ASAN_BUILD) $(CMAKE_GEN) -DCMAKE_BUILD_TYPE=Debug -DQUILLBOX_SANITIZE=ON

build: deps $(BUILD)/build.ninja
	cmake --build $(BUILD) -j $(JOBS)

build-asan: deps $(ASAN_BUILD)/build.ninja
	cmake --build $(ASAN_BUILD) -j $(JOBS)

run: build
	@scripts/run-main-job.sh $(BUILD)

test: test-normal test-asan fuzz

test-normal: build
	@echo "== tests: normal build =="
	cd $(BUILD) && ctest --output-on-failure -j $(JOBS) -LE python
	@echo "== Python tests: normal build =="
	cd $(BUILD) && ctest --output-on-failure -V -L python

test-asan: build-asan
	@echo "== tests: ASan+UBSan build =="
	cd $(ASAN_BUILD) && ASAN_OPTIONS=detect_leaks=1:abort_on_error=1 \
	  UBSAN_OPTIONS=print_stacktrace=1:halt_on_error=1 ctest --output-on-failure -j $(JOBS) -LE python
	@echo "== Python tests: ASan+UBSan build (interpreter with libasan preloaded) =="
	cd $(ASAN_BUILD) && ctest --output-on-failure -V -L python

# Bounded fuzzing of the compound-file and property-set engines and of the
# Stream object's reading members (clang build in build-fuzz; FUZZ_SECONDS split).
.PHONY: fuzz bench
fuzz: deps
	@FUZZ_BUILD=$(CURDIR)/build-fuzz JOBS=$(JOBS) fuzz/run-fuzz.sh

# The benchmarks: compound files and property sets against the shared peers
# and dd, then the Stream object against the platform stream.
bench: deps $(BUILD)/build.ninja
	@scripts/run-bench.sh $(BUILD)

# Rewrites the type library's IDL and C++ header from the data in src/typelib
# (the test TypeLibraryFiles* fails while either copy in the tree is stale).
.PHONY: typelib
TYPELIB_GEN := $(BUILD)/tools/typelib_gen/quillbox_typelib_gen
typelib: deps $(BUILD)/build.ninja
	cmake --build $(BUILD) -j $(JOBS) --target quillbox_typelib_gen
	$(TYPELIB_GEN) idl src/typelib/quillbox.idl
	$(TYPELIB_GEN) header include/quillbox/quillbox.h

install: build
	cmake --install $(BUILD) --prefix $(PREFIX)

clean:
	rm -rf $(BUILD) $(ASAN_BUILD)
