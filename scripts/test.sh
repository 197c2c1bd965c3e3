#!/usr/bin/env bash
# Installs what is needed, builds, and runs every test: the Release build, then the whole suite
# again under AddressSanitizer and UndefinedBehaviorSanitizer.
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
