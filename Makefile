# Entry points: `make demo` and `make check` work on a fresh Debian 12 machine.
JOBS ?= $(shell nproc)

.PHONY: deps build demo check asan tsan clean

deps:
	bash scripts/install-deps.sh

build: deps
	cmake --preset release
	cmake --build --preset release -j $(JOBS)

# The library example, then the tool solving the bundled nonlinear model with
# one log line per iteration (its optimum is 9 - sqrt(35) = 3.0839202...).
demo: build
	./build/release/examples/model_demo
	@echo
	@echo "== Solving examples/nearest_point.nl (see examples/README.md)"
	./build/release/apps/morvex examples/nearest_point.nl outlev=3

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
