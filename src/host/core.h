// The core: the one object through which the parts of the program find each other.
//
// Core owns them. The global p points at it, and is null before the core is made and after it is gone. The core
// is made and destroyed on the UI thread.

#pragma once

#include "host/coresdl.h"
#include "host/jobsystem.h"
#include "host/movane.h"
#include "host/rend.h"

#include <memory>

class Core
{
public:
    std::unique_ptr<Movane> pMovane;
    std::unique_ptr<Rend> pRend;
    std::unique_ptr<CoreSDL> pCoreSDL;
    // Declared last, so that it is destroyed first: its workers are joined while their data still exists.
    std::unique_ptr<JobSystem> pJobSystem;
};

/// The core, or null. Not owned.
extern Core* p; // NOLINT(readability-identifier-naming): the name that all code uses
