// Sets or unsets one environment variable for the life of the guard, then puts back what was there.
//
// The environment belongs to the whole process: only while no other thread reads it.

#pragma once

#include <cstdlib>
#include <optional>
#include <string>
#include <utility>

class EnvironmentGuard
{
public:
    /// Gives the variable Value; without one it is unset.
    explicit EnvironmentGuard(std::string VariableName,
                              const std::optional<std::string>& Value = std::nullopt)
        : Name(std::move(VariableName))
    {
        if (const char* earlier = std::getenv(Name.c_str()); earlier != nullptr)
        {
            Earlier = earlier;
        }
        Set(Value);
    }
    ~EnvironmentGuard() { Set(Earlier); }
    EnvironmentGuard(const EnvironmentGuard&) = delete;
    EnvironmentGuard& operator=(const EnvironmentGuard&) = delete;

private:
    void Set(const std::optional<std::string>& Value)
    {
        if (Value.has_value())
        {
            setenv(Name.c_str(), Value->c_str(), 1);
        }
        else
        {
            unsetenv(Name.c_str());
        }
    }

    std::string Name;
    std::optional<std::string> Earlier;
};
