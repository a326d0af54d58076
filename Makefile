# Thin calls of the CMake presets. `make demo` and `make test` are all that a newcomer needs; both install
# what is missing (as root, or through sudo), configure, build and run.

.PHONY: demo demo-kafka test bench check install package packages release clean

demo: release
	@build/release/examples/reporting_server/demo.sh

# A mock broker on loopback, the reporting server that logs to it, and what kcat reads there.
demo-kafka: release
	@scripts/packages.sh kafka
	@build/release/examples/reporting_server/demo_kafka.sh

test: release
	@scripts/packages.sh kafka integrations
	@ctest --preset release

release: packages
	@scripts/build.sh release

bench: packages
	@scripts/packages.sh bench
	@scripts/build.sh bench
	@scripts/bench.sh

# All that guards the project beside the tests: format, lint, both compilers, sanitizers, the installed package.
check: packages
	@scripts/packages.sh check
	@scripts/check.sh

# The Debian packages, below build/package.
package: packages
	@scripts/packages.sh check
	@scripts/package.sh

install: release
	@cmake --install build/release

packages:
	@scripts/packages.sh build

clean:
	rm -rf build
