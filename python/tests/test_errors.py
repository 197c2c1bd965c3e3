"""Failing statuses raise vexilo3d.Error with the library's code and text; nothing leaks."""
import gc
import os
import pickle
import sys

import numpy as np
import pytest

import vexilo3d as v

G = np.arange(6 * 7 * 8, dtype=np.uint8).reshape(6, 7, 8)
F = np.ones((4, 4, 4), np.float32)
DOTS = np.zeros((5, 5, 5), np.uint8)
DOTS[::2, ::2, ::2] = 9                  # 27 separate components

CALLS = {
    "even window": (lambda: v.median3(G, (3, 2, 3)), -24),
    "window beyond the VOI": (lambda: v.mov_ave3(G, 3, voi=np.s_[0:2]), -24),
    "output smaller": (lambda: v.Sobel_3D(G, output=np.zeros((6, 7, 7), np.uint8)), -520),
    "grey output of RGB": (lambda: v.median3(np.zeros((3, 3, 3, 3), np.uint8), 1,
                                             output=np.zeros((3, 3, 3), np.uint8)), -523),
    "not binary": (lambda: v.bdilate3d(G, np.ones((3, 3, 3), bool)), -535),
    "negative noise": (lambda: v.local_adapt_filt3(G, 3, -1.0), -90),
    "weights summing to 0": (lambda: v.wei_median3(G, np.zeros((3, 3, 3), np.uint8)), -524),
    "not a power of two": (lambda: v.fft3d(np.ones((3, 4, 4), np.float32)), -533),
    "not cubic": (lambda: v.vrfft3d(np.ones((2, 4, 4), np.float32)), -534),
    "too many labels": (lambda: v.grass3d_label(DOTS, 2), -92),
    "colour of a grey-only operator": (lambda: v.threshold_3d(np.zeros((3, 3, 3, 3), np.uint8), 1), -503),
    "missing file": (lambda: v.ReadVolume("/nonexistent/volume.raw", (2, 2, 2)), -600),
    "short file": (lambda: v.ReadVolume(__file__, (64, 64, 64)), -601),
    "float to a uint8 operator": (lambda: v.laplace_3d(F), -502),
}


@pytest.mark.parametrize("case", sorted(CALLS))
def test_statuses_raise_with_their_code_and_text(case):
    call, code = CALLS[case]
    with pytest.raises(v.Error) as raised:
        call()
    error = raised.value
    assert (error.code, error.text) == (code, v.GetStatusText(code))
    assert str(error) == f"{v.GetStatusText(code)} (status {code})"


def test_errors_and_operators_cross_process_boundaries():
    error = pickle.loads(pickle.dumps(v.Error(-510)))
    assert (error.code, error.text) == (-510, "Invalid VOI definitions")
    assert pickle.loads(pickle.dumps(v.median3)) is v.median3


def test_coefficient_files_report_the_readers_messages(tmp_path):
    with pytest.raises(v.Error) as e:
        v.LoadCoefficientVolume3d(tmp_path / "WIN_F3D.PAR", "float32")
    assert e.value.code == -1 and e.value.text == f"File {tmp_path / 'WIN_F3D.PAR'} not found"
    (tmp_path / "bad.par").write_text("3\n0\n1\n")
    with pytest.raises(v.Error) as e:
        v.LoadCoefficientVolume3d(tmp_path / "bad.par")
    assert (e.value.code, e.value.text) == (-3, "Invalid window size")


def test_a_stopped_operator_leaves_what_it_wrote():
    # region3d_merge stops at the region limit with the voxels scanned so far converted
    steps = np.repeat(np.arange(0, 250, 50, dtype=np.uint8), 8).reshape(5, 2, 4)
    out = np.zeros_like(steps)
    with pytest.raises(v.Error) as e:
        v.region3d_merge(steps, 0, 2, output=out)
    assert e.value.code == -92 and out.any()


def resident_bytes():
    with open("/proc/self/statm") as f:
        return int(f.read().split()[1]) * 4096


@pytest.mark.skipif(not sys.platform.startswith("linux"), reason="reads /proc")
def test_ten_thousand_calls_leak_nothing():
    grey = np.arange(64, dtype=np.uint8).reshape(4, 4, 4)
    rgb = np.zeros((4, 4, 4, 3), np.uint8)
    out = np.zeros_like(grey)

    def calls():
        v.median3(grey, 3)                                # a new output
        v.run_max3(grey, 3, output=out, voi=np.s_[0:4])   # a given output and a VOI
        v.Symmetric3d(rgb)                                # copied in
        v.grass3d_label(grey)                             # a result tuple
        try:
            v.median3(grey, 2)                            # an error
        except v.Error:
            pass

    for _ in range(300):
        calls()
    gc.collect()
    references = (sys.getrefcount(grey), sys.getrefcount(rgb), sys.getrefcount(out))
    objects, before = len(gc.get_objects()), resident_bytes()
    for _ in range(10_000):
        calls()
    gc.collect()
    assert (sys.getrefcount(grey), sys.getrefcount(rgb), sys.getrefcount(out)) == references
    assert len(gc.get_objects()) - objects < 100
    # the address sanitizer keeps freed blocks in quarantine, so the resident size only means
    # something without it
    if "libasan" not in os.environ.get("LD_PRELOAD", ""):
        assert resident_bytes() - before < 2 << 20
