#include "host/signal.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <functional>
#include <stdexcept>
#include <string>
#include <vector>

namespace
{
using testing::ElementsAre;
using testing::IsEmpty;

TEST(Signal, EmitsToNobodyWithoutSlots)
{
    Signal<std::string> signal;
    EXPECT_NO_THROW(signal.emit("text"));
    EXPECT_THAT(signal.slots, IsEmpty());
}

TEST(Signal, CallsSlotsInTheOrderOfConnecting)
{
    Signal<> signal;
    std::vector<int> calls;
    for (int i = 0; i < 5; ++i)
    {
        signal.connect([&calls, i] { calls.push_back(i); });
    }
    signal.emit();
    EXPECT_THAT(calls, ElementsAre(0, 1, 2, 3, 4));
}

TEST(Signal, CallsASlotAsOftenAsItWasConnected)
{
    Signal<> signal;
    int callCount = 0;
    const Signal<>::Slot slot = [&callCount] { ++callCount; };
    signal.connect(slot);
    signal.connect(slot);
    signal.emit();
    EXPECT_EQ(callCount, 2);
}

TEST(Signal, KeepsWhatASlotHoldsFromOneEmissionToTheNext)
{
    Signal<> signal;
    std::vector<int> calls;
    signal.connect([&calls, count = 0]() mutable { calls.push_back(++count); });
    signal.emit();
    signal.emit();
    EXPECT_THAT(calls, ElementsAre(1, 2));
}

TEST(Signal, EmitsTheSameArgumentAgain)
{
    Signal<std::string> signal;
    std::vector<std::string> texts;
    signal.connect([&texts](std::string Text) { texts.push_back(Text); });
    signal.emit("same");
    signal.emit("same");
    EXPECT_THAT(texts, ElementsAre("same", "same"));
}

TEST(Signal, PassesAllArguments)
{
    Signal<int, std::string, double> signal;
    int number = 0;
    std::string text;
    double real = 0.0;
    signal.connect(
        [&](int Number, std::string Text, double Real)
        {
            number = Number;
            text = Text;
            real = Real;
        });
    signal.emit(7, "seven", 7.5);
    EXPECT_EQ(number, 7);
    EXPECT_EQ(text, "seven");
    EXPECT_EQ(real, 7.5);
}

TEST(Signal, GivesEachSlotACopyOfItsOwn)
{
    Signal<std::string> signal;
    std::string second;
    signal.connect(
        [](std::string Text)
        {
            Text += " spoiled";
            EXPECT_EQ(Text, "text spoiled");
        });
    signal.connect([&second](std::string Text) { second = Text; });
    signal.emit("text");
    EXPECT_EQ(second, "text");
}

TEST(Signal, FailsAtAnEmptySlotAfterTheOnesBeforeIt)
{
    Signal<> signal;
    std::vector<int> calls;
    signal.connect([&calls] { calls.push_back(1); });
    signal.connect({});
    signal.connect([&calls] { calls.push_back(3); });
    EXPECT_THROW(signal.emit(), std::bad_function_call);
    EXPECT_THAT(calls, ElementsAre(1));
}

TEST(Signal, EndsTheEmissionAtASlotThatThrows)
{
    Signal<> signal;
    std::vector<int> calls;
    signal.connect([&calls] { calls.push_back(1); });
    signal.connect([] { throw std::runtime_error("slot"); });
    signal.connect([&calls] { calls.push_back(3); });
    EXPECT_THROW(signal.emit(), std::runtime_error);
    EXPECT_THROW(signal.emit(), std::runtime_error);
    EXPECT_THAT(calls, ElementsAre(1, 1));
}

TEST(Signal, CallsSlotsConnectedMeanwhileAfterTheOthers)
{
    Signal<> signal;
    std::vector<int> calls;
    bool bConnected = false;
    signal.connect(
        [&]
        {
            calls.push_back(0);
            if (bConnected)
            {
                return;
            }
            bConnected = true;
            // Enough of them to move the list's storage under the slot that runs.
            for (int i = 2; i < 50; ++i)
            {
                signal.connect([&calls, i] { calls.push_back(i); });
            }
        });
    signal.connect([&calls] { calls.push_back(1); });
    signal.emit();
    ASSERT_EQ(calls.size(), 50U);
    for (int i = 0; i < 50; ++i)
    {
        EXPECT_EQ(calls[static_cast<std::size_t>(i)], i);
    }
}

TEST(Signal, EmitsInsideAnEmission)
{
    Signal<int> signal;
    std::vector<int> calls;
    signal.connect(
        [&](int Depth)
        {
            calls.push_back(Depth);
            if (Depth < 2)
            {
                signal.emit(Depth + 1);
            }
        });
    signal.connect([&calls](int Depth) { calls.push_back(10 + Depth); });
    signal.emit(0);
    EXPECT_THAT(calls, ElementsAre(0, 1, 2, 12, 11, 10));
}
} // namespace
