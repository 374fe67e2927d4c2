// A full rewrite of any input, and a join of it with itself, built in memory: either the converter
// refuses the input with a typed error, or its output reads back with every offset, count and size
// agreeing, a join holding the packets of the input twice.
#include <cstdint>
#include <cstdlib>
#include <optional>

#include "kmedia/convert/stream_converter.h"

namespace {

using namespace tagvera;
using namespace tagvera::kmedia;

class VectorSink final : public platform::ByteSink {
public:
    explicit VectorSink(std::vector<uint8_t>& out) : out_(out) {}
    void write(std::span<const uint8_t> bytes) override { out_.insert(out_.end(), bytes.begin(), bytes.end()); }

private:
    std::vector<uint8_t>& out_;
};

// The output's packet count, or nothing when the converter refused the inputs.
std::optional<uint32_t> ConvertAndCheck(std::span<const ConvertInput> inputs) {
    std::vector<uint8_t> out;
    try {
        ConvertPlan plan;
        plan.content.title = "fuzz";
        const platform::FileLayout layout = ConvertLayout(inputs, plan);
        VectorSink sink(out);
        for (const auto& piece : layout.pieces()) {
            if (piece.kind == platform::FileLayout::Piece::Kind::Bytes) sink.write(piece.data);
            else if (piece.kind == platform::FileLayout::Piece::Kind::Generate) piece.producer(sink, *inputs.front().file);
            else std::abort();  // the converter copies nothing by range
        }
    } catch (const Error&) {
        return std::nullopt;
    }
    MemorySource output(out);
    try {
        const KmHeaders back = ReadKmHeaders(output, {.readIndexes = true});
        if (!back.problems.empty() || !back.data || !back.properties) std::abort();
        if (back.properties->dataOffset != back.dataOffset) std::abort();
        return back.data->numPackets;
    } catch (const Error&) {
        std::abort();
    }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    MemorySource input(std::span<const uint8_t>(data, size));
    KmHeaders headers;
    try {
        headers = ReadKmHeaders(input);
    } catch (const Error&) {
        return 0;
    }
    const ConvertInput twice[] = {{&input, &headers}, {&input, &headers}};
    const auto one = ConvertAndCheck(std::span(twice, 1)), joined = ConvertAndCheck(twice);
    if (one && joined && *joined != 2 * uint64_t(*one)) std::abort();
    return 0;
}
