"""How arrays become volumes: layouts, outputs, in-place calls, the VOI, and what is refused."""
import threading
import time

import numpy as np
import pytest

import vexilo3d as v


@pytest.fixture
def a(rng):
    return rng.integers(0, 256, (9, 10, 11), dtype=np.uint8)


def test_layouts_give_the_same_result(rng, a):
    rgb = rng.integers(0, 256, (5, 6, 7, 3), dtype=np.uint8)  # interleaved: copied in
    planar = np.moveaxis(np.ascontiguousarray(np.moveaxis(rgb, -1, 0)), 0, -1)
    result = v.median3(rgb, 3)
    np.testing.assert_array_equal(result, v.median3(planar, 3))
    for c in range(3):
        np.testing.assert_array_equal(result[..., c], v.median3(np.ascontiguousarray(rgb[..., c]), 3))
    # an RGB result goes back in without a copy and means the same volume
    np.testing.assert_array_equal(v.Symmetric3d(v.Symmetric3d(result)), result)
    wide = np.repeat(a, 2, axis=2)
    np.testing.assert_array_equal(v.mov_ave3(wide[:, :, ::2], 3), v.mov_ave3(a, 3))
    np.testing.assert_array_equal(v.mov_ave3(a[::-1, 1:], 3), v.mov_ave3(a[::-1, 1:].copy(), 3))
    blobs = (a > 200).astype(np.uint8) * 255
    frozen = blobs.copy()                              # read-only inputs, as memory maps are
    frozen.flags.writeable = False
    np.testing.assert_array_equal(v.grass3d_label(frozen)[0], v.grass3d_label(blobs)[0])
    np.testing.assert_array_equal(v.mov_ave3(frozen, 3), v.mov_ave3(blobs, 3))


def test_outputs_are_written_where_they_live(rng, a):
    expected = v.median3(a, 3)
    out = np.full(a.shape, 7, np.uint8)
    assert v.median3(a, 3, output=out) is out
    inner = (slice(1, -1),) * 3
    np.testing.assert_array_equal(out[inner], expected[inner])
    assert (out[0] == 7).all()                      # the border band keeps what was there
    big = np.zeros((11, 12, 13), np.uint8)
    v.median3(a, 3, output=big[1:-1, 1:-1, 1:-1])   # a view with rows of its own
    np.testing.assert_array_equal(big[1:-1, 1:-1, 1:-1], expected)
    strided = np.zeros((9, 10, 22), np.uint8)
    v.median3(a, 3, output=strided[:, :, ::2])      # copied out, then back
    np.testing.assert_array_equal(strided[:, :, ::2], expected)
    assert not strided[:, :, 1::2].any()
    rgb = rng.integers(0, 256, (5, 6, 7, 3), dtype=np.uint8)
    interleaved = np.zeros_like(rgb)
    v.run_max3(rgb, 3, output=interleaved)
    np.testing.assert_array_equal(interleaved, v.run_max3(rgb, 3))


def test_output_that_is_the_input_works_in_place(clib, a):
    record = clib.volume(a)
    assert clib.call("median3", record, record, 3, 3, 3) == 0
    in_place = a.copy()
    assert v.median3(in_place, 3, output=in_place) is in_place
    np.testing.assert_array_equal(in_place, clib.array(record))
    assert not np.array_equal(in_place, v.median3(a, 3))  # later windows saw earlier results


def test_output_overlapping_the_input_reads_the_input_first(a):
    expected = v.Symmetric3d(a)
    buffer = np.concatenate([a, np.zeros((1,) + a.shape[1:], np.uint8)])
    v.Symmetric3d(buffer[:-1], output=buffer[1:])
    np.testing.assert_array_equal(buffer[1:], expected)


def test_inputs_the_library_consumes_are_left_alone(a):
    blobs = (a > 200).astype(np.uint8) * 255
    before = blobs.copy()
    labels, counts = v.grass3d_label(blobs)
    np.testing.assert_array_equal(blobs, before)
    assert counts.sum() == np.count_nonzero(blobs) and labels.max() == len(counts)
    before = a.copy()
    path = v.edge_follow_3d(a, (4, 5, 5), 255, 0, 1)
    assert path[4, 5, 5] == 255
    np.testing.assert_array_equal(a, before)


def test_voi_forms(a):
    explicit = v.mov_ave3(a, 3, voi=(slice(1, 8), slice(0, 10), slice(2, 9)))
    np.testing.assert_array_equal(v.mov_ave3(a, 3, voi=np.s_[1:-1, :, 2:-2]), explicit)
    np.testing.assert_array_equal(v.mov_ave3(a, 3, voi=(slice(1, 8), slice(None), slice(2, 9))), explicit)
    one_frame = v.FindMinMaxIntensity(a, voi=(4,))
    assert one_frame == (a[4].min(), a[4].max())
    for bad in (np.s_[::2], np.s_[0:10], np.s_[5:5], np.s_[:, :, -20:]):
        with pytest.raises(v.Error) as e:
            v.FindMinMaxIntensity(a, voi=bad)
        assert e.value.code == -510


@pytest.mark.parametrize("array, code", [
    (np.zeros((4, 4, 4)), -502),                  # float64 is no voxel type
    (np.zeros((4, 4, 4), bool), -502),
    (np.zeros((4, 4), np.uint8), -521),
    (np.zeros((4, 4, 4, 4), np.uint8), -503),     # four channels
    (np.zeros((0, 4, 4), np.uint8), -521),
    (np.zeros((4, 4, 4), np.float32), -502),      # a volume the operator does not take
])
def test_arrays_that_are_no_volume_for_the_operator(array, code):
    with pytest.raises(v.Error) as e:
        v.median3(array, 1)
    assert e.value.code == code


def test_outputs_that_do_not_fit(a):
    with pytest.raises(v.Error) as e:
        v.median3(a, 3, output=np.zeros((9, 10, 10), np.uint8))
    assert e.value.code == -520
    with pytest.raises(v.Error) as e:
        v.median3(a, 3, output=np.zeros(a.shape, np.int32))
    assert e.value.code == -502
    frozen = np.zeros_like(a)
    frozen.flags.writeable = False
    with pytest.raises(ValueError):
        v.median3(a, 3, output=frozen)


def test_operators_release_the_interpreter_lock(rng):
    volume = rng.integers(0, 256, (96, 96, 96), dtype=np.uint8)
    ticks, done = [], threading.Event()
    worker = threading.Thread(target=lambda: (v.run_median3(volume, 7), done.set()))
    threads = v.get_threads()
    v.set_threads(1)                                   # leave a core to this thread
    try:
        start = time.perf_counter()
        worker.start()
        while not done.is_set():
            ticks.append(time.perf_counter())
        worker.join()
        duration = time.perf_counter() - start
    finally:
        v.set_threads(threads)
    gaps = np.diff([start] + ticks)
    # Holding the lock, the call would stop this loop for its whole length.
    assert gaps.max() < duration / 2
