// Which containers a video may come in: one list for the player, the probes and the encoder.
//
// libavformat recognises a format by its content, whatever the file's name. Some formats are lists and descriptions
// (SDP, ffconcat, HLS, DASH, image sequences) that make it open other files and sockets. So its option
// "format_whitelist" is always set to the containers below, and "protocol_whitelist" to plain files.

#pragma once

#include <string>

/// Names of libavformat's demuxers, separated by commas: containers and raw streams that hold everything
/// in one file. No playlists, network, devices or image sequences.
inline constexpr const char* AllowedContainers =
    "mov,mp4,m4a,3gp,3g2,mj2,matroska,webm,mpegts,mpeg,avi,flv,asf,ogg,mxf,mxf_opatom,gxf,nut,rm,"
    "dv,wtv,"
    "ivf,obu,av1,h264,hevc,m4v,mpegvideo,mjpeg,vc1,vc1test,dirac,yuv4mpegpipe,h261,h263,nsv,gif,"
    "apng,swf,"
    "vivo,amv,cavsvideo";

/// The value of "protocol_whitelist".
inline constexpr const char* AllowedProtocols = "file";

/// The error for the file Name whose Format, by libavformat's name, is known and not allowed.
inline std::string RefusedFormatSentence(const std::string& Name, const std::string& Format)
{
    return Name + " has the format " + Format +
           ", which is not supported: convert it, or choose another video.";
}
