#include "base/environment.h"

#include <cstdlib>

std::string EnvironmentValue(const char* Name)
{
    const char* const value = std::getenv(Name); // NOLINT(concurrency-mt-unsafe): see the header
    return value == nullptr ? std::string() : std::string(value);
}

std::string AbsolutePathFromEnvironment(const char* Name)
{
    const std::string value = EnvironmentValue(Name);
    return value.starts_with('/') ? value : std::string();
}
