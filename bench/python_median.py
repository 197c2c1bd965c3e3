#!/usr/bin/python3
"""vexilo3d.median3 called from Python against scipy.ndimage.median_filter on the same array,
and what wrapping an array costs (a grey array goes in without a copy, an interleaved RGB one
is copied in and out).

    PYTHONPATH=build/python /usr/bin/python3 bench/python_median.py [--size 256] [--repeat 5]

Needs python3-scipy. Not run in CI.
"""
import argparse

import numpy as np
import scipy.ndimage as ndimage

import vexilo3d
from peer_timing import median_time


def main():
    parser = argparse.ArgumentParser(description=__doc__.split("\n")[0])
    parser.add_argument("--size", type=int, default=256, help="edge of the cubic volume")
    parser.add_argument("--repeat", type=int, default=5, help="runs per case (median)")
    args = parser.parse_args()
    n, repeat = args.size, args.repeat
    rng = np.random.default_rng(1)
    volume = rng.integers(0, 256, (n, n, n), dtype=np.uint8)
    voxels = volume.size
    print(f"{n}^3 uint8, window 3x3x3, medians of {repeat} runs, "
          f"{vexilo3d.get_threads()} library threads")

    ours = vexilo3d.median3(volume, 3)
    theirs = ndimage.median_filter(volume, size=3)
    inner = (slice(1, -1),) * 3
    same = np.array_equal(ours[inner], theirs[inner])
    print(f"interior equal to scipy.ndimage.median_filter: {same} "
          f"(the one-voxel border band is left 0; scipy reflects the volume there)")

    rows = [("vexilo3d.median3", lambda: vexilo3d.median3(volume, 3)),
            ("vexilo3d.median3, output= given", lambda: vexilo3d.median3(volume, 3, output=ours)),
            ("scipy.ndimage.median_filter", lambda: ndimage.median_filter(volume, size=3))]
    times = {}
    for name, call in rows:
        times[name] = median_time(call, repeat if "scipy" not in name else max(1, repeat // 2))
        print(f"{name:40s} {times[name] * 1e3:10.1f} ms  {voxels / times[name] / 1e6:8.1f} M voxels/s")
    print(f"speed-up over scipy: {times['scipy.ndimage.median_filter'] / times['vexilo3d.median3']:.1f}x")

    # What the wrapping costs, on one library thread (waking the library's threads for small
    # volumes on a busy machine would be measured otherwise): a call on a tiny volume is all
    # overhead; an interleaved RGB volume is copied into planar storage and, as an output, back.
    threads = vexilo3d.get_threads()
    vexilo3d.set_threads(1)
    tiny, out = volume[:3, :3, :3].copy(), np.zeros((3, 3, 3), np.uint8)
    for name, call in (("new output", lambda: vexilo3d.median3(tiny, 1)),
                       ("output= given", lambda: vexilo3d.median3(tiny, 1, output=out))):
        overhead = median_time(lambda: [call() for _ in range(1000)], repeat) / 1000
        print(f"call overhead, 3^3 volume, {name:14s} {overhead * 1e6:6.1f} us")
    m = max(32, n // 2)
    interleaved = rng.integers(0, 256, (m, m, m, 3), dtype=np.uint8)
    planar = vexilo3d.Symmetric3d(vexilo3d.Symmetric3d(interleaved))   # planar storage behind
    for name, array, output in (("planar in, new planar out", planar, None),
                                ("interleaved in (copied)", interleaved, None),
                                ("interleaved in and out (copied both ways)", interleaved,
                                 np.zeros_like(interleaved))):
        t = median_time(lambda: vexilo3d.mov_ave3(array, 3, output=output), repeat)
        print(f"mov_ave3 {m}^3 RGB, 1 thread, {name:42s} {t * 1e3:7.1f} ms")
    vexilo3d.set_threads(threads)


if __name__ == "__main__":
    main()
