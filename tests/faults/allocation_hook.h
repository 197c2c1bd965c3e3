// Counting and failing the library's allocations (allocation_hook.cpp).
#pragma once

namespace faults {

// From now on count allocations; fail the fail_at-th (1-based, 0: none) or, with from_then_on,
// every one from it on.
void arm(long fail_at, bool from_then_on);
// Stops counting; returns the number of allocations seen since arm().
long disarm();
// Whether the next allocation may succeed (counts it when armed).
bool allowed() noexcept;

}  // namespace faults
