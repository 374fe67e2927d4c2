// KmEditEngine's Save over generated files, checked by walking the output: the same packets byte for
// byte and in order (several inputs joined), and every offset, count and size describing the new file.
#include <gtest/gtest.h>

#include <cerrno>
#include <filesystem>

#include "base/md5.h"
#include "kmedia/convert/packet_scan.h"
#include "kmedia/edit/clip_identity.h"
#include "kmedia/edit/km_edit_object.h"
#include "kmedia/edit/km_ff2_reader.h"
#include "kmedia/edit/time_text.h"
#include "kmedia/edit/tools_dll.h"
#include "kmedia/km_edit.h"
#include "kmedia/km_checker.h"
#include "kmedia/km_generator.h"
#include "kmedia/logical_stream.h"
#include "mp3_importer/tree_support.h"
#include "package/importer_kit/component_creators.h"
#include "platform/fault_injection.h"
#include "platform/file.h"
#include "platform/scratch_dir.h"
#include "tagvera/com_ptr.h"
#include "tagvera/importer.h"
#include "tagvera/metaprop.h"

namespace tagvera::kmedia::testing {
namespace {

KmFileSpec Sample() {
    KmFileSpec s;
    s.durationMs = 1000;
    s.packetsPerStream = 10;
    s.payloadSize = 300;
    s.content = ContentObject{.title = "Old", .author = "Old Author"};
    s.streams = {AudioStream(0, 64000, "kaac", 2), VideoStream(1, 300000, "KV40", 64, 48),
                 FileInfoStream({NameValueProperty::Text("File ID", "f"), NameValueProperty::Buffer("KJMDTag", {1, 2, 3})})};
    s.unknownVersionObject = true;
    s.trailerBlock = std::vector<uint8_t>(50, 'j');
    s.id3v1 = Id3v1Bytes("t", "a", 1, 1);
    return s;
}

TEST(KmEdit, SaveKeepsPacketsAndWritesConsistentHeaders) {
    test::ScratchDir dir;
    const std::string in = dir.file("in.km"), out = dir.file("out.km");
    const auto input = BuildKmFile(Sample());
    WriteFile(in, input);
    MemorySource inSrc(input);
    const KmHeaders inHeaders = ReadKmHeaders(inSrc);

    struct Case {
        const char* name;
        uint32_t start, end;
        size_t firstPacket, packets;  // of the input's 20
    };
    for (const Case& c : {Case{"whole file", 0, 0, 0, 20}, Case{"time range", 200, 500, 4, 8}}) {
        SCOPED_TRACE(c.name);
        KmEditEngine edit;
        ASSERT_EQ(edit.SetInputFile(in, true), TV_S_OK);
        EXPECT_EQ(edit.Title(), "Old");
        EXPECT_EQ(edit.SetTitle("New Title"), TV_S_OK);
        EXPECT_EQ(edit.SetAuthor(std::string(256, 'a')), TV_E_BUFFERTOOSMALL);
        EXPECT_EQ(edit.SetComment("c"), TV_S_OK);
        edit.SetFileFlag(KmEditEngine::kFlag2, true);
        edit.FileInfo().erase(edit.FileInfo().begin() + 1);  // drop "KJMDTag"
        edit.SetStartTime(c.start);
        edit.SetEndTime(c.end);
        ASSERT_EQ(edit.SetOutputFile(out), TV_S_OK);
        ASSERT_EQ(edit.Save(), TV_S_OK);

        const auto output = test::ReadAll(out);
        const KmHeaders h = CheckConsistent(output);
        ASSERT_TRUE(h.content && h.data);
        EXPECT_EQ(h.content->title, "New Title");
        EXPECT_EQ(h.content->author, "Old Author");
        EXPECT_EQ(h.properties->flags, 1 | 2 | 8);
        ASSERT_TRUE(h.FileInfo());
        const auto info = LogicalStreamRecord::Read(h.FileInfo()->typeSpecific);
        EXPECT_TRUE(info.Find("File ID"));
        EXPECT_FALSE(info.Find("KJMDTag"));
        const auto before = Packets(input, inHeaders), after = Packets(output, h);
        ASSERT_EQ(after.size(), c.packets);
        for (size_t i = 0; i < after.size(); ++i) EXPECT_EQ(after[i], before[c.firstPacket + i]) << i;
    }
}

// Other components see the file-info properties as a value list: numbers, buffers and strings by
// type, the rule book kept back and kept in the file.
TEST(KmEdit, FileInfoAsValues) {
    test::ScratchDir dir;
    auto spec = Sample();
    spec.streams.back() = FileInfoStream({NameValueProperty::Number("Indexable", 1), NameValueProperty::Text("ASMRuleBook", "r"),
                                          NameValueProperty::Buffer("KJMDTag", {0, 1}), NameValueProperty::Text("File ID", "id")});
    const std::string in = dir.write("in.km", BuildKmFile(spec));
    KmEditEngine edit;
    ASSERT_EQ(edit.SetInputFile(in, true), TV_S_OK);
    ComPtr<IKMAValues> values;
    ASSERT_EQ(edit.GetFileInfoValues(values.put()), TV_S_OK);
    uint32_t n = 0;
    EXPECT_EQ(values->GetNumberValue("Indexable", &n), TV_S_OK);
    EXPECT_EQ(n, 1u);
    ComPtr<IKMABuffer> text;
    EXPECT_EQ(values->GetStringValue("File ID", text.put()), TV_S_OK);
    EXPECT_TRUE(Failed(values->GetStringValue("ASMRuleBook", text.put())));
    values->SetNumberValue("Indexable", 0);
    ASSERT_EQ(edit.SetFileInfoValues(values.get()), TV_S_OK);
    const auto& back = edit.FileInfo();
    ASSERT_EQ(back.size(), 4u);
    uint32_t indexable = 7;
    EXPECT_TRUE(back[0].AsNumber(&indexable));
    EXPECT_EQ(indexable, 0u);
    EXPECT_EQ(back[1], NameValueProperty::Buffer("KJMDTag", {0, 1}));
    EXPECT_EQ(back[2], NameValueProperty::Text("File ID", "id"));
    EXPECT_EQ(back[3].name, "ASMRuleBook");
}

TEST(KmEdit, DamagedPacketsFailAndLeaveTheOutputAlone) {
    test::ScratchDir dir;
    const std::string in = dir.file("in.km"), out = dir.file("out.km");
    auto spec = Sample();
    spec.trailerBlock.reset();
    spec.id3v1.reset();
    const auto good = BuildKmFile(spec);
    MemorySource src(good);
    const KmHeaders h = ReadKmHeaders(src);
    const size_t firstPacket = h.dataOffset + 18;
    struct Case {
        const char* name;
        size_t at;
        uint8_t value;
    };
    for (const Case& c : {Case{"more packets claimed than held", h.dataOffset + 10, 0x7F},
                          Case{"packet shorter than its header", firstPacket + 3, 4},
                          Case{"packet of another version", firstPacket + 1, 1},
                          Case{"packet past the DATA object", firstPacket + 2, 0xFF}}) {
        SCOPED_TRACE(c.name);
        auto bytes = good;
        bytes[c.at] = c.value;
        WriteFile(in, bytes);
        WriteFile(out, {'o', 'l', 'd'});
        KmEditEngine edit;
        ASSERT_EQ(edit.SetInputFile(in, true), TV_S_OK);
        edit.SetOutputFile(out);
        EXPECT_EQ(edit.Save(), TV_E_FAIL);
        EXPECT_EQ(test::ReadAll(out), (std::vector<uint8_t>{'o', 'l', 'd'}));
    }
    KmEditEngine none;
    EXPECT_EQ(none.Save(), TV_E_NOTLOADED);
}

// Every write, sync and rename of a Save to a new file failing in turn: no output is left.
TEST(KmEdit, FailedSaveToANewFileLeavesNone) {
    test::ScratchDir dir;
    const std::string in = dir.file("in.km"), out = dir.file("out.km");
    WriteFile(in, BuildKmFile(Sample()));
    const auto save = [&] {
        KmEditEngine edit;
        EXPECT_EQ(edit.SetInputFile(in, true), TV_S_OK);
        edit.SetOutputFile(out);
        return edit.Save();
    };
    for (const auto step : {platform::fault::Step::Write, platform::fault::Step::Fsync, platform::fault::Step::Rename}) {
        platform::fault::StartCounting();
        ASSERT_EQ(save(), TV_S_OK);
        const unsigned calls = platform::fault::Calls(step);
        EXPECT_GT(calls, 0u);
        platform::fault::Reset();
        std::filesystem::remove(out);
        for (unsigned n = 1; n <= calls; ++n) {
            SCOPED_TRACE(std::string(platform::fault::StepName(step)) + " " + std::to_string(n));
            {
                const platform::fault::Scoped failing(step, n, EIO);
                EXPECT_EQ(save(), TV_E_FAIL);
            }
            EXPECT_FALSE(std::filesystem::exists(out));
        }
    }
}

// A file with a second name is rewritten in place; its packets were read back from bytes the
// grown headers had already overwritten, so the save failed (or, by chance, copied wrong ones).
TEST(KmEdit, SaveOverAFileWithTwoNamesCopiesItsOwnPackets) {
    test::ScratchDir dir;
    const std::string in = dir.file("in.km"), link = dir.file("link.km");
    auto spec = Sample();
    spec.packetsPerStream = 1000;
    spec.payloadSize = 4000;
    const auto input = BuildKmFile(spec);
    WriteFile(in, input);
    std::filesystem::create_hard_link(in, link);
    KmEditEngine edit;
    ASSERT_EQ(edit.SetInputFile(in, true), TV_S_OK);
    edit.SetTitle(std::string(60000, 't'));
    edit.SetOutputFile(in);
    ASSERT_EQ(edit.Save(), TV_S_OK);
    const auto output = test::ReadAll(link);
    MemorySource inSrc(input);
    EXPECT_EQ(Packets(output, CheckConsistent(output)), Packets(input, ReadKmHeaders(inSrc)));
}

// The editing object as a host holds it: every call through the interface tables.
ComPtr<IKMAKMEdit3> OpenEdit(const std::string& in) {
    ComPtr<IKMAKMEdit3> edit;
    EXPECT_EQ(CreateKmEdit(edit.put()), TV_S_OK);
    EXPECT_EQ(edit->SetInputFile(in.c_str(), 1), TV_S_OK);
    return edit;
}

std::string Text(HRESULT (IKMAKMEdit::*get)(char*, uint32_t*), IKMAKMEdit3* edit) {
    uint32_t size = 0;
    EXPECT_EQ((edit->*get)(nullptr, &size), TV_S_OK);
    std::string text(size, '?');
    uint32_t small = size - 1;
    EXPECT_EQ((edit->*get)(text.data(), &small), TV_E_BUFFERTOOSMALL);
    EXPECT_EQ((edit->*get)(text.data(), &size), TV_S_OK);
    return text.substr(0, size - 1);
}

struct Sink final : IKMAProgressSink {
    HRESULT TV_STDCALL QueryInterface(const GUID&, void**) override { return TV_E_NOINTERFACE; }
    tagvera::RefCount TV_STDCALL AddRef() override { return ++refs; }
    tagvera::RefCount TV_STDCALL Release() override { return --refs; }
    HRESULT TV_STDCALL OnProgress(uint32_t percent) override {
        seen.push_back(percent);
        return TV_S_OK;
    }
    uint32_t refs = 1;
    std::vector<uint32_t> seen;
};

// The packets and headers of a save are the engine's (KmEdit above); here what the tables pass.
TEST(KmEditObject, SaveThroughTheInterfaces) {
    test::ScratchDir dir;
    const std::string out = dir.file("out.km");
    const auto edit = OpenEdit(dir.write("in.km", BuildKmFile(Sample())));
    uint32_t streams = 0, flag = 7;
    EXPECT_EQ(edit->GetNumStreamHeaders(&streams), TV_S_OK);
    EXPECT_EQ(streams, 2u);
    EXPECT_EQ(Text(&IKMAKMEdit::GetAuthor, edit.get()), "Old Author");
    EXPECT_EQ(edit->SetAuthor(std::string(256, 'a').c_str()), TV_E_BUFFERTOOSMALL);
    EXPECT_EQ(edit->SetTitle(std::string(256, 't').c_str()), TV_S_OK);
    EXPECT_EQ(edit->SetFlag2(1), TV_S_OK);
    EXPECT_EQ(edit->GetFlag2(&flag), TV_S_OK);
    EXPECT_EQ(flag, 1u);
    EXPECT_EQ(QueryAs<IKMAKMEdit2>(edit.get(), IID_IKMAKMEdit2)->HasVideo(), TV_S_OK);
    EXPECT_EQ(QueryAs<IKMAKMEdit2>(edit.get(), IID_IKMAKMEdit2)->HasEvents(), TV_S_FALSE);
    Sink sink;
    EXPECT_EQ(edit->AddProgressSink(&sink), TV_S_OK);
    ASSERT_EQ(edit->SetOutputFile(out.c_str()), TV_S_OK);
    ASSERT_EQ(edit->Save(), TV_S_OK);
    EXPECT_EQ(sink.seen, (std::vector<uint32_t>{50, 100}));
    EXPECT_EQ(edit->RemoveProgressSink(&sink), TV_S_OK);
    EXPECT_EQ(sink.refs, 1u);

    const auto output = test::ReadAll(out);
    MemorySource src(output);
    EXPECT_EQ(ReadKmHeaders(src).content->title, std::string(256, 't'));
}

TEST(KmEditObject, RefusedRequests) {
    test::ScratchDir dir;
    const std::string in = dir.write("in.km", BuildKmFile(Sample()));
    struct Case {
        const char* name;
        std::string output;
        const char *start, *end;
        HRESULT expected;
    };
    for (const Case& c : {Case{"no output", "", "0", "0", TV_E_NOTLOADED},
                          Case{"output is the input", in, "0", "0", TV_KM_E_OUTPUTISINPUT},
                          Case{"end before start", dir.file("a.km"), "0:00.500", "200", TV_KM_E_ENDBEFORESTART},
                          Case{"output folder missing", dir.file("no/a.km"), "0", "0", TV_KM_E_OUTPUTNOTCREATABLE}}) {
        SCOPED_TRACE(c.name);
        const auto edit = OpenEdit(in);
        if (!c.output.empty()) edit->SetOutputFile(c.output.c_str());
        ASSERT_EQ(edit->SetStartTimeText(c.start), TV_S_OK);
        ASSERT_EQ(edit->SetEndTimeText(c.end), TV_S_OK);
        EXPECT_EQ(edit->Save(), c.expected);
        EXPECT_EQ(std::distance(std::filesystem::directory_iterator(dir.path()), {}), 1);
        EXPECT_EQ(test::ReadAll(in), BuildKmFile(Sample()));
    }
}

TEST(KmEditObject, OpenRefusesWhatIsNoKorvaMediaFile) {
    test::ScratchDir dir;
    const std::vector<uint8_t> kmf{'.', 'K', 'M', 'F', 0, 0, 0, 18, 0, 2, 0, 0, 0, 0, 0, 0, 0, 3};
    struct Case {
        const char* name;
        std::vector<uint8_t> bytes;
        HRESULT expected;
    };
    for (const Case& c : {Case{"first object PROP", {'P', 'R', 'O', 'P', 0, 0, 0, 10, 0, 0}, TV_KM_E_NOTKORVAMEDIA},
                          Case{"short read", {'.', 'K', 'M', 'F', 0, 0}, TV_KM_E_NOTKORVAMEDIA},
                          Case{"header version 2", kmf, TV_KM_E_UNSUPPORTED}}) {
        SCOPED_TRACE(c.name);
        ComPtr<IKMAKMEdit3> edit;
        ASSERT_EQ(CreateKmEdit(edit.put()), TV_S_OK);
        EXPECT_EQ(edit->SetInputFile(dir.write("x.km", c.bytes).c_str(), 1), c.expected);
        uint32_t n = 0;
        EXPECT_EQ(edit->GetNumStreamHeaders(&n), TV_E_FAIL);
    }
}

TEST(KmEditObject, ClipIdentityOnEverySave) {
    test::ScratchDir dir;
    using P = NameValueProperty;
    struct Case {
        const char* name;
        std::vector<P> info;
        bool renewed, kept;  // "File ID" replaced by a new one, or kept as "old"
    };
    for (const Case& c :
         {Case{"indexable", {P::Number("Indexable", 1), P::Text("File ID", "old")}, true, false},
          Case{"marked", {P::Number("Indexable", 1), P::Number("Do Not Alter Clip ID", 1), P::Text("File ID", "old")}, false, true},
          Case{"not indexable", {P::Text("File ID", "old")}, false, false}}) {
        SCOPED_TRACE(c.name);
        auto spec = Sample();
        spec.streams.back() = FileInfoStream(c.info);
        const std::string in = dir.write("in.km", BuildKmFile(spec)), out = dir.file("out.km");
        const auto edit = OpenEdit(in);
        edit->SetOutputFile(out.c_str());
        std::vector<std::string> ids;
        for (int save = 0; save < 2; ++save) {
            ASSERT_EQ(edit->Save(), TV_S_OK);
            const auto bytes = test::ReadAll(out);
            MemorySource src(bytes);
            const auto info = LogicalStreamRecord::Read(ReadKmHeaders(src).FileInfo()->typeSpecific);
            EXPECT_FALSE(info.Find("Do Not Alter Clip ID"));
            const NameValueProperty* id = info.Find("File ID");
            EXPECT_EQ(id != nullptr, c.renewed || c.kept);
            if (id) ids.emplace_back(id->value.begin(), id->value.end());
        }
        if (c.kept) {
            EXPECT_EQ(ids, (std::vector<std::string>{"old", "old"}));
        } else if (c.renewed) {
            ASSERT_EQ(ids.size(), 2u);
            EXPECT_EQ(ids[0].size(), 36u);  // the value list's NUL stays out of the file
            EXPECT_NE(ids[0], ids[1]);
        }
    }
}

TEST(KmEditObject, IdentifierAndTimeTexts) {
    EXPECT_EQ(ClipIdText(Md5(std::vector<uint8_t>{'a', 'b', 'c'})), "98500190-d23c-b04f-d696-3f7d28e17f72");
    struct Case {
        const char* text;
        std::optional<uint32_t> ms;
    };
    for (const Case& c : {Case{"1500", 1500}, Case{"2:05", 125000}, Case{"1:02:03.5", 3723500}, Case{"0:00.025", 25},
                          Case{"4294967295", 4294967295u}, Case{"", {}}, Case{"1:60", {}}, Case{"1.5", {}},
                          Case{"1:2:3:4", {}}, Case{"4294967296", {}}, Case{"1193:02:47.296", {}}, Case{":5", {}}})
        EXPECT_EQ(ParseTimeText(c.text), c.ms) << c.text;
}

TEST(KmEditObject, ReaderStreamHeaders) {
    test::ScratchDir dir;
    auto spec = Sample();
    spec.streams.push_back(LogicalStream(7, "logical-video", {1, 9}));
    ComPtr<CKMFF2Reader> reader;
    ASSERT_EQ(NewKmReader(reader.put()), TV_S_OK);
    ASSERT_EQ(reader->Open(dir.write("a.km", BuildKmFile(spec)).c_str()), TV_S_OK);
    ComPtr<IKMABuffer> mdpr;
    EXPECT_EQ(reader->GetStreamHeader(1, mdpr.put(), nullptr), TV_S_OK);
    EXPECT_EQ(reader->GetStreamHeader(2, mdpr.put(), nullptr), TV_KM_S_NOSUCHSTREAM);
    EXPECT_FALSE(mdpr);
    // A logical stream belongs to the stream headers its record lists; the file-info one to none.
    EXPECT_TRUE(reader->LogicalStreamsOf(0).empty());
    ASSERT_EQ(reader->LogicalStreamsOf(1).size(), 1u);
    EXPECT_EQ(reader->LogicalStreamsOf(1)[0]->mimeType, "logical-video");
}

// What a join of the files holds: each file's packets in turn, payloads as they were, time moved
// on by the durations before it and streams numbered as the first file's (0 and 1).
std::vector<std::vector<uint8_t>> JoinedPackets(const std::vector<KmFileSpec>& specs) {
    std::vector<std::vector<uint8_t>> out;
    uint32_t shift = 0;
    for (const auto& spec : specs) {
        const auto bytes = BuildKmFile(spec);
        MemorySource src(bytes);
        for (auto p : Packets(bytes, ReadKmHeaders(src))) {
            p[5] = static_cast<uint8_t>(p[5] - spec.streams[0].streamNumber);
            const uint32_t t = Be32(&p[6]) + shift;
            for (int i = 0; i < 4; ++i) p[6 + i] = static_cast<uint8_t>(t >> (24 - 8 * i));
            out.push_back(std::move(p));
        }
        shift += spec.durationMs;
    }
    return out;
}

// The length the importer gives a file, as `tagvera info` shows it.
uint32_t ImportedLength(const std::string& path) {
    ComPtr<IUnknown> unknown;
    EXPECT_EQ(CreateImportKMJFile(nullptr, nullptr, unknown.put()), TV_S_OK);
    const auto importer = QueryAs<IMPAInterrogateFile>(unknown, IID_IMPAInterrogateFile);
    ComPtr<IMPAMetaProperty> tree;
    if (Failed(importer->SetFilename(path.c_str())) || Failed(importer->Interrogate(tree.put()))) return 0;
    return tagvera::testing::NumberAt(tree.get(), "Statistics:Length");
}

// Several inputs through the editing object: one file with every input's packets and time running
// on; an input that does not fit the first, or does not read, fails and writes nothing.
TEST(KmEditObject, JoinedInputs) {
    test::ScratchDir dir;
    const std::string out = dir.file("out.km");
    auto renumbered = Sample(), video = Sample(), mime = Sample(), codec = Sample();
    renumbered.streams[0].streamNumber = 4;
    renumbered.streams[1].streamNumber = 5;
    video.streams[1] = VideoStream(1, 999999, "KV40", 64, 48);
    mime.streams[0].mimeType += "-other";
    codec.streams[0] = AudioStream(0, 64000, "kaac", 1);
    struct Case {
        const char* name;
        std::vector<KmFileSpec> specs;
        HRESULT expected;
    };
    for (const Case& c : {Case{"two files", {Sample(), renumbered}, TV_S_OK},
                          Case{"three files", {Sample(), renumbered, Sample()}, TV_S_OK},
                          Case{"video bit rate differs", {Sample(), video}, TV_E_FAIL},
                          Case{"MIME type differs", {Sample(), mime}, TV_E_FAIL},
                          Case{"codec header differs", {Sample(), codec}, TV_E_FAIL}}) {
        SCOPED_TRACE(c.name);
        std::filesystem::remove(out);
        const auto edit = OpenEdit(dir.write("0.km", BuildKmFile(c.specs[0])));
        for (size_t i = 1; i < c.specs.size(); ++i)
            edit->AddInputFile(dir.write(std::to_string(i) + ".km", BuildKmFile(c.specs[i])).c_str());
        edit->SetOutputFile(out.c_str());
        ASSERT_EQ(edit->Save(), c.expected);
        if (Failed(c.expected)) {
            EXPECT_FALSE(std::filesystem::exists(out));
            continue;
        }
        const auto output = test::ReadAll(out);
        const KmHeaders h = CheckConsistent(output);
        EXPECT_EQ(h.properties->durationMs, 1000 * c.specs.size());
        EXPECT_EQ(ImportedLength(out), h.properties->durationMs);
        EXPECT_EQ(Packets(output, h), JoinedPackets(c.specs));
    }
    const auto edit = OpenEdit(dir.file("0.km"));
    edit->AddInputFile(dir.write("bad.km", {'P', 'R', 'O', 'P', 0, 0, 0, 10, 0, 0}).c_str());
    edit->SetOutputFile(out.c_str());
    EXPECT_EQ(edit->Save(), TV_KM_E_NOTKORVAMEDIA);
}

}  // namespace
}  // namespace tagvera::kmedia::testing
