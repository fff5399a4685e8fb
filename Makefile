# Thin fronts over scripts/ and the CMake presets, which can as well be called directly.

.PHONY: help demo test build sanitize fuzz bench coverage docs format format-check lint clean
.NOTPARALLEL:

help:
	@echo 'make demo          build what it plays, and tell what the example sessions show'
	@echo 'make test          build everything and run the tests'
	@echo 'make build         build everything into build/release/'
	@echo 'make sanitize      run the tests in a program for Linux, under sanitizers'
	@echo 'make fuzz          feed what reads input from outside with random bytes, SECONDS=60 each'
	@echo 'make bench         build and run the benchmarks'
	@echo 'make coverage      run the tests and show which lines they reached'
	@echo 'make docs          make the reference and the guides, build/docs/html/index.html'
	@echo 'make format        format the sources'
	@echo 'make format-check  check that the sources are formatted'
	@echo 'make lint          check who includes whom, what only one compiler reads, the comments of'
	@echo '                   public declarations, and the sources with clang-tidy'
	@echo 'make clean         remove build/ (the fetched tools in .cache/ stay)'
	@echo
	@echo 'Whatever is missing is installed first, by scripts/setup.'

demo:
	@scripts/setup
	@cmake --preset release >/dev/null
	@scripts/build-quietly demo
	@scripts/demo

test: build
	ctest --preset release

build:
	scripts/setup
	cmake --preset release >/dev/null
	cmake --build --preset release

sanitize:
	scripts/setup build native
	cmake --preset sanitize >/dev/null
	cmake --build --preset sanitize
	ctest --preset sanitize

SECONDS = 60
fuzz:
	scripts/setup build native
	scripts/fuzz $(SECONDS)

bench:
	scripts/setup build wine bench
	scripts/bench

coverage:
	scripts/setup build wine coverage
	scripts/coverage

docs:
	scripts/setup docs
	scripts/docs

format:
	scripts/setup lint
	scripts/format

format-check:
	scripts/setup lint
	scripts/format --check

lint:
	scripts/check-layers
	scripts/check-compiler
	scripts/setup build lint docs
	scripts/docs --check
	scripts/lint

clean:
	-scripts/wine-stop
	rm -rf build
