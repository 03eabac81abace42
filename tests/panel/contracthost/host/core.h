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
    std::unique_ptr<JobSystem> pJobSystem;
    std::unique_ptr<Rend> pRend;
    std::unique_ptr<CoreSDL> pCoreSDL;
};

extern Core* p; // NOLINT(readability-identifier-naming): the name that the real host gives it
