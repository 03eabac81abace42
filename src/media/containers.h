// Which containers a video may come in: one list for the player, the probes and the encoder.
//
// libavformat finds out by content what a file is, whatever it is called. Some of what it knows are lists
// and descriptions (SDP, ffconcat, HLS, DASH, image sequences) that make it open other files and sockets.
// So it is only ever allowed the containers below, through its option "format_whitelist", and the protocol
// that reads a plain file, through "protocol_whitelist".

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

/// The value of "protocol_whitelist" beside it.
inline constexpr const char* AllowedProtocols = "file";

/// What is said of the file Name whose container is known and not allowed; libavformat calls it Format.
inline std::string RefusedFormatSentence(const std::string& Name, const std::string& Format)
{
    return Name + " has the format " + Format +
           ", which is not supported: convert it, or choose another video.";
}
