# Entry points: `make demo` and `make check` work on a fresh Debian 12 machine.
JOBS ?= $(shell nproc)

.PHONY: deps build demo check asan tsan clean

deps:
	bash scripts/install-deps.sh

build: deps
	cmake --preset release
	cmake --build --preset release -j $(JOBS)

demo: build
	./build/release/examples/model_demo

check: build
	ctest --preset release -j $(JOBS)

asan: deps
	cmake --preset asan
	cmake --build --preset asan -j $(JOBS)
	ctest --preset asan -j $(JOBS)

tsan: deps
	cmake --preset tsan
	cmake --build --preset tsan -j $(JOBS)
	ctest --preset tsan -j $(JOBS)

clean:
	rm -rf build
