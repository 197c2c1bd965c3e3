"""VEXILO3D's volume library on NumPy arrays.

Every operator of the library is a function of the same name (vexilo3d.median3,
vexilo3d.Sobel_3D, ...) on arrays (Z, Y, X) or (Z, Y, X, 3) of uint8, float32 or int32. A call
returns new arrays or writes into output=; voi=(slice, slice, slice) restricts it to a volume of
interest; a failing status raises vexilo3d.Error (.code, .text). The interpreter lock is released
while an operator runs. vexilo3d.dask applies the operators to Dask arrays chunk by chunk.
"""
from functools import wraps as _wraps

from . import _core
from ._errors import Error


def _by_name(function):
    """function as a plain Python function of this module. Extension functions cannot be
    pickled, and a cluster's workers receive the functions they run pickled: these travel by
    name (vexilo3d.median3) and cost one Python call."""
    @_wraps(function)
    def operator(*args, **kwargs):
        return function(*args, **kwargs)
    operator.__module__ = __name__
    operator.__qualname__ = function.__name__
    return operator


__all__ = ["Error"]
for _name in dir(_core):
    if not _name.startswith("_"):
        globals()[_name] = _by_name(getattr(_core, _name))
        __all__.append(_name)
del _name
