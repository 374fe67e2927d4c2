// MP3 files for the importer's tests: real MPEG audio from tests/data/mp3 with ID3v2 frames, a
// jukebox frame and an ID3v1 tag put around it byte by byte.
#ifndef TAGVERA_TESTS_MP3_IMPORTER_MP3_BUILDER_H
#define TAGVERA_TESTS_MP3_IMPORTER_MP3_BUILDER_H

#include <cstdint>
#include <string>
#include <vector>

#include "id3v2/tag_builder.h"
#include "platform/scratch_dir.h"

namespace tagvera::testing {

inline std::string DataFile(const std::string& name) { return std::string(TAGVERA_TEST_DATA_DIR) + "/mp3/" + name; }
inline std::string FixtureFile(const std::string& name) { return std::string(TAGVERA_TEST_DATA_DIR) + "/id3/" + name; }

// MPEG audio and nothing else: 6 s of 96 kbit/s, 44.1 kHz stereo.
inline Bytes PlainAudio() { return test::ReadAll(DataFile("cbr_96k_44k_notag.mp3")); }

inline Bytes Cstr(const std::string& s) { return B(s) + Bytes{0}; }

inline Bytes TextFrame(const std::string& id, const std::string& latin1) { return Frame23(id, Latin1Text(latin1)); }

inline Bytes GeobFrame(const std::string& mime, const std::string& fileName, const std::string& description,
                       const Bytes& data) {
    return Frame23("GEOB", Bytes{0} + Cstr(mime) + Cstr(fileName) + Cstr(description) + data);
}

// The jukebox frame as the writer stores it.
inline Bytes JukeboxFrame(const Bytes& block) { return GeobFrame("binary", "", "KorvaJukebox:Metadata", block); }

inline Bytes PictureFrame(const Bytes& picture, uint8_t type = 3, const std::string& mime = "image/jpeg") {
    return Frame23("APIC", Bytes{0} + Cstr(mime) + Bytes{type} + Cstr("") + picture);
}

// A 128-byte ID3v1.1 record; track 0 makes it ID3v1.0 with a 30-byte comment.
inline Bytes Id3v1(const std::string& title, const std::string& artist = "", const std::string& album = "",
                   const std::string& year = "", uint8_t track = 0, uint8_t genre = 255,
                   const std::string& comment = "") {
    auto field = [](const std::string& text, size_t width) {
        Bytes out = B(text.substr(0, width));
        out.resize(width, 0);
        return out;
    };
    const Bytes tail = track ? field(comment, 28) + Bytes{0, track} : field(comment, 30);
    return B("TAG") + field(title, 30) + field(artist, 30) + field(album, 30) + field(year, 4) + tail + Bytes{genre};
}

// An ID3v2.3 tag of frames, then audio, then trailing bytes (an ID3v1 record).
inline Bytes Mp3File(const Bytes& frames, const Bytes& trailer = {}, const Bytes& audio = PlainAudio()) {
    Bytes out = frames.empty() ? Bytes{} : Tag(3, 0, frames);
    return out + audio + trailer;
}

}  // namespace tagvera::testing

#endif
