"""VEXILO3D's volume library on NumPy arrays.

Every operator of the library is a function of the same name (vexilo3d.median3,
vexilo3d.Sobel_3D, ...) on arrays (Z, Y, X) or (Z, Y, X, 3) of uint8, float32 or int32. A call
returns new arrays or writes into output=; voi=(slice, slice, slice) restricts it to a volume of
interest; a failing status raises vexilo3d.Error (.code, .text). The interpreter lock is released
while an operator runs. vexilo3d.dask applies the operators to Dask arrays chunk by chunk.
"""
from ._errors import Error
from ._core import *  # noqa: F401,F403  (the operators)
from . import _core

__all__ = ["Error"] + [name for name in dir(_core) if not name.startswith("_")]
