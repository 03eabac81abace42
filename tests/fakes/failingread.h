// A disk that fails: the system's read(2), made to fail for some files where a test wants it.
//
// A test program that links failingread.cpp gets it in place of the library's, and so do the shared
// libraries that it uses.

#pragma once

#include <string>

#include <sys/types.h>

/// While it lives, no thread can read the files whose path contains PathPart from FromByte on: read
/// answers with Error. One at a time.
class FailingRead
{
public:
    FailingRead(std::string NewPathPart, off_t NewFromByte, int NewError);
    ~FailingRead();
    FailingRead(const FailingRead&) = delete;
    FailingRead& operator=(const FailingRead&) = delete;

    const std::string PathPart;
    const off_t FromByte;
    const int Error;
};
