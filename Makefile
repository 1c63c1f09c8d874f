# The front door. Each target installs what it needs (scripts/setup) and then calls presets and
# scripts, which anybody may call as well.

PREFIX ?= /usr/local
FILE ?=
export QUICK

.PHONY: demo test windows-test windows-demo sanitize fuzz bench docs install check clean help

demo: setup-demo
	scripts/demo $(if $(FILE),"$(FILE)")

test: setup-test
	scripts/test

windows-test: setup-windows-test
	scripts/windows-test

windows-demo: setup-windows-demo
	scripts/windows-demo $(if $(FILE),"$(FILE)")

sanitize: setup-sanitize
	scripts/sanitize

fuzz: setup-fuzz
	scripts/fuzz

bench: setup-bench
	scripts/bench

docs: setup-docs
	scripts/docs

install: setup-install
	scripts/install "$(PREFIX)"

check: setup-check
	scripts/check

clean:
	rm -rf build

help:
	@echo "make demo [FILE=...]   two processes talk in JSON about the README, or about FILE"
	@echo "make test              tests on Linux"
	@echo "make windows-test      the same tests as Windows programs under Wine"
	@echo "make windows-demo      the demo as Windows programs under Wine"
	@echo "make sanitize          tests under ASan, UBSan, LSan and TSan; QUICK=1 for the short ones"
	@echo "make fuzz              a short run of each fuzz target; SECONDS_EACH=60"
	@echo "make bench             measurements beside other libraries"
	@echo "make docs              reference pages in build/docs/html"
	@echo "make install           PREFIX=/usr/local, DESTDIR="
	@echo "make check             formatting, clang-tidy, hygiene"
	@echo "make clean             removes build/"

.PHONY: setup-demo
setup-%:
	@scripts/setup $*
