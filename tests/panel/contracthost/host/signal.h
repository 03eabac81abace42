// Observer list, as far as the panel may know it.

#pragma once

#include <functional>
#include <utility>
#include <vector>

template <typename... Args> class Signal
{
public:
    using Slot = std::function<void(Args...)>;

    void connect(Slot NewSlot) { slots.push_back(std::move(NewSlot)); }
    void emit(Args... Arguments)
    {
        for (const Slot& slot : slots)
        {
            slot(Arguments...);
        }
    }

    std::vector<Slot> slots; // NOLINT(readability-identifier-naming): named as in the real host
};
