// A full rewrite of any input, built in memory: either the converter refuses the input with a
// typed error, or its output reads back with every offset, count and size agreeing.
#include <cstdint>
#include <cstdlib>

#include "kmedia/convert/stream_converter.h"

namespace {

class VectorSink final : public tagvera::platform::ByteSink {
public:
    explicit VectorSink(std::vector<uint8_t>& out) : out_(out) {}
    void write(std::span<const uint8_t> bytes) override { out_.insert(out_.end(), bytes.begin(), bytes.end()); }

private:
    std::vector<uint8_t>& out_;
};

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    using namespace tagvera;
    using namespace tagvera::kmedia;
    MemorySource input(std::span<const uint8_t>(data, size));
    std::vector<uint8_t> out;
    try {
        const KmHeaders headers = ReadKmHeaders(input);
        ConvertPlan plan;
        plan.content.title = "fuzz";
        const platform::FileLayout layout = ConvertLayout(input, headers, plan);
        VectorSink sink(out);
        for (const auto& piece : layout.pieces()) {
            if (piece.kind == platform::FileLayout::Piece::Kind::Bytes) sink.write(piece.data);
            else if (piece.kind == platform::FileLayout::Piece::Kind::Generate) piece.producer(sink);
            else std::abort();  // the converter copies nothing by range
        }
    } catch (const Error&) {
        return 0;
    }
    MemorySource output(out);
    try {
        const KmHeaders back = ReadKmHeaders(output, {.readIndexes = true});
        if (!back.problems.empty() || !back.data || !back.properties) std::abort();
        if (back.properties->dataOffset != back.dataOffset) std::abort();
    } catch (const Error&) {
        std::abort();
    }
    return 0;
}
