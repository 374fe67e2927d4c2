// A media platform for tests, loaded in place of the libavformat one: each "file" is a script of
// what the plug-ins deliver, one line per notification, "<plug-in> header|stream name=value ...".
// A value of digits is a number, anything else a string; "after=N" holds the file header back
// for N ms; a plug-in named in no header line fails its header.
#include <chrono>
#include <sstream>
#include <string>
#include <vector>

#include "host/ref_counted.h"
#include "mediaplatform/host_values.h"
#include "mediaplatform/media_platform.h"
#include "mediaplatform/message_queue.h"

namespace tagvera::mediaplatform {
namespace {

constexpr PluginRow kRows[] = {
    {"first", "tst;3gp;3g2;mpg", "first"},
    {"second", "tst;3gp;3g2;mpg", "second"},
    {"pseudo", "pse", "pseudo", true},
};

struct Line {
    std::string kind;
    std::vector<std::pair<std::string, std::string>> values;
};

class ScriptFormat final : public host::RefCounted<IKMAFileFormat> {
public:
    ScriptFormat(IKMAClassFactory* factory, const PluginRow& row) : factory_(factory), name_(row.demuxer) {}

    HRESULT TV_STDCALL InitFileFormat(IKMAValues*, IKMAFormatResponse* response, IUnknown* file) override {
        response_ = ComPtr<IKMAFormatResponse>::Share(response);
        auto object = QueryAs<IKMAFileObject>(file, IID_IKMAFileObject);
        uint64_t size = 0;
        if (!object || Failed(object->GetSize(&size)) || size > 65536) return TV_E_FAIL;
        std::string text(size, '\0');
        uint32_t read = 0;
        object->ReadAt(0, reinterpret_cast<uint8_t*>(text.data()), uint32_t(size), &read);
        std::istringstream lines(text);
        for (std::string line; std::getline(lines, line);) {
            std::istringstream words(line);
            std::string plugin, word;
            Line parsed;
            if (!(words >> plugin >> parsed.kind) || plugin != name_) continue;
            while (words >> word)
                if (const size_t eq = word.find('='); eq != std::string::npos)
                    parsed.values.emplace_back(word.substr(0, eq), word.substr(eq + 1));
            (parsed.kind == "header" ? header_ : streams_).push_back(parsed);
        }
        PostToThisThread([r = response_] { r->InitDone(TV_S_OK); });
        return TV_S_OK;
    }

    HRESULT TV_STDCALL GetFileHeader() override {
        if (header_.empty()) {
            PostToThisThread([r = response_] { r->FileHeaderReady(TV_E_FAIL, nullptr); });
            return TV_S_OK;
        }
        long delay = 0;
        for (const auto& [name, value] : header_[0].values)
            if (name == "after") delay = std::stol(value);
        PostHeader(Values(header_[0]), std::chrono::steady_clock::now() + std::chrono::milliseconds(delay), true);
        return TV_S_OK;
    }

    // A stream the script does not have is asked for without complaint and never delivered.
    HRESULT TV_STDCALL GetStreamHeader(uint16_t stream) override {
        if (stream < streams_.size())
            PostHeader(Values(streams_[stream]), std::chrono::steady_clock::now(), false);
        return TV_S_OK;
    }

    // A header still held back is dropped at its next turn, so that no notification outlives the test.
    HRESULT TV_STDCALL Close() override {
        closed_ = true;
        return TV_S_OK;
    }

private:
    void* find(const GUID& iid) override { return iid == IID_IKMAFileFormat ? static_cast<IKMAFileFormat*>(this) : nullptr; }

    ComPtr<IKMAValues> Values(const Line& line) {
        ComPtr<IKMAValues> values = NewValues(factory_);
        for (const auto& [name, value] : line.values) {
            if (value.find_first_not_of("0123456789") == std::string::npos)
                values->SetNumberValue(name.c_str(), uint32_t(std::stoul(value)));
            else
                SetString(factory_, values.get(), name.c_str(), value);
        }
        return values;
    }

    // A header held back is posted again each turn until its time has come.
    void PostHeader(ComPtr<IKMAValues> values, std::chrono::steady_clock::time_point due, bool file) {
        std::function<void()> message;
        message = [r = response_, values, due, file, self = this, keep = ComPtr<IKMAFileFormat>::Share(this)] {
            if (self->closed_) return;
            if (std::chrono::steady_clock::now() < due) return self->PostHeader(values, due, file);
            file ? r->FileHeaderReady(TV_S_OK, values.get()) : r->StreamHeaderReady(TV_S_OK, values.get());
        };
        PostToThisThread(message);
    }

    IKMAClassFactory* factory_;
    std::string name_;
    ComPtr<IKMAFormatResponse> response_;
    std::vector<Line> header_;
    std::vector<Line> streams_;
    bool closed_ = false;
};

HRESULT NewScriptFormat(IKMAClassFactory* factory, const PluginRow& row, IUnknown** out) {
    *out = static_cast<IKMAFileFormat*>(new ScriptFormat(factory, row));
    return TV_S_OK;
}

}  // namespace
}  // namespace tagvera::mediaplatform

TV_EXPORT HRESULT TV_STDCALL VXSetDLLAccessPath(const char*) { return tagvera::TV_S_OK; }

TV_EXPORT HRESULT TV_STDCALL VXCreateMediaPlatformEx(IKMAClassFactory* factory, IKMAMediaPlatform** out) {
    using namespace tagvera::mediaplatform;
    return NewMediaPlatform(factory, PluginSet{kRows, NewScriptFormat}, out);
}
