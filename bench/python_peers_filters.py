#!/usr/bin/python3
"""The streaming, rank, morphology and resampling operators against their fastest Python peers
(numpy, scipy.ndimage) in one run: every case calls the peer and the library back to back on
the same array, several times each, and reports both medians and their ratio.

    PYTHONPATH=build/python /usr/bin/python3 bench/python_peers_filters.py [--size 256] [--repeat 5]
        [--only NAME ...]

The volume is smooth structure plus noise (as bench/volumes.h makes it), its binary version
the voxels >= 160; the library runs on one thread, then on every thread (the peers use one).
Where both compute the same values the script says whether they agree (the library leaves
the border band of its windows untouched, scipy fills it by reflection, so only the interior
is compared). Needs python3-scipy. Not run in CI.
"""
import argparse

import numpy as np
import scipy.ndimage as ndimage

import vexilo3d
from peer_timing import median_time


def structure_noise(n, seed=7):
    z, y, x = np.meshgrid(*(np.arange(n, dtype=np.float64),) * 3, indexing="ij")
    r = np.sqrt((z - n / 2) ** 2 + (y - n / 2) ** 2 + (x - n / 2) ** 2) / (n / 3)
    value = 128 + 80 * np.exp(-r * r) + 30 * np.sin(x * 0.1) * np.cos(z * 0.07)
    value += np.random.default_rng(seed).integers(-24, 25, value.shape)
    return np.clip(value, 0, 255).astype(np.uint8)


def equalize_numpy(volume):
    counts = np.bincount(volume.ravel(), minlength=256)
    cdf = np.cumsum(counts / np.float32(volume.size), dtype=np.float32)
    return (cdf * np.float32(255.0) + np.float32(0.5)).astype(np.uint8)[volume]


def threshold_numpy(volume, out):
    np.greater_equal(volume, 128, out=out.view(bool))
    out *= 255
    return out


def cases(vol, binary, mask, small):
    """(name, library call, peer name, peer call, compare) per case; compare(ours, theirs)
    says whether the values agree, or is None where the definitions differ."""
    out = np.empty_like(vol)
    cube = np.ones((3, 3, 3), bool)
    inner = lambda w: (slice(w // 2, -(w // 2)),) * 3
    same_inner = lambda w: lambda a, b: bool(np.array_equal(a[inner(w)], b[inner(w)]))
    same = lambda a, b: bool(np.array_equal(a, b))
    return [
        ("copy 256^3", lambda: vexilo3d.CopyVolume(vol, output=out), "numpy copyto",
         lambda: np.copyto(out, vol), None),
        ("threshold_3d 128", lambda: vexilo3d.threshold_3d(vol, 128, output=out), "numpy >=, *255",
         lambda: threshold_numpy(vol, np.empty_like(vol)), same),
        ("HistogramEqual3d", lambda: vexilo3d.HistogramEqual3d(vol, output=out), "numpy bincount+lut",
         lambda: equalize_numpy(vol), same),
        ("mov_ave3 3^3", lambda: vexilo3d.mov_ave3(vol, 3, output=out), "uniform_filter 3",
         lambda: ndimage.uniform_filter(vol, 3), None),
        ("mov_ave3 5^3", lambda: vexilo3d.mov_ave3(vol, 5, output=out), "uniform_filter 5",
         lambda: ndimage.uniform_filter(vol, 5), None),
        ("median3 3^3", lambda: vexilo3d.median3(vol, 3, output=out), "median_filter 3",
         lambda: ndimage.median_filter(vol, 3), same_inner(3)),
        ("run_median3 5^3", lambda: vexilo3d.run_median3(vol, 5, output=out), "median_filter 5",
         lambda: ndimage.median_filter(vol, 5), same_inner(5)),
        ("run_max3 3^3", lambda: vexilo3d.run_max3(vol, 3, output=out), "maximum_filter 3",
         lambda: ndimage.maximum_filter(vol, 3), same_inner(3)),
        ("run_max3 7^3", lambda: vexilo3d.run_max3(vol, 7, output=out), "maximum_filter 7",
         lambda: ndimage.maximum_filter(vol, 7), same_inner(7)),
        ("run_min3 3^3", lambda: vexilo3d.run_min3(vol, 3, output=out), "minimum_filter 3",
         lambda: ndimage.minimum_filter(vol, 3), same_inner(3)),
        ("berode3d 3^3 cube", lambda: vexilo3d.berode3d(binary, cube, output=out), "binary_erosion",
         lambda: ndimage.binary_erosion(mask, cube), lambda a, b: same_inner(3)(a, b.astype(np.uint8) * 255)),
        ("bopening3d 3^3 cube", lambda: vexilo3d.bopening3d(binary, cube, output=out), "binary_opening",
         lambda: ndimage.binary_opening(mask, cube), None),
        ("zoom3d x2, 128^3", lambda: vexilo3d.zoom3d(small, 2), "numpy repeat x3",
         lambda: small.repeat(2, 0).repeat(2, 1).repeat(2, 2), same),
        ("InterpolationLinear3d x2, 128^3", lambda: vexilo3d.InterpolationLinear3d(small, shape=(256,) * 3),
         "zoom order 1", lambda: ndimage.zoom(small, 2, order=1), None),
        ("InterpolationLinear3d x1.5, 128^3", lambda: vexilo3d.InterpolationLinear3d(small, 1.5),
         "zoom order 1", lambda: ndimage.zoom(small, 1.5, order=1), None),
        ("InterpolationLinear3d x0.7", lambda: vexilo3d.InterpolationLinear3d(vol, 0.7),
         "zoom order 1", lambda: ndimage.zoom(vol, 0.7, order=1), None),
        ("RotateVol3d 30 about Z", lambda: vexilo3d.RotateVol3d(vol, (30, 0, 0), output=out),
         "rotate order 0", lambda: ndimage.rotate(vol, 30, axes=(1, 2), reshape=False, order=0), None),
        ("RotateVol3d 30, 20, 10", lambda: vexilo3d.RotateVol3d(vol, (30, 20, 10), output=out),
         "3 x rotate order 0", lambda: ndimage.rotate(ndimage.rotate(ndimage.rotate(
             vol, 30, axes=(1, 2), reshape=False, order=0), 20, axes=(0, 2), reshape=False, order=0),
             10, axes=(0, 1), reshape=False, order=0), None),
    ]


def main():
    parser = argparse.ArgumentParser(description=__doc__.split("\n")[0])
    parser.add_argument("--size", type=int, default=256, help="edge of the cubic volume")
    parser.add_argument("--repeat", type=int, default=5, help="runs per case and side (median)")
    parser.add_argument("--only", nargs="*", help="cases whose names start with one of these")
    args = parser.parse_args()
    vol = structure_noise(args.size)
    mask = vol >= 160
    binary = mask.astype(np.uint8) * 255
    small = np.ascontiguousarray(vol[::2, ::2, ::2])
    threads = vexilo3d.get_threads()
    print(f"{args.size}^3 uint8, medians of {args.repeat} runs; library on 1 and {threads} threads")
    print(f"{'case':36s} {'ours 1 thr':>10s} {'ours all':>10s}  {'peer':22s} {'peer':>10s} {'peer/ours1':>10s}  equal")
    for name, ours, peer_name, peer, compare in cases(vol, binary, mask, small):
        if args.only and not any(name.startswith(p) for p in args.only):
            continue
        slow = any(s in peer_name for s in ("median_filter", "rotate"))
        vexilo3d.set_threads(1)
        one = median_time(ours, args.repeat)
        result = ours()
        vexilo3d.set_threads(0)
        every = median_time(ours, args.repeat)
        theirs = median_time(peer, 1 if slow else args.repeat)
        agree = "" if compare is None else str(compare(np.array(result), peer()))
        print(f"{name:36s} {one * 1e3:8.2f}ms {every * 1e3:8.2f}ms  {peer_name:22s} "
              f"{theirs * 1e3:8.1f}ms {theirs / one:9.1f}x  {agree}")
    vexilo3d.set_threads(threads)


if __name__ == "__main__":
    main()
