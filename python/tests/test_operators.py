"""Every operator through Python against the same call made in C on records the library created,
on random volumes, with a VOI where the operator takes one."""
import ctypes
from types import SimpleNamespace

import numpy as np
import pytest

import vexilo3d as v

V = np.s_[1:11, 2:12, 1:13]          # a VOI of the (12, 13, 14) volumes
RV = np.s_[1:6, 0:6, 2:8]            # a VOI of the (6, 7, 8, 3) RGB volume
BV = np.s_[1:9, 2:10, 0:12]          # a VOI of the (10, 11, 12) binary volumes


@pytest.fixture
def d(rng):
    def grey(shape=(12, 13, 14)):
        return rng.integers(0, 256, shape, dtype=np.uint8)

    def binary(shape=(10, 11, 12), p=0.4):
        return ((rng.random(shape) < p) * 255).astype(np.uint8)

    def real(shape=(8, 8, 8), scale=1.0):
        return (rng.standard_normal(shape) * scale).astype(np.float32)

    cross = np.zeros((3, 3, 3), np.uint8)
    cross[1, 1, :] = cross[1, :, 1] = cross[:, 1, 1] = 255
    plane = np.zeros((10, 11, 12), np.uint8)
    plane[4] = 255
    blobs = binary((12, 13, 14), 0.08)
    return SimpleNamespace(G=grey(), G2=grey(), R=grey((6, 7, 8, 3)), B=binary(), B2=binary(),
                           S=(rng.random((12, 13, 14)) < 0.02).astype(np.uint8) * 9,
                           F=real(), F2=real(), K=real((3, 3, 3)), W=rng.integers(0, 4, (3, 3, 5), dtype=np.uint8),
                           M=binary(p=0.93), SE=cross, plane=plane, blobs=blobs,
                           wide=real((8, 8, 8), 200.0) + 60)


class In:
    """An input record with a VOI."""
    def __init__(self, array, voi=None):
        self.array, self.voi = array, voi


class Out:
    """An output record: zeros of shape, or a copy of init; read back after the call."""
    def __init__(self, shape=None, dtype=np.uint8, init=None, voi=None):
        self.array = np.zeros(shape, dtype) if init is None else init
        self.voi = voi


class Img:
    """An Image2d of channel row pointers over a new planar picture; read back after the call."""
    def __init__(self, channels, height, width):
        self.planes = np.zeros((channels, height, width), np.uint8)
        row = ctypes.POINTER(ctypes.c_ubyte)
        self.rows = [(row * height)(*[self.planes[ch, r].ctypes.data_as(row) for r in range(height)])
                     for ch in range(channels)]
        self.image = (ctypes.POINTER(row) * 3)(*[ctypes.cast(r, ctypes.POINTER(row)) for r in self.rows])

    def picture(self):
        return self.planes[0] if len(self.planes) == 1 else np.moveaxis(self.planes, 0, -1)


def ok(status):
    assert status >= 0, status
    return status


def c_run(c, name, *args):
    """name(*args) in C: arrays and In become records, Out records and Img pictures are read
    back and returned (one, or a tuple)."""
    converted, outputs = [], []
    for a in args:
        if isinstance(a, np.ndarray):
            a = c.volume(a)
        elif isinstance(a, (In, Out)):
            record = c.volume(a.array, a.voi)
            if isinstance(a, Out):
                outputs.append(lambda record=record: c.array(record))
            a = record
        elif isinstance(a, Img):
            outputs.append(a.picture)
            a = a.image
        converted.append(a)
    ok(c.call(name, *converted))
    results = tuple(read() for read in outputs)
    return results[0] if len(results) == 1 else results


def c_values(c, name, *args):
    """name(*args, result pointers...) in C: the values stored through the pointers."""
    kinds = [a for a in args if isinstance(a, type)]
    pointers = [k() for k in kinds]
    ok(c.call(name, *[c.volume(a.array, a.voi) if isinstance(a, In) else a for a in args
                      if not isinstance(a, type)], *[ctypes.byref(p) for p in pointers]))
    values = tuple(p.value for p in pointers)
    return values[0] if len(values) == 1 else values


def floats(*values):
    return (ctypes.c_float * len(values))(*values)


def bytes3(*values):
    return (ctypes.c_ubyte * 3)(*values)


# name: (python call, C call), both given the data and returning arrays or tuples of them.
F32, I32 = np.float32, np.int32
HALF = np.s_[0:4, 4:8, 0:4]
MORPHOLOGY = ("MinkowskiAddition3d", "MinkowskiSubtraction3d", "bdilate3d", "berode3d", "bopening3d",
              "bclosing3d")
CASES = {
    # ---- basic operations
    "ClearVolume": (lambda d: v.ClearVolume(d.R, (1, 2, 3), voi=RV),
                    lambda c, d: c_run(c, "ClearVolume", Out(init=d.R, voi=RV), floats(1, 2, 3))),
    "CheckIfVolumeClear": (lambda d: (v.CheckIfVolumeClear(np.full((3, 4, 5), 7, I32), 7.0),
                                      v.CheckIfVolumeClear(d.G, 7)),
                           lambda c, d: (c.call("CheckIfVolumeClear", c.volume(np.full((3, 4, 5), 7, I32)), floats(7)) == 1,
                                         c.call("CheckIfVolumeClear", c.volume(d.G), floats(7)) == 1)),
    "CheckIfUCBinary": (lambda d: (v.CheckIfUCBinary(d.B), v.CheckIfUCBinary(d.G, voi=V)),
                        lambda c, d: (c.call("CheckIfUCBinary", c.volume(d.B)) == 1,
                                      c.call("CheckIfUCBinary", c.volume(d.G, V)) == 1)),
    "CopyVolume": (lambda d: v.CopyVolume(d.G, offset=(1, 0, 2), voi=V),
                   lambda c, d: c_run(c, "CopyVolume", In(d.G, V), Out((11, 10, 14)), 1, 0, 2)),
    "FVolume2UCVolume": (lambda d: v.FVolume2UCVolume(d.wide, offset=1),
                         lambda c, d: c_run(c, "FVolume2UCVolume", d.wide, Out((9, 9, 9)), 1, 1, 1)),
    "FVolume2UCVolume_norm": (lambda d: v.FVolume2UCVolume_norm(d.wide),
                              lambda c, d: c_run(c, "FVolume2UCVolume_norm", d.wide, Out((8, 8, 8)), 0, 0, 0)),
    "UCVolume2FVolume": (lambda d: v.UCVolume2FVolume(d.R, voi=RV),
                         lambda c, d: c_run(c, "UCVolume2FVolume", In(d.R, RV), Out((5, 6, 6, 3), F32), 0, 0, 0)),
    "counts": (lambda d: (v.CountNonZeroSurfacePoints3d(d.B), v.CountNonZeroPoints3d(d.B, voi=BV[:2])),
               lambda c, d: (c_values(c, "CountNonZeroSurfacePoints3d", In(d.B), ctypes.c_uint),
                             c_values(c, "CountNonZeroPoints3d", In(d.B, BV), ctypes.c_uint))),
    "FindMinMaxIntensity": (lambda d: v.FindMinMaxIntensity(d.G, voi=V),
                            lambda c, d: c_values(c, "FindMinMaxIntensity", In(d.G, V), ctypes.c_uint, ctypes.c_uint)),
    "FindBoundingBox3d": (lambda d: v.FindBoundingBox3d(d.S),
                          lambda c, d: c_values(c, "FindBoundingBox3d", In(d.S), *[ctypes.c_int] * 6)),
    "and3d": (lambda d: v.and3d(d.B, d.B2, voi=BV[:2]),
              lambda c, d: c_run(c, "and3d", In(d.B, BV), d.B2, Out(d.B.shape))),
    "or3d": (lambda d: v.or3d(d.B, d.B2), lambda c, d: c_run(c, "or3d", d.B, d.B2, Out(d.B.shape))),
    "xor3d": (lambda d: v.xor3d(d.B, d.B2), lambda c, d: c_run(c, "xor3d", d.B, d.B2, Out(d.B.shape))),
    "Symmetric3d": (lambda d: v.Symmetric3d(d.R, voi=RV),
                    lambda c, d: c_run(c, "Symmetric3d", In(d.R, RV), Out(d.R.shape))),
    "RotateVol2d": (lambda d: v.RotateVol2d(d.G, 30, voi=V),
                    lambda c, d: c_run(c, "RotateVol2d", In(d.G, V), Out(d.G.shape), 30.0)),
    "RotateVol3d": (lambda d: v.RotateVol3d(d.F, (10, 20, 30)),
                    lambda c, d: c_run(c, "RotateVol3d", d.F, Out(d.F.shape, F32), 10.0, 20.0, 30.0)),
    "CopyFrame2Image": (lambda d: v.CopyFrame2Image(d.R, 2, offset=(3, 4), voi=RV),
                        lambda c, d: c_run(c, "CopyFrame2Image", In(d.R, RV), 2, Img(3, 256, 256), 3, 4)),
    "CopyImage2Frame": (lambda d: v.CopyImage2Frame(d.G, 3, d.G2[0], offset=(1, 2), region=np.s_[2:8, 1:9]),
                        lambda c, d: (lambda image: (np.copyto(image.planes[0], d.G2[0]),
                                                     c_run(c, "CopyImage2Frame", Out(init=d.G), 3, image.image, 1, 2, 2, 8, 1, 9))[1])(Img(1, 13, 14))),
    # ---- histogram and filters
    "hist3": (lambda d: v.hist3(d.R, voi=RV),
              lambda c, d: (lambda p: (ok(c.call("hist3", c.volume(d.R, RV), (ctypes.c_void_p * 3)(*[x.ctypes.data for x in p]))), p)[1])(np.zeros((3, 256), F32))),
    "cdfhist3": (lambda d: v.cdfhist3(v.hist3(d.G)),
                 lambda c, d: (lambda p, q: (ok(c.cdfhist3(p.ctypes.data_as(ctypes.c_void_p), q.ctypes.data_as(ctypes.c_void_p))), q)[1])(v.hist3(d.G), np.zeros(256, F32))),
    "histeq3": (lambda d: v.histeq3(d.G, v.cdfhist3(v.hist3(d.G2)), voi=V),
                lambda c, d: (lambda q: c_run(c, "histeq3", In(d.G, V), Out(d.G.shape), (ctypes.c_void_p * 3)(*[q.ctypes.data] * 3)))(v.cdfhist3(v.hist3(d.G2)))),
    "HistogramEqual3d": (lambda d: v.HistogramEqual3d(d.R, voi=RV),
                         lambda c, d: c_run(c, "HistogramEqual3d", In(d.R, RV), Out(d.R.shape))),
    **{name: (lambda d, name=name: getattr(v, name)(d.R, (3, 5, 3), voi=RV),
              lambda c, d, name=name: c_run(c, name, In(d.R, RV), Out(d.R.shape), 3, 5, 3))
       for name in ("mov_ave3", "median3", "run_median3", "run_max3", "run_min3")},
    "wei_median3": (lambda d: v.wei_median3(d.G, d.W, voi=V),
                    lambda c, d: c_run(c, "wei_median3", In(d.G, V), Out(d.G.shape), c.volume(d.W))),
    "multistage_median3": (lambda d: v.multistage_median3(d.G, 5),
                           lambda c, d: c_run(c, "multistage_median3", d.G, Out(d.G.shape), 5)),
    "l_filter3": (lambda d: v.l_filter3(d.G, np.linspace(0, 0.1, 27).reshape(3, 3, 3), voi=V),
                  lambda c, d: c_run(c, "l_filter3", In(d.G, V), Out(d.G.shape), floats(*np.linspace(0, 0.1, 27).astype(F32)), 3, 3, 3)),
    "local_adapt_filt3": (lambda d: v.local_adapt_filt3(d.G, (3, 1, 5), 300.0),
                          lambda c, d: c_run(c, "local_adapt_filt3", d.G, Out(d.G.shape), 300.0, 3, 1, 5)),
    "wienerfrequency3": (lambda d: v.wienerfrequency3(abs(d.F), d.F2, d.F[::-1].copy(), 0.5, voi=np.s_[1:7, :, 2:5]),
                         lambda c, d: c_run(c, "wienerfrequency3", Out((8, 8, 8), F32, voi=np.s_[1:7, 0:8, 2:5]), Out((8, 8, 8), F32),
                                            abs(d.F), d.F2, d.F[::-1].copy(), 0.5)),
    # ---- edges
    "Sobel_3D": (lambda d: v.Sobel_3D(d.G, voi=V), lambda c, d: c_run(c, "Sobel_3D", In(d.G, V), Out(d.G.shape))),
    "laplace_3d": (lambda d: v.laplace_3d(d.G), lambda c, d: c_run(c, "laplace_3d", d.G, Out(d.G.shape))),
    "compas3d": (lambda d: v.compas3d(d.G, 135, 45, voi=V),
                 lambda c, d: c_run(c, "compas3d", In(d.G, V), Out(d.G.shape), 135, 45)),
    "range_3d": (lambda d: v.range_3d(d.G, (5, 3, 3)), lambda c, d: c_run(c, "range_3d", d.G, Out(d.G.shape), 5, 3, 3)),
    "edge_follow_3d": (lambda d: v.edge_follow_3d(d.G, (5, 6, 7), 60, 20, 2),
                       lambda c, d: c_run(c, "edge_follow_3d", d.G, Out(d.G.shape), 5, 6, 7, 60, 20, 2)),
    "Hough_3D": (lambda d: v.Hough_3D(d.plane, (6, 8, 10), 20),
                 lambda c, d: c_run(c, "Hough_3D", d.plane, Out(d.plane.shape), Out((6, 8, 10), I32), 20)),
    # ---- Fourier transform and the transforms built on it
    **{name: (lambda d, name=name: getattr(v, name)(d.F, d.F2, inverse=True, offset=(0, 1, 2), voi=HALF),
              lambda c, d, name=name: c_run(c, name, In(d.F, HALF), d.F2, Out((4, 5, 6), F32), Out((4, 5, 6), F32), 1, 0, 1, 2))
       for name in ("fft3d", "lrcfft3d", "vrfft3d")},
    **{name: (lambda d, name=name: getattr(v, name)(d.F, voi=np.s_[:, 0:4, 0:2]),
              lambda c, d, name=name: c_run(c, name, In(d.F, np.s_[0:8, 0:4, 0:2]), Out((8, 4, 2), F32), 0, 0, 0))
       for name in ("DCT3d", "IDCT3d")},
    **{name: (lambda d, name=name: getattr(v, name)(d.F[:5, :6, :7], d.K, offset=(1, 0, 0)),
              lambda c, d, name=name: c_run(c, name, d.F[:5, :6, :7], d.K, Out((8, 8, 9), F32), 1, 0, 0))
       for name in ("convolution3", "correlation3d")},
    "overlap_add3": (lambda d: v.overlap_add3(d.F[:5, :6, :7], d.K, 2),
                     lambda c, d: c_run(c, "overlap_add3", d.F[:5, :6, :7], d.K, Out((7, 8, 9), F32), 2, 0, 0, 0)),
    "blackman_tukey_psd3d": (lambda d: v.blackman_tukey_psd3d(d.F, (0.1, 0.2, 0.3)),
                             lambda c, d: c_run(c, "blackman_tukey_psd3d", d.F, Out((8, 8, 8), F32), 0.3, 0.2, 0.1, 0, 0, 0)),
    **{name: (lambda d, name=name: getattr(v, name)(d.F, d.F2, offset=2, voi=np.s_[2:5, 1:7, 0:3]),
              lambda c, d, name=name: c_run(c, name, In(d.F, np.s_[2:5, 1:7, 0:3]), d.F2, Out((5, 8, 5), F32), Out((5, 8, 5), F32), 2, 2, 2))
       for name in ("reim2magnphase3d", "magnphase2reim3d")},
    "fft2image3d": (lambda d: v.fft2image3d(d.F, d.F2), lambda c, d: c_run(c, "fft2image3d", d.F, d.F2, Out((8, 8, 8)), 0, 0, 0)),
    # ---- segmentation
    "threshold_3d": (lambda d: v.threshold_3d(d.G, 100, voi=V), lambda c, d: c_run(c, "threshold_3d", In(d.G, V), Out(d.G.shape), 100)),
    "region3d_grow": (lambda d: v.region3d_grow(d.G, d.S, 200, 40),
                      lambda c, d: c_run(c, "region3d_grow", d.G, Out(init=d.S), 200, 40)),
    "region3d_merge": (lambda d: v.region3d_merge(d.G // 64 * 64, 10, voi=V),
                       lambda c, d: (lambda out: (lambda n: (c.array(out), n))(ok(c.call("region3d_merge", c.volume(d.G // 64 * 64, V), out, 10, 255))))(c.zeros(d.G.shape))),
    **{name: (lambda d, name=name: getattr(v, name)(d.G, 120),
              lambda c, d, name=name: (lambda out, n: (ok(c.call(name, c.volume(d.G), out, ctypes.byref(n), 120)), (c.array(out), n.value))[1])(c.zeros(d.G.shape), ctypes.c_int(0)))
       for name in ("region3d_split", "region3d_splitmerge")},
    "grass3d_label": (lambda d: v.grass3d_label(d.blobs, voi=V),
                      lambda c, d: (lambda out, n, counts: (ok(c.call("grass3d_label", c.volume(d.blobs, V), out, ctypes.byref(n), counts, 255)),
                                                            (c.array(out), np.array(counts[:n.value], F32)))[1])(c.zeros(d.G.shape), ctypes.c_int(), (ctypes.c_float * 255)())),
    # ---- resizing
    "zoom3d": (lambda d: v.zoom3d(d.R, 2, offset=1, voi=RV), lambda c, d: c_run(c, "zoom3d", In(d.R, RV), Out((11, 13, 13, 3)), 2, 1, 1, 1)),
    "decim3": (lambda d: v.decim3(d.G, 3), lambda c, d: c_run(c, "decim3", d.G, Out((4, 5, 5)), 3, 0, 0, 0)),
    "InterpolationNearestNeighbor3d": (lambda d: v.InterpolationNearestNeighbor3d(d.G, (1.5, 0.7, 2.0), voi=V),
                                       lambda c, d: c_run(c, "InterpolationNearestNeighbor3d", In(d.G, V), Out((15, 7, 24)), 0, 1.5, 0.7, 2.0, 0, 0, 0)),
    "InterpolationLinear3d": (lambda d: v.InterpolationLinear3d(d.R, shape=(9, 4, 13)),
                              lambda c, d: c_run(c, "InterpolationLinear3d", d.R, Out((9, 4, 13, 3)), 1, 1.0, 1.0, 1.0, 0, 0, 0)),
    "InterpolationFrameLinear3d": (lambda d: (v.InterpolationFrameLinear3d(d.G, 2.5), v.InterpolationFrameLinear3d(d.G, frames=20)),
                                   lambda c, d: (c_run(c, "InterpolationFrameLinear3d", d.G, Out((30, 13, 14)), 0, 2.5, 0, 0, 0),
                                                 c_run(c, "InterpolationFrameLinear3d", d.G, Out((20, 13, 14)), 1, 1.0, 0, 0, 0))),
    **{name: (lambda d, name=name: getattr(v, name)(d.G, 3, offset=(0, 1, 0), voi=V),
              lambda c, d, name=name: c_run(c, name, In(d.G, V), Out((28, 11, 12)), 3, 0, 1, 0))
       for name in ("FrameZeroPadding", "FrameInterpolationGrayscale")},
    "FrameInterpolationBinary": (lambda d: v.FrameInterpolationBinary(d.B, 2, True),
                                 lambda c, d: c_run(c, "FrameInterpolationBinary", d.B, Out((19, 11, 12)), 2, 0, 0, 0, 1)),
    "FrameContourObjectFill": (lambda d: v.FrameContourObjectFill(d.B), lambda c, d: c_run(c, "FrameContourObjectFill", d.B, Out(d.B.shape))),
    # ---- morphology
    **{name: (lambda d, name=name: getattr(v, name)(d.M, d.SE, voi=BV[:2]),
              lambda c, d, name=name: c_run(c, name, In(d.M, BV), d.SE, Out(d.M.shape)))
       for name in MORPHOLOGY},
    # ---- projections and sections
    **{name: (lambda d, name=name: getattr(v, name)(d.R, 30, trim=True, voi=RV),
              lambda c, d, name=name: c_run(c, name, In(d.R, RV), Img(3, 5, 9), 5, 9, 30, 1))
       for name in ("ProvoliAvrg2d", "ProvoliMax2d")},
    **{name: (lambda d, name=name: getattr(v, name)(d.G, 30, 20, shape=(20, 24)),
              lambda c, d, name=name: c_run(c, name, d.G, Img(1, 20, 24), 20, 24, 30, 20, 0))
       for name in ("ProvoliAvrg3d", "ProvoliMax3d")},
    "Provoli2d": (lambda d: v.Provoli2d(d.R, 45, (100, 150, 200)),
                  lambda c, d: c_run(c, "Provoli2d", d.R, Img(3, 6, 11), 6, 11, 45, 0, bytes3(100, 150, 200))),
    "Provoli3d": (lambda d: v.Provoli3d(d.G, 10, 50, 180),
                  lambda c, d: c_run(c, "Provoli3d", d.G, Img(1, 23, 23), 23, 23, 10, 50, 0, bytes3(180, 180, 180))),
    "Provoli2dBinary": (lambda d: v.Provoli2dBinary(d.B, 60, 1),
                        lambda c, d: c_run(c, "Provoli2dBinary", d.B, Img(1, 10, 17), 10, 17, 60, 0, 1)),
    "Provoli3dBinary": (lambda d: v.Provoli3dBinary(d.B, 60, 30, 1, trim=True),
                        lambda c, d: c_run(c, "Provoli3dBinary", d.B, Img(1, 20, 20), 20, 20, 60, 30, 1, 1)),
    **{name: (lambda d, name=name: getattr(v, name)(d.R, 20, 40, 128, True),
              lambda c, d, name=name: c_run(c, name, d.R, Img(3, 13, 13), 13, 13, 20, 40, 0, bytes3(128, 128, 128), 1))
       for name in ("Provoli3dSurface", "Provoli3dSurfaceColor")},
    "TomiOrth": (lambda d: (v.TomiOrth(d.G, 2, 5, voi=V), v.TomiOrth(d.G, 3, 4)),
                 lambda c, d: (c_run(c, "TomiOrth", In(d.G, V), Img(1, 10, 12), 10, 12, 2, 5),
                               c_run(c, "TomiOrth", d.G, Img(1, 12, 13), 12, 13, 3, 4))),
    "TomiRand1": (lambda d: v.TomiRand1(d.R, (3, 3, 4), (1, 1, 2), shape=(9, 10)),
                  lambda c, d: c_run(c, "TomiRand1", d.R, Img(3, 9, 10), 9, 10, 3, 3, 4, 1, 1, 2)),
    "TomiRand2": (lambda d: v.TomiRand2(d.G, 30, 20, (6, 6, 7)),
                  lambda c, d: c_run(c, "TomiRand2", d.G, Img(1, 23, 23), 23, 23, 30, 20, 6, 6, 7)),
    "ProduceFrameGallery3d": (lambda d: v.ProduceFrameGallery3d(d.R, 3, method=1, shape=(60, 90)),
                              lambda c, d: c_run(c, "ProduceFrameGallery3d", d.R, Out((1, 60, 90, 3)), 3, 1)[0]),
}


@pytest.mark.parametrize("name", sorted(CASES))
def test_matches_the_c_call(name, d, clib):
    python_call, c_call = CASES[name]
    got, expected = python_call(d), c_call(clib, d)
    if not isinstance(got, tuple):
        got, expected = (got,), (expected,)
    assert len(got) == len(expected)
    for g, e in zip(got, expected):
        np.testing.assert_array_equal(g, e)


def test_modedg3d_path_from_start_to_end(d, clib):
    strength = np.full((6, 7, 8), 10, np.uint8)
    strength[3, 2:6, 1:7] = 200
    out, path = v.modedg3d(strength, (3, 2, 1), (3, 5, 6), 100)

    class Record(ctypes.Structure):
        _fields_ = [(n, ctypes.c_int) for n in "zyxe"]

    clib.lib.pop_3d.restype = Record
    stack, cout = ctypes.c_void_p(), clib.zeros(strength.shape)
    ok(clib.call("modedg3d", clib.volume(strength), cout, ctypes.byref(stack), 3, 2, 1, 3, 5, 6, 100))
    records = []
    while stack.value:
        r = clib.lib.pop_3d(ctypes.byref(stack))
        records.append((r.z, r.y, r.x, r.e))
    np.testing.assert_array_equal(out, clib.array(cout))
    np.testing.assert_array_equal(path, records[::-1])
    assert tuple(path[0, :3]) == (3, 2, 1) and tuple(path[-1, :3]) == (3, 5, 6)


def test_every_exported_operator_is_covered():
    exported = set(v.__all__) - {"Error"}
    covered = set(CASES) | {"modedg3d", "CountNonZeroSurfacePoints3d", "CountNonZeroPoints3d"}
    io_and_settings = {"ReadVolume", "WriteVolume", "fromdiskUCFI3D", "todiskUCFI3D", "dumpUCFI3D",
                       "LoadCoefficientVolume3d", "read_sequence", "write_sequence", "sequence_info",
                       "sequence_formats", "GetStatusText", "set_threads", "get_threads",
                       "SetDefaultImageSize", "GetDefaultImageSize"}
    assert exported - covered - io_and_settings == set()
