#!/usr/bin/env bash
# Installs what is needed, builds, and runs every test: the Release build; the whole suite again
# under AddressSanitizer and UndefinedBehaviorSanitizer (with LeakSanitizer, which the
# allocation-failure test relies on); the whole suite built with clang, whose libFuzzer builds of
# the fuzz targets then replay every corpus and regression folder.
set -euo pipefail
cd "$(dirname "$0")/.."
bash scripts/deps.sh
export QT_QPA_PLATFORM=offscreen
jobs=$(nproc)

# every option this run needs is set here, whatever an earlier configure left in the cache
bash scripts/build.sh build -DCMAKE_BUILD_TYPE=Release -DVEXILO3D_BUILD_TESTS=ON \
  -DVEXILO3D_SANITIZE=OFF
(cd build && ctest --output-on-failure --no-tests=error -j "$jobs")

bash scripts/build.sh build-sanitize -DCMAKE_BUILD_TYPE=Debug -DVEXILO3D_SANITIZE=ON \
  -DVEXILO3D_BUILD_TESTS=ON -DVEXILO3D_BUILD_BENCH=OFF
(cd build-sanitize && ASAN_OPTIONS=allocator_may_return_null=1:detect_leaks=1 \
  UBSAN_OPTIONS=print_stacktrace=1:halt_on_error=1 ctest --output-on-failure --no-tests=error \
  -j "$jobs")

CC=clang CXX=clang++ bash scripts/build.sh build-clang -DCMAKE_BUILD_TYPE=Release \
  -DVEXILO3D_BUILD_TESTS=ON -DVEXILO3D_SANITIZE=OFF -DVEXILO3D_BUILD_BENCH=OFF
(cd build-clang && ctest --output-on-failure --no-tests=error -j "$jobs")
for corpus in tests/fuzz/corpus/*/; do
  name=$(basename "$corpus")
  # leaks inside Teem's parser of malformed NRRD headers are Teem's own
  LSAN_OPTIONS=suppressions=tests/fuzz/teem_leaks.supp \
    build-clang/tests/fuzz/fuzz_"$name" -runs=0 "$corpus" "tests/fuzz/regressions/$name"
done
