#!/usr/bin/python3
"""A volume larger than the memory one may use, median-filtered and labelled through Dask.

    PYTHONPATH=build/python /usr/bin/python3 python/examples/dask_demo.py [--scheduler both]

The volume (by default 4096 x 1024 x 1024 uint8, 4 GiB) is never held: every chunk is generated
when it is needed (bright spheres on a dark ground, with salt-and-pepper noise), median-filtered
with vexilo3d.median3 through vexilo3d.dask.apply and labelled with vexilo3d.dask.label. The same
code runs on Dask's threaded scheduler and on a distributed.LocalCluster of 2 workers. Printed:
the time of each stage, the peak resident memory of this process and its workers, and checks:
the components are the spheres, and sampled chunks equal vexilo3d.median3 on the same voxels and
the spheres' own labelling.
"""
import argparse
import threading
import time

import dask
import dask.array as da
import numpy as np
import psutil

import vexilo3d
import vexilo3d.dask as vd

CELL = 64  # one sphere at most per cell of CELL^3 voxels, so spheres never touch


def make_spheres(shape, seed, fill=0.25):
    """(centre z, y, x, radius) of spheres, each inside its own cell with a margin of 3."""
    rng = np.random.default_rng(seed)
    cells = np.stack(np.meshgrid(*[np.arange(n // CELL) for n in shape], indexing="ij"), -1)
    cells = cells.reshape(-1, 3)[rng.random(int(np.prod([n // CELL for n in shape]))) < fill]
    radius = rng.integers(8, 25, len(cells))
    offset = np.stack([rng.integers(r + 3, CELL - r - 3, 3) for r in radius])
    return np.column_stack([cells * CELL + offset, radius])


def paint(spheres, location, values, grow=0):
    """Draws each sphere (radius + grow) that meets the box location as values[i] into a new
    array of the box's shape."""
    lo = np.array([s.start for s in location])
    hi = np.array([s.stop for s in location])
    out = np.zeros(hi - lo, dtype=np.asarray(values).dtype)
    meets = np.all((spheres[:, :3] + spheres[:, 3:] + grow >= lo) &
                   (spheres[:, :3] - spheres[:, 3:] - grow < hi), axis=1)
    for index in np.flatnonzero(meets):
        cz, cy, cx, r = spheres[index]
        r = r + grow
        box = [slice(max(c - r, a), min(c + r + 1, b)) for c, a, b in zip((cz, cy, cx), lo, hi)]
        z, y, x = np.ogrid[box[0], box[1], box[2]]
        inside = (z - cz) ** 2 + (y - cy) ** 2 + (x - cx) ** 2 <= r * r
        local = tuple(slice(s.start - a, s.stop - a) for s, a in zip(box, lo))
        out[local][inside] = values[index]
    return out


def generate(block, spheres, seed, block_info=None):
    """One chunk of the volume: spheres of 255, salt and pepper at 0.5 % each."""
    info = block_info[0]
    location = [slice(a, b) for a, b in info["array-location"]]
    volume = paint(spheres, location, np.full(len(spheres), 255, np.uint8))
    noise = np.random.default_rng([seed, *info["chunk-location"]]).integers(0, 200, volume.shape, np.uint8)
    volume[noise == 0] = 255
    volume[noise == 1] = 0
    return volume


def drawn(spheres):
    """The voxels of the spheres as painted (before noise and median)."""
    one = np.ones(1, np.uint8)
    return sum(int(np.count_nonzero(paint(s[None], [slice(c - r, c + r + 1) for c in s[:3]], one)))
               for s, r in zip(spheres, spheres[:, 3]))


class PeakMemory:
    """Samples the resident memory of this process and its children (the cluster's workers)."""

    def __init__(self, interval=0.1):
        self.interval, self.peak, self._stop = interval, 0, threading.Event()
        self._thread = threading.Thread(target=self._run, daemon=True)

    def _run(self):
        me = psutil.Process()
        while not self._stop.is_set():
            total = 0
            for p in [me] + me.children(recursive=True):
                try:
                    total += p.memory_info().rss
                except psutil.Error:
                    pass
            self.peak = max(self.peak, total)
            time.sleep(self.interval)

    def __enter__(self):
        self._thread.start()
        return self

    def __exit__(self, *exc):
        self._stop.set()
        self._thread.join()


def summarise(labels, n, spheres):
    """Per chunk: the voxel count of every label and the labels at the sphere centres inside
    the chunk, summed over the chunks by a tree reduction (memory stays a few chunks)."""
    def one_chunk(block, block_info=None):
        lo, hi = np.array(block_info[0]["array-location"]).T
        inside = np.all((spheres[:, :3] >= lo) & (spheres[:, :3] < hi), axis=1)
        at_centres = np.zeros(len(spheres), np.int64)
        z, y, x = (spheres[inside, :3] - lo).T
        at_centres[inside] = block[z, y, x]
        sizes = np.zeros(n + 1, np.int64)
        for frame in block:           # frame by frame: bincount makes an int64 copy of its input
            sizes += np.bincount(frame.ravel(), minlength=n + 1)
        return np.concatenate([sizes, at_centres])[None, None, None]
    grid = labels.numblocks
    chunks = tuple((1,) * g for g in grid) + ((n + 1 + len(spheres),),)
    total = labels.map_blocks(one_chunk, new_axis=3, chunks=chunks, dtype=np.int64).sum(axis=(0, 1, 2))
    total = total.compute()
    return total[:n + 1], total[n + 1:]


def stage(figures, name, function):
    """Runs one stage, recording its time and the peak memory of all processes meanwhile."""
    with PeakMemory() as memory:
        start = time.perf_counter()
        result = function()
        figures[f"{name}: time (s)"] = time.perf_counter() - start
    figures[f"{name}: peak memory (MiB)"] = memory.peak / 2**20
    return result


def check_samples(volume, smooth, labels, spheres, shape, seed, samples):
    """Chunks picked at random: their median against vexilo3d.median3 on the same voxels and a
    margin of 1 (the window's reach), their labels against the spheres' own labelling."""
    rng = np.random.default_rng(seed + 1)
    picked = [tuple(rng.integers(0, n_blocks) for n_blocks in smooth.numblocks) for _ in range(samples)]
    equal_median = equal_labels = True
    for index in picked:
        bounds = [sum(c[:i]) for c, i in zip(smooth.chunks, index)]
        box = tuple(slice(b, b + c[i]) for b, c, i in zip(bounds, smooth.chunks, index))
        grown = tuple(slice(max(0, s.start - 1), min(n, s.stop + 1)) for s, n in zip(box, shape))
        inner = tuple(slice(s.start - g.start, s.stop - g.start) for s, g in zip(box, grown))
        expected = vexilo3d.median3(volume[grown].compute(), 3)[inner]
        got_median, got_labels = dask.compute(smooth[box], labels[box])
        equal_median &= bool(np.array_equal(got_median, expected))
        ids = paint(spheres, box, np.arange(1, len(spheres) + 1, dtype=np.int32), grow=2)
        pairs = set(zip(got_labels.ravel().tolist(), (ids * (got_labels > 0)).ravel().tolist()))
        equal_labels &= len(pairs) == len({a for a, _ in pairs}) == len({b for _, b in pairs})
    return equal_median, equal_labels


def run(shape, chunks, spheres, seed, samples):
    """The pipeline on the current scheduler; returns the figures."""
    figures = {}
    volume = da.zeros(shape, dtype=np.uint8, chunks=chunks).map_blocks(
        generate, spheres=spheres, seed=seed, dtype=np.uint8)
    smooth = vd.apply(vexilo3d.median3, volume, 3)
    checksum = stage(figures, "median3, whole volume summed",
                     lambda: int(smooth.sum(dtype=np.uint64).compute()))
    labels, n = stage(figures, "label, first pass", lambda: vd.label(smooth))
    sizes, at_centres = stage(figures, "label, second pass (sizes, centres)",
                              lambda: summarise(labels, n, spheres))

    figures["components / spheres"] = f"{n} / {len(spheres)}"
    figures["every sphere one component"] = bool(
        n == len(spheres) and len(np.unique(at_centres)) == n and at_centres.min() > 0)
    figures["labelled voxels / voxels of the spheres drawn"] = f"{int(sizes[1:].sum())} / {drawn(spheres)}"
    figures["checksum of the median"] = checksum

    equal_median, equal_labels = stage(figures, "checks of sampled chunks",
                                       lambda: check_samples(volume, smooth, labels, spheres, shape, seed, samples))
    figures[f"{samples} sampled chunks equal median3 on the same voxels"] = equal_median
    figures[f"{samples} sampled chunks labelled as their spheres"] = equal_labels
    return figures


def report(title, figures, elapsed, peak, size):
    print(f"\n== {title}")
    for key, value in figures.items():
        print(f"  {key:56s} {value:.1f}" if isinstance(value, float) else f"  {key:56s} {value}")
    print(f"  {'total time (s)':56s} {elapsed:.1f}")
    print(f"  {'peak resident memory, all processes (MiB)':56s} {peak / 2**20:.0f}"
          f"  (the volume: {size / 2**20:.0f} MiB)")


def main():
    parser = argparse.ArgumentParser(description=__doc__.split("\n")[0])
    parser.add_argument("--shape", type=int, nargs=3, default=[4096, 1024, 1024])
    parser.add_argument("--chunks", type=int, nargs=3, default=[64, 512, 512])
    parser.add_argument("--scheduler", choices=["threads", "cluster", "both"], default="both")
    parser.add_argument("--workers", type=int, default=2)
    parser.add_argument("--samples", type=int, default=4, help="chunks checked against whole calls")
    parser.add_argument("--seed", type=int, default=2024)
    args = parser.parse_args()
    shape, chunks = tuple(args.shape), tuple(args.chunks)
    spheres = make_spheres(shape, args.seed)
    size = int(np.prod(shape))
    print(f"volume {shape[0]} x {shape[1]} x {shape[2]} uint8 ({size / 2**30:.2f} GiB), chunks "
          f"{chunks}, {len(spheres)} spheres, {psutil.virtual_memory().total / 2**30:.0f} GiB RAM, "
          f"{psutil.cpu_count()} cores")
    # Dask runs the chunks side by side; one library thread per chunk uses the cores without
    # running more threads than there are.
    vexilo3d.set_threads(1)

    if args.scheduler in ("threads", "both"):
        with dask.config.set(scheduler="threads", num_workers=args.workers), PeakMemory() as memory:
            start = time.perf_counter()
            figures = run(shape, chunks, spheres, args.seed, args.samples)
        report(f"threaded scheduler, {args.workers} threads", figures,
               time.perf_counter() - start, memory.peak, size)

    if args.scheduler in ("cluster", "both"):
        from distributed import Client, LocalCluster
        with LocalCluster(n_workers=args.workers, threads_per_worker=1, dashboard_address=None) as cluster, \
                Client(cluster) as client, PeakMemory() as memory:
            client.run(lambda: vexilo3d.set_threads(1))
            start = time.perf_counter()
            figures = run(shape, chunks, spheres, args.seed, args.samples)
            elapsed = time.perf_counter() - start
        report(f"distributed.LocalCluster, {args.workers} worker processes", figures, elapsed,
               memory.peak, size)


if __name__ == "__main__":
    main()
