#include "mediaplatform/av_file_format.h"

#include <algorithm>
#include <chrono>
#include <string>
#include <string_view>

#include "mediaplatform/bounded_io.h"
#include "mediaplatform/file_format_base.h"
#include "mediaplatform/host_values.h"
#include "mediaplatform/stream_mime.h"
#include "tagvera/com_ptr.h"

extern "C" {
#include <libavformat/avformat.h>
#include <libavutil/dict.h>
}

namespace tagvera::mediaplatform {
namespace {

uint32_t Milliseconds(int64_t value, AVRational base) {
    if (value == AV_NOPTS_VALUE || value <= 0) return 0;
    const int64_t ms = av_rescale_q(value, base, AVRational{1, 1000});
    return static_cast<uint32_t>(std::clamp<int64_t>(ms, 0, UINT32_MAX));
}

uint32_t Clamped(int64_t value) { return static_cast<uint32_t>(std::clamp<int64_t>(value, 0, UINT32_MAX)); }

// An MPEG-1/2 video sequence header with all rate bits set says "variable", not 104.8 Mbit/s.
uint32_t AverageBitRate(const AVCodecParameters& codec) {
    constexpr int64_t kVariableRateMark = 0x3FFFF * 400;
    const bool mpegVideo = codec.codec_id == AV_CODEC_ID_MPEG1VIDEO || codec.codec_id == AV_CODEC_ID_MPEG2VIDEO;
    return mpegVideo && codec.bit_rate == kVariableRateMark ? 0 : Clamped(codec.bit_rate);
}

// A QuickTime header states every figure a stream header reports (codec, channels and rate, picture
// size, durations); the analysis, which opens and runs a decoder per stream, adds nothing then.
bool HeaderStatesAll(const AVFormatContext& input) {
    if (std::string_view(input.iformat->name).find("mov") == std::string_view::npos || input.nb_streams == 0 ||
        input.duration == AV_NOPTS_VALUE)
        return false;
    for (unsigned i = 0; i < input.nb_streams; ++i) {
        const AVCodecParameters& codec = *input.streams[i]->codecpar;
        if (codec.codec_id == AV_CODEC_ID_NONE) return false;
        if (input.streams[i]->disposition & AV_DISPOSITION_ATTACHED_PIC) continue;  // a cover, not a picture size
        if (codec.codec_type == AVMEDIA_TYPE_AUDIO && (codec.ch_layout.nb_channels <= 0 || codec.sample_rate <= 0))
            return false;
        if (codec.codec_type == AVMEDIA_TYPE_VIDEO && (codec.width <= 0 || codec.height <= 0)) return false;
    }
    return true;
}

std::string CoverMimeType(const AVCodecParameters& codec) {
    if (codec.codec_id == AV_CODEC_ID_PNG) return "image/png";
    return codec.codec_id == AV_CODEC_ID_BMP ? "image/bmp" : "image/jpeg";
}

class AvFileFormat final : public FileFormatBase {
public:
    AvFileFormat(IKMAClassFactory* factory, const PluginRow& plugin)
        : factory_(ComPtr<IKMAClassFactory>::Share(factory)), plugin_(plugin) {}
    ~AvFileFormat() override { CloseInput(); }

    HRESULT TV_STDCALL InitFileFormat(IKMAValues*, IKMAFormatResponse* response, IUnknown* fileObject) override {
        if (!response || !fileObject) return TV_E_POINTER;
        CloseInput();
        response_ = ComPtr<IKMAFormatResponse>::Share(response);
        auto file = QueryAs<IKMAFileObject>(fileObject, IID_IKMAFileObject);
        if (!file) return TV_E_NOINTERFACE;
        // A file the demuxer cannot read still finishes initialising: it is the header that fails.
        openStatus_ = Open(file.get());
        Post([status = TV_S_OK](IKMAFormatResponse* r) { r->InitDone(status); });
        return TV_S_OK;
    }

    HRESULT TV_STDCALL GetFileHeader() override {
        if (!response_) return TV_E_NOTLOADED;
        if (Failed(openStatus_)) {
            Post([status = openStatus_](IKMAFormatResponse* r) { r->FileHeaderReady(status, nullptr); });
            return TV_S_OK;
        }
        ComPtr<IKMAValues> header = FileHeader();
        if (!header) return TV_E_OUTOFMEMORY;
        Post([header](IKMAFormatResponse* r) { r->FileHeaderReady(TV_S_OK, header.get()); });
        return TV_S_OK;
    }

    HRESULT TV_STDCALL GetStreamHeader(uint16_t stream) override {
        if (!response_ || !input_) return TV_E_NOTLOADED;
        if (stream >= input_->nb_streams) return TV_E_INVALIDARG;
        ComPtr<IKMAValues> header = StreamHeader(*input_->streams[stream]);
        if (!header) return TV_E_OUTOFMEMORY;
        Post([header](IKMAFormatResponse* r) { r->StreamHeaderReady(TV_S_OK, header.get()); });
        return TV_S_OK;
    }

    HRESULT TV_STDCALL Close() override {
        CloseInput();
        response_.reset();
        return TV_S_OK;
    }

private:
    HRESULT Open(IKMAFileObject* file) {
        const AVInputFormat* demuxer = av_find_input_format(plugin_.demuxer);
        if (!demuxer) return TV_E_FAIL;
        io_ = BoundedIo::Open(file, kMostBytesRead);
        if (!io_) return TV_E_OUTOFMEMORY;
        input_ = avformat_alloc_context();
        if (!input_) return TV_E_OUTOFMEMORY;
        input_->pb = io_->context();
        input_->flags |= AVFMT_FLAG_CUSTOM_IO;
        input_->probesize = kProbeBytes;
        input_->max_analyze_duration = kAnalyzeMicroseconds;
        if (avformat_open_input(&input_, nullptr, demuxer, nullptr) < 0) {
            input_ = nullptr;  // freed by libavformat on failure
            return TV_E_FAIL;
        }
        // Parameters missing after the probe stay missing; the header still reports what is known.
        if (!HeaderStatesAll(*input_)) (void)avformat_find_stream_info(input_, nullptr);
        // A demuxer forced onto another container may find nothing at all.
        return input_->nb_streams > 0 ? TV_S_OK : TV_E_FAIL;
    }

    void CloseInput() {
        if (input_) avformat_close_input(&input_);
        io_.reset();
    }

    ComPtr<IKMAValues> FileHeader() {
        ComPtr<IKMAValues> values = NewValues(factory_.get());
        if (!values) return values;
        values->SetNumberValue("StreamCount", input_->nb_streams);
        values->SetNumberValue("StartTime", 0);
        values->SetNumberValue("Duration", Milliseconds(input_->duration, AVRational{1, AV_TIME_BASE}));
        values->SetNumberValue("BytesRead", Clamped(static_cast<int64_t>(io_->bytesRead())));
        const struct { const char* key; const char* name; } kTexts[] = {
            {"title", "Title"}, {"artist", "Artist"}, {"copyright", "Copyright"}};
        for (const auto& text : kTexts)
            if (const AVDictionaryEntry* entry = av_dict_get(input_->metadata, text.key, nullptr, 0))
                SetString(factory_.get(), values.get(), text.name, entry->value);
        return values;
    }

    ComPtr<IKMAValues> StreamHeader(const AVStream& stream) {
        ComPtr<IKMAValues> values = NewValues(factory_.get());
        if (!values) return values;
        const AVCodecParameters& codec = *stream.codecpar;
        // A cover picture is an image the file carries, not a video stream: its type says so, and
        // its size is no picture size of the file.
        const bool cover = stream.disposition & AV_DISPOSITION_ATTACHED_PIC;
        SetString(factory_.get(), values.get(), "MimeType", cover ? CoverMimeType(codec) : StreamMimeType(codec));
        // Times are from the start of the file, so a stream's end is the file's length.
        const int64_t fileStart = input_->start_time == AV_NOPTS_VALUE ? 0 : input_->start_time;
        const int64_t start = stream.start_time == AV_NOPTS_VALUE
                                  ? 0
                                  : av_rescale_q(stream.start_time, stream.time_base, AVRational{1, AV_TIME_BASE}) - fileStart;
        values->SetNumberValue("StartTime", Milliseconds(start, AVRational{1, AV_TIME_BASE}));
        values->SetNumberValue("Duration", Milliseconds(stream.duration, stream.time_base));
        values->SetNumberValue("AvgBitrate", AverageBitRate(codec));
        if (codec.codec_type == AVMEDIA_TYPE_AUDIO) values->SetNumberValue("Channels", Clamped(codec.ch_layout.nb_channels));
        if (codec.codec_type == AVMEDIA_TYPE_VIDEO && !cover) {
            values->SetNumberValue("Width", Clamped(codec.width));
            values->SetNumberValue("Height", Clamped(codec.height));
        }
        return values;
    }

    ComPtr<IKMAClassFactory> factory_;
    const PluginRow& plugin_;
    std::unique_ptr<BoundedIo> io_;
    AVFormatContext* input_ = nullptr;
    HRESULT openStatus_ = TV_E_NOTLOADED;
};

}  // namespace

HRESULT NewAvFileFormat(IKMAClassFactory* factory, const PluginRow& plugin, IUnknown** out) {
    if (!out) return TV_E_POINTER;
    *out = nullptr;
    auto* format = new (std::nothrow) AvFileFormat(factory, plugin);
    if (!format) return TV_E_OUTOFMEMORY;
    *out = static_cast<IKMAFileFormat*>(format);
    return TV_S_OK;
}

}  // namespace tagvera::mediaplatform
