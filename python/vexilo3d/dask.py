"""The library's operators on Dask arrays: volumes larger than memory, chunk by chunk.

    import numpy as np, dask.array as da, vexilo3d, vexilo3d.dask
    raw = np.memmap("big.raw", np.uint8, "r", shape=(4096, 1024, 1024))
    volume = da.from_array(raw, chunks=(64, 512, 512))     # any (Z, Y, X) dask array
    smooth = vexilo3d.dask.apply(vexilo3d.median3, volume, size=3)
    labels, n = vexilo3d.dask.label(vexilo3d.dask.apply(vexilo3d.threshold_3d, smooth, 128))

apply() runs a local operator on every chunk with its neighbours' voxels around it (map_overlap,
the overlap taken from the operator's window), so the result equals the whole-volume call voxel
for voxel, the untouched border band of the volume included (0, as in a new output). label()
labels every chunk with grass3d_label and merges the labels that meet across chunk faces, which
equals the whole-volume labelling up to the numbering. Both return lazy arrays that compute on
Dask's default scheduler (threads) or, unchanged, on a distributed.Client's cluster.
"""
import functools

import dask
import dask.array as da
import numpy as np

from . import _core

__all__ = ["apply", "label", "LOCAL_OPERATORS"]


def _halves(size):
    sizes = (size,) * 3 if np.ndim(size) == 0 else tuple(size)
    return tuple(int(s) // 2 for s in sizes)


def _window(size=3, *args, **kwargs):
    return _halves(size)


def _footprint(footprint, *args, **kwargs):
    return _halves(np.shape(footprint))


def _coefficients(coefficients, size=None, *args, **kwargs):
    return _halves(np.shape(coefficients) if size is None else size)


def _one(*args, **kwargs):
    return (1, 1, 1)


def _none(*args, **kwargs):
    return (0, 0, 0)


def _twice(reach):
    # Scatter operators stamp from every voxel of their working region, and opening and closing
    # are two passes: an output voxel depends on input voxels up to two half-elements away.
    return lambda *args, **kwargs: tuple(2 * h for h in reach(*args, **kwargs))


# How far, along (z, y, x), an output voxel's value reaches into the input: the overlap that
# makes a chunk's interior come out as in the whole-volume call.
LOCAL_OPERATORS = {
    "mov_ave3": _window, "median3": _window, "run_median3": _window, "run_max3": _window,
    "run_min3": _window, "range_3d": _window, "local_adapt_filt3": _window,
    "multistage_median3": _window, "wei_median3": _footprint, "l_filter3": _coefficients,
    "Sobel_3D": _one, "laplace_3d": _one, "compas3d": _one, "threshold_3d": _none,
    "bdilate3d": _footprint, "berode3d": _footprint,
    "MinkowskiAddition3d": _twice(_footprint), "MinkowskiSubtraction3d": _twice(_footprint),
    "bopening3d": _twice(_footprint), "bclosing3d": _twice(_footprint),
}
_RESIZING = ("zoom3d", "decim3")


def _name(operator):
    return operator if isinstance(operator, str) else operator.__name__


def _merge_small(chunks, least):
    """Chunks along one axis with runs shorter than least merged into their neighbours."""
    merged, run = [], 0
    for c in chunks:
        run += c
        if run >= least:
            merged.append(run)
            run = 0
    if run:
        if merged:
            merged[-1] += run
        else:
            merged.append(run)
    return tuple(merged)


def _whole_channels(array):
    """An RGB (Z, Y, X, 3) array keeps its three channels in one chunk."""
    return array.rechunk({3: 3}) if array.ndim == 4 else array


def _run(name, args, kwargs, block):
    return getattr(_core, name)(np.asarray(block), *args, **kwargs)


def apply(operator, array, *args, **kwargs):
    """operator(array, *args, **kwargs) on a dask array, chunk by chunk.

    operator: a local operator of vexilo3d (or its name): the window filters, the edge
    operators, threshold_3d, binary morphology (see LOCAL_OPERATORS), or zoom3d and decim3.
    Every chunk is read with depth voxels of its neighbours around it, depth being the
    operator's reach; chunks shorter than 2 * depth + 1 along an axis are merged with the next
    one first. The result is bit-identical to the call on the whole volume.
    """
    name = _name(operator)
    for key in ("output", "voi", "offset"):
        if key in kwargs:
            raise TypeError(f"vexilo3d.dask.apply works on whole arrays: {key}= is not taken")
    array = _whole_channels(da.asarray(array))
    if name in _RESIZING:
        return _resize(name, array, *args, **kwargs)
    if name not in LOCAL_OPERATORS:
        raise ValueError(f"{name} is not a local operator; the local ones are "
                         f"{', '.join(sorted(LOCAL_OPERATORS) + list(_RESIZING))}")
    depth = dict(enumerate(LOCAL_OPERATORS[name](*args, **kwargs)))
    if array.ndim == 4:
        depth[3] = 0
    chunks = tuple(_merge_small(array.chunks[axis], 2 * depth[axis] + 1) if axis < 3 else c
                   for axis, c in enumerate(array.chunks))
    array = array.rechunk(chunks)
    block = functools.partial(_run, name, args, kwargs)
    if not any(depth.values()):
        return array.map_blocks(block, dtype=array.dtype)
    return array.map_overlap(block, depth=depth, boundary="none", trim=True, dtype=array.dtype)


def _resize(name, array, factor):
    """zoom3d and decim3 act on every voxel by itself: chunk by chunk, without overlap."""
    factor = int(factor)
    if factor < 1:
        raise _core_error(-90)
    block = functools.partial(_run, name, (factor,), {})
    channels = array.chunks[3:] if array.ndim == 4 else ()
    if name == "zoom3d":
        chunks = tuple(tuple(c * factor for c in axis) for axis in array.chunks[:3]) + channels
        return array.map_blocks(block, chunks=chunks, dtype=array.dtype)
    # decim3 takes voxels 0, f, 2f ...: chunk borders on multiples of f keep the sampling.
    aligned = tuple(_aligned(axis, factor) for axis in array.chunks[:3]) + channels
    array = array.rechunk(aligned)
    chunks = tuple(tuple(-(-c // factor) for c in axis) for axis in array.chunks[:3]) + channels
    return array.map_blocks(block, chunks=chunks, dtype=array.dtype)


def _aligned(chunks, factor):
    """Chunks along one axis whose borders lie on multiples of factor."""
    ends = np.cumsum(chunks)
    total = int(ends[-1])
    borders = sorted({min(total, -(-int(e) // factor) * factor) for e in ends})
    return tuple(int(b - a) for a, b in zip([0] + borders[:-1], borders))


def _core_error(code):
    from ._errors import Error
    return Error(code)


# ---- labelling --------------------------------------------------------------------------------
#
# First pass, one task per chunk: grass3d_label, the chunk's label count, the value of each label
# and the labels on the chunk's six faces. One task per plane between two layers of chunks then
# lists the labels that touch across it, naming each as (chunk, local label). The driver merges
# those (union-find) into a table from global to final labels. Second pass, one task per chunk:
# grass3d_label again, through the table. Memory holds a few chunks and their faces at a time.

LABELS_PER_CHUNK = 256   # local labels fit a byte: a label's code is chunk * 256 + label


class _Faces:
    """A chunk's label count, the value of each label and the labels on its faces (copies, so
    that the chunk's voxels can go)."""

    def __init__(self, block, maxlabels):
        block = np.asarray(block)
        labels, counts = _core.grass3d_label(block, maxlabels)
        self.count = len(counts)
        self.values = np.zeros(self.count + 1, block.dtype)
        self.values[labels.ravel()] = block.ravel()
        self.values[0] = 0
        self.first = [np.array(labels[(slice(None),) * axis + (0,)]) for axis in range(3)]
        self.last = [np.array(labels[(slice(None),) * axis + (-1,)]) for axis in range(3)]


def _count(faces):
    return faces.count


def _plane(faces, chunk_ids, axis, side):
    """One side of a plane between two layers of chunks: label codes and label values."""
    def piece(f, chunk):
        labels = (f.first if side == "first" else f.last)[axis]
        codes = np.where(labels > 0, chunk * LABELS_PER_CHUNK + labels.astype(np.int64), 0)
        return codes, f.values[labels]
    pieces = [[piece(f, c) for f, c in zip(row, ids)] for row, ids in zip(faces, chunk_ids)]
    return (np.block([[p[0] for p in row] for row in pieces]),
            np.block([[p[1] for p in row] for row in pieces]))


def _plane_pairs(axis, lower, lower_ids, upper, upper_ids):
    """The label codes that touch across the plane between two layers of chunks."""
    return _pairs_across(*_plane(lower, lower_ids, axis, "last"), *_plane(upper, upper_ids, axis, "first"))


def _pairs_across(lower_labels, lower_values, upper_labels, upper_values):
    """Label pairs that touch (26-connected, equal non-zero value) across one plane."""
    pairs = []
    h, w = lower_labels.shape
    for dy in (-1, 0, 1):
        for dx in (-1, 0, 1):
            a = (slice(max(0, -dy), h - max(0, dy)), slice(max(0, -dx), w - max(0, dx)))
            b = (slice(max(0, dy), h - max(0, -dy)), slice(max(0, dx), w - max(0, -dx)))
            la, lb = lower_labels[a], upper_labels[b]
            touch = (la > 0) & (lb > 0) & (lower_values[a] == upper_values[b])
            pairs.append(np.stack([la[touch], lb[touch]], axis=1))
    return np.unique(np.concatenate(pairs), axis=0)


def _roots(count, pairs):
    """The smallest label of every label's connected set (union-find over the pairs)."""
    parent = np.arange(count + 1)

    def find(a):
        while parent[a] != a:
            parent[a] = parent[parent[a]]
            a = parent[a]
        return a

    for a, b in pairs:
        ra, rb = find(a), find(b)
        if ra != rb:
            parent[max(ra, rb)] = min(ra, rb)
    return np.array([find(a) for a in range(count + 1)])


def _relabel(block, final, offsets, maxlabels, block_info=None):
    """Second pass on one chunk: its labels again, as final labels."""
    first = offsets[block_info[0]["chunk-location"]]
    local, _ = _core.grass3d_label(np.asarray(block), maxlabels)
    table = np.zeros(LABELS_PER_CHUNK, np.int32)
    table[1:] = final[np.minimum(first + np.arange(1, LABELS_PER_CHUNK), len(final) - 1)]
    return table[local]


def label(array, maxlabels=255):
    """Labels of the 26-connected components of equal non-zero value of a uint8 dask array.

    Returns (labels, n): a lazy int32 dask array with labels 1 .. n, equal to grass3d_label on
    the whole volume up to the numbering (which is not limited to 255), and the number of
    components. Each chunk is labelled by grass3d_label (at most maxlabels components a chunk);
    the labels that meet across chunk faces are merged. The first pass (the labels at the chunk
    faces) runs at once, reading the input once; the labels are computed again, chunk by chunk,
    when the result is computed, so memory stays bounded by a few chunks.
    """
    array = da.asarray(array)
    if array.ndim != 3:
        raise _core_error(-503)
    grid = array.numblocks
    blocks = array.to_delayed()
    faces = np.empty(grid, dtype=object)
    for index in np.ndindex(*grid):
        faces[index] = dask.delayed(_Faces)(blocks[index], maxlabels)
    chunk_ids = np.arange(faces.size).reshape(grid)
    plane_tasks = []
    for axis in range(3):
        for t in range(grid[axis] - 1):
            lower, upper = np.take(faces, t, axis), np.take(faces, t + 1, axis)
            lower_ids, upper_ids = np.take(chunk_ids, t, axis), np.take(chunk_ids, t + 1, axis)
            # Planes across Y and X are cut at the layers of chunks along Z (their first axis),
            # so that each task needs chunks of one layer and the work moves through the volume
            # layer by layer; what touches across a layer's edge also crosses a plane across Z.
            cuts = [slice(None)] if axis == 0 else [slice(k, k + 1) for k in range(grid[0])]
            plane_tasks += [dask.delayed(_plane_pairs)(axis, lower[c].tolist(), lower_ids[c].tolist(),
                                                       upper[c].tolist(), upper_ids[c].tolist())
                            for c in cuts]
    counts, planes = dask.compute([dask.delayed(_count)(f) for f in faces.ravel()], plane_tasks)
    counts = np.array(counts, dtype=np.int64)
    first_label = np.concatenate([[0], np.cumsum(counts)[:-1]])
    pairs = np.concatenate([np.empty((0, 2), np.int64)] + planes)
    # codes (chunk * 256 + local label) to global labels: the chunk's first label + local label
    pairs = first_label[pairs // LABELS_PER_CHUNK] + pairs % LABELS_PER_CHUNK
    roots = _roots(int(counts.sum()), np.unique(pairs, axis=0))
    # consecutive numbers 1 .. n for the merged components, 0 stays 0
    kept, final = np.unique(roots, return_inverse=True)
    result = array.map_blocks(_relabel, final=final.astype(np.int32),
                              offsets=first_label.reshape(grid), maxlabels=maxlabels,
                              dtype=np.int32)
    return result, int(len(kept) - 1)
