// The header reader over the fixtures other programs wrote, and over headers broken one field at a time.
#include <gtest/gtest.h>

#include "base/byte_source.h"
#include "platform/scratch_dir.h"
#include "wm/asf_attributes.h"
#include "wm/asf_header_reader.h"
#include "wm/asf_header_writer.h"
#include "wm/asf_objects.h"
#include "wm/wm_meta_editor.h"

namespace tagvera::wm {
namespace {

std::string Fixture(const char* name) { return std::string(TAGVERA_TEST_DATA_DIR) + "/wm/" + name; }

AsfHeader Read(const std::vector<uint8_t>& bytes) {
    MemorySource source(bytes);
    return ReadAsfHeader(source);
}

// What ffprobe says of each fixture's first audio and video stream.
struct Expected {
    const char* file;
    uint16_t formatTag, channels;
    uint32_t sampleRate, width, height, compression;
    size_t attributes;
};
const Expected kFixtures[] = {
    {"wmav1-22k-mono.wma", 0x160, 1, 22050, 0, 0, 0, 1},
    {"wmav2-44k-stereo.wma", 0x161, 2, 44100, 0, 0, 0, 1},
    {"wmav2-32k.wma", 0x161, 2, 32000, 0, 0, 0, 1},
    {"wmav2-11k.wma", 0x161, 1, 11025, 0, 0, 0, 1},
    {"wmv1-audio.wmv", 0x161, 1, 22050, 32, 24, 0x31564D57, 3},
    {"wmv2-audio.wmv", 0x160, 1, 22050, 48, 32, 0x32564D57, 3},
    {"video-only.asf", 0, 0, 0, 32, 24, 0x32564D57, 3},
    {"tagged.wma", 0x161, 2, 44100, 0, 0, 0, 21},
    {"picture.wma", 0x161, 2, 32000, 0, 0, 0, 3},
};

TEST(AsfHeader, ReadsWhatFfmpegAndMutagenWrote) {
    for (const auto& e : kFixtures) {
        SCOPED_TRACE(e.file);
        const AsfHeader h = Read(test::ReadAll(Fixture(e.file)));
        EXPECT_EQ(h.attributes.size(), e.attributes);
        StreamInfo audio, video;
        for (const auto& s : h.streams) (s.audio ? audio : video) = s;
        EXPECT_EQ(audio.formatTag, e.formatTag);
        EXPECT_EQ(audio.channels, e.channels);
        EXPECT_EQ(audio.sampleRate, e.sampleRate);
        EXPECT_EQ(video.width, e.width);
        EXPECT_EQ(video.height, e.height);
        EXPECT_EQ(video.compression, e.compression);
    }
}

TEST(AsfHeader, KeepsEachAttributeWithItsObjectStreamAndLanguage) {
    const AsfHeader h = Read(test::ReadAll(Fixture("tagged.wma")));
    const auto find = [&](const char* name, Home home) {
        for (const auto& a : h.attributes)
            if (a.name == name && a.home == home) return &a;
        return static_cast<const Attribute*>(nullptr);
    };
    ASSERT_TRUE(find("Title", Home::ContentDescription));
    ASSERT_TRUE(find("WM/Genre", Home::ExtendedContent) && find("WM/Genre", Home::MetadataLibrary));
    ASSERT_TRUE(find("WM/MediaClassPrimaryID", Home::MetadataLibrary));
    EXPECT_EQ(find("WM/Lyrics", Home::MetadataLibrary)->language, 1);
    EXPECT_EQ(find("WM/Mood", Home::Metadata)->stream, 1);
    EXPECT_EQ(find("WM/BeatsPerMinute", Home::ExtendedContent)->type, AttrType::Word);
    EXPECT_EQ(find("IsVBR", Home::ExtendedContent)->value.size(), 4u);
    const AsfHeader big = Read(test::ReadAll(Fixture("picture.wma")));
    EXPECT_EQ(big.attributes.back().name, "WM/Picture");
    EXPECT_EQ(big.attributes.back().home, Home::MetadataLibrary);
}

void PutLe(std::vector<uint8_t>& b, size_t at, uint64_t v, int n) {
    for (int i = 0; i < n; ++i) b.at(at + i) = uint8_t(v >> (8 * i));
}

// Offsets in tagged.wma (tagvera asf shows them): the file properties at 30, the extension at 134
// with its metadata object at 180, the content description at 2345.
struct Break {
    const char* what;
    size_t at;
    uint64_t value;
    int width;
    const char* says;
};
const Break kBreaks[] = {
    {"header size below 30", 16, 29, 8, "below 30"},
    {"header size past the file", 16, 1u << 20, 8, "past the end of the file"},
    {"header size of 2^64 - 1", 16, ~0ull, 8, "past the end of the file"},
    {"object count too high", 24, 8, 4, "holds 7"},
    {"child below 24", 30 + 16, 23, 8, "below 24"},
    {"child past the header", 30 + 16, 1u << 16, 8, "runs past the end of the header"},
    {"child of 2^64 - 24", 30 + 16, ~0ull - 23, 8, "runs past"},
    {"extension data size off", 134 + 24 + 18, 1, 4, "header extension says"},
    {"metadata count too high", 180 + 24, 9, 2, "truncated data in the Metadata object"},
    {"unknown data type", 180 + 24 + 8, 7, 2, "unknown data type"},
    {"odd UTF-16 title", 2345 + 24, 27, 2, "odd-length UTF-16"},
    {"file properties renamed", 30, 0, 1, "no file properties"},
};

TEST(AsfHeader, RefusesEachBrokenFieldWithItsReason) {
    const auto good = test::ReadAll(Fixture("tagged.wma"));
    for (const auto& b : kBreaks) {
        SCOPED_TRACE(b.what);
        auto bytes = good;
        PutLe(bytes, b.at, b.value, b.width);
        try {
            Read(bytes);
            ADD_FAILURE() << "read";
        } catch (const Error& e) {
            EXPECT_EQ(e.code(), TV_E_FAIL);
            EXPECT_NE(std::string(e.what()).find(b.says), std::string::npos) << e.what();
        }
    }
}

TEST(AsfHeader, WritesBackByteForByteWhatItDidNotChange) {
    for (const auto& e : kFixtures) {
        SCOPED_TRACE(e.file);
        const auto bytes = test::ReadAll(Fixture(e.file));
        const AsfHeader h = Read(bytes);
        std::vector<Attribute> same = h.attributes;
        Route(same);
        // The attribute objects are made anew, so only the headers without any stand byte for byte;
        // every header reads back to the same attributes in the same objects.
        const auto again = RenderHeader(h, same, h.paddingBytes, h.file.fileSize);
        const AsfHeader back = Read(again);
        ASSERT_EQ(back.attributes.size(), h.attributes.size());
        for (size_t i = 0; i < h.attributes.size(); ++i) {
            EXPECT_EQ(back.attributes[i].name, h.attributes[i].name);
            EXPECT_EQ(back.attributes[i].home, h.attributes[i].home);
            EXPECT_EQ(back.attributes[i].value, h.attributes[i].value);
        }
        EXPECT_EQ(back.headerSize, h.headerSize);
        for (size_t i = 0; i < h.objects.size(); ++i) {
            if (!ids::ObjectName(h.objects[i].id) || h.objects[i].id == ids::kStreamProperties) {
                EXPECT_EQ(back.objects.at(i).bytes, h.objects[i].bytes);
            }
        }
    }
}

}  // namespace
}  // namespace tagvera::wm
