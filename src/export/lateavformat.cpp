// libavformat, loaded at its first call and not with the front.
//
// It comes with more than a hundred libraries, which take the loader longer than the front may take until
// ffmpeg runs. So the functions that the front uses stand here under their own names and pass each call
// on to the library of the version that the front was built with; ffmpeg runs by then.

extern "C"
{
#include <libavformat/avformat.h>
#include <libavutil/avstring.h>
}

#include <stdexcept>

#include <dlfcn.h>

#define STRINGIFY(Text) #Text
#define LIBRARY_NAME(Version) "libavformat.so." STRINGIFY(Version)

namespace
{
void* FindFunction(const char* Name)
{
    static void* const pLibrary = dlopen(LIBRARY_NAME(LIBAVFORMAT_VERSION_MAJOR), RTLD_NOW);
    // Found as well where a library that it needs has it.
    void* const pFunction = pLibrary == nullptr ? nullptr : dlsym(pLibrary, Name);
    if (pFunction == nullptr)
    {
        throw std::runtime_error(std::string(LIBRARY_NAME(LIBAVFORMAT_VERSION_MAJOR)) +
                                 " can't be used, install ffmpeg again");
    }
    return pFunction;
}
} // namespace

// The header's own declaration checks the result and the parameters.
#define PASS_ON(Result, Name, Parameters, Arguments)                                               \
    extern "C" Result Name Parameters                                                              \
    {                                                                                              \
        static const auto pName = reinterpret_cast<decltype(&Name)>(FindFunction(#Name));          \
        return pName Arguments;                                                                    \
    }

PASS_ON(int,
        avformat_open_input,
        (AVFormatContext * *A, const char* B, const AVInputFormat* C, AVDictionary** D),
        (A, B, C, D))
PASS_ON(void, avformat_close_input, (AVFormatContext * *A), (A))
PASS_ON(int, avformat_find_stream_info, (AVFormatContext * A, AVDictionary** B), (A, B))
PASS_ON(int,
        avformat_seek_file,
        (AVFormatContext * A, int B, int64_t C, int64_t D, int64_t E, int F),
        (A, B, C, D, E, F))
PASS_ON(int, av_read_frame, (AVFormatContext * A, AVPacket* B), (A, B))
PASS_ON(const AVInputFormat*, av_find_input_format, (const char* A), (A))
PASS_ON(int,
        av_probe_input_buffer2,
        (AVIOContext * A, const AVInputFormat** B, const char* C, void* D, unsigned E, unsigned F),
        (A, B, C, D, E, F))
PASS_ON(int,
        avio_open2,
        (AVIOContext * *A, const char* B, int C, const AVIOInterruptCB* D, AVDictionary** E),
        (A, B, C, D, E))
PASS_ON(int, avio_closep, (AVIOContext * *A), (A))
PASS_ON(AVPacket*, av_packet_alloc, (), ())
PASS_ON(void, av_packet_free, (AVPacket * *A), (A))
PASS_ON(int, av_dict_set, (AVDictionary * *A, const char* B, const char* C, int D), (A, B, C, D))
PASS_ON(AVDictionaryEntry*,
        av_dict_get,
        (const AVDictionary* A, const char* B, const AVDictionaryEntry* C, int D),
        (A, B, C, D))
PASS_ON(void, av_dict_free, (AVDictionary * *A), (A))
PASS_ON(void, av_log_set_level, (int A), (A))
PASS_ON(int, av_match_list, (const char* A, const char* B, char C), (A, B, C))
PASS_ON(int, av_strerror, (int A, char* B, size_t C), (A, B, C))
