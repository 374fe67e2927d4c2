// Writes the small KorvaMedia files kept in samples/ beside the MP3 ones: make_kmedia_files DIR
#include <cstdio>
#include <string>

#include "kmedia/km_generator.h"

using namespace tagvera::kmedia;
using namespace tagvera::kmedia::testing;

int main(int argc, char** argv) {
    if (argc != 2) {
        std::fprintf(stderr, "usage: make_kmedia_files DIR\n");
        return 2;
    }
    const std::string dir = argv[1];
    KmFileSpec audio;
    audio.durationMs = 215000;
    audio.content = ContentObject{.title = "Sample Album/Sample Song/Jazz", .author = "Sample Artist",
                                  .copyright = "2026 Sample", .comment = "generated"};
    audio.streams = {AudioStream(0, 64000, "kaac", 2)};
    WriteFile(dir + "/04-sample-song.kmj", BuildKmFile(audio));

    KmFileSpec video = audio;
    video.content.title = "Sample Clip";
    video.streams.push_back(VideoStream(1, 450000, "KV40", 320, 240, 0x3000));
    WriteFile(dir + "/05-sample-clip.km", BuildKmFile(video));

    // A header copy with room to spare, so that a new block is refreshed in place there too.
    std::vector<uint8_t> headerCopy = JukeboxBlock("Header Copy");
    headerCopy.resize(1024, 0);
    KmFileSpec tagged = audio;
    tagged.streams.push_back(FileInfoStream({NameValueProperty::Text("File ID", "sample"),
                                             NameValueProperty::Number("Indexable", 1),
                                             NameValueProperty::Buffer("KJMDTag", headerCopy)}));
    tagged.trailerBlock = JukeboxBlock("Trailer Title");
    tagged.id3v1 = Id3v1Bytes("Id3 Title", "Id3 Artist", 8, 3, "1999");
    WriteFile(dir + "/06-tagged-song.kmj", BuildKmFile(tagged));

    KmFileSpec odd = audio;
    odd.streamFileHeader = true;
    odd.unknownVersionObject = true;
    odd.withIndex = false;
    odd.streams.push_back(AudioStream(1, 32000, "sipr", 1, 4));
    WriteFile(dir + "/07-stream-header.kms", BuildKmFile(odd));
    return 0;
}
