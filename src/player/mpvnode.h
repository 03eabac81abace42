// Reading the values that the player library answers with: trees of typed nodes.
//
// What is missing or has another type than expected is an ordinary answer (a stream tells no length, a
// still picture no rate) and reads as zero or false. Any thread; nothing is kept.

#pragma once

#include <cstdint>
#include <mpv/client.h>
#include <string_view>

/// Seconds in a node as whole microseconds, rounded.
std::int64_t SecondsAsUs(const mpv_node& Seconds);
bool IsTrue(const mpv_node& Flag);

// -- The value of a key in a map of nodes.

bool FlagOf(const mpv_node& Map, std::string_view Key);
std::int64_t IntOf(const mpv_node& Map, std::string_view Key);
double DoubleOf(const mpv_node& Map, std::string_view Key);

/// Whether a track of the player's "track-list" has pictures of its own, other than a cover.
bool IsVideoTrack(const mpv_node& Track);
