"""Readers and writers: what Python writes the library reads back, in every format."""
import numpy as np
import pytest

import vexilo3d as v


@pytest.fixture
def grey(rng):
    return rng.integers(0, 256, (3, 5, 7), dtype=np.uint8)


@pytest.fixture
def rgb(rng):
    return rng.integers(0, 256, (3, 5, 7, 3), dtype=np.uint8)


def test_raw_volumes_are_planar_files(tmp_path, rgb, rng):
    path = tmp_path / "colour.raw"
    v.WriteVolume(rgb, path)
    assert path.read_bytes() == np.moveaxis(rgb, -1, 0).tobytes()
    np.testing.assert_array_equal(v.ReadVolume(path, (3, 5, 7), channels=3), rgb)
    floats = rng.standard_normal((4, 2, 3)).astype(np.float32)
    v.WriteVolume(floats, path, first=1, count=2)
    np.testing.assert_array_equal(v.ReadVolume(path, (2, 2, 3), "float32"), floats[1:3])
    v.WriteVolume(floats, path)
    np.testing.assert_array_equal(v.ReadVolume(path, (1, 2, 3), np.float32, skip=3), floats[3:])


def test_frame_files(tmp_path, rgb):
    base = tmp_path / "frame"
    v.todiskUCFI3D(rgb, base, first=4, digits=3)
    assert sorted(p.name for p in tmp_path.iterdir())[:3] == ["frame004.b", "frame004.g", "frame004.r"]
    back = v.fromdiskUCFI3D(base, (3, 5, 7), exts=("r", "g", "b"), first=4, digits=3)
    np.testing.assert_array_equal(back, rgb)


def test_dump_writes_the_voi_as_text(tmp_path, grey):
    path = tmp_path / "dump.txt"
    v.dumpUCFI3D(grey, path, voi=np.s_[1:2, 0:2, 3:5])
    rows = [" ".join(f"{x:3d}" for x in grey[1, y, 3:5]) + " " for y in range(2)]
    assert path.read_text() == "\n".join(rows) + "\n\n\n"


LOSSLESS = ["tiff", "tiffstack", "bmp", "tga", "pnm", "raw", "rawvol", "rgb"]


@pytest.mark.parametrize("name", LOSSLESS + ["gif"])
def test_sequences_read_back_what_was_written(tmp_path, name, grey, rgb):
    fmt = {f["name"]: f for f in v.sequence_formats()}[name]
    volume = grey if name in ("gif", "raw", "rawvol") else rgb
    channels = 3 if volume.ndim == 4 else 1
    base = tmp_path / "seq"
    place = dict(digits=2) if fmt["single_file"] else dict(first=1, digits=2)
    v.write_sequence(volume, base, name, **place)
    read = dict(place)
    read.update(dict(shape=volume.shape[:3], channels=channels) if fmt["raw"] else dict(count=3))
    info = v.sequence_info(base, name, **read)
    assert (info["Z"], info["Y"], info["X"], info["colortype"]) == (3, 5, 7, 2 if channels == 3 else 1)
    np.testing.assert_array_equal(v.read_sequence(base, name, **read), volume)


@pytest.mark.parametrize("options", [dict(compression="lzw"), dict(compression="packbits")])
def test_tiff_compression(tmp_path, grey, options):
    v.write_sequence(grey, tmp_path / "stack.tif", "tiffstack", **options)
    array, spacing = v.read_sequence(tmp_path / "stack.tif", "tiffstack", return_spacing=True)
    np.testing.assert_array_equal(array, grey)
    assert spacing is None


def test_deep_samples_keep_their_values(tmp_path, rng):
    deep = rng.integers(0, 65536, (2, 4, 5), dtype=np.int32)
    v.write_sequence(deep, tmp_path / "deep", "pnm")
    assert v.sequence_info(tmp_path / "deep", "pnm", count=2)["bits"] == 16
    np.testing.assert_array_equal(v.read_sequence(tmp_path / "deep", "pnm", count=2), deep)
    scaled = v.read_sequence(tmp_path / "deep", "pnm", count=2, dtype=np.uint8)
    np.testing.assert_array_equal(scaled, (deep * 255 + 32767) // 65535)


def test_jpeg_is_close(tmp_path, grey):
    smooth = np.repeat(np.repeat(grey[:, :1, :1], 5, 1), 7, 2)
    v.write_sequence(smooth, tmp_path / "j", "jpeg", quality=100)
    back = v.read_sequence(tmp_path / "j", "jpeg", count=3)
    assert np.abs(back.astype(int) - smooth).max() <= 2


def test_coefficient_files(tmp_path):
    (tmp_path / "w.par").write_text("3\n1\n1\n1\n2\n0\n")
    np.testing.assert_array_equal(v.LoadCoefficientVolume3d(tmp_path / "w.par"), [[[1, 2, 0]]])
    (tmp_path / "f.par").write_text("1\n1\n2\n0.25\n-1.5\n")
    coefficients = v.LoadCoefficientVolume3d(tmp_path / "f.par", "float32")
    assert coefficients.dtype == np.float32 and coefficients.ravel().tolist() == [0.25, -1.5]
