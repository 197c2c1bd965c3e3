#!/usr/bin/python3
"""The library beside its Python peers, back to back in one process on the same arrays and files:
the cosine transform, convolution and correlation against scipy.fft and scipy.signal,
labelling against scipy.ndimage.label, the 256-page TIFF stack against tifffile and libtiff's
tiffcp, the raw volume against numpy.fromfile.

    PYTHONPATH=build/python /usr/bin/python3 bench/python_peers_transforms_io.py [--repeat 5] [--threads 1]

Each case runs ours, then the peer, `repeat` times each, and prints both medians and their
ratio (the peer's time over ours). tiffcp runs as its own process (its start-up is counted).
Needs python3-scipy, python3-tifffile and libtiff-tools. Not run in CI.
"""
import argparse
import os
import shutil
import subprocess
import tempfile

import numpy as np
import scipy.fft
import scipy.ndimage as ndimage
import scipy.signal
import tifffile

import vexilo3d
from peer_timing import median_time


def compare(name, ours, peer_name, peer, repeat):
    ours_s = median_time(ours, repeat)
    peer_s = median_time(peer, repeat)
    print(f"{name:34s} {ours_s * 1e3:9.2f} ms   {peer_name:34s} {peer_s * 1e3:9.2f} ms   "
          f"{peer_s / ours_s:6.2f}x")


def main():
    parser = argparse.ArgumentParser(description=__doc__.split("\n")[0])
    parser.add_argument("--repeat", type=int, default=5, help="runs per case (median)")
    parser.add_argument("--threads", type=int, default=1, help="library threads (scipy: one)")
    args = parser.parse_args()
    repeat = args.repeat
    vexilo3d.set_threads(args.threads)
    rng = np.random.default_rng(1)
    print(f"library threads {vexilo3d.get_threads()}, medians of {repeat} runs; "
          f"last column: the peer's time over ours")

    for n in (64, 128):
        a = rng.random((n, n, n), dtype=np.float32)
        kernel = rng.random((9, 9, 9), dtype=np.float32)
        assert np.allclose(vexilo3d.DCT3d(a), scipy.fft.dctn(a, norm="ortho"), atol=1e-3)
        compare(f"DCT3d {n}^3", lambda: vexilo3d.DCT3d(a),
                "scipy.fft.dctn ortho", lambda: scipy.fft.dctn(a, norm="ortho"), repeat)
        assert np.allclose(vexilo3d.convolution3(a, kernel), scipy.signal.fftconvolve(a, kernel),
                           rtol=1e-3, atol=1e-2)
        compare(f"convolution3 {n}^3 * 9^3", lambda: vexilo3d.convolution3(a, kernel),
                "scipy.signal.fftconvolve", lambda: scipy.signal.fftconvolve(a, kernel), repeat)
        compare(f"correlation3d {n}^3, 9^3", lambda: vexilo3d.correlation3d(a, kernel),
                "scipy.signal.correlate fft",
                lambda: scipy.signal.correlate(a, kernel, method="fft"), repeat)

    # labelling: a dozen balls of random centres and radii in 256^3 (labelling consumes its
    # input: ours labels a copy each run, and the copy is timed with it)
    z, y, x = np.ogrid[:256, :256, :256]
    blobs = np.zeros((256, 256, 256), dtype=bool)
    for cz, cy, cx, r in rng.integers(30, 226, (12, 4)):
        blobs |= (z - cz) ** 2 + (y - cy) ** 2 + (x - cx) ** 2 <= (r % 28 + 8) ** 2
    binary = np.where(blobs, 255, 0).astype(np.uint8)
    every = np.ones((3, 3, 3), dtype=bool)
    _, count = ndimage.label(binary, structure=every)
    compare(f"grass3d_label 256^3, {count} balls", lambda: vexilo3d.grass3d_label(binary.copy()),
            "scipy.ndimage.label 26-connected", lambda: ndimage.label(binary, structure=every),
            repeat)

    volume = rng.integers(0, 256, (256, 256, 256), dtype=np.uint8)
    folder = tempfile.mkdtemp(prefix="v3d_peers_")
    try:
        raw = os.path.join(folder, "volume.raw")
        volume.tofile(raw)
        compare("ReadVolume 256^3", lambda: vexilo3d.ReadVolume(raw, volume.shape),
                "numpy.fromfile", lambda: np.fromfile(raw, dtype=np.uint8), repeat)
        compare("WriteVolume 256^3", lambda: vexilo3d.WriteVolume(volume, raw),
                "ndarray.tofile", lambda: volume.tofile(raw), repeat)

        base = os.path.join(folder, "stack")
        stack = base + ".tif"
        vexilo3d.write_sequence(volume, base, "tiffstack", ext="tif")
        assert np.array_equal(tifffile.imread(stack), volume)
        compare("read_sequence tiffstack 256 pages",
                lambda: vexilo3d.read_sequence(base, "tiffstack", ext="tif"),
                "tifffile.imread", lambda: tifffile.imread(stack), repeat)
        other = os.path.join(folder, "other.tif")
        compare("write_sequence tiffstack",
                lambda: vexilo3d.write_sequence(volume, base, "tiffstack", ext="tif"),
                "tifffile.imwrite", lambda: tifffile.imwrite(other, volume), repeat)
        tiffcp = shutil.which("tiffcp")
        if tiffcp:
            copy_base = os.path.join(folder, "copy")

            def ours_copy():
                vexilo3d.write_sequence(vexilo3d.read_sequence(base, "tiffstack", ext="tif"),
                                        copy_base, "tiffstack", ext="tif")

            compare("read + write the stack", ours_copy, "tiffcp (a process)",
                    lambda: subprocess.run([tiffcp, stack, other], check=True), repeat)
    finally:
        shutil.rmtree(folder, ignore_errors=True)


if __name__ == "__main__":
    main()
