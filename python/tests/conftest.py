"""Fixtures: random volumes, and the library's C interface called directly through ctypes (the
shared library named by VEXILO3D_LIBRARY), so that the module's results can be compared with the
plain C calls on records the library created itself."""
import ctypes
import os

import numpy as np
import pytest

C_TYPES = {np.dtype(np.uint8): 1, np.dtype(np.float32): 2, np.dtype(np.int32): 4}
NP_TYPES = {v: k for k, v in C_TYPES.items()}


class Volume(ctypes.Structure):
    _fields_ = [("data", ctypes.c_void_p * 3), ("type", ctypes.c_int), ("colortype", ctypes.c_int),
                ("Z", ctypes.c_int), ("Y", ctypes.c_int), ("X", ctypes.c_int),
                ("name", ctypes.c_char * 152),
                ("x1", ctypes.c_int), ("x2", ctypes.c_int), ("y1", ctypes.c_int),
                ("y2", ctypes.c_int), ("z1", ctypes.c_int), ("z2", ctypes.c_int)]


class CLibrary:
    """Volumes made by CreateVolume and filled frame by frame; every C function by name."""

    def __init__(self, path):
        self.lib = ctypes.CDLL(path)
        self.volumes = []

    def __getattr__(self, name):
        return getattr(self.lib, name)

    def volume(self, array, voi=None):
        """A new record holding array ((Z, Y, X) or (Z, Y, X, 3)), its VOI from slices."""
        array = np.asarray(array)
        v = Volume()
        self.lib.InitializeVolume(ctypes.byref(v), *array.shape[:3], C_TYPES[array.dtype],
                                  2 if array.ndim == 4 else 1)
        assert self.lib.CreateVolume(ctypes.byref(v)) == 0
        self.volumes.append(v)
        for c, plane in enumerate(self._channels(array)):
            for z in range(v.Z):
                frame = np.ascontiguousarray(plane[z])
                ctypes.memmove(self._frame(v, c, z), frame.ctypes.data, frame.nbytes)
        if voi is not None:
            bounds = [s.indices(n)[:2] for s, n in zip(voi, array.shape)]
            self.lib.fill_in_VOI(ctypes.byref(v), *bounds[0], *bounds[1], *bounds[2])
        return v

    def zeros(self, shape, dtype=np.uint8):
        return self.volume(np.zeros(shape, dtype))

    def array(self, v):
        """The voxels of a record as an array."""
        dtype = NP_TYPES[v.type]
        planes = []
        for c in range(3 if v.colortype == 2 else 1):
            plane = np.empty((v.Z, v.Y, v.X), dtype)
            for z in range(v.Z):
                ctypes.memmove(plane[z].ctypes.data, self._frame(v, c, z), plane[z].nbytes)
            planes.append(plane)
        return planes[0] if len(planes) == 1 else np.stack(planes, axis=-1)

    def call(self, name, *args):
        """name(*args) with records passed by reference and floats as C floats."""
        converted = [ctypes.byref(a) if isinstance(a, Volume) else
                     ctypes.c_float(a) if isinstance(a, float) else a for a in args]
        return getattr(self.lib, name)(*converted)

    @staticmethod
    def _channels(array):
        return [array[..., c] for c in range(3)] if array.ndim == 4 else [array]

    @staticmethod
    def _frame(v, c, z):
        slots = ctypes.cast(v.data[c], ctypes.POINTER(ctypes.c_void_p))
        rows = ctypes.cast(slots[z], ctypes.POINTER(ctypes.c_void_p))
        return rows[0]

    def release(self):
        for v in self.volumes:
            self.lib.DestroyVolume(ctypes.byref(v))
        self.volumes.clear()


@pytest.fixture(scope="session")
def clib_session():
    path = os.environ.get("VEXILO3D_LIBRARY")
    if not path:
        pytest.skip("VEXILO3D_LIBRARY names the shared library (CTest sets it)")
    return CLibrary(path)


@pytest.fixture
def clib(clib_session):
    yield clib_session
    clib_session.release()


@pytest.fixture
def rng():
    return np.random.default_rng(21)
