// Waits for what another thread or process does and does not tell of.

#pragma once

#include <chrono>
#include <functional>
#include <thread>

/// Far beyond what anything here takes, also under a sanitizer on a busy machine.
inline constexpr std::chrono::seconds Deadline(30);

/// Looks again and again until Condition holds; false at the deadline.
[[nodiscard]] inline bool WaitFor(const std::function<bool()>& Condition)
{
    const auto deadline = std::chrono::steady_clock::now() + Deadline;
    while (!Condition())
    {
        if (std::chrono::steady_clock::now() > deadline)
        {
            return false;
        }
        std::this_thread::sleep_for(std::chrono::milliseconds(2)); // between two looks
    }
    return true;
}
