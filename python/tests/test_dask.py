"""Chunked results against whole-volume calls, on chunkings that do not divide the volume."""
import dask.array as da
import numpy as np
import pytest

import vexilo3d as v
import vexilo3d.dask as vd

CHUNKS = (7, 11, 6)      # odd chunks of the (30, 40, 50) volumes
SHAPE = (30, 40, 50)


@pytest.fixture(scope="module")
def volumes():
    rng = np.random.default_rng(5)
    grey = rng.integers(0, 256, SHAPE, dtype=np.uint8)
    binary = ((rng.random(SHAPE) < 0.7) * 255).astype(np.uint8)
    rgb = rng.integers(0, 256, (12, 13, 14, 3), dtype=np.uint8)
    return grey, binary, rgb


ELEMENT = np.ones((5, 3, 3), bool)
ELEMENT[0, 0, 0] = False                                   # not symmetric
OPERATORS = [
    ("median3", "grey", ((3, 5, 3),)), ("run_median3", "grey", (3,)), ("mov_ave3", "grey", (5,)),
    ("run_max3", "grey", ((7, 3, 1),)), ("run_min3", "grey", (3,)), ("range_3d", "grey", (3,)),
    ("multistage_median3", "grey", (3,)), ("local_adapt_filt3", "grey", (3, 400.0)),
    ("wei_median3", "grey", (np.arange(45, dtype=np.uint8).reshape(3, 3, 5) % 3,)),
    ("l_filter3", "grey", (np.full(27, 1 / 27),), {"size": 3}),
    ("Sobel_3D", "grey", ()), ("laplace_3d", "grey", ()), ("compas3d", "grey", (45, 90)),
    ("threshold_3d", "grey", (128,)), ("median3", "rgb", (3,)),
    *[(name, "binary", (ELEMENT,)) for name in vd.LOCAL_OPERATORS if name[0] in "bM"],
    ("zoom3d", "grey", (2,)), ("decim3", "grey", (3,)), ("decim3", "rgb", (2,)),
]


@pytest.mark.parametrize("case", OPERATORS, ids=lambda c: f"{c[0]}-{c[1]}")
def test_chunked_equals_whole(volumes, case):
    name, which, args, kwargs = (*case, {})[:4]
    array = dict(zip(("grey", "binary", "rgb"), volumes))[which]
    chunks = CHUNKS + (3,) if array.ndim == 4 else CHUNKS
    chunked = vd.apply(getattr(v, name), da.from_array(array, chunks=chunks), *args, **kwargs)
    np.testing.assert_array_equal(chunked.compute(), getattr(v, name)(array, *args, **kwargs))


def test_chunks_narrower_than_the_window_are_merged(volumes):
    grey = volumes[0]
    thin = da.from_array(grey, chunks=((2,) * 15, (1, 3, 36), (50,)))
    np.testing.assert_array_equal(vd.apply("median3", thin, 5).compute(), v.median3(grey, 5))


def assert_same_partition(a, b):
    pairs = set(zip(a.ravel().tolist(), b.ravel().tolist()))
    assert len(pairs) == len(np.unique(a)) == len(np.unique(b))
    assert (0, 0) in pairs


@pytest.mark.parametrize("chunks", [(7, 5, 6), (30, 12, 50), (3, 12, 7), (1, 1, 50)])
def test_labels_equal_the_whole_volume_labelling(chunks):
    rng = np.random.default_rng(7)
    # boxes of three values that overlap and touch: only equal values connect
    volume = np.zeros((30, 12, 50), np.uint8)
    for _ in range(120):
        corner, size = rng.integers(0, volume.shape), rng.integers(1, 7, 3)
        volume[tuple(slice(c, c + s) for c, s in zip(corner, size))] = rng.integers(1, 4) * 80
    labels, n = vd.label(da.from_array(volume, chunks=chunks))
    whole, counts = v.grass3d_label(volume)
    assert n == len(counts) and labels.dtype == np.int32
    computed = labels.compute()
    assert_same_partition(computed, whole)
    assert set(np.unique(computed)) == set(range(n + 1))


def test_errors_in_chunks_carry_their_code(volumes):
    with pytest.raises(v.Error) as e:
        vd.apply("bdilate3d", da.from_array(volumes[0], chunks=CHUNKS), ELEMENT).compute()
    assert e.value.code == -535
    with pytest.raises(ValueError):
        vd.apply("HistogramEqual3d", da.from_array(volumes[0], chunks=CHUNKS))


def test_runs_unchanged_on_a_local_cluster(volumes):
    distributed = pytest.importorskip("distributed")
    grey = volumes[0]
    with distributed.LocalCluster(n_workers=2, threads_per_worker=1, dashboard_address=None,
                                  processes=True) as cluster, distributed.Client(cluster):
        smooth = vd.apply(v.median3, da.from_array(grey, chunks=(15, 20, 25)), 3)
        np.testing.assert_array_equal(smooth.compute(), v.median3(grey, 3))
        labels, n = vd.label(vd.apply("threshold_3d", smooth, 150))
        whole, counts = v.grass3d_label(v.threshold_3d(v.median3(grey, 3), 150))
        assert n == len(counts)
        assert_same_partition(labels.compute(), whole)
