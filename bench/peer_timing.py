"""Timing shared by the scripts that run the library beside its Python peers."""
import time

import numpy as np


def median_time(call, repeat):
    """The median of repeat wall-clock timings of call(), in seconds, after one untimed call
    (the memory allocator settles on its first calls)."""
    call()
    times = []
    for _ in range(repeat):
        start = time.perf_counter()
        call()
        times.append(time.perf_counter() - start)
    return float(np.median(times))
