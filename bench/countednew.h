// Counts what the program takes from the heap: operator new is replaced by one that counts.

#pragma once

#include <cstddef>

/// The allocations since the start of the program, on all threads.
std::size_t AllocationCount();
