// The application's core: the one object through which its parts find each other.
//
// Core owns them; the global p points at the running application's core and is null before it is
// made and after it is gone. Made and destroyed on the UI thread by whoever runs the program.

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
    // Last, so that it goes first: its workers are joined while everything else still stands.
    std::unique_ptr<JobSystem> pJobSystem;
};

/// The running application's core, or null. Not owned.
extern Core* p; // NOLINT(readability-identifier-naming): the name that the whole application uses
