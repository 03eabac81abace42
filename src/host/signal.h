// Observer list: who wants to hear of an event, called in the order of connecting.
//
// Slots take their arguments by value, so each gets a copy of its own. UI thread only; a slot is
// owned by the list and never removed, so what it captures must outlive the signal.

#pragma once

#include <cstddef>
#include <functional>
#include <memory>
#include <utility>
#include <vector>

template <typename... Args> class Signal
{
public:
    using Slot = std::function<void(Args...)>;

    /// Appends NewSlot. An empty slot is accepted here and fails in emit.
    void connect(Slot NewSlot)
    {
        // Shared, so that the copy that emit calls keeps for the next time what the slot holds.
        slots.push_back([pSlot = std::make_shared<Slot>(std::move(NewSlot))](Args... Arguments)
                        { (*pSlot)(std::forward<Args>(Arguments)...); });
    }

    /// Calls every slot in vector order with a copy of the arguments.
    ///
    /// Throws std::bad_function_call at an empty slot; an exception of a slot ends the emission. A
    /// slot may connect further slots: they are called in the same emission, after the others. It
    /// must not destroy the signal.
    void emit(Args... Arguments)
    {
        // By index and through a copy: a slot that connects another one moves the vector's storage.
        for (std::size_t i = 0; i < slots.size(); ++i)
        {
            const Slot slot = slots[i];
            slot(Arguments...);
        }
    }

    /// In the order of calling. One that connect did not put here is copied for each call.
    std::vector<Slot> slots;
};
