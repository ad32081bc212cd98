#!/usr/bin/env bash
# Sets the machine up, then builds and passes every test:
#   dev        Linux debug build, unit and boundary tests; the installed
#              package and a subproject build consumed by examples/consumer
#   clang      Linux release build with clang, standard C++17, -Werror
#   asan       Linux build with AddressSanitizer + UndefinedBehaviorSanitizer
#   tsan       Linux build with ThreadSanitizer (the concurrency test above all)
#   soak       after the asan and tsan tests, moxh5-soak for 30 seconds each
#              (MOXH5_SOAK_SECONDS): many threads calling, completing and
#              closing pages, every page call answered exactly once
#   mingw-x64  Windows x86_64 cross build; tests and the installed package's
#              consumer run under Wine
#   mingw-x86  Windows i686 cross build (the DLL that ships); its tests run
#              under 32-bit Wine. Where the kernel cannot start 32-bit programs
#              and Wine's 32-bit side runs through qemu's user emulation (about
#              a minute per program start), every test runs but for a few unit
#              tests that qemu cannot run, which are listed
#   fuzz       a short libFuzzer run over every module (MOXH5_FUZZ_SECONDS)
# First it prints the test-to-code line ratios (tools/test_ratio.sh).
# Stops at the first failure. Set MOXH5_SKIP_SETUP=1 to skip the set-up step.
set -euo pipefail
ROOT=$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)
cd "$ROOT"

if [ "${MOXH5_SKIP_SETUP:-0}" != 1 ]; then
    bash tools/setup.sh
fi

step() { printf '\n=== %s\n' "$*"; }

step "test lines per code line (a report, not a gate)"
bash tools/test_ratio.sh

for preset in dev clang asan tsan mingw-x64; do
    step "configure, build and test: $preset"
    cmake --preset "$preset" >/dev/null
    cmake --build --preset "$preset"
    ctest --preset "$preset"
    case "$preset" in
        asan | tsan)
            step "soak under $preset, ${MOXH5_SOAK_SECONDS:-30} seconds"
            ASAN_OPTIONS=detect_leaks=1:abort_on_error=1 UBSAN_OPTIONS=print_stacktrace=1:halt_on_error=1 \
            TSAN_OPTIONS=halt_on_error=1:second_deadlock_stack=1 \
                "build/$preset/bin/moxh5-soak" --seconds "${MOXH5_SOAK_SECONDS:-30}" --interface both
            ;;
    esac
done

step "consumers: the installed package (Linux, mingw-x64 under Wine) and a subproject build"
bash tools/check_consumer.sh installed dev
bash tools/check_consumer.sh installed mingw-x64
bash tools/check_consumer.sh subproject

step "fuzz briefly (bash tools/fuzz.sh SECONDS runs longer)"
bash tools/fuzz.sh "${MOXH5_FUZZ_SECONDS:-60}" 2>&1 | tail -n 6

step "configure, build and test: mingw-x86"
cmake --preset mingw-x86 >/dev/null
cmake --build --preset mingw-x86
if [ -e /proc/sys/fs/binfmt_misc/moxh5-i386 ]; then
    # Where 32-bit programs run through qemu's user emulation, a few unit tests
    # bring the emulated process down every time (qemu reports a segmentation
    # fault, or Wine loses its server connection): the busy-thread ones, the
    # 64 KiB WebSocket frame, the temporary tree removed after a refused link.
    # They pass natively, under the sanitizers and under 64-bit Wine, so they
    # are left out here and named.
    export GTEST_FILTER='-Concurrency.*:HostReport.SinksSwapWhileReportsRun:DevhostSocket.FramesAreReadWholeOrRefused:HostilePage.LinksInARootDoNotLeadOutOfIt'
    echo "32-bit programs run through qemu user emulation on this kernel; unit tests not run here:"
    echo "  ${GTEST_FILTER#-}" | sed 's/:/\n  /g'
fi
ctest --preset mingw-x86 -j2
unset GTEST_FILTER

step "all presets passed"
