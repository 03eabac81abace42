// Reads libmpv's answers: trees of typed nodes.
//
// A value that is missing or has an unexpected type is ordinary (a stream without a length, a still picture without
// a rate) and reads as zero or false. Any thread; nothing is kept.

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
