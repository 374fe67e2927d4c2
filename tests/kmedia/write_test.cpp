// CImportKMJFile's writes as a host makes them: the tree's changes land in one trailer and one
// ID3v1 tag (and the file-info copy where they fit), the packets and every object stay as they
// were, and what the importer reads back is what was written. Faults and kills are walked by the
// command's fault walk (tests/cli).
#include <gtest/gtest.h>
#include <sys/stat.h>

#include <algorithm>
#include <functional>

#include "base/byte_source.h"
#include "kmedia/file_info_copy.h"
#include "kmedia/km_checker.h"
#include "kmedia/km_generator.h"
#include "kmedia/logical_stream.h"
#include "kmedia/trailer.h"
#include "mp3_importer/importer_support.h"
#include "tagvera/components.h"
#include "tagvera/mp3.h"
#include "tagvera/vocabulary.h"

namespace tagvera::kmedia::testing {
namespace {

using tagvera::testing::Interrogate;
using tagvera::testing::Interrogation;
using test::ReadAll;
using Bytes = std::vector<uint8_t>;

constexpr char kLongComment[] = "A comment longer than the thirty bytes of ID3v1";

KmFileSpec Song() {
    KmFileSpec s;
    s.durationMs = 4000;
    s.packetsPerStream = 6;
    s.content = ContentObject{.title = "Cont Title", .author = "Cont Author", .copyright = "Cont (c)"};
    s.streams = {AudioStream(0, 64000, "kaac", 2)};
    return s;
}

KmFileSpec Shaped(const std::function<void(KmFileSpec&)>& shape) {
    KmFileSpec spec = Song();
    shape(spec);
    return spec;
}

// A trailer whose block has the magic and nothing a parser can read after it.
void BrokenTrailer(KmFileSpec& s) {
    Bytes broken = JukeboxBlock("x");
    std::fill(broken.begin() + 8, broken.end(), 0xEE);
    s.trailerBlock = broken;
    s.id3v1 = Id3v1Bytes("Old", "", 255, 0);
}

Bytes Padded(Bytes block, size_t size) {
    block.resize(size, 0);
    return block;
}

// As a host edits: the new node replaces the old one and is marked changed.
void Set(IMPAMetaProperty* tree, const char* path, const std::string& text) {
    ComPtr<IMPAMetaProperty> node;
    ASSERT_EQ(tree->AddText(path, text.c_str(), 0, true, node.put()), TV_S_OK);
    node->SetChanged(kChanged);
}

HRESULT Write(const Interrogation& r) { return r.handler()->WriteMetaProperties(r.tree.get(), r.handler().get(), 0); }

std::string Report(const Interrogation& r) {
    auto report = QueryAs<IMPAWriteReport>(r.importer, IID_IMPAWriteReport);
    char text[1024] = {};
    uint32_t size = sizeof text;
    return report && Succeeded(report->GetWriteReport(text, &size)) ? text : "?";
}

KmHeaders HeadersOf(const Bytes& file) {
    MemorySource src(file);
    return ReadKmHeaders(src, {.readIndexes = true});
}

const NameValueProperty* FileInfoProperty(const KmHeaders& h, const std::string& name, LogicalStreamRecord& record) {
    if (!h.FileInfo()) return nullptr;
    record = LogicalStreamRecord::Read(h.FileInfo()->typeSpecific);
    return record.Find(name);
}

// The file after a write: the old media byte for byte, then exactly one trailer whose counts
// describe it, then an ID3v1 tag.
void ExpectOneTrailerAfterTheMedia(const Bytes& before, const Bytes& after) {
    const KmHeaders old = HeadersOf(before);
    const uint64_t mediaEnd = old.End();
    ASSERT_GE(after.size(), mediaEnd);
    EXPECT_EQ(Packets(after, CheckConsistent(after, mediaEnd)), Packets(before, old));
    MemorySource src(after);
    const auto trailer = FindTrailer(src);
    ASSERT_TRUE(trailer && trailer->hasHeader);
    const uint64_t kmmd = trailer->blockOffset - kTrailerHeaderSize;
    EXPECT_EQ(kmmd, mediaEnd);
    EXPECT_EQ(Be32(&after[kmmd + 4]), after.size() - kmmd);
    EXPECT_EQ(std::string(after.end() - 128, after.end() - 125), "TAG");
}

struct StartCase {
    const char* name;
    std::function<void(KmFileSpec&)> shape;
    // What the file-info copy is after the write.
    std::function<void(const KmHeaders& before, const KmHeaders& after, const Bytes& block)> copy;
};

void CopyUntouched(const KmHeaders& before, const KmHeaders& after, const Bytes&) {
    ASSERT_EQ(before.FileInfo() != nullptr, after.FileInfo() != nullptr);
    if (before.FileInfo()) {
        EXPECT_EQ(before.FileInfo()->typeSpecific, after.FileInfo()->typeSpecific);
    }
}

TEST(KmWrite, EachStartingPointEndsInOneTrailerAndReadsBack) {
    test::ScratchDir dir;
    const std::vector<StartCase> cases = {
        {"no metadata", [](KmFileSpec&) {}, CopyUntouched},
        {"ID3v1 only", [](KmFileSpec& s) { s.id3v1 = Id3v1Bytes("Old", "Old Artist", 8, 3, "1999"); }, CopyUntouched},
        {"trailer and ID3v1",
         [](KmFileSpec& s) {
             s.trailerBlock = JukeboxBlock("Old");
             s.id3v1 = Id3v1Bytes("Old", "Old Artist", 8, 3, "1999");
         },
         CopyUntouched},
        {"a file-info copy with room: refreshed, its length kept, the rest zeros",
         [](KmFileSpec& s) { s.streams.push_back(FileInfoStream({NameValueProperty::Buffer("KJMDTag", Padded(JukeboxBlock("Old"), 4000))})); },
         [](const KmHeaders&, const KmHeaders& after, const Bytes& block) {
             LogicalStreamRecord record;
             const auto* copy = FileInfoProperty(after, "KJMDTag", record);
             ASSERT_TRUE(copy);
             EXPECT_EQ(copy->value, Padded(block, 4000));
         }},
        {"a file-info copy too small", [](KmFileSpec& s) { s.streams.push_back(FileInfoStream({NameValueProperty::Buffer("KJMDTag", JukeboxBlock("Old"))})); },
         CopyUntouched},
        {"a file-info copy in sections",
         [](KmFileSpec& s) {
             const Bytes block = JukeboxBlock("Old");
             const auto half = block.begin() + static_cast<ptrdiff_t>(block.size() / 2);
             s.streams.push_back(FileInfoStream({NameValueProperty::Number("KJMDSections", 2),
                                                 NameValueProperty::Buffer("KJMDTag", Bytes(block.begin(), half)),
                                                 NameValueProperty::Buffer("KJMDTag2", Bytes(half, block.end()))}));
         },
         CopyUntouched},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        const KmFileSpec spec = Shaped(c.shape);
        const std::string path = dir.write("song.kmj", BuildKmFile(spec));
        const Bytes original = ReadAll(path);
        Bytes previous = original;
        // A longer block, then a shorter one: the file grows and shrinks, one trailer each time.
        for (const std::string title : {"New Title", "T"}) {
            SCOPED_TRACE(title);
            const auto r = Interrogate(path, CLSID_CImportKMJFile);
            ASSERT_EQ(r.open, TV_S_OK);
            Set(r.tree.get(), "Track:Name", title);
            Set(r.tree.get(), "Track:Comments", kLongComment);
            ASSERT_EQ(Write(r), TV_S_OK);
            EXPECT_NE(Report(r).find("jukebox: trailer written"), std::string::npos) << Report(r);
            const Bytes written = ReadAll(path);
            ExpectOneTrailerAfterTheMedia(original, written);
            MemorySource src(written);
            const auto trailer = FindTrailer(src);
            const Bytes block(written.begin() + static_cast<ptrdiff_t>(trailer->blockOffset),
                              written.begin() + static_cast<ptrdiff_t>(trailer->blockOffset + trailer->blockSize));
            c.copy(HeadersOf(previous), HeadersOf(written), block);
            Id3v1Tag tag;
            ASSERT_EQ(ReadId3v1Tag(src, &tag), TV_S_OK);
            EXPECT_EQ(tag.Text(Id3v1Tag::kTitle), title);
            EXPECT_EQ(tag.Text(Id3v1Tag::kComment), std::string(kLongComment).substr(0, 30));

            const auto back = Interrogate(path, CLSID_CImportKMJFile);
            EXPECT_EQ(back.text("Track:Name"), title);
            EXPECT_EQ(back.text("Track:Comments"), kLongComment);
            EXPECT_EQ(back.text("Track:Copyright"), "Cont (c)");
            EXPECT_EQ(back.text("Artist:Name"), spec.id3v1 ? "Old Artist" : "Cont Author");
            EXPECT_EQ(back.number("Statistics:Length"), 4000u);
            previous = written;
        }
    }
}

// Only strip rewrites "CONT": a removed property it holds comes back, and the write says so.
TEST(KmWrite, RemovingWhatTheContentDescriptionHoldsSaysItStays) {
    test::ScratchDir dir;
    const std::string path = dir.write("song.kmj", BuildKmFile(Song()));
    const auto r = Interrogate(path, CLSID_CImportKMJFile);
    ComPtr<IMPAMetaProperty> copyright;
    ASSERT_EQ(r.tree->FindByPath("Track:Copyright", copyright.put()), TV_S_OK);
    copyright->SetChanged(kDeleted);
    ASSERT_EQ(Write(r), TV_S_OK);
    EXPECT_NE(Report(r).find("kept: Track:Copyright: the content description holds it"), std::string::npos) << Report(r);
    EXPECT_EQ(Interrogate(path, CLSID_CImportKMJFile).text("Track:Copyright"), "Cont (c)");
}

// The options a person passes for one run: a dry run says what would change and writes nothing;
// the ID3v1 record can be left as it is; without the trailer there is nothing to write.
TEST(KmWrite, OptionsOfOneRun) {
    test::ScratchDir dir;
    const Bytes original = BuildKmFile(Shaped([](KmFileSpec& s) { s.id3v1 = Id3v1Bytes("Old", "", 255, 0); }));
    const std::string path = dir.write("song.kmj", original);
    const auto write = [&](uint32_t options) {
        const auto r = Interrogate(path, CLSID_CImportKMJFile);
        Set(r.tree.get(), "Track:Name", "New");
        auto writer = QueryAs<IMPAHandleMetaProperties2>(r.importer, IID_IMPAHandleMetaProperties2);
        const HRESULT hr = writer->WriteMetaProperties2(r.tree.get(), writer.get(), 0, options);
        return std::make_pair(hr, Report(r));
    };
    const auto [dryHr, dry] = write(kMp3WriteDryRun);
    EXPECT_EQ(dryHr, TV_S_OK);
    EXPECT_NE(dry.find("would replace the 128 bytes after the media"), std::string::npos) << dry;
    EXPECT_NE(dry.find("id3v1: would be written"), std::string::npos) << dry;
    EXPECT_EQ(ReadAll(path), original);
    EXPECT_EQ(write(kMp3WriteNoJukebox).first, TV_E_FAIL);
    EXPECT_EQ(ReadAll(path), original);
    const auto [hr, report] = write(kMp3WriteNoId3v1 | kMp3WriteDeferSync);
    ASSERT_EQ(hr, TV_S_OK) << report;
    EXPECT_NE(report.find("id3v1: left as it is"), std::string::npos) << report;
    const Bytes after = ReadAll(path);
    EXPECT_TRUE(std::equal(original.end() - 128, original.end(), after.end() - 128));
    EXPECT_EQ(Interrogate(path, CLSID_CImportKMJFile).text("Track:Name"), "New");
}

TEST(KmWrite, RefusedWritesLeaveTheFileAsItWas) {
    test::ScratchDir dir;
    struct Case {
        const char* name;
        std::function<void(KmFileSpec&)> shape;
        std::function<HRESULT(const std::string& path)> write;
        HRESULT code;
        std::function<void(Bytes&)> damage = [](Bytes&) {};
    };
    // Files whose media's end is in doubt (found by fuzzing: each made a second write stack a
    // second trailer, or a reader walk into the first).
    const auto renamed = [](Bytes& b, const char* from, const char* to) {
        const auto at = std::search(b.begin(), b.end(), from, from + 4);
        std::copy(to, to + 4, at);
    };
    const auto writeTitle = [](const std::string& path) {
        const auto r = Interrogate(path, CLSID_CImportKMJFile);
        Set(r.tree.get(), "Track:Name", "New");
        return Write(r);
    };
    const std::vector<Case> cases = {
        {"a jukebox block that does not load", BrokenTrailer, writeTitle, TV_E_FAIL},
        {"a read-only file", [](KmFileSpec&) {},
         [&](const std::string& path) {
             ::chmod(path.c_str(), 0444);
             return writeTitle(path);
         },
         TV_E_FAIL},
        {"opened in the light form: no jukebox parser", [](KmFileSpec&) {},
         [](const std::string& path) {
             const auto r = Interrogate(path, CLSID_CImportKMJFile, true);
             return Write(r);
         },
         TV_E_NOTLOADED},
        {"strip of a file whose block does not load", BrokenTrailer,
         [](const std::string& path) { return Interrogate(path, CLSID_CImportKMJFile).handler()->Prepare(0); }, TV_E_FAIL},
        {"no data object", [](KmFileSpec&) {}, writeTitle, TV_E_FAIL, [&](Bytes& b) { renamed(b, "DATA", "DATX"); }},
        {"an index object past the end", [](KmFileSpec&) {}, writeTitle, TV_E_FAIL, [](Bytes& b) { b.resize(b.size() - 4); }},
        {"a content description over the rest of the file", [](KmFileSpec&) {}, writeTitle, TV_E_FAIL,
         [](Bytes& b) {
             const uint32_t size = static_cast<uint32_t>(b.size() - 68);  // CONT follows .KMF and PROP
             for (int i = 0; i < 4; ++i) b[72 + i] = static_cast<uint8_t>(size >> (24 - 8 * i));
         }},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        Bytes bytes = BuildKmFile(Shaped(c.shape));
        c.damage(bytes);
        const std::string path = dir.write("song.kmj", bytes);
        const Bytes original = ReadAll(path);
        EXPECT_EQ(c.write(path), c.code);
        EXPECT_EQ(ReadAll(path), original);
        EXPECT_EQ(dir.entries(), std::set<std::string>{"song.kmj"});
        ::chmod(path.c_str(), 0644);
    }
}

TEST(KmWrite, StripRewritesTheFileWithoutAnyMetadata) {
    test::ScratchDir dir;
    KmFileSpec spec = Song();
    spec.streams.push_back(FileInfoStream({NameValueProperty::Text("File ID", "keep me"), NameValueProperty::Number("KJMDSections", 2),
                                           NameValueProperty::Buffer("KJMDTag", JukeboxBlock("Copy")),
                                           NameValueProperty::Buffer("KJMDTag2", Bytes(10, 1))}));
    spec.trailerBlock = JukeboxBlock("Trailer");
    spec.id3v1 = Id3v1Bytes("Id3", "Id3 Artist", 8, 3, "1999");
    const std::string path = dir.write("song.km", BuildKmFile(spec));
    const Bytes original = ReadAll(path);

    const auto r = Interrogate(path, CLSID_CImportKMJFile);
    ASSERT_EQ(r.handler()->Prepare(0), TV_S_OK);
    EXPECT_NE(Report(r).find("file rewritten without its metadata"), std::string::npos) << Report(r);
    const Bytes stripped = ReadAll(path);
    const KmHeaders h = CheckConsistent(stripped);
    EXPECT_EQ(Packets(stripped, h), Packets(original, HeadersOf(original)));
    ASSERT_TRUE(h.content);
    EXPECT_EQ(h.content->title + h.content->author + h.content->copyright + h.content->comment, "");
    LogicalStreamRecord record;
    EXPECT_TRUE(FileInfoProperty(h, "File ID", record));
    for (const char* gone : {"KJMDSections", "KJMDTag", "KJMDTag2"}) EXPECT_FALSE(FileInfoProperty(h, gone, record)) << gone;
    EXPECT_EQ(dir.entries(), std::set<std::string>{"song.km"});

    const auto back = Interrogate(path, CLSID_CImportKMJFile);
    for (const char* gone : {"Track:Name", "Artist:Name", "Track:Copyright", "Track:Genre", "Track:Year"})
        EXPECT_FALSE(back.has(gone)) << gone;
    EXPECT_EQ(back.number("Statistics:Length"), 4000u);
}

// The copy's name is found wherever the 2,048-byte pieces it is read in happen to split it.
TEST(KmWrite, FileInfoCopyFoundAcrossReadingPieces) {
    const Bytes value = Padded(JukeboxBlock("Copy"), 600);
    for (size_t pad = 1880; pad < 2000; ++pad) {
        KmFileSpec spec = Song();
        spec.streams.push_back(FileInfoStream({NameValueProperty::Buffer("KJMDTagPad", Bytes(pad, 'K')), NameValueProperty::Buffer("KJMDTag", value)}));
        const Bytes file = BuildKmFile(spec);
        MemorySource src(file);
        const auto copy = FindFileInfoCopy(src, ReadKmHeaders(src), 500);
        ASSERT_TRUE(copy) << pad;
        EXPECT_TRUE(std::equal(value.begin(), value.end(), file.begin() + static_cast<ptrdiff_t>(copy->valueOffset))) << pad;
    }
}

}  // namespace
}  // namespace tagvera::kmedia::testing
