// Loads libavformat at its first call instead of at the start of the front.
//
// Its more than a hundred libraries load more slowly than the front may take to start ffmpeg. So the functions that
// the front uses are defined here under their own names; each passes its call on to the library of the version that
// the front was built with. By then ffmpeg runs.

extern "C"
{
#include <libavformat/avformat.h>
#include <libavutil/avstring.h>
}

#include <stdexcept>
#include <string>

#include <dlfcn.h>

#define STRINGIFY(Text) #Text
#define LIBRARY_NAME(Version) "libavformat.so." STRINGIFY(Version)

namespace
{
void* FindFunction(const char* Name)
{
    static void* const pLibrary = dlopen(LIBRARY_NAME(LIBAVFORMAT_VERSION_MAJOR), RTLD_NOW);
    // Also finds functions of the libraries that libavformat needs.
    void* const pFunction = pLibrary == nullptr ? nullptr : dlsym(pLibrary, Name);
    if (pFunction == nullptr)
    {
        throw std::runtime_error(std::string(LIBRARY_NAME(LIBAVFORMAT_VERSION_MAJOR)) +
                                 " can't be used, install ffmpeg again");
    }
    return pFunction;
}
} // namespace

// FFmpeg's header declares the same function, so the compiler checks result and parameters.
// NOLINTBEGIN(bugprone-macro-parentheses): a list of arguments has its own
#define PASS_ON(Result, Name, Parameters, Arguments)                                               \
    extern "C" Result Name Parameters                                                              \
    {                                                                                              \
        static const auto pName = reinterpret_cast<decltype(&Name)>(FindFunction(#Name));          \
        return pName Arguments;                                                                    \
    }
// NOLINTEND(bugprone-macro-parentheses)

// clang-format off
PASS_ON(AVFormatContext*, avformat_alloc_context, (), ())
PASS_ON(int, avformat_open_input,
        (AVFormatContext** ps, const char* url, const AVInputFormat* fmt, AVDictionary** options),
        (ps, url, fmt, options))
PASS_ON(void, avformat_close_input, (AVFormatContext** s), (s))
PASS_ON(int, avformat_find_stream_info, (AVFormatContext* ic, AVDictionary** options), (ic, options))
PASS_ON(int, avformat_seek_file,
        (AVFormatContext* s, int stream_index, int64_t min_ts, int64_t ts, int64_t max_ts, int flags),
        (s, stream_index, min_ts, ts, max_ts, flags))
PASS_ON(int, av_read_frame, (AVFormatContext* s, AVPacket* pkt), (s, pkt))
PASS_ON(const AVInputFormat*, av_find_input_format, (const char* short_name), (short_name))
PASS_ON(int, av_probe_input_buffer2,
        (AVIOContext* pb, const AVInputFormat** fmt, const char* url, void* logctx, unsigned offset,
         unsigned max_probe_size),
        (pb, fmt, url, logctx, offset, max_probe_size))
PASS_ON(int, avio_open2,
        (AVIOContext** s, const char* url, int flags, const AVIOInterruptCB* int_cb, AVDictionary** options),
        (s, url, flags, int_cb, options))
PASS_ON(int, avio_closep, (AVIOContext** s), (s))
PASS_ON(AVPacket*, av_packet_alloc, (), ())
PASS_ON(void, av_packet_free, (AVPacket** pkt), (pkt))
PASS_ON(int, av_dict_set, (AVDictionary** pm, const char* key, const char* value, int flags), (pm, key, value, flags))
PASS_ON(AVDictionaryEntry*, av_dict_get,
        (const AVDictionary* m, const char* key, const AVDictionaryEntry* prev, int flags),
        (m, key, prev, flags))
PASS_ON(void, av_dict_free, (AVDictionary** m), (m))
PASS_ON(void, av_log_set_level, (int level), (level))
PASS_ON(int, av_match_list, (const char* name, const char* list, char separator), (name, list, separator))
PASS_ON(int, av_strerror, (int errnum, char* errbuf, size_t errbuf_size), (errnum, errbuf, errbuf_size))
// clang-format on
