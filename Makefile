# Developer shortcuts over the same steps as ./test.sh.
JOBS ?= $(shell nproc)

.PHONY: all build test clean
all: build

build:
	scripts/install-deps
	cmake -S . -B build -DCMAKE_BUILD_TYPE=RelWithDebInfo
	cmake --build build -j $(JOBS)

test:
	./test.sh

clean:
	rm -rf build build-*
