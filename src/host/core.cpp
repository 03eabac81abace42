#include "host/core.h"

Core* p = nullptr;
