// Observer list: slots are called in the order in which they were connected.
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
        // Shared: emit calls a copy, and the slot's state must survive to the next emit.
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
        // Use an index and a copy: a slot that connects another one moves the vector's storage.
        for (std::size_t i = 0; i < slots.size(); ++i)
        {
            const Slot slot = slots[i];
            slot(Arguments...);
        }
    }

    /// In the order of calling. A slot that was pushed in directly is copied for each emit and loses its state.
    std::vector<Slot> slots;
};
