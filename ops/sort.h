// The shared ascending sort of the rank operators (median family, L-filter, range).
//
// Rank operators are defined by the order of their window values, not by the sort that finds
// it: any ascending sort gives the same array as the exchange sort (repeated passes swapping
// adjacent pairs out of order), so short arrays use insertion sort and long ones std::sort.
// Neither allocates.
#pragma once

#include <algorithm>

namespace v3d {

template <class T> void exchange_sort(T* a, int n) {
    if (n > 32) {
        std::sort(a, a + n);
        return;
    }
    for (int i = 1; i < n; ++i) {
        const T v = a[i];
        int j = i - 1;
        while (j >= 0 && a[j] > v) {
            a[j + 1] = a[j];
            --j;
        }
        a[j + 1] = v;
    }
}

}  // namespace v3d
