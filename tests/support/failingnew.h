// Memory that runs out: the program's operator new, counted, and made to fail where a test wants it.
//
// A test program that links failingnew.cpp gets them in place of the library's. Arming counts for the
// calling thread alone; the number of live blocks is the whole program's.

#pragma once

namespace FailingNew
{
enum class Extent
{
    Once,   ///< that allocation alone fails
    Forever ///< that one and all behind it
};

/// Makes the Number-th allocation of this thread from now on (counting from 1) throw std::bad_alloc.
void Arm(long long Number, Extent Failing);

/// Lets every allocation of this thread succeed again; true when one has failed since Arm.
bool Disarm();

/// How many blocks are allocated and not freed.
long long LiveBlocks();
} // namespace FailingNew
