// An input read from its front: numbers, texts and choices, each made of the next bytes.
//
// Every input says something: behind its end there are zeros. So small changes of the bytes are small
// changes of what they say, by which the fuzzer finds its way.

#pragma once

#include <algorithm>
#include <array>
#include <bit>
#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

class InputBytes
{
public:
    InputBytes(const std::uint8_t* pData, std::size_t Size)
        : Rest(reinterpret_cast<const char*>(pData), Size)
    {
    }

    bool IsAtEnd() const { return Rest.empty(); }

    std::uint8_t Byte()
    {
        if (Rest.empty())
        {
            return 0;
        }
        const auto byte = static_cast<std::uint8_t>(Rest.front());
        Rest.remove_prefix(1);
        return byte;
    }

    /// A number from 0 to Count - 1.
    int Choice(int Count) { return Byte() % Count; }
    bool Bool() { return Byte() % 2 == 1; }

    std::string Text(std::size_t MaxBytes)
    {
        const std::size_t size = std::min(MaxBytes, Rest.size());
        const std::string text(Rest.substr(0, size));
        Rest.remove_prefix(size);
        return text;
    }
    /// All that is left.
    std::string RestOfText() { return Text(Rest.size()); }

    /// Any number at all, NaN and the infinities among them.
    double AnyDouble()
    {
        std::array<char, sizeof(double)> bytes{};
        for (char& byte : bytes)
        {
            byte = static_cast<char>(Byte());
        }
        return std::bit_cast<double>(bytes);
    }

private:
    std::string_view Rest;
};
