# Thin calls of the CMake workflow presets. `make demo` and `make test` are all that a newcomer needs; both install
# what is missing (as root, or through sudo), configure, build and run.

.PHONY: demo demo-kafka test soak bench check aarch64 coverage install package release deps clean

# One at a time, whoever calls: two builds in one folder ruin each other.
.NOTPARALLEL:
alone = mkdir -p build && flock --close build/lock
workflow = $(alone) cmake --workflow --preset

demo: deps
	@$(workflow) demo
	@build/release/examples/reporting_server/demo.sh

# A mock broker on loopback, the reporting server that logs to it, and what kcat reads there.
demo-kafka: deps-kafka
	@$(workflow) demo-kafka
	@build/release/examples/reporting_server/demo_kafka.sh

test: deps-kafka deps-integrations
	@$(workflow) test

# Calls to the system that fail, each of them everywhere; then logs, programs and Kafka brokers that fail in every way,
# for MINUTES, of which brokers have a quarter. All end with a table of what has become of the messages.
MINUTES ?= 60
soak: release
	@QZLOG_EVERY_FAULT=1 build/release/tests/filesystem/test_filesystem --gtest_filter='Faults.*'
	@QZLOG_EVERY_FAULT=1 build/release/tests/stress/test_log_faults
	@build/release/tests/stress/stress --milliseconds 3000 --flood 10000000 \
	    --tool build/release/tools/qzlog/qzlog --minutes $$(($(MINUTES) * 3 / 4))
	@! [ -e build/release/tests/stress/stress_kafka ] || \
	    build/release/tests/stress/stress_kafka --milliseconds 3000 --minutes $$(($(MINUTES) / 4))

release: deps
	@$(workflow) release

bench: deps-bench
	@$(workflow) bench
	@scripts/bench.sh

# All that guards the project beside the tests: format, lint, both compilers, sanitizers, the installed package.
check: deps-check deps-bench
	@$(alone) scripts/check.sh

# The unit tests on 64-bit ARM, in qemu's user mode.
aarch64: deps-aarch64
	@$(workflow) aarch64

# Which share of the lines of each folder the tests run.
coverage: deps-kafka deps-integrations deps-coverage
	@$(workflow) coverage
	@scripts/coverage.sh

# The Debian packages, below build/package.
package: deps-check
	@$(alone) scripts/package.sh

install: release
	@cmake --install build/release

# The Debian packages that the build needs, and those that one of the targets above needs besides.
deps:
	@scripts/deps.sh build

deps-%: deps
	@scripts/deps.sh $*

clean:
	rm -rf build
